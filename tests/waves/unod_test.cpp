// uNOD and uNOD_II: counters in place of a pattern.
#include <fstream>

#include "core/record.h"
#include "devices/binning.h"
#include "sequencer/builders/builders.h"
#include "tests/support/fake_camera.h"
#include "tests/support/temp_folder.h"

namespace {

class Unod : public FakeTest {
protected:
    void SetUp() override
    {
        FakeTest::SetUp();
        OpenFake(70, 0, 0);
        record.Ops.BuildWave = BuildWaveUnod;
        record.Ccd.Xpix = 1024;
        record.Ccd.Ypix = 512;
        record.Ccd.HorDummyPix = 20;
        record.Ccd.HorRegSize = 1100;
        record.Ccd.Dummy[0] = 11;
        record.WindowDimX = 1024;
        record.WindowDimY = 512;
    }

    // The registers written, in order, as "register=value" in hexadecimal.
    static std::string Written()
    {
        std::string text;
        for (const std::string& call : FakeTexts("WriteRegister ")) {
            const size_t value = call.find(" 0x");
            EXPECT_EQ(call.substr(value + 3, 2), "00"); // bytes
            text += (text.empty() ? "" : " ") + call.substr(14, value - 14) + "=" +
                    call.substr(value + 5);
        }
        return text;
    }

    static void Build(uint32_t hbin, int32_t vbin)
    {
        Fake.calls.clear();
        BuildWaveUnod("nowhere/wave.bin", 7, 8, 9, hbin, vbin, 1, 6, 0);
    }

    CameraRecord& record = CameraTable[0];
};

} // namespace

// 0: 1024 + 4 = 0x404; 2: 512 + 1 = 0x201; 7: 1100 - 20 - 1024 = 0x38; 9 and 11:
// 11 / 2; 27: 1024 + 4; 29: 512.
TEST_F(Unod, FullFrameIsToldUnbinned)
{
    Build(1, 1);
    EXPECT_EQ(Written(), "4=11 0=04 1=04 2=01 3=02 5=14 6=00 7=38 8=00 9=05 10=00 11=05 12=00 "
                         "27=04 28=04 29=00 30=02");
}

// 0: 1024 + 12 = 0x40C; 2: 512 + 2; 27: 341, even 340, + 4 = 0x158; 29: 256.
TEST_F(Unod, FullFrameIsToldBinnedThreeByTwo)
{
    Build(3, 2);
    EXPECT_EQ(Written(), "4=32 0=0C 1=04 2=02 3=02 5=14 6=00 7=38 8=00 9=05 10=00 11=05 12=00 "
                         "27=58 28=01 29=00 30=01");
}

TEST_F(Unod, FullFrameDoesNotGoByTheImageSizeOfAnEarlierWindow)
{
    record.WindowDimX = 10;
    record.WindowDimY = 20;
    Build(1, 1);
    EXPECT_NE(Written().find("27=04 28=04 29=00 30=02"), std::string::npos);
}

// Window 101 by 50 at 10, 6, binned 3 by 2. 2: 50 * 2 = 0x64, then 51 * 2 = 0x66;
// 5: 20 + 30 = 0x32; 7: 1100 - 20 - 111 * 3 = 747 = 0x2EB; 9: 12 + 5 = 0x11; 11:
// 512 - 56 * 2 + 5 = 405 = 0x195; 27: 100 + 4 = 0x68; 29: 51; 0: 105 * 3 = 0x13B.
TEST_F(Unod, WindowIsToldByItsCounters)
{
    record.WindowBuilt = 1;
    record.BuiltWindowX = 10;
    record.BuiltWindowY = 6;
    record.BuiltWindowWidth = 101;
    record.BuiltWindowHeight = 50;
    record.WindowDimX = 100;
    record.WindowDimY = 50;
    Build(3, 2);
    EXPECT_EQ(Written(), "4=32 2=64 3=00 2=66 3=00 5=32 6=00 7=EB 8=02 9=11 10=00 11=95 12=01 "
                         "27=68 28=00 29=33 30=00 0=3B 1=01");
}

TEST_F(Unod, BinningTakesAByte)
{
    Build(16, 1);
    EXPECT_EQ(Written().substr(0, 4), "4=01");
    Build(15, 15);
    EXPECT_EQ(Written().substr(0, 4), "4=FF");
}

TEST_F(Unod, ShadowHoldsWhatWasWritten)
{
    Build(3, 2);
    EXPECT_EQ(record.ByteRegisters[4], 0x32);
    EXPECT_EQ(record.ByteRegisters[0], 0x0C);
    EXPECT_EQ(record.ByteRegisters[1], 0x04);
    EXPECT_EQ(record.ByteRegisters[27], 0x58);
    EXPECT_EQ(record.ByteRegisters[28], 0x01);
    EXPECT_EQ(record.ByteRegisters[31], 0);
    for (const uint16_t word : record.Registers) EXPECT_EQ(word, 0);
}

TEST_F(Unod, BuildClearsTheErrorAndWritesNoFile)
{
    record.LastError = 2;
    const std::string path = TempFolder() + "unod_wave.bin";
    BuildWaveUnod(path.c_str(), 0, 0, 1024, 1, 1, 0, 0, 0);
    EXPECT_EQ(record.LastError, 0);
    EXPECT_FALSE(std::ifstream(path).good());
}

TEST_F(Unod, BinningOfNothingTellsTheCameraNothing)
{
    Build(0, 1);
    Build(1, 0);
    EXPECT_EQ(Written(), "");
}

TEST_F(Unod, HugeWindowsAreCutToTheirRegisters)
{
    record.WindowBuilt = 1;
    record.BuiltWindowX = INT32_MAX;
    record.BuiltWindowY = INT32_MIN;
    record.BuiltWindowWidth = INT32_MAX;
    record.BuiltWindowHeight = INT32_MIN;
    Build(7, 9);
    EXPECT_EQ(FakeTexts("WriteRegister ").size(), 19u);
}

// The window's counters would make every later full frame a window.
TEST_F(Unod, NewBinningIsToldAsAFullFrameAlsoBehindAWindow)
{
    record.WindowBuilt = 1;
    record.BuiltWindowWidth = 10;
    record.BuiltWindowHeight = 10;
    SetBinning(1, 1, 0);
    EXPECT_EQ(Written().substr(0, 14), "4=11 0=04 1=04");
    EXPECT_EQ(record.WindowBuilt, 0);
}
