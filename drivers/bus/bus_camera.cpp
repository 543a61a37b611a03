// BRIAR-PCI's operations that most bus cameras share.
#include "drivers/bus/bus_camera.h"
#include "devices/wheel/filter_wheel.h"

#include "core/record.h"

namespace {

constexpr int32_t CoolerRegister = 12;
constexpr uint16_t CoolerBit = 0x20;

constexpr int32_t GeneralStatus = 7;
constexpr uint32_t TriggerShift = 13;

constexpr uint16_t ConverterMask = 0xFFF;
constexpr double MicrovoltsPerCount = 1220.703125;
constexpr double HighResistor = 15000.0; // ohm; a microvolt across it is a kelvin
constexpr double LowResistor = 4990.0;
constexpr double ZeroCelsius = 273.15;

int32_t ReadBusTemperature(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint32_t mean = ConvertTemperature(ConverterMask, 0, camera);
    const double resistor =
        record.SenseResistorHigh[HeadIndex(record)] != 0 ? HighResistor : LowResistor;
    StoreTemperature(mean * MicrovoltsPerCount / resistor - ZeroCelsius, camera);
    return 0;
}

void SetBusCooler(int32_t on, int32_t camera)
{
    ModifyBusRegister(CoolerRegister, CoolerBit, on, camera);
}

int32_t IsBusTriggered(int32_t camera)
{
    const uint32_t status = CameraTable[camera].Ops.ReadStatus(GeneralStatus, camera);
    return static_cast<int32_t>(status >> TriggerShift & 1);
}

} // namespace

const CameraOps BusOps = {
    .SetCoolerPower = SetBusCoolerPower,
    .SetPortBits = NoPortBits,
    .ModifyRegister = ModifyBusRegister,
    .LoadSequencer = LoadBytePattern,
    .ClearSensor = ClearBusSensor,
    .ReadTemperature = ReadBusTemperature,
    .SetShutter = SetBusShutter,
    .SetCooler = SetBusCooler,
    .IsTriggered = IsBusTriggered,
    .ClearOnce = ClearBusOnce,
    .MoveFilter = MoveWheel,
    .ReadTimed = NoReadFrame,
    .OpenArrayCamera = RefuseOpenArray,
    .ReadArray = NoReadFrame,
};
