// What every builder keeps, whatever its table.
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <string>

#include "core/errors.h"
#include "core/flags.h"
#include "emulator/emulator.h"
#include "sequencer/wave_load.h"
#include "tests/support/named_builders.h"
#include "tests/support/wave_text.h"

namespace {

// Writer by width, total limit and first report, told again in the writers' terms.
struct Writer {
    uint32_t byteWords;
    uint32_t limit;
    const char* caption;
};

constexpr Writer SharedWriter(uint32_t byteWords, uint32_t capacity)
{
    return {byteWords, capacity - 1, "Building Wave...."};
}

constexpr Writer OwnWriter(uint32_t byteWords, uint32_t limit)
{
    return {byteWords, limit, "Build Sequencer Data"};
}

Writer WriterOf(const std::string& name)
{
    static const std::set<std::string> eight = {"BuildWaveR3",       "BuildWaveR3Plus",
                                                "BuildWaveBriar",    "BuildWaveHeron",
                                                "BuildWaveTarn3Kaf", "BuildWaveTarn4Kaf"};
    static const std::set<std::string> shared = {
        "BuildWaveOspreyCcd4710",   "BuildWaveOspreyPlusCcd4710", "BuildWaveOspreyPlusCcd3011b",
        "BuildWaveOspreyPlusCcd55", "BuildWaveOspreyPlusKaf",     "BuildWaveTarn5Ccd",
        "BuildWaveTarn5Ccd442"};
    static const std::set<std::string> half = {"BuildWaveTarn4Ccd", "BuildWaveTarn4Ccd3011b",
                                               "BuildWaveTarn4Ccd4210", "BuildWaveSite",
                                               "BuildWaveLarchCcd4240"};
    static const std::set<std::string> unlimited = {"BuildWaveTarn4pKaf", "BuildWaveTarn4pKaf16800",
                                                    "BuildWaveLarchKaf", "BuildWaveLarchKaf4300"};
    if (name == "BuildWaveHeronPlus") return SharedWriter(1, 32768);
    if (name == "BuildWaveOspreyKaf" || name == "BuildWaveTarn5") return SharedWriter(0, 32768);
    if (shared.count(name) != 0) return SharedWriter(0, 65536);
    if (eight.count(name) != 0) return OwnWriter(1, 65536);
    if (half.count(name) != 0) return OwnWriter(0, 32767);
    if (unlimited.count(name) != 0) return OwnWriter(0, 65536);
    return OwnWriter(0, 65535); // OspreyCcd3011, the Tarn4p Ccd three, the 442 and 485 lines
}

class WaveBuilders : public WaveTest {};

void IgnoreBegin(uint32_t, int32_t) {}
void IgnorePut(uint32_t, const uint16_t*, uint32_t, int32_t) {}
void IgnoreEnd(int32_t) {}
const WaveSink IgnoringSink = {false, IgnoreBegin, IgnorePut, IgnoreEnd};

// The names of a source's lines that begin with `start`, comments left out.
std::set<std::string> NamesIn(const std::filesystem::path& path, const std::string& start)
{
    std::set<std::string> names;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("//", 0) == 0 || line.rfind(start, 0) != 0) continue;
        std::string name;
        for (const char c : line + ' ') {
            if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
                name += c;
            } else if (!name.empty()) {
                names.insert(name);
                name.clear();
            }
        }
    }
    return names;
}

} // namespace

TEST_F(WaveBuilders, AreAllListedHereAndComparedWithTheirTableInATestOfTheirOwn)
{
    const std::filesystem::path root = QVN_SOURCE_DIR;
    std::set<std::string> declared =
        NamesIn(root / "sequencer/builders/builders.h", "WaveBuilder ");
    declared.erase("WaveBuilder");
    declared.erase("BuildWaveUnod"); // writes no file
    std::set<std::string> listed;
    for (const NamedBuilder& builder : NamedBuilders) listed.insert(builder.name);
    EXPECT_EQ(listed, declared);
    EXPECT_EQ(declared.size(), 32u);

    std::set<std::string> compared;
    for (const auto& entry : std::filesystem::directory_iterator(root / "tests/waves")) {
        const std::string name = entry.path().filename().string();
        if (name == "all_builders_test.cpp" || name == "engine_test.cpp") continue;
        compared.merge(NamesIn(entry.path(), ""));
    }
    for (const std::string& name : declared) EXPECT_EQ(compared.count(name), 1u) << name;
}

TEST_F(WaveBuilders, WriteTheirWidthWithTheirCaption)
{
    for (const NamedBuilder& builder : NamedBuilders) {
        SCOPED_TRACE(builder.name);
        const Writer writer = WriterOf(builder.name);
        FitWaveSensor({});
        ASSERT_EQ(Build(builder.build, {}), 0);
        const WaveContents wave = ReadWaveFile(path);
        EXPECT_EQ(wave.problem, "");
        EXPECT_EQ(wave.byteWords, writer.byteWords);
        ASSERT_EQ(WaveReports.size(), 2u);
        EXPECT_EQ(WaveReports[0].text, writer.caption);
        EXPECT_EQ(WaveReports[0].percent, 0);
        EXPECT_FALSE(WaveReports[1].hasText);
        EXPECT_EQ(WaveReports[1].percent, 100);
        EXPECT_EQ(LoadWave(path.c_str(), IgnoringSink, 0), 1);
    }
}

// The longest pattern that is built ends less than a row of pages ahead of the
// limit, and one more row of binning is refused.
TEST_F(WaveBuilders, FillTheirPatternUpToTheirLimitAndReportEightBehindIt)
{
    for (const NamedBuilder& builder : NamedBuilders) {
        SCOPED_TRACE(builder.name);
        FitWaveSensor({.registerSize = 0});
        int32_t fits = 1, fails = 65536;
        while (fails - fits > 1) {
            const int32_t vbin = fits + (fails - fits) / 2;
            const int32_t error = Build(builder.build, {.vbin = vbin});
            ASSERT_TRUE(error == 0 || error == 8) << error;
            (error == 0 ? fits : fails) = vbin;
        }
        const uint32_t limit = WriterOf(builder.name).limit;
        ASSERT_EQ(Build(builder.build, {.vbin = fits}), 0);
        const uint32_t words = ReadWaveFile(path).wordCount;
        EXPECT_LE(words, limit);
        EXPECT_GT(words + 1024, limit);
        EXPECT_EQ(Build(builder.build, {.vbin = fails}), 8);
        EXPECT_EQ(FileSize(), 29u);
        EXPECT_EQ(LoadWave(path.c_str(), IgnoringSink, 0), 0);
    }
}

TEST_F(WaveBuilders, LookNeitherAtTheRowNorAtTheOption)
{
    for (const NamedBuilder& builder : NamedBuilders) {
        SCOPED_TRACE(builder.name);
        FitWaveSensor({});
        ASSERT_EQ(Build(builder.build, {.x = 1, .width = 2, .hbin = 2, .vbin = 2}), 0);
        const std::vector<uint8_t> first = FileBytes(path);
        builder.build(path.c_str(), 1, 7, 2, 2, 2, 0xFFFF, 0, 0);
        EXPECT_EQ(FileBytes(path), first);
    }
}

TEST_F(WaveBuilders, ClearTheErrorAndTellMemoryAndFileFailures)
{
    for (const NamedBuilder& builder : NamedBuilders) {
        SCOPED_TRACE(builder.name);
        FitWaveSensor({});
        StoreFlag(&record.LastError, ErrorArm);
        EXPECT_EQ(Build(builder.build, {}), 0);
        EmuFail(EmuAllocate, 1, false);
        EXPECT_EQ(Build(builder.build, {}), 22);
        EXPECT_FALSE(std::filesystem::exists(path));
        const std::string good = path;
        path = folder + "/missing/wave.bin";
        EXPECT_EQ(Build(builder.build, {}), 23);
        path = good;
    }
}

TEST_F(WaveBuilders, HonourExtraShiftsOnSixFamiliesOnly)
{
    const std::set<std::string> honour = {"BuildWaveR3",       "BuildWaveR3Plus",
                                          "BuildWaveBriar",    "BuildWaveHeron",
                                          "BuildWaveLarchKaf", "BuildWaveLarchKaf4300"};
    for (const NamedBuilder& builder : NamedBuilders) {
        FitWaveSensor({});
        ASSERT_EQ(Build(builder.build, {}), 0);
        const uint32_t without = LineLength();
        ASSERT_EQ(Build(builder.build, {.extraCount = 6}), 0);
        EXPECT_EQ(LineLength() > without, honour.count(builder.name) != 0) << builder.name;
    }
}

// The window begins at x columns, not at x times hbin, in seven builders.
TEST_F(WaveBuilders, CountTheWindowInBinnedColumnsBarSeven)
{
    const std::set<std::string> unbinned = {
        "BuildWaveBriar",       "BuildWaveTarn3Kaf",  "BuildWaveLarchKaf", "BuildWaveLarchKaf4300",
        "BuildWaveTarn4Ccd442", "BuildWaveSepCcd442", "BuildWaveSepCcd485"};
    for (const NamedBuilder& builder : NamedBuilders) {
        FitWaveSensor({.dummyColumns = 0, .registerSize = 12});
        ASSERT_EQ(Build(builder.build, {.x = 4, .width = 1, .hbin = 3}), 0);
        const std::vector<uint8_t> counted = FileBytes(path);
        // 3 x 4 lies behind the register as much as 3 x 100 does.
        ASSERT_EQ(Build(builder.build, {.x = 100, .width = 1, .hbin = 3}), 0);
        EXPECT_EQ(FileBytes(path) != counted, unbinned.count(builder.name) != 0) << builder.name;
    }
}

TEST_F(WaveBuilders, SurviveSensorsAndGeometriesWithoutSense)
{
    std::mt19937 random{7};
    const auto pick = [&random](auto... values) {
        const double choices[] = {static_cast<double>(values)...};
        return choices[random() % sizeof...(values)];
    };
    for (int run = 0; run < 6000; ++run) {
        const NamedBuilder& builder = NamedBuilders[static_cast<size_t>(run) % BuilderCount];
        FitWaveSensor({.sensor = static_cast<int32_t>(pick(250, 260, 120, 133, 290, 2000)),
                       .tick = pick(0.5, 0.5, 0.7, 12.0, 0.0, -1.0, 1e-12, NAN),
                       .period = static_cast<uint16_t>(pick(5, 1, 7, 65535)),
                       .dummyColumns = static_cast<int16_t>(pick(2, 0, -7, 32767)),
                       .registerSize = static_cast<int16_t>(pick(12, 0, -1, 400, 32767))});
        record.Config.CcdOutput = static_cast<int32_t>(pick(0, 3, -1, 99));
        const auto number = [&pick] {
            return static_cast<uint32_t>(
                pick(0, 1, 2, 3, 8, 50, 65536, 2147483648.0, 4294967295.0));
        };
        const int32_t error = Build(
            builder.build, {.x = number(),
                            .width = number(),
                            .hbin = number(),
                            .vbin = static_cast<int32_t>(pick(1, 2, 56, 0, -1, 5000, 2147483647.0)),
                            .extraCount = number()});
        ASSERT_TRUE(error == 0 || error == 8) << builder.name << " " << error;
        const Writer writer = WriterOf(builder.name);
        ASSERT_LE(FileSize(), 29 + size_t{writer.limit} * (writer.byteWords == 1 ? 1 : 2));
        ASSERT_EQ(LoadWave(path.c_str(), IgnoringSink, 0), error == 0 ? 1 : 0) << builder.name;
        ASSERT_LT(WaveReports.size(), 25000u);
    }
}
