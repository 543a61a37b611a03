// The tables of the workbench against the library's.
#include "bench/builders.h"
#include "bench/record_loan.h"
#include "core/binding.h"
#include "sequencer/builders/builders.h"
#include "tests/support/wave_text.h"

namespace {

class BenchBuilderLimits : public WaveTest, public testing::WithParamInterface<BuilderRow> {
protected:
    bool Fits(int32_t vbin) { return Build(GetParam().build, {.vbin = vbin}) == 0; }
};

std::vector<BuilderRow> FileBuilders()
{
    std::vector<BuilderRow> rows;
    for (const BuilderRow* row = BuilderRows; row->platform != 0; ++row) {
        if (row->build != BuildWaveNone) rows.push_back(*row);
    }
    return rows;
}

int32_t AnySensor(const BuilderRow& row)
{
    return row.sensors == nullptr ? 255 : row.sensors[0];
}

std::string RowName(const testing::TestParamInfo<BuilderRow>& info)
{
    return std::to_string(info.param.platform) + "_" + std::to_string(AnySensor(info.param));
}

} // namespace

// The largest binning that fits leaves no room for another row and its padding.
TEST_P(BenchBuilderLimits, AreThoseOfTheBuilders)
{
    const BuilderRow& row = GetParam();
    const int32_t link = row.link == AnyLink ? 0 : row.link;
    const BenchBuilder* builder = FindBenchBuilder(row.platform, AnySensor(row), link);
    ASSERT_NE(builder, nullptr);
    FitWaveSensor({.platform = row.platform, .sensor = AnySensor(row)});
    int32_t fits = 200, overflows = 65537;
    ASSERT_TRUE(Fits(fits));
    ASSERT_FALSE(Fits(overflows));
    while (overflows - fits > 1) {
        const int32_t middle = (fits + overflows) / 2;
        (Fits(middle) ? fits : overflows) = middle;
    }
    ASSERT_TRUE(Fits(fits - 1));
    const uint32_t shorter = LineLength();
    ASSERT_TRUE(Fits(fits));
    const uint32_t total = ReadWaveFile(path).wordCount;
    EXPECT_LE(total, builder->format->limit);
    EXPECT_GT(total + (LineLength() - shorter) + 255, builder->format->limit);
    EXPECT_EQ(ReadWaveFile(path).byteWords, builder->format->wide ? 0u : 1u);
}

INSTANTIATE_TEST_SUITE_P(All, BenchBuilderLimits, testing::ValuesIn(FileBuilders()), RowName);

// A driver's row has the numbers that the workbench uses without it.
TEST(BenchPlatforms, AgreeWithTheBinding)
{
    for (const PlatformBinding* row = PlatformBindings; row->platform != 0; ++row) {
        if (row->waveExtraCount != Keep) {
            EXPECT_EQ(row->waveExtraCount, BenchExtraCount(row->platform)) << row->platform;
        }
        if (row->alternatePolarity != Keep) {
            EXPECT_EQ(row->alternatePolarity != 0, BenchAlternatePolarity(row->platform))
                << row->platform;
        }
    }
    EXPECT_EQ(BenchExtraCount(44), 6);
    EXPECT_EQ(BenchExtraCount(24), 0);
    EXPECT_TRUE(BenchAlternatePolarity(23));
    EXPECT_FALSE(BenchAlternatePolarity(22));
}
