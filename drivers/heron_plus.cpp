// HERON_Plus (platform 61): one camera behind a USB device. Its registers and its pattern
// memory have a width of a byte.
#include "drivers/heron_plus.h"

#include "catalogue/camera_config_file.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/record.h"
#include "drivers/usb/byte_camera.h"
#include "drivers/usb/device_strings.h"
#include "drivers/usb/pattern_stream.h"
#include "drivers/usb/readout.h"
#include "drivers/usb/usb_camera.h"
#include "links/flag_link.h"
#include "links/usb_link.h"
#include "platform/system.h"

namespace {

constexpr UsbSetup Setup = {.synchronous = false,
                            .latency = 2,
                            .in = 65536,
                            .out = 65536,
                            .flowControl = false,
                            .readTimeout = 5000,
                            .writeTimeout = 1000,
                            .purge = true,
                            .closesUnopened = true};
constexpr uint32_t OpenMs = 20, DividerMs = 10;
constexpr int32_t VersionStatus = 15;
constexpr int32_t Kaf1401 = 279;

constexpr SequenceLoad Load = {.repeatRegister = 17, .endRegister = 18, .pauseMs = 10};
constexpr int32_t NormalCommand = 12;
constexpr uint8_t Skew = 3;

constexpr double SensorScale = 7.87;

constexpr uint32_t DescriptionPlace = 16, SerialLength = 8;

// --- opening ---

int32_t StartCamera(int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    System.clock.Sleep(OpenMs);
    if (attach == 0) ResetUntilReady(camera);
    if (!IsByteVersion(VersionStatus, camera)) return ErrorCameraNotFound;
    record.LineSkew = Skew;
    StartByteCamera(attach, camera);
    System.clock.Sleep(DividerMs);
    StoreRegister(29, 255, camera);
    StoreRegister(30, 255, camera);
    StoreRegister(21, record.CcdCode == Kaf1401 ? 0xC8 : 0xC0, camera);
    ProgramByteFrontEnd(LowRange, camera);
    StartByteShutter(camera);
    return ErrorNone;
}

int32_t OpenHeronPlus(int32_t, int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.TemperatureSpan[camera] = ReadTemperatureSpan();
    record.TemperatureOffset[camera] = ReadTemperatureOffset();
    int32_t error = UsbOpenDevice(Setup, camera);
    if (error != ErrorNone) return error;
    error = StartCamera(attach, camera);
    if (error != ErrorNone) UsbCloseDevice(camera);
    return error;
}

// --- memory ---

uint16_t ReadWord(int32_t word, int32_t camera)
{
    return DescriptionWord(word, DescriptionPlace, camera);
}

int32_t SerialNumber(int32_t camera)
{
    return SerialOfString(SerialLength, camera);
}

// --- pattern ---

constexpr StreamFormat PatternFormat = {
    .wordBytes = 6, .encode = EncodeMemoryByte, .send = FlagSend};

bool ReservePattern(uint32_t words, int32_t camera)
{
    return ReserveStream(PatternFormat, words, camera);
}

constexpr WaveSink PatternSink = {true, OpenByteMemory, PutIntoStream, CloseByteMemory,
                                  ReservePattern};

int32_t LoadPattern(const char* path, int32_t camera)
{
    return LoadWave(path, PatternSink, camera);
}

// --- sequencer and reads ---

void RunSection(BusSequence sequence, uint32_t repeat, int32_t wait, int32_t camera)
{
    RunByteSequence(Load, sequence, repeat, wait, camera);
}

void ClearSensor(int32_t camera)
{
    ClearSensorBy(RunSection, camera);
}

void LeaveStream(int32_t camera)
{
    ByteCommand(NormalCommand, camera);
}

int32_t TransferLines(const BusFrame& frame, int32_t camera)
{
    const int32_t error = ReceiveLines(FlagReceive, frame, camera);
    if (error != ErrorNone) System.usb.ResetPort(CameraTable[camera].UsbHandle);
    return error;
}

constexpr UsbReadout Readout = {.play = RunSection,
                                .triggerRegister = 6,
                                .skipDivisor = 2,
                                .leaveStream = LeaveStream,
                                .transfer = TransferLines,
                                .end = EndByteStream};

int32_t ReadFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer, int32_t camera)
{
    return ReadUsbFrame(Readout, shutter, FullFrame(width, height, buffer, camera), camera);
}

int32_t ReadWindow(int32_t shutter, int32_t, int32_t y, int32_t width, int32_t height,
                   uint16_t* buffer, int32_t camera)
{
    return ReadUsbWindow(Readout, shutter, y, WindowFrame(width, height, buffer), camera);
}

// --- temperature ---

// The two in the middle of the ring as it stands, not of a sorted copy: required.
int32_t ReadTemperature(int32_t camera)
{
    uint32_t value = ConvertByteTemperature(camera);
    AddReading(&HeronPlusReadings, static_cast<uint16_t>(value));
    if (LoadFlag(HeronPlusReadings.full) != 0) {
        value = (LoadFlag(HeronPlusReadings.values[3]) + LoadFlag(HeronPlusReadings.values[4])) / 2;
    }
    StoreHeadTemperature(camera, ConverterCelsius(value, SensorScale), camera);
    return 0;
}

const CameraOps HeronPlusOps = {
    .OpenCamera = OpenHeronPlus,
    .Poke = PokeByte,
    .Peek = PeekByte,
    .PokeW = PokeByte,
    .PeekW = PeekByte,
    .LoadSequencer = LoadPattern,
    .ClearSensor = ClearSensor,
    .ReadTemperature = ReadTemperature,
    .ReadFrame = ReadFrame,
    .ReadWindow = ReadWindow,
    .ReadRegister = FlagRead,
    .WriteRegister = FlagWrite,
};

} // namespace

ReadingRing HeronPlusReadings;

const BindingRule HeronPlusRules[] = {
    {.ops = &CommonOps},
    {.ops = &UsbCameraOps},
    {.ops = &ByteCameraOps},
    {.ops = &HeronPlusOps},
    {},
};

const DriverExtras HeronPlusExtras = {
    .ReadMemory = ReadWord,
    .SerialNumber = SerialNumber,
    .SetFan = SetByteFan,
    .WriteRegisters = FlagWriteRegisters,
};
