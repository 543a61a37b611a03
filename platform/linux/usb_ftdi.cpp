#include "platform/linux/usb_ftdi.h"

#ifdef QVN_LIBFTDI

#include <algorithm>
#include <cstring>
#include <iterator>

#include <ftdi.h>
#include <libusb.h>
#include <pthread.h>

#include "platform/linux/signals.h"
#include "platform/usb.h"

namespace {

// A chip has one channel an interface; each is a device of its own here.
struct UsbChannel {
    uint8_t bus;
    uint8_t address;
    uint8_t interface;
    uint8_t interfaces; // of the chip
};

// The vendor's driver reads ahead into a queue of 64 kB. Here the queue is filled
// by the calls that ask for it: a transfer goes to its end.
constexpr uint32_t QueueRoom = 1 << 17;
constexpr uint32_t LargestTransfer = 1 << 16;

struct UsbPort {
    bool used; // guarded by `PortsLock`
    UsbChannel channel;
    ftdi_context* context;
    uint32_t readMs; // 0: no limit
    uint32_t writeMs;
    uint32_t inBytes; // largest transfers
    uint32_t outBytes;
    uint8_t* queue;
    uint32_t first, end; // of the bytes in it
};

constexpr uint32_t PortCount = 8;
constexpr uint32_t ChannelRoom = 64;

UsbPort Ports[PortCount];
UsbChannel Channels[ChannelRoom]; // of the last list
uint32_t ChannelCount = 0;
pthread_mutex_t PortsLock = PTHREAD_MUTEX_INITIALIZER; // also for libusb's contexts

uint32_t ToStatus(int result)
{
    return result < 0 ? UsbIoError : UsbOk;
}

// --- the list ---

// Null: this host has no USB, which libusb need not notice. It starts a thread that
// looks for new devices.
ftdi_context* NewContext()
{
    if (!System.process.CanEnterDirectory("/dev/bus/usb")) return nullptr;
    sigset_t before;
    BlockSignals(&before);
    ftdi_context* context = ftdi_new();
    RestoreSignals(before);
    return context;
}

uint8_t InterfacesOf(libusb_device* device)
{
    libusb_config_descriptor* config = nullptr;
    if (libusb_get_config_descriptor(device, 0, &config) != 0) return 1;
    const uint8_t count = std::clamp<uint8_t>(config->bNumInterfaces, INTERFACE_A, INTERFACE_D);
    libusb_free_config_descriptor(config);
    return count;
}

void AddChannels(libusb_device* device)
{
    const uint8_t interfaces = InterfacesOf(device);
    for (uint8_t i = 0; i < interfaces && ChannelCount < ChannelRoom; ++i) {
        Channels[ChannelCount++] = {libusb_get_bus_number(device),
                                    libusb_get_device_address(device), i, interfaces};
    }
}

bool IsBefore(const UsbChannel& one, const UsbChannel& other)
{
    if (one.bus != other.bus) return one.bus < other.bus;
    if (one.address != other.address) return one.address < other.address;
    return one.interface < other.interface;
}

// The chips that are plugged in now, of the kinds that libftdi knows.
uint32_t FindChannels(ftdi_context* context)
{
    ftdi_device_list* list = nullptr;
    if (ftdi_usb_find_all(context, &list, 0, 0) < 0) return UsbOtherError;
    for (const ftdi_device_list* entry = list; entry != nullptr; entry = entry->next) {
        AddChannels(entry->dev);
    }
    ftdi_list_free(&list);
    std::sort(Channels, Channels + ChannelCount, IsBefore);
    return UsbOk;
}

uint32_t ListDevices(uint32_t* count)
{
    pthread_mutex_lock(&PortsLock);
    ChannelCount = 0;
    ftdi_context* context = NewContext();
    const uint32_t status = context == nullptr ? uint32_t{UsbOtherError} : FindChannels(context);
    ftdi_free(context);
    *count = ChannelCount;
    pthread_mutex_unlock(&PortsLock);
    return status;
}

// --- open and close ---

// Of the packets that the chip may have, to judge from what it tells of itself.
bool HasSoundPackets(const ftdi_context* context)
{
    return context->max_packet_size >= 8 && context->max_packet_size <= 1024;
}

bool OpenChannel(ftdi_context* context, const UsbChannel& channel)
{
    ftdi_device_list* list = nullptr;
    if (ftdi_usb_find_all(context, &list, 0, 0) < 0) return false;
    int result = -1;
    for (const ftdi_device_list* entry = list; entry != nullptr; entry = entry->next) {
        if (libusb_get_bus_number(entry->dev) != channel.bus) continue;
        if (libusb_get_device_address(entry->dev) != channel.address) continue;
        // A chip with one channel is spoken to as a whole.
        if (channel.interfaces > 1) {
            ftdi_set_interface(context,
                               static_cast<ftdi_interface>(INTERFACE_A + channel.interface));
        }
        result = ftdi_usb_open_dev(context, entry->dev);
        break;
    }
    ftdi_list_free(&list);
    return result == 0 && HasSoundPackets(context);
}

uint32_t OpenPort(UsbPort* port, const UsbChannel& channel)
{
    *port = {};
    port->channel = channel;
    port->inBytes = port->outBytes = LargestTransfer;
    port->context = NewContext();
    port->queue = static_cast<uint8_t*>(System.memory.Allocate(QueueRoom));
    uint32_t status = UsbNoResources;
    if (port->context != nullptr && port->queue != nullptr) {
        port->used = OpenChannel(port->context, channel);
        status = port->used ? UsbOk : UsbDeviceNotOpened;
    }
    if (status != UsbOk) {
        ftdi_free(port->context);
        System.memory.Release(port->queue);
    }
    return status;
}

uint32_t Open(int32_t index, uint64_t* handle)
{
    *handle = 0;
    pthread_mutex_lock(&PortsLock);
    uint32_t status = UsbDeviceNotFound;
    if (index >= 0 && static_cast<uint32_t>(index) < ChannelCount) {
        UsbPort* free = std::find_if(std::begin(Ports), std::end(Ports),
                                     [](const UsbPort& port) { return !port.used; });
        status = free == std::end(Ports) ? UsbNoResources : OpenPort(free, Channels[index]);
        if (status == UsbOk) *handle = static_cast<uint64_t>(free - Ports) + 1;
    }
    pthread_mutex_unlock(&PortsLock);
    return status;
}

// Null: no such handle. The flag is the caller's own between open and close.
UsbPort* PortOf(uint64_t handle)
{
    return handle >= 1 && handle <= PortCount && Ports[handle - 1].used ? &Ports[handle - 1]
                                                                        : nullptr;
}

uint32_t Close(uint64_t handle)
{
    pthread_mutex_lock(&PortsLock);
    UsbPort* port = PortOf(handle);
    if (port != nullptr) {
        ftdi_usb_close(port->context);
        ftdi_free(port->context);
        System.memory.Release(port->queue);
        *port = {};
    }
    pthread_mutex_unlock(&PortsLock);
    return port == nullptr ? UsbInvalidHandle : UsbOk;
}

// --- bytes ---

// Each packet begins with two bytes of the chip's own. Returns how many are left.
uint32_t StripStatus(uint8_t* bytes, uint32_t count, uint32_t packet)
{
    constexpr uint32_t statusBytes = 2;
    uint32_t kept = 0;
    for (uint32_t at = 0; at + statusBytes < count; at += packet) {
        const uint32_t data = std::min(packet, count - at) - statusBytes;
        memmove(bytes + kept, bytes + at + statusBytes, data);
        kept += data;
    }
    return kept;
}

// One transfer to the end of the queue. It is over when it is full, or a latency
// period after the last byte; at the latest after `waitMs`. False: the device fails.
bool Pump(UsbPort* port, uint32_t waitMs)
{
    memmove(port->queue, port->queue + port->first, port->end - port->first);
    port->end -= port->first;
    port->first = 0;
    const uint32_t packet = port->context->max_packet_size;
    const uint32_t room = (QueueRoom - port->end) / packet * packet;
    const uint32_t wanted = std::min((port->inBytes + packet - 1) / packet * packet, room);
    if (wanted == 0) return true;
    int came = 0;
    uint8_t* to = port->queue + port->end;
    const int result = libusb_bulk_transfer(port->context->usb_dev,
                                            static_cast<unsigned char>(port->context->out_ep), to,
                                            static_cast<int>(wanted), &came, waitMs);
    port->end += StripStatus(to, std::min(static_cast<uint32_t>(came), wanted), packet);
    return result == 0 || result == LIBUSB_ERROR_TIMEOUT;
}

uint32_t TakeFromQueue(UsbPort* port, uint8_t* to, uint32_t bytes)
{
    const uint32_t taken = std::min(bytes, port->end - port->first);
    std::copy_n(port->queue + port->first, taken, to);
    port->first += taken;
    return taken;
}

// How long a transfer may take that began at `start` and has `limitMs`, 0 for none:
// never 0, which libusb takes for no limit. False: the time is over.
bool FindTimeLeft(uint32_t start, uint32_t limitMs, uint32_t* leftMs)
{
    constexpr uint32_t longest = 1000;
    const uint32_t passed = System.clock.TickCount() - start;
    *leftMs = limitMs == 0 ? longest : std::min(longest, limitMs - std::min(passed, limitMs));
    return *leftMs != 0;
}

uint32_t Read(uint64_t handle, void* buffer, uint32_t bytes, uint32_t* got)
{
    *got = 0;
    UsbPort* port = PortOf(handle);
    if (port == nullptr) return UsbInvalidHandle;
    uint8_t* to = static_cast<uint8_t*>(buffer);
    const uint32_t start = System.clock.TickCount();
    uint32_t leftMs = 0;
    for (bool works = true;;) {
        *got += TakeFromQueue(port, to + *got, bytes - *got);
        if (*got == bytes) return UsbOk;
        if (!works) return UsbIoError;
        if (!FindTimeLeft(start, port->readMs, &leftMs)) return UsbOk;
        works = Pump(port, leftMs);
    }
}

uint32_t Write(uint64_t handle, const void* buffer, uint32_t bytes, uint32_t* put)
{
    *put = 0;
    UsbPort* port = PortOf(handle);
    if (port == nullptr) return UsbInvalidHandle;
    uint8_t* from = static_cast<uint8_t*>(const_cast<void*>(buffer)); // only read
    const uint32_t start = System.clock.TickCount();
    uint32_t leftMs = 0;
    while (*put < bytes && FindTimeLeft(start, port->writeMs, &leftMs)) {
        int sent = 0;
        const int result = libusb_bulk_transfer(
            port->context->usb_dev, static_cast<unsigned char>(port->context->in_ep), from + *put,
            static_cast<int>(std::min(port->outBytes, bytes - *put)), &sent, leftMs);
        *put += static_cast<uint32_t>(sent);
        if (result != 0 && result != LIBUSB_ERROR_TIMEOUT) return UsbIoError;
    }
    return UsbOk;
}

uint32_t GetQueueStatus(uint64_t handle, uint32_t* count)
{
    constexpr uint32_t longest = 300; // above the longest latency period
    *count = 0;
    UsbPort* port = PortOf(handle);
    if (port == nullptr) return UsbInvalidHandle;
    const bool works = Pump(port, longest);
    *count = port->end - port->first;
    return works ? UsbOk : UsbIoError;
}

// --- settings ---

void EmptyQueue(UsbPort* port)
{
    port->first = port->end = 0;
}

uint32_t Purge(uint64_t handle, uint32_t mask)
{
    constexpr uint32_t received = 1, written = 2;
    UsbPort* port = PortOf(handle);
    if (port == nullptr) return UsbInvalidHandle;
    int result = (mask & written) != 0 ? ftdi_tcoflush(port->context) : 0;
    if ((mask & received) != 0) {
        EmptyQueue(port);
        result = std::min(result, ftdi_tciflush(port->context));
    }
    return ToStatus(result);
}

uint32_t ResetDevice(uint64_t handle)
{
    UsbPort* port = PortOf(handle);
    if (port == nullptr) return UsbInvalidHandle;
    EmptyQueue(port);
    return ToStatus(ftdi_usb_reset(port->context));
}

uint32_t ResetPort(uint64_t handle)
{
    const uint32_t status = ResetDevice(handle);
    return status == UsbOk ? Purge(handle, 3) : status;
}

uint32_t SetFlowControl(uint64_t handle, uint16_t flow, uint8_t xon, uint8_t xoff)
{
    UsbPort* port = PortOf(handle);
    if (port == nullptr) return UsbInvalidHandle;
    if (flow == SIO_XON_XOFF_HS) {
        return ToStatus(ftdi_setflowctrl_xonxoff(port->context, xon, xoff));
    }
    return ToStatus(ftdi_setflowctrl(port->context, flow));
}

uint32_t SetTimeouts(uint64_t handle, uint32_t readMs, uint32_t writeMs)
{
    UsbPort* port = PortOf(handle);
    if (port == nullptr) return UsbInvalidHandle;
    port->readMs = readMs;
    port->writeMs = writeMs;
    return UsbOk;
}

uint32_t SetLatencyTimer(uint64_t handle, uint8_t milliseconds)
{
    UsbPort* port = PortOf(handle);
    if (port == nullptr) return UsbInvalidHandle;
    return ToStatus(ftdi_set_latency_timer(port->context, milliseconds));
}

uint32_t SetBitMode(uint64_t handle, uint8_t mask, uint8_t mode)
{
    UsbPort* port = PortOf(handle);
    if (port == nullptr) return UsbInvalidHandle;
    return ToStatus(ftdi_set_bitmode(port->context, mask, mode));
}

// 0 leaves a size as it is.
uint32_t SetTransferSizes(uint64_t handle, uint32_t in, uint32_t out)
{
    UsbPort* port = PortOf(handle);
    if (port == nullptr) return UsbInvalidHandle;
    if (in != 0) port->inBytes = std::min(in, LargestTransfer);
    if (out != 0) port->outBytes = std::min(out, LargestTransfer);
    return UsbOk;
}

// --- strings ---

// Reads a string of the device and adds a suffix, which is never cut.
bool ReadText(libusb_device_handle* device, uint8_t number, const char* suffix, char* text,
              uint32_t room)
{
    text[0] = '\0';
    if (number == 0) return true;
    const uint32_t textRoom = room - static_cast<uint32_t>(strlen(suffix));
    const int length = libusb_get_string_descriptor_ascii(
        device, number, reinterpret_cast<unsigned char*>(text), static_cast<int>(textRoom));
    strcpy(text + std::clamp(length, 0, static_cast<int>(textRoom) - 1), length < 0 ? "" : suffix);
    return length >= 0;
}

// The channels of a chip are told apart by letters, as the vendor's library has it.
uint32_t DeviceInfo(uint64_t handle, char* serial, char* description)
{
    serial[0] = description[0] = '\0';
    UsbPort* port = PortOf(handle);
    if (port == nullptr) return UsbInvalidHandle;
    libusb_device_handle* device = port->context->usb_dev;
    libusb_device_descriptor own = {};
    if (libusb_get_device_descriptor(libusb_get_device(device), &own) != 0) return UsbIoError;
    char suffix[] = {' ', static_cast<char>('A' + port->channel.interface), '\0'};
    if (port->channel.interfaces < 2) suffix[0] = suffix[1] = '\0';
    const char* letter = suffix[0] == '\0' ? suffix : suffix + 1;
    const bool numbered = ReadText(device, own.iSerialNumber, letter, serial, UsbSerialRoom);
    const bool named = ReadText(device, own.iProduct, suffix, description, UsbDescriptionRoom);
    return numbered && named ? UsbOk : UsbIoError;
}

} // namespace

UsbApi FtdiUsb()
{
    return {
        .ListDevices = ListDevices,
        .Open = Open,
        .Close = Close,
        .Read = Read,
        .Write = Write,
        .ResetDevice = ResetDevice,
        .SetFlowControl = SetFlowControl,
        .Purge = Purge,
        .SetTimeouts = SetTimeouts,
        .GetQueueStatus = GetQueueStatus,
        .SetLatencyTimer = SetLatencyTimer,
        .SetBitMode = SetBitMode,
        .SetTransferSizes = SetTransferSizes,
        .DeviceInfo = DeviceInfo,
        .ResetPort = ResetPort,
    };
}

#else

#include "platform/absent.h"

UsbApi FtdiUsb()
{
    return AbsentUsb();
}

#endif
