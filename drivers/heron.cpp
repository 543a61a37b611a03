// HERON (platform 60): on the printer port, or on the interface card with a cable of
// eight bits.
#include "drivers/heron.h"

#include "core/options.h"
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/tarn.h"
#include "links/byte_link.h"
#include "links/printer_port.h"

namespace {

constexpr int32_t MainControl = 0;
constexpr uint16_t CoolerOn = 0x8000;

constexpr int32_t ShutterRegister = 6; // with the exposure counter's prescaler
constexpr uint16_t ShutterBits = 0x00F0;

constexpr int32_t InputStatus = 5;
constexpr uint32_t TriggerInput = 0x8;
constexpr int32_t VersionStatus = 15;
constexpr uint32_t OwnShutter = 0xE000; // all set: the shutter's line is register 6's

constexpr FrontEndRange Range = {.high = 216, .low = 88};

constexpr double MicrovoltsPerCount = 1220.703125;
constexpr double SenseResistor = 15000.0; // ohms
constexpr double Kelvin = 273.15;

void ProgramHeron(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    ProgramBusRegisters({}, camera);
    const uint32_t status = record.Ops.ReadStatus(VersionStatus, camera);
    record.ShutterMode = (status & OwnShutter) == OwnShutter ? 1 : 0;
    StartFrontEnd(Range, camera);
}

const BusSetup Setup = {
    .cable = {.control = 0xF24, .controlLong = 0x2364, .decoder = NoDecoder, .badReply = 0},
    .program = ProgramHeron,
    .calibrate = CalibrateFromMemory,
    .coolerRegister = MainControl,
    .coolerBits = CoolerOn,
};

int32_t OpenHeron(int32_t address, int32_t attach, int32_t camera)
{
    return OpenBusCamera(Setup, address, attach, camera);
}

void SetHeronCooler(int32_t on, int32_t camera)
{
    ModifyBusRegister(MainControl, CoolerOn, on, camera);
}

int32_t ReadHeronTemperature(int32_t camera)
{
    const uint32_t mean = ConvertTemperature(0xFFF, 0, camera);
    StoreTemperature(mean * MicrovoltsPerCount / SenseResistor - Kelvin, camera);
    return 0;
}

void SetHeronShutter(double seconds, int32_t camera)
{
    const uint16_t line = CameraTable[camera].Registers[ShutterRegister] & ShutterBits;
    SetPrescaledCounter(seconds, line, camera);
}

int32_t IsHeronTriggered(int32_t camera)
{
    return (CameraTable[camera].Ops.ReadStatus(InputStatus, camera) & TriggerInput) != 0 ? 1 : 0;
}

int32_t SetHeronGain(int32_t camera)
{
    return SetFrontEndGain(Range.high, Range.low, camera);
}

const CameraOps HeronOps = {
    .OpenCamera = OpenHeron,
    .ReadTemperature = ReadHeronTemperature,
    .SetShutter = SetHeronShutter,
    .SetCooler = SetHeronCooler,
    .IsTriggered = IsHeronTriggered,
    .SetGain = SetHeronGain,
    .ReadTimed = NoReadFrame,
};

} // namespace

const BindingRule HeronRules[] = {
    {.ops = &CommonOps},
    {.ops = &ByteLinkOps, .notLink = InterfacePort0},
    {.ops = &PrinterPortOps, .link = InterfacePort0},
    {.ops = &PrinterPortLowFirstOps, .link = InterfacePort0, .optionsSet = OptionPortLibrary},
    {.ops = &BusOps},
    {.ops = &HeronOps},
    {.ops = &PixelReadOps},
    {},
};
