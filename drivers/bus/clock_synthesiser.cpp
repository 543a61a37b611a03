// The clock synthesiser of BRIAR-R3 and R3-PLUS: bits on two lines of register 12.
#include <algorithm>

#include "drivers/bus/bus_camera.h"
#include "platform/system.h"

namespace {

constexpr int32_t SynthesiserRegister = 12;
enum SynthesiserLine : uint16_t { SynthesiserClock = 0x100, SynthesiserData = 0x200 };

// Control bytes ahead of the word, behind it, and once the clock has settled.
enum SynthesiserControl : uint32_t { OpenControl = 5, LoadControl = 4, RunControl = 0 };

constexpr uint32_t WordBits = 22;
constexpr uint32_t ControlBits = 8;
constexpr uint32_t LongestRun = 3; // of ones in a word; behind it a zero is stuffed
constexpr uint32_t SettleMs = 15;
constexpr bool Frame[] = {false, true, true, true, true, false};

struct Frequency {
    uint16_t megahertz;
    uint32_t word;
};

constexpr Frequency Frequencies[] = {
    {5, 1220744}, {10, 1218696},  {15, 888960},  {20, 1216640}, {25, 723072},
    {30, 886912}, {35, 0x100880}, {40, 1214600}, {45, 1378440}, {50, 0xB0080},
};
constexpr int32_t LastFrequency = 9;

// A pixel takes eight periods.
constexpr uint32_t EightPeriodsNs = 8000; // at one megahertz

void SendBit(bool high, int32_t camera)
{
    ModifyBusRegister(SynthesiserRegister, SynthesiserData, high ? 1 : 0, camera);
    PulseRegister(SynthesiserRegister, SynthesiserClock, camera);
}

void SendControl(uint32_t control, int32_t camera)
{
    for (uint32_t bit = 0; bit < ControlBits; ++bit) SendBit((control >> bit & 1) != 0, camera);
    for (bool high : Frame) SendBit(high, camera);
}

} // namespace

void SendSynthesiserWord(uint32_t word, int32_t camera)
{
    uint32_t run = 0;
    for (uint32_t bit = 0; bit < WordBits; ++bit) {
        const bool high = (word >> bit & 1) != 0;
        SendBit(high, camera);
        run = high ? run + 1 : 0;
        if (run == LongestRun) {
            SendBit(false, camera);
            run = 0;
        }
    }
}

uint16_t ProgramClockSynthesiser(int32_t index, int32_t camera)
{
    const Frequency& frequency = Frequencies[std::clamp(index, 0, LastFrequency)];
    SendControl(OpenControl, camera);
    SendSynthesiserWord(frequency.word, camera);
    SendControl(LoadControl, camera);
    System.clock.Sleep(SettleMs);
    SendControl(RunControl, camera);
    return static_cast<uint16_t>(EightPeriodsNs / frequency.megahertz);
}
