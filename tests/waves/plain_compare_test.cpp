// The engine against the plain way, on programs and geometries without sense.
#include <cstring>
#include <random>

#include "tests/waves/plain_wave.h"

namespace {

class WaveCompare : public WaveTest {
protected:
    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random() % bound); }
    bool OneIn(uint32_t count) { return Below(count) == 0; }

    void Fill(WaveSteps& steps, uint32_t most)
    {
        const uint32_t count = Below(most + 1);
        for (uint32_t i = 0; i < count; ++i) {
            const uint32_t ticks = OneIn(12) ? Below(600) : Below(4);
            steps[i] = {Below(256) << (OneIn(2) ? 0 : 8), ticks};
        }
    }

    WaveFormat Format()
    {
        static const uint32_t limits[] = {1279, 1280, 2047, 2048, 4096, 8191};
        const bool shared = OneIn(2);
        return {OneIn(2), limits[Below(6)], shared,
                shared ? "Building Wave...." : "Build Sequencer Data"};
    }

    WaveProgram Program(const WaveFormat* format)
    {
        static const BinRule rules[] = {BinRule::Counter, BinRule::Position, BinRule::Leading};
        WaveProgram program = {.format = format};
        program.fill8 = OneIn(2);
        program.mask = OneIn(2) ? 0 : Below(256);
        program.padding = OneIn(2) ? 0 : Below(256);
        program.bins = rules[Below(3)];
        program.extraShifts = OneIn(2);
        for (WaveSteps* steps :
             {&program.idle, &program.row, &program.lineStart, &program.lineRepeat,
              &program.lineSettle, &program.lineEnd, &program.pixel}) {
            Fill(*steps, 5);
        }
        for (WaveSteps* steps :
             {&program.first, &program.other, &program.notLast, &program.last, &program.outside}) {
            Fill(*steps, 3);
        }
        if (OneIn(4)) {
            SetSteps(program.extraA, {{Below(256), 1 + Below(300)}});
            SetSteps(program.extraB, {{Below(256), 1 + Below(300)}});
        }
        return program;
    }

    void Compare(const WaveProgram& program, const WaveRequest& request)
    {
        const PlainResult plain = BuildPlainly(program, request);
        WaveReports.clear();
        WriteWave(program, request);
        ASSERT_EQ(record.LastError, plain.error);
        ASSERT_TRUE(FileBytes(path) == plain.file);
        ASSERT_EQ(memcmp(record.SequenceTable, plain.table, sizeof plain.table), 0);
        ASSERT_EQ(WaveReports.size(), plain.reports.size());
        for (size_t i = 0; i < plain.reports.size(); ++i) {
            ASSERT_EQ(WaveReports[i].hasText, plain.reports[i].hasText) << i;
            ASSERT_EQ(WaveReports[i].text, plain.reports[i].text) << i;
            ASSERT_EQ(WaveReports[i].percent, plain.reports[i].percent) << i;
            ASSERT_EQ(WaveReports[i].camera, plain.reports[i].camera) << i;
        }
        overflows += plain.error == 8;
    }

    std::mt19937 random{20240611};
    int overflows = 0;
};

} // namespace

TEST_F(WaveCompare, EngineWritesWhatThePlainWayWrites)
{
    constexpr int Runs = 3000;
    for (int run = 0; run < Runs; ++run) {
        SCOPED_TRACE(run);
        FitWaveSensor({.dummyColumns = static_cast<int16_t>(Below(5)),
                       .registerSize = static_cast<int16_t>(OneIn(4) ? Below(300) : Below(30))});
        const WaveFormat format = Format();
        const WaveProgram program = Program(&format);
        const int32_t vbin = static_cast<int32_t>(OneIn(8) ? Below(60) : Below(4));
        Compare(program, {path.c_str(), Below(12), Below(14), 1 + Below(6), vbin, Below(8), 0});
        if (HasFatalFailure()) return;
    }
    // Both outcomes were met often.
    EXPECT_GT(overflows, Runs / 10);
    EXPECT_LT(overflows, Runs / 2);
}
