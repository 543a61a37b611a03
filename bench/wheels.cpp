#include "bench/wheels.h"

#include <algorithm>
#include <iterator>

namespace {

// They stand somewhere, so that there is a zero position to be found: a stepper's windings as
// they are after an open.
constexpr EmuWheelSetup Phases = {EmuPhaseWheel, 8, 500, 4};
constexpr EmuWheelSetup EightSteps = {EmuStepWheel, 8, 130, 2, 1, 3};
constexpr EmuWheelSetup SixSteps = {EmuStepWheel, 6, 130, 2, 1, 3};
constexpr EmuWheelSetup Nibbles = {EmuNibbleWheel, 6, 130};
constexpr EmuWheelSetup Bytes = {EmuByteWheel, 8, 130};
constexpr EmuWheelSetup Firmware = {EmuOwnWheel, 8, 130};

// clang-format off
const BenchWheel Wheels[] = {
    {22,  25,  "nibble",   Nibbles,    3},
    {22,  25,  "byte",     Bytes,      4},
    {28,  28,  "byte",     Bytes,      4},
    {29,  30,  "nibble",   Nibbles,    3},
    {29,  30,  "byte",     Bytes,      4},
    {40,  42,  "8",        Phases,     1},
    {44,  47,  "8",        EightSteps, 1},
    {44,  47,  "6",        SixSteps,   2},
    {44,  47,  "nibble",   Nibbles,    3},
    {44,  47,  "byte",     Bytes,      4},
    {48,  48,  "firmware", Firmware,   1},
    {60,  61,  "nibble",   Nibbles,    3},
    {200, 200, "nibble",   Nibbles,    3},
    {300, 300, "firmware", Firmware,   1},
    {450, 450, "firmware", Firmware,   1},
};
// clang-format on

bool Carries(const BenchWheel& wheel, int32_t platform)
{
    return platform >= wheel.first && platform <= wheel.last;
}

} // namespace

bool IsWheelName(const std::string& name)
{
    return name == "none" || std::any_of(std::begin(Wheels), std::end(Wheels),
                                         [&](const auto& wheel) { return name == wheel.name; });
}

const BenchWheel* FindBenchWheel(int32_t platform, const std::string& name)
{
    const auto* const wheel =
        std::find_if(std::begin(Wheels), std::end(Wheels), [&](const auto& each) {
            return Carries(each, platform) && name == each.name;
        });
    return wheel == std::end(Wheels) ? nullptr : wheel;
}

std::string BenchWheelsOf(int32_t platform)
{
    std::string names = "none";
    for (const BenchWheel& wheel : Wheels) {
        if (Carries(wheel, platform)) names += std::string(", ") + wheel.name;
    }
    return names;
}
