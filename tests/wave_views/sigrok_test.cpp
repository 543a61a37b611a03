// Builders' patterns through qvn wave vcd, read by a logic analyser's program that knows
// nothing of them: it counts edges of the clock lines.
#include <cstdio>
#include <cstdlib>

#include "tests/support/wave_text.h"
#include "tests/tools/support.h"

namespace {

// The register has 12 columns: 2 dummy ones, 8 in four bins of 2, and 2 behind; three
// rows are joined. The tick of 500 ns is 5 units of the dump's 100 ns.
struct WaveInSigrok : WaveTest {
    Scratch scratch;

    void SetUp() override
    {
        WaveTest::SetUp();
        if (std::system("command -v sigrok-cli >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "sigrok-cli is not installed, so nobody counts the edges";
        }
        scratch.path = folder;
    }

    void MakeDump(int32_t platform, int32_t sensor, WaveBuilder* builder)
    {
        FitWaveSensor({.platform = platform, .sensor = sensor});
        ASSERT_EQ(Build(builder, {.width = 4, .hbin = 2, .vbin = 3}), 0);
        const ProgramResult result =
            RunProgram(scratch, {"wave", "vcd", "wave.bin", "-o", "w.vcd", "--library-path",
                                 QVN_TEST_SKY, "--platform", std::to_string(platform), "--sensor",
                                 std::to_string(sensor), "--tick", "500"});
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    // The last line of the analyser is "counter-1: 12".
    int Edges(const std::string& wire, const std::string& edge) const
    {
        const std::string command = "sigrok-cli -I vcd:downsample=5 -i " + folder +
                                    "/w.vcd -P counter:data=line_" + wire + ":data_edge=" + edge +
                                    " -A counter=edge_count 2>/dev/null | tail -n 1";
        FILE* output = popen(command.c_str(), "r");
        if (output == nullptr) return -1;
        char line[256] = "";
        if (std::fgets(line, sizeof line, output) == nullptr) line[0] = '\0';
        pclose(output);
        const std::string text = line;
        const size_t colon = text.rfind(' ');
        return colon == std::string::npos ? -1 : std::atoi(text.c_str() + colon);
    }
};

} // namespace

// 0, 8, three times 72 136 72 8; 32 0 8 8 outside; 32 1 8 8, 0 0 8 14 a bin; 8.
TEST_F(WaveInSigrok, HeronPlusHasItsRowsShiftsResetsAndConversions)
{
    MakeDump(61, 255, BuildWaveHeronPlus);
    EXPECT_EQ(Edges("row_transfer", "rising"), 3);
    // 8 rises at the start of the line, and falls and rises at each position.
    EXPECT_EQ(Edges("horizontal_shift", "falling"), 12);
    EXPECT_EQ(Edges("horizontal_shift", "rising"), 13);
    EXPECT_EQ(Edges("reset_gate", "rising"), 4 + 4); // outside, and one a bin
    EXPECT_EQ(Edges("convert", "rising"), 4);
}

// Three times 32 64 32 0; 144 8 outside; 144 17 8, 16 2 4 a bin; 0; 8 beside all without
// 16. Then all but the strobes is inverted.
TEST_F(WaveInSigrok, BriarHasItsRowsShiftsResetsAndConversions)
{
    MakeDump(42, 255, BuildWaveBriar);
    EXPECT_EQ(Edges("row_transfer", "falling"), 3);
    // The rows have 8; each position takes it away and gives it back.
    EXPECT_EQ(Edges("horizontal_shift", "falling"), 12);
    EXPECT_EQ(Edges("horizontal_shift", "rising"), 12);
    EXPECT_EQ(Edges("reset_gate", "falling"), 4 + 4);
    EXPECT_EQ(Edges("convert", "rising"), 4);
}

// 0, three rows, 72, 120; outside 80x2 64 72x2 8 104 120x2 112; a bin 80x2 64 72 8 73x6
// 104 120x2 80, 80x2 64 72x2 104 120x2 112 80x4 84; 0.
TEST_F(WaveInSigrok, Tarn4CcdHasItsRowsShiftsResetsAndConversions)
{
    MakeDump(24, 120, BuildWaveTarn4Ccd);
    // 384, 256 and 768 have 256, one behind the other.
    EXPECT_EQ(Edges("row_transfer", "rising"), 3);
    // 120 of the line's start has 32, then each position; all lose it again.
    EXPECT_EQ(Edges("horizontal_shift", "rising"), 1 + 12);
    EXPECT_EQ(Edges("horizontal_shift", "falling"), 1 + 12);
    // 64 is down while the node is reset, and at both ends of the line.
    EXPECT_EQ(Edges("reset_gate", "falling"), 4 + 4 + 1);
    EXPECT_EQ(Edges("reset_gate", "rising"), 1 + 4 + 4);
    EXPECT_EQ(Edges("convert", "rising"), 4);
}
