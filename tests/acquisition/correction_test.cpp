// Noise reduction and decimation: the registers that a mode goes into.
#include "acquisition/correction.h"

#include "core/record.h"
#include "tests/support/fake_camera.h"

namespace {

class Correction : public FakeTest {
protected:
    CameraRecord& record = CameraTable[0];

    void Begin(int32_t platform)
    {
        OpenFake(platform, 0, 0);
        for (uint16_t& value : record.Registers) value = 0xFFFF;
    }
};

DriverExtras Extras;
int32_t DecimationMode;

void NoteDecimation(int32_t mode, int32_t /*camera*/)
{
    DecimationMode = mode;
}

} // namespace

TEST_F(Correction, ReducesNoiseOnTarn4Plus)
{
    Begin(25);
    SetDNR(2, 0); // FFF2 | 2 * 4 - 3; five samples
    EXPECT_EQ(FakeTexts(), (Texts{"WriteRegister 18 0xFFF7", "WriteRegister 8 0x04FF"}));
    EXPECT_EQ(record.Registers[18], 0xFFF7);
    EXPECT_EQ(record.Registers[8], 0x04FF);
    EXPECT_EQ(GetDNR(0), 2);
}

TEST_F(Correction, EndsNoiseReductionOnTarn4Plus)
{
    Begin(25);
    SetDNR(0, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"WriteRegister 18 0xFFFE", "WriteRegister 8 0x00FF"}));
    EXPECT_EQ(GetDNR(0), 0);
}

TEST_F(Correction, DecimationEndsNoiseReductionOnTarn4Plus)
{
    Begin(25);
    record.DnrMode = 3;
    SetBitDecimation(0, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"WriteRegister 8 0x00FF", "WriteRegister 18 0xFFF2"}));
    EXPECT_EQ(GetDNR(0), 0);
    SetBitDecimation(4, 0); // 13
    EXPECT_EQ(record.Registers[18], 0xFFFF);
}

TEST_F(Correction, ReducesNoiseOnBriarR3Plus)
{
    Begin(47);
    SetDNR(3, 0); // mode 2 in bits 10 and 11; seven samples
    EXPECT_EQ(FakeTexts(), (Texts{"WriteRegister 12 0xFBFF", "WriteRegister 18 0x0786"}));
    EXPECT_EQ(record.Registers[18], 0xFFFF);
    SetDNR(0, 0);
    EXPECT_EQ(FakeTexts("WriteRegister 12"),
              (Texts{"WriteRegister 12 0xFBFF", "WriteRegister 12 0xE3FF"}));
    EXPECT_EQ(FakeTexts("WriteRegister 18 0x0700").size(), 1u);
}

TEST_F(Correction, DecimationOnBriarR3PlusLeavesRegister18AloneWithoutNoiseReduction)
{
    Begin(47);
    SetBitDecimation(1, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"WriteRegister 12 0xF3FF"}));
}

TEST_F(Correction, DecimationOnBriarR3PlusEndsNoiseReductionFirst)
{
    Begin(47);
    record.DnrMode = 1;
    SetBitDecimation(2, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"WriteRegister 12 0xE3FF", "WriteRegister 18 0x0000",
                                  "WriteRegister 12 0xF7FF"}));
    EXPECT_EQ(GetDNR(0), 0);
}

TEST_F(Correction, DecimationOnTarn5ClearsTheUpperByteToo)
{
    Begin(28);
    record.DnrMode = 4;
    SetBitDecimation(4, 0);
    SetBitDecimation(0, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"WriteRegister 11 0x00FF", "WriteRegister 11 0x00F8"}));
    EXPECT_EQ(GetDNR(0), 0);
}

TEST_F(Correction, DecimationIsAFieldOfTheFrontEndsRegister)
{
    for (const int32_t platform : {61, 200, 205}) {
        Begin(platform);
        record.DnrMode = 1;
        SetBitDecimation(1, 0); // 1
        EXPECT_EQ(record.Registers[28], 0x009F);
        SetBitDecimation(4, 0); // 7
        EXPECT_EQ(record.Registers[28], 0x00FF);
        SetBitDecimation(0, 0);
        EXPECT_EQ(record.Registers[28], 0x008F);
        EXPECT_EQ(GetDNR(0), 0);
    }
}

TEST_F(Correction, DecimationIsACommandOnWrenAndTolmE)
{
    for (const int32_t platform : {300, 450}) {
        Begin(platform);
        Extras = {};
        Extras.SetDecimation = NoteDecimation;
        record.Extras = &Extras;
        record.DnrMode = 2;
        DecimationMode = -1;
        SetBitDecimation(3, 0);
        EXPECT_EQ(DecimationMode, 3);
        EXPECT_EQ(GetDNR(0), 2);
        record.Extras = nullptr;
        SetBitDecimation(1, 0);
    }
}

TEST_F(Correction, OtherPlatformsKeepTheModeAndNothingElse)
{
    Begin(40);
    SetDNR(2, 0);
    SetBitDecimation(2, 0);
    EXPECT_EQ(FakeTexts(), Texts{});
    EXPECT_EQ(GetDNR(0), 2);
}

TEST_F(Correction, IgnoresModesThatThereAreNot)
{
    Begin(25);
    record.DnrMode = 1;
    SetDNR(5, 0);
    SetDNR(-1, 0);
    SetBitDecimation(5, 0);
    SetBitDecimation(-1, 0);
    EXPECT_EQ(FakeTexts(), Texts{});
    EXPECT_EQ(GetDNR(0), 1);
}

TEST_F(Correction, HoldsTheTimerOff)
{
    Begin(25);
    SetDNR(1, 0);
    ASSERT_FALSE(Fake.calls.empty());
    EXPECT_EQ(Fake.calls.front().stopCount, 1);
}
