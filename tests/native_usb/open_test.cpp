// Lists, opening and closing, and the names of devices.
#include <cstring>

#include "tests/native_usb/native_usb.h"

namespace {

struct DeviceNames {
    std::string serial, description;
};

DeviceNames NamesOf(uint64_t handle)
{
    char serial[UsbSerialRoom + 1], description[UsbDescriptionRoom + 1];
    memset(serial, '#', sizeof serial);
    memset(description, '#', sizeof description);
    EXPECT_EQ(System.usb.DeviceInfo(handle, serial, description), Ok);
    EXPECT_EQ(serial[UsbSerialRoom], '#');
    EXPECT_EQ(description[UsbDescriptionRoom], '#');
    EXPECT_NE(memchr(serial, '\0', UsbSerialRoom), nullptr);
    EXPECT_NE(memchr(description, '\0', UsbDescriptionRoom), nullptr);
    serial[UsbSerialRoom] = description[UsbDescriptionRoom] = '\0';
    return {serial, description};
}

ChipSetup SingleChannel(int bus, int address, const char* serial)
{
    ChipSetup setup;
    setup.bus = bus;
    setup.address = address;
    setup.version = 0x0900;
    setup.interfaces = 1;
    setup.serial = serial;
    return setup;
}

ChipSetup WithNames(const std::string& serial, const std::string& description, int interfaces)
{
    ChipSetup setup;
    setup.serial = serial;
    setup.description = description;
    setup.interfaces = interfaces;
    setup.version = interfaces == 1 ? 0x0900 : 0x0700;
    return setup;
}

} // namespace

TEST_F(NativeUsb, EveryChannelIsADevice)
{
    PlugIn({});
    EXPECT_EQ(ListedDevices(), 2u);
    PlugIn(SingleChannel(1, 3, "X"));
    EXPECT_EQ(ListedDevices(), 3u);
}

TEST_F(NativeUsb, DevicesStandInTheOrderOfBusAddressAndChannel)
{
    ChipSetup two;
    two.bus = 2;
    two.address = 4;
    two.serial = "M";
    PlugIn(two);
    PlugIn(SingleChannel(2, 3, "L"));
    PlugIn(SingleChannel(1, 9, "K"));
    const char* serials[] = {"K", "L", "MA", "MB"};
    for (int32_t i = 0; i < 4; ++i) EXPECT_EQ(NamesOf(OpenDevice(i)).serial, serials[i]);
}

TEST_F(NativeUsb, AHostWithoutUsbHasNoListAndOpensNothing)
{
    PlugIn({});
    System.process.CanEnterDirectory = [](const char*) { return false; };
    uint32_t count = 7;
    uint64_t handle = 7;
    EXPECT_EQ(System.usb.ListDevices(&count), OtherError);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(System.usb.Open(0, &handle), OtherError);
    EXPECT_EQ(handle, 0u);
}

TEST_F(NativeUsb, OnlyListedDevicesOpen)
{
    Chip* chip = PlugIn({});
    EXPECT_EQ(ListedDevices(), 2u);
    uint64_t handle = 7;
    for (const int32_t index : {-1, 2, 2147483647}) {
        EXPECT_EQ(System.usb.Open(index, &handle), NoSuchDevice);
        EXPECT_EQ(handle, 0u);
    }
    PullOut(chip);
    EXPECT_EQ(System.usb.Open(0, &handle), NotOpened);
}

TEST_F(NativeUsb, AChipThatRefusesItsResetDoesNotOpen)
{
    Chip* chip = PlugIn({});
    Stall(chip, true);
    ListedDevices();
    uint64_t handle = 7;
    EXPECT_EQ(System.usb.Open(0, &handle), NotOpened);
    EXPECT_EQ(handle, 0u);
    Stall(chip, false);
    EXPECT_NE(OpenDevice(0), 0u);
}

TEST_F(NativeUsb, EightDevicesAreOpenAtOnce)
{
    for (int address = 2; address < 7; ++address) {
        ChipSetup setup;
        setup.address = address;
        PlugIn(setup);
    }
    std::vector<uint64_t> handles;
    for (int32_t i = 0; i < 8; ++i) handles.push_back(OpenDevice(i));
    uint64_t ninth = 7;
    EXPECT_EQ(System.usb.Open(8, &ninth), NoResources);
    EXPECT_EQ(ninth, 0u);
    EXPECT_EQ(System.usb.Close(handles[3]), Ok);
    EXPECT_NE(OpenDevice(8), 0u);
}

TEST_F(NativeUsb, HandlesThatAreNotOpenAreRefused)
{
    PlugIn({});
    const uint64_t handle = OpenDevice(0);
    EXPECT_EQ(System.usb.Close(handle), Ok);
    uint8_t byte = 0;
    for (const uint64_t wrong : {handle, uint64_t{9}, ~uint64_t{0}}) {
        uint32_t count = 7;
        EXPECT_EQ(System.usb.Close(wrong), NoSuchHandle);
        EXPECT_EQ(System.usb.Read(wrong, &byte, 1, &count), NoSuchHandle);
        EXPECT_EQ(count, 0u);
        EXPECT_EQ(System.usb.Write(wrong, &byte, 1, &count), NoSuchHandle);
        EXPECT_EQ(System.usb.GetQueueStatus(wrong, &count), NoSuchHandle);
        EXPECT_EQ(System.usb.ResetPort(wrong), NoSuchHandle);
    }
    EXPECT_EQ(System.usb.Close(0), OtherError) << "an open that failed leaves 0";
}

TEST_F(NativeUsb, PacketsOfNoSoundLengthAreRefused)
{
    for (const int packet : {0, 1, 2, 7, 1025, 0xFFFF}) {
        ChipSetup setup;
        setup.packet = packet;
        Chip* chip = PlugIn(setup);
        ListedDevices();
        uint64_t handle = 7;
        EXPECT_EQ(System.usb.Open(0, &handle), NotOpened) << packet;
        PullOut(chip);
    }
}

TEST_F(NativeUsb, NamesTellTheChannel)
{
    PlugIn({});
    const DeviceNames first = NamesOf(OpenDevice(0)), second = NamesOf(OpenDevice(1));
    EXPECT_EQ(first.serial, "OS123456A");
    EXPECT_EQ(first.description, "QVN camera A");
    EXPECT_EQ(second.serial, "OS123456B");
    EXPECT_EQ(second.description, "QVN camera B");
}

TEST_F(NativeUsb, NamesOfAChipWithOneChannelAreAsTheyStand)
{
    PlugIn(WithNames("7", "QVN", 1));
    const DeviceNames names = NamesOf(OpenDevice(0));
    EXPECT_EQ(names.serial, "7");
    EXPECT_EQ(names.description, "QVN");
}

TEST_F(NativeUsb, LongNamesAreCutBeforeTheChannel)
{
    PlugIn(WithNames(std::string(40, 's'), std::string(100, 'd'), 2));
    const DeviceNames names = NamesOf(OpenDevice(0));
    EXPECT_EQ(names.serial, std::string(14, 's') + "A");
    EXPECT_EQ(names.description, std::string(61, 'd') + " A");
}

TEST_F(NativeUsb, LongNamesOfOneChannelFillTheirRoom)
{
    PlugIn(WithNames(std::string(40, 's'), std::string(100, 'd'), 1));
    const DeviceNames names = NamesOf(OpenDevice(0));
    EXPECT_EQ(names.serial, std::string(15, 's'));
    EXPECT_EQ(names.description, std::string(63, 'd'));
}

TEST_F(NativeUsb, AChipWithoutASerialNumberHasAnEmptyOne)
{
    PlugIn(WithNames("", "QVN", 2));
    const DeviceNames names = NamesOf(OpenDevice(0));
    EXPECT_EQ(names.serial, "");
    EXPECT_EQ(names.description, "QVN A");
}

TEST_F(NativeUsb, NamesThatCannotBeReadAreEmpty)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenDevice(0);
    PullOut(chip);
    char serial[UsbSerialRoom] = "old", description[UsbDescriptionRoom] = "old";
    EXPECT_EQ(System.usb.DeviceInfo(handle, serial, description), IoError);
    EXPECT_STREQ(serial, "");
    EXPECT_STREQ(description, "");
}
