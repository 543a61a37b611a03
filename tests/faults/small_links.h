// Links with a small image and a short pattern at their end.
#pragma once
#include "tests/faults/session.h"

constexpr VirtualSetup Small(VirtualSetup setup)
{
    setup.phase = 2;
    setup.columns = 8;
    setup.rows = 4;
    return setup;
}

// A reply is waited for up to 50 seconds.
inline constexpr uint64_t Hour = 3'600'000'000;

inline constexpr FaultyLink UsbLinks[] = {
    {"UsbCommands", Small({450, 3945, UsbInterface, nullptr}), 0, 5, Hour},
    {"UsbOrders", Small({29, 260, UsbInterface, nullptr}), 0, HangsAnywhere, Hour},
    {"UsbPairs", Small({400, 3945, UsbInterface, nullptr}), 0, 8, Hour},
    {"UsbMailbox", Small({48, 255, UsbInterface, nullptr}), 0, 11, Hour},
    {"UsbFlags", Small({61, 255, UsbInterface, "BuildWaveHeronPlus"}), 0, 5, Hour},
    {"UsbFlagsNoTimeout", Small({200, 255, UsbInterface, "BuildWaveOspreyKaf"}), 0, HangsAnywhere},
    {"Adaptor", Small({205, 255, UsbInterface, "BuildWaveOspreyPlusKaf"}), 0, HangsAnywhere, Hour},
    {"AdaptorWords", Small({28, 255, UsbInterface, "BuildWaveTarn5"}), 0, HangsAnywhere, Hour / 6,
     true},
};
