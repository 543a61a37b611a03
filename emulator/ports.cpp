// The ports of the virtual machine, reached by direct instructions or through io.dll,
// and the library loader.
#include "emulator/ports.h"

#include <cstring>
#include <vector>

#include "emulator/traffic.h"
#include "emulator/world.h"

namespace {

struct Range {
    uint32_t first, count;
};

struct Ports {
    bool refused, noLibrary;
    std::vector<Range> granted;
    std::vector<EmuPrinterPort> printers;
    std::vector<EmuPortCard> cards;
};
Ports World;

bool Holds(const Range& range, uint32_t port)
{
    return port - range.first < range.count; // below the first wraps
}

bool Granted(uint16_t port)
{
    for (const Range& range : World.granted) {
        if (Holds(range, port)) return true;
    }
    return false;
}

template <typename Instrument>
Instrument* Find(std::vector<Instrument>* instruments, uint16_t count, uint16_t port)
{
    for (Instrument& instrument : *instruments) {
        if (Holds({instrument.base, count}, port)) return &instrument;
    }
    return nullptr;
}

// Direct instructions need a granted port; io.dll has a driver of its own.
enum class Way : uint8_t { Direct, Library };

// --- the bus, whoever asks ---

bool WriteByte(uint16_t port, uint8_t value)
{
    if (EmuPrinterPort* printer = Find(&World.printers, EmuPrinterPorts, port)) {
        EmuWritePrinter(printer, static_cast<uint16_t>(port - printer->base), value);
        return true;
    }
    if (EmuPortCard* card = Find(&World.cards, EmuPortCardPorts, port)) {
        EmuWritePortCard(card, static_cast<uint16_t>(port - card->base), value);
        return true;
    }
    return false;
}

bool ReadByte(uint16_t port, uint16_t* value)
{
    if (EmuPrinterPort* printer = Find(&World.printers, EmuPrinterPorts, port)) {
        *value = EmuReadPrinter(printer, static_cast<uint16_t>(port - printer->base));
        return true;
    }
    if (EmuPortCard* card = Find(&World.cards, EmuPortCardPorts, port)) {
        *value = EmuReadPortCard(card, static_cast<uint16_t>(port - card->base));
        return true;
    }
    return false;
}

// Words go to the data port of the port card and nowhere else.
bool WriteWide(uint16_t port, uint16_t value)
{
    EmuPortCard* card = Find(&World.cards, EmuPortCardPorts, port);
    if (card == nullptr || card->base != port) return false;
    EmuWritePortCardWord(card, value);
    return true;
}

bool ReadWide(uint16_t port, uint16_t* value)
{
    EmuPortCard* card = Find(&World.cards, EmuPortCardPorts, port);
    if (card == nullptr || card->base != port) return false;
    *value = EmuReadPortCardWord(card);
    return true;
}

void Write(uint16_t port, uint16_t value, bool wide, Way way)
{
    EmuSpend(1);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool fails = EmuDeviceFails(EmuPortWrite);
    const bool allowed = way == Way::Library || Granted(port);
    const char* const end = fails ? " lost" : "";
    if (wide) {
        EmuNoteAccess("port w> %04X %04X%s", port, value, end);
    } else {
        EmuNoteAccess("port > %04X %02X%s", port, value, end);
    }
    if (fails) return;
    const bool taken =
        allowed && (wide ? WriteWide(port, value) : WriteByte(port, static_cast<uint8_t>(value)));
    if (!taken) EmuNote("stray port > %04X%s", port, allowed ? "" : ", not granted");
}

uint16_t Read(uint16_t port, bool wide, Way way)
{
    EmuSpend(1);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool fails = EmuDeviceFails(EmuPortRead);
    const bool allowed = way == Way::Library || Granted(port);
    uint16_t value = wide ? 0xFFFF : 0xFF;
    const bool given =
        fails || (allowed && (wide ? ReadWide(port, &value) : ReadByte(port, &value)));
    const char* const end = fails ? " lost" : "";
    if (wide) {
        EmuNoteAccess("port w< %04X %04X%s", port, value, end);
    } else {
        EmuNoteAccess("port < %04X %02X%s", port, value, end);
    }
    if (!given) EmuNote("stray port < %04X%s", port, allowed ? "" : ", not granted");
    return value;
}

// --- direct instructions ---

bool Acquire(uint16_t port, uint16_t count)
{
    EmuSpend(1);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    EmuNote("port acquire %04X %u", port, count);
    if (World.refused) return false;
    World.granted.push_back({port, count});
    return true;
}

void Out8(uint16_t port, uint8_t value)
{
    Write(port, value, false, Way::Direct);
}
void Out16(uint16_t port, uint16_t value)
{
    Write(port, value, true, Way::Direct);
}
uint8_t In8(uint16_t port)
{
    return static_cast<uint8_t>(Read(port, false, Way::Direct));
}
uint16_t In16(uint16_t port)
{
    return Read(port, true, Way::Direct);
}

// --- io.dll ---

void LibraryOut8(uint16_t port, uint8_t value)
{
    Write(port, value, false, Way::Library);
}
void LibraryOut16(uint16_t port, uint16_t value)
{
    Write(port, value, true, Way::Library);
}
uint8_t LibraryIn8(uint16_t port)
{
    return static_cast<uint8_t>(Read(port, false, Way::Library));
}
uint16_t LibraryIn16(uint16_t port)
{
    return Read(port, true, Way::Library);
}
void Unused()
{
    EmuSpend(1);
    EmuNote("stray library call");
}

struct Entry {
    const char* name;
    void* function;
};
const Entry IoEntries[] = {
    {"PortOut", reinterpret_cast<void*>(LibraryOut8)},
    {"PortWordOut", reinterpret_cast<void*>(LibraryOut16)},
    {"PortDWordOut", reinterpret_cast<void*>(Unused)},
    {"PortIn", reinterpret_cast<void*>(LibraryIn8)},
    {"PortWordIn", reinterpret_cast<void*>(LibraryIn16)},
    {"PortDWordIn", reinterpret_cast<void*>(Unused)},
    {"SetPortBit", reinterpret_cast<void*>(Unused)},
    {"ClrPortBit", reinterpret_cast<void*>(Unused)},
    {"NotPortBit", reinterpret_cast<void*>(Unused)},
    {"GetPortBit", reinterpret_cast<void*>(Unused)},
    {"RightPortShift", reinterpret_cast<void*>(Unused)},
    {"LeftPortShift", reinterpret_cast<void*>(Unused)},
    {"IsDriverInstalled", reinterpret_cast<void*>(Unused)},
};
char IoLibrary; // its address is the handle

void* Load(const char* name)
{
    EmuSpend(1);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool fails = EmuDeviceFails(EmuLibraryLoad);
    EmuNote("library load %s%s", name, fails ? " lost" : "");
    return !fails && !World.noLibrary && strcmp(name, "io") == 0 ? &IoLibrary : nullptr;
}

void* Symbol(void* library, const char* name)
{
    EmuSpend(1);
    if (library != &IoLibrary) return nullptr;
    for (const Entry& entry : IoEntries) {
        if (strcmp(entry.name, name) == 0) return entry.function;
    }
    return nullptr;
}

void Free(void* library)
{
    EmuSpend(1);
    if (library == &IoLibrary) EmuNote("library free");
}

} // namespace

PortApi EmuPorts()
{
    return {Acquire, Out8, Out16, In8, In16};
}

LibraryApi EmuLibraries()
{
    return {Load, Symbol, Free};
}

void EmuResetPorts()
{
    World = {};
}

void EmuPlugPrinterPort(uint16_t base, int32_t busCamera)
{
    EmuPrinterPort printer = {};
    printer.base = base;
    printer.camera = busCamera;
    printer.control = 0x0C; // as the firmware leaves it
    World.printers.push_back(printer);
}

void EmuPlugPortCard(uint16_t base, bool serial, int32_t busCamera)
{
    EmuPortCard card = {};
    card.base = base;
    card.serial = serial;
    card.camera = busCamera;
    World.cards.push_back(card);
}

void EmuHavePortLibrary(bool present)
{
    World.noLibrary = !present;
}

void EmuRefusePorts(bool refuse)
{
    World.refused = refuse;
}
