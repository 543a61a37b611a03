// TOLM_E and WREN (platforms 450 and 300): behind a USB device, with a processor of their
// own that is told what to do and does it.
#include "drivers/tolm_e.h"

#include <algorithm>
#include <cstring>

#include "catalogue/camera_config_file.h"
#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/record.h"
#include "core/status.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/usb/usb_camera.h"
#include "links/command_link.h"
#include "links/usb_link.h"
#include "platform/system.h"
#include "sequencer/firmware_geometry.h"

namespace {

enum CameraCommand : uint8_t {
    TellVersion = 1,
    TellTemperature = 3,
    SwitchCooler = 4,
    ClearImage = 6,
    StartExposure = 7, // microseconds, milliseconds of the shutter
    SetConverter = 8,
    SendFrame = 10,
    SendWindow = 11,
    SetFrontEnd = 12,
    OrderFilterWheel = 13,
    StoreMemory = 14,
    FetchMemory = 15,
    DropBits = 16,
    EndCamera = 17,
    SelectSensor = 18,
    SetShutterSide = 19,
    TellRegister = 20,
    TellTrigger = 21,
    ArmTrigger = 22,
    HandToPlug = 23,
};

enum Converter : uint8_t { CoolerDrive = 0, FanDrive = 1 };
constexpr uint32_t LargestDrive = 4095;
constexpr uint16_t FirstFanLevel = 4095;

constexpr UsbSetup Setup = {
    .synchronous = false,
    .latency = 2,
    .in = 65536,
    .out = 65536,
    .flowControl = false,
    .readTimeout = 50000,
    .writeTimeout = 1000,
    .purge = true,
    .closesUnopened = true,
};
constexpr uint32_t SettleMs = 20;

constexpr uint16_t MiddleOffset = 256;
constexpr double SenseKiloohms = 7.87;
constexpr uint8_t Gains[] = {0, 38, 56, 63};

// Sensor 5000 has two fields, which come one behind the other.
constexpr int32_t TwoFieldSensor = 5000;
const int32_t TwoFieldSensors[] = {TwoFieldSensor, 0};
constexpr int32_t FirstLine = 3;      // of the stream; the lines ahead are dark
constexpr int32_t SecondField = 259;  // the same of the second field
constexpr uint32_t FieldBytes = 1280; // of a line

// The lead is measured in cells of the register, so a binning leaves less of it.
constexpr int32_t LeadPixels = 4;
constexpr uint32_t StreamSlack = 32;

// --- small commands ---

uint32_t Scaled(uint32_t value)
{
    return (value << 12) / 1000;
}

bool SendDrive(Converter converter, uint32_t code, int32_t camera)
{
    Command command = MakeCommand(SetConverter);
    AddByte(converter, &command);
    AddWord(code, &command);
    return SendCommand(command, camera);
}

// A level of 4095 goes out as 16773, which the fan takes: required.
void DriveFanAt(uint16_t level, int32_t camera)
{
    SendDrive(FanDrive, Scaled(level), camera);
}

void SetCoolerDrive(int32_t permille, int32_t camera)
{
    const uint32_t drive = static_cast<uint32_t>(std::clamp(permille, 0, 1000));
    SendDrive(CoolerDrive, std::min(Scaled(drive), LargestDrive), camera);
}

void SwitchTolmECooler(int32_t on, int32_t camera)
{
    if (!SendByteCommand(SwitchCooler, static_cast<uint32_t>(on), camera)) return;
    DriveFanAt(on != 0 ? CameraTable[camera].FanLevel : uint16_t{0}, camera);
}

void SetTolmEFan(double percent, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FanLevel = ToUint16(percent * 4095.0 / 100.0);
    DriveFanAt(record.FanLevel, camera);
}

// There are no registers on the wire, only their shadow.
uint16_t ReadShadow(int32_t reg, int32_t camera)
{
    return CameraTable[camera].Registers[reg & (RegisterCount - 1)];
}

void StoreShadow(int32_t reg, int32_t value, int32_t camera)
{
    CameraTable[camera].Registers[reg & (RegisterCount - 1)] = static_cast<uint16_t>(value);
}

void ModifyTolmERegister(int32_t reg, int32_t mask, int32_t on, int32_t camera)
{
    const int32_t shadow = ReadShadow(reg, camera);
    StoreShadow(reg, on != 0 ? shadow | mask : shadow & ~mask, camera);
    SendByteCommand(TellRegister, ReadShadow(reg, camera), camera);
}

void ClearTolmE(int32_t camera)
{
    SendPlainCommand(ClearImage, camera);
}

void SetTolmEShutter(double seconds, int32_t camera)
{
    const int32_t settling = CameraTable[camera].Config.ShutterHisteresys;
    Command command = MakeCommand(StartExposure);
    AddLong(ToUint32(seconds * 1e6), &command);
    AddLong(static_cast<uint32_t>(settling), &command);
    SendCommand(command, camera);
}

void SetTolmEShutterLine(bool isLight, int32_t camera)
{
    SendByteCommand(SetShutterSide, isLight ? 1 : 0, camera);
}

int32_t IsTolmETriggered(int32_t camera)
{
    uint8_t seen = 0;
    AskByte(MakeCommand(TellTrigger), &seen, camera);
    return seen != 0 ? 1 : 0;
}

int32_t SetTolmEGain(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    Command command = MakeCommand(SetFrontEnd);
    AddWord(SelectGain(Gains, camera), &command);
    AddWord(static_cast<uint32_t>(record.GainIndex), &command);
    AddWord(record.UserOffset, &command);
    AddWord(static_cast<uint32_t>(record.UserGainHigh), &command);
    SendCommand(command, camera);
    return 0;
}

void SetTolmEDecimation(int32_t mode, int32_t camera)
{
    SendByteCommand(DropBits, static_cast<uint32_t>(mode), camera);
}

// A reading that does not come leaves the old one, and is no failure to the caller.
int32_t ReadTolmETemperature(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    uint16_t raw = 0;
    DrainReceive(camera);
    if (!AskWord(MakeCommand(TellTemperature), &raw, camera)) return 0;
    const double celsius = ConverterCelsius(raw, SenseKiloohms) + record.TemperatureOffset[camera];
    StoreReading(&record.CurrentTemperature, celsius * record.TemperatureSpan[camera]);
    return 0;
}

void OrderTolmEWheel(int32_t operation, int32_t value, int32_t camera)
{
    Command command = MakeCommand(OrderFilterWheel);
    AddByte(static_cast<uint32_t>(operation), &command);
    AddByte(static_cast<uint32_t>(value), &command);
    SendCommand(command, camera);
}

// The command ends in the middle of the last value; the reply means nothing.
void HandTolmEPlug(const uint32_t* values, int32_t camera)
{
    constexpr uint32_t Sent = 16;
    Command command = MakeCommand(HandToPlug);
    for (int32_t i = 0; i < 4; ++i) AddLong(values[i], &command);
    command.count = Sent;
    PutCommand(command, camera);
    uint8_t reply[2];
    if (UsbReceive(reply, sizeof reply, camera) == 0) {
        StoreFlag(&CameraTable[camera].LastError, ErrorArm);
    }
}

uint16_t ReadTolmEMemory(int32_t address, int32_t camera)
{
    uint16_t value = 0;
    Command command = MakeCommand(FetchMemory);
    AddWord(static_cast<uint32_t>(address), &command);
    AskWord(command, &value, camera);
    return value;
}

void WriteTolmEMemory(int32_t address, uint16_t value, int32_t camera)
{
    Command command = MakeCommand(StoreMemory);
    AddWord(static_cast<uint32_t>(address), &command);
    AddWord(value, &command);
    SendCommand(command, camera);
}

// --- open ---

// A camera that says nothing is taken for one of version 'D'.
bool HasVersion(int32_t version, int32_t camera)
{
    uint8_t reported = CommandStart;
    AskByte(MakeCommand(TellVersion), &reported, camera);
    return reported == version;
}

int32_t OpenTolmE(int32_t /*address*/, int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.TemperatureSpan[camera] = ReadTemperatureSpan();
    record.TemperatureOffset[camera] = ReadTemperatureOffset();
    const int32_t error = UsbOpenDevice(Setup, camera);
    if (error != ErrorNone) return error;
    System.clock.Sleep(SettleMs);
    record.FanLevel = FirstFanLevel;
    if (!HasVersion(record.Platform.FpgaId, camera)) {
        UsbCloseDevice(camera);
        return ErrorCameraNotFound;
    }
    Command sensor = MakeCommand(SelectSensor);
    AddWord(static_cast<uint32_t>(record.CcdCode), &sensor);
    SendCommand(sensor, camera);
    record.LineSkew = 3;
    SwitchTolmECooler(attach, camera);
    StoreWordPeriod(camera);
    record.UserOffset = MiddleOffset;
    return ErrorNone;
}

// --- reading ---

int32_t SentBinning()
{
    return std::max(LoadFlag(FirmwareHorBinning), 1);
}

// Both the lead and what is taken count by the binning that was told last, whatever
// camera it was told to; the image begins a pixel behind the lead: required. What is
// taken beyond the stream is zero.
void CopyImage(const uint8_t* stream, int32_t width, int32_t height, uint16_t* buffer)
{
    const int32_t binning = SentBinning();
    const int64_t image = ImageBytes(width, height);
    const int64_t taken = image + 2 * LeadPixels / binning - 2;
    const int32_t first = 2 * (LeadPixels / binning) + 2;
    memcpy(buffer, stream + first, static_cast<size_t>(std::clamp<int64_t>(taken, 0, image)));
}

void CopyLine(const uint8_t* stream, int32_t from, int32_t to, int32_t width, int32_t height,
              uint16_t* buffer)
{
    if (from >= height || to >= height) return;
    const size_t bytes = ImageBytes(width, 1);
    memcpy(reinterpret_cast<uint8_t*>(buffer) + static_cast<size_t>(to) * bytes,
           stream + static_cast<size_t>(from) * bytes, std::min<size_t>(FieldBytes, bytes));
}

void CopyFields(const uint8_t* stream, int32_t width, int32_t height, uint16_t* buffer)
{
    memset(buffer, 0, ImageBytes(width, height));
    for (int32_t i = 0; i < (height - 2 * FirstLine) / 2; ++i) {
        CopyLine(stream, i + FirstLine, 2 * i, width, height, buffer);
        CopyLine(stream, i + SecondField, 2 * i + 1, width, height, buffer);
    }
}

using StreamCopy = void (*)(const uint8_t* stream, int32_t width, int32_t height, uint16_t* buffer);

int32_t ReadImage(const Command& command, StreamCopy copy, int32_t shutter, int32_t width,
                  int32_t height, uint16_t* buffer, int32_t camera)
{
    const uint32_t bytes = ImageBytes(width, height);
    uint8_t* stream = AllocateTransfer(bytes, StreamSlack);
    if (stream == nullptr) return ErrorImageBuffer;
    ClearForRead(camera);
    if (IsTriggerWanted(camera)) SendPlainCommand(ArmTrigger, camera);
    ExposeAndAnnounce(shutter, camera);
    SetReadoutPriority(1, camera);
    PutCommand(command, camera);
    const int32_t error = ReceiveImage(stream, bytes, camera);
    SetReadoutPriority(0, camera);
    copy(stream, width, height, buffer); // also what has come of a short one
    System.memory.Release(stream);
    ReportProgress(nullptr, 100, camera);
    return error;
}

Command FrameCommand(int32_t shutter, int32_t width, int32_t height)
{
    Command command = MakeCommand(SendFrame);
    AddByte(shutter != 0 ? 1 : 0, &command);
    AddWord(static_cast<uint32_t>(width), &command);
    AddWord(static_cast<uint32_t>(height), &command);
    return command;
}

int32_t ReadTolmEFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                       int32_t camera)
{
    return ReadImage(FrameCommand(shutter, width, height), CopyImage, shutter, width, height,
                     buffer, camera);
}

int32_t ReadTwoFields(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                      int32_t camera)
{
    return ReadImage(FrameCommand(shutter, width, height), CopyFields, shutter, width, height,
                     buffer, camera);
}

int32_t ReadTolmEWindow(int32_t shutter, int32_t x, int32_t y, int32_t width, int32_t height,
                        uint16_t* buffer, int32_t camera)
{
    Command command = MakeCommand(SendWindow);
    AddByte(shutter != 0 ? 1 : 0, &command);
    for (const int32_t side : {x, y, width, height}) {
        AddWord(static_cast<uint32_t>(side), &command);
    }
    return ReadImage(command, CopyImage, shutter, width, height, buffer, camera);
}

const CameraOps TolmEOps = {
    .OpenCamera = OpenTolmE,
    .SetCoolerPower = SetCoolerDrive,
    .ModifyRegister = ModifyTolmERegister,
    .ClearSensor = ClearTolmE,
    .ReadTemperature = ReadTolmETemperature,
    .ReadFrame = ReadTolmEFrame,
    .SetShutter = SetTolmEShutter,
    .ReadWindow = ReadTolmEWindow,
    .SetCooler = SwitchTolmECooler,
    .ReadRegister = ReadShadow,
    .WriteRegister = StoreShadow,
    .IsTriggered = IsTolmETriggered,
    .SetGain = SetTolmEGain,
};

const CameraOps TwoFieldOps = {.ReadFrame = ReadTwoFields};

} // namespace

void BuildWaveCommand(const char* /*path*/, uint32_t x, uint32_t y, uint32_t width, uint32_t hbin,
                      int32_t vbin, uint32_t /*waveOption*/, uint32_t /*extraCount*/,
                      int32_t camera)
{
    StoreFlag(&CameraTable[camera].LastError, ErrorNone);
    Command command = {};
    static_assert(GeometryCommandBytes <= CommandRoom);
    ComposeGeometryCommand({x, y, width, hbin, vbin}, camera, command.bytes);
    command.count = GeometryCommandBytes;
    SendCommand(command, camera);
    KeepFirmwareBinning(hbin, vbin);
}

void CloseTolmE(int32_t camera)
{
    SendPlainCommand(EndCamera, camera);
    UsbCloseDevice(camera);
}

const DriverExtras TolmEExtras = {
    .ReadMemory = ReadTolmEMemory,
    .WriteMemory = WriteTolmEMemory,
    .SetFan = SetTolmEFan,
    .SetShutterLine = SetTolmEShutterLine,
    .SetDecimation = SetTolmEDecimation,
    .Plug = HandTolmEPlug,
    .OrderWheel = OrderTolmEWheel,
};

const BindingRule TolmERules[] = {
    {.ops = &CommonOps},
    {.ops = &UsbCameraOps},
    {.ops = &TolmEOps},
    {.ops = &TwoFieldOps, .sensors = TwoFieldSensors},
    {},
};
