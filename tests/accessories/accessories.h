// What hangs on a camera, moved through the exported functions alone.
#pragma once
#include <cstdint>
#include <vector>

#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "emulator/usb_camera.h"
#include "tests/support/virtual_camera.h"
#include "tests/support/virtual_usb.h"

inline constexpr int32_t OtherError = 12;
inline constexpr uint64_t Second = 1'000'000;
inline constexpr char HungAsTold[] = "virtual time limit";

// Leaves an error in an open camera and does nothing else to it.
void LeaveError(int32_t camera = 0);

// The sleeps of a call, in milliseconds.
std::vector<uint32_t> SleepsOf(void (*call)());

template <typename Call> uint64_t MillisecondsOf(Call call)
{
    const uint64_t before = EmuMicroseconds();
    call();
    return (EmuMicroseconds() - before) / 1000;
}

class BusAccessory : public VirtualCameraTest {
protected:
    EmuWheel* wheel = nullptr;

    void Begin(const VirtualSetup& setup, int32_t options = 0)
    {
        Plug(setup);
        Open(setup, options);
        wheel = EmuBusWheel(bus);
    }

    // A fresh library in an empty world.
    void Renew()
    {
        TearDown();
        SetUp();
    }
};

class UsbAccessory : public VirtualUsbTest {
protected:
    EmuWheel* wheel = nullptr;

    void Begin(const UsbSetup& setup)
    {
        Plug(setup);
        Open(setup);
        wheel = EmuUsbWheel(0);
    }

    void Renew()
    {
        TearDown();
        SetUp();
    }
};
