#include "tests/faults/sweep.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "emulator/usb.h"
#include "emulator/usb_camera.h"
#include "platform/system.h"
#include "tests/faults/apart.h"

namespace {

constexpr uint32_t Never = 0xFFFFFFFF;
constexpr int32_t CodeCount = 64;
const Codes FrameCodes = {0, 2, 9};

// Of the calls of a load, those that are left with remainder `part` when divided by `of`;
// `of` of 0: a sample of all calls.
struct Share {
    uint32_t part, of;
};

Share ReadShare()
{
    const char* const text = getenv("QVN_ALL_FAULTS");
    Share share = {0, 1};
    if (text == nullptr) return {0, 0};
    if (sscanf(text, "%" SCNu32 "/%" SCNu32, &share.part, &share.of) != 2) return {0, 1};
    return share.of != 0 ? share : Share{0, 1};
}

// How many of the first calls fail, and how many of the rest.
struct Density {
    uint32_t first, spread;
};

Density SampleOf(const Fault& fault)
{
    if (fault.call == EmuAllocate) return {3, 0};
    if (fault.call != EmuAnyCall) return {0, 1};
    if (fault.phase == Phase::Open) return fault.lasts ? Density{6, 4} : Density{20, 12};
    if (fault.phase == Phase::Load) return fault.lasts ? Density{2, 1} : Density{3, 3};
    return fault.lasts ? Density{1, 2} : Density{4, 6};
}

// The first calls, then others spread over the rest, up to the last.
std::vector<uint32_t> Sample(uint32_t calls, const Density& density)
{
    std::vector<uint32_t> points;
    for (uint32_t at = 1; at <= std::min(calls, density.first); ++at) points.push_back(at);
    for (uint32_t i = 1; i <= density.spread && calls > density.first; ++i) {
        const uint64_t rest = calls - density.first;
        points.push_back(density.first + static_cast<uint32_t>(rest * i / density.spread));
    }
    return points;
}

bool IsOneOf(int32_t code, const Codes& codes)
{
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

bool MayHang(const FaultyLink& link, const Fault& fault)
{
    if (link.hangsUpTo == HangsAnywhere) return true;
    return fault.phase == Phase::Open && fault.at <= link.hangsUpTo;
}

std::string Text(const Fault& fault)
{
    return "call " + std::to_string(fault.at) + (fault.lasts ? " and on" : "");
}

// The pattern is in memory while it is loaded: the longest stretch of calls between two
// uses of memory.
struct LoadFinder {
    EmuCall call;
    MemoryApi memory;
    uint32_t last;
    Stretch longest;
};
LoadFinder Finder;

void MarkCall()
{
    const uint32_t now = EmuCallsMet(Finder.call);
    Stretch& longest = Finder.longest;
    if (now - Finder.last > longest.to - longest.from) longest = {Finder.last, now};
    Finder.last = now;
}

void* MarkedAllocate(size_t bytes)
{
    MarkCall();
    return Finder.memory.Allocate(bytes);
}

void MarkedRelease(void* memory)
{
    MarkCall();
    Finder.memory.Release(memory);
}

void BeginToFindLoad(EmuCall call)
{
    Finder = {call, System.memory, 0, {}};
    System.memory = {MarkedAllocate, MarkedRelease};
}

} // namespace

// What came of the runs of one kind; runs apart write here too.
struct Tally {
    uint32_t runs; // the last of them may have ended its process
    uint32_t hung;
    uint32_t codes[CodeCount];
    uint64_t longestUs;
    bool recovers; // the fault of this run is over
};

namespace {

void Count(Tally* tally, int32_t code, uint64_t since = 0)
{
    if (code >= 0 && code < CodeCount) ++tally->codes[code];
    tally->longestUs = std::max(tally->longestUs, EmuMicroseconds() - since);
}

const char* NameOf(EmuCall call)
{
    switch (call) {
    case EmuAllocate: return "memory";
    case EmuDeviceControl: return "driver calls";
    case EmuDmaLock: return "DMA locks";
    case EmuRegisterRead: return "register reads";
    case EmuRegisterWrite: return "register writes";
    case EmuPortRead: return "port reads";
    case EmuPortWrite: return "port writes";
    case EmuUsbRead: return "USB reads";
    case EmuUsbWrite: return "USB writes";
    case EmuUsbSetting: return "USB settings";
    case EmuAdaptorCall: return "adaptor calls";
    default: return "calls";
    }
}

const char* NameOf(Phase phase)
{
    switch (phase) {
    case Phase::Open: return "open";
    case Phase::Load: return "load";
    default: return "frame";
    }
}

void Report(const char* link, const Fault& fault, uint32_t calls, Stretch load, const Tally& tally)
{
    printf("%s, %s, %s %s: %u of %u", link, NameOf(fault.phase), NameOf(fault.call),
           fault.lasts ? "lasting" : "once", tally.runs, calls);
    if (load.to != 0) printf(", the load from %u to %u", load.from + 1, load.to);
    printf(";");
    for (int32_t code = 0; code < CodeCount; ++code) {
        if (tally.codes[code] != 0) printf(" code %d: %u,", code, tally.codes[code]);
    }
    printf(" hung: %u; longest %.1f s\n", tally.hung, static_cast<double>(tally.longestUs) / 1e6);
    fflush(stdout);
}

} // namespace

// How many calls of a kind there are when none fails.
uint32_t FaultSweep::CountCalls(EmuCall call, Phase phase)
{
    Renew();
    if (phase == Phase::Open) {
        EmuFail(call, Never, false);
        BeginToFindLoad(call);
    }
    EXPECT_EQ(OpenCode(), 0);
    load = {};
    if (phase == Phase::Frame) {
        EmuFail(call, Never, false);
        EXPECT_EQ(FrameCode(), 0);
    } else if (phase == Phase::Load) {
        EmuFail(call, Never, false);
        EXPECT_EQ(LoadCode(), 1);
    } else {
        System.memory = Finder.memory;
        load = Finder.longest;
    }
    const uint32_t calls = EmuCallsMet(call);
    EmuFail(call, 0, false);
    QV_Close(0);
    return calls;
}

std::vector<uint32_t> FaultSweep::Points(const Fault& fault, uint32_t calls) const
{
    const Share share = ReadShare();
    if (share.of == 0) return Sample(calls, SampleOf(fault));
    std::vector<uint32_t> points;
    for (uint32_t at = 1; at <= calls; ++at) {
        const bool isLoad = at > load.from && at <= load.to;
        if (!isLoad || at % share.of == share.part % share.of) points.push_back(at);
    }
    return points;
}

// All ones that were read from a control register go back into it and reset the card: the
// next frame may fail too, an open mends that.
void FaultSweep::ReadUnderFault(const Fault& fault, const Codes& codes)
{
    EmuFail(fault.call, fault.at, fault.lasts);
    const int32_t code = FrameCode();
    EXPECT_PRED2(IsOneOf, code, codes);
    Count(tally, code);
    EmuFail(fault.call, 0, false);
    EXPECT_PRED2(IsOneOf, FrameCode(), FrameCodes);
}

// The link does not tell whether a word arrived. The camera stays open for the next run.
void FaultSweep::LoadUnderFault(const Fault& fault)
{
    tally->recovers = false;
    if (QV_IsOn(0) == 0) {
        Renew();
        ASSERT_EQ(OpenCode(), 0);
    }
    const uint64_t start = EmuMicroseconds();
    EmuSetTimeLimit(start + link.longestUs);
    EmuFail(fault.call, fault.at, fault.lasts);
    const int32_t loaded = LoadCode();
    EXPECT_PRED2(IsOneOf, loaded, (Codes{0, 1}));
    Count(tally, loaded, start);
    EmuFail(fault.call, 0, false);
    tally->recovers = true;
    EmuSetTimeLimit(EmuMicroseconds() + link.longestUs);
    EXPECT_EQ(LoadCode(), 1);
}

void FaultSweep::RunWithFault(const Fault& fault, const Codes& codes)
{
    tally->recovers = false;
    Renew();
    EmuSetTimeLimit(link.longestUs);
    if (fault.phase == Phase::Open) EmuFail(fault.call, fault.at, fault.lasts);
    const int32_t code = OpenCode();
    if (fault.phase == Phase::Open) {
        EXPECT_PRED2(IsOneOf, code, codes);
        Count(tally, code);
        if (code == 0 && !fault.lasts) {
            EXPECT_PRED2(IsOneOf, FrameCode(), FrameCodes);
        }
    } else {
        EXPECT_EQ(code, 0);
        ReadUnderFault(fault, codes);
    }
    tally->recovers = true;
    EmuFail(fault.call, 0, false);
    EmuSetTimeLimit(EmuMicroseconds() + link.longestUs);
    QV_Close(0);
    // A card that failed to open is given back by the next open.
    EXPECT_LE(EmuCardsOpen(), code == 0 ? 0u : 1u);
    EXPECT_LE(EmuDmaLocked(), code == 0 ? 0u : 1u);
    EXPECT_EQ(EmuUsbOpenHandles(), 0u);
    EXPECT_EQ(EmuAdaptorOpen(), 0u);
    EXPECT_LE(EmuLiveBlocks(), code == 0 ? 0u : 1u);
    if (link.remembers) {
        OpenCode();
        QV_Close(0);
    }
    ExpectRecovery();
}

// Goes on behind the run that was the last one.
void FaultSweep::RunOnWithFaults(Fault fault, const std::vector<uint32_t>& points,
                                 const Codes& codes)
{
    while (tally->runs < points.size() && !HasFailure()) {
        fault.at = points[tally->runs++];
        SCOPED_TRACE(Text(fault));
        if (fault.phase == Phase::Load) {
            LoadUnderFault(fault);
        } else {
            RunWithFault(fault, codes);
        }
    }
    if (fault.phase != Phase::Load) return;
    ExpectNothingLeft();
    ExpectRecovery();
}

// The same in processes of their own; a new one behind a run that hung.
void FaultSweep::RunApartWithFaults(Fault fault, const std::vector<uint32_t>& points,
                                    const Codes& codes)
{
    const auto run = [&] {
        RunOnWithFaults(fault, points, codes);
        return !HasFailure();
    };
    while (tally->runs < points.size()) {
        std::string said;
        const Ending ending = RunApart(run, &said);
        if (ending == Ending::Good) return;
        fault.at = points[tally->runs - 1];
        if (ending == Ending::Hung && MayHang(link, fault) && !tally->recovers) {
            ++tally->hung;
            continue;
        }
        ADD_FAILURE() << Text(fault) << '\n' << said;
        return;
    }
}

uint32_t FaultSweep::ForEveryCall(Fault fault, const Codes& codes)
{
    if (tally == nullptr) tally = static_cast<Tally*>(ShareMemory(sizeof(Tally)));
    if (tally == nullptr) return 0;
    *tally = {};
    const bool all = ReadShare().of != 0;
    const uint32_t calls = CountCalls(fault.call, fault.phase);
    const std::vector<uint32_t> points = Points(fault, calls);
    if (all || link.hangsUpTo != 0) {
        RunApartWithFaults(fault, points, codes);
    } else {
        RunOnWithFaults(fault, points, codes);
    }
    if (all && calls != 0) Report(link.name, fault, calls, load, *tally);
    return calls;
}
