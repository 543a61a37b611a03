// The n-th call to a link fails, once or from there on, while a camera is opened, its
// pattern loaded, a frame read: the code is one of those that a host knows, it comes in
// time, and nothing is left behind. A run that waits for a dead link in vain takes its time
// here too, so the calls are sampled; with QVN_ALL_FAULTS in the environment every one of the
// first two hundred fails, and a hundred of the rest.
#include <algorithm>
#include <cstdlib>
#include <string>

#include <string>
#include <vector>

#include "emulator/bus_links.h"
#include "tests/faults/session.h"

namespace {

constexpr uint32_t Never = 0xFFFFFFFF;
// How many of the first calls fail, and how many of the rest.
struct Density {
    uint32_t first, spread;
};
constexpr Density All = {200, 100};

constexpr uint64_t LongestUs = 120'000'000;

constexpr FaultyLink Links[] = {
    {"CardParallel", {42, 255, 2, "BuildWaveBriar", 200}},
    {"CardLineByLine", {42, 255, 2, "BuildWaveBriar", 100}},
    {"CardSerial", {44, 255, 2, "BuildWaveR3", 200, 0xAAAA2}},
    {"ByteCable", {60, 255, 2, "BuildWaveHeron"}},
    {"PrinterPort", {40, 255, 0, "BuildWaveBriar"}},
    {"PortCard", {41, 255, 1, "BuildWaveBriar"}},
    {"PortLibrary", {40, 255, 0, "BuildWaveBriar"}, 0x0800},
};

enum class Phase { Open, Frame };

Density DensityOf(Phase phase, bool lasts)
{
    if (getenv("QVN_ALL_FAULTS") != nullptr) return All;
    if (phase == Phase::Open) return lasts ? Density{8, 6} : Density{24, 16};
    return lasts ? Density{1, 3} : Density{4, 6};
}

// The first calls, then others spread over the rest, up to the last.
std::vector<uint32_t> Points(uint32_t calls, const Density& density)
{
    std::vector<uint32_t> points;
    for (uint32_t at = 1; at <= std::min(calls, density.first); ++at) points.push_back(at);
    for (uint32_t i = 1; i <= density.spread && calls > density.first; ++i) {
        points.push_back(density.first + (calls - density.first) * i / density.spread);
    }
    return points;
}

using Codes = std::vector<int32_t>;
const Codes OpenCodes = {0, 1, 4, 9, 10, 11, 12, 13, 15, 19};
const Codes MemoryCodes = {0, 9, 22, 23}; // 22 and 23: of the pattern
const Codes FrameCodes = {0, 2, 9};

bool IsOneOf(int32_t code, const Codes& codes)
{
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

class FaultsOf : public Session, public testing::WithParamInterface<FaultyLink> {
protected:
    // How many calls of a kind there are when none fails.
    uint32_t CountCalls(EmuCall call, Phase phase)
    {
        Renew();
        if (phase == Phase::Open) EmuFail(call, Never, false);
        EXPECT_EQ(OpenCode(), 0);
        if (phase == Phase::Open) return EmuCallsMet(call);
        EmuFail(call, Never, false);
        EXPECT_EQ(FrameCode(), 0);
        return EmuCallsMet(call);
    }

    // All ones that were read from a control register go back into it and reset the card: the
    // next frame may fail too, an open mends that.
    void ReadUnderFault(EmuCall call, uint32_t at, bool lasts)
    {
        EmuFail(call, at, lasts);
        EXPECT_PRED2(IsOneOf, FrameCode(), FrameCodes);
        EmuFail(call, 0, false);
        EXPECT_PRED2(IsOneOf, FrameCode(), FrameCodes);
    }

    void RunWithFault(EmuCall call, uint32_t at, bool lasts, Phase phase)
    {
        SCOPED_TRACE("call " + std::to_string(at) + (lasts ? " and on" : ""));
        Renew();
        if (phase == Phase::Open) EmuFail(call, at, lasts);
        const int32_t code = OpenCode();
        EXPECT_PRED2(IsOneOf, code, call == EmuAllocate ? MemoryCodes : OpenCodes);
        if (code == 0 && phase == Phase::Frame) ReadUnderFault(call, at, lasts);
        if (code == 0 && phase == Phase::Open && !lasts) {
            EXPECT_PRED2(IsOneOf, FrameCode(), FrameCodes);
        }
        EXPECT_LT(EmuMicroseconds(), LongestUs);
        EmuFail(call, 0, false);
        QV_Close(0);
        // A card that failed to open is given back by the next open.
        EXPECT_LE(EmuCardsOpen(), code == 0 ? 0u : 1u);
        EXPECT_LE(EmuDmaLocked(), code == 0 ? 0u : 1u);
        ExpectRecovery();
    }

    void ForEveryFault(EmuCall call, Phase phase)
    {
        const uint32_t calls = CountCalls(call, phase);
        QV_Close(0);
        ASSERT_GT(calls, 0u);
        for (const bool lasts : {false, true}) {
            for (const uint32_t at : Points(calls, DensityOf(phase, lasts))) {
                RunWithFault(call, at, lasts, phase);
                if (HasFailure()) return;
            }
        }
    }
};

std::string NameOf(const testing::TestParamInfo<FaultyLink>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Links, FaultsOf, testing::ValuesIn(Links), NameOf);

} // namespace

TEST_P(FaultsOf, OpenAndLoadEndWithAKnownCode)
{
    Use(GetParam());
    ForEveryFault(EmuAnyCall, Phase::Open);
}

TEST_P(FaultsOf, FrameEndsWithAKnownCode)
{
    Use(GetParam());
    ForEveryFault(EmuAnyCall, Phase::Frame);
}

// Memory that cannot be had ends an open, or is not noticed: then there is no pattern, and
// no pixel comes.
TEST_P(FaultsOf, OpenWithoutMemoryEndsWithAKnownCode)
{
    Use(GetParam());
    ForEveryFault(EmuAllocate, Phase::Open);
}
