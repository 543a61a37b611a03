// The adaptor's library: what is loaded, called and freed.
#include "links/adaptor.h"

#include <array>

#include "core/record.h"
#include "platform/system.h"
#include "tests/support/fake_adaptor.h"

namespace {

class AdaptorLink : public FakeAdaptorTest {
protected:
    void TearDown() override
    {
        CloseAdaptor(UsbCamera);
        FakeAdaptorTest::TearDown();
    }

    static void Open(AdaptorMode mode)
    {
        EXPECT_EQ(OpenAdaptor(mode, UsbCamera), 0);
        Usb.log.clear();
    }
};

TEST_F(AdaptorLink, OpenReadiesTheDevice)
{
    EXPECT_EQ(OpenAdaptor(AdaptorBytes, UsbCamera), 0);
    EXPECT_EQ(TakeUsbLog(),
              "adaptor load; adaptor init; adaptor open; adaptor mode 8; adaptor timeout 65535");
    CloseAdaptor(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor close; adaptor free");
    EXPECT_EQ(OpenAdaptor(AdaptorWords, UsbCamera), 0);
    EXPECT_NE(TakeUsbLog().find("adaptor mode 9"), std::string::npos);
}

TEST_F(AdaptorLink, LibraryLiesBelowTheWorkingFolder)
{
    Open(AdaptorBytes);
    EXPECT_EQ(Adaptor.path, "./qvn/kzbusb.so");
    System.process.separator = '\\';
    CloseAdaptor(UsbCamera);
    Open(AdaptorBytes);
    EXPECT_EQ(Adaptor.path, "./qvn/kzbusb.dll");
}

TEST_F(AdaptorLink, MissingLibraryIsTold)
{
    Adaptor.libraryMissing = true;
    EXPECT_EQ(OpenAdaptor(AdaptorBytes, UsbCamera), 20);
    EXPECT_EQ(TakeUsbLog(), "");
}

// Only the low byte counts.
TEST_F(AdaptorLink, DeviceThatCannotBeReadiedIsFreed)
{
    Adaptor.initResult = 0x100;
    EXPECT_EQ(OpenAdaptor(AdaptorBytes, UsbCamera), 18);
    EXPECT_EQ(TakeUsbLog(), "adaptor load; adaptor init; adaptor free");
}

TEST_F(AdaptorLink, MissingInitIsADeviceThatCannotBeReadied)
{
    Adaptor.missingEntries = {"UsbInit"};
    EXPECT_EQ(OpenAdaptor(AdaptorBytes, UsbCamera), 18);
}

// A function that returns 0 stands for each of them.
TEST_F(AdaptorLink, EveryOtherEntryMayBeMissing)
{
    Adaptor.missingEntries = {"UsbOpen",       "UsbClose",       "UsbParInit",
                              "UsbSetTimeout", "UsbEEpSetAddr",  "UsbEEpWriteByte",
                              "UsbParOut",     "UsbEEpReadByte", "UsbParIn"};
    EXPECT_EQ(OpenAdaptor(AdaptorBytes, UsbCamera), 0);
    const RegisterPair pair = {1, 2};
    AdaptorWriteBytes(&pair, 1, UsbCamera);
    AdaptorWriteByte(1, 2, UsbCamera);
    EXPECT_EQ(AdaptorReadByte(63, UsbCamera), 0);
    SelectAdaptorMemory(UsbCamera);
    WriteAdaptorWord(1, 2, UsbCamera);
    EXPECT_EQ(ReadAdaptorWord(1, UsbCamera), 0);
    CloseAdaptor(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor load; adaptor init; adaptor free");
}

TEST_F(AdaptorLink, NothingIsCalledBehindTheClose)
{
    Open(AdaptorBytes);
    CloseAdaptor(UsbCamera);
    Usb.log.clear();
    AdaptorWriteByte(1, 2, UsbCamera);
    EXPECT_EQ(AdaptorReadByte(63, UsbCamera), 0);
    CloseAdaptor(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "");
}

TEST_F(AdaptorLink, SecondOpenFreesTheFirst)
{
    Open(AdaptorBytes);
    Open(AdaptorWords);
    EXPECT_EQ(Adaptor.loads, 1);
}

TEST_F(AdaptorLink, BytesGoOutInPairs)
{
    Open(AdaptorBytes);
    const RegisterPair pairs[] = {{16, 140}, {14, 0x102}, {34, 0}};
    AdaptorWriteBytes(pairs, 3, UsbCamera);
    AdaptorWriteByte(6, 0x184, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 10 8C 0E 02 22 00; adaptor > 06 84");
    std::array<RegisterPair, 65> many;
    many.fill({28, 1});
    AdaptorWriteBytes(many.data(), 65, UsbCamera);
    ASSERT_EQ(Usb.log.size(), 2u);
    EXPECT_EQ(Usb.log[1], "adaptor > 1C 01");
}

TEST_F(AdaptorLink, WordsGoOutInOneTransfer)
{
    Open(AdaptorWords);
    const RegisterPair pairs[] = {{11, 0x8300}, {10, 4}};
    AdaptorWriteWords(pairs, 2, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 000B 8300 000A 0004");
}

TEST_F(AdaptorLink, ByteIsReadByItsFlaggedNumber)
{
    Open(AdaptorBytes);
    AnswerAdaptor("00 BF", {0x7D});
    EXPECT_EQ(AdaptorReadByte(63, UsbCamera), 0x7D);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 00 BF; adaptor < 1");
}

TEST_F(AdaptorLink, ByteThatDoesNotComeIs0)
{
    Open(AdaptorBytes);
    EXPECT_EQ(AdaptorReadByte(63, UsbCamera), 0);
}

TEST_F(AdaptorLink, MemoryWordsAreTwoBytes)
{
    Open(AdaptorBytes);
    SelectAdaptorMemory(UsbCamera);
    WriteAdaptorWord(8, 0xABCD, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor eeprom at 81; adaptor eeprom 16 = CD; adaptor eeprom 17 = AB");
    EXPECT_EQ(ReadAdaptorWord(8, UsbCamera), 0xABCD);
    EXPECT_EQ(TakeUsbLog(), "adaptor eeprom 16 ?; adaptor eeprom 17 ?");
}

} // namespace
