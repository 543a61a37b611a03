// The calls that reach registers, status words and memory directly.
#include "core/record.h"
#include "core/timer_service.h"
#include "include/qvn.h"
#include "tests/support/fake_camera.h"

namespace {

constexpr int32_t Camera = 5;

Texts Calls;
std::vector<uint32_t> Answers; // of ReadRegister, the last one stays
int32_t HighestStopCount;

void Note(const std::string& text, int32_t camera)
{
    EXPECT_EQ(camera, Camera);
    Calls.push_back(text);
    if (StopCount[camera] > HighestStopCount) HighestStopCount = StopCount[camera];
}

std::string Pair(const char* what, uint32_t first, uint32_t second)
{
    return std::string(what) + " " + std::to_string(first) + " " + std::to_string(second);
}

std::string One(const char* what, uint32_t number)
{
    return std::string(what) + " " + std::to_string(number);
}

class DirectAccess : public FakeTest {
protected:
    void SetUp() override
    {
        FakeTest::SetUp();
        Calls.clear();
        Answers = {0x1234};
        HighestStopCount = 0;
        OpenPlatform(44);
    }

    void OpenPlatform(int32_t platform) const
    {
        OpenFake(platform, 0, 0, Camera);
        CameraOps& ops = record.Ops;
        ops.WriteRegister = [](int32_t reg, int32_t value, int32_t camera) {
            Note("write " + std::to_string(reg) + " " + std::to_string(value), camera);
        };
        ops.ReadRegister = [](int32_t reg, int32_t camera) {
            Note("read " + std::to_string(reg), camera);
            const uint32_t answer = Answers.front();
            if (Answers.size() > 1) Answers.erase(Answers.begin());
            return static_cast<uint16_t>(answer);
        };
        ops.ReadStatus = [](int32_t number, int32_t camera) {
            Note("status " + std::to_string(number), camera);
            return 0xFEDC0007u;
        };
        ops.Poke = [](uint32_t a, uint32_t v, int32_t camera) { Note(Pair("poke", a, v), camera); };
        ops.PokeW = [](uint32_t a, uint32_t v, int32_t c) { Note(Pair("pokew", a, v), c); };
        ops.Peek = [](uint32_t a, int32_t camera) {
            Note(One("peek", a), camera);
            return 0xABu;
        };
        ops.PeekW = [](uint32_t a, int32_t camera) {
            Note(One("peekw", a), camera);
            return 0xFFFFFFFFu;
        };
    }

    CameraRecord& record = CameraTable[Camera];
};

} // namespace

TEST_F(DirectAccess, HandsOnEveryArgumentAndResult)
{
    QV_WRReg(3, 99999, Camera);
    EXPECT_EQ(QV_RDReg(17, Camera), 0x1234);
    EXPECT_EQ(QV_GetStatus(9, Camera), 0xFEDC0007u);
    QV_Poke(100, 7, Camera);
    EXPECT_EQ(QV_Peek(101, Camera), 0xAB);
    QV_PokeW(-1, -2, Camera);
    EXPECT_EQ(QV_PeekW(103, Camera), -1);
    EXPECT_EQ(Calls, (Texts{"write 3 99999", "read 17", "status 9", "poke 100 7", "peek 101",
                            "pokew 4294967295 4294967294", "peekw 103"}));
}

TEST_F(DirectAccess, NeitherHoldsTheTimerOffNorSelectsAHead)
{
    record.ArrayMode = 1;
    record.TargetTemperature = -25.0;
    QV_WRReg(3, 1, Camera);
    QV_RDReg(3, Camera);
    QV_GetStatus(7, Camera);
    QV_Peek(0, Camera);
    QV_Poke(0, 0, Camera);
    QV_PeekW(0, Camera);
    QV_PokeW(0, 0, Camera);
    EXPECT_EQ(HighestStopCount, 0);
    EXPECT_EQ(record.SubTargetTemperature[0], 0.0); // a selection would have saved it
}

TEST_F(DirectAccess, WritingARegisterLeavesItsImage)
{
    record.Registers[3] = 77;
    QV_WRReg(3, 1, Camera);
    EXPECT_EQ(QV_RMReg(3, Camera), 77);
}

TEST_F(DirectAccess, ImageIsReadAndSetWithoutTheCamera)
{
    QV_WMReg(31, 0x12345, Camera);
    EXPECT_EQ(record.Registers[31], 0x2345);
    EXPECT_EQ(QV_RMReg(31, Camera), 0x2345);
    EXPECT_TRUE(Calls.empty());
}

// -1 is 31, 32 is 0, 1000 is 31 * 32 + 8.
TEST_F(DirectAccess, ImagesNumbersAreTakenModuloTheRegistersThereAre)
{
    QV_WMReg(-1, 11, Camera);
    QV_WMReg(32, 12, Camera);
    QV_WMReg(1000, 13, Camera);
    EXPECT_EQ(record.Registers[31], 11);
    EXPECT_EQ(record.Registers[0], 12);
    EXPECT_EQ(record.Registers[8], 13);
    EXPECT_EQ(QV_RMReg(INT32_MAX, Camera), 11);
    EXPECT_EQ(QV_RMReg(INT32_MIN, Camera), 12);
}

// 300 is 256 + 44.
TEST_F(DirectAccess, ImageOfUnodIsTwoHundredAndFiftySixBytes)
{
    for (const int32_t platform : {70, 71}) {
        OpenPlatform(platform);
        QV_WMReg(300, 0x1FE, Camera);
        EXPECT_EQ(record.ByteRegisters[44], 0xFE);
        EXPECT_EQ(QV_RMReg(44, Camera), 0xFE);
        QV_WMReg(-1, 3, Camera);
        EXPECT_EQ(record.ByteRegisters[255], 3);
        for (const uint16_t word : record.Registers) EXPECT_EQ(word, 0);
        record.ByteRegisters[44] = record.ByteRegisters[255] = 0;
    }
}

using AdChannel = DirectAccess;

TEST_F(AdChannel, IsReadOnPlatform205Only)
{
    for (const int32_t platform : {1, 44, 61, 200, 300}) {
        OpenPlatform(platform);
        EXPECT_EQ(QV_GetAD(1, Camera), 0) << platform;
        EXPECT_TRUE(Calls.empty()) << platform;
    }
}

// The low byte 0x34, above it the low 4 bits of the second answer.
TEST_F(AdChannel, TakesSixtyFourConversions)
{
    OpenPlatform(205);
    record.Registers[1] = 0x20;
    EXPECT_EQ(QV_GetAD(3, Camera), 0x434);
    ASSERT_EQ(Calls.size(), 64u * 7);
    const Texts first(Calls.begin(), Calls.begin() + 7);
    EXPECT_EQ(first, (Texts{"write 27 12", "write 1 36", "write 1 32", "write 1 33", "write 1 32",
                            "read 36", "read 37"}));
    EXPECT_EQ(record.Registers[1], 0x20);
    EXPECT_EQ(HighestStopCount, 1);
    EXPECT_EQ(StopCount[Camera], 0);
}

// 10 and 13 of two conversions, all others 0: 23 / 2.
TEST_F(AdChannel, ConversionsOfZeroAreNotCounted)
{
    OpenPlatform(205);
    Answers = {0, 0, 10, 0, 13, 0x10, 0};
    EXPECT_EQ(QV_GetAD(0, Camera), 11);
}

TEST_F(AdChannel, ReadsZeroWhereNothingAnswers)
{
    OpenPlatform(205);
    Answers = {0};
    EXPECT_EQ(QV_GetAD(-1, Camera), 0);
    EXPECT_EQ(Calls[0], "write 27 252"); // -4, a byte
    EXPECT_EQ(StopCount[Camera], 0);
}
