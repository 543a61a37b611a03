// The choice of the waveform builder against a second list of it, and against the
// sensors that the catalogue gives each platform.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "core/binding.h"
#include "core/record.h"
#include "sequencer/firmware_geometry.h"
#include "tests/support/named_builders.h"

namespace {

struct Patternless {
    WaveBuilder* build;
    const char* name;
};

const Patternless PatternlessBuilders[] = {
    {BuildWaveNone, "None"},
    {BuildWaveUnod, "Unod"},
    {StoreBinning, "StoreBinning"},
};

// Without what all names begin with.
std::string ShortName(const NamedBuilder& builder)
{
    return builder.name + strlen("BuildWave");
}

std::string Chosen(int32_t platform, int32_t sensor, int32_t link)
{
    const BuilderRow* row = FindBuilder(platform, sensor, link);
    if (row == nullptr) return "no row";
    const NamedBuilder* builder = FindNamedBuilder(row->build);
    if (builder != nullptr) return ShortName(*builder);
    for (const Patternless& other : PatternlessBuilders) {
        if (other.build == row->build) return other.name;
    }
    return "a builder without a name";
}

// Any: whatever link, here 0, 1, 2, 4 and 6.
enum Link { Any, Usb, NotUsb };

std::vector<int32_t> LinksOf(Link link)
{
    if (link == Usb) return {6};
    if (link == NotUsb) return {0, 1, 2, 4};
    return {0, 1, 2, 4, 6};
}

struct Wanted {
    int32_t platform;
    const char* sensors;
    Link link;
    const char* builder;
};

const Wanted Table[] = {
    {1, "255 275 2000 9999", Any, "None"},
    {22, "250 255 260 270 275", Any, "Tarn3Kaf"},
    {22, "300 305 310", Any, "Site"},
    {22, "120 279 306 2000 9999 0", Any, "no row"},
    {23, "250 255 260 270 275", Any, "Tarn3Kaf"},
    {23, "300 305 310", Any, "Site"},
    {23, "120 279 306 2000 9999 0", Any, "no row"},
    {24, "300 305 310", Any, "Site"},
    {24, "120 121 125 128", Any, "Tarn4Ccd"},
    {24, "122", Any, "Tarn4Ccd4210"},
    {24, "133", Any, "Tarn4Ccd3011b"},
    {24, "250 255 260 270 275", Any, "Tarn4Kaf"},
    {24, "2000", Any, "Tarn4Ccd442"},
    {24, "123 279 306 2001 9999 0", Any, "no row"},
    {25, "123", Any, "Tarn4pCcd4240"},
    {25, "125", Any, "Tarn4pCcd4710"},
    {25, "128", Any, "Tarn4pCcd4720"},
    {25, "250 255 260 270 275 279 285", Any, "Tarn4pKaf"},
    {25, "290", Any, "Tarn4pKaf16800"},
    {25, "120 281 300 2000 9999 0", Any, "no row"},
    {28, "120 125", Any, "Tarn5Ccd"},
    {28, "133", Usb, "Tarn5Ccd"},
    {28, "133", NotUsb, "Tarn5"},
    {28, "2000", Usb, "Tarn5Ccd442"},
    {28, "2000", NotUsb, "Tarn5"},
    {28, "121 122 123 128 250 290 300 2001 2005 9999", Any, "Tarn5"},
    {30, "123", Any, "LarchCcd4240"},
    {30, "250 255 260 270 275", Any, "LarchKaf"},
    {30, "281", Any, "LarchKaf4300"},
    {30, "500 506", Any, "None"},
    {30, "120 279 505 9999 0", Any, "no row"},
    {40, "250 255 275 9999", Any, "Briar"},
    {41, "250 255 275 9999", Any, "Briar"},
    {42, "250 255 275 9999", Any, "Briar"},
    {44, "250 255 275 279 9999", Any, "R3"},
    {47, "250 255 275 279 9999", Any, "R3Plus"},
    {48, "250 255 275 279 9999", Any, "StoreBinning"},
    {60, "250 255 275 279 9999", Any, "Heron"},
    {61, "250 255 275 279 9999", Any, "HeronPlus"},
    {70, "250 255 275 279 9999", Any, "Unod"},
    {71, "250 255 275 279 9999", Any, "Unod"},
    {80, "2000 2001", Any, "SepCcd442"},
    {80, "2005", Any, "SepCcd485"},
    {80, "2006 2007 255 9999 0", Any, "no row"},
    {200, "120", Any, "OspreyCcd3011"},
    {200, "125", Any, "OspreyCcd4710"},
    {200, "133 134 135 250 260 275 3840 9999", Any, "OspreyKaf"},
    {205, "120", Any, "OspreyCcd3011"},
    {205, "125", Any, "OspreyPlusCcd4710"},
    {205, "133", Any, "OspreyPlusCcd3011b"},
    {205, "134 135", Any, "OspreyPlusCcd55"},
    {205, "250 255 260 275 279 281 286 287 290 9999", Any, "OspreyPlusKaf"},
    {400, "250 255 275 279 9999", Any, "StoreBinning"},
};

std::vector<int32_t> Codes(const std::string& text)
{
    std::istringstream words(text);
    std::vector<int32_t> codes;
    for (int32_t code; words >> code;) codes.push_back(code);
    return codes;
}

// Why a platform of the catalogue has no builder.
const std::map<int32_t, std::string> Gaps = {
    {10, "has a name and no driver"},        {20, "has a name and no driver"},
    {43, "has a name and no driver"},        {45, "has neither a name nor a driver"},
    {46, "has neither a name nor a driver"}, {50, "has a name and no driver"},
    {90, "has a name and no driver"},        {100, "has a name and no driver"},
};

std::vector<int32_t> SensorsOf(int32_t platform)
{
    int32_t list[128];
    const int32_t count = CCDQuery(platform, list);
    return {list, list + std::max(count, 0)};
}

std::string PairText(int32_t platform, int32_t sensor)
{
    return std::to_string(platform) + " with " + std::to_string(sensor);
}

// Pairs of the catalogue that a search over all links finds without a row, or, on a
// platform known as a gap, with one.
std::vector<std::string> Surprises()
{
    std::vector<std::string> surprises;
    for (int32_t platform = 0; platform <= 1000; ++platform) {
        const bool gap = Gaps.count(platform) != 0;
        for (const int32_t sensor : SensorsOf(platform)) {
            for (const int32_t link : LinksOf(Any)) {
                const bool found = FindBuilder(platform, sensor, link) != nullptr;
                if (found == gap) surprises.push_back(PairText(platform, sensor));
            }
        }
    }
    return surprises;
}

} // namespace

TEST(BuilderTable, EachRowChoosesItsBuilder)
{
    for (const Wanted& wanted : Table) {
        for (const int32_t sensor : Codes(wanted.sensors)) {
            for (const int32_t link : LinksOf(wanted.link)) {
                EXPECT_EQ(Chosen(wanted.platform, sensor, link), wanted.builder)
                    << PairText(wanted.platform, sensor) << " on link " << link;
            }
        }
    }
}

TEST(BuilderTable, PlatformsOutsideTheTableHaveNoRow)
{
    for (const int32_t platform : {-1, 0, 2, 10, 20, 21, 43, 45, 46, 50, 90, 100, 999}) {
        EXPECT_EQ(FindBuilder(platform, 255, 0), nullptr) << platform;
    }
}

TEST(BuilderTable, EveryBuilderIsChosenSomewhere)
{
    std::set<std::string> chosen;
    for (const Wanted& wanted : Table) chosen.insert(wanted.builder);
    for (const NamedBuilder& builder : NamedBuilders) {
        EXPECT_EQ(chosen.count(ShortName(builder)), 1u) << builder.name;
    }
    for (const Patternless& other : PatternlessBuilders) {
        EXPECT_EQ(chosen.count(other.name), 1u) << other.name;
    }
}

TEST(BuilderTable, NoRowStandsBehindOneThatHidesIt)
{
    for (const BuilderRow* row = BuilderRows; row->platform != 0; ++row) {
        const int32_t sensor = row->sensors != nullptr ? row->sensors[0] : 9999;
        const int32_t link = row->link != AnyLink ? row->link : 0;
        EXPECT_EQ(FindBuilder(row->platform, sensor, link), row) << PairText(row->platform, sensor);
    }
}

TEST(BuilderTable, OnlyPlatforms22To25ClearTheExtraShiftsWithTheSensor)
{
    for (const BuilderRow* row = BuilderRows; row->platform != 0; ++row) {
        const bool clears = row->platform >= 22 && row->platform <= 25;
        EXPECT_EQ(row->waveExtraCount, clears ? 0 : Keep) << row->platform;
    }
}

TEST(BuilderTable, EachPairOfTheCatalogueHasABuilderOrIsAKnownGap)
{
    EXPECT_EQ(Surprises(), std::vector<std::string>());
}

TEST(BuilderTable, EachKnownGapIsAPlatformOfTheCatalogue)
{
    for (const auto& [platform, reason] : Gaps) {
        EXPECT_FALSE(SensorsOf(platform).empty()) << platform << " " << reason;
    }
}
