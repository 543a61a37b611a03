#include "tests/links/fake_bus.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/port_library.h"
#include "emulator/emulator.h"
#include "include/qvn.h"
#include "platform/system.h"
#include "tests/support/demo_camera.h"

FakeBus Fake;

namespace {

constexpr uint64_t DeviceHandle = 0x100000007;

__attribute__((format(printf, 1, 2))) void Note(const char* format, ...)
{
    char word[160];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(word, sizeof word, format, arguments);
    va_end(arguments);
    ++Fake.counts[word];
    if (!Fake.isQuiet) Fake.log.emplace_back(word);
}

const char* RegisterName(uint32_t offset)
{
    switch (offset) {
    case 256: return "count";
    case 260: return "address";
    case 264: return "aux";
    case 268: return "start";
    case 272: return "data";
    case 276: return "control";
    case 280: return "revision";
    case 284: return "channel";
    default: return "stray";
    }
}

uint32_t ReadRegister(uint64_t address)
{
    const uint32_t offset = static_cast<uint32_t>(address - Window);
    Note("%s?", RegisterName(offset));
    std::deque<uint32_t>& waiting = Fake.replies[offset];
    if (!waiting.empty()) {
        const uint32_t value = waiting.front();
        waiting.pop_front();
        return value;
    }
    return offset == CardControlReg ? Fake.control | Fake.status() : Fake.values[offset];
}

void WriteRegister(uint64_t address, uint32_t value)
{
    const uint32_t offset = static_cast<uint32_t>(address - Window);
    Note("%s=%X", RegisterName(offset), value);
    if (offset == CardControlReg) Fake.control = value;
}

uint64_t OpenDevice(const char* name)
{
    EXPECT_STREQ(name, "\\\\.\\WINDRVR6");
    Note("open");
    if (!Fake.driverOpens) return 0;
    ++Fake.openHandles;
    return DeviceHandle;
}

void CloseDevice(uint64_t device)
{
    EXPECT_EQ(device, DeviceHandle);
    Note("close");
    --Fake.openHandles;
}

void FillCard(WD_CARD* card)
{
    card->dwItems = static_cast<uint32_t>(Fake.items.size());
    for (size_t i = 0; i < Fake.items.size() && i < WD_CardItems; ++i) {
        card->Item[i] = Fake.items[i];
    }
}

void Scan(WD_PCI_SCAN_CARDS* scan)
{
    Note("scan=%X.%X", scan->searchId.dwVendorId, scan->searchId.dwDeviceId);
    scan->dwCards = Fake.cards;
    scan->cardId[0] = scan->searchId;
    scan->cardSlot[0] = {1, 2, 3};
}

void TellCard(WD_PCI_CARD_INFO* info)
{
    Note("info=%u.%u.%u", info->pciSlot.dwBus, info->pciSlot.dwSlot, info->pciSlot.dwFunction);
    FillCard(&info->Card);
}

void Register(WD_CARD_REGISTER* registration)
{
    Note("register");
    EXPECT_EQ(registration->fCheckLockOnly, 0u);
    registration->hCard = Fake.cardHandle;
}

void LockBuffer(WD_DMA* lock, uint32_t bytes)
{
    Note("lock=%u.%u", lock->dwOptions, lock->dwBytes);
    Fake.lastLock = *lock;
    Fake.lastLockBytes = bytes;
    const bool isKernel = lock->dwOptions == 1;
    if ((Fake.lockable & (isKernel ? 1u : 2u)) == 0) return;
    lock->hDMA = 1;
    if (isKernel) {
        Fake.kernelBuffer.assign(lock->dwBytes / 2, 0xAAAA);
        if (Fake.hasAddress) {
            lock->pUserAddr = reinterpret_cast<uintptr_t>(Fake.kernelBuffer.data());
        }
    }
    lock->dwPages = Fake.pagesTold != 0 ? Fake.pagesTold : static_cast<uint32_t>(Fake.pages.size());
    std::copy(Fake.pages.begin(), Fake.pages.end(), lock->Page);
}

void Sleep(const WD_SLEEP& sleep)
{
    EXPECT_EQ(sleep.dwOptions, 0u);
    Note("us=%u", sleep.dwMicroSeconds);
}

int32_t Control(uint64_t device, uint32_t code, void* record, uint32_t bytes)
{
    EXPECT_EQ(device, DeviceHandle);
    if (!Fake.driverAnswers) return -1;
    switch (code) {
    case 0x95382443: Note("version"); return bytes == 132 ? 0 : -1;
    case 0x9538243B: Scan(static_cast<WD_PCI_SCAN_CARDS*>(record)); return bytes == 2012 ? 0 : -1;
    case 0x9538243F: TellCard(static_cast<WD_PCI_CARD_INFO*>(record)); return bytes == 816 ? 0 : -1;
    case 0x95382673: Register(static_cast<WD_CARD_REGISTER*>(record)); return bytes == 948 ? 0 : -1;
    case 0x95382593:
        Note("debug");
        EXPECT_EQ(bytes, 264u);
        Fake.debugLines.push_back(*static_cast<WD_DEBUG_ADD*>(record));
        return 0;
    case 0x95382407: LockBuffer(static_cast<WD_DMA*>(record), bytes); return 0;
    case 0x9538240B:
        Note("unlock=%u", static_cast<WD_DMA*>(record)->hDMA);
        Fake.lastUnlockBytes = bytes;
        return 0;
    case 0x9538249F:
        EXPECT_EQ(bytes, 8u);
        if (!Fake.driverSleeps) return -1;
        Sleep(*static_cast<WD_SLEEP*>(record));
        return 0;
    default: ADD_FAILURE() << "control code " << code; return -1;
    }
}

bool AcquirePorts(uint16_t port, uint16_t count)
{
    char text[32];
    snprintf(text, sizeof text, "%X.%u", port, count);
    Fake.acquired = text;
    return Fake.portsGranted;
}

uint16_t PortReply(uint16_t port)
{
    std::deque<uint16_t>& waiting = Fake.portReplies[port];
    if (waiting.empty()) return Fake.portValues[port];
    const uint16_t value = waiting.front();
    waiting.pop_front();
    return value;
}

void Out8(uint16_t port, uint8_t value)
{
    Note("out:%X=%02X", port, value);
}
void Out16(uint16_t port, uint16_t value)
{
    Note("wout:%X=%X", port, value);
}
uint8_t In8(uint16_t port)
{
    Note("in:%X", port);
    return static_cast<uint8_t>(PortReply(port));
}
uint16_t In16(uint16_t port)
{
    Note("win:%X", port);
    return PortReply(port);
}

WD_ITEM MemoryItem()
{
    WD_ITEM item = {};
    item.item = 2;
    item.dwPhysicalAddr = 0xFEB00000;
    item.dwBytes = 0x1000;
    item.dwTransAddr = 0xD0000000;
    item.dwUserDirectAddr = static_cast<uint32_t>(Window);
    item.dwCpuPhysicalAddr = 0xFEB01234;
    return item;
}

} // namespace

std::string Accesses()
{
    std::string joined;
    for (const std::string& word : Fake.log) joined += (joined.empty() ? "" : " ") + word;
    Fake.log.clear();
    return joined;
}

std::string Text(const std::string& sequence)
{
    std::string text;
    size_t at = 0;
    for (size_t open; (open = sequence.find('{', at)) != std::string::npos;) {
        size_t digits = open;
        while (digits > at && isdigit(sequence[digits - 1])) --digits;
        const size_t close = sequence.find('}', open);
        text += sequence.substr(at, digits - at);
        const int copies = std::stoi(sequence.substr(digits, open - digits));
        const std::string inside = sequence.substr(open + 1, close - open - 1);
        for (int i = 0; i < copies; ++i) text += (i == 0 ? "" : " ") + inside;
        at = close + 1;
    }
    return text + sequence.substr(at);
}

void LinkTest::SetUp()
{
    ResetLibrary();
    Fake = FakeBus{};
    Fake.items = {MemoryItem()};
    System.device = {OpenDevice, Control, CloseDevice};
    System.registers = {ReadRegister, WriteRegister};
    System.port = {AcquirePorts, Out8, Out16, In8, In16};
    System.clock.Sleep = [](uint32_t milliseconds) { Note("ms=%u", milliseconds); };
    System.clock.SleepMicroseconds = [](uint32_t microseconds) { Note("pause=%u", microseconds); };
    PortLibrary = {};
    record.CardDeviceId = 2001;
    record.CardMapped = 1;
    record.CardWindow = Window;
    record.WdHandle = DeviceHandle;
    Fake.openHandles = 1;
}

void LinkTest::TearDown()
{
    ReleaseCard(Camera);
    EXPECT_EQ(Fake.openHandles, 0u);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    PortLibrary = {};
    record = {};
    ResetLibrary();
}
