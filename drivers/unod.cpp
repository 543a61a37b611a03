// uNOD and uNOD_II (platforms 70 and 71): on the interface card. Registers are bytes in
// a flat map, the camera's own sequencer counts columns and rows, and each line comes
// with four words of its own ahead of the pixels.
#include "drivers/unod.h"

#include <algorithm>
#include <cstring>

#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "core/status.h"
#include "devices/wheel/filter_wheel.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/tarn.h"
#include "links/card.h"
#include "links/card_bits.h"
#include "links/card_link.h"
#include "links/readout.h"

namespace {

enum UnodRegister : int32_t {
    TimingPulse = 13,
    FrontEndLines = 14,
    FramePulse = 18,
    VersionRegister = 22, // 16 bits
    ExposureCounter = 23, // 32 bits
    ResetRegister = 31,
    InputRegister = 60,
    CoolerLines = 62,
    TemperatureLow = 64,
    TemperatureHigh = 65,
};

constexpr uint8_t StartExposure = 0x20; // of TimingPulse
constexpr uint8_t StartFrame = 0x02;    // of FramePulse
constexpr uint8_t TriggerInput = 0x10;  // of InputRegister
constexpr uint8_t OutputBits = 8;       // of InputRegister

enum FrontEndLine : uint8_t { FrontEndLatch = 0x4, FrontEndClock = 0x8, FrontEndData = 0x10 };
enum CoolerLine : uint8_t {
    CoolerOn = 0x1,
    CoolerSelect = 0x2,
    CoolerClock = 0x4,
    CoolerData = 0x8
};

constexpr Cable UnodCable = {
    .control = 0x1704, .controlLong = 0x1704, .decoder = NoDecoder, .badReply = 0};

constexpr uint32_t Gains[] = {0, 20, 27, 31};

// Of a temperature's readings, sorted, the middle quarter is used.
constexpr uint32_t Readings = 128;
constexpr uint32_t FirstUsed = 48;
constexpr uint32_t UsedReadings = 32;

constexpr int32_t LineLead = 4;    // words ahead of each line
constexpr int32_t SlackWords = 66; // of the DMA buffer, a line
constexpr int32_t SlackLines = 2;
constexpr uint32_t StreamAddress = 0xFFE2;
constexpr int32_t FrameReportLines = 64;
constexpr int32_t WindowReportLines = 32;

constexpr int32_t UnodII = 71;

// --- registers ---

void WriteByteRegister(int32_t reg, int32_t value, int32_t camera)
{
    const uint32_t c = CameraTable[camera].Ops.WriteAddress(static_cast<uint32_t>(reg), camera);
    WriteCard(CardDataReg, static_cast<uint32_t>(value), camera);
    WriteCard(CardControlReg, c & ~CardAddressCycle, camera);
    WaitCycle(camera);
}

uint16_t ReadByteRegister(int32_t reg, int32_t camera)
{
    const uint32_t c = CameraTable[camera].Ops.WriteAddress(static_cast<uint32_t>(reg), camera);
    WriteCard(CardControlReg, (c & ~CardAddressCycle) | CardReadCycle, camera);
    return static_cast<uint16_t>(ReadCard(CardDataReg, camera));
}

void WriteByte(UnodRegister reg, uint8_t value, int32_t camera)
{
    CameraTable[camera].Ops.WriteRegister(reg, value, camera);
}

void StoreByte(UnodRegister reg, uint8_t value, int32_t camera)
{
    CameraTable[camera].ByteRegisters[reg] = value;
    WriteByte(reg, value, camera);
}

uint8_t ShadowOf(UnodRegister reg, int32_t camera)
{
    return CameraTable[camera].ByteRegisters[reg];
}

void SetBits(UnodRegister reg, uint8_t bits, bool on, int32_t camera)
{
    const uint8_t shadow = ShadowOf(reg, camera);
    StoreByte(reg, static_cast<uint8_t>(on ? shadow | bits : shadow & ~bits), camera);
}

void Pulse(UnodRegister reg, uint8_t bits, int32_t camera)
{
    const uint8_t shadow = ShadowOf(reg, camera);
    WriteByte(reg, shadow | bits, camera);
    WriteByte(reg, shadow, camera);
}

// --- analog ---

void SendFrontEndWord(uint32_t address, uint32_t value, int32_t camera)
{
    const uint32_t word = (address & 7) << 8 | (value & 0xFF);
    for (uint32_t bit = 11; bit > 0; --bit) {
        SetBits(FrontEndLines, FrontEndData, (word >> (bit - 1) & 1) != 0, camera);
        Pulse(FrontEndLines, FrontEndClock, camera);
    }
    Pulse(FrontEndLines, FrontEndLatch, camera);
}

uint32_t GainOf(const CameraRecord& record)
{
    const int32_t index = record.GainIndex;
    if (index == 4) return record.UserGain;
    return index >= 0 && index < 4 ? Gains[index] : Gains[0];
}

uint32_t LevelOf(uint32_t userOffset)
{
    if (userOffset >= 256) return (userOffset - 256) / 4 + 192;
    return ToUint32(userOffset / 1.34);
}

int32_t SetUnodGain(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.LoadedGain = record.GainIndex;
    if ((record.Config.Process & 1) != 0) {
        SendFrontEndWord(0, 72, camera);
        SendFrontEndWord(1, 16, camera);
        SendFrontEndWord(2, GainOf(record), camera);
        SendFrontEndWord(5, record.UserOffset >> 1, camera);
        return 0;
    }
    const bool high = record.GainIndex >= 4 && record.UserGainHigh != 0;
    SendFrontEndWord(0, high ? 10 : 8, camera);
    SendFrontEndWord(1, LevelOf(record.UserOffset), camera);
    SendFrontEndWord(2, GainOf(record), camera);
    return 0;
}

void SetUnodCoolerPower(int32_t permille, int32_t camera)
{
    const uint32_t code = CoolerCode(permille);
    SetBits(CoolerLines, CoolerSelect, true, camera);
    for (uint32_t bit = 12; bit > 0; --bit) {
        SetBits(CoolerLines, CoolerData, (code >> (bit - 1) & 1) != 0, camera);
        Pulse(CoolerLines, CoolerClock, camera);
    }
    SetBits(CoolerLines, CoolerSelect, false, camera);
}

void SetUnodCooler(int32_t on, int32_t camera)
{
    SetBits(CoolerLines, CoolerOn, on != 0, camera);
}

int32_t ReadUnodTemperature(int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    uint16_t values[Readings];
    SetReadoutPriority(1, camera);
    for (uint16_t& value : values) {
        const uint32_t low = ops.ReadRegister(TemperatureLow, camera) & 0xFFu;
        const uint32_t high = ops.ReadRegister(TemperatureHigh, camera) & 0xFFu;
        value = static_cast<uint16_t>((low | high << 8) ^ 0x8000);
    }
    SetReadoutPriority(0, camera);
    std::sort(values, values + Readings);
    uint32_t sum = 0;
    for (uint32_t i = FirstUsed; i < FirstUsed + UsedReadings; ++i) sum += values[i];
    StoreTemperature(VideoCelsius(sum / UsedReadings), camera);
    return 0;
}

// --- open ---

int32_t LockUnodBuffer(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const bool whole =
        record.PlatformCode == UnodII && (LoadFlag(record.Options) & OptionCardDma) != 0;
    const int64_t width = record.Ccd.Xpix + SlackWords;
    const int64_t pixels = whole ? width * (record.Ccd.Ypix + SlackLines) : width;
    return AllocateDma(static_cast<uint32_t>(std::clamp<int64_t>(pixels, 0, UINT32_MAX)), camera);
}

int32_t OpenUnodLink(int32_t camera)
{
    int32_t error = OpenCard(camera);
    if (error == ErrorNone) error = ConnectCable(UnodCable, camera);
    if (error != ErrorNone) return error;
    if (CameraTable[camera].PlatformCode == UnodII) AllowWholeFrames(camera);
    return LockUnodBuffer(camera) == 0 ? ErrorNone : ErrorDmaBuffer;
}

int32_t OpenUnod(int32_t address, int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FilterPhase = 0;
    record.PortBase = static_cast<uint16_t>(address);
    memset(record.ByteRegisters, 0, sizeof record.ByteRegisters);
    const int32_t error = OpenUnodLink(camera);
    if (error != ErrorNone) return error;
    SelectCamera(attach, camera);
    if (attach != 0) record.ByteRegisters[CoolerLines] |= CoolerOn;
    const uint16_t version = record.Ops.ReadRegister(VersionRegister, camera);
    if (version != static_cast<uint16_t>(record.Platform.FpgaId)) return ErrorCameraNotFound;
    PresetCalibration(camera);
    SetUnodGain(camera);
    if (record.PlatformCode == UnodII) CalibrateFromMemory(camera);
    return ErrorNone;
}

// --- exposure ---

void SetUnodShutter(double seconds, int32_t camera)
{
    const bool isSecond = CameraTable[camera].PlatformCode == UnodII;
    const uint32_t count = ToUint32(seconds / (isSecond ? 1e-5 : 1e-7));
    for (int32_t byte = 0; byte < 4; ++byte) {
        StoreByte(static_cast<UnodRegister>(ExposureCounter + byte),
                  static_cast<uint8_t>(count >> (8 * byte)), camera);
    }
    Pulse(TimingPulse, StartExposure, camera);
    if (!isSecond) Pulse(FramePulse, StartFrame, camera);
}

int32_t IsUnodTriggered(int32_t camera)
{
    const uint16_t inputs = CameraTable[camera].Ops.ReadRegister(InputRegister, camera);
    return (inputs & TriggerInput) != 0 ? 1 : 0;
}

void ModifyUnodOutput(int32_t, int32_t, int32_t on, int32_t camera)
{
    StoreByte(InputRegister, on != 0 ? OutputBits : uint8_t{0}, camera);
}

// --- reading ---

// The window's first line is the camera's own.
BusFrame LinesOf(int32_t width, int32_t height, uint16_t* buffer, int32_t camera)
{
    BusFrame frame = WindowFrame(width, height, buffer);
    const bool window = CameraTable[camera].WindowBuilt != 0;
    frame.dummy = window ? 1 : 0;
    frame.firstKept = frame.dummy;
    frame.reportEvery = window ? WindowReportLines : FrameReportLines;
    return frame;
}

uint64_t WordsOf(const BusFrame& frame, int32_t lines)
{
    return static_cast<uint64_t>(frame.width + LineLead) * static_cast<uint64_t>(lines);
}

void ArmStream(int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    ops.WriteAddress(StreamAddress, camera);
    ops.ResetLink(camera);
    SetReadoutPriority(1, camera);
}

int32_t TransferByLines(const BusFrame& frame, int32_t camera)
{
    const int32_t lines = frame.height + frame.dummy;
    const uint64_t words = WordsOf(frame, 1);
    uint16_t* target = frame.buffer;
    for (int32_t line = 0; line < lines; ++line) {
        const int32_t error = AwaitLineDma(camera);
        if (error != ErrorNone) return error;
        if (line >= frame.firstKept) {
            CopyLocked(target, LineLead, static_cast<uint64_t>(frame.width), camera);
            target += frame.width;
        }
        if (line + 1 < lines) StartDma(words, camera);
        ReportLine(frame, line, camera);
    }
    return ErrorNone;
}

int32_t TransferWhole(const BusFrame& frame, int32_t camera)
{
    const int32_t error = AwaitFrameDma(WordsOf(frame, frame.height + frame.dummy), camera);
    for (int32_t line = 0; line < frame.height; ++line) {
        const uint64_t first = WordsOf(frame, line + frame.firstKept) + LineLead;
        CopyLocked(frame.buffer + static_cast<size_t>(line) * static_cast<size_t>(frame.width),
                   first, static_cast<uint64_t>(frame.width), camera);
    }
    return error;
}

int32_t ReadLines(bool whole, int32_t shutter, const BusFrame& frame, int32_t camera)
{
    const uint64_t words = WordsOf(frame, whole ? frame.height + frame.dummy : 1);
    if (GrowDma(words, camera) != ErrorNone) return ErrorDmaBuffer;
    ExposeForRead(shutter, camera);
    StartDma(words, camera);
    ArmStream(camera);
    const int32_t error = whole ? TransferWhole(frame, camera) : TransferByLines(frame, camera);
    SetReadoutPriority(0, camera);
    ReportProgress(nullptr, 100, camera);
    ReadoutEnd(camera);
    return error;
}

int32_t ReadUnodFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                      int32_t camera)
{
    return ReadLines(false, shutter, LinesOf(width, height, buffer, camera), camera);
}

int32_t ReadUnodWindow(int32_t shutter, int32_t, int32_t, int32_t width, int32_t height,
                       uint16_t* buffer, int32_t camera)
{
    return ReadLines(false, shutter, LinesOf(width, height, buffer, camera), camera);
}

int32_t ReadWholeFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                       int32_t camera)
{
    return ReadLines(true, shutter, LinesOf(width, height, buffer, camera), camera);
}

int32_t ReadWholeWindow(int32_t shutter, int32_t, int32_t, int32_t width, int32_t height,
                        uint16_t* buffer, int32_t camera)
{
    return ReadLines(true, shutter, LinesOf(width, height, buffer, camera), camera);
}

const CameraOps UnodOps = {
    .OpenCamera = OpenUnod,
    .SetCoolerPower = SetUnodCoolerPower,
    .SetPortBits = NoPortBits,
    .ModifyRegister = ModifyUnodOutput,
    .Poke = NoPoke,
    .Peek = NoPeek,
    .PokeW = NoPoke,
    .PeekW = NoPeek,
    .LoadSequencer = LoadNothing,
    .ClearSensor = NoOperation,
    .ReadTemperature = ReadUnodTemperature,
    .ReadFrame = ReadUnodFrame,
    .SetShutter = SetUnodShutter,
    .ReadWindow = ReadUnodWindow,
    .SetCooler = SetUnodCooler,
    .ReadRegister = ReadByteRegister,
    .WriteRegister = WriteByteRegister,
    .IsTriggered = IsUnodTriggered,
    .ClearOnce = NoOperation,
    .MoveFilter = MovePhaseWheel,
    .SetGain = SetUnodGain,
    .ReadTimed = NoReadFrame,
    .OpenArrayCamera = RefuseOpenArray,
    .ReadArray = NoReadFrame,
};

const CameraOps LineTimedOps = {.ReadTimed = ReadUnodFrame};
const CameraOps WholeReadOps = {
    .ReadFrame = ReadWholeFrame,
    .ReadWindow = ReadWholeWindow,
    .ReadTimed = ReadWholeFrame,
};

} // namespace

const BindingRule UnodRules[] = {
    {.ops = &CommonOps},
    {.ops = &CardLinkOps},
    {.ops = &UnodOps},
    {},
};

const BindingRule Unod2Rules[] = {
    {.ops = &CommonOps},
    {.ops = &CardLinkOps},
    {.ops = &UnodOps},
    {.ops = &LineTimedOps, .optionsClear = OptionCardDma},
    {.ops = &WholeReadOps, .optionsSet = OptionCardDma},
    {},
};
