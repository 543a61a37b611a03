// The traffic record.
#include "emulator/traffic.h"

#include "tests/emulator/world.h"

namespace {

class Traffic : public VirtualWorld {};

std::string Sunk;

void Sink(const char* line)
{
    Sunk += line;
    Sunk += ';';
}

} // namespace

TEST_F(Traffic, IsOffAfterReset)
{
    EmuNote("a");
    EXPECT_EQ(EmuTraffic(), "");
    EmuRecord(true);
    EmuNote("b %d", 5);
    EXPECT_EQ(EmuTraffic(), "b 5\n");
    EmuReset();
    EmuNote("c");
    EXPECT_EQ(EmuTraffic(), "");
}

TEST_F(Traffic, EqualNeighboursAreOneLine)
{
    EmuRecord(true);
    for (const char* line : {"a", "a", "b", "a", "a", "a"}) EmuNote("%s", line);
    EXPECT_EQ(EmuTraffic(), "a x 2\nb\na x 3\n");
    EmuNote("a");
    EXPECT_EQ(EmuTraffic(), "a x 2\nb\na x 4\n") << "asking closes no line";
}

TEST_F(Traffic, StopsWithoutForgetting)
{
    EmuRecord(true);
    EmuNote("a");
    EmuRecord(false);
    EmuNote("b");
    EXPECT_EQ(EmuTraffic(), "a\n");
}

TEST_F(Traffic, ASinkGetsLinesFoldedToo)
{
    Sunk.clear();
    EmuRecordTo(Sink);
    for (const char* line : {"a", "a", "b"}) EmuNote("%s", line);
    EXPECT_EQ(Sunk, "a x 2;") << "the last line is still open";
    EmuRecordTo(nullptr);
    EmuNote("c");
    EXPECT_EQ(Sunk, "a x 2;b;");
    EXPECT_EQ(EmuTraffic(), "") << "nothing is stored for a sink";
}

TEST_F(Traffic, ALineHasAnEnd)
{
    EmuRecord(true);
    EmuNote("%s", std::string(10'000, 'x').c_str());
    EXPECT_EQ(EmuTraffic().size(), 512u) << "511 letters and the line's end";
}
