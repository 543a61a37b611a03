// The card's calls on devices that move data: the "edu" devices of the virtual
// machine, which have a window of 1 MiB, some registers, and a buffer of 4 KiB
// that a transfer fills or empties. The first stands alone, the other two behind
// one bridge, so that the machine cannot keep them apart.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "platform/card_records.h"
#include "platform/linux/card.h"
#include "platform/system.h"
#include "tests/native/nobody.h"

namespace {

constexpr uint32_t Vendor = 0x1234, Device = 0x11E8;
constexpr CardHost EduHost = {"/sys", "/dev", {Vendor, Device, Device}, true};

// Registers of the device, and the value of the first.
constexpr uint32_t Identity = 0x00, Inverse = 0x04;
constexpr uint32_t Source = 0x80, Target = 0x88, Count = 0x90, Command = 0x98;
constexpr uint32_t IdentityValue = 0x010000ED;
constexpr uint32_t DeviceBuffer = 0x40000;
constexpr uint32_t Run = 1, ToMemory = 2;
constexpr uint32_t Bytes = 2048;

struct Edu {
    uint64_t device;
    uint64_t base;
    uint32_t hCard;
};

uint64_t OpenDriver()
{
    return System.device.Open(WD_DriverName);
}

template <typename Record> int32_t Call(uint64_t device, uint32_t code, Record* record)
{
    return System.device.Control(device, code, record, sizeof *record);
}

WD_PCI_SCAN_CARDS Scan(uint64_t device, uint32_t vendor, uint32_t number)
{
    WD_PCI_SCAN_CARDS scan = {};
    scan.searchId = {vendor, number};
    EXPECT_EQ(Call(device, WD_PciScanCards, &scan), 0);
    return scan;
}

// The calls with which a camera takes the n-th of its cards.
Edu OpenEdu(uint32_t index)
{
    Edu edu = {OpenDriver(), 0, 0};
    EXPECT_NE(edu.device, 0u);
    const WD_PCI_SCAN_CARDS scan = Scan(edu.device, Vendor, Device);
    EXPECT_EQ(scan.dwCards, 3u);
    WD_PCI_CARD_INFO info = {};
    info.pciSlot = scan.cardSlot[index];
    EXPECT_EQ(Call(edu.device, WD_PciGetCardInfo, &info), 0);
    EXPECT_EQ(info.Card.dwItems, 1u);
    EXPECT_EQ(info.Card.Item[0].item, WD_ItemMemory);
    EXPECT_EQ(info.Card.Item[0].dwBytes, 1u << 20);
    EXPECT_NE(info.Card.Item[0].dwCpuPhysicalAddr, 0u);
    WD_CARD_REGISTER wanted = {};
    wanted.Card = info.Card;
    EXPECT_EQ(Call(edu.device, WD_CardRegister, &wanted), 0);
    edu.hCard = wanted.hCard;
    edu.base = wanted.Card.Item[0].dwUserDirectAddr;
    return edu;
}

uint32_t Read(const Edu& edu, uint32_t offset)
{
    return System.registers.Read(edu.base + offset);
}

void Write(const Edu& edu, uint32_t offset, uint32_t value)
{
    System.registers.Write(edu.base + offset, value);
}

void Start(const Edu& edu, uint32_t source, uint32_t target, uint32_t command)
{
    Write(edu, Source, source);
    Write(edu, Target, target);
    Write(edu, Count, Bytes);
    Write(edu, Command, command | Run);
}

bool Transfer(const Edu& edu, uint32_t source, uint32_t target, uint32_t command)
{
    Start(edu, source, target, command);
    for (int round = 0; round < 2000; ++round) {
        if ((Read(edu, Command) & Run) == 0) return true;
        System.clock.Sleep(5);
    }
    return false;
}

WD_DMA Lock(const Edu& edu, uint32_t bytes, uint32_t options, void* memory)
{
    WD_DMA dma = {};
    dma.pUserAddr = reinterpret_cast<uintptr_t>(memory);
    dma.dwBytes = bytes;
    dma.dwOptions = options;
    dma.dwPages = WD_DmaPages;
    EXPECT_EQ(Call(edu.device, WD_DMALock, &dma), 0);
    return dma;
}

uint8_t* MemoryOf(const WD_DMA& dma)
{
    return reinterpret_cast<uint8_t*>(dma.pUserAddr);
}

void Fill(uint8_t* memory, uint8_t seed)
{
    for (uint32_t i = 0; i < Bytes; ++i) memory[i] = static_cast<uint8_t>(i * 7 + (i >> 8) + seed);
}

// From the first half of the block to the device and back to the second.
void ExpectRoundTrip(const Edu& edu, const WD_DMA& dma, uint8_t seed)
{
    uint8_t* memory = MemoryOf(dma);
    const uint32_t bus = dma.Page[0].pPhysicalAddr;
    ASSERT_NE(bus, 0u);
    Fill(memory, seed);
    memset(memory + Bytes, 0, Bytes);
    ASSERT_TRUE(Transfer(edu, bus, DeviceBuffer, 0));
    ASSERT_TRUE(Transfer(edu, DeviceBuffer, bus + Bytes, ToMemory));
    EXPECT_EQ(memcmp(memory, memory + Bytes, Bytes), 0);
}

void ExpectRegisters(const Edu& edu)
{
    EXPECT_EQ(Read(edu, Identity), IdentityValue);
    Write(edu, Inverse, 0x12345678);
    EXPECT_EQ(Read(edu, Inverse), ~0x12345678u);
    EXPECT_EQ(System.registers.Read(edu.base + (1 << 20)), 0xFFFFFFFFu) << "behind the window";
}

void ExpectLock(const WD_DMA& dma, uint32_t bytes)
{
    ASSERT_NE(dma.hDMA, 0u);
    ASSERT_NE(dma.pUserAddr, 0u);
    EXPECT_EQ(dma.dwPages, 1u);
    EXPECT_EQ(dma.Page[0].dwBytes, bytes);
}

// Runs a test of this program in a process that never had the card.
int InAnotherProcess(const std::string& test)
{
    char path[256] = {};
    if (readlink("/proc/self/exe", path, sizeof path - 1) < 0) return -1;
    const std::string options = " --gtest_also_run_disabled_tests --gtest_filter=";
    return system((path + options + test + " >/dev/null").c_str());
}

std::string FirstLine(const std::string& path)
{
    std::string line;
    std::ifstream stream(path);
    std::getline(stream, line);
    return line;
}

// The folder of the first card.
std::string CardFolder()
{
    const uint64_t device = OpenDriver();
    const WD_PCI_SLOT slot = Scan(device, Vendor, Device).cardSlot[0];
    System.device.Close(device);
    char name[PciNameRoom];
    PrintPciName({0, slot.dwBus, slot.dwSlot, slot.dwFunction}, name);
    return std::string("/sys/bus/pci/devices/") + name;
}

bool IsBusMaster()
{
    std::ifstream config(CardFolder() + "/config", std::ios::binary);
    char command = 0;
    config.seekg(4).read(&command, 1);
    return (command & 4) != 0;
}

class GuestCard : public testing::Test {
protected:
    void SetUp() override
    {
        UseNativeSystem();
        SetCardHost(EduHost);
    }

    void TearDown() override
    {
        for (uint64_t device = 1; device <= 16; ++device) System.device.Close(device);
    }
};

using GuestSysfs = GuestCard;
using GuestVfio = GuestCard;
using GuestBoth = GuestCard;

} // namespace

// --- both ways ---

TEST_F(GuestBoth, WindowIsThatOfTheDevice)
{
    const Edu edu = OpenEdu(0);
    ASSERT_NE(edu.hCard, 0u);
    ASSERT_NE(edu.base, 0u);
    ExpectRegisters(edu);
    System.device.Close(edu.device);
    EXPECT_EQ(Read(edu, Identity), 0xFFFFFFFFu) << "closed";
}

TEST_F(GuestBoth, DriversMemoryTravelsBothWays)
{
    const Edu edu = OpenEdu(0);
    const WD_DMA dma = Lock(edu, 2 * Bytes + 512, WD_DmaKernel, nullptr);
    ExpectLock(dma, 2 * Bytes + 512);
    for (uint32_t i = 0; i < 2 * Bytes + 512; ++i) ASSERT_EQ(MemoryOf(dma)[i], 0) << "all zero";
    ExpectRoundTrip(edu, dma, 1);
}

TEST_F(GuestBoth, CardIsBusMasterWhileABlockIsLocked)
{
    const Edu edu = OpenEdu(0);
    EXPECT_FALSE(IsBusMaster());
    WD_DMA first = Lock(edu, 512, WD_DmaKernel, nullptr);
    WD_DMA second = Lock(edu, 512, WD_DmaKernel, nullptr);
    EXPECT_TRUE(IsBusMaster());
    EXPECT_EQ(Call(edu.device, WD_DMAUnlock, &first), 0);
    EXPECT_TRUE(IsBusMaster());
    EXPECT_EQ(Call(edu.device, WD_DMAUnlock, &second), 0);
    EXPECT_FALSE(IsBusMaster());
    Lock(edu, 512, WD_DmaKernel, nullptr);
    System.device.Close(edu.device);
    EXPECT_FALSE(IsBusMaster());
}

TEST_F(GuestBoth, UnlockedMemoryIsNotReached)
{
    const Edu edu = OpenEdu(0);
    WD_DMA dma = Lock(edu, 2 * Bytes, WD_DmaKernel, nullptr);
    const uint32_t bus = dma.Page[0].pPhysicalAddr;
    ASSERT_NE(dma.hDMA, 0u);
    Start(edu, DeviceBuffer, bus, ToMemory);
    EXPECT_EQ(Call(edu.device, WD_DMAUnlock, &dma), 0);
    EXPECT_EQ(Call(edu.device, WD_DMAUnlock, &dma), -1) << "twice";
    System.clock.Sleep(300);
    dma = Lock(edu, 2 * Bytes, WD_DmaKernel, nullptr);
    ExpectRoundTrip(edu, dma, 2);
}

TEST_F(GuestBoth, CardInUseIsRefusedToAnotherProcess)
{
    const Edu edu = OpenEdu(0);
    ASSERT_NE(edu.hCard, 0u);
    EXPECT_EQ(InAnotherProcess("GuestCard.DISABLED_IsLocked"), 0);
    EXPECT_EQ(OpenEdu(0).hCard, 0u) << "and to another camera";
    System.device.Close(edu.device);
    EXPECT_NE(InAnotherProcess("GuestCard.DISABLED_IsLocked"), 0) << "it is free again";
    EXPECT_NE(OpenEdu(0).hCard, 0u);
}

// Only for the process that is started above.
TEST_F(GuestCard, DISABLED_IsLocked)
{
    const Edu edu = OpenEdu(0);
    EXPECT_EQ(edu.hCard, 0u);
    EXPECT_EQ(edu.base, 0u);
    EXPECT_EQ(Read(edu, Identity), 0xFFFFFFFFu);
}

TEST_F(GuestBoth, ThreeCardsWorkSideBySide)
{
    Edu cards[3];
    WD_DMA blocks[3];
    for (uint32_t i = 0; i < 3; ++i) {
        cards[i] = OpenEdu(i);
        ASSERT_NE(cards[i].hCard, 0u) << i;
        Write(cards[i], Inverse, i);
        blocks[i] = Lock(cards[i], 2 * Bytes, WD_DmaKernel, nullptr);
    }
    for (uint32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(Read(cards[i], Inverse), ~i);
        ExpectRoundTrip(cards[i], blocks[i], static_cast<uint8_t>(3 + i));
    }
    System.device.Close(cards[1].device);
    ExpectRoundTrip(cards[2], blocks[2], 6);
}

TEST_F(GuestBoth, OpenAndCloseLeaveNothing)
{
    for (int round = 0; round < 20; ++round) {
        const Edu edu = OpenEdu(0);
        ASSERT_NE(edu.hCard, 0u) << round;
        ASSERT_NE(Lock(edu, 2 * Bytes, WD_DmaKernel, nullptr).hDMA, 0u) << round;
        System.device.Close(edu.device);
    }
}

// --- by the device's files: no VFIO yet ---

TEST_F(GuestSysfs, WithoutVfioAndWithoutACardTheDriverIsAbsent)
{
    SetCardHost(LinuxCardHost);
    EXPECT_EQ(OpenDriver(), 0u);
}

TEST_F(GuestSysfs, NobodyMayNotMapACard)
{
    EXPECT_EQ(AsNobody([] {
                  UseNativeSystem();
                  SetCardHost(EduHost);
                  return OpenDriver() == 0 ? 0 : 1;
              }),
              0);
}

TEST_F(GuestSysfs, CallersMemoryCannotBeLocked)
{
    std::vector<uint8_t> memory(8192);
    EXPECT_EQ(Lock(OpenEdu(0), 4096, WD_DmaUser, memory.data()).hDMA, 0u);
}

TEST_F(GuestSysfs, LocksEndWithTheHugePages)
{
    const Edu edu = OpenEdu(0);
    uint32_t locked = 0;
    while (locked < 8 && Lock(edu, 2 << 20, WD_DmaKernel, nullptr).hDMA != 0) ++locked;
    EXPECT_EQ(locked, 4u) << "as many as the guest has";
    EXPECT_EQ(Lock(edu, 512, WD_DmaKernel, nullptr).hDMA, 0u);
    System.device.Close(edu.device);
    EXPECT_NE(Lock(OpenEdu(0), 512, WD_DmaKernel, nullptr).hDMA, 0u);
}

TEST_F(GuestSysfs, TranslatedBusAddressesAreNotGivenOut)
{
    const std::string type = CardFolder() + "/iommu_group/type";
    ASSERT_EQ(FirstLine(type), "identity");
    std::ofstream(type) << "DMA";
    ASSERT_EQ(FirstLine(type), "DMA");
    EXPECT_EQ(Lock(OpenEdu(0), 512, WD_DmaKernel, nullptr).hDMA, 0u);
    EXPECT_NE(Lock(OpenEdu(1), 512, WD_DmaKernel, nullptr).hDMA, 0u);
    std::ofstream(type) << "identity";
    EXPECT_EQ(FirstLine(type), "identity");
}

// --- by VFIO ---

TEST_F(GuestVfio, WithoutACardTheDriverAnswersAndFindsNone)
{
    SetCardHost(LinuxCardHost);
    const uint64_t device = OpenDriver();
    ASSERT_NE(device, 0u);
    EXPECT_EQ(Scan(device, 0x11E3, 2001).dwCards, 0u);
}

TEST_F(GuestVfio, CardIsHandedToTheDriverForUserPrograms)
{
    OpenEdu(0);
    const std::string folder = CardFolder();
    char driver[512] = {};
    ASSERT_GT(readlink((folder + "/driver").c_str(), driver, sizeof driver - 1), 0);
    EXPECT_NE(strstr(driver, "/vfio-pci"), nullptr);
}

TEST_F(GuestVfio, FrameOfAnySizeIsOneBlock)
{
    const Edu edu = OpenEdu(0);
    constexpr uint32_t frame = 32 << 20;
    const WD_DMA dma = Lock(edu, frame, WD_DmaKernel, nullptr);
    ExpectLock(dma, frame);
    uint8_t* end = MemoryOf(dma) + frame - Bytes;
    Fill(MemoryOf(dma), 5);
    const uint32_t bus = dma.Page[0].pPhysicalAddr;
    ASSERT_TRUE(Transfer(edu, bus, DeviceBuffer, 0));
    ASSERT_TRUE(Transfer(edu, DeviceBuffer, bus + frame - Bytes, ToMemory));
    EXPECT_EQ(memcmp(MemoryOf(dma), end, Bytes), 0);
}

TEST_F(GuestVfio, CallersMemoryTravelsBothWays)
{
    const Edu edu = OpenEdu(0);
    std::vector<uint8_t> memory(3 * 4096 + 2 * Bytes, 0xEE);
    uint8_t* inside = memory.data() + 100; // no page begins here
    WD_DMA dma = Lock(edu, 2 * Bytes, WD_DmaUser, inside);
    ExpectLock(dma, 2 * Bytes);
    EXPECT_EQ(MemoryOf(dma), inside);
    ExpectRoundTrip(edu, dma, 6);
    EXPECT_EQ(inside[-1], 0xEE);
    EXPECT_EQ(inside[2 * Bytes], 0xEE);
    EXPECT_EQ(Call(edu.device, WD_DMAUnlock, &dma), 0);
    memory.assign(memory.size(), 0);
}

TEST_F(GuestVfio, MemoryThatWasUnlockedIsNotReached)
{
    const Edu edu = OpenEdu(0);
    std::vector<uint8_t> memory(Bytes, 0xEE);
    WD_DMA dma = Lock(edu, Bytes, WD_DmaUser, memory.data());
    ASSERT_NE(dma.hDMA, 0u);
    EXPECT_EQ(Call(edu.device, WD_DMAUnlock, &dma), 0);
    EXPECT_TRUE(Transfer(edu, DeviceBuffer, dma.Page[0].pPhysicalAddr, ToMemory));
    EXPECT_EQ(memory, std::vector<uint8_t>(Bytes, 0xEE));
}

TEST_F(GuestVfio, CardsThatCannotBeKeptApartHaveOneProcess)
{
    const Edu edu = OpenEdu(1);
    ASSERT_NE(edu.hCard, 0u);
    EXPECT_EQ(InAnotherProcess("GuestCard.DISABLED_IsLockedBesideAnother"), 0);
}

TEST_F(GuestCard, DISABLED_IsLockedBesideAnother)
{
    EXPECT_EQ(OpenEdu(2).hCard, 0u);
    EXPECT_NE(OpenEdu(0).hCard, 0u);
}

TEST_F(GuestVfio, AddressesOfBlocksDoNotOverlap)
{
    const Edu edu = OpenEdu(0);
    WD_DMA blocks[4];
    for (uint32_t i = 0; i < 4; ++i) blocks[i] = Lock(edu, 5000 * (i + 1), WD_DmaKernel, nullptr);
    // Whole pages from 16 MiB on: 2, 3, 4 and 5 of them.
    EXPECT_EQ(blocks[0].Page[0].pPhysicalAddr, 0x01000000u);
    EXPECT_EQ(blocks[1].Page[0].pPhysicalAddr, 0x01002000u);
    EXPECT_EQ(blocks[2].Page[0].pPhysicalAddr, 0x01005000u);
    EXPECT_EQ(blocks[3].Page[0].pPhysicalAddr, 0x01009000u);
    EXPECT_EQ(Call(edu.device, WD_DMAUnlock, &blocks[1]), 0);
    EXPECT_EQ(Lock(edu, 12289, WD_DmaKernel, nullptr).Page[0].pPhysicalAddr, 0x0100E000u)
        << "four pages do not fit into the gap of three";
    EXPECT_EQ(Lock(edu, 12288, WD_DmaKernel, nullptr).Page[0].pPhysicalAddr, 0x01002000u);
    ExpectRoundTrip(edu, blocks[3], 7);
}

TEST_F(GuestVfio, RegistersAreReachedByCallsToo)
{
    CardHost host = EduHost;
    host.mapsWindows = false;
    SetCardHost(host);
    const Edu edu = OpenEdu(0);
    ASSERT_NE(edu.base, 0u);
    ExpectRegisters(edu);
    ExpectRoundTrip(edu, Lock(edu, 2 * Bytes, WD_DmaKernel, nullptr), 8);
}

TEST_F(GuestVfio, MoreThanTheMachineHasIsRefused)
{
    const Edu edu = OpenEdu(0);
    EXPECT_EQ(Lock(edu, 0xFFFFFFFF, WD_DmaKernel, nullptr).hDMA, 0u);
    EXPECT_EQ(Lock(edu, 0xE0000000, WD_DmaKernel, nullptr).hDMA, 0u);
    ExpectRoundTrip(edu, Lock(edu, 2 * Bytes, WD_DmaKernel, nullptr), 9);
}
