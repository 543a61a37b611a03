#include "tests/native_usb/scripted_chip.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <ostream>
#include <thread>
#include <utility>

// before <linux/usbdevice_fs.h>, which uses its macros
#include <sys/ioctl.h>

#include <linux/usb/ch9.h>
#include <linux/usbdevice_fs.h>
#include <umockdev.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint8_t ModemStatus = 0x32, LineStatus = 0x60;
constexpr uint32_t NoLimit = 0xFFFFFFFF;

// A transfer that the host has handed over and not had back.
struct Transfer {
    UMockdevIoctlData* block; // the host's usbdevfs_urb
    UMockdevIoctlData* buffer;
    Clock::time_point since;
    bool discarded;
};

usbdevfs_urb* UrbOf(const Transfer& transfer)
{
    return reinterpret_cast<usbdevfs_urb*>(transfer.block->data);
}

bool IsRead(const Transfer& transfer)
{
    const usbdevfs_urb* urb = UrbOf(transfer);
    return urb->type == USBDEVFS_URB_TYPE_BULK && (urb->endpoint & 0x80) != 0;
}

std::string Hex(const Bytes& bytes)
{
    std::string text;
    char digits[3];
    for (const uint8_t byte : bytes) {
        snprintf(digits, sizeof digits, "%02X", byte);
        text += digits;
    }
    return text;
}

uint8_t Low(int word)
{
    return static_cast<uint8_t>(word);
}

uint8_t High(int word)
{
    return static_cast<uint8_t>(word >> 8);
}

Bytes DeviceDescriptor(const ChipSetup& setup)
{
    const uint8_t serial = setup.serial.empty() ? 0 : 3;
    Bytes all = {18, 1, 0, 2, 0, 0, 0, 64, 0x03, 0x04, 0x10, 0x60};
    const Bytes rest = {Low(setup.version), High(setup.version), 1, 2, serial, 1};
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
}

// An interface has an endpoint each way: 0x81 and 0x02, 0x83 and 0x04.
Bytes ConfigDescriptor(const ChipSetup& setup)
{
    const int bytes = 9 + setup.interfaces * 23;
    Bytes all = {9, 2, Low(bytes), High(bytes), Low(setup.interfaces), 1, 0, 0x80, 250};
    for (int i = 0; i < setup.interfaces; ++i) {
        const Bytes interface = {9, 4, Low(i), 0, 2, 0xFF, 0xFF, 0xFF, 2};
        all.insert(all.end(), interface.begin(), interface.end());
        for (const int endpoint : {0x81 + 2 * i, 0x02 + 2 * i}) {
            const Bytes one = {7, 5, Low(endpoint), 2, Low(setup.packet), High(setup.packet), 0};
            all.insert(all.end(), one.begin(), one.end());
        }
    }
    return all;
}

Bytes StringDescriptor(const ChipSetup& setup, int number)
{
    if (number == 0) return {4, 3, 0x09, 0x04};
    const std::string text = number == 1 ? "maker" : number == 2 ? setup.description : setup.serial;
    Bytes all = {Low(static_cast<int>(text.size()) * 2 + 2), 3};
    for (const char letter : text) {
        all.push_back(static_cast<uint8_t>(letter));
        all.push_back(0);
    }
    return all;
}

// The chips' thread.
GMainContext* Context = nullptr;
UMockdevTestbed* Testbed = nullptr;

} // namespace

struct Chip {
    ChipSetup setup;
    std::string device; // "/dev/bus/usb/001/002"
    std::string syspath;
    UMockdevIoctlBase* handler = nullptr;
    std::mutex lock; // for what follows
    std::deque<Transfer> transfers;
    std::deque<uint8_t> towardsHost;
    std::vector<ControlRequest> controls;
    Bytes written;
    std::vector<int> readRooms, writeSizes;
    int latencyMs = 16;
    bool gone = false;
    bool muted = false;
    bool stalled = false;
    uint32_t bytesLeft = NoLimit; // until it is pulled out
};

namespace {

std::vector<std::unique_ptr<Chip>> Chips;
std::mutex ChipsLock;

Chip* ChipOf(const char* device)
{
    const std::lock_guard<std::mutex> guard(ChipsLock);
    // The last that was plugged in there.
    for (auto chip = Chips.rbegin(); chip != Chips.rend(); ++chip) {
        if ((*chip)->device == device) return chip->get();
    }
    return nullptr;
}

// --- requests on the control pipe ---

// True: answered. The data of the reply go behind the setup.
bool AnswerControl(Chip* chip, const usb_ctrlrequest& setup, Bytes* reply)
{
    constexpr uint8_t getDescriptor = 6, stringDescriptor = 3;
    if ((setup.bRequestType & 0x60) == 0) {
        if (setup.bRequest != getDescriptor || setup.wValue >> 8 != stringDescriptor) return false;
        *reply = StringDescriptor(chip->setup, setup.wValue & 0xFF);
        return true;
    }
    chip->controls.push_back({setup.bRequest, setup.wValue, setup.wIndex});
    if (chip->stalled) return false;
    constexpr int throwAwayReceived = 2;
    if (setup.bRequest == LatencyRequest) chip->latencyMs = setup.wValue;
    if (setup.bRequest == ResetRequest &&
        (setup.wValue == 0 || setup.wValue == throwAwayReceived)) {
        chip->towardsHost.clear();
    }
    return true;
}

void CompleteControl(Chip* chip, Transfer* transfer)
{
    usbdevfs_urb* urb = UrbOf(*transfer);
    usb_ctrlrequest setup;
    memcpy(&setup, transfer->buffer->data, sizeof setup);
    Bytes reply;
    urb->status = AnswerControl(chip, setup, &reply) ? 0 : -EPIPE;
    const size_t room = static_cast<size_t>(urb->buffer_length) - sizeof setup;
    const size_t count = std::min(room, reply.size());
    if (count != 0) memcpy(transfer->buffer->data + sizeof setup, reply.data(), count);
    urb->actual_length = static_cast<int>((setup.bRequestType & 0x80) != 0 ? count : setup.wLength);
}

// --- bytes ---

// Packets as full as they get, the last one with what is left. Returns the bytes
// with the status, and takes the data away.
int FillPackets(Chip* chip, uint8_t* buffer, int room)
{
    const int packet = chip->setup.packet;
    int filled = 0;
    while (filled + packet <= room) {
        const size_t ready = std::min<size_t>(chip->bytesLeft, chip->towardsHost.size());
        const int data = static_cast<int>(std::min(static_cast<size_t>(packet) - 2, ready));
        buffer[filled] = ModemStatus;
        buffer[filled + 1] = LineStatus;
        const auto first = chip->towardsHost.begin();
        std::copy_n(first, data, buffer + filled + 2);
        chip->towardsHost.erase(first, first + data);
        if (chip->bytesLeft != NoLimit) chip->bytesLeft -= static_cast<uint32_t>(data);
        filled += data + 2;
        if (data + 2 < packet) break;
    }
    return filled;
}

// True: it is over. A read without data ends when the latency period is.
bool CompleteRead(Chip* chip, Transfer* transfer)
{
    usbdevfs_urb* urb = UrbOf(*transfer);
    const auto due = transfer->since + std::chrono::milliseconds(chip->latencyMs);
    if (chip->muted || (chip->towardsHost.empty() && Clock::now() < due)) return false;
    urb->status = 0;
    urb->actual_length = FillPackets(chip, transfer->buffer->data, urb->buffer_length);
    chip->gone = chip->bytesLeft == 0;
    return true;
}

void CompleteWrite(Chip* chip, Transfer* transfer)
{
    usbdevfs_urb* urb = UrbOf(*transfer);
    const uint8_t* data = transfer->buffer->data;
    const Bytes bytes(data, data + urb->buffer_length);
    chip->written.insert(chip->written.end(), bytes.begin(), bytes.end());
    chip->writeSizes.push_back(urb->buffer_length);
    if (chip->setup.answer) {
        const Bytes answer = chip->setup.answer(bytes);
        chip->towardsHost.insert(chip->towardsHost.end(), answer.begin(), answer.end());
    }
    urb->status = 0;
    urb->actual_length = urb->buffer_length;
}

bool Complete(Chip* chip, Transfer* transfer)
{
    usbdevfs_urb* urb = UrbOf(*transfer);
    if (transfer->discarded || chip->gone) {
        urb->status = transfer->discarded ? -ENOENT : -ESHUTDOWN;
        urb->actual_length = 0;
        return true;
    }
    if (IsRead(*transfer)) return CompleteRead(chip, transfer);
    if (chip->muted) return false;
    if (urb->type == USBDEVFS_URB_TYPE_CONTROL) {
        CompleteControl(chip, transfer);
    } else {
        CompleteWrite(chip, transfer);
    }
    return true;
}

// --- usbfs ---

int Refuse(UMockdevIoctlClient* client, int reason)
{
    umockdev_ioctl_client_complete(client, -1, reason);
    return 1;
}

int Accept(UMockdevIoctlClient* client)
{
    umockdev_ioctl_client_complete(client, 0, 0);
    return 1;
}

int TellCapabilities(UMockdevIoctlClient* client, UMockdevIoctlData* argument)
{
    UMockdevIoctlData* word = umockdev_ioctl_data_resolve(argument, 0, sizeof(uint32_t), nullptr);
    const uint32_t capabilities =
        USBDEVFS_CAP_BULK_CONTINUATION | USBDEVFS_CAP_NO_PACKET_SIZE_LIM | USBDEVFS_CAP_ZERO_PACKET;
    memcpy(word->data, &capabilities, sizeof capabilities);
    umockdev_ioctl_data_unref(word);
    return Accept(client);
}

int Submit(Chip* chip, UMockdevIoctlClient* client, UMockdevIoctlData* argument)
{
    if (chip->gone) return Refuse(client, ENODEV);
    Transfer transfer = {};
    transfer.block = umockdev_ioctl_data_resolve(argument, 0, sizeof(usbdevfs_urb), nullptr);
    const size_t bytes = static_cast<size_t>(UrbOf(transfer)->buffer_length);
    transfer.buffer =
        umockdev_ioctl_data_resolve(transfer.block, offsetof(usbdevfs_urb, buffer), bytes, nullptr);
    transfer.since = Clock::now();
    if (IsRead(transfer)) chip->readRooms.push_back(UrbOf(transfer)->buffer_length);
    chip->transfers.push_back(transfer);
    return Accept(client);
}

int Reap(Chip* chip, UMockdevIoctlClient* client, UMockdevIoctlData* argument)
{
    for (auto transfer = chip->transfers.begin(); transfer != chip->transfers.end(); ++transfer) {
        if (!Complete(chip, &*transfer)) continue;
        UMockdevIoctlData* pointer =
            umockdev_ioctl_data_resolve(argument, 0, sizeof(void*), nullptr);
        umockdev_ioctl_data_set_ptr(pointer, 0, transfer->block);
        umockdev_ioctl_data_unref(pointer);
        umockdev_ioctl_data_unref(transfer->block);
        umockdev_ioctl_data_unref(transfer->buffer);
        chip->transfers.erase(transfer);
        return Accept(client);
    }
    return Refuse(client, chip->gone ? ENODEV : EAGAIN);
}

int Discard(Chip* chip, UMockdevIoctlClient* client, UMockdevIoctlData* argument)
{
    gulong address;
    memcpy(&address, argument->data, sizeof address);
    for (Transfer& transfer : chip->transfers) {
        if (transfer.block->client_addr != address) continue;
        transfer.discarded = true;
        return Accept(client);
    }
    return Refuse(client, EINVAL);
}

int Serve(UMockdevIoctlBase*, UMockdevIoctlClient* client)
{
    Chip* chip = ChipOf(umockdev_ioctl_client_get_devnode(client));
    if (chip == nullptr) return 0;
    const std::lock_guard<std::mutex> guard(chip->lock);
    UMockdevIoctlData* argument = umockdev_ioctl_client_get_arg(client);
    switch (umockdev_ioctl_client_get_request(client)) {
    case USBDEVFS_GET_CAPABILITIES: return TellCapabilities(client, argument);
    case USBDEVFS_SUBMITURB: return Submit(chip, client, argument);
    case USBDEVFS_REAPURB:
    case USBDEVFS_REAPURBNDELAY: return Reap(chip, client, argument);
    case USBDEVFS_DISCARDURB: return Discard(chip, client, argument);
    case USBDEVFS_GETDRIVER: return Refuse(client, ENODATA);
    case USBDEVFS_IOCTL: return Refuse(client, ENODATA);
    case USBDEVFS_CLAIMINTERFACE:
    case USBDEVFS_RELEASEINTERFACE:
    case USBDEVFS_SETCONFIGURATION:
    case USBDEVFS_CLEAR_HALT:
    case USBDEVFS_RESET: return chip->gone ? Refuse(client, ENODEV) : Accept(client);
    default: return Refuse(client, ENOTTY);
    }
}

void InitHandlerClass(void* table, void*)
{
    static_cast<UMockdevIoctlBaseClass*>(table)->handle_ioctl = Serve;
}

GType HandlerType()
{
    static const GType type = g_type_register_static_simple(
        UMOCKDEV_TYPE_IOCTL_BASE, "ScriptedChip", sizeof(UMockdevIoctlBaseClass), InitHandlerClass,
        sizeof(UMockdevIoctlBase), nullptr, static_cast<GTypeFlags>(0));
    return type;
}

// Runs `job` on the chips' thread and waits for its end.
void OnChipThread(const std::function<void()>& job)
{
    struct Order {
        const std::function<void()>* job;
        std::mutex lock;
        bool done;
    };
    Order order = {&job, {}, false};
    g_main_context_invoke(
        Context,
        [](void* data) -> gboolean {
            Order* given = static_cast<Order*>(data);
            (*given->job)();
            const std::lock_guard<std::mutex> guard(given->lock);
            given->done = true;
            return G_SOURCE_REMOVE;
        },
        &order);
    for (bool done = false; !done;) {
        std::this_thread::yield();
        const std::lock_guard<std::mutex> guard(order.lock);
        done = order.done;
    }
}

std::string Describe(const ChipSetup& setup, const std::string& syspath, const std::string& node)
{
    Bytes descriptors = DeviceDescriptor(setup);
    const Bytes config = ConfigDescriptor(setup);
    descriptors.insert(descriptors.end(), config.begin(), config.end());
    const auto number = [](const char* form, int value) {
        char text[64];
        snprintf(text, sizeof text, form, value);
        return std::string(text);
    };
    return "P: " + syspath + "\nN: " + node + "\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\n" +
           number("E: BUSNUM=%03d\n", setup.bus) + number("E: DEVNUM=%03d\n", setup.address) +
           "E: DEVNAME=/dev/" + node + "\n" + number("A: busnum=%d\n", setup.bus) +
           number("A: devnum=%d\n", setup.address) +
           "A: speed=480\nA: bConfigurationValue=1\nA: idVendor=0403\nA: idProduct=6010\n" +
           "H: descriptors=" + Hex(descriptors) + "\n";
}

} // namespace

void PrintTo(const ControlRequest& control, std::ostream* stream)
{
    *stream << "request " << control.request << " value " << control.value << " index "
            << control.index;
}

bool StartTestbed()
{
    Testbed = umockdev_testbed_new();
    if (!umockdev_in_mock_environment()) return false;
    Context = g_main_context_new();
    std::thread([] {
        g_main_context_push_thread_default(Context);
        g_main_loop_run(g_main_loop_new(Context, FALSE));
    }).detach();
    return true;
}

Chip* PlugIn(const ChipSetup& setup)
{
    std::unique_ptr<Chip> made = std::make_unique<Chip>();
    Chip* chip = made.get();
    chip->setup = setup;
    char node[64], path[64];
    snprintf(node, sizeof node, "bus/usb/%03d/%03d", setup.bus, setup.address);
    snprintf(path, sizeof path, "/devices/fake/usb%d/%d-%d", setup.bus, setup.bus, setup.address);
    chip->device = std::string("/dev/") + node;
    chip->syspath = std::string("/sys") + path;
    {
        const std::lock_guard<std::mutex> guard(ChipsLock);
        Chips.push_back(std::move(made));
    }
    OnChipThread([&] {
        GError* error = nullptr;
        const std::string text = Describe(setup, path, node);
        if (!umockdev_testbed_add_from_string(Testbed, text.c_str(), &error))
            g_error("%s", error->message);
        chip->handler = UMOCKDEV_IOCTL_BASE(g_object_new(HandlerType(), nullptr));
        if (!umockdev_testbed_attach_ioctl(Testbed, chip->device.c_str(), chip->handler, &error)) {
            g_error("%s", error->message);
        }
    });
    return chip;
}

void PullOut(Chip* chip)
{
    {
        const std::lock_guard<std::mutex> guard(chip->lock);
        chip->gone = true;
    }
    if (chip->handler == nullptr) return;
    OnChipThread([&] {
        umockdev_testbed_detach_ioctl(Testbed, chip->device.c_str(), nullptr);
        umockdev_testbed_remove_device(Testbed, chip->syspath.c_str());
        g_object_unref(chip->handler);
        chip->handler = nullptr;
    });
}

void RemoveChips()
{
    for (const auto& chip : Chips) PullOut(chip.get());
    const std::lock_guard<std::mutex> guard(ChipsLock);
    Chips.clear();
}

std::vector<ControlRequest> TakeControls(Chip* chip)
{
    const std::lock_guard<std::mutex> guard(chip->lock);
    return std::exchange(chip->controls, {});
}

std::vector<int> TakeReadRooms(Chip* chip)
{
    const std::lock_guard<std::mutex> guard(chip->lock);
    return std::exchange(chip->readRooms, {});
}

std::vector<int> TakeWriteSizes(Chip* chip)
{
    const std::lock_guard<std::mutex> guard(chip->lock);
    return std::exchange(chip->writeSizes, {});
}

Bytes TakeWritten(Chip* chip)
{
    const std::lock_guard<std::mutex> guard(chip->lock);
    return std::exchange(chip->written, {});
}

void Send(Chip* chip, const Bytes& bytes)
{
    const std::lock_guard<std::mutex> guard(chip->lock);
    chip->towardsHost.insert(chip->towardsHost.end(), bytes.begin(), bytes.end());
}

void Mute(Chip* chip, bool mute)
{
    const std::lock_guard<std::mutex> guard(chip->lock);
    chip->muted = mute;
}

void Stall(Chip* chip, bool stall)
{
    const std::lock_guard<std::mutex> guard(chip->lock);
    chip->stalled = stall;
}

void PullOutBehind(Chip* chip, uint32_t bytes)
{
    const std::lock_guard<std::mutex> guard(chip->lock);
    chip->bytesLeft = bytes;
}
