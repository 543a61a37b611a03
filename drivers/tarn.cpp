// What the Tarn, Larch and SEP cameras share and BRIAR does otherwise.
#include "drivers/tarn.h"

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "links/readout.h"
#include "platform/system.h"

namespace {

enum TarnRegister : int32_t { AnalogControl = 12 };

enum AnalogBit : uint16_t {
    CoolerOn = 0x20,
    WheelPower = 0x40,
    UnitSelect = 0x80,
    GainLine = 0x100,
    UnitEnable = 0x8000,
};

constexpr int32_t TwoOutputs = 2005; // the sensor with two front ends

constexpr int32_t GeneralStatus = 7;
constexpr uint32_t ExposureRuns = 0x1000;
constexpr uint32_t PollMicroseconds = 100;

constexpr double Kelvin = 273.15;
constexpr double SenseResistor = 4990.0; // ohms
constexpr double MicrovoltsPerCount = 38.14697265625;
constexpr double VideoOffset = 62.5;   // degrees
constexpr double FullScaleVolts = 4.5; // of the video channel

uint16_t CoolerBits(int32_t camera)
{
    const bool wheelToo = (LoadFlag(CameraTable[camera].Options) & OptionCoolerLineLow) == 0;
    return wheelToo ? CoolerOn | WheelPower : CoolerOn;
}

void SetTarnCooler(int32_t on, int32_t camera)
{
    if (on != 0) {
        SetRegisterBits(AnalogControl, CoolerBits(camera), camera);
    } else {
        ClearRegisterBits(AnalogControl, CoolerOn | WheelPower, camera);
    }
}

// Counts the exposure down and returns when the shutter has closed. A closed camera reads as
// all ones and would count for ever.
void SetTarnShutter(double seconds, int32_t camera)
{
    SetBusShutter(seconds, camera);
    const CameraRecord& record = CameraTable[camera];
    SetReadoutPriority(1, camera);
    while (LoadFlag(record.CameraOn) != 0 &&
           (record.Ops.ReadStatus(GeneralStatus, camera) & ExposureRuns) != 0) {
        System.clock.SleepMicroseconds(PollMicroseconds);
    }
    SetReadoutPriority(0, camera);
}

void SelectFrontEnd(uint16_t select, int32_t camera)
{
    const uint32_t others =
        CameraTable[camera].Registers[AnalogControl] & ~uint32_t{UnitEnable | UnitSelect};
    StoreRegister(AnalogControl, static_cast<uint16_t>(others | select), camera);
}

void SendGain(const FrontEndRange& range, int32_t camera)
{
    SetFrontEndGain(range.high, range.low, camera);
}

void ForEachFrontEnd(void (*send)(const FrontEndRange& range, int32_t camera),
                     const FrontEndRange& range, int32_t camera)
{
    SelectFrontEnd(UnitSelect, camera);
    send(range, camera);
    if (CameraTable[camera].CcdCode == TwoOutputs) {
        SelectFrontEnd(0, camera);
        send(range, camera);
    }
    WriteRegisterWith(AnalogControl, UnitEnable, camera);
}

int32_t ReadVideoTemperature(int32_t camera)
{
    StoreTemperature(VideoCelsius(ConvertTemperature(0xFFFF, 0x8000, camera)), camera);
    return 0;
}

} // namespace

int32_t OpenTarnCamera(const BusSetup& setup, int32_t address, int32_t attach, int32_t camera)
{
    BusSetup own = setup;
    own.coolerRegister = AnalogControl;
    own.coolerBits = CoolerBits(camera);
    return OpenBusCamera(own, address, attach, camera);
}

double VideoCelsius(uint32_t mean)
{
    return mean * MicrovoltsPerCount / SenseResistor - Kelvin + VideoOffset;
}

bool MeasureByPattern(double* celsius, int32_t camera)
{
    uint32_t mean = 0;
    if (!ConvertByPattern(&mean, camera)) return false;
    const double microvoltsPerCount = FullScaleVolts / (CameraTable[camera].MaxValue + 1) * 1e6;
    *celsius = mean * microvoltsPerCount / SenseResistor - Kelvin;
    return true;
}

int32_t SetGainLine(bool isSet, int32_t camera)
{
    if (isSet) {
        SetRegisterBits(AnalogControl, GainLine, camera);
    } else {
        ClearRegisterBits(AnalogControl, GainLine, camera);
    }
    return 0;
}

void StartFrontEnd(const FrontEndRange& range, int32_t camera)
{
    FrontEndWrite(0, range.low, camera);
    FrontEndWrite(1, 64, camera);
    FrontEndWrite(5, 256, camera);
}

void StartFrontEnds(const FrontEndRange& range, int32_t camera)
{
    ForEachFrontEnd(StartFrontEnd, range, camera);
}

int32_t SetFrontEndsGain(const FrontEndRange& range, int32_t camera)
{
    ForEachFrontEnd(SendGain, range, camera);
    return 0;
}

const CameraOps TarnOps = {
    .LoadSequencer = LoadCardPattern,
    .SetCooler = SetTarnCooler,
};

const CameraOps VideoTemperatureOps = {.ReadTemperature = ReadVideoTemperature};

const CameraOps TarnShutterOps = {.SetShutter = SetTarnShutter};
