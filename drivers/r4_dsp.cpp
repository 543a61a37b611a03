// R4-DSP (platform 48): behind a USB device in synchronous FIFO mode, with a coprocessor
// that takes orders through a mailbox, regulates the temperature by itself, and reads the
// sensor by a program that is loaded at open.
#include "drivers/r4_dsp.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "catalogue/definition_file.h"
#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/record.h"
#include "core/status.h"
#include "devices/temperature.h"
#include "devices/wheel/filter_wheel.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/usb/usb_camera.h"
#include "links/pair_link.h"
#include "links/usb_link.h"
#include "platform/system.h"
#include "sequencer/firmware_geometry.h"

namespace {

enum R4Register : int32_t {
    ProgramAddress = 0,
    ProgramControl = 1, // high byte of the address, and strobes
    ProgramWord = 2,    // 32 bits
    CoprocessorControl = 8,
    VersionControl = 9,
    ClockPattern = 11,
    ClockStart = 12,
    ClockLength = 13,
    ClockOffset = 14,
    ClockDivider = 15,
    ShutterLine = 22,
    ShutterControl = 23,
    ShutterTime = 24, // 32 bits, units of 4 microseconds
    VideoMode = 28,
    VersionStatus = 34, // 16 bits
    StreamRegister = 40,
};

enum CoprocessorOrder : uint16_t {
    SendImage = 2,
    TellTemperature = 100,
    SetFan = 101,
    SetDrive = 102,
    SwitchCooler = 103,
    EndCamera = 104,
    ZeroWheel = 105,
    TurnWheel = 106,
    StoreMemory = 107,
    FetchMemory = 108,
    SetPoint = 109,
    TellDrive = 110,
    SetPeriod = 112,
    SetWheelOffset = 113,
    TellFirmware = 114,
    Resynchronise = 255,
};

constexpr UsbSetup Setup = {
    .synchronous = true,
    .latency = 2,
    .in = 512,
    .out = 512,
    .flowControl = true,
    .readTimeout = 8000,
    .writeTimeout = 0,
    .purge = true,
    .closesUnopened = false,
};

constexpr uint8_t AskVersion = 31;
constexpr uint32_t VersionMs = 1000;
constexpr uint32_t ClockMs = 100;
constexpr uint32_t MemoryWriteMs = 10;

enum CoprocessorBit : uint32_t { RunCamera = 16, ResetCamera = 32, ResetSequencer = 64 };
constexpr uint32_t ResetSteps[] = {
    ResetCamera,
    ResetCamera | ResetSequencer,
    ResetCamera | ResetSequencer,
    ResetCamera | ResetSequencer,
    ResetCamera,
};

enum ProgramStrobe : uint32_t { SelectWord = 16, StoreWord = 32, RunProgram = 64 };
constexpr uint32_t ProgramWords = 4096;

// One pixel's clocks: a lead, the pairs of a burst, an end.
constexpr uint8_t PatternLead[] = {2, 8, 9, 8, 4};
constexpr uint8_t PatternBurst[] = {5, 4};
constexpr int32_t PatternBursts = 81;
constexpr uint8_t PatternEnd[] = {0, 32, 0, 64};
constexpr double ClocksPerMicrosecond = 14.0;
constexpr double SlowPixel = 40.0; // clocks
constexpr uint8_t SlowDivider = 3, FastDivider = 1;

enum ShutterBit : uint32_t { LoadSettling = 16, StartShutter = 128 };
constexpr double ShutterUnitMs = 0.004;
constexpr double ShutterUnit = 4e-6; // seconds

constexpr int32_t HeaderLines = 2; // of the stream, ahead of the image
constexpr int32_t HeaderPixels = 3;
constexpr int32_t UncountedLines = 3; // that the camera drops by itself
constexpr uint32_t StreamSlack = 16;

constexpr uint32_t FullFan = 4095;

// Of the wheel's motor, by what the host asks it to hold.
constexpr uint8_t Periods[] = {20, 15, 13, 12, 11, 10};
constexpr uint16_t NoFirmware = 60622;
constexpr uint32_t FirmwareWithOffset = 100;

// Of all cameras of this kind: required.
uint32_t FanLevel = FullFan;
uint32_t Period = Periods[0];

// Of each camera.
uint32_t Firmware[CameraCount];
uint32_t WheelOffsets[CameraCount];

// --- coprocessor ---

uint16_t Order(CoprocessorOrder order, int32_t camera)
{
    const uint16_t words[] = {order};
    return Mailbox(words, std::size(words), camera);
}

uint16_t OrderValue(CoprocessorOrder order, uint32_t value, int32_t camera)
{
    const uint16_t words[] = {order, static_cast<uint16_t>(value & 0xFFFF)};
    return Mailbox(words, std::size(words), camera);
}

uint16_t ReadR4Memory(int32_t address, int32_t camera)
{
    return OrderValue(FetchMemory, static_cast<uint32_t>(address), camera);
}

void WriteR4Memory(int32_t address, uint16_t value, int32_t camera)
{
    const uint16_t words[] = {StoreMemory, static_cast<uint16_t>(address & 0xFFFF), value};
    Mailbox(words, std::size(words), camera);
    System.clock.Sleep(MemoryWriteMs);
}

void SetR4Drive(int32_t permille, int32_t camera)
{
    OrderValue(SetDrive, static_cast<uint32_t>(permille), camera);
}

void SwitchR4Cooler(int32_t on, int32_t camera)
{
    OrderValue(SetFan, on != 0 ? LoadFlag(FanLevel) : 0, camera);
    if (on == 0) OrderValue(SetDrive, 0, camera);
    OrderValue(SwitchCooler, static_cast<uint32_t>(on), camera);
}

void DriveFanAt(uint32_t level, int32_t camera)
{
    StoreFlag(&FanLevel, level);
    OrderValue(SetFan, level, camera);
}

void SetR4Fan(double percent, int32_t camera)
{
    DriveFanAt(ToUint16(percent * 4095.0 / 100.0), camera);
}

void SetR4Target(double celsius, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    DriveFanAt(FullFan, camera);
    OrderValue(
        SetPoint,
        SetPointWord(celsius, record.TemperatureOffset[camera], record.TemperatureSpan[camera]),
        camera);
}

// A reading of 0 is none.
int32_t ReadR4Temperature(int32_t camera)
{
    const uint16_t raw = Order(TellTemperature, camera);
    if (raw != 0) StoreProcessorReading(raw, camera);
    const int32_t drive = Order(TellDrive, camera);
    StoreFlag(&CameraTable[camera].CoolerPower, drive * 1000 / 4095);
    return 0;
}

// --- filter wheel ---

uint16_t TurnR4Wheel(int32_t position, int32_t camera)
{
    return OrderValue(TurnWheel, static_cast<uint32_t>(position) - 1, camera);
}

uint16_t ZeroR4Wheel(int32_t camera)
{
    const uint16_t answer = Order(ZeroWheel, camera);
    if (Firmware[camera] >= FirmwareWithOffset) {
        OrderValue(SetWheelOffset, WheelOffsets[camera], camera);
    }
    return answer;
}

// The offset has a sign of its own, and waits for the next search of the zero position.
void SetR4Wheel(int32_t hold, int32_t zeroOffset, int32_t camera)
{
    if (hold >= 0 && hold < static_cast<int32_t>(std::size(Periods))) {
        StoreFlag(&Period, uint32_t{Periods[hold]});
        OrderValue(SetPeriod, Periods[hold], camera);
    }
    WheelOffsets[camera] = static_cast<uint32_t>(zeroOffset >= 0 ? zeroOffset : 128 - zeroOffset);
}

// --- open ---

// The camera takes its time to tell, and is waited for as long as it is plugged in.
uint16_t ReadVersion(int32_t camera)
{
    uint8_t bytes[2] = {};
    PairBatch batch;
    batch.count = 0;
    AddPairRequest(VersionStatus | PairAutoIncrement, sizeof bytes, &batch);
    WritePair(VersionControl, AskVersion, camera);
    System.clock.Sleep(VersionMs);
    SendPairs(batch, camera);
    if (UsbAwaitBytes(camera)) UsbReceive(bytes, sizeof bytes, camera);
    return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

void ResetR4(int32_t camera)
{
    const uint32_t shadow = CameraTable[camera].Registers[CoprocessorControl];
    for (const uint32_t bits : ResetSteps) WritePair(CoprocessorControl, shadow | bits, camera);
    WritePair(CoprocessorControl, shadow, camera);
}

void LoadWord(uint32_t address, uint32_t word, int32_t camera)
{
    const uint32_t high = address >> 8;
    PairBatch batch;
    batch.count = 0;
    AddPair(ProgramAddress, address, &batch);
    for (int32_t byte = 3; byte >= 0; --byte) {
        AddPair(ProgramWord + byte, word >> (8 * byte), &batch);
    }
    AddPair(ProgramControl, high | SelectWord, &batch);
    AddPair(ProgramControl, high | StoreWord, &batch);
    AddPair(ProgramControl, high | SelectWord, &batch);
    AddPair(ProgramControl, 0, &batch);
    SendPairs(batch, camera);
}

// The program stands with the sensor's definition; without one the camera keeps its own.
int32_t LoadProgram(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    auto* words = static_cast<uint32_t*>(System.memory.Allocate(ProgramWords * sizeof(uint32_t)));
    if (words == nullptr) return ErrorPatternMemory;
    const uint32_t count =
        ReadSensorProgram(record.PlatformCode, record.CcdCode, camera, words, ProgramWords);
    for (uint32_t address = 0; address < count; ++address) {
        LoadWord(address, words[address], camera);
    }
    System.memory.Release(words);
    return ErrorNone;
}

double PixelClocks(const CameraRecord& record)
{
    return record.Platform.SamplingClock[0] * ClocksPerMicrosecond;
}

void AddPattern(const uint8_t* values, size_t count, PairBatch* batch)
{
    for (size_t i = 0; i < count; ++i) AddPair(ClockPattern, values[i], batch);
}

void SetUpClocks(int32_t camera)
{
    const double clocks = PixelClocks(CameraTable[camera]);
    WritePair(ClockStart, 1, camera);
    WritePair(ClockLength, ToUint16(clocks / 2 - 1), camera);
    WritePair(ClockOffset, 0, camera);
    WritePair(ClockDivider, clocks > SlowPixel ? SlowDivider : FastDivider, camera);
    PairBatch batch;
    batch.count = 0;
    AddPattern(PatternLead, std::size(PatternLead), &batch);
    for (int32_t i = 0; i < PatternBursts; ++i) {
        AddPattern(PatternBurst, std::size(PatternBurst), &batch);
    }
    AddPattern(PatternEnd, std::size(PatternEnd), &batch);
    SendPairs(batch, camera);
    WritePair(ProgramControl, RunProgram, camera);
    System.clock.Sleep(ClockMs);
}

void StartR4(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    WritePair(VideoMode, 5, camera);
    WritePair(ShutterControl, record.Registers[ShutterControl], camera);
    ResetR4(camera);
    WritePair(ProgramControl, RunProgram, camera);
    record.Registers[CoprocessorControl] |= RunCamera;
    WritePair(CoprocessorControl, record.Registers[CoprocessorControl], camera);
    OrderValue(SetPeriod, LoadFlag(Period), camera);
    const uint16_t firmware = Order(TellFirmware, camera);
    Firmware[camera] = firmware == NoFirmware ? 0 : firmware;
}

// As tenths; a span that is not above 0 leaves both as they are.
void CalibrateR4(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const int16_t offset = static_cast<int16_t>(ReadR4Memory(0, camera));
    const int16_t span = static_cast<int16_t>(ReadR4Memory(1, camera));
    if (span <= 0) return;
    record.TemperatureOffset[camera] = offset / 10.0;
    record.TemperatureSpan[camera] = span / 10.0;
}

int32_t SetUpR4(int32_t attach, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint16_t version = ReadVersion(camera);
    ResetR4(camera);
    if (version != static_cast<uint16_t>(record.Platform.FpgaId)) return ErrorCameraNotFound;
    for (int32_t i = 0; i < 3; ++i) Order(Resynchronise, camera);
    SwitchR4Cooler(attach, camera);
    const int32_t error = LoadProgram(camera);
    if (error != ErrorNone) return error;
    DrainReceive(camera);
    SetUpClocks(camera);
    StartR4(camera);
    return ErrorNone;
}

int32_t OpenR4Dsp(int32_t /*address*/, int32_t attach, int32_t camera)
{
    int32_t error = UsbOpenDevice(Setup, camera);
    if (error != ErrorNone) return error;
    error = SetUpR4(attach, camera);
    if (error != ErrorNone) {
        UsbCloseDevice(camera);
        return error;
    }
    StoreWordPeriod(camera);
    PresetUsbCalibration(camera);
    CalibrateR4(camera);
    return ErrorNone;
}

// --- shutter ---

void SetR4ShutterLine(bool isLight, int32_t camera)
{
    WritePair(ShutterLine, isLight ? 1 : 0, camera);
}

void SetR4Shutter(double seconds, int32_t camera)
{
    if (!(seconds > 0.0)) return;
    const CameraRecord& record = CameraTable[camera];
    const uint32_t control = record.Registers[ShutterControl];
    WritePair(ShutterControl, control | LoadSettling, camera);
    WritePair32(ShutterTime, ToUint32(record.Config.ShutterHisteresys / ShutterUnitMs), camera);
    System.clock.Sleep(1);
    WritePair(ShutterControl, control, camera);
    WritePair32(ShutterTime, ToUint32(seconds / ShutterUnit), camera);
    WritePair(ShutterControl, control | StartShutter, camera);
}

// --- reading ---

// What of the register and of the frame is clocked out, and what is dropped around it. Of
// each number 16 bits go to the camera.
struct R4Window {
    int32_t width, height; // in bins
    int64_t before, behind;
    int64_t above, below;
};

void PushReadout(const R4Window& window, int32_t shutter, uint32_t bytes, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const double phase = record.Platform.VerticalPhasePeriod * PixelClocks(record);
    const int64_t numbers[] = {
        SendImage,
        shutter != 0 ? 1 : 0,
        int64_t{window.height} + HeaderLines,
        window.before,
        window.behind,
        window.above,
        window.below,
        ToUint16(phase),
        LoadFlag(FirmwareHorBinning),
        LoadFlag(FirmwareVerBinning),
    };
    uint16_t words[std::size(numbers)];
    for (size_t i = 0; i < std::size(numbers); ++i) words[i] = static_cast<uint16_t>(numbers[i]);
    PushWords(words, std::size(words), bytes, StreamRegister, camera);
}

int32_t ReadImage(const R4Window& window, int32_t shutter, uint16_t* buffer, int32_t camera)
{
    const uint32_t image = ImageBytes(window.width, window.height);
    const uint32_t header = ImageBytes(window.width, HeaderLines);
    if (image > UINT32_MAX - header) return ErrorImageBuffer;
    uint8_t* stream = AllocateTransfer(image + header, StreamSlack);
    if (stream == nullptr) return ErrorImageBuffer;
    ClearForRead(camera);
    ExposeAndAnnounce(shutter, camera);
    SetReadoutPriority(1, camera);
    DrainReceive(camera);
    PushReadout(window, shutter, image + header, camera);
    const int32_t error = ReceivePairImage(stream, image + header, camera);
    SetReadoutPriority(0, camera);
    // Its last pixels lie behind the stream, and are zero.
    memcpy(buffer, stream + header + HeaderPixels * sizeof(uint16_t), image);
    System.memory.Release(stream);
    ReportProgress(nullptr, 100, camera);
    return error;
}

int32_t ReadR4Frame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                    int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const int32_t dummy = DummyLines(record);
    const int32_t lead = record.Ccd.HorDummyPix;
    const int64_t hbin = LoadFlag(FirmwareHorBinning);
    const R4Window window = {
        .width = width,
        .height = height,
        .before = lead,
        .behind = record.Ccd.HorRegSize - lead - width * hbin,
        .above = dummy / 2 - UncountedLines,
        .below = dummy / 2,
    };
    return ReadImage(window, shutter, buffer, camera);
}

int32_t ReadR4Window(int32_t shutter, int32_t x, int32_t y, int32_t width, int32_t height,
                     uint16_t* buffer, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const int32_t dummy = DummyLines(record);
    const int32_t lead = record.Ccd.HorDummyPix;
    const int64_t hbin = LoadFlag(FirmwareHorBinning);
    const int64_t vbin = std::max(record.VerBinning, 1);
    const int64_t linesBelow = record.Ccd.Ypix / vbin - y - height;
    const R4Window window = {
        .width = width,
        .height = height,
        .before = lead + x * hbin,
        .behind = record.Ccd.HorRegSize - lead - (int64_t{x} + width) * hbin,
        .above = dummy / 2 - UncountedLines + y * vbin,
        .below = dummy / 2 + std::max(int64_t{0}, linesBelow) * vbin,
    };
    return ReadImage(window, shutter, buffer, camera);
}

const CameraOps R4DspOps = {
    .OpenCamera = OpenR4Dsp,
    .SetCoolerPower = SetR4Drive,
    .ClearSensor = NoOperation, // its program cleans the sensor
    .ReadTemperature = ReadR4Temperature,
    .ReadFrame = ReadR4Frame,
    .SetShutter = SetR4Shutter,
    .ReadWindow = ReadR4Window,
    .SetCooler = SwitchR4Cooler,
    .MoveFilter = MoveWheel,
    .SetGain = NoResult,
};

} // namespace

void CloseR4Dsp(int32_t camera)
{
    OrderValue(EndCamera, 0, camera);
    UsbCloseDevice(camera);
}

const DriverExtras R4DspExtras = {
    .ReadMemory = ReadR4Memory,
    .WriteMemory = WriteR4Memory,
    .SetFan = SetR4Fan,
    .SetTarget = SetR4Target,
    .SetShutterLine = SetR4ShutterLine,
    .TurnWheel = TurnR4Wheel,
    .ZeroWheel = ZeroR4Wheel,
    .SetWheel = SetR4Wheel,
};

const BindingRule R4DspRules[] = {
    {.ops = &CommonOps}, {.ops = &UsbCameraOps}, {.ops = &PairLinkOps}, {.ops = &R4DspOps}, {},
};
