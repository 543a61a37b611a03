// The kernel driver of the interface card: its calls, the cards that it knows, the
// buffers that it locks, and the register windows that it maps.
#include <cinttypes>
#include <cstring>
#include <vector>

#include "emulator/card.h"
#include "emulator/traffic.h"
#include "emulator/world.h"

namespace {

constexpr char DriverName[] = "\\\\.\\WINDRVR6";
constexpr uint32_t DriverVersion = 100;
constexpr char DriverText[] = "Virtual card driver 1.00";
constexpr uint32_t Vendor = 0x11E3;

// Where things are on the virtual machine's bus and in its processes.
constexpr uint32_t PhysicalBase = 0xD0000000, UserBase = 0x50000000, WindowBytes = 0x1000;
constexpr uint64_t FirstDmaAddress = 0x01000000;
constexpr uint32_t PageBytes = 4096;
constexpr uint64_t GapBytes = 8191; // behind each locked block, up to a whole page
constexpr uint32_t LargestLock = 1u << 30;

// Records, by byte offsets.
constexpr uint32_t ItemBytes = 40, MemoryItem = 2, OtherItem = 5;
constexpr uint32_t CardBytes = 804;
constexpr uint32_t ScanCount = 8, ScanIds = 12, ScanSlots = 812, ScanRoom = 100;
constexpr uint32_t InfoCard = 12;
constexpr uint32_t RegisterCheckOnly = 804, RegisterHandle = 808;
constexpr uint32_t LockHandle = 0, LockUser = 8, LockBytes = 20, LockOptions = 24, LockPages = 28,
                   LockPage = 36;
constexpr uint32_t LockRecordBytes = 2088, PagesInside = 256;
constexpr uint32_t KernelBuffer = 1, UserBuffer = 4;

struct Lock {
    uint32_t handle;
    uint64_t device;
    uint64_t physical;
    uint32_t bytes;
    uint8_t* memory;
    std::vector<uint8_t> own;
};

struct Driver {
    bool absent;
    uint64_t lastHandle;
    std::vector<uint64_t> handles; // open
    int32_t cardCount;
    EmuCardState cards[EmuCardRoom];
    std::vector<Lock> locks;
    uint32_t lastLock;
};
Driver World;

uint32_t Get(const uint8_t* record, uint32_t offset)
{
    uint32_t value;
    memcpy(&value, record + offset, sizeof value);
    return value;
}

void Put(uint8_t* record, uint32_t offset, uint32_t value)
{
    memcpy(record + offset, &value, sizeof value);
}

bool IsOpen(uint64_t device)
{
    for (const uint64_t handle : World.handles) {
        if (handle == device) return true;
    }
    return false;
}

uint32_t UserAddress(int32_t card)
{
    return UserBase + static_cast<uint32_t>(card) * WindowBytes;
}

// What the driver tells of a card's resources; the window's address in the process is
// known once the card is registered.
void DescribeCard(int32_t index, bool mapped, uint8_t* card)
{
    memset(card, 0, CardBytes);
    const uint32_t physical = PhysicalBase + static_cast<uint32_t>(index) * WindowBytes;
    uint8_t* item = card + 4;
    Put(item, 0, OtherItem);
    Put(item, 16, static_cast<uint32_t>(index) + 1); // the bus slot
    uint32_t items = 1;
    if (!World.cards[index].setup.noMemoryItem) {
        item += ItemBytes;
        const uint32_t words[] = {physical, WindowBytes, mapped ? UserAddress(index) : 0,
                                  mapped ? UserAddress(index) : 0, physical};
        Put(item, 0, MemoryItem);
        memcpy(item + 16, words, sizeof words);
        ++items;
    }
    Put(card, 0, items);
}

// --- the calls; each returns what the driver does ---

int32_t Version(uint64_t, uint8_t* record, uint32_t)
{
    EmuNote("card version");
    memset(record, 0, 132);
    Put(record, 0, DriverVersion);
    memcpy(record + 4, DriverText, sizeof DriverText);
    return 0;
}

int32_t Scan(uint64_t, uint8_t* record, uint32_t)
{
    const uint32_t vendor = Get(record, 0), device = Get(record, 4);
    EmuNote("card scan %u", device);
    uint32_t found = 0;
    for (int32_t i = 0; i < World.cardCount && found < ScanRoom; ++i) {
        if (vendor != Vendor || device != World.cards[i].setup.deviceId) continue;
        Put(record, ScanIds + 8 * found, vendor);
        Put(record, ScanIds + 8 * found + 4, device);
        const uint32_t slot = ScanSlots + 12 * found; // bus, slot, function
        Put(record, slot, 1);
        Put(record, slot + 4, static_cast<uint32_t>(i) + 1);
        Put(record, slot + 8, 0);
        ++found;
    }
    Put(record, ScanCount, found);
    return 0;
}

int32_t CardInfo(uint64_t, uint8_t* record, uint32_t)
{
    EmuNote("card info");
    const uint32_t bus = Get(record, 0), slot = Get(record, 4), function = Get(record, 8);
    memset(record + InfoCard, 0, CardBytes);
    if (bus != 1 || function != 0 || slot < 1) return 0;
    if (slot > static_cast<uint32_t>(World.cardCount)) return 0;
    DescribeCard(static_cast<int32_t>(slot) - 1, false, record + InfoCard);
    return 0;
}

// A card is registered under the resources that were told of it.
int32_t Register(uint64_t device, uint8_t* record, uint32_t)
{
    EmuNote("card register");
    Put(record, RegisterHandle, 0);
    for (int32_t i = 0; i < World.cardCount; ++i) {
        uint8_t described[CardBytes];
        DescribeCard(i, false, described);
        if (memcmp(record, described, CardBytes) != 0) continue;
        EmuCardState* card = &World.cards[i];
        if (card->setup.lockedElsewhere) return 0;
        if (card->owner != 0 && card->owner != device) return 0;
        Put(record, RegisterHandle, static_cast<uint32_t>(i) + 1);
        if (Get(record, RegisterCheckOnly) != 0) return 0;
        card->owner = device;
        DescribeCard(i, true, record);
        return 0;
    }
    EmuNote("stray card register");
    return 0;
}

int32_t Debug(uint64_t, uint8_t* record, uint32_t)
{
    char text[256 + 1] = {};
    memcpy(text, record, 256);
    for (char& letter : text) {
        if (letter < ' ') letter = '\0'; // the line ends there
    }
    EmuNote("card debug %s", text);
    return 0;
}

uint64_t FreePhysical()
{
    uint64_t physical = FirstDmaAddress;
    for (const Lock& lock : World.locks) {
        const uint64_t end = lock.physical + lock.bytes;
        if (end > physical) physical = end;
    }
    return (physical + GapBytes) / PageBytes * PageBytes;
}

// One entry for a buffer of the driver's own, one a page for a buffer of the caller's.
bool FillPages(uint8_t* record, const Lock& lock, bool user)
{
    const uint32_t asked = Get(record, LockPages);
    const uint32_t room = asked > PagesInside ? asked : PagesInside;
    const uint32_t step = user ? PageBytes : lock.bytes;
    if ((lock.bytes + step - 1) / step > room) return false;
    uint32_t pages = 0;
    for (uint32_t from = 0; from < lock.bytes; from += step) {
        const uint32_t rest = lock.bytes - from;
        Put(record, LockPage + 8 * pages, static_cast<uint32_t>(lock.physical) + from);
        Put(record, LockPage + 8 * pages + 4, rest < step ? rest : step);
        ++pages;
    }
    Put(record, LockPages, pages);
    return true;
}

bool Lockable(uint32_t bytes, uint64_t device)
{
    if (bytes == 0 || bytes > LargestLock) return false;
    for (const EmuCardState& card : World.cards) {
        if (card.owner == device && bytes > card.setup.dmaLimit) return false;
    }
    return true;
}

int32_t LockBuffer(uint64_t device, uint8_t* record, uint32_t)
{
    const uint32_t bytes = Get(record, LockBytes), options = Get(record, LockOptions);
    EmuNote("card lock %u %u", bytes, options);
    Put(record, LockHandle, 0);
    uint8_t* memory;
    memcpy(&memory, record + LockUser, sizeof memory);
    const bool user = options == UserBuffer;
    if ((!user && options != KernelBuffer) || user != (memory != nullptr)) {
        EmuNote("stray card lock");
        return 0;
    }
    if (EmuFails(EmuDmaLock) || !Lockable(bytes, device)) return 0;
    Lock lock = {World.lastLock + 1, device, FreePhysical(), bytes, memory, {}};
    if (!user) {
        lock.own.assign(bytes, 0xA5); // whatever was there before
        lock.memory = lock.own.data();
        memcpy(record + LockUser, &lock.memory, sizeof lock.memory);
    }
    if (!FillPages(record, lock, user)) return 0;
    Put(record, LockHandle, ++World.lastLock);
    World.locks.push_back(std::move(lock));
    return 0;
}

int32_t UnlockBuffer(uint64_t device, uint8_t* record, uint32_t)
{
    EmuNote("card unlock");
    for (size_t i = 0; i < World.locks.size(); ++i) {
        if (World.locks[i].handle != Get(record, LockHandle)) continue;
        if (World.locks[i].device != device) continue;
        World.locks.erase(World.locks.begin() + static_cast<ptrdiff_t>(i));
        return 0;
    }
    EmuNote("stray card unlock");
    return 0;
}

int32_t Delay(uint64_t, uint8_t* record, uint32_t)
{
    EmuNoteAccess("card delay %u", Get(record, 0));
    return 0;
}

struct ControlCall {
    uint32_t code, bytes;
    int32_t (*run)(uint64_t device, uint8_t* record, uint32_t bytes);
};
constexpr uint32_t SleepCode = 0x9538249F;
const ControlCall Calls[] = {
    {0x95382443, 132, Version},
    {0x9538243B, 2012, Scan},
    {0x9538243F, 816, CardInfo},
    {0x95382673, 948, Register},
    {0x95382593, 264, Debug},
    {0x95382407, LockRecordBytes, LockBuffer},   // and 8 for each page above 256
    {0x9538240B, LockRecordBytes, UnlockBuffer}, // the same
    {SleepCode, 8, Delay},
};

bool RightSize(const ControlCall& call, const uint8_t* record, uint32_t bytes)
{
    if (call.bytes != LockRecordBytes) return bytes == call.bytes;
    if (bytes < LockRecordBytes) return false;
    const uint64_t pages = Get(record, LockPages);
    return pages <= PagesInside || bytes >= LockRecordBytes + 8 * (pages - PagesInside);
}

int32_t Answer(uint64_t device, uint32_t code, uint8_t* record, uint32_t bytes)
{
    for (const ControlCall& call : Calls) {
        if (call.code != code) continue;
        if (!IsOpen(device) || record == nullptr || !RightSize(call, record, bytes)) break;
        return call.run(device, record, bytes);
    }
    EmuNote("stray card call %08X, %u bytes", code, bytes);
    return -1;
}

// --- the seam ---

uint64_t OpenDriver(const char* name)
{
    EmuSpend(1);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool fails = EmuDeviceFails(EmuDeviceOpen);
    EmuNote("card open%s", fails ? " lost" : "");
    if (fails || World.absent) return 0;
    if (name == nullptr || strcmp(name, DriverName) != 0) {
        EmuNote("stray device");
        return 0;
    }
    World.handles.push_back(++World.lastHandle);
    return World.lastHandle;
}

int32_t ControlDriver(uint64_t device, uint32_t code, void* record, uint32_t bytes)
{
    const bool fails = EmuDeviceFails(EmuDeviceControl);
    uint8_t* const fields = static_cast<uint8_t*>(record);
    const bool sleeps = !fails && code == SleepCode && record != nullptr && bytes == 8;
    const uint32_t microseconds = sleeps ? Get(fields, 0) : 0;
    int32_t result = -1;
    {
        const std::lock_guard<std::mutex> guard(EmuLinkLock());
        if (fails) {
            EmuNote("card call %08X lost", code);
        } else {
            result = Answer(device, code, fields, bytes);
        }
    }
    if (sleeps) {
        EmuWait(microseconds == 0 ? 1 : microseconds);
    } else {
        EmuSpend(1);
    }
    return result;
}

// The driver lets go of the handle's cards. Locked buffers stay for the caller's leak
// to be seen, but no card reaches them.
void CloseDriver(uint64_t device)
{
    EmuSpend(1);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    if (!IsOpen(device)) {
        EmuNote("stray card close");
        return;
    }
    EmuNote("card close");
    std::erase(World.handles, device);
    for (EmuCardState& card : World.cards) {
        if (card.owner != device) continue;
        card.owner = 0;
        EmuSetDmaRuns(&card, false);
    }
}

struct RegisterName {
    uint32_t offset;
    const char* name;
};
constexpr uint32_t DataOffset = 272; // the DMA registers are those ahead of it
const RegisterName Names[] = {
    {256, "count"}, {260, "address"}, {264, "aux"},      {268, "dma"},
    {272, "data"},  {276, "control"}, {280, "revision"}, {284, "channel"},
};

// The card and its register at an address of the process; null: none is mapped there.
EmuCardState* FindRegister(uint64_t address, const RegisterName** found, int32_t* index)
{
    for (int32_t i = 0; i < World.cardCount; ++i) {
        const uint64_t base = UserAddress(i);
        if (World.cards[i].owner == 0 || World.cards[i].setup.noMemoryItem) continue;
        for (const RegisterName& entry : Names) {
            if (address != base + entry.offset) continue;
            *found = &entry;
            *index = i;
            return &World.cards[i];
        }
    }
    return nullptr;
}

void NoteRegister(int32_t index, const RegisterName& entry, char way, uint32_t value, bool lost)
{
    const bool ofDma = entry.offset < DataOffset && way == '>';
    const auto note = ofDma ? EmuNote : EmuNoteAccess;
    const char* const end = lost ? " lost" : "";
    if (index == 0) {
        note("card %s %c %08X%s", entry.name, way, value, end);
    } else {
        note("card%d %s %c %08X%s", index, entry.name, way, value, end);
    }
}

uint32_t ReadRegister(uint64_t address)
{
    EmuSpend(1);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool fails = EmuDeviceFails(EmuRegisterRead);
    const RegisterName* found = nullptr;
    int32_t index = 0;
    EmuCardState* card = FindRegister(address, &found, &index);
    if (card == nullptr) {
        EmuNote("stray register < %016" PRIX64, address);
        return 0xFFFFFFFF;
    }
    const uint32_t value = fails ? 0xFFFFFFFF : EmuReadCard(card, found->offset);
    NoteRegister(index, *found, '<', value, fails);
    return value;
}

void WriteRegister(uint64_t address, uint32_t value)
{
    EmuSpend(1);
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const bool fails = EmuDeviceFails(EmuRegisterWrite);
    const RegisterName* found = nullptr;
    int32_t index = 0;
    EmuCardState* card = FindRegister(address, &found, &index);
    if (card == nullptr) {
        EmuNote("stray register > %016" PRIX64 " %08X", address, value);
        return;
    }
    NoteRegister(index, *found, '>', value, fails);
    if (!fails) EmuWriteCard(card, found->offset, value);
}

} // namespace

DeviceApi EmuDevices()
{
    return {OpenDriver, ControlDriver, CloseDriver};
}

RegisterApi EmuRegisters()
{
    return {ReadRegister, WriteRegister};
}

uint8_t* EmuLockedMemory(uint64_t physical, uint32_t bytes)
{
    for (const Lock& lock : World.locks) {
        if (physical < lock.physical || physical + bytes > lock.physical + lock.bytes) continue;
        return IsOpen(lock.device) ? lock.memory + (physical - lock.physical) : nullptr;
    }
    return nullptr;
}

void EmuRunDma()
{
    if (!EmuAnyDmaRuns()) return;
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    for (EmuCardState& card : World.cards) EmuMoveDma(&card);
}

void EmuResetCards()
{
    for (EmuCardState& card : World.cards) EmuSetDmaRuns(&card, false);
    World = {};
    EmuResetFarEnd();
}

int32_t EmuPlugCard(const EmuCard& card, int32_t busCamera)
{
    if (World.cardCount >= EmuCardRoom) return -1;
    EmuCardState* state = &World.cards[World.cardCount];
    *state = {};
    state->setup = card;
    for (int32_t& unit : state->units) unit = -1;
    state->units[0] = busCamera;
    state->byteCable = EmuHasByteCable(busCamera);
    EmuClearCard(state);
    return World.cardCount++;
}

void EmuAttachUnit(int32_t card, int32_t unit, int32_t busCamera)
{
    if (card < 0 || card >= World.cardCount || unit < 0 || unit >= EmuUnitRoom) return;
    World.cards[card].units[unit] = busCamera;
    EmuPlaceInArray(busCamera, unit);
}

void EmuHaveCardDriver(bool present)
{
    World.absent = !present;
}

uint32_t EmuCardsOpen()
{
    return static_cast<uint32_t>(World.handles.size());
}

uint32_t EmuDmaLocked()
{
    return static_cast<uint32_t>(World.locks.size());
}
