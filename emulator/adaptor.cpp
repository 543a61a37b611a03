// The library of the USB-to-parallel adaptor: its functions, the cameras at its far
// end, its memory chip.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "emulator/link.h"
#include "emulator/traffic.h"
#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

constexpr uint32_t Done = 1;
constexpr int32_t DeviceCount = 8;
constexpr uint32_t ByteMode = 8, WordMode = 9; // of the parallel port
constexpr uint64_t TimeoutUnitUs = 1000;
constexpr uint32_t FirstTimeout = 1000;
constexpr uint32_t MemoryChip = 81;   // its I2C address
constexpr uint32_t MemoryBytes = 128; // two a word, low byte first
constexpr uint8_t Erased = 0xFF;

struct Device {
    bool known, open;
    uint32_t powerUps; // of the camera that was there at the start
    uint32_t mode, timeout, chip;
};

struct Adaptor {
    bool missing;
    std::vector<std::string> hidden; // entries
    Device devices[DeviceCount];
};
Adaptor World;

EmuUsbState* CameraAt(uint32_t device)
{
    return device < DeviceCount ? EmuFindAdaptorCamera(static_cast<int32_t>(device)) : nullptr;
}

// The device if it is open, and the camera still there that it was opened for.
Device* OpenDevice(uint32_t device)
{
    const EmuUsbState* const camera = CameraAt(device);
    if (camera == nullptr) return nullptr;
    Device* const open = &World.devices[device];
    return open->open && open->powerUps == camera->powerUps ? open : nullptr;
}

uint32_t ItemBytes(uint32_t mode)
{
    return mode == WordMode ? 2 : 1;
}

uint32_t ModeOf(const EmuUsbState& camera)
{
    return camera.setup.platform == 28 ? WordMode : ByteMode;
}

const char* End(bool done)
{
    return done ? "" : " fails";
}

// Time passes before the lock is taken: what runs meanwhile may be calls too.
//
// A call that is done or refused. `effect` tells if it can be done.
template <typename Effect> uint32_t Run(const std::string& line, Effect effect)
{
    EmuSpend(EmuTransferUs);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool done = !EmuDeviceFails(EmuAdaptorCall) && effect();
    EmuNote("adaptor %s%s", line.c_str(), End(done));
    return done ? Done : 0;
}

// --- device ---

uint32_t Init(uint32_t device)
{
    return Run("init", [device] {
        const EmuUsbState* const camera = CameraAt(device);
        if (camera == nullptr) return false;
        World.devices[device] = {};
        World.devices[device].known = true;
        World.devices[device].powerUps = camera->powerUps;
        World.devices[device].timeout = FirstTimeout;
        return true;
    });
}

uint32_t Open(uint32_t device)
{
    return Run("open", [device] {
        if (CameraAt(device) == nullptr || !World.devices[device].known) return false;
        World.devices[device].open = true;
        return true;
    });
}

// A device is closed even if the call fails, and one that was pulled out too.
uint32_t Close(uint32_t device)
{
    EmuSpend(EmuTransferUs);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool lost = EmuDeviceFails(EmuAdaptorCall);
    const bool open = device < DeviceCount && World.devices[device].open;
    if (open) World.devices[device] = {};
    EmuUsbState* const camera = CameraAt(device);
    if (open && camera != nullptr) EmuPipeDropArrived(&camera->adaptorPipe);
    EmuNote("adaptor close%s", End(open && !lost));
    return open && !lost ? Done : 0;
}

uint32_t SetMode(uint32_t device, uint32_t mode)
{
    return Run("mode " + std::to_string(mode), [device, mode] {
        Device* const open = OpenDevice(device);
        if (open != nullptr) open->mode = mode;
        return open != nullptr;
    });
}

uint32_t SetTimeout(uint32_t device, uint32_t units)
{
    return Run("timeout " + std::to_string(units), [device, units] {
        Device* const open = OpenDevice(device);
        if (open != nullptr) open->timeout = units;
        return open != nullptr;
    });
}

// --- memory chip ---

uint32_t SetChip(uint32_t device, uint32_t chip)
{
    return Run("eeprom at " + std::to_string(chip), [device, chip] {
        Device* const open = OpenDevice(device);
        if (open != nullptr) open->chip = chip;
        return open != nullptr;
    });
}

bool ChipAnswers(uint32_t device)
{
    const Device* const open = OpenDevice(device);
    return open != nullptr && open->chip == MemoryChip;
}

uint32_t WriteChip(uint32_t device, uint32_t address, uint8_t byte)
{
    char line[48];
    snprintf(line, sizeof line, "eeprom %u = %02X", address, uint32_t{byte});
    return Run(line, [device, address, byte] {
        if (!ChipAnswers(device) || address >= MemoryBytes) return false;
        uint16_t& word = CameraAt(device)->memory[address / 2];
        const uint32_t shift = address % 2 * 8;
        word = static_cast<uint16_t>((word & ~(0xFFu << shift)) | uint32_t{byte} << shift);
        return true;
    });
}

uint32_t ReadChip(uint32_t device, uint32_t address, uint8_t* byte)
{
    return Run("eeprom " + std::to_string(address) + " ?", [device, address, byte] {
        if (!ChipAnswers(device)) return false;
        const uint16_t* const memory = CameraAt(device)->memory;
        *byte = address < MemoryBytes ? static_cast<uint8_t>(memory[address / 2] >> address % 2 * 8)
                                      : Erased;
        return true;
    });
}

// --- parallel port ---

// What the host's items are on the pipe: bytes, or words with the low byte first.
std::vector<uint8_t> Bytes(const void* items, uint32_t count, uint32_t itemBytes)
{
    const auto* const from = static_cast<const uint8_t*>(items);
    if (itemBytes == 1) return {from, from + count};
    std::vector<uint8_t> bytes;
    for (uint32_t i = 0; i < count; ++i) {
        uint16_t word = 0;
        memcpy(&word, from + size_t{2} * i, sizeof word);
        bytes.push_back(static_cast<uint8_t>(word));
        bytes.push_back(static_cast<uint8_t>(word >> 8));
    }
    return bytes;
}

void Store(const std::vector<uint8_t>& bytes, uint32_t itemBytes, void* items)
{
    if (itemBytes == 1) {
        if (!bytes.empty()) memcpy(items, bytes.data(), bytes.size());
        return;
    }
    auto* to = static_cast<uint8_t*>(items);
    for (size_t i = 0; i < bytes.size(); i += 2) {
        const auto word = static_cast<uint16_t>(bytes[i] | bytes[i + 1] << 8);
        memcpy(to + i, &word, sizeof word);
    }
}

// With the port set up for another camera than this one nothing gets through.
Device* PortOf(uint32_t device)
{
    Device* const open = OpenDevice(device);
    return open != nullptr && open->mode == ModeOf(*CameraAt(device)) ? open : nullptr;
}

struct PortSetup {
    uint32_t itemBytes;
    uint64_t timeoutUs;
};

PortSetup SetupOf(uint32_t device)
{
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const Device* const port = PortOf(device);
    return port != nullptr
               ? PortSetup{ItemBytes(port->mode), std::max(port->timeout, 1u) * TimeoutUnitUs}
               : PortSetup{1, 1};
}

uint32_t Out(uint32_t device, const void* buffer, uint32_t count)
{
    const PortSetup setup = SetupOf(device);
    const std::vector<uint8_t> bytes = Bytes(buffer, count, setup.itemBytes);
    EmuSpend(EmuTransferUs + bytes.size() / EmuBytesPerUs);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool done = !EmuDeviceFails(EmuAdaptorCall) && PortOf(device) != nullptr;
    EmuNoteSent("adaptor", bytes.data(), count, setup.itemBytes, End(done));
    if (!done) return 0;
    EmuUsbState* const camera = CameraAt(device);
    camera->dialect->receive(camera, bytes.data(), static_cast<uint32_t>(bytes.size()));
    return Done;
}

EmuPipe* LookedAt(uint64_t device)
{
    const auto number = static_cast<uint32_t>(device);
    if (PortOf(number) == nullptr) return nullptr;
    EmuUsbState* const camera = CameraAt(number);
    camera->dialect->look(camera);
    return &camera->adaptorPipe;
}

// Items that do not come stay as they were in the buffer.
uint32_t In(uint32_t device, void* buffer, uint32_t count)
{
    const PortSetup setup = SetupOf(device);
    EmuSpend(EmuTransferUs);
    bool done = false;
    {
        const std::lock_guard<std::mutex> guard(EmuLinkLock());
        done = !EmuDeviceFails(EmuAdaptorCall) && PortOf(device) != nullptr;
        EmuNote("adaptor < %u%s", count, End(done));
    }
    if (!done) return 0;
    EmuPipeAwait(LookedAt, device, count * setup.itemBytes, setup.timeoutUs);
    std::vector<uint8_t> bytes;
    {
        const std::lock_guard<std::mutex> guard(EmuLinkLock());
        if (PortOf(device) == nullptr) return 0;
        EmuPipe* const pipe = &CameraAt(device)->adaptorPipe;
        const uint32_t items = std::min(count, EmuPipeReadable(*pipe) / setup.itemBytes);
        bytes.resize(size_t{items} * setup.itemBytes);
        EmuPipeTake(pipe, bytes.data(), static_cast<uint32_t>(bytes.size()));
    }
    Store(bytes, setup.itemBytes, buffer);
    EmuSpend(bytes.size() / EmuBytesPerUs);
    return bytes.size() == size_t{count} * setup.itemBytes ? Done : 0;
}

uint32_t Unused()
{
    return Run("entry that has no use here", [] { return false; });
}

// --- the library ---

struct Entry {
    const char* name;
    void* function;
};
const Entry Entries[] = {
    {"UsbInit", reinterpret_cast<void*>(Init)},
    {"UsbOpen", reinterpret_cast<void*>(Open)},
    {"UsbClose", reinterpret_cast<void*>(Close)},
    {"UsbParInit", reinterpret_cast<void*>(SetMode)},
    {"UsbSetTimeout", reinterpret_cast<void*>(SetTimeout)},
    {"UsbEEpSetAddr", reinterpret_cast<void*>(SetChip)},
    {"UsbEEpWriteByte", reinterpret_cast<void*>(WriteChip)},
    {"UsbEEpReadByte", reinterpret_cast<void*>(ReadChip)},
    {"UsbParOut", reinterpret_cast<void*>(Out)},
    {"UsbParIn", reinterpret_cast<void*>(In)},
};

// It has many more, which no camera needs.
const char* const UnusedEntries[] = {
    "UsbGetVersion",        "UsbParSetWaveforms",    "UsbGetRdyState",
    "UsbGetError",          "UsbGetErrorStringByNr", "UsbRetrieveAllErrors",
    "UsbDevicePresent",     "UsbDeviceInitialized",  "UsbI2CSetTimeout",
    "UsbEEpSetTimeout",     "UsbParSetTimeout",      "UsbSpiInit",
    "UsbSpiTransfer",       "UsbSpiTransferByte",    "UsbParSetTransferSize",
    "UsbWaituSec",          "UsbSetIOState",         "UsbSetIODir",
    "UsbGetIOState",        "UsbSetPortState",       "UsbSetPortDir",
    "UsbGetStatus",         "UsbGetPortState",       "UsbI2CSetSpeed",
    "UsbI2CWriteBytes",     "UsbI2CWriteByte",       "UsbI2CReadBytes",
    "UsbI2CReadByte",       "UsbEEpWriteBytes",      "UsbEEpReadBytes",
    "UsbParInitUsingArray", "UsbCheckSpeed",         "UsbI2CWriteAndReadBytes",
};

char AdaptorLibrary; // its address is the handle

void* Load(const char* name)
{
    const bool named =
        strcmp(name, "./qvn/kzbusb.so") == 0 || strcmp(name, "./qvn/kzbusb.dll") == 0;
    if (!named) return EmuLibraries().Load(name);
    EmuSpend(1);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool loaded = !EmuDeviceFails(EmuLibraryLoad) && !World.missing;
    EmuNote("adaptor load%s", End(loaded));
    return loaded ? &AdaptorLibrary : nullptr;
}

void* Symbol(void* library, const char* name)
{
    if (library != &AdaptorLibrary) return EmuLibraries().Symbol(library, name);
    EmuSpend(1);
    for (const std::string& hidden : World.hidden) {
        if (hidden == name) return nullptr;
    }
    for (const Entry& entry : Entries) {
        if (strcmp(entry.name, name) == 0) return entry.function;
    }
    for (const char* const unused : UnusedEntries) {
        if (strcmp(unused, name) == 0) return reinterpret_cast<void*>(Unused);
    }
    return nullptr;
}

void Free(void* library)
{
    if (library != &AdaptorLibrary) {
        EmuLibraries().Free(library);
        return;
    }
    EmuSpend(1);
    EmuNote("adaptor free");
}

} // namespace

LibraryApi EmuAdaptorLibrary()
{
    return {Load, Symbol, Free};
}

void EmuResetAdaptor()
{
    World = {};
}

void EmuHaveAdaptorLibrary(bool present)
{
    World.missing = !present;
}

void EmuHideAdaptorEntry(const char* entry)
{
    World.hidden.emplace_back(entry);
}

uint32_t EmuAdaptorOpen()
{
    uint32_t count = 0;
    for (const Device& device : World.devices) count += device.open ? 1 : 0;
    return count;
}
