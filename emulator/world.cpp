// The world as a whole, with empty sockets where there is no USB device.
#include "emulator/world.h"

namespace {

constexpr uint32_t UsbNoDevice = 2; // "device not found"

uint32_t ListNothing(uint32_t* count)
{
    EmuSpend(1);
    *count = 0;
    return 0;
}
uint32_t NoOpen(int32_t, uint64_t* handle)
{
    EmuSpend(1);
    *handle = 0;
    return UsbNoDevice;
}
uint32_t NoCall(uint64_t)
{
    EmuSpend(1);
    return UsbNoDevice;
}
uint32_t NoRead(uint64_t, void*, uint32_t, uint32_t* got)
{
    EmuSpend(1);
    *got = 0;
    return UsbNoDevice;
}
uint32_t NoWrite(uint64_t, const void*, uint32_t, uint32_t* put)
{
    EmuSpend(1);
    *put = 0;
    return UsbNoDevice;
}
uint32_t NoFlowControl(uint64_t, uint16_t, uint8_t, uint8_t)
{
    EmuSpend(1);
    return UsbNoDevice;
}
uint32_t NoWord(uint64_t, uint32_t)
{
    EmuSpend(1);
    return UsbNoDevice;
}
uint32_t NoTwoWords(uint64_t, uint32_t, uint32_t)
{
    EmuSpend(1);
    return UsbNoDevice;
}
uint32_t NoQueueStatus(uint64_t, uint32_t* count)
{
    EmuSpend(1);
    *count = 0;
    return UsbNoDevice;
}
uint32_t NoLatency(uint64_t, uint8_t)
{
    EmuSpend(1);
    return UsbNoDevice;
}
uint32_t NoBitMode(uint64_t, uint8_t, uint8_t)
{
    EmuSpend(1);
    return UsbNoDevice;
}
uint32_t NoInfo(uint64_t, char* serial, char* description)
{
    EmuSpend(1);
    serial[0] = '\0';
    description[0] = '\0';
    return UsbNoDevice;
}

SystemTable VirtualWorld()
{
    return {
        .clock = EmuClock(),
        .timer = EmuTimers(),
        .process = EmuProcess(),
        .file = EmuFiles(),
        .library = EmuLibraries(),
        .device = EmuDevices(),
        .registers = EmuRegisters(),
        .port = EmuPorts(),
        .usb = {ListNothing, NoOpen, NoCall, NoRead, NoWrite, NoCall, NoFlowControl, NoWord,
                NoTwoWords, NoQueueStatus, NoLatency, NoBitMode, NoTwoWords, NoInfo, NoCall},
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
