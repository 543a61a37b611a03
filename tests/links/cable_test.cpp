// The set-up of the cable after the card has opened.
#include "links/cable.h"

#include "tests/links/fake_bus.h"

namespace {

constexpr Cable Parallel = {0x1504, 0x2364, NoDecoder, 11};
constexpr Cable Plain = {0x1504, 0x1524, PlainDecoder, 11};
constexpr Cable PlainOfTarn = {0xD04, 0xD04, PlainDecoder, 12};
constexpr Cable Tarn4 = {0xD04, 0xD04, Tarn4Decoder, 12};
constexpr Cable Sep = {0xD04, 0xD04, SepDecoder, 12};

// Decimal operands of the talk, in hexadecimal: 385 is 181, 421 is 1A5, 405 is 195,
// 152 is 98.
class CableTest : public LinkTest {
protected:
    void SetUp() override
    {
        LinkTest::SetUp();
        record.SerialLink = 7;
        record.SerialLinkAcknowledged = 7;
        Fake.status = [] { return 0x80000u; }; // the decoder replies at once
    }

    int32_t Connect(const Cable& cable, int32_t link, std::deque<uint32_t> answers = {})
    {
        record.Config.InterfaceLink = link;
        Fake.replies[CardDataReg] = std::move(answers);
        return ConnectCable(cable, Camera);
    }

    void ExpectSerial(int32_t serial, int32_t acknowledged)
    {
        EXPECT_EQ(record.SerialLink, serial);
        EXPECT_EQ(record.SerialLinkAcknowledged, acknowledged);
    }
};

TEST_F(CableTest, ParallelCableTakesThePlatformsWord)
{
    EXPECT_EQ(Connect(Parallel, 0), 0);
    EXPECT_EQ(Accesses(), "control=1 control=1504");
    ExpectSerial(0, 0);
    record.Config.LongCable = 1;
    EXPECT_EQ(Connect(Parallel, 0), 0);
    EXPECT_EQ(Accesses(), "control=1 control=2364");
}

TEST_F(CableTest, PlatformWithoutADecoderIgnoresTheConfiguration)
{
    for (int32_t link : {1, 3}) {
        EXPECT_EQ(Connect(Parallel, link), 0);
        EXPECT_EQ(Accesses(), "control=1 control=1504");
        ExpectSerial(0, 0);
    }
}

TEST_F(CableTest, UnknownLinksCountAsParallel)
{
    for (int32_t link : {0, 2, 4, -1, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(Connect(Plain, link), 0);
        EXPECT_EQ(Accesses(), "control=1 control=1504") << link;
        ExpectSerial(0, 0);
    }
}

TEST_F(CableTest, Decoder1)
{
    EXPECT_EQ(Connect(Plain, 1, {0xAAAA2, 96}), 0);
    EXPECT_EQ(Accesses(), "control=1 control? "
                          "data=2 control=20662 us=10 control? data? "
                          "data=181 control=20660 us=10 "
                          "data=1 control=20662 us=10 control? data? control=20642");
    ExpectSerial(1, 1);
}

TEST_F(CableTest, Decoder1OfTarn4OfTheSecondKind)
{
    EXPECT_EQ(Connect(Tarn4, 1, {0xAAAA2, 105}), 0);
    EXPECT_EQ(Accesses(), "control=1 control? "
                          "data=2 control=20662 us=10 control? data? "
                          "data=1A5 control=20660 us=10 "
                          "data=1 control=20662 us=10 control? data? control=20642");
    ExpectSerial(1, 1);
}

TEST_F(CableTest, Decoder1OfTarn4OfTheFirstKindIsWokenSlowly)
{
    EXPECT_EQ(Connect(Tarn4, 1, {0xAAAA1, 105}), 0);
    EXPECT_EQ(Accesses(), "control=1 control? "
                          "data=2 control=20662 us=10 control? data? "
                          "data=98 control=20620 ms=100 control=20660 ms=100 "
                          "data=1A5 control=20660 us=10 "
                          "data=1 control=20662 us=10 control? data? control=20642");
    ExpectSerial(1, 0);
}

TEST_F(CableTest, Decoder1OfSepBeginsWithAPulse)
{
    EXPECT_EQ(Connect(Sep, 1, {0xAAAA2, 96}), 0);
    EXPECT_EQ(Accesses(), "control=1 data=98 control=20620 control=20660 control? "
                          "data=2 control=20662 us=10 control? data? "
                          "data=181 control=20660 us=10 "
                          "data=1 control=20662 us=10 control? data? control=20642");
    ExpectSerial(1, 1);
}

TEST_F(CableTest, Decoder1OfSepIsWaitedForWithoutABound)
{
    int32_t reads = 0; // the first looks for the serializer
    Fake.status = [&reads] { return ++reads > 500 ? 0x80000u : 0u; };
    EXPECT_EQ(Connect(Sep, 1, {0xAAAA2, 96}), 0);
    EXPECT_EQ(Fake.counts["us=10"], 500u + 1 + 1) << "two replies, and one delay between";
}

TEST_F(CableTest, Decoder1ThatIsSilentIsWaitedForAMillisecond)
{
    Fake.status = [] { return 0u; };
    EXPECT_EQ(Connect(Plain, 1, {0}), 11);
    EXPECT_EQ(Accesses(), "control=1 control? data=2 control=20662 " +
                              Text("101{us=10 control?} data? control=1"));
}

TEST_F(CableTest, Decoder1NotLinkedIs10AndClosesTheCard)
{
    Fake.status = [] { return 0x200000u; };
    EXPECT_EQ(Connect(Plain, 1), 10);
    EXPECT_EQ(Accesses(), "control=1 control? control=1 close");
    EXPECT_EQ(record.WdHandle, 0u);
    EXPECT_EQ(record.CardMapped, 0);
    ExpectSerial(0, 0);
}

TEST_F(CableTest, Decoder1WithAWrongIdentifierIs11)
{
    for (const Cable& cable : {Plain, PlainOfTarn, Tarn4, Sep}) {
        for (uint32_t identifier : {0u, 0xFFFFFFFFu, 0xAAAA3u, 0x1AAAA2u}) {
            EXPECT_EQ(Connect(cable, 1, {identifier}), 11);
            EXPECT_EQ(Fake.control, 1u) << "reset";
            EXPECT_NE(record.WdHandle, 0u) << "the driver stays open";
            ExpectSerial(0, 0);
        }
    }
}

TEST_F(CableTest, FirstKindOfDecoder1IsForTarn4Alone)
{
    for (const Cable& cable : {Plain, PlainOfTarn, Sep}) {
        EXPECT_EQ(Connect(cable, 1, {0xAAAA1}), 11);
        EXPECT_EQ(Fake.control, 1u);
    }
}

TEST_F(CableTest, Decoder1WithAWrongSecondReplyIsThePlatformsError)
{
    EXPECT_EQ(Connect(Plain, 1, {0xAAAA2, 105}), 11);
    EXPECT_EQ(Accesses(), "control=1 control? "
                          "data=2 control=20662 us=10 control? data? "
                          "data=181 control=20660 us=10 "
                          "data=1 control=20662 us=10 control? data? control=1");
    EXPECT_EQ(record.SerialLink, 0);
    EXPECT_EQ(Connect(PlainOfTarn, 1, {0xAAAA2, 105}), 12);
    EXPECT_EQ(Connect(Tarn4, 1, {0xAAAA2, 96}), 12);
    EXPECT_EQ(Connect(Sep, 1, {0xAAAA2, 0}), 12);
    EXPECT_EQ(Fake.control, 1u);
}

TEST_F(CableTest, Decoder3)
{
    EXPECT_EQ(Connect(Plain, 3), 0);
    EXPECT_EQ(Accesses(), "control? data=181 control=20E20 control=20642");
    ExpectSerial(1, 0);
    EXPECT_EQ(Connect(Tarn4, 3), 0);
    EXPECT_EQ(Accesses(), "control? data=195 control=20E20 control=20642");
    EXPECT_EQ(Connect(Sep, 3), 0);
    EXPECT_EQ(Accesses(), "control? data=181 control=20E20 control=20642");
}

TEST_F(CableTest, Decoder3NotLinkedIs10AndClosesTheCard)
{
    Fake.status = [] { return 0x400000u; };
    EXPECT_EQ(Connect(Plain, 3), 10);
    EXPECT_EQ(Accesses(), "control? close");
    EXPECT_EQ(record.WdHandle, 0u);
}

TEST_F(CableTest, EachDecoderLooksAtItsOwnBit)
{
    Fake.status = [] { return 0x480000u; }; // bit 22 and a reply
    EXPECT_EQ(Connect(Plain, 1, {0xAAAA2, 96}), 0);
    Fake.status = [] { return 0x280000u; }; // bit 21
    EXPECT_EQ(Connect(Plain, 3), 0);
}

} // namespace
