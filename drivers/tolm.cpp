// TOLM (platform 400): behind a USB device in synchronous FIFO mode, an interline sensor
// without shutter, cooler or thermometer. It sends the image by itself when its exposure is
// over, so the host asks for the bytes first and waits then.
#include "drivers/tolm.h"

#include <algorithm>
#include <cmath>

#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "core/status.h"
#include "devices/exposure.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/usb/usb_camera.h"
#include "links/pair_link.h"
#include "links/usb_link.h"
#include "platform/system.h"
#include "sequencer/firmware_geometry.h"

namespace {

enum TolmRegister : int32_t {
    PixelDivider = 0,
    FirstColumn = 1, // 16 bits, as all up to LastLine but the binnings
    EndColumn = 3,
    LineLength = 5,
    ColumnBinning = 7,
    FirstLine = 8,
    EndLine = 10,
    FrameLength = 12,
    LineBinning = 14,
    ReadoutControl = 15,
    PowerControl = 16,
    FrontEndControl = 17,
    FrontEndByte = 18,
    ExposureControlRegister = 19,
    ExposureTime = 20, // 32 bits, microseconds
    ClearStatus = 25,
    VersionRegister = 30,
    StreamRegister = 31,
};

enum ReadoutBit : uint8_t { LoadWindow = 0x01, StartStream = 0x02, ClearImage = 0x44 };
constexpr uint8_t EndStream = 8;
constexpr uint8_t CarriedBit = 0x20;  // of ReadoutControl, goes to ExposureControlRegister
constexpr uint8_t RunExposure = 0x40; // of ExposureControlRegister
constexpr uint8_t ClearDone = 0x40;   // of ClearStatus
constexpr uint8_t PowerOn = 7;
constexpr uint32_t PowerMs = 100;
constexpr uint32_t WindowMs = 10;

enum FrontEndBit : uint8_t { FrontEndSelect = 4, FrontEndStrobe = 12, HoldClear = 0x10 };
constexpr uint16_t HighRange = 216, LowRange = 88;
constexpr uint32_t FrontEndValue = 0x1FF;
constexpr uint32_t FrontEndAddressShift = 12;

constexpr uint16_t TestWords[] = {0, 0xFFFF, 0x5555, 0xAAAA, 0xFF00, 0x00FF};
constexpr double RoomTemperature = 20.0;
constexpr int32_t ShortMs = 500; // exposures below are slept through

// A frame takes as long as the sensor is large.
struct SensorTimeout {
    int32_t sensor;
    uint32_t readMs;
};
constexpr SensorTimeout SensorTimeouts[] = {
    {3945, 1500}, {3946, 1500}, {3947, 2500},  {3948, 2500},  {3960, 2500},  {3962, 4500},
    {3964, 4500}, {3968, 9000}, {3980, 17000}, {3985, 17000}, {3990, 32000},
};
constexpr uint32_t OtherTimeoutMs = 17000;

constexpr UsbSetup Setup = {
    .synchronous = true,
    .latency = 2,
    .in = 65536,
    .out = 65536,
    .flowControl = true,
    .readTimeout = OtherTimeoutMs,
    .writeTimeout = 0,
    .purge = true,
    .closesUnopened = false,
};

// --- registers: every byte that is written stays in the shadow ---

uint8_t ShadowOf(int32_t reg, int32_t camera)
{
    return static_cast<uint8_t>(CameraTable[camera].Registers[reg & (RegisterCount - 1)]);
}

void KeepByte(int32_t reg, uint32_t value, int32_t camera)
{
    CameraTable[camera].Registers[reg & (RegisterCount - 1)] = static_cast<uint16_t>(value & 0xFF);
}

void WriteByte(int32_t reg, uint32_t value, int32_t camera)
{
    KeepByte(reg, value, camera);
    WritePair(reg, value, camera);
}

// The low 16 bits.
void WriteWord(int32_t reg, int64_t value, int32_t camera)
{
    const uint32_t bits = static_cast<uint16_t>(value);
    KeepByte(reg, bits, camera);
    KeepByte(reg + 1, bits >> 8, camera);
    WritePair16(reg, bits, camera);
}

void SetBits(int32_t reg, uint32_t bits, int32_t camera)
{
    WriteByte(reg, ShadowOf(reg, camera) | bits, camera);
}

void ClearBits(int32_t reg, uint32_t bits, int32_t camera)
{
    WriteByte(reg, ShadowOf(reg, camera) & ~bits, camera);
}

void WriteTolmRegister(int32_t reg, int32_t value, int32_t camera)
{
    WriteByte(reg, static_cast<uint32_t>(value), camera);
}

// --- front end ---

void SendFrontEndByte(uint32_t byte, int32_t camera)
{
    WriteByte(FrontEndControl, FrontEndSelect, camera);
    WriteByte(FrontEndByte, byte, camera);
    WriteByte(FrontEndControl, FrontEndStrobe, camera);
}

void WriteFrontEnd(uint32_t address, uint32_t value, int32_t camera)
{
    const uint32_t word = (value & FrontEndValue) | address << FrontEndAddressShift;
    SendFrontEndByte(word >> 8, camera);
    SendFrontEndByte(word, camera);
    WriteByte(FrontEndControl, FrontEndSelect, camera);
    WriteByte(FrontEndControl, 0, camera);
}

int32_t SetTolmGain(int32_t camera)
{
    WriteFrontEnd(1, 64, camera);
    return SetGainBy(WriteFrontEnd, HighRange, LowRange, camera);
}

// --- open ---

bool PassesRegisterTest(int32_t camera)
{
    for (const uint16_t word : TestWords) {
        uint16_t value = 0;
        WriteWord(FirstColumn, word, camera);
        if (!ReadPair16(FirstColumn, &value, camera) || value != word) return false;
    }
    return true;
}

int32_t TestTolm(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (ReadPair(VersionRegister, camera) != record.Platform.FpgaId) return ErrorCameraNotFound;
    return PassesRegisterTest(camera) ? ErrorNone : ErrorRegisterTest;
}

uint32_t PixelDividerOf(int32_t camera)
{
    const double clocks = 12.5 / CameraTable[camera].Platform.SamplingClock[0];
    return ToUint16(std::min(std::ceil(clocks) + 1, 255.0));
}

UsbSetup SetupFor(int32_t sensor)
{
    UsbSetup setup = Setup;
    for (const SensorTimeout& row : SensorTimeouts) {
        if (row.sensor == sensor) setup.readTimeout = row.readMs;
    }
    return setup;
}

int32_t OpenTolm(int32_t /*address*/, int32_t /*attach*/, int32_t camera)
{
    int32_t error = UsbOpenDevice(SetupFor(CameraTable[camera].CcdCode), camera);
    if (error != ErrorNone) return error;
    error = TestTolm(camera);
    if (error != ErrorNone) {
        CloseTolm(camera);
        return error;
    }
    PresetUsbCalibration(camera);
    StoreWordPeriod(camera);
    WriteByte(PixelDivider, PixelDividerOf(camera), camera);
    WriteByte(PowerControl, PowerOn, camera);
    System.clock.Sleep(PowerMs);
    WriteFrontEnd(0, HighRange, camera);
    WriteFrontEnd(1, 64, camera);
    return ErrorNone;
}

// --- exposure and clear ---

void SendExposure(double seconds, int32_t camera)
{
    const uint32_t microseconds = std::max(ToUint32(seconds * 1e6), 1u);
    for (int32_t i = 0; i < 4; ++i) KeepByte(ExposureTime + i, microseconds >> (8 * i), camera);
    WritePair32(ExposureTime, microseconds, camera);
}

void SetTolmShutter(double seconds, int32_t camera)
{
    SendExposure(seconds, camera);
    SetBits(ExposureControlRegister, RunExposure, camera);
    SetBits(ExposureControlRegister, RunExposure, camera);
    ClearBits(ExposureControlRegister, RunExposure, camera);
}

// Which lines are sent of a frame that is `length` lines long.
void SendLines(int64_t first, int64_t end, int64_t length, int32_t camera)
{
    WriteWord(FirstLine, first, camera);
    WriteWord(EndLine, end, camera);
    WriteWord(FrameLength, length, camera);
}

// For as long as the camera takes. One that does not answer is gone.
void AwaitClear(int32_t camera)
{
    uint8_t status = 0;
    while (ReadPair8(ClearStatus, &status, camera) && (status & ClearDone) == 0) {
        System.clock.Relax();
    }
}

void ClearTolm(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const int32_t dummy = DummyLines(record);
    SendLines(dummy, dummy + record.Ccd.Ypix, 2 * dummy + record.Ccd.Ypix, camera);
    WriteByte(LineBinning, 0, camera);
    SetBits(ReadoutControl, LoadWindow, camera);
    ClearBits(ReadoutControl, LoadWindow, camera);
    SetBits(FrontEndControl, HoldClear, camera);
    SetBits(ReadoutControl, ClearImage, camera);
    AwaitClear(camera);
    ClearBits(FrontEndControl, HoldClear, camera);
    WriteByte(ReadoutControl, 0, camera);
}

// --- reading ---

// What is sent, in bins and lines of the register and the frame.
struct TolmWindow {
    int32_t x, y, width, height;
    int32_t lines; // of the frame behind the dummy lines
};

void SendWindow(const TolmWindow& window, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const int32_t dummy = DummyLines(record);
    const int64_t first = int64_t{record.Ccd.HorDummyPix} + window.x;
    const int64_t top = int64_t{dummy} + window.y;
    WriteWord(FirstColumn, first, camera);
    WriteWord(EndColumn, first + window.width, camera);
    WriteWord(LineLength, record.Ccd.HorRegSize, camera);
    WriteByte(ColumnBinning, static_cast<uint32_t>(LoadFlag(FirmwareHorBinning) - 1), camera);
    SendLines(top, top + window.height, int64_t{2} * dummy + window.lines, camera);
    WriteByte(LineBinning, static_cast<uint32_t>(LoadFlag(FirmwareVerBinning) - 1), camera);
    SetBits(ReadoutControl, LoadWindow, camera);
    System.clock.Sleep(WindowMs);
    ClearBits(ReadoutControl, LoadWindow, camera);
    ClearBits(ReadoutControl, LoadWindow, camera);
    // Out of the other register's shadow: required.
    SetBits(ExposureControlRegister, ShadowOf(ReadoutControl, camera) & CarriedBit, camera);
}

void StartImage(uint32_t bytes, int32_t camera)
{
    PairBatch batch;
    batch.count = 0;
    KeepByte(ReadoutControl, ShadowOf(ReadoutControl, camera) | StartStream, camera);
    AddPair(ReadoutControl, ShadowOf(ReadoutControl, camera), &batch);
    AddPairRequest(StreamRegister, bytes, &batch);
    SendPairs(batch, camera);
}

// The camera goes on by itself: a break ends the wait and not the exposure.
void AwaitTolmExposure(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const double exposure = record.ExposureTime;
    const int32_t ms = ToInt32(exposure * 1000.0);
    StoreFlag(&record.BreakFlag, int8_t{0});
    if (exposure < 0.0) return;
    if (ms < ShortMs) {
        System.clock.Sleep(static_cast<uint32_t>(ms) + 1);
        return;
    }
    if ((LoadFlag(record.Options) & OptionExternalTrigger) != 0) return;
    AwaitExposure(exposure, ms, System.clock.TickCount(), camera);
}

int32_t FetchImage(uint16_t* buffer, uint32_t bytes, int32_t camera)
{
    SetReadoutPriority(1, camera);
    const int32_t error = ReceivePairImage(buffer, bytes, camera);
    SetReadoutPriority(0, camera);
    ReportProgress(nullptr, 100, camera);
    if (error != ErrorNone) return error;
    WriteByte(ReadoutControl, EndStream, camera);
    WriteByte(ReadoutControl, EndStream, camera);
    WriteByte(ReadoutControl, 0, camera);
    return ErrorNone;
}

int32_t ReadImage(const TolmWindow& window, uint16_t* buffer, int32_t camera)
{
    const uint32_t bytes = ImageBytes(window.width, window.height);
    SendExposure(CameraTable[camera].ExposureTime, camera);
    ClearForRead(camera);
    UsbPurge(camera);
    SendWindow(window, camera);
    StartImage(bytes, camera);
    AwaitTolmExposure(camera);
    ReportProgress("Image downloading", 0, camera);
    return FetchImage(buffer, bytes, camera);
}

int32_t ReadTolmFrame(int32_t /*shutter*/, int32_t width, int32_t height, uint16_t* buffer,
                      int32_t camera)
{
    return ReadImage({0, 0, width, height, height}, buffer, camera);
}

int32_t ReadTolmWindow(int32_t /*shutter*/, int32_t x, int32_t y, int32_t width, int32_t height,
                       uint16_t* buffer, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const int32_t lines = record.Ccd.Ypix / std::max(record.VerBinning, 1);
    return ReadImage({x, y, width, height, lines}, buffer, camera);
}

// --- what it does not have ---

void IgnoreCooler(int32_t, int32_t) {}

int32_t ReadTolmTemperature(int32_t camera)
{
    StoreReading(&CameraTable[camera].CurrentTemperature, RoomTemperature);
    return 0;
}

const CameraOps TolmOps = {
    .OpenCamera = OpenTolm,
    .SetCoolerPower = IgnoreCooler,
    .ClearSensor = ClearTolm,
    .ReadTemperature = ReadTolmTemperature,
    .ReadFrame = ReadTolmFrame,
    .SetShutter = SetTolmShutter,
    .ReadWindow = ReadTolmWindow,
    .SetCooler = IgnoreCooler,
    .WriteRegister = WriteTolmRegister,
    .SetGain = SetTolmGain,
};

} // namespace

void CloseTolm(int32_t camera)
{
    WriteByte(PowerControl, 0, camera);
    UsbCloseDevice(camera);
}

const BindingRule TolmRules[] = {
    {.ops = &CommonOps}, {.ops = &UsbCameraOps}, {.ops = &PairLinkOps}, {.ops = &TolmOps}, {},
};
