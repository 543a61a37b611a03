// Tarn_V (platform 28), on any link.
#include "drivers/tarn5/tarn5.h"

#include <algorithm>
#include <iterator>

#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "drivers/register_batch.h"
#include "drivers/usb/usb_camera.h"
#include "links/adaptor.h"
#include "links/delay.h"
#include "platform/system.h"

namespace {

enum Tarn5Register : int32_t {
    SelectRegister = 0, // bits 0 to 5: what is read; 6 to 8: lines of the front end
    SettlingTime = 1,   // 32 bits, units of 10 microseconds
    ControlRegister = 3,
    MemoryWord = 8,
    MemoryAddress = 9, // or a count of the sequencer
    SectionPage = 10,
    SequencerMode = 11, // and the coprocessor's handshake
    ExposureTime = 12,  // as SettlingTime; its high word starts the exposure
    CoprocessorWord = 14,
    PixelDivider = 15,
    StoreWord = 18,
    LoadRepeat = 20,
    LoadEnd = 21,
};

enum Tarn5Status : int32_t { InputStatus = 7, ResultStatus = 19, CoprocessorStatus = 30 };

// --- coprocessor ---

enum CoprocessorOrder : uint16_t {
    StoreMemory = 1,
    FetchMemory = 2,
    DriveCooler = 3,
    DriveFan = 4,
    Measure = 5,
};

constexpr uint16_t LastWord = 0x1000;   // of SequencerMode, as the two that follow
constexpr uint16_t WordStrobe = 0x2000; // hands the word over
constexpr uint16_t CoprocessorBusy = 0x1;
constexpr uint32_t WordMs = 2;
constexpr uint32_t BusyPollUs = 100;

constexpr uint16_t TestOrder[] = {21845, 43690, 65535, 0, 65280, 255, 4369, 8738, 17476, 34952, 13};
constexpr uint16_t TestResult = 4369;

// --- the rest ---

enum SequencerModeBits : uint16_t {
    ModeField = 0x03C0,
    KeptBits = 0x303F,
    HostMode = 0x8300, // counters are loaded by the host
    StartedMode = 0x8F00,
    ArmedMode = 0x4300, // starts and streams when the exposure ends
    StreamMode = 0xC300,
};
constexpr uint32_t CounterMs = 2;

enum FrontEndLine : uint16_t { FrontEndData = 0x40, FrontEndClock = 0x80, FrontEndStrobe = 0x100 };
constexpr uint16_t FrontEndLines = FrontEndData | FrontEndClock | FrontEndStrobe;
constexpr uint32_t FrontEndBits = 15;
constexpr uint32_t FrontEndValue = 0x1FF; // nine bits
constexpr uint32_t FrontEndAddressShift = 12;
constexpr uint16_t HighRange = 216, LowRange = 88;

constexpr uint16_t CoolerOn = 0x80; // of ControlRegister
constexpr uint32_t LargestCode = 255;
constexpr uint16_t FirstFanLevel = 4095;

constexpr uint16_t TriggerInput = 0x2000; // of InputStatus
constexpr double CounterRate = 100000.0;  // counts a second
constexpr uint16_t SmallestDivider = 2;

void OrderValue(CoprocessorOrder order, uint32_t value, int32_t camera)
{
    const uint16_t words[] = {static_cast<uint16_t>(value), order};
    OrderCoprocessor(words, std::size(words), camera);
}

uint16_t ModeWith(uint16_t mode, int32_t camera)
{
    return static_cast<uint16_t>((CameraTable[camera].Registers[SequencerMode] & KeptBits) | mode);
}

// A card that is gone reads as all ones: busy for good. Behind the adaptor the status stays
// selected.
bool IsBusy(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (record.InterfaceType == InterfaceUsb) {
        uint16_t status = 0;
        AdaptorIn(&status, 1, camera);
        return (status & CoprocessorBusy) != 0;
    }
    if (record.CardWindow == 0) return false;
    return (record.Ops.ReadRegister(CoprocessorStatus, camera) & CoprocessorBusy) != 0;
}

void HandOver(uint16_t word, uint16_t mode, int32_t camera)
{
    RegisterBatch batch = {};
    AddPair(&batch, CoprocessorWord, word);
    AddPair(&batch, SequencerMode, mode);
    AddPair(&batch, SequencerMode, mode | WordStrobe);
    AddPair(&batch, SelectRegister, Tarn5Select(CoprocessorStatus, camera));
    SendBatch(batch, camera);
    System.clock.Sleep(WordMs);
    while (IsBusy(camera)) DelayMicroseconds(BusyPollUs, camera);
    WriteShadow(SequencerMode, camera);
}

bool IsCoprocessorThere(int32_t camera)
{
    OrderCoprocessor(TestOrder, std::size(TestOrder), camera);
    return CoprocessorResult(camera) == TestResult;
}

// --- pattern ---

void PutWords(uint32_t address, const uint16_t* words, uint32_t count, int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    for (uint32_t i = 0; i < count; ++i) {
        ops.WriteRegister(MemoryAddress, static_cast<int32_t>(address + i), camera);
        ops.WriteRegister(MemoryWord, words[i], camera);
        ops.WriteRegister(StoreWord, 0, camera);
    }
}

constexpr WaveSink Tarn5PatternSink = {false, OpenTarn5Memory, PutWords, CloseTarn5Memory};

int32_t LoadTarn5Pattern(const char* path, int32_t camera)
{
    return LoadWave(path, Tarn5PatternSink, camera);
}

void ClearTarn5Sensor(int32_t camera)
{
    ClearSensorBy(RunTarn5Sequence, camera);
}

void ClearTarn5Once(int32_t camera)
{
    FlushRegisterBy(RunTarn5Sequence, camera);
}

// --- analog ---

void WriteFrontEnd(uint32_t address, uint32_t value, int32_t camera)
{
    const uint16_t shadow = CameraTable[camera].Registers[SelectRegister];
    const uint32_t word = (address & 7) << FrontEndAddressShift | (value & FrontEndValue);
    const uint32_t idle = (shadow & ~uint32_t{FrontEndLines}) | FrontEndStrobe;
    RegisterBatch batch = {};
    for (uint32_t bit = FrontEndBits; bit > 0; --bit) {
        const uint32_t lines = (word >> (bit - 1) & 1) != 0 ? idle | FrontEndData : idle;
        AddPair(&batch, SelectRegister, lines);
        AddPair(&batch, SelectRegister, lines | FrontEndClock);
        AddPair(&batch, SelectRegister, lines);
    }
    AddPair(&batch, SelectRegister, shadow);
    SendBatch(batch, camera);
}

int32_t SetTarn5Gain(int32_t camera)
{
    return SetGainBy(WriteFrontEnd, HighRange, LowRange, camera);
}

void SetTarn5CoolerPower(int32_t permille, int32_t camera)
{
    const uint32_t drive = static_cast<uint32_t>(std::clamp(permille, 0, 1000));
    OrderValue(DriveCooler, std::min((drive << 8) / 1000, LargestCode), camera);
}

void DriveFanAt(uint32_t level, int32_t camera)
{
    OrderValue(DriveFan, std::min(level, LargestCode), camera);
}

void SetTarn5Cooler(int32_t on, int32_t camera)
{
    if (on != 0) {
        SetRegisterBits(ControlRegister, CoolerOn, camera);
    } else {
        ClearRegisterBits(ControlRegister, CoolerOn, camera);
    }
    DriveFanAt(on != 0 ? CameraTable[camera].FanLevel : 0, camera);
}

// --- exposure ---

void AddLongRegister(RegisterBatch* batch, int32_t reg, uint32_t value, int32_t camera)
{
    const uint16_t halves[] = {static_cast<uint16_t>(value), static_cast<uint16_t>(value >> 16)};
    for (const uint16_t half : halves) {
        CameraTable[camera].Registers[reg] = half;
        AddPair(batch, reg++, half);
    }
}

// The camera waits for the shutter to settle by itself.
void SetTarn5Shutter(double seconds, int32_t camera)
{
    const double settling = CameraTable[camera].Config.ShutterHisteresys * 100.0;
    const double exposure = seconds == 0.0 ? 0.00001 : seconds;
    RegisterBatch batch = {};
    AddLongRegister(&batch, SettlingTime, ToUint32(settling), camera);
    AddLongRegister(&batch, ExposureTime, ToUint32(exposure * CounterRate), camera);
    SendBatch(batch, camera);
}

int32_t IsTarn5Triggered(int32_t camera)
{
    const uint16_t inputs = CameraTable[camera].Ops.ReadRegister(InputStatus, camera);
    return (inputs & TriggerInput) != 0 ? 1 : 0;
}

// --- sequencer ---

void LoadSection(uint16_t start, uint16_t end, uint32_t repeat, int32_t camera)
{
    RegisterBatch repeats = {};
    AddPair(&repeats, SequencerMode, ModeWith(HostMode, camera));
    AddPair(&repeats, SectionPage, start >> 8);
    AddPair(&repeats, MemoryAddress, repeat);
    AddPair(&repeats, LoadRepeat, 0);
    SendBatch(repeats, camera);
    System.clock.Sleep(CounterMs);
    RegisterBatch length = {};
    AddPair(&length, MemoryAddress, end);
    AddPair(&length, LoadEnd, 0);
    SendBatch(length, camera);
    System.clock.Sleep(CounterMs);
}

} // namespace

Tarn5Readings Tarn5Temperatures;

uint16_t Tarn5Select(int32_t reg, int32_t camera)
{
    const uint16_t shadow = CameraTable[camera].Registers[SelectRegister];
    return static_cast<uint16_t>((shadow & 0xFFC0) | 0x20 | (reg & 0x3F));
}

uint16_t Tarn5Command(int32_t command, int32_t camera)
{
    const uint16_t shadow = CameraTable[camera].Registers[SelectRegister];
    return static_cast<uint16_t>((shadow & 0xFFC0) | (command & 0x1F));
}

void OrderCoprocessor(const uint16_t* words, uint32_t count, int32_t camera)
{
    const uint16_t shadow = CameraTable[camera].Registers[SequencerMode];
    for (uint32_t i = 0; i < count; ++i) {
        const bool isLast = i + 1 == count;
        HandOver(words[i], static_cast<uint16_t>(isLast ? shadow | LastWord : shadow & ~LastWord),
                 camera);
    }
    WriteShadow(SelectRegister, camera);
}

uint16_t CoprocessorResult(int32_t camera)
{
    return CameraTable[camera].Ops.ReadRegister(ResultStatus, camera);
}

uint16_t ReadTarn5Memory(int32_t address, int32_t camera)
{
    OrderValue(FetchMemory, static_cast<uint32_t>(address), camera);
    return CoprocessorResult(camera);
}

void WriteTarn5Memory(int32_t address, uint16_t value, int32_t camera)
{
    const uint16_t words[] = {static_cast<uint16_t>(address), value, StoreMemory};
    OrderCoprocessor(words, std::size(words), camera);
}

uint16_t Tarn5ModeWith(Tarn5SequencerMode mode, int32_t camera)
{
    const uint32_t shadow = CameraTable[camera].Registers[SequencerMode];
    return static_cast<uint16_t>((shadow & ~uint32_t{ModeField}) | mode);
}

void OpenTarn5Memory(uint32_t, int32_t camera)
{
    CameraTable[camera].Ops.WriteRegister(SequencerMode, Tarn5ModeWith(WriteMode, camera), camera);
}

// The coprocessor's writes of the register must leave the sequencer running.
void CloseTarn5Memory(int32_t camera)
{
    StoreRegister(SequencerMode, Tarn5ModeWith(RunMode, camera), camera);
}

int32_t StartTarn5(const Tarn5Start& start, int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (record.Ops.ReadRegister(Tarn5VersionRegister, camera) !=
        static_cast<uint16_t>(record.Platform.FpgaId)) {
        return ErrorCameraNotFound;
    }
    if (start.identified != nullptr) start.identified(camera);
    if (!IsCoprocessorThere(camera)) return ErrorCoprocessor;
    record.FanLevel = FirstFanLevel;
    record.LineSkew = 0;
    SetTarn5Cooler(attach, camera);
    const PlatformDefinition& platform = record.Platform;
    const uint16_t divider = ToUint16(platform.TimeBase * platform.SamplingClock[0] / 2 - 1);
    StoreRegister(PixelDivider, divider < 1 ? SmallestDivider : divider, camera);
    if (start.settleMs != 0) System.clock.Sleep(start.settleMs);
    StoreRegister(6, start.register6, camera);
    StoreRegister(7, start.register7, camera);
    WriteFrontEnd(0, HighRange, camera);
    WriteFrontEnd(1, 64, camera);
    WriteFrontEnd(5, 256, camera);
    return ErrorNone;
}

void RunTarn5Sequence(BusSequence sequence, uint32_t repeat, int32_t wait, int32_t camera)
{
    if (repeat == 0) return;
    const uint16_t* entry = CameraTable[camera].SequenceTable + size_t{2} * sequence;
    LoadSection(entry[0], entry[1], repeat, camera);
    RegisterBatch start = {};
    if (wait == 0) {
        AddPair(&start, SequencerMode, ModeWith(ArmedMode, camera));
    } else {
        AddPair(&start, SequencerMode, ModeWith(StartedMode, camera));
        AddPair(&start, SequencerMode, ModeWith(wait == 1 ? HostMode : StreamMode, camera));
    }
    SendBatch(start, camera);
    if (wait == 1) AwaitSection(sequence, repeat, camera);
}

void EndTarn5Stream(int32_t camera)
{
    WriteShadow(SequencerMode, camera);
}

double MeasureTarn5(int32_t camera)
{
    const uint16_t order = Measure;
    OrderCoprocessor(&order, 1, camera);
    AddReading(&Tarn5Temperatures.ring, CoprocessorResult(camera) & 0xFFF);
    if (LoadFlag(Tarn5Temperatures.ring.full) != 0) {
        StoreFlag(&Tarn5Temperatures.used, uint32_t{MiddleReading(Tarn5Temperatures.ring)});
    }
    return ConverterCelsius(LoadFlag(Tarn5Temperatures.used), 7.85);
}

void SetTarn5Fan(double percent, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FanLevel = ToUint16(percent * 255.0 / 100.0);
    DriveFanAt(record.FanLevel, camera);
}

const CameraOps Tarn5Ops = {
    .SetCoolerPower = SetTarn5CoolerPower,
    .SetPortBits = NoPortBits,
    .ModifyRegister = NoModifyRegister,
    .LoadSequencer = LoadTarn5Pattern,
    .ClearSensor = ClearTarn5Sensor,
    .SetShutter = SetTarn5Shutter,
    .SetCooler = SetTarn5Cooler,
    .WaitReady = NoResult,
    .IsTriggered = IsTarn5Triggered,
    .ClearOnce = ClearTarn5Once,
    .MoveFilter = NoMoveFilter,
    .WriteData = NoWriteData,
    .WriteAddress = NoWriteAddress,
    .ReadData = NoReadData,
    .ReadStatus = NoReadStatus,
    .SetGain = SetTarn5Gain,
    .ReadTimed = NoReadFrame,
    .OpenArrayCamera = RefuseOpenArray,
    .ReadArray = NoReadFrame,
};

const BindingRule Tarn5Rules[] = {
    {.ops = &CommonOps},
    {.ops = &Tarn5Ops},
    {.ops = &Tarn5BusOps, .notLink = InterfaceUsb},
    {.ops = &Tarn5BusFrameOps, .notLink = InterfaceUsb, .optionsSet = OptionCardDma},
    {.ops = &Tarn5BusLineOps, .notLink = InterfaceUsb, .optionsClear = OptionCardDma},
    {.ops = &UsbCameraOps, .link = InterfaceUsb},
    {.ops = &Tarn5UsbOps, .link = InterfaceUsb, .extras = &Tarn5UsbExtras},
    {},
};

const DriverExtras Tarn5Extras = {
    .ReadMemory = ReadTarn5Memory,
    .WriteMemory = WriteTarn5Memory,
    .SetFan = SetTarn5Fan,
};
