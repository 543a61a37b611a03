// The world as a whole: empty sockets where no instrument is plugged in.
#include "emulator/world.h"

namespace {

constexpr uint32_t UsbNoDevice = 2; // "device not found"

void* NoLibrary(const char*)
{
    EmuSpend(1);
    return nullptr;
}
void* NoSymbol(void*, const char*)
{
    EmuSpend(1);
    return nullptr;
}
void NoFree(void*)
{
    EmuSpend(1);
}
uint64_t NoDevice(const char*)
{
    EmuSpend(1);
    return 0;
}
int32_t NoControl(uint64_t, uint32_t, void*, uint32_t)
{
    EmuSpend(1);
    return -1;
}
void NoDeviceClose(uint64_t)
{
    EmuSpend(1);
}
uint32_t NoRegisterRead(uint64_t)
{
    EmuSpend(1);
    return 0xFFFFFFFF;
}
void NoRegisterWrite(uint64_t, uint32_t)
{
    EmuSpend(1);
}
bool NoAcquire(uint16_t, uint16_t)
{
    EmuSpend(1);
    return false;
}
void NoOut8(uint16_t, uint8_t)
{
    EmuSpend(1);
}
void NoOut16(uint16_t, uint16_t)
{
    EmuSpend(1);
}
uint8_t NoIn8(uint16_t)
{
    EmuSpend(1);
    return 0xFF;
}
uint16_t NoIn16(uint16_t)
{
    EmuSpend(1);
    return 0xFFFF;
}

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

SystemTable EmptyWorld()
{
    return {
        .clock = EmuClock(),
        .timer = EmuTimers(),
        .process = EmuProcess(),
        .file = EmuFiles(),
        .library = {NoLibrary, NoSymbol, NoFree},
        .device = {NoDevice, NoControl, NoDeviceClose},
        .registers = {NoRegisterRead, NoRegisterWrite},
        .port = {NoAcquire, NoOut8, NoOut16, NoIn8, NoIn16},
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
}

void EmuInstall()
{
    EmuNative();
    EmuUseRealTime(false);
    System = EmptyWorld();
}

void EmuInstallRealTime()
{
    const SystemTable& native = EmuNative();
    EmuUseRealTime(true);
    System = EmptyWorld();
    System.clock = native.clock;
    System.timer = native.timer;
}
