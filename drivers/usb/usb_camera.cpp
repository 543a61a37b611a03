// What cameras on USB do alike, in whatever wire language.
#include "drivers/usb/usb_camera.h"

#include <algorithm>
#include <cstring>

#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "links/usb_link.h"
#include "platform/system.h"

namespace {

constexpr int32_t UserGainIndex = 4;

} // namespace

const CameraOps UsbCameraOps = {
    .SetPortBits = NoPortBits,
    .ModifyRegister = NoModifyRegister,
    .Poke = NoPoke,
    .Peek = NoPeek,
    .PokeW = NoPoke,
    .PeekW = NoPeek,
    .LoadSequencer = LoadNothing,
    .WaitReady = NoResult,
    .IsTriggered = NoResult,
    .ClearOnce = NoOperation,
    .MoveFilter = NoMoveFilter,
    .WriteData = NoWriteData,
    .WriteAddress = NoWriteAddress,
    .ResetLink = NoOperation,
    .ReadData = NoReadData,
    .ReadStatus = NoReadStatus,
    .ReadTimed = NoReadFrame,
    .OpenArrayCamera = RefuseOpenArray,
    .ReadArray = NoReadFrame,
};

void StoreWordPeriod(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.WordPeriodNs = ToUint16(record.Platform.SamplingClock[0] * 1000);
}

void PresetUsbCalibration(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.TemperatureSpan[camera] = record.TemperatureSpanWord / 10.0;
    record.TemperatureOffset[camera] = record.TemperatureOffsetWord / 10.0;
}

bool IsTriggerWanted(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if ((LoadFlag(record.Options) & OptionExternalTrigger) == 0) return false;
    return LoadFlag(record.BreakFlag) == 0;
}

uint32_t ImageBytes(int32_t width, int32_t height)
{
    const uint64_t pixels =
        static_cast<uint64_t>(std::max(width, 0)) * static_cast<uint64_t>(std::max(height, 0));
    return static_cast<uint32_t>(std::min<uint64_t>(pixels * sizeof(uint16_t), UINT32_MAX));
}

uint8_t* AllocateTransfer(uint32_t bytes, uint32_t slack)
{
    const size_t room = size_t{bytes} + slack;
    void* block = System.memory.Allocate(room);
    if (block != nullptr) memset(block, 0, room);
    return static_cast<uint8_t*>(block);
}

int32_t ReceiveImage(void* buffer, uint32_t bytes, int32_t camera)
{
    return UsbReceive(buffer, bytes, camera) == bytes ? ErrorNone : ErrorLinkFailure;
}

double ConverterCelsius(uint32_t raw, double kiloohms)
{
    return raw * 0.0006103515625 * 1000 / kiloohms - 273.15;
}

void StoreProcessorReading(uint32_t raw, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const double celsius = raw * 38.146972 / 7870 - 273.15;
    StoreReading(&record.CurrentTemperature,
                 celsius * record.TemperatureSpan[camera] + record.TemperatureOffset[camera]);
}

uint32_t SelectGain(const uint8_t* gains, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const int32_t index = record.GainIndex;
    record.LoadedGain = index;
    if (index == UserGainIndex) return record.UserGain;
    return gains[index >= 0 && index < UserGainIndex ? index : 0];
}
