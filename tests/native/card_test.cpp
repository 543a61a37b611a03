// The card's calls on a folder that looks like the kernel's: what is found, what
// is refused, and windows that are plain files. Devices that move data stand in
// the guest of scripts/qemu.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "platform/card_records.h"
#include "platform/linux/card.h"
#include "platform/system.h"

namespace {

namespace fs = std::filesystem;

constexpr uint32_t AllOnes = 0xFFFFFFFF;
constexpr char FirstCard[] = "0000:03:00.0";
constexpr char SecondCard[] = "0000:03:01.0";

// One window of a page at 0xFE000000, as the kernel writes it.
constexpr char OneWindow[] = "0x00000000fe000000 0x00000000fe000fff 0x0000000000040200\n"
                             "0x0000000000000000 0x0000000000000000 0x0000000000000000\n";

class Card : public testing::Test {
protected:
    void SetUp() override
    {
        root = fs::path(testing::TempDir()) / ("qvn_card_" + std::to_string(getpid()));
        fs::remove_all(root);
        fs::create_directories(Devices());
        fs::create_directories(root / "dev" / "vfio");
        sys = (root / "sys").string();
        dev = (root / "dev").string();
        SetCardHost({sys.c_str(), dev.c_str(), LinuxCardHost.cards, true});
        UseNativeSystem();
    }

    void TearDown() override
    {
        for (uint64_t device = 1; device <= 16; ++device) System.device.Close(device);
        SetCardHost(LinuxCardHost);
        fs::remove_all(root);
    }

    fs::path Devices() const { return root / "sys" / "bus" / "pci" / "devices"; }

    void Write(const fs::path& path, const std::string& text) const
    {
        std::ofstream(path, std::ios::binary) << text;
    }

    std::string Read(const std::string& name, const char* file) const
    {
        std::ifstream stream(Devices() / name / file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    void AddDevice(const std::string& name, const std::string& vendor, const std::string& device,
                   const std::string& resource = OneWindow) const
    {
        const fs::path folder = Devices() / name;
        fs::create_directories(folder);
        Write(folder / "vendor", vendor + "\n");
        Write(folder / "device", device + "\n");
        Write(folder / "resource", resource);
        Write(folder / "resource0", std::string(4096, '\0'));
        Write(folder / "config", std::string(64, '\0'));
        Write(folder / "enable", "");
    }

    void AddCard(const std::string& name = FirstCard, const std::string& device = "0x07d1") const
    {
        AddDevice(name, "0x11e3", device);
    }

    static uint64_t Open() { return System.device.Open("\\\\.\\WINDRVR6"); }

    template <typename Record> static int32_t Call(uint64_t device, uint32_t code, Record* record)
    {
        return System.device.Control(device, code, record, sizeof *record);
    }

    static WD_PCI_SCAN_CARDS Scan(uint64_t device, uint32_t number = 2001)
    {
        WD_PCI_SCAN_CARDS scan = {};
        scan.searchId = {0x11E3, number};
        EXPECT_EQ(Call(device, WD_PciScanCards, &scan), 0);
        return scan;
    }

    static WD_PCI_CARD_INFO Info(uint64_t device, uint32_t number = 2001)
    {
        WD_PCI_CARD_INFO info = {};
        info.pciSlot = Scan(device, number).cardSlot[0];
        EXPECT_EQ(Call(device, WD_PciGetCardInfo, &info), 0);
        return info;
    }

    static WD_CARD_REGISTER Register(uint64_t device, uint32_t number = 2001)
    {
        WD_CARD_REGISTER wanted = {};
        wanted.Card = Info(device, number).Card;
        EXPECT_EQ(Call(device, WD_CardRegister, &wanted), 0);
        return wanted;
    }

    static uint32_t Base(const WD_CARD_REGISTER& registered)
    {
        return registered.Card.Item[0].dwUserDirectAddr;
    }

    fs::path root;
    std::string sys, dev;
};

} // namespace

TEST_F(Card, DriverIsAbsentWithoutVfioAndWithoutACard)
{
    EXPECT_EQ(Open(), 0u);
    AddDevice(FirstCard, "0x11e3", "0x0001");
    AddDevice(SecondCard, "0x8086", "0x07d1");
    EXPECT_EQ(Open(), 0u) << "neither is a card of ours";
}

TEST_F(Card, DriverAnswersWhereACardMayBeMapped)
{
    AddCard();
    EXPECT_NE(Open(), 0u);
    EXPECT_EQ(System.device.Open("\\\\.\\WINDRVR7"), 0u);
    EXPECT_EQ(System.device.Open(""), 0u);
}

TEST_F(Card, CardWithoutAWindowFileMayNotBeMapped)
{
    AddCard();
    fs::remove(Devices() / FirstCard / "resource0");
    EXPECT_EQ(Open(), 0u);
}

TEST_F(Card, DriverAnswersWithVfioAloneAndFindsNoCard)
{
    Write(root / "dev" / "vfio" / "vfio", "");
    const uint64_t device = Open();
    ASSERT_NE(device, 0u);
    EXPECT_EQ(Scan(device).dwCards, 0u);
}

TEST_F(Card, VersionIsANumberAndAText)
{
    AddCard();
    WD_VERSION version;
    memset(&version, 0xFF, sizeof version);
    EXPECT_EQ(Call(Open(), WD_Version, &version), 0);
    EXPECT_EQ(version.dwVer, 600u);
    const char* end = std::find(version.cVer, std::end(version.cVer), '\0');
    ASSERT_NE(end, std::end(version.cVer));
    EXPECT_EQ(std::string(version.cVer).rfind("qvn", 0), 0u);
}

TEST_F(Card, RecordsOfAnotherSizeAreRefused)
{
    AddCard();
    const uint64_t device = Open();
    struct Expected {
        uint32_t code, bytes;
        bool mayBeLonger;
    };
    constexpr Expected all[] = {
        {0x95382443, 132, false}, {0x9538243B, 2012, false}, {0x9538243F, 816, false},
        {0x95382673, 948, false}, {0x95382593, 264, false},  {0x95382407, 2088, true},
        {0x9538240B, 2088, true}, {0x9538249F, 8, false},
    };
    alignas(8) uint8_t record[4096], before[4096];
    for (const Expected& call : all) {
        memset(record, 0, sizeof record);
        memcpy(before, record, sizeof record);
        EXPECT_EQ(System.device.Control(device, call.code, record, call.bytes - 1), -1)
            << call.code;
        if (!call.mayBeLonger) {
            EXPECT_EQ(System.device.Control(device, call.code, record, call.bytes + 1), -1);
        }
        EXPECT_EQ(System.device.Control(device, call.code, nullptr, call.bytes), -1);
        EXPECT_EQ(memcmp(record, before, sizeof record), 0) << "refused and untouched";
    }
    EXPECT_EQ(System.device.Control(device, 0x95382447, record, sizeof record), -1)
        << "no such code";
}

TEST_F(Card, DmaRecordOfMorePagesIsTaken)
{
    AddCard();
    alignas(8) uint8_t record[2088 + 8 * 100] = {};
    EXPECT_EQ(System.device.Control(Open(), WD_DMALock, record, sizeof record), 0);
}

TEST_F(Card, ClosedAndUnknownDevicesAnswerNothing)
{
    AddCard();
    const uint64_t device = Open();
    WD_VERSION version = {};
    System.device.Close(device);
    EXPECT_EQ(Call(device, WD_Version, &version), -1);
    EXPECT_EQ(Call(0, WD_Version, &version), -1);
    EXPECT_EQ(Call(17, WD_Version, &version), -1);
    EXPECT_EQ(Call(uint64_t{1} << 40, WD_Version, &version), -1);
    EXPECT_EQ(version.dwVer, 0u);
    System.device.Close(device);
}

TEST_F(Card, OpenDevicesAreSixteenAtMost)
{
    AddCard();
    uint64_t devices[16];
    for (uint64_t& device : devices) {
        device = Open();
        EXPECT_NE(device, 0u);
    }
    EXPECT_EQ(Open(), 0u);
    System.device.Close(devices[7]);
    EXPECT_EQ(Open(), devices[7]);
}

TEST_F(Card, ScanListsTheWantedCardsByAddress)
{
    AddCard("0000:0a:01.0");
    AddCard("0001:02:00.0");
    AddCard("0000:03:1f.7");
    AddCard("0000:03:02.0", "0x07d2");
    AddDevice("0000:00:00.0", "0x8086", "0x07d1");
    const WD_PCI_SCAN_CARDS scan = Scan(Open());
    ASSERT_EQ(scan.dwCards, 3u);
    const WD_PCI_SLOT expected[] = {{0x003, 0x1F, 7}, {0x00A, 0x01, 0}, {0x102, 0x00, 0}};
    for (uint32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(scan.cardId[i].dwVendorId, 0x11E3u);
        EXPECT_EQ(scan.cardId[i].dwDeviceId, 2001u);
        EXPECT_EQ(memcmp(&scan.cardSlot[i], &expected[i], sizeof expected[i]), 0) << i;
    }
}

TEST_F(Card, FolderEntriesThatAreNoDevicesAreLeftOut)
{
    AddCard();
    AddCard("rubbish");
    AddCard("0000:03:00.0x");
    AddCard("0000:3:00.0");
    AddCard(" 000:03:01.0");
    AddCard("00000000000000000000:03:01.0");
    AddDevice(SecondCard, "", "0x07d1");
    AddDevice("0000:03:02.0", "0x11e3", "cards");
    EXPECT_EQ(Scan(Open()).dwCards, 1u);
}

TEST_F(Card, ScanStopsWhereTheRecordEnds)
{
    char name[PciNameRoom];
    for (uint32_t i = 0; i < 120; ++i) {
        PrintPciName({0, i, 0, 0}, name);
        AddCard(name);
    }
    const WD_PCI_SCAN_CARDS scan = Scan(Open());
    EXPECT_EQ(scan.dwCards, 100u);
    EXPECT_EQ(scan.cardSlot[99].dwBus, 99u);
}

TEST_F(Card, InfoHasAnItemForEachBar)
{
    AddDevice(FirstCard, "0x11e3", "0x07d1",
              "0x000000000000e000 0x000000000000e0ff 0x0000000000040101\n"
              "0x0000000000000000 0x0000000000000000 0x0000000000000000\n"
              "0x00000000fe000000 0x00000000fe0001ff 0x0000000000040200\n"
              "0x0000004000000000 0x00000043ffffffff 0x0000000000140204\n");
    fs::rename(Devices() / FirstCard / "resource0", Devices() / FirstCard / "resource2");
    const WD_CARD card = Info(Open()).Card;
    ASSERT_EQ(card.dwItems, 3u);
    EXPECT_EQ(card.Item[0].item, 3u) << "ports";
    EXPECT_EQ(card.Item[0].dwPhysicalAddr, 0xE000u);
    EXPECT_EQ(card.Item[0].dwBytes, 256u);
    EXPECT_EQ(card.Item[1].item, 2u);
    EXPECT_EQ(card.Item[1].dwPhysicalAddr, 0xFE000000u);
    EXPECT_EQ(card.Item[1].dwCpuPhysicalAddr, 0xFE000000u);
    EXPECT_EQ(card.Item[1].dwBytes, 512u);
    EXPECT_EQ(card.Item[1].dwUserDirectAddr, 0u) << "not mapped yet";
    EXPECT_EQ(card.Item[2].dwBytes, AllOnes) << "16 GiB do not fit";
}

TEST_F(Card, RubbishInTheResourceFileIsNoItem)
{
    AddCard();
    const uint64_t device = Open();
    for (const std::string& text :
         {std::string(), std::string("rubbish"), std::string("0x1000 0x0 0x200\n"),
          std::string("0xfe000000 0xfe000fff\n"), std::string(5000, '\n'),
          std::string(5000, 'f')}) {
        Write(Devices() / FirstCard / "resource", text);
        EXPECT_EQ(Info(device).Card.dwItems, 0u) << text.substr(0, 20);
    }
}

TEST_F(Card, RegistersAreThoseOfTheCard)
{
    AddCard();
    const WD_CARD_REGISTER registered = Register(Open());
    ASSERT_NE(registered.hCard, 0u);
    const uint64_t base = Base(registered);
    ASSERT_NE(base, 0u);
    System.registers.Write(base + 276, 0x12345678);
    System.registers.Write(base + 4092, 0xA1B2C3D4);
    EXPECT_EQ(System.registers.Read(base + 276), 0x12345678u);
    EXPECT_EQ(System.registers.Read(base + 272), 0u);
    const std::string window = Read(FirstCard, "resource0");
    EXPECT_EQ(window.substr(276, 4), "\x78\x56\x34\x12");
    EXPECT_EQ(window.substr(4092, 4), "\xD4\xC3\xB2\xA1");
}

TEST_F(Card, WindowMayBeginWithinAPage)
{
    AddDevice(FirstCard, "0x11e3", "0x07d1", "0xfe000200 0xfe0003ff 0x40200\n");
    const uint64_t base = Base(Register(Open()));
    System.registers.Write(base + 4, 0x12345678);
    EXPECT_EQ(Read(FirstCard, "resource0").substr(0x204, 4), "\x78\x56\x34\x12");
    System.registers.Write(base + 0x200, 1);
    EXPECT_EQ(System.registers.Read(base + 0x200), AllOnes) << "behind the window";
}

TEST_F(Card, AddressesOutsideAWindowReadAsAllOnes)
{
    AddCard();
    const uint64_t device = Open();
    const uint64_t base = Base(Register(device));
    for (const uint64_t address :
         {base + 4096, base + 1, base + 4094, base - 4, base + (uint64_t{1} << 32), uint64_t{0},
          uint64_t{276}, ~uint64_t{3}, base + (1 << 24)}) {
        System.registers.Write(address, 1);
        EXPECT_EQ(System.registers.Read(address), AllOnes) << address;
    }
    EXPECT_EQ(Read(FirstCard, "resource0"), std::string(4096, '\0'));
    System.device.Close(device);
    EXPECT_EQ(System.registers.Read(base), AllOnes) << "closed";
}

TEST_F(Card, CardOfAnotherProgramIsLocked)
{
    AddCard();
    const uint64_t device = Open();
    const int other = open((Devices() / FirstCard / "resource0").c_str(), O_RDWR);
    ASSERT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(Register(device).hCard, 0u);
    EXPECT_EQ(Base(Register(device)), 0u);
    close(other);
    EXPECT_NE(Register(device).hCard, 0u) << "the other one is gone";
}

TEST_F(Card, CardOfAKernelDriverIsLocked)
{
    AddCard();
    fs::create_symlink("../../bus/pci/drivers/other", Devices() / FirstCard / "driver");
    EXPECT_EQ(Register(Open()).hCard, 0u);
}

TEST_F(Card, CardOfAnotherCameraIsLockedUntilItCloses)
{
    AddCard();
    const uint64_t first = Open(), second = Open();
    const uint32_t handle = Register(first).hCard;
    ASSERT_NE(handle, 0u);
    EXPECT_EQ(Register(second).hCard, 0u);
    EXPECT_EQ(Register(first).hCard, handle) << "its own";
    System.device.Close(first);
    EXPECT_NE(Register(second).hCard, 0u);
}

TEST_F(Card, TwoCardsHaveTwoWindows)
{
    AddCard(FirstCard, "0x07d1");
    AddCard(SecondCard, "0x07d2");
    const uint64_t one = Base(Register(Open(), 2001)), two = Base(Register(Open(), 2002));
    System.registers.Write(one, 1);
    System.registers.Write(two, 2);
    EXPECT_EQ(System.registers.Read(one), 1u);
    EXPECT_EQ(Read(FirstCard, "resource0")[0], 1);
    EXPECT_EQ(Read(SecondCard, "resource0")[0], 2);
}

TEST_F(Card, RegisterNeedsACardThatWasLookedAt)
{
    AddCard();
    WD_CARD_REGISTER wanted = {};
    EXPECT_EQ(Call(Open(), WD_CardRegister, &wanted), 0);
    EXPECT_EQ(wanted.hCard, 0u);
}

TEST_F(Card, ItemCountBeyondTheRecordIsCut)
{
    AddCard();
    const uint64_t device = Open();
    Info(device);
    WD_CARD_REGISTER wanted = {};
    wanted.Card.dwItems = AllOnes;
    EXPECT_EQ(Call(device, WD_CardRegister, &wanted), 0);
    EXPECT_NE(wanted.hCard, 0u);
}

TEST_F(Card, RegisteredCardAnswersInMemoryAndIsNoBusMaster)
{
    AddCard();
    const uint64_t device = Open();
    Write(Devices() / FirstCard / "config", std::string("\0\0\0\0\x04\x01", 6));
    Register(device);
    EXPECT_EQ(Read(FirstCard, "config").substr(4, 2), "\x02\x01");
    EXPECT_EQ(Read(FirstCard, "enable"), "1");
    System.device.Close(device);
    EXPECT_EQ(Read(FirstCard, "enable"), "0");
}

TEST_F(Card, MemoryOfTheCallerCannotBeLockedWithoutVfio)
{
    AddCard();
    const uint64_t device = Open();
    Register(device);
    char buffer[8192] = {};
    WD_DMA dma = {};
    dma.pUserAddr = reinterpret_cast<uintptr_t>(buffer);
    dma.dwBytes = sizeof buffer;
    dma.dwOptions = WD_DmaUser;
    EXPECT_EQ(Call(device, WD_DMALock, &dma), 0);
    EXPECT_EQ(dma.hDMA, 0u);
}

TEST_F(Card, OneHugePageIsTheMostWithoutVfio)
{
    AddCard();
    const uint64_t device = Open();
    Register(device);
    WD_DMA dma = {};
    dma.dwOptions = WD_DmaKernel;
    for (const uint32_t bytes : {(2u << 20) + 1, AllOnes, 0u}) {
        dma.dwBytes = bytes;
        EXPECT_EQ(Call(device, WD_DMALock, &dma), 0);
        EXPECT_EQ(dma.hDMA, 0u) << bytes;
    }
}

TEST_F(Card, NothingIsLockedForACardThatIsNotOurs)
{
    AddCard();
    WD_DMA dma = {};
    dma.dwBytes = 512;
    dma.dwOptions = WD_DmaKernel;
    EXPECT_EQ(Call(Open(), WD_DMALock, &dma), 0);
    EXPECT_EQ(dma.hDMA, 0u);
}

TEST_F(Card, UnlockingWhatIsNotLockedIsRefused)
{
    AddCard();
    const uint64_t device = Open();
    Register(device);
    WD_DMA dma = {};
    for (const uint32_t handle : {0u, 1u, 32u, 33u, AllOnes}) {
        dma.hDMA = handle;
        EXPECT_EQ(Call(device, WD_DMAUnlock, &dma), -1) << handle;
    }
}

TEST_F(Card, CardThatCannotBePassedThroughIsMappedByItsFiles)
{
    AddCard();
    Write(root / "dev" / "vfio" / "vfio", "");
    Write(Devices() / FirstCard / "driver_override", "");
    Write(root / "sys" / "bus" / "pci" / "drivers_probe", "");
    fs::create_symlink("../../kernel/iommu_groups/7", Devices() / FirstCard / "iommu_group");
    EXPECT_NE(Base(Register(Open())), 0u);
}

TEST_F(Card, CardThatIsPassedThroughIsNeverMappedByItsFiles)
{
    AddCard();
    fs::create_symlink("../../bus/pci/drivers/vfio-pci", Devices() / FirstCard / "driver");
    const uint64_t device = Open();
    EXPECT_EQ(Register(device).hCard, 0u) << "no group";
    fs::create_symlink("../../kernel/iommu_groups/7", Devices() / FirstCard / "iommu_group");
    EXPECT_EQ(Register(device).hCard, 0u) << "no such group file";
    Write(root / "dev" / "vfio" / "7", "");
    Write(root / "dev" / "vfio" / "vfio", "");
    EXPECT_EQ(Register(device).hCard, 0u) << "no group behind the file";
}

TEST_F(Card, SleepIsTheClocks)
{
    static uint32_t slept;
    AddCard();
    System.clock.SleepMicroseconds = [](uint32_t microseconds) { slept = microseconds; };
    WD_SLEEP sleep = {10, 0};
    EXPECT_EQ(Call(Open(), WD_Sleep, &sleep), 0);
    EXPECT_EQ(slept, 10u);
    UseNativeSystem();
}

TEST_F(Card, DebugLinesAreTaken)
{
    AddCard();
    WD_DEBUG_ADD line = {"text", 2, 256};
    EXPECT_EQ(Call(Open(), WD_DebugAdd, &line), 0);
}

// For the thread sanitizer: each camera has its own thread and card.
TEST_F(Card, CamerasOpenAndCloseOnThreadsOfTheirOwn)
{
    constexpr uint32_t cards = 4;
    char name[PciNameRoom];
    for (uint32_t i = 0; i < cards; ++i) {
        PrintPciName({0, 3, i, 0}, name);
        AddCard(name, std::to_string(2001 + i));
    }
    std::vector<std::thread> cameras;
    for (uint32_t i = 0; i < cards; ++i) {
        cameras.emplace_back([i] {
            for (uint32_t round = 0; round < 20; ++round) {
                const uint64_t device = Open();
                const uint64_t base = Base(Register(device, 2001 + i));
                EXPECT_NE(base, 0u);
                System.registers.Write(base + 4 * i, round);
                EXPECT_EQ(System.registers.Read(base + 4 * i), round);
                System.device.Close(device);
            }
        });
    }
    for (std::thread& camera : cameras) camera.join();
}
