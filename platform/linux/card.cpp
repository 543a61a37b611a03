#include "platform/linux/card.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>

#include <pthread.h>
#include <unistd.h>

#include "platform/card_records.h"
#include "platform/linux/card_backend.h"

namespace {

// The driver of this interface whose numbers are used here.
constexpr uint32_t InterfaceVersion = 600;
constexpr char InterfaceText[] = "qvn cards on Linux, VFIO and sysfs, interface 6.00";

constexpr uint32_t ItemPorts = 3; // WD_ITEM::item

// An opened device. Everything but `window` is guarded by `CardsLock`.
struct Card {
    bool used;
    CardHost host;
    bool chosen; // `address` is set
    PciAddress address;
    const CardBackend* backend; // null: not registered
    CardClaim claim;
    uint32_t blocks;                 // locked
    std::atomic<CardWindow*> window; // null: not mapped
};

// A window stands at 16 MiB for itself in the 32 bits of a window's address.
constexpr uint32_t CardRoom = 16;
constexpr uint64_t FirstWindow = 0x10000000;
constexpr uint32_t WindowShift = 24;
static_assert(CardWindowRoom == 1 << WindowShift);

struct LockedBlock {
    Card* card; // null: free
    DmaBlock block;
};

constexpr uint32_t BlockRoom = 32;

Card Cards[CardRoom];
LockedBlock Blocks[BlockRoom];
CardHost Host = LinuxCardHost;
pthread_mutex_t CardsLock = PTHREAD_MUTEX_INITIALIZER;

// --- the operations; 0: answered ---

constexpr int32_t Answered = 0;
constexpr int32_t Refused = -1;

int32_t TellVersion(Card*, void* record)
{
    WD_VERSION* version = static_cast<WD_VERSION*>(record);
    *version = {};
    version->dwVer = InterfaceVersion;
    memcpy(version->cVer, InterfaceText, sizeof InterfaceText);
    return Answered;
}

// A slot has no word for the domain: it goes above the eight bits of the bus.
WD_PCI_SLOT ToSlot(const PciAddress& address)
{
    return {address.domain << 8 | address.bus, address.device, address.function};
}

PciAddress FromSlot(const WD_PCI_SLOT& slot)
{
    return {slot.dwBus >> 8, slot.dwBus & 0xFF, slot.dwSlot, slot.dwFunction};
}

int32_t ScanCards(Card* card, void* record)
{
    WD_PCI_SCAN_CARDS* scan = static_cast<WD_PCI_SCAN_CARDS*>(record);
    const WD_PCI_ID wanted = scan->searchId;
    const PciIds ids = {wanted.dwVendorId, wanted.dwDeviceId, wanted.dwDeviceId};
    PciAddress found[WD_ScanRoom];
    *scan = {};
    scan->searchId = wanted;
    scan->dwCards = FindPciDevices(card->host.sys, ids, found, WD_ScanRoom);
    for (uint32_t i = 0; i < scan->dwCards; ++i) {
        scan->cardId[i] = wanted;
        scan->cardSlot[i] = ToSlot(found[i]);
    }
    return Answered;
}

WD_ITEM ToItem(const PciBar& bar, uint32_t index)
{
    WD_ITEM item = {};
    item.item = bar.memory ? WD_ItemMemory : ItemPorts;
    item.dwPhysicalAddr = static_cast<uint32_t>(bar.address);
    item.dwBytes = static_cast<uint32_t>(std::min<uint64_t>(bar.bytes, UINT32_MAX));
    item.dwCpuPhysicalAddr = bar.memory ? item.dwPhysicalAddr : 0;
    item.bar = index;
    return item;
}

int32_t TellCardInfo(Card* card, void* record)
{
    WD_PCI_CARD_INFO* info = static_cast<WD_PCI_CARD_INFO*>(record);
    PciBar bars[PciBarCount];
    card->address = FromSlot(info->pciSlot);
    card->chosen = true;
    ReadPciBars(card->host.sys, card->address, bars);
    info->Card = {};
    for (uint32_t i = 0; i < PciBarCount; ++i) {
        if (bars[i].bytes != 0) info->Card.Item[info->Card.dwItems++] = ToItem(bars[i], i);
    }
    return Answered;
}

const CardBackend& ChooseBackend(const CardHost& host, const PciAddress& address)
{
    uint32_t group = 0;
    const bool grouped = ReadPciGroup(host.sys, address, &group);
    if (IsPassedThrough(host.sys, address)) return VfioCards;
    const bool passed = grouped && IsVfioThere(host) && PassThrough(host.sys, address);
    return passed ? VfioCards : SysfsCards;
}

bool IsClaimedHere(const PciAddress& address)
{
    return std::any_of(Cards, Cards + CardRoom, [&address](const Card& card) {
        return card.used && card.backend != nullptr &&
               memcmp(&card.address, &address, sizeof address) == 0;
    });
}

bool ClaimCard(Card* card)
{
    if (card->backend != nullptr) return true;
    if (!card->chosen || IsClaimedHere(card->address)) return false;
    const CardBackend& backend = ChooseBackend(card->host, card->address);
    card->claim = {};
    card->claim.address = card->address;
    if (!backend.Claim(card->host, card->address, &card->claim)) return false;
    card->backend = &backend;
    CardWindow* window = &card->claim.window;
    if (window->bytes != 0) card->window.store(window, std::memory_order_release);
    return true;
}

int32_t RegisterCard(Card* card, void* record)
{
    WD_CARD_REGISTER* wanted = static_cast<WD_CARD_REGISTER*>(record);
    wanted->hCard = 0;
    if (wanted->fCheckLockOnly != 0) return Refused;
    if (!ClaimCard(card)) return Answered;
    const uint32_t index = static_cast<uint32_t>(card - Cards);
    wanted->hCard = index + 1;
    if (card->window.load(std::memory_order_relaxed) == nullptr) return Answered;
    const uint32_t items = std::min(wanted->Card.dwItems, WD_CardItems);
    WD_ITEM* end = wanted->Card.Item + items;
    WD_ITEM* first = std::find_if(wanted->Card.Item, end,
                                  [](const WD_ITEM& item) { return item.item == WD_ItemMemory; });
    if (first != end) {
        first->dwUserDirectAddr = static_cast<uint32_t>(FirstWindow) + (index << WindowShift);
    }
    return Answered;
}

// The card may only reach memory while a block is locked.
void UnlockBlock(LockedBlock* locked)
{
    Card& card = *locked->card;
    if (--card.blocks == 0) SetPciCommand(card.claim, 0, PciBusMaster);
    card.backend->Unlock(card.claim, &locked->block);
    locked->card = nullptr;
}

bool LockBlock(Card* card, LockedBlock* locked)
{
    if (!card->backend->Lock(card->host, card->claim, &locked->block)) return false;
    locked->card = card;
    ++card->blocks;
    if (SetPciCommand(card->claim, PciBusMaster, 0)) return true;
    UnlockBlock(locked);
    return false;
}

int32_t LockDma(Card* card, void* record)
{
    WD_DMA* dma = static_cast<WD_DMA*>(record);
    const bool own = dma->dwOptions == WD_DmaKernel;
    const bool callers = dma->dwOptions == WD_DmaUser && dma->pUserAddr != 0;
    dma->hDMA = 0;
    LockedBlock* end = Blocks + BlockRoom;
    LockedBlock* locked = std::find_if(
        Blocks, end, [](const LockedBlock& candidate) { return candidate.card == nullptr; });
    if (card->backend == nullptr || locked == end || dma->dwBytes == 0) return Answered;
    if (!own && !callers) return Answered;
    locked->block = {};
    locked->block.own = own;
    locked->block.bytes = dma->dwBytes;
    locked->block.memory = own ? nullptr : std::bit_cast<void*>(uintptr_t{dma->pUserAddr});
    if (!LockBlock(card, locked)) return Answered;
    dma->hDMA = static_cast<uint32_t>(locked - Blocks) + 1;
    dma->pUserAddr = reinterpret_cast<uintptr_t>(locked->block.memory);
    dma->dwPages = 1;
    dma->Page[0] = {locked->block.busAddress, dma->dwBytes};
    return Answered;
}

int32_t UnlockDma(Card* card, void* record)
{
    const uint32_t number = static_cast<const WD_DMA*>(record)->hDMA;
    if (number == 0 || number > BlockRoom || Blocks[number - 1].card != card) return Refused;
    UnlockBlock(&Blocks[number - 1]);
    return Answered;
}

int32_t SleepAwhile(Card*, void* record)
{
    System.clock.SleepMicroseconds(static_cast<const WD_SLEEP*>(record)->dwMicroSeconds);
    return Answered;
}

// Lines for a monitor that belongs to the driver; here is none.
int32_t DropDebugLine(Card*, void*)
{
    return Answered;
}

struct CardOperation {
    uint32_t code;
    uint32_t bytes;
    bool mayBeLonger;
    bool alone; // under the lock
    int32_t (*Run)(Card* card, void* record);
};

constexpr CardOperation Operations[] = {
    {WD_Version, sizeof(WD_VERSION), false, false, TellVersion},
    {WD_PciScanCards, sizeof(WD_PCI_SCAN_CARDS), false, true, ScanCards},
    {WD_PciGetCardInfo, sizeof(WD_PCI_CARD_INFO), false, true, TellCardInfo},
    {WD_CardRegister, sizeof(WD_CARD_REGISTER), false, true, RegisterCard},
    {WD_DebugAdd, sizeof(WD_DEBUG_ADD), false, false, DropDebugLine},
    {WD_DMALock, sizeof(WD_DMA), true, true, LockDma},
    {WD_DMAUnlock, sizeof(WD_DMA), true, true, UnlockDma},
    {WD_Sleep, sizeof(WD_SLEEP), false, false, SleepAwhile},
};

// --- the device ---

bool IsCardThere(const CardHost& host)
{
    PciAddress found[WD_ScanRoom];
    const uint32_t count = FindPciDevices(host.sys, host.cards, found, WD_ScanRoom);
    return std::any_of(found, found + count,
                       [&host](const PciAddress& address) { return MayMapCard(host, address); });
}

uint64_t OpenDevice(const char* name)
{
    uint64_t device = 0;
    pthread_mutex_lock(&CardsLock);
    Card* end = Cards + CardRoom;
    Card* card = std::find_if(Cards, end, [](const Card& candidate) { return !candidate.used; });
    const bool known = strcmp(name, WD_DriverName) == 0;
    if (known && card != end && (IsVfioThere(Host) || IsCardThere(Host))) {
        card->used = true;
        card->host = Host;
        card->chosen = false;
        card->backend = nullptr;
        card->blocks = 0;
        device = static_cast<uint64_t>(card - Cards) + 1;
    }
    pthread_mutex_unlock(&CardsLock);
    return device;
}

// Null unless the device is open.
Card* FindCard(uint64_t device)
{
    const bool known = device > 0 && device <= CardRoom && Cards[device - 1].used;
    return known ? &Cards[device - 1] : nullptr;
}

int32_t ControlDevice(uint64_t device, uint32_t code, void* record, uint32_t bytes)
{
    const CardOperation* end = std::end(Operations);
    const CardOperation* operation = std::find_if(
        Operations, end, [code](const CardOperation& known) { return known.code == code; });
    if (operation == end || record == nullptr || bytes < operation->bytes) return Refused;
    if (bytes > operation->bytes && !operation->mayBeLonger) return Refused;
    pthread_mutex_lock(&CardsLock);
    Card* card = FindCard(device);
    int32_t result = Refused;
    if (card != nullptr && operation->alone) result = operation->Run(card, record);
    pthread_mutex_unlock(&CardsLock);
    if (card != nullptr && !operation->alone) result = operation->Run(card, record);
    return result;
}

void ReleaseCard(Card* card)
{
    card->window.store(nullptr, std::memory_order_release);
    for (LockedBlock& locked : Blocks) {
        if (locked.card == card) UnlockBlock(&locked);
    }
    if (card->backend != nullptr) card->backend->Release(card->host, &card->claim);
    card->backend = nullptr;
}

void CloseDevice(uint64_t device)
{
    pthread_mutex_lock(&CardsLock);
    Card* card = FindCard(device);
    if (card != nullptr) {
        ReleaseCard(card);
        card->used = false;
    }
    pthread_mutex_unlock(&CardsLock);
}

// --- the registers ---

// The window and the offset in it; null if there is no register at the address.
const CardWindow* FindWindow(uint64_t address, uint32_t* offset)
{
    const uint64_t index = (address - FirstWindow) >> WindowShift;
    *offset = static_cast<uint32_t>(address & (CardWindowRoom - 1));
    if (address < FirstWindow || index >= CardRoom || *offset % 4 != 0) return nullptr;
    const CardWindow* window = Cards[index].window.load(std::memory_order_acquire);
    const bool inside = window != nullptr && *offset + sizeof(uint32_t) <= window->bytes;
    return inside ? window : nullptr;
}

uint32_t ReadRegister(uint64_t address)
{
    uint32_t offset = 0, value = UINT32_MAX;
    const CardWindow* window = FindWindow(address, &offset);
    if (window == nullptr) return UINT32_MAX;
    if (window->base != nullptr) {
        value = *reinterpret_cast<volatile uint32_t*>(window->base + offset);
    } else if (pread(window->file, &value, sizeof value,
                     static_cast<off_t>(window->offset + offset)) != sizeof value) {
        value = UINT32_MAX;
    }
    // What the card has transferred is looked at behind the register that says so.
    __sync_synchronize();
    return value;
}

void WriteRegister(uint64_t address, uint32_t value)
{
    uint32_t offset = 0;
    const CardWindow* window = FindWindow(address, &offset);
    if (window == nullptr) return;
    __sync_synchronize();
    if (window->base != nullptr) {
        *reinterpret_cast<volatile uint32_t*>(window->base + offset) = value;
    } else {
        [[maybe_unused]] const ssize_t written =
            pwrite(window->file, &value, sizeof value, static_cast<off_t>(window->offset + offset));
    }
}

} // namespace

void SetCardHost(const CardHost& host)
{
    pthread_mutex_lock(&CardsLock);
    Host = host;
    pthread_mutex_unlock(&CardsLock);
}

DeviceApi LinuxCard()
{
    return {OpenDevice, ControlDevice, CloseDevice};
}

RegisterApi LinuxCardRegisters()
{
    return {ReadRegister, WriteRegister};
}
