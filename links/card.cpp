#include "links/card.h"

#include <cstdio>
#include <cstring>

#include "core/errors.h"
#include "core/open_close.h"
#include "core/record.h"
#include "platform/card_records.h"
#include "platform/system.h"

namespace {

constexpr uint32_t KzbVendorId = 4579;
constexpr uint32_t AllOnes = 0xFFFFFFFF;

// What stops the remote serializer: an operand and the control word of its cycle.
constexpr uint32_t SerializerStop = 0x20;
constexpr uint32_t SerializerStopCycle = 0x20662;

// A lock covers a little more than the pixels. The library's own block is twice
// as large as what is locked of it.
constexpr uint32_t LockSlackBytes = 512;
constexpr uint32_t OwnSlackBytes = 1024;
constexpr uint32_t PageBytes = 4096;

// -1 unless the kernel driver answered.
int32_t CallDriver(uint32_t code, void* record, uint32_t bytes, int32_t camera)
{
    const uint64_t device = CameraTable[camera].WdHandle;
    if (device == 0) return -1;
    return System.device.Control(device, code, record, bytes);
}

// A line in the kernel driver's own log.
void AddDebugLine(const WD_DEBUG_ADD& line, int32_t camera)
{
    WD_DEBUG_ADD record = line;
    record.dwLevel = WD_DebugLevel;
    record.dwSection = WD_DebugSection;
    CallDriver(WD_DebugAdd, &record, sizeof record, camera);
}

uint32_t ItemCount(const WD_CARD& card)
{
    return card.dwItems < WD_CardItems ? card.dwItems : WD_CardItems;
}

void AddDebugLines(const WD_CARD_REGISTER& registration, int32_t camera)
{
    WD_DEBUG_ADD line = {};
    snprintf(line.text, sizeof line.text, "QVN card handle %08X", registration.hCard);
    AddDebugLine(line, camera);
    snprintf(line.text, sizeof line.text, "QVN card items %u", registration.Card.dwItems);
    AddDebugLine(line, camera);
    for (uint32_t i = 0; i < ItemCount(registration.Card); ++i) {
        const WD_ITEM& item = registration.Card.Item[i];
        snprintf(line.text, sizeof line.text, "QVN item %u type %u", i, item.item);
        AddDebugLine(line, camera);
        if (item.item != WD_ItemMemory) continue;
        snprintf(line.text, sizeof line.text,
                 "QVN memory physical %08X bytes %08X translated %08X user %08X processor %08X",
                 item.dwPhysicalAddr, item.dwBytes, item.dwTransAddr, item.dwUserDirectAddr,
                 item.dwCpuPhysicalAddr);
        AddDebugLine(line, camera);
    }
}

// Finds the card and claims it. 0 or the error.
int32_t RegisterCard(WD_CARD_REGISTER* registration, int32_t camera)
{
    WD_PCI_SCAN_CARDS scan = {};
    scan.searchId = {.dwVendorId = KzbVendorId, .dwDeviceId = CameraTable[camera].CardDeviceId};
    CallDriver(WD_PciScanCards, &scan, sizeof scan, camera);
    if (static_cast<int32_t>(scan.dwCards) <= 0) return ErrorCardNotFound;

    WD_PCI_CARD_INFO info = {};
    info.pciSlot = scan.cardSlot[0];
    CallDriver(WD_PciGetCardInfo, &info, sizeof info, camera);

    if (info.Card.dwItems != 0) registration->Card = info.Card;
    CallDriver(WD_CardRegister, registration, sizeof *registration, camera);
    AddDebugLines(*registration, camera);
    return registration->hCard == 0 ? ErrorInterfaceLocked : ErrorNone;
}

void MapWindow(const WD_CARD& card, CameraRecord* record)
{
    record->CardWindow = 0;
    record->CardAddress = 0;
    record->CardMapped = 1;
    for (uint32_t i = 0; i < ItemCount(card); ++i) {
        if (card.Item[i].item != WD_ItemMemory) continue;
        record->CardWindow = card.Item[i].dwUserDirectAddr;
        record->CardAddress = card.Item[i].dwCpuPhysicalAddr;
        return;
    }
}

// Room in a lock record for the pages of `bytes`, wherever they begin.
uint32_t PagesOf(uint32_t bytes)
{
    return bytes / PageBytes + (bytes % PageBytes != 0) + 1;
}

uint32_t LockRecordBytes(uint32_t pages)
{
    const uint32_t more = pages > WD_DmaPages ? pages - WD_DmaPages : 0;
    return static_cast<uint32_t>(sizeof(WD_DMA) + more * sizeof(WD_DMA_PAGE));
}

// The card counts on from the first page's address: pages that lie apart would be
// memory that is not the library's.
bool IsOneBlock(const WD_DMA& lock, uint32_t room)
{
    const WD_DMA_PAGE* pages = lock.Page;
    for (uint32_t i = 1; i < lock.dwPages && i < room; ++i) {
        if (pages[i].dwBytes == 0) continue;
        if (pages[i].pPhysicalAddr != pages[i - 1].pPhysicalAddr + pages[i - 1].dwBytes) {
            return false;
        }
    }
    return true;
}

// Locks `bytes` at `own`, or, where that is null, in memory of the driver's own.
bool Lock(uint16_t* own, uint32_t bytes, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    WD_DMA* lock = static_cast<WD_DMA*>(record.DmaRecord);
    memset(lock, 0, record.DmaRecordBytes);
    lock->pUserAddr = reinterpret_cast<uintptr_t>(own);
    lock->dwBytes = bytes;
    lock->dwOptions = own == nullptr ? WD_DmaKernel : WD_DmaUser;
    lock->dwPages = PagesOf(bytes);
    CallDriver(WD_DMALock, lock, record.DmaRecordBytes, camera);
    if (lock->hDMA == 0) return false;
    uint16_t* buffer = own;
    if (own == nullptr) memcpy(&buffer, &lock->pUserAddr, sizeof buffer);
    if (buffer == nullptr || !IsOneBlock(*lock, PagesOf(bytes))) {
        CallDriver(WD_DMAUnlock, lock, record.DmaRecordBytes, camera);
        lock->hDMA = 0;
        return false;
    }
    record.DmaBuffer = buffer;
    record.DmaBytes = bytes;
    record.DmaAddress = lock->Page[0].pPhysicalAddr;
    memset(buffer, 0, bytes);
    return true;
}

void ReleaseDma(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    WD_DMA* lock = static_cast<WD_DMA*>(record.DmaRecord);
    if (lock != nullptr && lock->hDMA != 0) {
        CallDriver(WD_DMAUnlock, lock, record.DmaRecordBytes, camera);
    }
    System.memory.Release(record.DmaRecord);
    System.memory.Release(record.DmaMemory);
    record.DmaRecord = nullptr;
    record.DmaMemory = nullptr;
    record.DmaRecordBytes = 0;
    record.DmaBuffer = nullptr;
    record.DmaBytes = 0;
    record.DmaAddress = 0;
}

} // namespace

uint32_t ReadCard(CardRegister reg, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (record.CardMapped == 0 || record.CardWindow == 0) return AllOnes;
    return System.registers.Read(record.CardWindow + reg);
}

void WriteCard(CardRegister reg, uint32_t value, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (record.CardMapped == 0 || record.CardWindow == 0) return;
    System.registers.Write(record.CardWindow + reg, value);
}

int32_t OpenCard(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    ReleaseCard(camera);
    record.WdHandle = System.device.Open(WD_DriverName);
    if (record.WdHandle == 0) return ErrorDriverHandle;
    WD_VERSION version = {};
    CallDriver(WD_Version, &version, sizeof version, camera);
    WD_CARD_REGISTER registration = {};
    const int32_t error = RegisterCard(&registration, camera);
    if (error == ErrorNone) MapWindow(registration.Card, &record);
    return error;
}

int32_t AllocateDma(uint32_t pixels, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    ReleaseDma(camera);
    const uint64_t wanted = uint64_t{pixels} * 2 + LockSlackBytes;
    if (wanted > UINT32_MAX) return 1;
    const uint32_t bytes = static_cast<uint32_t>(wanted);

    record.DmaRecordBytes = LockRecordBytes(PagesOf(bytes));
    record.DmaRecord = System.memory.Allocate(record.DmaRecordBytes);
    if (record.DmaRecord != nullptr) {
        if (Lock(nullptr, bytes, camera)) return 0;
        record.DmaMemory = System.memory.Allocate(size_t{pixels} * 4 + OwnSlackBytes);
        if (record.DmaMemory != nullptr &&
            Lock(static_cast<uint16_t*>(record.DmaMemory), bytes, camera)) {
            return 0;
        }
    }
    ReleaseDma(camera);
    return 1;
}

void ReleaseCard(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    ReleaseDma(camera);
    if (record.WdHandle != 0) System.device.Close(record.WdHandle);
    record.WdHandle = 0;
    record.CardMapped = 0;
    record.CardWindow = 0;
}

void CloseCard(int32_t camera)
{
    if (CameraTable[camera].SerialLink != 0) {
        WriteCard(CardDataReg, SerializerStop, camera);
        WriteCard(CardControlReg, SerializerStopCycle, camera);
    } else {
        WriteCard(CardChannelReg, 0, camera);
        WriteCard(CardDataReg, 0, camera);
    }
    ReleaseCard(camera);
}

uint32_t GetKZBPCIAddress(int32_t camera)
{
    return CameraTable[camera].CardAddress;
}

uint32_t GetKZBPCIRevision(int32_t selected, int32_t camera)
{
    if (CameraTable[camera].CardMapped == 0) return 65535;
    if (IsCamera(selected)) Select(selected);
    return ReadCard(CardRevisionReg, camera) & 0xFFFF;
}
