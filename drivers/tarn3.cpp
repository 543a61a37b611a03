// Tarn_III and Tarn_IIIA (platforms 22 and 23): on the interface card, or on the port
// card, which may have a serial decoder. Pixels are read one by one on both.
#include "drivers/tarn3.h"

#include "core/record.h"
#include "core/status.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/tarn.h"
#include "links/card_link.h"
#include "links/port_card.h"
#include "platform/system.h"

namespace {

constexpr BusRegisters Registers = {.lineMode = 0, .mode = 28, .extra12 = 0};

constexpr int32_t AnalogControl = 12;
constexpr uint16_t Calibrate = 0x1;
constexpr int32_t CalibrationRounds = 200;
constexpr uint32_t CalibrationRoundMs = 10;
constexpr int32_t RoundsPerReport = 10;

void ProgramTarn3(int32_t camera)
{
    ProgramBusRegisters(Registers, camera);
}

// The converter calibrates itself for two seconds and does not say when it is done.
void CalibrateConverter(int32_t camera)
{
    const auto report = CameraTable[camera].Ops.ProgressCallback;
    report("Calibrating A/D", 0, camera);
    PulseRegister(AnalogControl, Calibrate, camera);
    for (int32_t round = 0; round < CalibrationRounds; ++round) {
        System.clock.Sleep(CalibrationRoundMs);
        if (round > 0 && round % RoundsPerReport == 0) report(nullptr, round / 2, camera);
    }
    report(nullptr, 100, camera);
}

void CalibrateTarn3(int32_t camera)
{
    CalibrateFromMemory(camera);
    CalibrateConverter(camera);
}

const BusSetup Setup = {
    .cable = {.control = 0xD24, .controlLong = 0xD24, .decoder = NoDecoder, .badReply = 0},
    .serialPortCard = true,
    .program = ProgramTarn3,
    .calibrate = CalibrateTarn3,
};

int32_t OpenTarn3(int32_t address, int32_t attach, int32_t camera)
{
    return OpenTarnCamera(Setup, address, attach, camera);
}

int32_t ReadTarn3Temperature(int32_t camera)
{
    double celsius = 0;
    if (!MeasureByPattern(&celsius, camera)) return -1;
    StoreTemperature(celsius, camera);
    return 0;
}

int32_t SetTarn3Gain(int32_t camera)
{
    return SetGainLine(CameraTable[camera].GainIndex == 0, camera);
}

const CameraOps Tarn3Ops = {
    .OpenCamera = OpenTarn3,
    .SetPortBits = SetBusPortBits,
    .ReadTemperature = ReadTarn3Temperature,
    .SetGain = SetTarn3Gain,
};

const CameraOps PortCardPatternOps = {.LoadSequencer = LoadPortPattern};

} // namespace

const BindingRule Tarn3Rules[] = {
    {.ops = &CommonOps},
    {.ops = &CardLinkOps, .notLink = InterfacePort1},
    {.ops = &SerialPortCardOps, .link = InterfacePort1},
    {.ops = &BusOps},
    {.ops = &TarnOps},
    {.ops = &TarnShutterOps},
    {.ops = &Tarn3Ops},
    {.ops = &PortCardPatternOps, .link = InterfacePort1},
    {.ops = &PixelReadOps},
    {.ops = &PixelTimedOps},
    {},
};
