// Tarn_IV (platform 24): on the interface card, over a parallel or a serial cable.
#include "drivers/tarn4.h"

#include <cmath>

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/tarn.h"
#include "links/card_link.h"

namespace {

// Register 4, by sensor.
struct LineMode {
    int32_t sensor;
    uint16_t value;
};
constexpr LineMode LineModes[] = {
    {120, 92},  {121, 92}, {122, 92}, {125, 92},    {128, 92},    {133, 92},    {255, 156},
    {275, 156}, {250, 28}, {260, 28}, {300, 65535}, {305, 65535}, {310, 65535},
};

constexpr uint16_t VideoPower = 0x200; // of register 12

// A reading that is colder than any camera gets, or that jumps, is noise.
constexpr double ColdestPlausible = -80.0;
constexpr double LargestStep = 10.0;

uint16_t LineModeOf(int32_t sensor)
{
    for (const LineMode& row : LineModes) {
        if (row.sensor == sensor) return row.value;
    }
    return 0;
}

void ProgramTarn4(int32_t camera)
{
    ProgramBusRegisters(
        {.lineMode = LineModeOf(CameraTable[camera].CcdCode), .mode = 0, .extra12 = VideoPower},
        camera);
}

const BusSetup Setup = {
    .cable = {.control = 0xD04, .controlLong = 0xD04, .decoder = Tarn4Decoder, .badReply = 12},
    .serialPortCard = false,
    .program = ProgramTarn4,
    .calibrate = CalibrateFromMemory,
};

int32_t OpenTarn4(int32_t address, int32_t attach, int32_t camera)
{
    return OpenTarnCamera(Setup, address, attach, camera);
}

int32_t ReadTarn4Temperature(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    double before = LoadReading(record.CurrentTemperature);
    double celsius = 0;
    if (!MeasureByPattern(&celsius, camera)) return -1;
    StoreTemperature(celsius, camera);
    const double now = LoadReading(record.CurrentTemperature);
    if (record.FirstTemperature != 0) before = now;
    record.FirstTemperature = 0;
    // A step is one of the amounts, away from 0 alone: required.
    if (now < ColdestPlausible || std::abs(now) - std::abs(before) > LargestStep) {
        StoreReading(&record.CurrentTemperature, before);
    }
    return 0;
}

int32_t SetTarn4Gain(int32_t camera)
{
    return SetGainLine(CameraTable[camera].GainIndex != 0, camera);
}

const CameraOps Tarn4Ops = {
    .OpenCamera = OpenTarn4,
    .SetPortBits = SetBusPortBits,
    .ReadTemperature = ReadTarn4Temperature,
    .SetGain = SetTarn4Gain,
};

} // namespace

const BindingRule Tarn4Rules[] = {
    {.ops = &CommonOps},
    {.ops = &CardLinkOps},
    {.ops = &BusOps},
    {.ops = &TarnOps},
    {.ops = &TarnShutterOps},
    {.ops = &Tarn4Ops},
    {.ops = &DmaFrameOps, .optionsSet = OptionCardDma},
    {.ops = &DmaLineOps, .optionsClear = OptionCardDma},
    {.ops = &PixelTimedOps},
    {},
};

const DriverExtras Tarn4Extras = {
    .StartFrame = StartBusFrame,
    .FetchFrame = FetchBusFrame,
    .GiveUpFrame = GiveUpBusFrame,
};
