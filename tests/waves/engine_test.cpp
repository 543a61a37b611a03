// What all builders have from the engine: the file, the limits, the window and
// the bins, the times, the reports, the failures.
#include "sequencer/wave_engine.h"

#include <sys/resource.h>

#include <cmath>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>

#include "core/errors.h"
#include "core/flags.h"
#include "emulator/emulator.h"
#include "sequencer/wave_load.h"
#include "tests/support/wave_text.h"

namespace {

// A program whose words say what they are. Idle, Row and Pixel take a page each.
constexpr uint32_t Outside = 1, First = 2, Other = 3, NotLast = 4, Last = 5, LineEnd = 9;
const std::string Whole3 = "2 4 3 4 3 5 "; // a bin of three pixels
const std::string Whole2 = "2 4 3 5 ";

WaveProgram Telling(const WaveFormat* format, BinRule rule = BinRule::Counter)
{
    WaveProgram program = {.format = format};
    program.bins = rule;
    SetSteps(program.idle, {{11}});
    SetSteps(program.row, {{12}});
    SetSteps(program.first, {{First}});
    SetSteps(program.other, {{Other}});
    SetSteps(program.notLast, {{NotLast}});
    SetSteps(program.last, {{Last}});
    SetSteps(program.outside, {{Outside}});
    SetSteps(program.lineEnd, {{LineEnd}});
    SetSteps(program.pixel, {{13}});
    return program;
}

class WaveEngine : public WaveTest {
protected:
    int32_t Write(const WaveProgram& program, const WaveWindow& window = {})
    {
        WaveReports.clear();
        WriteWave(program, {path.c_str(), window.x, window.width, window.hbin, window.vbin,
                            window.extraCount, 0});
        return LoadFlag(record.LastError);
    }

    // A program of one run of words in each section.
    int32_t WriteRuns(const WaveFormat* format, uint32_t idle, uint32_t row, uint32_t line,
                      uint32_t pixel)
    {
        record.Ccd.HorRegSize = 0;
        WaveProgram program = {.format = format};
        SetSteps(program.idle, {{1, idle}});
        SetSteps(program.row, {{2, row}});
        SetSteps(program.lineStart, {{3, line}});
        SetSteps(program.pixel, {{4, pixel}});
        return Write(program);
    }

    uint16_t Entry(int index) const { return record.SequenceTable[index]; }

    // 1 to 12, as the small sensor is fitted.
    void ExpectOldTable() const
    {
        for (int i = 0; i < 12; ++i) EXPECT_EQ(Entry(i), i + 1) << i;
    }
};

int SinkCalls;
void CountBegin(uint32_t, int32_t)
{
    ++SinkCalls;
}
void CountPut(uint32_t, const uint16_t*, uint32_t, int32_t)
{
    ++SinkCalls;
}
void CountEnd(int32_t)
{
    ++SinkCalls;
}
const WaveSink CountingSink = {false, CountBegin, CountPut, CountEnd};

} // namespace

// --- the file ---

TEST_F(WaveEngine, FourSectionsFillWholePages)
{
    for (const WaveFormat* format : {&SharedBytes32768, &OwnWords}) {
        FitWaveSensor({});
        ASSERT_EQ(WriteRuns(format, 1, 9, 300, 9), 0);
        const uint16_t table[8] = {0, 0, 256, 8, 1024, 8, 512, 299};
        EXPECT_EQ(memcmp(record.SequenceTable, table, sizeof table), 0);
        const WaveContents wave = ReadWaveFile(path);
        EXPECT_EQ(wave.problem, "");
        EXPECT_EQ(wave.wordCount, 1280u);
        EXPECT_EQ(FileSize(), 29u + (format->wide ? 2560 : 1280));
        EXPECT_EQ(Idle(), "1");
        EXPECT_EQ(Row(), "2x9");
        EXPECT_EQ(Line(), "3x300");
        EXPECT_EQ(Pixel(), "4x9");
    }
}

TEST_F(WaveEngine, HeaderIsLaidOutByteByByte)
{
    ASSERT_EQ(WriteRuns(&OwnBytes, 1, 9, 300, 9), 0);
    std::vector<uint8_t> head = FileBytes(path);
    head.resize(29);
    // 1280 words of 8 bits; Idle, Row, Pixel and Line; the extra entries are what
    // the record holds: 9 and 10, then 12 ahead of 11.
    const std::vector<uint8_t> want = {0, 5, 0, 0, 1,    0, 0, 0, 0,  0, 1,  8, 0,  0, 4,
                                       8, 0, 0, 2, 0x2B, 1, 9, 0, 10, 0, 12, 0, 11, 0};
    EXPECT_EQ(head, want);
    EXPECT_EQ(Entry(8), 9);
    EXPECT_EQ(Entry(9), 10);
    EXPECT_EQ(Entry(10), 11);
    EXPECT_EQ(Entry(11), 12);
}

TEST_F(WaveEngine, ExtraSectionsStandAheadOfPixelAndTheSecondIsCrossed)
{
    WaveProgram program = Telling(&OwnWords);
    SetSteps(program.extraA, {{21, 2}});
    SetSteps(program.extraB, {{22, 3}});
    ASSERT_EQ(Write(program), 0);
    EXPECT_EQ(Entry(6), 512); // Line
    EXPECT_EQ(Entry(8), 768); // A: start, end
    EXPECT_EQ(Entry(9), 1);
    EXPECT_EQ(Entry(10), 2); // B: end, start
    EXPECT_EQ(Entry(11), 1024);
    EXPECT_EQ(Entry(4), 1280); // Pixel
    const std::vector<uint8_t> bytes = FileBytes(path);
    EXPECT_EQ(bytes[25] | bytes[26] << 8, 1024);
    EXPECT_EQ(bytes[27] | bytes[28] << 8, 2);
    EXPECT_EQ(Steps(path, ExtraA), "21x2");
    EXPECT_EQ(Steps(path, ExtraB), "22x3");
    EXPECT_EQ(Pixel(), "13");
}

TEST_F(WaveEngine, SectionOfWholePagesGetsNoPadding)
{
    ASSERT_EQ(WriteRuns(&OwnBytes, 256, 255, 512, 257), 0);
    EXPECT_EQ(Entry(2), 256);
    EXPECT_EQ(Entry(6), 512);
    EXPECT_EQ(Entry(4), 1024);
    EXPECT_EQ(ReadWaveFile(path).wordCount, 1536u);
    EXPECT_EQ(Padding(path, IdleSection), "");
    EXPECT_EQ(Padding(path, RowSection), "0");
    EXPECT_EQ(Padding(path, PixelSection), "0x255");
}

TEST_F(WaveEngine, FirstWordOfASectionInTheFileIsTheLastPlayed)
{
    WaveProgram program = Telling(&OwnBytes);
    SetSteps(program.idle, {{31}, {32}, {33}});
    ASSERT_EQ(Write(program), 0);
    const std::vector<uint8_t> bytes = FileBytes(path);
    EXPECT_EQ(bytes[29], 33);
    EXPECT_EQ(bytes[31], 31);
    EXPECT_EQ(bytes[32], 0); // padding
}

TEST_F(WaveEngine, SecondBuildLeavesAFileOfTheSameSize)
{
    ASSERT_EQ(WriteRuns(&SharedWords65536, 1, 9, 3000, 9), 0);
    const std::vector<uint8_t> first = FileBytes(path);
    ASSERT_EQ(WriteRuns(&SharedWords65536, 1, 9, 3000, 9), 0);
    EXPECT_EQ(FileBytes(path), first);
    ASSERT_EQ(WriteRuns(&SharedWords65536, 1, 9, 3, 9), 0);
    EXPECT_EQ(FileSize(), 29u + 2 * 1024);
}

TEST_F(WaveEngine, TransformReachesEmittedWordsOnly)
{
    WaveProgram program = Telling(&OwnBytes);
    program.fill8 = true;
    program.mask = 0x1F0; // an 8-bit word has no room for the highest bit
    program.padding = 7;
    SetSteps(program.row, {{0}, {16}, {8}, {1}});
    ASSERT_EQ(Write(program), 0);
    // 8, 16, 8 and 9, each with 0xF0 exchanged.
    EXPECT_EQ(Row(), "248 224 248 249");
    EXPECT_EQ(Padding(path, RowSection), "7x252");
}

TEST_F(WaveEngine, StepOfNoTicksWritesNothingAndNoWordEndsATable)
{
    WaveProgram program = Telling(&OwnBytes);
    SetSteps(program.row, {{1, 0}, {2}, {3, 0}, {4, 2}});
    SetSteps(program.idle, {{1}, {2}, {3}});
    SetSteps(program.idle, {{7}}); // a shorter table replaces the whole
    ASSERT_EQ(Write(program), 0);
    EXPECT_EQ(Row(), "2 4x2");
    EXPECT_EQ(Idle(), "7");
}

TEST_F(WaveEngine, OtherCamerasKeepTheirTable)
{
    CameraTable[5] = record;
    WriteWave(Telling(&OwnBytes), {path.c_str(), 0, 8, 1, 1, 0, 5});
    ExpectOldTable();
    EXPECT_EQ(CameraTable[5].SequenceTable[6], 512);
    EXPECT_EQ(WaveReports.front().camera, 5);
    CameraTable[5] = CameraRecord{};
}

// --- limits ---

TEST_F(WaveEngine, PatternStopsAtTheLimitOfItsWriter)
{
    struct {
        const WaveFormat* format;
        uint32_t linePages; // beside one page each for Idle, Row and Pixel
    } const cases[] = {
        {&SharedBytes32768, 124}, {&SharedWords32768, 124}, {&OwnWords32767, 124}, // 32767
        {&SharedWords65536, 252}, {&OwnWords65535, 252},                           // 65535
        {&OwnBytes, 253},         {&OwnWords, 253},                                // 65536
    };
    for (const auto& limit : cases) {
        SCOPED_TRACE(limit.linePages);
        EXPECT_EQ(WriteRuns(limit.format, 1, 1, 256 * limit.linePages, 1), 0);
        EXPECT_EQ(ReadWaveFile(path).wordCount, 256 * (limit.linePages + 3));
        EXPECT_EQ(WriteRuns(limit.format, 1, 1, 256 * limit.linePages + 1, 1), 8);
    }
}

TEST_F(WaveEngine, WordThatWouldMakeTheTotal65536FailsWithTheSharedWriter)
{
    // 255 pages hold 65280 words. One word more is padded, and the padding fails.
    EXPECT_EQ(WriteRuns(&SharedWords65536, 1, 1, 1, 252 * 256), 0);
    EXPECT_EQ(WriteRuns(&SharedWords65536, 1, 1, 1, 252 * 256 + 1), 8);
}

TEST_F(WaveEngine, EverySectionCanOverflow)
{
    for (const WaveFormat* format : {&SharedBytes32768, &OwnWords32767, &OwnBytes}) {
        EXPECT_EQ(WriteRuns(format, 70000, 1, 1, 1), 8);
        EXPECT_EQ(WriteRuns(format, 1, 70000, 1, 1), 8);
        EXPECT_EQ(WriteRuns(format, 1, 1, 70000, 1), 8);
        EXPECT_EQ(WriteRuns(format, 1, 1, 1, 70000), 8);
        EXPECT_EQ(FileSize(), 29u);
    }
}

TEST_F(WaveEngine, OverflowLeavesAFileThatNothingLoadsAndTheOldTable)
{
    for (const WaveFormat* format : {&SharedWords65536, &OwnWords65535, &OwnBytes}) {
        FitWaveSensor({});
        ASSERT_EQ(WriteRuns(format, 1, 1, 70000, 1), 8);
        EXPECT_EQ(LoadFlag(record.LastError), ErrorPatternOverflow);
        ExpectOldTable();
        EXPECT_EQ(FileSize(), 29u);
        EXPECT_EQ(ReadWaveFile(path).wordCount, 0u);
        SinkCalls = 0;
        EXPECT_EQ(LoadWave(path.c_str(), CountingSink, 0), 0);
        EXPECT_EQ(SinkCalls, 0);
        ExpectOldTable();
    }
}

TEST_F(WaveEngine, GoodBuildAfterAnOverflowIsGood)
{
    ASSERT_EQ(WriteRuns(&OwnBytes, 1, 1, 70000, 1), 8);
    ASSERT_EQ(WriteRuns(&OwnBytes, 1, 1, 7, 1), 0);
    EXPECT_EQ(Line(), "3x7");
    EXPECT_EQ(LoadWave(path.c_str(), CountingSink, 0), 1);
}

// --- window and bins ---

TEST_F(WaveEngine, UnbinnedPixelIsTheFirstAndTheLastOfItsBin)
{
    ASSERT_EQ(Write(Telling(&OwnBytes), {.x = 3, .width = 4}), 0);
    EXPECT_EQ(Line(), Folded("1x5 " + Times(4, "2 5") + " 1x3 9"));
}

TEST_F(WaveEngine, WindowIsCountedInBinnedColumns)
{
    ASSERT_EQ(Write(Telling(&OwnBytes), {.x = 1, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded("1x5 " + Whole3 + Whole3 + "1 9"));
    ASSERT_EQ(Write(Telling(&OwnBytes), {.x = 4, .width = 1, .hbin = 2}), 0);
    EXPECT_EQ(Line(), Folded("1x10 " + Whole2 + "9"));
}

TEST_F(WaveEngine, ByPositionTheWindowBeginsAtUnbinnedColumns)
{
    const WaveProgram program = Telling(&OwnBytes, BinRule::Position);
    ASSERT_EQ(Write(program, {.x = 1, .width = 2, .hbin = 3}), 0); // 3 to 8
    EXPECT_EQ(Line(), Folded("1x3 " + Whole3 + Whole3 + "1x3 9"));
    ASSERT_EQ(Write(program, {.x = 0, .width = 2, .hbin = 3}), 0); // 2 to 7
    EXPECT_EQ(Line(), Folded("1x2 3 4 " + Whole3 + Whole2 + "1x4 9"));
    ASSERT_EQ(Write(program, {.x = 2, .width = 2, .hbin = 3}), 0); // 4 to 9
    EXPECT_EQ(Line(), Folded("1x4 3 4 3 4 " + Whole3 + "2 5 1x2 9"));
}

TEST_F(WaveEngine, WindowYieldsItsWidthInStrobesWhereverItBegins)
{
    FitWaveSensor({.registerSize = 60});
    for (const BinRule rule : {BinRule::Counter, BinRule::Position}) {
        for (uint32_t hbin = 1; hbin <= 5; ++hbin) {
            for (uint32_t x = 0; x <= 6; ++x) {
                ASSERT_EQ(Write(Telling(&OwnBytes, rule), {.x = x, .width = 4, .hbin = hbin}), 0);
                const std::string line = Line() + ' ';
                size_t strobes = 0;
                for (size_t at = line.find(" 5 "); at != line.npos; at = line.find(" 5 ", at + 1)) {
                    ++strobes;
                }
                EXPECT_EQ(strobes, 4u) << x << " " << hbin;
            }
        }
    }
}

TEST_F(WaveEngine, LeadingRuleHasTheFullFormOnTheWindowsFirstPixelAndEveryBinBehindIt)
{
    const WaveProgram program = Telling(&OwnBytes, BinRule::Leading);
    ASSERT_EQ(Write(program, {.x = 1, .width = 2, .hbin = 3}), 0); // 5 to 10
    EXPECT_EQ(Line(), Folded("1x5 " + Times(2, "2 4 3 4 3 4 ") + "1 9"));
    ASSERT_EQ(Write(program, {.x = 2, .width = 2, .hbin = 3}), 0); // 8 to 13, cut
    EXPECT_EQ(Line(), Folded("1x8 2 4 3 4 3 4 2 4 9"));
}

TEST_F(WaveEngine, BinCutOffByTheRegisterGetsNoStrobe)
{
    ASSERT_EQ(Write(Telling(&OwnBytes), {.x = 2, .width = 2, .hbin = 3}), 0); // 8 to 13
    EXPECT_EQ(Line(), Folded("1x8 " + Whole3 + "2 4 9"));
    const WaveProgram program = Telling(&OwnBytes, BinRule::Position);
    ASSERT_EQ(Write(program, {.x = 4, .width = 2, .hbin = 4}), 0); // 6 to 13: 8 to 11 is whole
    EXPECT_EQ(Line(), Folded("1x6 3 4 3 4 2 4 3 4 3 4 3 5 9"));
    ASSERT_EQ(Write(program, {.x = 8, .width = 1, .hbin = 5}), 0); // 10 to 14
    EXPECT_EQ(Line(), "1x10 2 4 3 4 9");
}

TEST_F(WaveEngine, ByPositionAWindowThatEndsWithTheRegisterIsClosed)
{
    const WaveProgram program = Telling(&OwnBytes, BinRule::Position);
    ASSERT_EQ(Write(program, {.x = 7, .width = 1, .hbin = 3}), 0); // 9 to 11, one bin
    EXPECT_EQ(Line(), Folded("1x9 " + Whole3 + "9"));
    ASSERT_EQ(Write(program, {.x = 5, .width = 1, .hbin = 5}), 0); // 7 to 11, a bin from 10
    EXPECT_EQ(Line(), "1x7 3 4 3 4 3 4 2 4 3 5 9");
}

TEST_F(WaveEngine, FullFrameGivenUnbinnedReachesToTheRegistersEnd)
{
    // Eight columns with bins of three: the window of 24 is cut at 12.
    ASSERT_EQ(Write(Telling(&OwnBytes), {.width = 8, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded("1x2 " + Times(3, Whole3) + "2 4 9"));
    // Given binned, 8 / 3 AND 0xFFFE, it is 2.
    ASSERT_EQ(Write(Telling(&OwnBytes), {.width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded("1x2 " + Times(2, Whole3) + "1x4 9"));
}

TEST_F(WaveEngine, ExtraShiftsLengthenTheRegisterWhereABuilderHonoursThem)
{
    WaveProgram program = Telling(&OwnBytes);
    ASSERT_EQ(Write(program, {.width = 1, .extraCount = 6}), 0);
    EXPECT_EQ(Line(), "1x2 2 5 1x9 9");
    program.extraShifts = true;
    ASSERT_EQ(Write(program, {.width = 1, .extraCount = 6}), 0);
    EXPECT_EQ(Line(), "1x2 2 5 1x15 9");
}

TEST_F(WaveEngine, RowsAreShiftedOnceForEachBinnedRow)
{
    WaveProgram program = Telling(&OwnBytes);
    record.Ccd.HorRegSize = 0;
    SetSteps(program.lineStart, {{40}});
    SetSteps(program.lineRepeat, {{41, 2}, {42}});
    SetSteps(program.lineSettle, {{43}});
    ASSERT_EQ(Write(program, {.vbin = 3}), 0);
    EXPECT_EQ(Line(), "40 41x2 42 41x2 42 41x2 42 43 9");
    for (const int32_t vbin : {0, -1, INT32_MIN}) {
        ASSERT_EQ(Write(program, {.vbin = vbin}), 0) << vbin;
        EXPECT_EQ(Line(), "40 43 9");
    }
    EXPECT_EQ(Write(program, {.vbin = INT32_MAX}), 8);
}

// --- geometries without sense ---

TEST_F(WaveEngine, EmptyOrFarWindowsArePlainShifts)
{
    const uint32_t far = UINT32_MAX;
    for (const BinRule rule : {BinRule::Counter, BinRule::Position, BinRule::Leading}) {
        const WaveProgram program = Telling(&OwnBytes, rule);
        for (const WaveWindow& window :
             {WaveWindow{.width = 0}, WaveWindow{.x = 10}, WaveWindow{.hbin = 0},
              WaveWindow{.x = far}, WaveWindow{.x = far, .width = far},
              WaveWindow{.x = far, .width = 2, .hbin = far},
              WaveWindow{.x = far, .width = far, .hbin = far}}) {
            ASSERT_EQ(Write(program, window), 0);
            EXPECT_EQ(Line(), "1x12 9") << window.x << " " << window.width << " " << window.hbin;
        }
    }
}

TEST_F(WaveEngine, HugeBinsEndWithTheRegister)
{
    for (const uint32_t hbin : {13u, 65536u, UINT32_MAX}) {
        ASSERT_EQ(Write(Telling(&OwnBytes), {.width = UINT32_MAX, .hbin = hbin}), 0);
        EXPECT_EQ(Line(), Folded("1x2 2 4 " + Times(9, "3 4 ") + "9")) << hbin;
        // The only multiple in the register is its first position, a dummy.
        const WaveProgram program = Telling(&OwnBytes, BinRule::Position);
        ASSERT_EQ(Write(program, {.width = UINT32_MAX, .hbin = hbin}), 0);
        EXPECT_EQ(Line(), Folded("1x2 " + Times(10, "3 4 ") + "9")) << hbin;
    }
}

TEST_F(WaveEngine, RegisterOfNoLengthLeavesTheLineItsEnd)
{
    for (const int size : {0, -1, -32768}) {
        FitWaveSensor({.registerSize = static_cast<int16_t>(size)});
        ASSERT_EQ(Write(Telling(&OwnBytes)), 0);
        EXPECT_EQ(Line(), "9");
    }
    FitWaveSensor({.registerSize = 0});
    WaveProgram program = Telling(&OwnBytes);
    program.extraShifts = true;
    ASSERT_EQ(Write(program, {.width = 1, .extraCount = 120}), 0);
    EXPECT_EQ(Line(), "1x2 2 5 1x117 9");
    EXPECT_EQ(WaveReports.size(), 2u); // no share of a register without length
}

TEST_F(WaveEngine, LongestRegisterIsBuilt)
{
    FitWaveSensor({.registerSize = INT16_MAX});
    ASSERT_EQ(Write(Telling(&OwnBytes), {.width = 30000}), 0);
    EXPECT_EQ(LineLength(), 32767u + 30000 + 1);
    EXPECT_EQ(Write(Telling(&SharedBytes32768), {.width = 30000}), 8);
}

TEST_F(WaveEngine, NegativeDummiesCutTheWindow)
{
    FitWaveSensor({.dummyColumns = -3});
    // -3 to 2, of which 0 to 2 are in the register; 1 to 3 with the window moved on.
    ASSERT_EQ(Write(Telling(&OwnBytes), {.width = 6}), 0);
    EXPECT_EQ(Line(), Folded(Times(3, "2 5 ") + "1x9 9"));
    ASSERT_EQ(Write(Telling(&OwnBytes), {.x = 1, .width = 1, .hbin = 4}), 0);
    EXPECT_EQ(Line(), "1 2 4 3 4 3 4 3 5 1x7 9");
}

TEST_F(WaveEngine, ExtremeExtraCountEndsWithEight)
{
    WaveProgram program = Telling(&OwnBytes);
    program.extraShifts = true;
    for (const uint32_t extra : {65536u, 0x7FFFFFFFu, 0xFFFFFFF0u, UINT32_MAX}) {
        EXPECT_EQ(Write(program, {.extraCount = extra}), 8) << extra;
        EXPECT_LT(WaveReports.size(), 25000u);
        EXPECT_EQ(FileSize(), 29u);
    }
}

// --- times ---

TEST_F(WaveEngine, TimesAreTruncated)
{
    FitWaveSensor({.tick = 0.7, .period = 5});
    EXPECT_EQ(TicksOf(5.0, 0), 7u); // 7.14
    EXPECT_EQ(TicksOf(4.1, 0), 5u); // 5.86
    EXPECT_EQ(TicksOf(0.6, 0), 0u);
    EXPECT_EQ(FlooredTicks(0.6, 0), 1u);
    EXPECT_EQ(PhaseTicks(0), 7u);
    EXPECT_EQ(PhaseWords(0), 5u);
    EXPECT_EQ(IdleTicks(0), 14u);
    FitWaveSensor({.tick = 0.5});
    EXPECT_EQ(IdleTicks(0), 20u);
    FitWaveSensor({.tick = 20.0});
    EXPECT_EQ(IdleTicks(0), 0u);
    EXPECT_EQ(PhaseTicks(0), 1u);
    FitWaveSensor({.period = 0});
    EXPECT_EQ(PhaseTicks(0), 1u);
    EXPECT_EQ(PhaseWords(0), 0u);
}

TEST_F(WaveEngine, ClockWithoutSenseGivesTheFloorOrEight)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double tick : {nan, infinity, -infinity, -0.5, -0.0, 1e300, -1e-300}) {
        FitWaveSensor({.tick = tick, .registerSize = 0});
        EXPECT_EQ(TicksOf(10.0, 0), 0u) << tick;
        EXPECT_EQ(PhaseTicks(0), 1u) << tick;
        EXPECT_EQ(Build(BuildWaveTarn4Kaf, {}), 0) << tick;
        EXPECT_EQ(Line(), "40 72 40 8x2") << tick;
    }
    for (const double tick : {0.0, 1e-300, 1e-9}) {
        FitWaveSensor({.tick = tick});
        EXPECT_EQ(Build(BuildWaveTarn4Kaf, {}), 8) << tick;
        EXPECT_EQ(Build(BuildWaveR3, {}), 8) << tick;
        EXPECT_EQ(Build(BuildWaveHeronPlus, {}), 8) << tick;
        EXPECT_EQ(FileSize(), 29u);
    }
}

// --- reports ---

TEST_F(WaveEngine, ProgressIsTheCaptionTheLineAndAHundred)
{
    struct {
        const WaveFormat* format;
        const char* caption;
    } const cases[] = {
        {&SharedBytes32768, "Building Wave...."}, {&SharedWords32768, "Building Wave...."},
        {&SharedWords65536, "Building Wave...."}, {&OwnBytes, "Build Sequencer Data"},
        {&OwnWords, "Build Sequencer Data"},      {&OwnWords32767, "Build Sequencer Data"},
        {&OwnWords65535, "Build Sequencer Data"},
    };
    for (const auto& writer : cases) {
        FitWaveSensor({.registerSize = 120});
        ASSERT_EQ(Write(Telling(writer.format)), 0);
        ASSERT_EQ(WaveReports.size(), 4u);
        EXPECT_TRUE(WaveReports[0].hasText);
        EXPECT_EQ(WaveReports[0].text, writer.caption);
        EXPECT_EQ(WaveReports[0].percent, 0);
        const int32_t percents[] = {0, 41, 83, 100}; // 50 and 100 of 120
        for (size_t i = 1; i < 4; ++i) {
            EXPECT_FALSE(WaveReports[i].hasText);
            EXPECT_EQ(WaveReports[i].percent, percents[i]);
        }
    }
}

TEST_F(WaveEngine, ProgressCountsTheExtraShiftsAgainstTheRegister)
{
    FitWaveSensor({.registerSize = 100});
    WaveProgram program = Telling(&OwnBytes);
    ASSERT_EQ(Write(program, {.extraCount = 51}), 0);
    EXPECT_EQ(WaveReports.size(), 3u); // position 100 is behind the register
    program.extraShifts = true;
    ASSERT_EQ(Write(program, {.extraCount = 51}), 0);
    ASSERT_EQ(WaveReports.size(), 5u);
    EXPECT_EQ(WaveReports[1].percent, 50);
    EXPECT_EQ(WaveReports[2].percent, 100);
    EXPECT_EQ(WaveReports[3].percent, 150);
    EXPECT_EQ(WaveReports[4].percent, 100);
}

TEST_F(WaveEngine, OverflowIsReportedToTheEndByOwnWritersAndToTheSectionByTheShared)
{
    FitWaveSensor({.registerSize = 120});
    for (const bool shared : {false, true}) {
        WaveProgram program = Telling(shared ? &SharedWords65536 : &OwnWords65535);
        SetSteps(program.lineStart, {{0, 70000}});
        ASSERT_EQ(Write(program), 8);
        EXPECT_EQ(WaveReports.size(), shared ? 3u : 4u); // without the last 100
        SetSteps(program.row, {{0, 70000}});
        ASSERT_EQ(Write(program), 8);
        EXPECT_EQ(WaveReports.size(), shared ? 1u : 4u); // the line is not reached
    }
}

// --- failures ---

TEST_F(WaveEngine, MemoryThatCannotBeHadIs22)
{
    ASSERT_EQ(Write(Telling(&OwnBytes)), 0);
    FitWaveSensor({});
    EmuFail(EmuAllocate, 1, false);
    EXPECT_EQ(Write(Telling(&OwnBytes)), ErrorPatternMemory);
    EXPECT_FALSE(std::filesystem::exists(path)); // deleted first
    EXPECT_TRUE(WaveReports.empty());
    ExpectOldTable();
}

TEST_F(WaveEngine, FileThatCannotBeCreatedIs23)
{
    path = folder + "/missing/wave.bin";
    EXPECT_EQ(Write(Telling(&OwnBytes)), ErrorPatternFile);
    EXPECT_TRUE(WaveReports.empty());
    ExpectOldTable();
    path = folder + "/occupied";
    std::filesystem::create_directories(path + "/inner");
    EXPECT_EQ(Write(Telling(&OwnBytes)), ErrorPatternFile);
    EXPECT_TRUE(std::filesystem::is_directory(path + "/inner"));
    // Not even a pattern that would not fit gets as far as 8.
    EXPECT_EQ(WriteRuns(&OwnBytes, 1, 1, 70000, 1), ErrorPatternFile);
}

TEST_F(WaveEngine, FileThatCannotBeWrittenWholeIs23AndTakenAway)
{
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    rlimit small = before;
    small.rlim_cur = 512;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const int32_t error = Write(Telling(&OwnBytes));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    signal(SIGXFSZ, handler);
    EXPECT_EQ(error, ErrorPatternFile);
    EXPECT_FALSE(std::filesystem::exists(path));
    ExpectOldTable();
}

TEST_F(WaveEngine, BuildClearsTheErrorOfTheLastOne)
{
    StoreFlag(&record.LastError, ErrorArm);
    EXPECT_EQ(Write(Telling(&OwnBytes)), 0);
    StoreFlag(&record.LastError, ErrorPatternOverflow);
    EXPECT_EQ(Write(Telling(&SharedBytes32768)), 0);
}
