// The world as a whole.
#include "emulator/world.h"

namespace {

SystemTable VirtualWorld()
{
    return {
        .clock = EmuClock(),
        .timer = EmuTimers(),
        .process = EmuProcess(),
        .file = EmuFiles(),
        .library = EmuAdaptorLibrary(),
        .device = EmuDevices(),
        .registers = EmuRegisters(),
        .port = EmuPorts(),
        .usb = EmuUsb(),
        .memory = EmuMemory(),
    };
}

} // namespace

const SystemTable& EmuNative()
{
    static const SystemTable native = [] {
        const SystemTable before = System;
        UseNativeSystem();
        const SystemTable filled = System;
        System = before;
        return filled;
    }();
    return native;
}

void EmuReset()
{
    EmuResetClock();
    EmuResetProcess();
    EmuResetMemory();
    EmuResetFaults();
    EmuResetBusCameras();
    EmuResetTraffic();
    EmuResetCards();
    EmuResetPorts();
    EmuResetUsbCameras();
    EmuResetUsb();
    EmuResetAdaptor();
}

void EmuInstall()
{
    EmuNative();
    EmuUseRealTime(false);
    System = VirtualWorld();
}

void EmuInstallRealTime()
{
    const SystemTable& native = EmuNative();
    EmuUseRealTime(true);
    System = VirtualWorld();
    System.clock = native.clock;
    System.timer = native.timer;
}
