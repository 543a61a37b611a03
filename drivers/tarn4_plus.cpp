// Tarn_IV_PLUS (platform 25): on the interface card, over a parallel or a serial cable.
#include "drivers/tarn4_plus.h"

#include "core/convert.h"
#include "core/options.h"
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/tarn.h"
#include "links/card_link.h"

namespace {

enum Tarn4PlusRegister : int32_t { ExposureCounter = 4, VideoMode = 8 };

constexpr uint16_t NoiseReduction = 0x8000; // of the video mode
constexpr FrontEndRange Range = {.high = 216, .low = 88};
constexpr double CounterRate = 100000.0; // counts a second

void ProgramTarn4Plus(int32_t camera)
{
    ProgramBusRegisters({}, camera);
    StartFrontEnd(Range, camera);
}

const BusSetup Setup = {
    .cable = {.control = 0xD04, .controlLong = 0xD04, .decoder = PlainDecoder, .badReply = 12},
    .serialPortCard = false,
    .program = ProgramTarn4Plus,
    .calibrate = CalibrateFromMemory,
};

int32_t OpenTarn4Plus(int32_t address, int32_t attach, int32_t camera)
{
    return OpenTarnCamera(Setup, address, attach, camera);
}

void SetTarn4PlusShutter(double seconds, int32_t camera)
{
    SetLongCounter(ToUint32(seconds * CounterRate), ExposureCounter, camera);
}

int32_t SetTarn4PlusGain(int32_t camera)
{
    return SetFrontEndGain(Range.high, Range.low, camera);
}

void BeginNoiseReduction(int32_t camera)
{
    if (CameraTable[camera].DnrMode != 0) WriteRegisterWith(VideoMode, NoiseReduction, camera);
}

void EndNoiseReduction(int32_t camera)
{
    if (CameraTable[camera].DnrMode != 0) WriteShadow(VideoMode, camera);
}

const CameraOps Tarn4PlusOps = {
    .OpenCamera = OpenTarn4Plus,
    .SetPortBits = SetBusPortBits,
    .LoadSequencer = LoadTarn4PlusPattern,
    .SetShutter = SetTarn4PlusShutter,
    .SetGain = SetTarn4PlusGain,
};

} // namespace

const DriverExtras Tarn4PlusExtras = {
    .BeforeLines = BeginNoiseReduction,
    .AfterRead = EndNoiseReduction,
};

const BindingRule Tarn4PlusRules[] = {
    {.ops = &CommonOps},
    {.ops = &CardLinkOps},
    {.ops = &StatusReadOps},
    {.ops = &BusOps},
    {.ops = &TarnOps},
    {.ops = &VideoTemperatureOps},
    {.ops = &Tarn4PlusOps},
    {.ops = &DmaFrameOps, .optionsSet = OptionCardDma},
    {.ops = &DmaLineOps, .optionsClear = OptionCardDma},
    {.ops = &PixelTimedOps},
    {},
};
