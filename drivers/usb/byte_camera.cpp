// Registers, converter, front end and exposure counter of the cameras with registers of a
// byte.
#include "drivers/usb/byte_camera.h"

#include <algorithm>

#include "core/convert.h"
#include "core/flags.h"
#include "core/record.h"
#include "drivers/usb/usb_camera.h"
#include "platform/system.h"

namespace {

enum ByteRegister : int32_t {
    ConverterRegister = 1, // strobes
    ExposureTime = 2,      // 32 bits, low byte first; the last one starts the exposure
    ControlRegister = 6,
    ConverterSelect = 7,
    PixelDivider = 11,
    SequencerMode = 16,
    SettlingTime = 23, // as ExposureTime
    SerialLines = 28,
};

constexpr uint16_t CoolerOn = 0x80; // of ControlRegister

// --- the serial lines ---

enum SerialLine : uint16_t { SerialData = 0x1, SerialClock = 0x2, FrontEndStrobe = 0x4 };
constexpr uint16_t OtherLines = 0x70;

constexpr uint32_t FrontEndBits = 15, FrontEndAddressShift = 12;
constexpr uint32_t FrontEndValue = 0x1FF; // nine bits
constexpr uint32_t DriveBits = 13, DriveChannelShift = 12;
constexpr uint32_t LargestCode = 4095;
enum DriveChannel : uint32_t { DriveCooler = 0, DriveFan = 1 };

// --- converter ---

constexpr uint16_t SelectConverter = 0x10; // of ConverterSelect
enum ConverterStrobe : uint16_t { NextConversion = 0x1, StartConverter = 0x4, DriveStrobe = 0x8 };
enum ConverterStatus : int32_t { ConversionLow = 1, ConversionHigh = 2 };
constexpr uint32_t ConversionMs = 2;
constexpr uint16_t SmallestReading = 31; // a lower one counts as the one before it
constexpr double GuardedScale = 7.85;

constexpr int32_t NormalCommand = 12;
enum FramedMode : uint16_t { NormalMode = 12, ReadingMode = 0x4C };

// --- opening ---

constexpr uint16_t FirstFanLevel = 4095;
constexpr uint16_t SmallestDivider = 2, LargestDivider = 255;
constexpr int32_t ReadyStatus = 15;
constexpr uint16_t ReadyValue = 47;
constexpr int32_t ResetAttempts = 2;
constexpr uint32_t ResetMs = 20;

// --- exposure ---

constexpr double SettlingRate = 100.0;    // counts a millisecond
constexpr double ExposureRate = 100000.0; // counts a second
constexpr double ShortestExposure = 0.00001;
constexpr double OpenSettlingMs = 10.0, OpenExposure = 0.01;

uint16_t Shadow(int32_t reg, int32_t camera)
{
    return CameraTable[camera].Registers[reg];
}

// Most significant bit first, on top of `lines`.
void AddBits(RegisterBatch* batch, uint32_t lines, uint32_t value, uint32_t bits)
{
    for (uint32_t bit = bits; bit > 0; --bit) {
        const uint32_t data = lines | (value >> (bit - 1) & SerialData);
        AddPair(batch, SerialLines, data);
        AddPair(batch, SerialLines, data | SerialClock);
        AddPair(batch, SerialLines, data);
    }
}

void WriteFrontEnd(uint32_t address, uint32_t value, int32_t camera)
{
    const uint16_t lines = Shadow(SerialLines, camera);
    RegisterBatch batch = {};
    AddBits(&batch, (lines & OtherLines) | FrontEndStrobe,
            address << FrontEndAddressShift | (value & FrontEndValue), FrontEndBits);
    AddPair(&batch, SerialLines, lines);
    SendBatch(batch, camera);
}

void Drive(DriveChannel channel, uint32_t value, int32_t camera)
{
    const uint16_t select = Shadow(ConverterSelect, camera);
    const uint16_t lines = Shadow(SerialLines, camera);
    const uint16_t strobes = Shadow(ConverterRegister, camera);
    const uint32_t code = std::min(value, LargestCode);
    RegisterBatch batch = {};
    AddPair(&batch, ConverterSelect, select | SelectConverter);
    AddBits(&batch, lines, channel << DriveChannelShift | code, DriveBits);
    AddPair(&batch, ConverterRegister, strobes | DriveStrobe);
    AddPair(&batch, ConverterRegister, strobes);
    AddPair(&batch, SerialLines, lines);
    AddPair(&batch, ConverterSelect, select);
    SendBatch(batch, camera);
}

// --- exposure ---

void AddLongRegister(RegisterBatch* batch, int32_t reg, uint32_t value, int32_t camera)
{
    for (int32_t i = 0; i < 4; ++i) {
        const uint8_t part = static_cast<uint8_t>(value >> 8 * i);
        CameraTable[camera].Registers[reg + i] = part;
        AddPair(batch, reg + i, part);
    }
}

// The camera waits for the shutter to settle by itself.
void WriteExposure(double settlingMs, double seconds, int32_t camera)
{
    const double exposure = seconds == 0.0 ? ShortestExposure : seconds;
    RegisterBatch batch = {};
    AddLongRegister(&batch, SettlingTime, ToUint32(settlingMs * SettlingRate), camera);
    AddLongRegister(&batch, ExposureTime, ToUint32(exposure * ExposureRate), camera);
    SendBatch(batch, camera);
}

void AddTwice(RegisterBatch* batch, int32_t reg, uint32_t value)
{
    AddPair(batch, reg, value);
    AddPair(batch, reg, value);
}

// --- slots ---

void SetByteCoolerPower(int32_t permille, int32_t camera)
{
    Drive(DriveCooler, (static_cast<uint32_t>(std::clamp(permille, 0, 1000)) << 12) / 1000, camera);
}

void SetByteCooler(int32_t on, int32_t camera)
{
    if (on != 0) {
        SetRegisterBits(ControlRegister, CoolerOn, camera);
    } else {
        ClearRegisterBits(ControlRegister, CoolerOn, camera);
    }
    Drive(DriveFan, on != 0 ? CameraTable[camera].FanLevel : 0, camera);
}

void SetByteShutter(double seconds, int32_t camera)
{
    WriteExposure(CameraTable[camera].Config.ShutterHisteresys, seconds, camera);
}

int32_t SetByteGain(int32_t camera)
{
    return SetGainBy(WriteFrontEnd, HighRange, LowRange, camera);
}

} // namespace

void ResetUntilReady(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    for (int32_t attempt = 0; attempt < ResetAttempts; ++attempt) {
        if (record.Ops.ReadRegister(ReadyStatus, camera) == ReadyValue) return;
        System.usb.ResetDevice(record.UsbHandle);
        System.clock.Sleep(ResetMs);
    }
}

bool IsByteVersion(int32_t versionStatus, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    return record.Ops.ReadRegister(versionStatus, camera) == record.Platform.FpgaId;
}

void StartByteCamera(int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FanLevel = FirstFanLevel;
    SetByteCooler(attach, camera);
    StoreRegister(27, 0, camera);
    const PlatformDefinition& platform = record.Platform;
    StoreWordPeriod(camera);
    const uint16_t divider = ToUint16(platform.TimeBase * platform.SamplingClock[0] / 2 - 1);
    StoreRegister(PixelDivider, divider < 1 ? SmallestDivider : std::min(divider, LargestDivider),
                  camera);
}

void ProgramByteFrontEnd(uint16_t range, int32_t camera)
{
    WriteFrontEnd(0, range, camera);
    WriteFrontEnd(1, 64, camera);
    WriteFrontEnd(5, 256, camera);
}

void StartByteShutter(int32_t camera)
{
    WriteShadow(ControlRegister, camera);
    WriteExposure(OpenSettlingMs, OpenExposure, camera);
}

uint16_t ConvertByteTemperature(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint16_t strobes = Shadow(ConverterRegister, camera);
    const bool isReading = LoadFlag(record.ReadingFrame) != 0;
    RegisterBatch batch = {};
    if (isReading) AddPair(&batch, SequencerMode, NormalMode);
    AddPair(&batch, ConverterSelect, Shadow(ConverterSelect, camera) | SelectConverter);
    AddTwice(&batch, ConverterRegister, strobes | StartConverter);
    AddTwice(&batch, ConverterRegister, strobes);
    AddTwice(&batch, ConverterRegister, strobes | NextConversion);
    AddTwice(&batch, ConverterRegister, strobes);
    SendBatch(batch, camera);
    System.clock.Sleep(ConversionMs);
    const uint16_t low = record.Ops.ReadRegister(ConversionLow, camera) & 0xFF;
    const uint16_t high = record.Ops.ReadRegister(ConversionHigh, camera) & 0x0F;
    WriteShadow(ConverterSelect, camera);
    ByteCommand(NormalCommand, camera);
    if (isReading) record.Ops.WriteRegister(SequencerMode, ReadingMode, camera);
    return static_cast<uint16_t>(high << 8 | low);
}

int32_t ReadGuardedTemperature(ByteReadings* readings, int32_t camera)
{
    uint32_t value = ConvertByteTemperature(camera);
    if (value < SmallestReading) {
        value = LoadFlag(readings->lastGood);
    } else {
        StoreFlag(&readings->lastGood, value);
    }
    AddReading(&readings->ring, static_cast<uint16_t>(value));
    if (LoadFlag(readings->ring.full) != 0) value = MiddleReading(readings->ring);
    StoreHeadTemperature(camera, ConverterCelsius(value, GuardedScale), camera);
    return 0;
}

void SetByteFan(double percent, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FanLevel = ToUint16(percent * 4095.0 / 100.0);
    Drive(DriveFan, record.FanLevel, camera);
}

const CameraOps ByteCameraOps = {
    .SetCoolerPower = SetByteCoolerPower,
    .SetShutter = SetByteShutter,
    .SetCooler = SetByteCooler,
    .SetGain = SetByteGain,
};
