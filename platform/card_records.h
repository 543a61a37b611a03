// The kernel driver of the interface card as its callers see it: the control
// codes and the records that go with them. Names are the driver's own; its fields
// have 32 bits but for the one pointer.
#pragma once
#include <cstddef>
#include <cstdint>

inline constexpr char WD_DriverName[] = "\\\\.\\WINDRVR6";

enum WdControlCode : uint32_t {
    WD_Version = 0x95382443,
    WD_PciScanCards = 0x9538243B,
    WD_PciGetCardInfo = 0x9538243F,
    WD_CardRegister = 0x95382673,
    WD_DebugAdd = 0x95382593,
    WD_DMALock = 0x95382407,
    WD_DMAUnlock = 0x9538240B,
    WD_Sleep = 0x9538249F,
};

inline constexpr uint32_t WD_ScanRoom = 100;
inline constexpr uint32_t WD_CardItems = 20;
inline constexpr uint32_t WD_DmaPages = 256; // in the record itself
inline constexpr uint32_t WD_ItemMemory = 2; // WD_ITEM::item
inline constexpr uint32_t WD_DmaKernel = 1;  // WD_DMA::dwOptions: the driver's memory
inline constexpr uint32_t WD_DmaUser = 4;    // WD_DMA::dwOptions: the caller's memory
inline constexpr uint32_t WD_DebugLevel = 2;
inline constexpr uint32_t WD_DebugSection = 256;

struct WD_VERSION {
    uint32_t dwVer;
    char cVer[128];
};

struct WD_PCI_ID {
    uint32_t dwVendorId, dwDeviceId;
};

struct WD_PCI_SLOT {
    uint32_t dwBus, dwSlot, dwFunction;
};

struct WD_PCI_SCAN_CARDS {
    WD_PCI_ID searchId;
    uint32_t dwCards; // 0: none found
    WD_PCI_ID cardId[WD_ScanRoom];
    WD_PCI_SLOT cardSlot[WD_ScanRoom];
};

struct WD_ITEM {
    uint32_t item; // WD_ItemMemory, or something else
    uint32_t flags[3];
    uint32_t dwPhysicalAddr, dwBytes, dwTransAddr;
    uint32_t dwUserDirectAddr; // for RegisterApi; 0: not mapped
    uint32_t dwCpuPhysicalAddr;
    uint32_t bar;
};

struct WD_CARD {
    uint32_t dwItems;
    WD_ITEM Item[WD_CardItems];
};

struct WD_PCI_CARD_INFO {
    WD_PCI_SLOT pciSlot;
    WD_CARD Card;
};

struct WD_CARD_REGISTER {
    WD_CARD Card;
    uint32_t fCheckLockOnly;
    uint32_t hCard; // 0: in use elsewhere
    uint32_t options[34];
};

struct WD_DMA_PAGE {
    uint32_t pPhysicalAddr, dwBytes;
};

// A record for more pages than the array holds is longer by what these need.
struct WD_DMA {
    uint32_t hDMA; // 0: not locked
    uint32_t pad;
    uint64_t pUserAddr;
    uint32_t pKernelAddr;
    uint32_t dwBytes;
    uint32_t dwOptions;
    uint32_t dwPages; // before: room in Page; after: entries filled
    uint32_t hCard;
    WD_DMA_PAGE Page[WD_DmaPages];
};

struct WD_SLEEP {
    uint32_t dwMicroSeconds, dwOptions;
};

struct WD_DEBUG_ADD {
    char text[256];
    uint32_t dwLevel, dwSection;
};

static_assert(sizeof(WD_VERSION) == 132);
static_assert(sizeof(WD_PCI_SCAN_CARDS) == 2012);
static_assert(offsetof(WD_PCI_SCAN_CARDS, cardSlot) == 812);
static_assert(sizeof(WD_ITEM) == 40 && offsetof(WD_ITEM, dwPhysicalAddr) == 16);
static_assert(sizeof(WD_CARD) == 804);
static_assert(sizeof(WD_PCI_CARD_INFO) == 816);
static_assert(sizeof(WD_CARD_REGISTER) == 948 && offsetof(WD_CARD_REGISTER, hCard) == 808);
static_assert(sizeof(WD_DMA) == 2088 && offsetof(WD_DMA, pUserAddr) == 8);
static_assert(offsetof(WD_DMA, hCard) == 32 && offsetof(WD_DMA, Page) == 36);
static_assert(sizeof(WD_SLEEP) == 8);
static_assert(sizeof(WD_DEBUG_ADD) == 264);
