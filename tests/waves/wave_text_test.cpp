// The reader of pattern files that the other tests lean on, against files put
// together byte by byte.
#include "tests/support/wave_text.h"

#include <fstream>

namespace {

class WaveText : public WaveTest {
protected:
    void Write(const std::vector<uint8_t>& bytes) const
    {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }
};

// Header of 512 words: Idle at 0 with 2 words, Row at 256 with 3 words.
std::vector<uint8_t> Header(uint8_t byteWords)
{
    std::vector<uint8_t> bytes = {0, 2, 0, 0, byteWords, 0, 0, 1, 0, 0, 1, 2, 0};
    bytes.resize(29, 0);
    return bytes;
}

} // namespace

TEST_F(WaveText, PlaysASectionFromItsEndToItsStart)
{
    std::vector<uint8_t> bytes = Header(1);
    bytes.resize(29 + 512, 99);
    bytes[29] = 5; // the last word played of the first section
    bytes[30] = 6;
    bytes[29 + 256] = 7;
    bytes[29 + 257] = 7;
    bytes[29 + 258] = 8;
    Write(bytes);
    EXPECT_EQ(Idle(), "6 5");
    EXPECT_EQ(Row(), "8 7x2");
    EXPECT_EQ(Padding(path, RowSection), "99x253");
}

TEST_F(WaveText, ReadsWideWordsLittleEndian)
{
    std::vector<uint8_t> bytes = Header(0);
    bytes.resize(29 + 2 * 512, 0);
    bytes[29] = 0x34;
    bytes[30] = 0x12;
    Write(bytes);
    EXPECT_EQ(Idle(), "0 4660");
}

TEST_F(WaveText, NamesWhatIsWrongWithAFile)
{
    EXPECT_EQ(Idle(), "no file");
    Write({1, 2, 3});
    EXPECT_EQ(Idle(), "no header");
    Write(Header(1));
    EXPECT_EQ(Idle(), "file of 29 bytes for 512 words");
    std::vector<uint8_t> bytes = Header(1);
    bytes[5] = 1;
    bytes.resize(29 + 512, 0);
    Write(bytes);
    EXPECT_EQ(Idle(), "section does not begin on a page");
}

TEST_F(WaveText, FoldsWhatTablesGive)
{
    EXPECT_EQ(Folded("8x2 8 16x0 8 72x10"), "8x4 72x10");
    EXPECT_EQ(Folded("4 " + Times(3, "0 1x2")), "4 0 1x2 0 1x2 0 1x2");
}
