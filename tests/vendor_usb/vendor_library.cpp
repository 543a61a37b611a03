// A library with the public names of the vendor's, which writes down its calls.
// Built several times: WITHOUT_RESET_PORT, WITHOUT_CYCLE_PORT and WITHOUT_READ leave
// functions out.
#include "tests/vendor_usb/vendor_library.h"

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <thread>

namespace {

VendorState State;
std::atomic<int> Inside = 0;

void Note(const char* form, ...)
{
    const size_t used = strlen(State.calls);
    va_list arguments;
    va_start(arguments, form);
    vsnprintf(State.calls + used, sizeof State.calls - used, form, arguments);
    va_end(arguments);
}

// Long enough for another thread to come in between.
void Dwell()
{
    if (Inside.fetch_add(1) != 0) ++State.overlaps;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    Inside.fetch_sub(1);
}

unsigned long long Number(void* device)
{
    return reinterpret_cast<uintptr_t>(device);
}

} // namespace

extern "C" {

VendorState* VendorFakeState()
{
    return &State;
}

uint32_t FT_ListDevices(void* count, void* unused, uint32_t flags)
{
    Dwell();
    Note("list %d %08X\n", unused == nullptr, flags);
    if (State.listStatus == 0) *static_cast<uint32_t*>(count) = State.listedDevices;
    return State.listStatus;
}

// As the true one does, it takes for granted that there was a list.
uint32_t FT_Open(int index, void** device)
{
    Dwell();
    Note("open %d\n", index);
    *device = reinterpret_cast<void*>(VendorDevice);
    return State.openStatus;
}

uint32_t FT_Close(void* device)
{
    Note("close %llX\n", Number(device));
    return 0;
}

#ifndef WITHOUT_READ
uint32_t FT_Read(void* device, void* buffer, uint32_t bytes, uint32_t* got)
{
    Note("read %llX %u\n", Number(device), bytes);
    memset(buffer, 'r', bytes);
    *got = bytes + 5;
    return 0;
}
#endif

uint32_t FT_Write(void* device, void* buffer, uint32_t bytes, uint32_t* put)
{
    Note("write %llX %.*s\n", Number(device), static_cast<int>(bytes), static_cast<char*>(buffer));
    *put = bytes;
    return 0;
}

uint32_t FT_ResetDevice(void* device)
{
    Note("reset device %llX\n", Number(device));
    return 0;
}

uint32_t FT_SetFlowControl(void*, uint16_t flow, uint8_t on, uint8_t off)
{
    Note("flow %u %u %u\n", flow, on, off);
    return 0;
}

uint32_t FT_Purge(void*, uint32_t mask)
{
    Note("purge %u\n", mask);
    return 0;
}

uint32_t FT_SetTimeouts(void*, uint32_t read, uint32_t write)
{
    Note("timeouts %u %u\n", read, write);
    return 0;
}

uint32_t FT_GetQueueStatus(void*, uint32_t* count)
{
    Note("queue\n");
    *count = 11;
    return 4;
}

uint32_t FT_SetLatencyTimer(void*, uint8_t milliseconds)
{
    Note("latency %u\n", milliseconds);
    return 0;
}

uint32_t FT_SetBitMode(void*, uint8_t mask, uint8_t mode)
{
    Note("mode %u %u\n", mask, mode);
    return 0;
}

uint32_t FT_SetUSBParameters(void*, uint32_t in, uint32_t out)
{
    Note("sizes %u %u\n", in, out);
    return 0;
}

// Fills what its own header promises, and forgets the ends.
uint32_t FT_GetDeviceInfo(void*, uint32_t* type, uint32_t* id, char* serial, char* description,
                          void*)
{
    *type = 6;
    *id = 0x04036010;
    memset(serial, 's', 20);
    memset(description, 'd', 80);
    return State.nameStatus;
}

#ifndef WITHOUT_RESET_PORT
uint32_t FT_ResetPort(void* device)
{
    Note("reset port %llX\n", Number(device));
    return 0;
}
#endif

#ifndef WITHOUT_CYCLE_PORT
uint32_t FT_CyclePort(void* device)
{
    Note("cycle port %llX\n", Number(device));
    return 0;
}
#endif
}
