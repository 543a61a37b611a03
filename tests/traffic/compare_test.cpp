// The comparer of traffic: what a file may say, and what it reports.
#include <gtest/gtest.h>

#include "tests/support/traffic.h"

namespace {

const char Conversation[] = "card open\naddress 8003\ndata 0009\npixel x 4\nsleep 2\n";

} // namespace

TEST(TrafficCompare, SameLinesAreTheSame)
{
    EXPECT_EQ(TrafficDiffers("# opening\ncard open\nreg 3 0009 # divider\n\npixel x 4\nsleep 2\n",
                             Conversation),
              "");
}

TEST(TrafficCompare, FoldsOfDifferentSizesMatch)
{
    EXPECT_EQ(
        TrafficDiffers("card open\nreg 3 0009\npixel\npixel x 2\npixel\nsleep 2", Conversation),
        "");
    EXPECT_NE(TrafficDiffers("card open\nreg 3 0009\npixel x 5\nsleep 2", Conversation), "");
    EXPECT_NE(TrafficDiffers("card open\nreg 3 0009\npixel x 3\nsleep 2", Conversation), "");
}

TEST(TrafficCompare, GapEndsAtTheNextLineThatMatches)
{
    EXPECT_EQ(TrafficDiffers("card open\n...\nsleep 2", Conversation), "");
    EXPECT_EQ(TrafficDiffers("card open\n...", Conversation), "");
    EXPECT_NE(TrafficDiffers("card open\n...\nsleep 3", Conversation), "");
    EXPECT_NE(TrafficDiffers("...\npixel\n...\npixel x 4\nsleep 2", Conversation), "");
}

TEST(TrafficCompare, LinesTooFewOrTooManyDiffer)
{
    EXPECT_NE(TrafficDiffers("card open\nreg 3 0009\npixel x 4", Conversation), "");
    EXPECT_NE(TrafficDiffers("card open\nreg 3 0009\npixel x 4\nsleep 2\nsleep 2", Conversation),
              "");
}

TEST(TrafficCompare, NamesStandForTheirLines)
{
    const char file[] = "0: reg 12 0000; reg 12 0004\n1: reg 12 0008; reg 12 000C\n"
                        "both: bits 0 1\n2 times both\n";
    const char wire[] = "address 800C\ndata 0000\naddress 800C\ndata 0004\n"
                        "address 800C\ndata 0008\naddress 800C\ndata 000C\n";
    EXPECT_EQ(TrafficDiffers(file, std::string(wire) + wire), "");
    EXPECT_NE(TrafficDiffers(file, wire), "");
    EXPECT_NE(TrafficDiffers("loop: loop\nloop", wire), "");
}

TEST(TrafficCompare, ValuesAndStarsFillIn)
{
    EXPECT_EQ(TrafficDiffers("card open\nreg 3 $divider\npix* x 4\nsleep *", Conversation,
                             {{"divider", "0009"}}),
              "");
}

TEST(TrafficCompare, WritesAreComparedWhereverTheirLinesBreak)
{
    const char wire[] =
        "usb > 9C 00\nusb + 9C 02 x 2\nusb + 9C 04\nusb < 1 of 1\nadaptor > 0B 01\n";
    EXPECT_EQ(TrafficDiffers("0: usb + 9C 02\nusb > 9C\nusb + 00\nbits 00\nusb + 9C\nusb + 04\n"
                             "usb < 1 of 1\nadaptor > 0B\nadaptor + 01",
                             wire),
              "");
    EXPECT_NE(TrafficDiffers("usb > 9C 00 9C 02 9C 04\nusb < 1 of 1\nadaptor > 0B 01", wire), "");
    EXPECT_NE(TrafficDiffers("usb > 9C 00 9C 02 9C 02\nusb > 9C 04\n...", wire), "");
}

TEST(TrafficCompare, AnyTakesAllSuchLinesOrNone)
{
    EXPECT_EQ(TrafficDiffers("card open\nany sleep *\nany address *\nany data 0009\npixel x 4\n"
                             "any sleep *",
                             Conversation),
              "");
    EXPECT_EQ(TrafficDiffers("card open\nany address * | data 0009 | pixel\nsleep 2", Conversation),
              "");
    EXPECT_EQ(TrafficDiffers("card open\nany address * | data *\ndata 0009\npixel x 4\nsleep 2",
                             Conversation),
              "");
    EXPECT_NE(TrafficDiffers("card open\nany address 8004\ndata 0009\n...", Conversation), "");
}

TEST(TrafficCompare, TellsTheLineAndItsSurroundings)
{
    EXPECT_EQ(TrafficDiffers("card open\nreg 3 000A\npixel x 4\nsleep 2", Conversation),
              "line 2 of the file: expected\n  data 000A\ncame, line 3 marked\n"
              "  card open\n  address 8003\n> data 0009\n  pixel\n  pixel\n  pixel\n");
}
