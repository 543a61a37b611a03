// The USB device library in front of the ports.
#include "emulator/usb.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "emulator/link.h"
#include "emulator/pipe.h"
#include "emulator/traffic.h"
#include "emulator/world.h"

namespace {

// Status of the device library.
enum Status : uint32_t {
    Ok = 0,
    InvalidHandle = 1,
    NotFound = 2,
    NotOpened = 3,
    IoError = 4,
};

constexpr int32_t PortCount = 8;
constexpr uint64_t UsPerMs = 1000;
constexpr uint32_t DefaultLatencyMs = 16;
constexpr uint32_t PurgeReceive = 1;
constexpr uint8_t ModeReset = 0, ModeSynchronous = 64;
constexpr size_t SerialLength = 15, DescriptionLength = 63;

struct Port {
    bool used, plugged;
    EmuUsbDevice device;
    std::string serial, description;
    uint64_t handle; // 0: not open
    uint32_t readMs; // 0: without a limit
    bool modeReset, synchronous;
    EmuPipe sent;
    uint32_t portResets;
};
Port Ports[PortCount];
uint64_t LastHandle;
bool NoLibrary;

Port* PortAt(int32_t port)
{
    const bool used = port >= 0 && port < PortCount && Ports[port].used;
    return used ? &Ports[port] : nullptr;
}

Port* Find(uint64_t handle)
{
    for (Port& port : Ports) {
        if (handle != 0 && port.handle == handle && port.plugged) return &port;
    }
    return nullptr;
}

EmuPipe* LookedAt(uint64_t handle)
{
    Port* const port = Find(handle);
    if (port == nullptr) return nullptr;
    if (port->device.look != nullptr) port->device.look(port->device.unit);
    return &port->sent;
}

bool Listens(const Port& port)
{
    return port.plugged && port.synchronous == port.device.synchronous;
}

void PowerUp(Port* port)
{
    port->plugged = true;
    port->handle = 0;
    port->modeReset = false;
    port->synchronous = false;
    port->sent = {};
}

const char* End(bool refused)
{
    return refused ? " fails" : "";
}

// --- calls without a handle ---

uint32_t ListDevices(uint32_t* count)
{
    EmuSpend(EmuTransferUs);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool refused = EmuDeviceFails(EmuUsbList) || NoLibrary;
    *count = 0;
    for (const Port& port : Ports) *count += !refused && port.plugged ? 1 : 0;
    EmuNote("usb list %u%s", *count, End(refused));
    return refused ? IoError : Ok;
}

uint32_t Open(int32_t index, uint64_t* handle)
{
    EmuSpend(EmuTransferUs);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    Port* const port = PortAt(index);
    const bool lost = EmuDeviceFails(EmuUsbOpen);
    const bool found = port != nullptr && port->plugged && !NoLibrary;
    const bool refused = lost || !found || port->handle != 0;
    EmuNote("usb open %d%s", index, End(refused));
    *handle = 0;
    if (refused) return found ? NotOpened : NotFound;
    port->handle = ++LastHandle;
    port->readMs = 0;
    port->sent.latency = DefaultLatencyMs * UsPerMs;
    *handle = port->handle;
    return Ok;
}

// --- settings: calls that are done or refused ---

template <typename... Values> std::string Line(const char* format, Values... values)
{
    char text[64];
    snprintf(text, sizeof text, format, values...);
    return text;
}

// Time passes before the lock is taken: what runs meanwhile may be calls too.
template <typename Effect> uint32_t Set(uint64_t handle, const std::string& line, Effect effect)
{
    EmuSpend(EmuTransferUs);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool lost = EmuDeviceFails(EmuUsbSetting);
    Port* const port = Find(handle);
    const bool refused = lost || port == nullptr;
    EmuNote("%s%s", line.c_str(), End(refused));
    if (refused) return lost ? IoError : InvalidHandle;
    effect(port);
    return Ok;
}

// A handle is gone even if the call fails, and that of a device that was pulled out too.
uint32_t Close(uint64_t handle)
{
    EmuSpend(EmuTransferUs);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool lost = EmuDeviceFails(EmuUsbSetting);
    bool closed = false;
    for (Port& port : Ports) {
        if (handle == 0 || port.handle != handle) continue;
        port.handle = 0;
        EmuPipeDropArrived(&port.sent);
        closed = !lost;
    }
    EmuNote("usb close%s", End(!closed));
    return closed ? Ok : InvalidHandle;
}

uint32_t ResetDevice(uint64_t handle)
{
    return Set(handle, "usb reset", [](Port* port) {
        EmuPipeDropArrived(&port->sent);
        port->device.reset(port->device.unit);
    });
}

uint32_t SetFlowControl(uint64_t handle, uint16_t flow, uint8_t, uint8_t)
{
    return Set(handle, Line("usb flow %u", flow), [](Port*) {});
}

uint32_t Purge(uint64_t handle, uint32_t mask)
{
    return Set(handle, Line("usb purge %u", mask), [mask](Port* port) {
        if ((mask & PurgeReceive) != 0) EmuPipeDropArrived(&port->sent);
    });
}

uint32_t SetTimeouts(uint64_t handle, uint32_t readMs, uint32_t writeMs)
{
    return Set(handle, Line("usb timeouts %u %u", readMs, writeMs),
               [readMs](Port* port) { port->readMs = readMs; });
}

uint32_t SetLatencyTimer(uint64_t handle, uint8_t milliseconds)
{
    return Set(handle, Line("usb latency %u", milliseconds),
               [milliseconds](Port* port) { port->sent.latency = milliseconds * UsPerMs; });
}

uint32_t SetBitMode(uint64_t handle, uint8_t mask, uint8_t mode)
{
    return Set(handle, Line("usb mode %u %u", mask, mode), [mode](Port* port) {
        port->synchronous = mode == ModeSynchronous && port->modeReset;
        port->modeReset = mode == ModeReset || port->synchronous;
    });
}

uint32_t SetTransferSizes(uint64_t handle, uint32_t in, uint32_t out)
{
    return Set(handle, Line("usb sizes %u %u", in, out), [](Port*) {});
}

uint32_t DeviceInfo(uint64_t handle, char* serial, char* description)
{
    serial[0] = '\0';
    description[0] = '\0';
    return Set(handle, "usb info", [serial, description](Port* port) {
        snprintf(serial, SerialLength + 1, "%s", port->serial.c_str());
        snprintf(description, DescriptionLength + 1, "%s", port->description.c_str());
    });
}

uint32_t ResetPort(uint64_t handle)
{
    return Set(handle, "usb port reset", [](Port* port) {
        EmuPipeDropArrived(&port->sent);
        ++port->portResets;
    });
}

uint32_t GetQueueStatus(uint64_t handle, uint32_t* count)
{
    EmuSpend(EmuTransferUs);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool lost = EmuDeviceFails(EmuUsbSetting);
    const EmuPipe* const pipe = LookedAt(handle);
    const bool refused = lost || pipe == nullptr;
    *count = refused ? 0 : EmuPipeReadable(*pipe);
    EmuNote("usb queue %u%s", *count, End(refused));
    return refused ? InvalidHandle : Ok;
}

// --- the pipe ---

uint32_t ReadTimeout(uint64_t handle)
{
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const Port* const port = Find(handle);
    return port != nullptr ? port->readMs : 0;
}

uint32_t Read(uint64_t handle, void* buffer, uint32_t bytes, uint32_t* got)
{
    *got = 0;
    EmuSpend(EmuTransferUs);
    EmuPipeAwait(LookedAt, handle, bytes, ReadTimeout(handle) * UsPerMs);
    uint32_t taken = 0;
    {
        const std::lock_guard<std::mutex> guard(EmuLinkLock());
        const bool halved = EmuDeviceFails(EmuUsbRead);
        Port* const port = Find(handle);
        std::vector<uint8_t> sent(bytes);
        if (port != nullptr) taken = EmuPipeTake(&port->sent, sent.data(), bytes);
        *got = halved ? taken / 2 : taken;
        std::copy_n(sent.data(), *got, static_cast<uint8_t*>(buffer));
        EmuNote("usb < %u of %u%s", *got, bytes, End(port == nullptr));
        if (port == nullptr) return InvalidHandle;
    }
    EmuSpend(taken / EmuBytesPerUs);
    return Ok;
}

uint32_t Write(uint64_t handle, const void* buffer, uint32_t bytes, uint32_t* put)
{
    *put = 0;
    EmuSpend(EmuTransferUs + bytes / EmuBytesPerUs);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const auto* const data = static_cast<const uint8_t*>(buffer);
    const bool lost = EmuDeviceFails(EmuUsbWrite);
    const Port* const port = Find(handle);
    EmuNoteSent("usb", data, bytes, 1, End(lost || port == nullptr));
    if (port == nullptr) return InvalidHandle;
    if (lost) return IoError;
    *put = bytes;
    if (Listens(*port)) port->device.receive(port->device.unit, data, bytes);
    return Ok;
}

} // namespace

UsbApi EmuUsb()
{
    return {ListDevices,      Open,       Close,       Read,           Write,           ResetDevice,
            SetFlowControl,   Purge,      SetTimeouts, GetQueueStatus, SetLatencyTimer, SetBitMode,
            SetTransferSizes, DeviceInfo, ResetPort};
}

void EmuResetUsb()
{
    for (Port& port : Ports) port = {};
    NoLibrary = false;
}

int32_t EmuPlugUsbAt(int32_t port, const EmuUsbDevice& device)
{
    if (port < 0 || port >= PortCount || Ports[port].used) return -1;
    Port& plugged = Ports[port];
    plugged.used = true;
    plugged.device = device;
    plugged.serial = device.serial;
    plugged.description = device.description;
    PowerUp(&plugged);
    return port;
}

int32_t EmuPlugUsb(const EmuUsbDevice& device)
{
    int32_t port = 0;
    while (port < PortCount && Ports[port].used) ++port;
    return EmuPlugUsbAt(port, device);
}

void EmuUnplugUsb(int32_t port)
{
    Port* const unplugged = PortAt(port);
    if (unplugged == nullptr) return;
    unplugged->plugged = false;
    unplugged->sent = {};
}

void EmuReplugUsb(int32_t port)
{
    Port* const replugged = PortAt(port);
    if (replugged == nullptr || replugged->plugged) return;
    PowerUp(replugged);
    replugged->device.reset(replugged->device.unit);
}

void EmuUsbReply(int32_t port, const uint8_t* bytes, uint32_t count, uint64_t at, uint32_t byteNs)
{
    Port* const from = PortAt(port);
    if (from != nullptr && Listens(*from)) EmuPipeSend(&from->sent, bytes, count, at, byteNs);
}

void EmuUsbDropReplies(int32_t port)
{
    Port* const from = PortAt(port);
    if (from != nullptr) EmuPipeDrop(&from->sent);
}

uint32_t EmuUsbWaiting(int32_t port)
{
    const Port* const from = PortAt(port);
    return from != nullptr ? EmuPipeHolds(from->sent) : 0;
}

uint32_t EmuUsbOpenHandles()
{
    uint32_t count = 0;
    for (const Port& port : Ports) count += port.handle != 0 ? 1 : 0;
    return count;
}

uint32_t EmuUsbPortResets(int32_t port)
{
    const Port* const reset = PortAt(port);
    return reset != nullptr ? reset->portResets : 0;
}

void EmuHaveUsbLibrary(bool present)
{
    NoLibrary = !present;
}
