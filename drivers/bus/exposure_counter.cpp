// The exposure counters of the bus cameras, each in two registers; the write of the
// second starts it.
#include <cmath>

#include "core/convert.h"
#include "drivers/bus/bus_camera.h"

namespace {

enum CounterRegister : int32_t { CounterCount = 5, CounterPrescaler = 6 };

constexpr double LongestFine = 0.01; // seconds
constexpr uint16_t FinePrescaler = 5;
constexpr double FineRate = 5000000.0; // counts a second
constexpr double CoarseRate = 100.0;
constexpr double CountRange = 65536.0;

struct Prescaled {
    uint16_t prescaler, count;
};

Prescaled CountsOf(double seconds)
{
    if (!(seconds > LongestFine)) return {FinePrescaler, ToUint16(seconds * FineRate)};
    const double ticks = seconds * CoarseRate;
    if (ticks < CountRange) return {0, ToUint16(ticks)};
    const uint16_t prescaler = ToUint16(std::trunc(ticks / CountRange) + 1);
    return {prescaler, ToUint16(ticks / prescaler)};
}

} // namespace

void SetPrescaledCounter(double seconds, uint16_t otherBits, int32_t camera)
{
    const Prescaled counts = CountsOf(seconds);
    StoreRegister(CounterPrescaler, otherBits | counts.prescaler, camera);
    // An exposure of 0 seconds counts 65535: required.
    StoreRegister(CounterCount, static_cast<uint16_t>(counts.count - 1), camera);
}

void SetBusShutter(double seconds, int32_t camera)
{
    SetPrescaledCounter(seconds, 0, camera);
}

void SetLongCounter(uint32_t count, int32_t reg, int32_t camera)
{
    StoreRegister(reg, static_cast<uint16_t>(count), camera);
    StoreRegister(reg + 1, static_cast<uint16_t>(count >> 16), camera);
}
