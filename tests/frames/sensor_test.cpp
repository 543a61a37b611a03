// The model of the sensor by itself, with lines of its own: 1 moves a row, 2 shifts,
// 4 resets, 8 converts.
#include <gtest/gtest.h>

#include "emulator/line_maps.h"
#include "emulator/sensor.h"

namespace {

constexpr uint32_t Row = 1, Shift = 2, Reset = 4, Convert = 8;
constexpr EmuLineMap Lines = {Row, Shift, Reset, Convert, 0, 0};

uint32_t TenPerRow(uint32_t column, uint32_t row)
{
    return 10 * (row + 1) + column;
}

uint32_t Bright(uint32_t, uint32_t)
{
    return 40000;
}

// The pixel that the last of `words` sends; -1 if it sends none.
int32_t Play(EmuSensor* sensor, std::initializer_list<uint32_t> words)
{
    int32_t sent = -1;
    for (const uint32_t word : words) {
        uint16_t pixel = 0;
        sent = EmuSensorTick(sensor, word, &pixel) ? pixel : -1;
    }
    return sent;
}

EmuSensor Exposed(const EmuLineMap& lines, uint32_t leading, EmuScene* scene)
{
    EmuSensor sensor = EmuMakeSensor(lines, {3, 2, leading, 5, scene});
    EmuExpose(&sensor);
    Play(&sensor, {lines.inverted});
    return sensor;
}

} // namespace

TEST(EmuSensor, SendsTheColumnsOfARowInOrder)
{
    EmuSensor sensor = Exposed(Lines, 1, TenPerRow);
    Play(&sensor, {Row});
    EXPECT_EQ(Play(&sensor, {Reset, Shift, Convert}), 0); // the leading cell
    EXPECT_EQ(Play(&sensor, {Reset, Shift, Convert}), 10);
    EXPECT_EQ(Play(&sensor, {Reset, Shift, Convert}), 11);
    EXPECT_EQ(Play(&sensor, {Reset, Shift, Convert}), 12);
    EXPECT_EQ(Play(&sensor, {Reset, Shift, Convert}), 0);
}

TEST(EmuSensor, AddsRowsInTheRegisterAndColumnsOnTheNode)
{
    EmuSensor sensor = Exposed(Lines, 0, TenPerRow);
    Play(&sensor, {Row, 0, Row});
    EXPECT_EQ(Play(&sensor, {Reset, Shift, 0, Shift, Convert}), 10 + 11 + 20 + 21);
}

TEST(EmuSensor, ActsOnRisingEdgesOnly)
{
    EmuSensor sensor = Exposed(Lines, 0, TenPerRow);
    Play(&sensor, {Row, Row, Row});
    EXPECT_EQ(sensor.nextRow, 1u);
    EXPECT_EQ(Play(&sensor, {Shift, Shift, Shift, Shift | Convert}), 10);
    EXPECT_EQ(Play(&sensor, {Shift | Convert}), -1);
}

TEST(EmuSensor, InvertedLinesActAsTheyFall)
{
    EmuLineMap lines = Lines;
    lines.inverted = Shift | Convert;
    EmuSensor sensor = Exposed(lines, 0, TenPerRow);
    Play(&sensor, {lines.inverted | Row});
    EXPECT_EQ(Play(&sensor, {lines.inverted | Reset, Convert, 0}), 10);
}

TEST(EmuSensor, AnOpenResetGateDrainsWhatFallsOnTheNode)
{
    EmuSensor sensor = Exposed(Lines, 0, TenPerRow);
    EXPECT_EQ(Play(&sensor, {Row, Reset, Reset | Shift, Convert}), 0);
}

TEST(EmuSensor, FirstTickSetsTheLevelsAndMovesNothing)
{
    EmuSensor sensor = EmuMakeSensor(Lines, {3, 2, 0, 5, TenPerRow});
    EmuExpose(&sensor);
    EXPECT_EQ(Play(&sensor, {Row | Shift | Convert}), -1);
    EXPECT_EQ(sensor.nextRow, 0u);
}

TEST(EmuSensor, PixelsStopAt65535)
{
    EmuSensor sensor = Exposed(Lines, 0, Bright);
    Play(&sensor, {Row, 0, Row});
    EXPECT_EQ(Play(&sensor, {Reset, Shift, Convert}), 65535);
}

TEST(EmuSensor, HasNoMoreRowsThanItsImage)
{
    EmuSensor sensor = Exposed(Lines, 0, TenPerRow);
    Play(&sensor, {Row, 0, Row, 0, Row});
    EXPECT_EQ(Play(&sensor, {Reset, Shift, Convert}), 10 + 20);
    EmuExpose(&sensor);
    Play(&sensor, {Row});
    EXPECT_EQ(sensor.nextRow, 1u);
}

// Two parts of light, a row moved, five parts, a row moved: the second row that leaves has
// seen both, the third one only stood where the second row is.
TEST(EmuSensor, LightFallsOnRowsWhereTheyStand)
{
    EmuSensor sensor = EmuMakeSensor(Lines, {1, 2, 0, 1, TenPerRow});
    Play(&sensor, {0});
    EmuShine(&sensor, 1.5e6);
    EmuShine(&sensor, 0.5e6);
    EXPECT_EQ(Play(&sensor, {Row, Reset, Shift, Convert}), 2 * 10);
    EmuShine(&sensor, 5e6);
    EXPECT_EQ(Play(&sensor, {Row, Reset, Shift, Convert}), 2 * 20 + 5 * 10);
    EXPECT_EQ(Play(&sensor, {Row, Reset, Shift, Convert}), 5 * 20);
    EXPECT_EQ(Play(&sensor, {Row, Reset, Shift, Convert}), 0);
    EmuShine(&sensor, 0.26e6); // 2.6 and 5.2
    EXPECT_EQ(Play(&sensor, {Row, Reset, Shift, Convert}), 2);
    EXPECT_EQ(Play(&sensor, {Row, Reset, Shift, Convert}), 5);
}

TEST(EmuSensor, NewExposureTakesThePlaceOfTheLightBefore)
{
    EmuSensor sensor = EmuMakeSensor(Lines, {1, 2, 0, 1, TenPerRow});
    Play(&sensor, {0});
    EmuShine(&sensor, 7e6);
    EmuExpose(&sensor);
    EXPECT_EQ(Play(&sensor, {Row, Reset, Shift, Convert}), 10);
}

TEST(EmuSensor, LightWithoutEndStopsAtFullWells)
{
    EmuSensor sensor = EmuMakeSensor(Lines, {1, 1, 0, 1, Bright});
    Play(&sensor, {0});
    EmuShine(&sensor, 1e30);
    EXPECT_EQ(Play(&sensor, {Row, Reset, Shift, Convert}), 65535);
}

TEST(EmuSensor, LeadMovesTheImageInTheRegister)
{
    EmuLineMap later = Lines, sooner = Lines;
    later.lead = 1;
    sooner.lead = -1;
    EmuSensor two = Exposed(later, 1, TenPerRow);
    EXPECT_EQ(Play(&two, {Row, Shift, 0, Shift, Convert}), 0);
    EmuSensor none = Exposed(sooner, 1, TenPerRow);
    EXPECT_EQ(Play(&none, {Row, Shift, Convert}), 10);
    EmuSensor stillNone = Exposed(sooner, 0, TenPerRow);
    EXPECT_EQ(Play(&stillNone, {Row, Shift, Convert}), 10);
}

TEST(EmuSensor, AnImageLongerThanTheRegisterStaysInBounds)
{
    EmuSensor sensor = EmuMakeSensor(Lines, {3, 1, 2, 0, TenPerRow});
    EmuExpose(&sensor);
    Play(&sensor, {0, Row});
    EXPECT_EQ(Play(&sensor, {Shift, 0, Shift, 0, Shift, Convert}), 10);
    EmuSensor empty = EmuMakeSensor(Lines, {0, 0, 0, 0, TenPerRow});
    EXPECT_EQ(Play(&empty, {0, Row, Shift, Convert}), 0);
}

TEST(EmuLineMaps, UnknownBuildersHaveNone)
{
    EmuLineMap map{};
    EXPECT_FALSE(EmuFindLineMap("BuildWaveNone", {1, 255, 1}, &map));
    EXPECT_TRUE(EmuFindLineMap("BuildWaveR3", {44, 255, 1}, &map));
    EXPECT_EQ(map.row, 64u);
    EXPECT_TRUE(EmuFindLineMap("BuildWaveR3", {44, 279, 1}, &map));
    EXPECT_EQ(map.row, 32u);
}
