// The limits that the workbench tells against the builders' own.
#include "bench/builders.h"
#include "core/binding.h"
#include "tests/support/wave_text.h"

namespace {

class BenchBuilderLimits : public WaveTest, public testing::WithParamInterface<BuilderRow> {
protected:
    bool Fits(int32_t vbin) { return Build(GetParam().build, {.vbin = vbin}) == 0; }
};

int32_t AnySensor(const BuilderRow& row)
{
    return row.sensors == nullptr ? 255 : row.sensors[0];
}

const BenchBuilder* BuilderOf(const BuilderRow& row)
{
    return FindBenchBuilder(row.platform, AnySensor(row), row.link == AnyLink ? 0 : row.link);
}

std::vector<BuilderRow> FileBuilders()
{
    std::vector<BuilderRow> rows;
    for (const BuilderRow* row = BuilderRows; row->platform != 0; ++row) {
        if (BuilderOf(*row) != nullptr) rows.push_back(*row);
    }
    return rows;
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
    const BenchBuilder* builder = BuilderOf(row);
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
