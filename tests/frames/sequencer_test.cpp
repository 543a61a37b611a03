// The controller: pages, the end index that counts down, repeats; and its reader of
// pattern files.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "emulator/sequencer.h"

namespace {

// Line 1 moves a row, 2 shifts, 4 resets, 8 converts.
uint32_t Numbers(uint32_t column, uint32_t row)
{
    return (row + 1) * 100 + column;
}

class EmuSequencer : public testing::Test {
protected:
    void SetUp() override
    {
        char name[] = "/tmp/qvn_sequencer_XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        folder = name;
        path = folder + "/wave.bin";
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    const char* Load(const std::vector<uint8_t>& bytes)
    {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        return EmuLoadWave(path.c_str(), memory.get(), &pattern);
    }

    std::vector<uint16_t> Play(const EmuSection& section, uint32_t repeat)
    {
        EmuSensor sensor = EmuMakeSensor({1, 2, 4, 8, 0, 0}, {4, 4, 0, 4, Numbers});
        EmuExpose(&sensor);
        uint16_t pixel = 0;
        EmuSensorTick(&sensor, 0, &pixel);
        std::vector<uint16_t> pixels;
        EmuPlay(*memory, section, repeat, &sensor, &pixels);
        return pixels;
    }

    std::string folder, path;
    std::unique_ptr<EmuPatternMemory> memory = std::make_unique<EmuPatternMemory>();
    EmuPattern pattern{};
};

// A table with `count` words of a width, and pairs 1, 2 to 11, 12.
std::vector<uint8_t> Table(uint32_t count, uint8_t byteWords)
{
    std::vector<uint8_t> bytes = {static_cast<uint8_t>(count), static_cast<uint8_t>(count >> 8),
                                  static_cast<uint8_t>(count >> 16), 0, byteWords};
    for (uint8_t entry = 1; entry <= 12; ++entry) {
        bytes.push_back(entry);
        bytes.push_back(0x20);
    }
    return bytes;
}

} // namespace

TEST_F(EmuSequencer, PlaysFromTheEndIndexDownToThePage)
{
    memory->words[0x302] = 1; // a row
    memory->words[0x301] = 2; // its first cell
    memory->words[0x300] = 8; // converted
    EXPECT_EQ(Play({0x300, 2}, 1), std::vector<uint16_t>{100});
}

TEST_F(EmuSequencer, RepeatsASection)
{
    memory->words[0x304] = 1;
    memory->words[0x302] = 2;
    memory->words[0x301] = 8;
    memory->words[0x300] = 4;
    // Every pass adds a row to the register, which has moved on by a cell.
    EXPECT_EQ(Play({0x300, 4}, 2), (std::vector<uint16_t>{100, 101 + 200}));
    EXPECT_TRUE(Play({0x300, 4}, 0).empty());
}

TEST_F(EmuSequencer, TakesThePageOnlyOfAStart)
{
    memory->words[0x301] = 1;
    memory->words[0x300] = 8;
    EXPECT_EQ(Play({0x3FF, 1}, 1), std::vector<uint16_t>{0});
}

TEST_F(EmuSequencer, SectionsGoOnOverPages)
{
    memory->words[0x300 + 700] = 1;
    memory->words[0x300 + 300] = 2;
    memory->words[0x300] = 8;
    EXPECT_EQ(Play({0x300, 700}, 1), std::vector<uint16_t>{100});
}

TEST_F(EmuSequencer, AddressesWrapAtTheEndOfTheMemory)
{
    memory->words[0x0001] = 1;
    memory->words[0x0000] = 2;
    memory->words[0xFF00] = 8;
    EXPECT_EQ(Play({0xFF00, 0x101}, 1), std::vector<uint16_t>{100});
}

TEST_F(EmuSequencer, LoadsWordsOfBothWidths)
{
    std::vector<uint8_t> narrow = Table(2, 1), wide = Table(2, 0);
    narrow.insert(narrow.end(), {0x11, 0xF2});
    wide.insert(wide.end(), {0x11, 0x22, 0x33, 0xF4});
    ASSERT_STREQ(Load(narrow), nullptr);
    EXPECT_TRUE(pattern.byteWords);
    EXPECT_EQ(memory->words[0], 0x11);
    EXPECT_EQ(memory->words[1], 0xF2);
    ASSERT_STREQ(Load(wide), nullptr);
    EXPECT_FALSE(pattern.byteWords);
    EXPECT_EQ(memory->words[0], 0x2211);
    EXPECT_EQ(memory->words[1], 0xF433);
}

TEST_F(EmuSequencer, TableNamesTheSectionsInOrder)
{
    ASSERT_STREQ(Load(Table(0, 1)), nullptr);
    EXPECT_EQ(pattern.wordCount, 0u);
    EXPECT_EQ(pattern.idle.start, 0x2001);
    EXPECT_EQ(pattern.idle.end, 0x2002);
    EXPECT_EQ(pattern.row.start, 0x2003);
    EXPECT_EQ(pattern.pixel.start, 0x2005);
    EXPECT_EQ(pattern.line.start, 0x2007);
    EXPECT_EQ(pattern.extraA.start, 0x2009);
    EXPECT_EQ(pattern.extraB.start, 0x200B);
    EXPECT_EQ(pattern.extraB.end, 0x200C);
}

TEST_F(EmuSequencer, RefusesWhatIsNoPattern)
{
    memory->words[0] = 0x5A5A;
    EXPECT_NE(EmuLoadWave((folder + "/none").c_str(), memory.get(), &pattern), nullptr);
    EXPECT_NE(EmuLoadWave(folder.c_str(), memory.get(), &pattern), nullptr);
    EXPECT_NE(EmuLoadWave("/dev/zero", memory.get(), &pattern), nullptr);
    EXPECT_NE(Load({}), nullptr);
    EXPECT_NE(Load(std::vector<uint8_t>(28, 0)), nullptr);
    EXPECT_NE(Load(Table(1, 1)), nullptr);
    EXPECT_NE(Load(Table(0, 2)), nullptr);
    std::vector<uint8_t> longer = Table(0, 0);
    longer.push_back(0);
    EXPECT_NE(Load(longer), nullptr);
    std::vector<uint8_t> large = Table(65537, 1);
    large.resize(large.size() + 65537);
    EXPECT_NE(Load(large), nullptr);
    EXPECT_EQ(memory->words[0], 0x5A5A);
}
