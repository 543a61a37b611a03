// What the converter makes of the sensor's temperature, by the circuit of each
// platform; and the cooler.
#include <cmath>

#include "emulator/bus_state.h"

namespace {

constexpr int32_t Any = -1;
constexpr double Kelvin = 273.15;

using Convert = double(const EmuBusState& camera, double celsius);

// The count at which a current of 1 microampere a Kelvin through a resistor gives a
// voltage.
double Current(double kelvin, double ohm, double microvoltsPerCount)
{
    return kelvin * ohm / microvoltsPerCount;
}

double Briar(const EmuBusState& camera, double celsius)
{
    const double ohm = camera.eeprom.words[9] & 1u ? 4990.0 : 15000.0;
    return Current(celsius + Kelvin, ohm, 1220.703125);
}

double Heron(const EmuBusState&, double celsius)
{
    return Current(celsius + Kelvin, 15000.0, 1220.703125);
}

// Full scale is 4.5 volts.
double Tarn3(const EmuBusState& camera, double celsius)
{
    return Current(celsius + Kelvin, 4990.0, 4.5e6 / std::exp2(camera.setup.bits));
}

// The amplifier takes away 62.5 Kelvin.
double Shifted(const EmuBusState&, double celsius)
{
    return Current(celsius + Kelvin - 62.5, 4990.0, 38.14697265625);
}

// 1 / T = A + B ln R + C (ln R)^3, solved for R: the sum grows with ln R.
double ThermistorOhm(double celsius)
{
    const double wanted = 1.0 / (celsius + Kelvin);
    double low = 0.0;
    double high = 20.0;
    for (int32_t step = 0; step < 60; ++step) {
        const double ln = (low + high) / 2;
        const double sum = 0.0012891 + 0.00023561 * ln + 9.4272e-08 * ln * ln * ln;
        (sum < wanted ? low : high) = ln;
    }
    return std::exp(low);
}

double CountOfVolts(double volts)
{
    return (volts - 0.3125) / 3.814697265625e-05;
}

// From 15 volts over 1070 ohm.
double Larch500(const EmuBusState&, double celsius)
{
    return CountOfVolts(15.0 * 1070 / (ThermistorOhm(celsius) + 1070));
}

// From 5 volts over 15000 ohm, with 249000 ohm beside the thermistor.
double Larch506(const EmuBusState&, double celsius)
{
    const double ohm = ThermistorOhm(celsius);
    const double beside = ohm * 249000 / (ohm + 249000);
    return CountOfVolts(5.0 * 15000 / (beside + 15000));
}

struct ConverterRow {
    int32_t platform, sensor;
    Convert* convert;
    double most;      // count at which the converter stops
    uint16_t flipped; // bits that the converter inverts
};

// clang-format off
const ConverterRow Rows[] = {
    {22,  Any, Tarn3,    65535, 0},
    {23,  Any, Tarn3,    65535, 0},
    {24,  Any, Tarn3,    65535, 0},
    {25,  Any, Shifted,  65535, 0x8000},
    {30,  500, Larch500, 65535, 0x8000},
    {30,  506, Larch506, 65535, 0x8000},
    {30,  Any, Shifted,  65535, 0x8000},
    {44,  Any, Heron,    4095,  0},
    {47,  Any, Heron,    4095,  0},
    {60,  Any, Heron,    4095,  0},
    {70,  Any, Shifted,  65535, 0x8000},
    {71,  Any, Shifted,  65535, 0x8000},
    {80,  Any, Shifted,  65535, 0x8000},
    {Any, Any, Briar,    4095,  0},
};
// clang-format on

const ConverterRow& RowOf(const EmuBusState& camera)
{
    const ConverterRow* row = Rows;
    while ((row->platform != Any && row->platform != camera.setup.platform) ||
           (row->sensor != Any && row->sensor != camera.setup.sensor)) {
        ++row;
    }
    return *row;
}

double Shown(const EmuBusState& camera, double celsius)
{
    if (camera.setup.platform == 70) return celsius;
    return EmuUncorrected(celsius, camera.eeprom.words[0], camera.eeprom.words[1]);
}

} // namespace

uint16_t EmuConvertTemperature(const EmuBusState& camera)
{
    const ConverterRow& row = RowOf(camera);
    const double shown = Shown(camera, EmuTemperatureNow(camera.thermal));
    const double count = std::fmin(std::fmax(row.convert(camera, shown), 0.0), row.most);
    return static_cast<uint16_t>(static_cast<uint16_t>(std::lround(count)) ^ row.flipped);
}

void EmuDriveCooler(EmuBusState* camera, uint32_t code, bool on)
{
    constexpr double most = 4095;
    camera->driveCode = code;
    camera->coolerOn = on;
    EmuSetCooling(&camera->thermal, on ? code / most : 0.0);
}
