// OSPREY (platform 200): HERON_Plus with a pattern and a memory of 16-bit words, and with
// as many dummy lines again behind the image as ahead of it.
#include "drivers/osprey.h"

#include "core/errors.h"
#include "core/record.h"
#include "drivers/usb/device_strings.h"
#include "drivers/usb/pattern_stream.h"
#include "drivers/usb/readout.h"
#include "drivers/usb/usb_camera.h"
#include "links/flag_link.h"
#include "links/usb_link.h"
#include "platform/system.h"

namespace {

constexpr UsbSetup Setup = {.synchronous = false,
                            .latency = 0,
                            .in = 65536,
                            .out = 0,
                            .flowControl = false,
                            .readTimeout = 0,
                            .writeTimeout = 0,
                            .purge = false,
                            .closesUnopened = true};
constexpr uint32_t ResetMs = 20, DividerMs = 10;
constexpr int32_t VersionStatus = 15, VariantStatus = 10;
constexpr uint16_t IsVariant = 0x2; // of VariantStatus
constexpr int32_t Ccd3011 = 120, Kaf1401 = 279;

constexpr SequenceLoad Load = {.repeatRegister = 34, .endRegister = 35, .pauseMs = 10};
constexpr int32_t NormalCommand = 12;
constexpr uint8_t Skew = 3;
constexpr int32_t CountedBinnings = 4; // above, there are no dummy lines

constexpr uint32_t DescriptionPlace = 14, SerialLength = 7;

// --- opening ---

void ProgramVariant(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const bool isVariant = (record.Ops.ReadRegister(VariantStatus, camera) & IsVariant) != 0;
    record.CameraVariant = isVariant ? 1 : 0;
    StoreRegister(29, isVariant ? 245 : 164, camera);
    StoreRegister(30, isVariant ? 244 : 150, camera);
}

void ProgramSensor(int32_t camera)
{
    const int32_t sensor = CameraTable[camera].CcdCode;
    StoreRegister(21, sensor == Kaf1401 || sensor == Ccd3011 ? 24 : 0xC0, camera);
    if (sensor == Ccd3011) StoreRegister(22, 1, camera);
}

int32_t StartCamera(int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    System.usb.ResetDevice(record.UsbHandle);
    System.clock.Sleep(ResetMs);
    if (attach == 0) ResetUntilReady(camera);
    if (!IsByteVersion(VersionStatus, camera)) return ErrorCameraNotFound;
    record.LineSkew = Skew;
    StartByteCamera(attach, camera);
    System.clock.Sleep(DividerMs);
    ProgramVariant(camera);
    ProgramSensor(camera);
    ProgramByteFrontEnd(LowRange, camera);
    StartByteShutter(camera);
    StoreRegister(9, 1, camera); // the readout memory is loaded anew
    return ErrorNone;
}

int32_t OpenOsprey(int32_t, int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.TemperatureSpan[camera] = 1.0;
    record.TemperatureOffset[camera] = 0.0;
    int32_t error = UsbOpenDevice(Setup, camera);
    if (error != ErrorNone) return error;
    error = StartCamera(attach, camera);
    if (error != ErrorNone) UsbCloseDevice(camera);
    return error;
}

// --- memory ---

void PokeWord(uint32_t address, uint32_t value, int32_t camera)
{
    PokeByteWord(address, value, false, camera);
}

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
    .wordBytes = 8, .encode = EncodeMemoryWord, .send = FlagSend};

bool ReservePattern(uint32_t words, int32_t camera)
{
    return ReserveStream(PatternFormat, words, camera);
}

constexpr WaveSink PatternSink = {false, OpenByteMemory, PutIntoStream, CloseByteMemory,
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
    return ReceiveLines(FlagReceive, frame, camera);
}

constexpr UsbReadout Readout = {.play = RunSection,
                                .triggerRegister = 6,
                                .skipDivisor = 1,
                                .leaveStream = LeaveStream,
                                .transfer = TransferLines,
                                .end = EndByteStream};

int32_t ReadFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const int32_t ahead = record.VerBinning <= CountedBinnings ? DummyLines(record) : 0;
    BusFrame frame = FullFrame(width, height, buffer, camera);
    frame.dummy = 2 * ahead;
    frame.firstKept = ahead;
    return ReadUsbFrame(Readout, shutter, frame, camera);
}

int32_t ReadWindow(int32_t shutter, int32_t, int32_t y, int32_t width, int32_t height,
                   uint16_t* buffer, int32_t camera)
{
    return ReadUsbWindow(Readout, shutter, y, WindowFrame(width, height, buffer), camera);
}

int32_t ReadTemperature(int32_t camera)
{
    return ReadGuardedTemperature(&OspreyReadings, camera);
}

const CameraOps OspreyOps = {
    .OpenCamera = OpenOsprey,
    .Poke = PokeWord,
    .Peek = PeekByteWord,
    .PokeW = PokeWord,
    .PeekW = PeekByteWord,
    .LoadSequencer = LoadPattern,
    .ClearSensor = ClearSensor,
    .ReadTemperature = ReadTemperature,
    .ReadFrame = ReadFrame,
    .ReadWindow = ReadWindow,
    .ReadRegister = FlagRead,
    .WriteRegister = FlagWrite,
};

} // namespace

ByteReadings OspreyReadings;

const BindingRule OspreyRules[] = {
    {.ops = &CommonOps}, {.ops = &UsbCameraOps}, {.ops = &ByteCameraOps}, {.ops = &OspreyOps}, {},
};

const DriverExtras OspreyExtras = {
    .ReadMemory = ReadWord,
    .SerialNumber = SerialNumber,
    .SetFan = SetByteFan,
    .WriteRegisters = FlagWriteRegisters,
};
