// The loader: what reaches a camera from a pattern file, and which files do not.
#include <cstdio>
#include <cstring>

#include "emulator/emulator.h"
#include "sequencer/wave_load.h"
#include "tests/support/wave_text.h"

namespace {

struct Taken {
    int begins, ends;
    uint32_t announced;
    std::vector<uint32_t> addresses, counts;
    std::vector<uint16_t> words;
};
Taken Camera;

void Begin(uint32_t words, int32_t)
{
    ++Camera.begins;
    Camera.announced = words;
}
void Put(uint32_t address, const uint16_t* words, uint32_t count, int32_t)
{
    Camera.addresses.push_back(address);
    Camera.counts.push_back(count);
    Camera.words.insert(Camera.words.end(), words, words + count);
}
void End(int32_t)
{
    ++Camera.ends;
}
const WaveSink AnyWidth = {false, Begin, Put, End};
const WaveSink BytesOnly = {true, Begin, Put, End};

// A file with 1280 words that count up, and sections at 0, 256, 512 and 1024.
std::vector<uint8_t> CountingFile(bool wide)
{
    std::vector<uint8_t> bytes = {0x00, 0x05, 0, 0, static_cast<uint8_t>(wide ? 0 : 1)};
    const uint16_t entries[12] = {0, 0, 256, 8, 512, 8, 1024, 255, 0x1111, 0x2222, 0x3333, 0x4444};
    for (const uint16_t entry : entries) {
        bytes.push_back(static_cast<uint8_t>(entry));
        bytes.push_back(static_cast<uint8_t>(entry >> 8));
    }
    for (uint32_t i = 0; i < 1280; ++i) {
        bytes.push_back(static_cast<uint8_t>(i));
        if (wide) bytes.push_back(static_cast<uint8_t>(i >> 8));
    }
    return bytes;
}

struct WaveLoad : WaveTest {
    void SetUp() override
    {
        WaveTest::SetUp();
        Camera = {};
    }
    void Write(const std::vector<uint8_t>& bytes)
    {
        FILE* file = fopen(path.c_str(), "wb");
        ASSERT_NE(file, nullptr);
        for (const uint8_t byte : bytes) ASSERT_EQ(fputc(byte, file), byte);
        fclose(file);
    }
    // Nothing of a refused file reaches the camera or the record.
    void ExpectRefused(const std::vector<uint8_t>& bytes, const WaveSink& sink = AnyWidth)
    {
        Write(bytes);
        EXPECT_EQ(LoadWave(path.c_str(), sink, 0), 0);
        EXPECT_EQ(Camera.begins, 0);
        EXPECT_EQ(Camera.ends, 0);
        EXPECT_TRUE(Camera.words.empty());
        for (int i = 0; i < 12; ++i) EXPECT_EQ(CameraTable[0].SequenceTable[i], i + 1) << i;
        EXPECT_TRUE(WaveReports.empty());
    }
};

} // namespace

TEST_F(WaveLoad, WordsComeInFileOrderFromAddressZero)
{
    for (const bool wide : {false, true}) {
        Camera = {};
        Write(CountingFile(wide));
        ASSERT_EQ(LoadWave(path.c_str(), AnyWidth, 0), 1);
        EXPECT_EQ(Camera.begins, 1);
        EXPECT_EQ(Camera.ends, 1);
        EXPECT_EQ(Camera.announced, 1280u);
        EXPECT_EQ(Camera.addresses, (std::vector<uint32_t>{0, 1024}));
        EXPECT_EQ(Camera.counts, (std::vector<uint32_t>{1024, 256}));
        ASSERT_EQ(Camera.words.size(), 1280u);
        for (uint32_t i = 0; i < 1280; ++i) {
            ASSERT_EQ(Camera.words[i], wide ? i : i % 256) << i;
        }
    }
}

TEST_F(WaveLoad, LastPairOfTheTableIsCrossed)
{
    Write(CountingFile(true));
    ASSERT_EQ(LoadWave(path.c_str(), AnyWidth, 0), 1);
    const uint16_t expected[12] = {0, 0, 256, 8, 512, 8, 1024, 255, 0x1111, 0x2222, 0x4444, 0x3333};
    EXPECT_EQ(memcmp(CameraTable[0].SequenceTable, expected, sizeof expected), 0);
}

TEST_F(WaveLoad, ProgressIsReportedEvery1024WordsAndAtTheEnd)
{
    Write(CountingFile(true));
    ASSERT_EQ(LoadWave(path.c_str(), AnyWidth, 0), 1);
    ASSERT_EQ(WaveReports.size(), 3u);
    EXPECT_EQ(WaveReports[0].text, "Loading Sequencer");
    EXPECT_EQ(WaveReports[0].percent, 0);
    EXPECT_FALSE(WaveReports[1].hasText);
    EXPECT_EQ(WaveReports[1].percent, 80); // 1024 of 1280
    EXPECT_FALSE(WaveReports[2].hasText);
    EXPECT_EQ(WaveReports[2].percent, 100);
}

TEST_F(WaveLoad, WideWordsAreRefusedByAByteCamera)
{
    ExpectRefused(CountingFile(true), BytesOnly);
    Write(CountingFile(false));
    EXPECT_EQ(LoadWave(path.c_str(), BytesOnly, 0), 1);
}

TEST_F(WaveLoad, MissingFileIsRefused)
{
    EXPECT_EQ(LoadWave("no/such/wave.bin", AnyWidth, 0), 0);
    EXPECT_EQ(Camera.begins, 0);
}

TEST_F(WaveLoad, EveryTruncationIsRefused)
{
    const std::vector<uint8_t> whole = CountingFile(false);
    for (const size_t kept : {size_t{0}, size_t{4}, size_t{28}, size_t{29}, whole.size() - 1}) {
        ExpectRefused({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(kept)});
    }
}

TEST_F(WaveLoad, OverlongFileIsRefused)
{
    std::vector<uint8_t> bytes = CountingFile(false);
    bytes.push_back(0);
    ExpectRefused(bytes);
}

TEST_F(WaveLoad, WordCountIsNotTrusted)
{
    for (const uint32_t count : {0u, 1279u, 1281u, 65792u, 0xFFFFFFFFu}) {
        std::vector<uint8_t> bytes = CountingFile(false);
        for (size_t i = 0; i < 4; ++i) bytes[i] = static_cast<uint8_t>(count >> (8 * i));
        ExpectRefused(bytes);
    }
}

TEST_F(WaveLoad, SectionsOffTheirPageOrBeyondTheWordsAreRefused)
{
    struct Change {
        size_t offset;
        uint8_t value;
    };
    // A start of 257, an end of 8 + 0x500, a start of 0x0700, a width that is none.
    for (const Change change : {Change{9, 1}, Change{12, 5}, Change{18, 7}, Change{4, 2}}) {
        std::vector<uint8_t> bytes = CountingFile(false);
        bytes[change.offset] = change.value;
        ExpectRefused(bytes);
    }
}

TEST_F(WaveLoad, WithoutMemoryNothingIsTouched)
{
    EmuFail(EmuAllocate, 1, false);
    ExpectRefused(CountingFile(true));
}
