// Tarn_U (platform 29): behind a USB device in synchronous FIFO mode, with a signal
// processor that takes numbered words. The host times the exposure, and tells the camera
// when it is over.
#include "drivers/tarn_u.h"

#include <algorithm>

#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/record.h"
#include "core/status.h"
#include "devices/exposure.h"
#include "devices/wheel/filter_wheel.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/usb/usb_camera.h"
#include "links/pair_link.h"
#include "links/usb_link.h"
#include "platform/system.h"
#include "sequencer/firmware_geometry.h"

namespace {

enum TarnURegister : int32_t {
    WordRegister = 0, // 16 bits
    CommandRegister = 4,
    VideoMode = 8,
    StreamReset = 10,
    ReadyRegister = 28, // bit 0: busy
    ResultRegister = 29,
    StreamRegister = 31,
};

constexpr uint32_t CommandStrobe = 0x80;
constexpr uint8_t ProcessorBusy = 1;

enum ProcessorCommand : uint8_t {
    TellVersion = 1,
    TellFirmware = 2,
    TellTemperature = 3,
    CoolerDrive = 4,
    FanDrive = 5,
    WindowX = 6,
    WindowY = 7,
    WindowWidth = 8,
    WindowHeight = 9,
    StartRead = 17,
    BeginDark = 18,
    BeginLight = 19,
    EndExposure = 20,
    ClearImage = 21,
    MemoryAddress = 22,
    StoreMemory = 23,
    FetchMemory = 24,
    WaitForTrigger = 25,
};

constexpr uint16_t Firmware = 4098;
constexpr uint32_t TestRounds = 256;
constexpr uint32_t LargestDrive = 4095;
constexpr uint32_t MemoryWriteMs = 10;

constexpr UsbSetup Setup = {
    .synchronous = true,
    .latency = 2,
    .in = 65536,
    .out = 65536,
    .flowControl = true,
    .readTimeout = 8000,
    .writeTimeout = 0,
    .purge = true,
    .closesUnopened = false,
};

struct RegisterStep {
    int32_t reg;
    uint8_t value;
};
constexpr RegisterStep OpenSteps[] = {{5, 32}, {6, 31}, {7, 112}, {11, 1}, {11, 3}};
constexpr int32_t MirroredSensors[] = {250, 255, 260, 275, 281, 285};
constexpr uint8_t MirroredMode = 3;

// --- words and commands ---

// A camera that is gone reads as 0, which is ready.
void AwaitProcessor(int32_t camera)
{
    while ((ReadPair(ReadyRegister, camera) & ProcessorBusy) != 0) System.clock.Relax();
}

void StrobeCommand(uint8_t command, int32_t camera)
{
    WritePair(CommandRegister, command | CommandStrobe, camera);
    WritePair(CommandRegister, command, camera);
}

void RunCommand(ProcessorCommand command, int32_t camera)
{
    StrobeCommand(command, camera);
    AwaitProcessor(camera);
}

void SetWord(int32_t number, uint32_t value, int32_t camera)
{
    WritePair16(WordRegister, value, camera);
    AwaitProcessor(camera);
    StrobeCommand(static_cast<uint8_t>(number), camera);
}

bool GetWord(ProcessorCommand command, uint16_t* value, int32_t camera)
{
    RunCommand(command, camera);
    return ReadPair16(ResultRegister, value, camera);
}

uint16_t ReadTarnUMemory(int32_t address, int32_t camera)
{
    uint16_t value = 0;
    WritePair16(WordRegister, static_cast<uint32_t>(address) * 2, camera);
    RunCommand(MemoryAddress, camera);
    GetWord(FetchMemory, &value, camera);
    return value;
}

void WriteTarnUMemory(int32_t address, uint16_t value, int32_t camera)
{
    WritePair16(WordRegister, static_cast<uint32_t>(address) * 2, camera);
    RunCommand(MemoryAddress, camera);
    WritePair16(WordRegister, value, camera);
    RunCommand(StoreMemory, camera);
    System.clock.Sleep(MemoryWriteMs);
}

// A word with its command, whose answer means nothing.
void HandTarnUPlug(const uint32_t* values, int32_t camera)
{
    uint16_t dropped = 0;
    SetWord(static_cast<int32_t>(values[0] & 0xFF), values[1], camera);
    ReadPair16(ResultRegister, &dropped, camera);
}

// --- cooler, fan, temperature ---

void SetTarnUDrive(int32_t permille, int32_t camera)
{
    const uint32_t drive = static_cast<uint32_t>(std::clamp(permille, 0, 1000));
    SetWord(CoolerDrive, std::min((drive << 12) / 1000, LargestDrive), camera);
}

void SwitchTarnUCooler(int32_t on, int32_t camera)
{
    SetWord(FanDrive, on != 0 ? LargestDrive : 0, camera);
    if (on == 0) SetWord(CoolerDrive, 0, camera);
}

void SetTarnUFan(double percent, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FanLevel = ToUint16(percent * 4095.0 / 100.0);
    SetWord(FanDrive, record.FanLevel, camera);
}

// Without an answer the old reading stays.
int32_t ReadTarnUTemperature(int32_t camera)
{
    uint16_t raw = 0;
    if (GetWord(TellTemperature, &raw, camera)) StoreProcessorReading(raw, camera);
    return 0;
}

// --- open ---

bool PassesRegisterTest(int32_t camera)
{
    for (uint32_t n = 0; n < TestRounds; ++n) {
        uint16_t value = 0;
        WritePair16(WordRegister, n, camera);
        if (!ReadPair16(WordRegister, &value, camera) || value != n) return false;
    }
    return true;
}

// A missing answer differs from every number.
bool Tells(ProcessorCommand command, uint16_t expected, int32_t camera)
{
    uint16_t value = 0;
    return GetWord(command, &value, camera) && value == expected;
}

int32_t TestTarnU(int32_t camera)
{
    const int16_t version = CameraTable[camera].Platform.FpgaId;
    if (!PassesRegisterTest(camera)) return ErrorRegisterTest;
    if (!Tells(TellVersion, static_cast<uint16_t>(version), camera)) return ErrorCameraNotFound;
    return Tells(TellFirmware, Firmware, camera) ? ErrorNone : ErrorDspOutOfDate;
}

bool IsMirrored(int32_t sensor)
{
    return std::find(std::begin(MirroredSensors), std::end(MirroredSensors), sensor) !=
           std::end(MirroredSensors);
}

int32_t OpenTarnU(int32_t /*address*/, int32_t attach, int32_t camera)
{
    int32_t error = UsbOpenDevice(Setup, camera);
    if (error != ErrorNone) return error;
    error = TestTarnU(camera);
    if (error != ErrorNone) {
        UsbCloseDevice(camera);
        return error;
    }
    PresetUsbCalibration(camera);
    StoreWordPeriod(camera);
    SwitchTarnUCooler(attach, camera);
    for (const RegisterStep& step : OpenSteps) WritePair(step.reg, step.value, camera);
    WritePair(VideoMode, IsMirrored(CameraTable[camera].CcdCode) ? MirroredMode : 0, camera);
    DrainReceive(camera);
    return ErrorNone;
}

// --- reading ---

void ClearTarnU(int32_t camera)
{
    RunCommand(ClearImage, camera);
}

void ExposeTarnU(int32_t shutter, int32_t camera)
{
    double exposure = CameraTable[camera].ExposureTime;
    RunCommand(shutter != 0 ? BeginLight : BeginDark, camera);
    ReportProgress("Image downloading", 0, camera); // ahead of the exposure: required
    if (IsTriggerWanted(camera)) SetWord(WaitForTrigger, 1, camera);
    ExposureControl("Exposure", &exposure, shutter, camera);
    RunCommand(EndExposure, camera);
}

int32_t FetchImage(uint16_t* buffer, uint32_t bytes, int32_t camera)
{
    PairBatch batch;
    batch.count = 0;
    AddPair(CommandRegister, StartRead | CommandStrobe, &batch);
    AddPair(CommandRegister, StartRead, &batch);
    AddPairRequest(StreamRegister, bytes, &batch);
    SetReadoutPriority(1, camera);
    DrainReceive(camera);
    SendPairs(batch, camera);
    const int32_t error = ReceivePairImage(buffer, bytes, camera);
    SetReadoutPriority(0, camera);
    ReportProgress(nullptr, 100, camera);
    return error;
}

int32_t ReadTarnUWindow(int32_t shutter, int32_t x, int32_t y, int32_t width, int32_t height,
                        uint16_t* buffer, int32_t camera)
{
    SetWord(WindowX, static_cast<uint32_t>(x), camera);
    SetWord(WindowY, static_cast<uint32_t>(y), camera);
    SetWord(WindowWidth, static_cast<uint32_t>(width), camera);
    SetWord(WindowHeight, static_cast<uint32_t>(height), camera);
    WritePair(StreamReset, 1, camera);
    WritePair(StreamReset, 0, camera);
    ClearForRead(camera);
    ExposeTarnU(shutter, camera);
    return FetchImage(buffer, ImageBytes(width, height), camera);
}

int32_t ReadTarnUFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                       int32_t camera)
{
    return ReadTarnUWindow(shutter, 0, 0, width, height, buffer, camera);
}

// The camera times nothing.
void KeepShutter(double, int32_t) {}

const CameraOps TarnUOps = {
    .OpenCamera = OpenTarnU,
    .SetCoolerPower = SetTarnUDrive,
    .ClearSensor = ClearTarnU,
    .ReadTemperature = ReadTarnUTemperature,
    .ReadFrame = ReadTarnUFrame,
    .SetShutter = KeepShutter,
    .ReadWindow = ReadTarnUWindow,
    .SetCooler = SwitchTarnUCooler,
    .MoveFilter = MoveWheel,
    .SetGain = NoResult,
};

} // namespace

void BuildWaveTarnU(const char* /*path*/, uint32_t x, uint32_t y, uint32_t width, uint32_t hbin,
                    int32_t vbin, uint32_t /*waveOption*/, uint32_t /*extraCount*/, int32_t camera)
{
    GeometryParameter parameters[GeometryParameters];
    StoreFlag(&CameraTable[camera].LastError, ErrorNone);
    const int32_t count = ListGeometryParameters({x, y, width, hbin, vbin}, camera, parameters);
    for (int32_t i = 0; i < count; ++i) {
        SetWord(parameters[i].number, parameters[i].value, camera);
    }
}

const DriverExtras TarnUExtras = {
    .ReadMemory = ReadTarnUMemory,
    .WriteMemory = WriteTarnUMemory,
    .SetFan = SetTarnUFan,
    .Plug = HandTarnUPlug,
};

const BindingRule TarnURules[] = {
    {.ops = &CommonOps}, {.ops = &UsbCameraOps}, {.ops = &PairLinkOps}, {.ops = &TarnUOps}, {},
};
