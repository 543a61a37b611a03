#include "tests/support/fake_usb.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <regex>

#include "core/binding.h"
#include "core/flags.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "platform/system.h"
#include "tests/support/unbound_records.h"

FakeUsbState Usb;

namespace {

constexpr uint64_t Handle = 0x7700;
constexpr uint32_t Failure = 4;
void (*VirtualSleep)(uint32_t milliseconds);

void Note(const std::string& line)
{
    Usb.log.push_back(line);
}

bool Fails(const std::string& text)
{
    return std::any_of(Usb.failing.begin(), Usb.failing.end(),
                       [&](const auto& start) { return text.rfind(start, 0) == 0; });
}

// Writes the call down; 0, or the status of one that fails.
uint32_t Call(const std::string& text)
{
    const bool fails = Fails(text);
    Note("usb " + text + (fails ? " fails" : ""));
    return fails ? Failure : 0;
}

std::string Numbers(const char* name, std::initializer_list<uint64_t> numbers)
{
    std::string text = name;
    for (const uint64_t number : numbers) text += " " + std::to_string(number);
    return text;
}

void Expect(uint64_t handle)
{
    EXPECT_EQ(handle, Handle);
}

UsbBytes AnswerTo(const UsbBytes& written)
{
    if (Usb.answer) return Usb.answer(written);
    const std::string text = HexBytes(written);
    std::deque<UsbBytes>* best = nullptr;
    for (auto& [start, answers] : Usb.answers) { // in the order of their text
        if (text.rfind(start, 0) == 0) best = &answers;
    }
    if (best == nullptr || best->empty()) return {};
    const UsbBytes answer = best->front();
    if (best->size() > 1) best->pop_front();
    return answer;
}

uint32_t List(uint32_t* count)
{
    *count = Usb.devices;
    return Call(Numbers("list", {Usb.devices}));
}

uint32_t Open(int32_t index, uint64_t* handle)
{
    const uint32_t status = Call("open " + std::to_string(index));
    if (status == 0) *handle = Handle;
    return status;
}

uint32_t Close(uint64_t handle)
{
    if (handle == 0) return Call("close 0");
    Expect(handle);
    return Call("close");
}

uint32_t Read(uint64_t handle, void* buffer, uint32_t bytes, uint32_t* got)
{
    Expect(handle);
    const uint32_t count = std::min<uint32_t>(bytes, static_cast<uint32_t>(Usb.queue.size()));
    const uint32_t status = Call("< " + std::to_string(count) + " of " + std::to_string(bytes));
    *got = 0;
    if (status != 0) return status;
    const auto end = Usb.queue.begin() + count;
    std::copy(Usb.queue.begin(), end, static_cast<uint8_t*>(buffer));
    Usb.queue.erase(Usb.queue.begin(), end);
    *got = count;
    return 0;
}

uint32_t Write(uint64_t handle, const void* buffer, uint32_t bytes, uint32_t* put)
{
    Expect(handle);
    const uint8_t* first = static_cast<const uint8_t*>(buffer);
    const UsbBytes written(first, first + bytes);
    *put = bytes;
    const uint32_t status = Call("> " + HexBytes(written));
    if (status != 0) return status;
    const UsbBytes answer = AnswerTo(written);
    Usb.queue.insert(Usb.queue.end(), answer.begin(), answer.end());
    return 0;
}

uint32_t QueueStatus(uint64_t handle, uint32_t* count)
{
    Expect(handle);
    ++Usb.polls;
    *count = 0;
    if (Fails("queue")) return Failure;
    if (Usb.emptyPolls > 0) {
        --Usb.emptyPolls;
    } else {
        *count = static_cast<uint32_t>(Usb.queue.size());
    }
    return 0;
}

uint32_t Purge(uint64_t handle, uint32_t mask)
{
    Expect(handle);
    Usb.queue.clear();
    return Call(Numbers("purge", {mask}));
}

uint32_t DeviceInfo(uint64_t handle, char* serial, char* description)
{
    Expect(handle);
    strcpy(serial, Usb.serial);
    strcpy(description, Usb.description);
    return Call("info");
}

const UsbApi FakeApi = {
    .ListDevices = List,
    .Open = Open,
    .Close = Close,
    .Read = Read,
    .Write = Write,
    .ResetDevice = [](uint64_t) { return Call("reset"); },
    .SetFlowControl = [](uint64_t, uint16_t flow, uint8_t,
                         uint8_t) { return Call(Numbers("flow", {flow})); },
    .Purge = Purge,
    .SetTimeouts =
        [](uint64_t, uint32_t readMs, uint32_t writeMs) {
            return Call(Numbers("timeouts", {readMs, writeMs}));
        },
    .GetQueueStatus = QueueStatus,
    .SetLatencyTimer =
        [](uint64_t, uint8_t milliseconds) { return Call(Numbers("latency", {milliseconds})); },
    .SetBitMode =
        [](uint64_t, uint8_t mask, uint8_t mode) {
            return Call(Numbers("mode", {mask, mode}));
        },
    .SetTransferSizes =
        [](uint64_t, uint32_t in, uint32_t out) {
            return Call(Numbers("sizes", {in, out}));
        },
    .DeviceInfo = DeviceInfo,
    .ResetPort = [](uint64_t) { return Call("port reset"); },
};

void FakeSleep(uint32_t milliseconds)
{
    Note("sleep " + std::to_string(milliseconds));
    VirtualSleep(milliseconds);
}

void FakeProgress(const char* text, int32_t percent, int32_t)
{
    Note("progress " + std::string(text != nullptr ? text : "-") + " " + std::to_string(percent));
}

CcdDefinition SmallChip()
{
    CcdDefinition ccd = {};
    ccd.Xpix = 8;
    ccd.Ypix = 4;
    ccd.HorDummyPix = 4;
    ccd.HorRegSize = 28;
    for (uint16_t binning = 1; binning <= 4; ++binning) ccd.Dummy[binning - 1] = binning;
    return ccd;
}

} // namespace

void PrepareFakeUsb(int32_t platform, int32_t sensor, uint32_t options)
{
    CameraRecord& record = CameraTable[UsbCamera];
    record.PlatformCode = platform;
    record.LinkPlatform = platform;
    record.CcdCode = sensor;
    record.InterfaceType = InterfaceUsb;
    record.HorBinning = 1;
    record.VerBinning = 1;
    record.LoadedGain = -1;
    record.TemperatureSpanWord = 10;
    record.Ccd = SmallChip();
    record.Platform.FpgaId = 47;
    record.Platform.TimeBase = 40.0;
    record.Platform.SamplingClock[0] = 1.5;
    record.Platform.VerticalPhasePeriod = 6;
    // Idle, row, pixel, line: pages 1 to 4, with 10, 20, 30 and 40 as last index.
    for (uint16_t section = 0; section < 4; ++section) {
        record.SequenceTable[2 * section] = static_cast<uint16_t>((section + 1) << 8);
        record.SequenceTable[2 * section + 1] = static_cast<uint16_t>((section + 1) * 10);
    }
    StoreFlag(&record.Options, options);
    BindOperations(platform, options, UsbCamera);
    record.Ops.ProgressCallback = FakeProgress;
    record.UsbHandle = Handle;
}

int32_t OpenFakeUsb(int32_t attach)
{
    CameraRecord& record = CameraTable[UsbCamera];
    const int32_t error = record.Ops.OpenCamera(0, attach, UsbCamera);
    StoreFlag(&record.LastError, error);
    return error;
}

void AnswerUsb(const std::string& start, const UsbBytes& bytes)
{
    Usb.answers[start] = {bytes};
}

std::string TakeUsbLog()
{
    std::string text;
    for (const std::string& line : Usb.log) text += (text.empty() ? "" : "; ") + line;
    Usb.log.clear();
    return text;
}

std::string TakeUsbWrites()
{
    const std::string start = "usb > ";
    std::string text;
    for (const std::string& line : Usb.log) {
        if (line.rfind(start, 0) != 0) continue;
        text += (text.empty() ? "" : "; ") + line.substr(start.size());
    }
    Usb.log.clear();
    return text;
}

std::string TakePairLog()
{
    const std::regex request("84 (..) 85 (..) 86 (..) 87 (..) (..)");
    std::string text;
    for (std::string line : Usb.log) {
        if (line.rfind("usb > ", 0) == 0) line = line.substr(6);
        if (line.rfind("usb < ", 0) == 0) continue;
        std::smatch found;
        if (std::regex_search(line, found, request)) {
            const std::string count = found.str(4) + found.str(3) + found.str(2) + found.str(1);
            line = found.prefix().str() + "ask " + std::to_string(std::stoul(count, nullptr, 16)) +
                   " of " + found.str(5);
        }
        text += (text.empty() ? "" : "; ") + line;
    }
    Usb.log.clear();
    return text;
}

std::string HexBytes(const UsbBytes& bytes)
{
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[8];
        snprintf(digits, sizeof digits, "%s%02X", text.empty() ? "" : " ", byte);
        text += digits;
    }
    return text;
}

void FakeUsbTest::SetUp()
{
    UnbindRecords();
    Usb = FakeUsbState{};
    VirtualSleep = System.clock.Sleep;
    System.clock.Sleep = FakeSleep;
    System.usb = FakeApi;
}

void FakeUsbTest::TearDown()
{
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    EmuInstall();
    EmuReset();
}
