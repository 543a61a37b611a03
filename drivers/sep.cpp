// SEP (platform 80): on the interface card, over a parallel or a serial cable; pixels
// are read one by one. Sensor 2005 has two outputs with a front end each.
#include "drivers/sep.h"

#include "core/record.h"
#include "devices/wheel/filter_wheel.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/tarn.h"
#include "links/card_link.h"

namespace {

constexpr FrontEndRange Range = {.high = 216, .low = 88};

void ProgramSep(int32_t camera)
{
    ProgramBusRegisters({}, camera);
    StartFrontEnds(Range, camera);
}

const BusSetup Setup = {
    .cable = {.control = 0xD04, .controlLong = 0xD04, .decoder = SepDecoder, .badReply = 12},
    .program = ProgramSep,
    .calibrate = CalibrateFromMemory,
};

int32_t OpenSep(int32_t address, int32_t attach, int32_t camera)
{
    return OpenTarnCamera(Setup, address, attach, camera);
}

int32_t SetSepGain(int32_t camera)
{
    return SetFrontEndsGain(Range, camera);
}

const CameraOps SepOps = {
    .OpenCamera = OpenSep,
    .SetPortBits = NoPortBits,
    .ModifyRegister = NoModifyRegister,
    .MoveFilter = MovePhaseWheel,
    .SetGain = SetSepGain,
    .ReadTimed = NoReadFrame,
};

} // namespace

const BindingRule SepRules[] = {
    {.ops = &CommonOps},           //
    {.ops = &CardLinkOps},         //
    {.ops = &PatientReadOps},      //
    {.ops = &BusOps},              //
    {.ops = &TarnOps},             //
    {.ops = &VideoTemperatureOps}, //
    {.ops = &SepOps},              //
    {.ops = &PixelReadOps},        //
    {},
};
