#include "tests/support/small_sensor.h"

#include <algorithm>

#include "catalogue/catalogue.h"

uint32_t SmallScene(uint32_t column, uint32_t row)
{
    return 100 * (row + 1) + column + 1;
}

uint16_t SceneSum(int32_t column, int32_t lastColumn, int32_t row, int32_t lastRow, int32_t rows)
{
    uint32_t sum = 0;
    for (int32_t i = column; i < std::min(lastColumn, ImageColumns); ++i) {
        for (int32_t j = row; j < std::min(lastRow, rows); ++j) {
            sum += SmallScene(static_cast<uint32_t>(i), static_cast<uint32_t>(j));
        }
    }
    return static_cast<uint16_t>(sum);
}

uint16_t StrobedBin(const SmallLines& lines, int32_t k, int32_t row)
{
    int32_t begin = (lines.x + k) * lines.hbin;
    int32_t end = begin + lines.hbin;
    if (lines.strobe == Strobe::FirstColumn) end = begin + 1;
    if (lines.strobe == Strobe::LastColumn) begin = end - 1;
    if (lines.strobe == Strobe::Position) {
        const int32_t firstBin = (LeadingCells + lines.x + lines.hbin - 1) / lines.hbin;
        begin = (firstBin + k) * lines.hbin - LeadingCells;
        end = std::min(begin + lines.hbin, lines.x + lines.columns * lines.hbin);
    }
    return SceneSum(begin, end, row, row + lines.vbin, lines.rows);
}

std::string SmallDefinitions(const SmallPlatform& platform)
{
    const std::string sensor = CCDtoName(platform.sensor, 0);
    return std::string("rmk_camera_library:\n{\n  ccd_definitions:\n  {\n    ") + sensor +
           R"(:
    {
      Manufacturer = 20; Xpix = )" +
           std::to_string(platform.columns) + "; Ypix = " + std::to_string(platform.rows) + R"(;
      XpixDim = 9.0; YpixDim = 9.0; Xarea = 0.2; Yarea = 0.1;
      Dummy = [ 3, 2, 1, 4 ]; HorDummyPix = 12; HorRegSize = )" +
           std::to_string(platform.columns + 14) + R"(;
      Antiblooming = 0; MultipleOutput = 0; Shutter = 1; FWC = 100000.0; CCF = 1.0;
    };
  };
  camera_platforms:
  {
    )" + PTFtoName(platform.platform, 0) +
           R"(:
    {
      ADbit = [ 16, 0 ]; TimeBase = 40.0; FpgaId = )" +
           std::to_string(platform.version) + R"(; ADclock = 0.5;
      NumberOfGains = 4; AntiBloomingTimer = 0;
      )" + sensor +
           R"(:
      {
        AmplifierDelay = 1.0; SamplingClock = [ )" +
           platform.clock + ", " + platform.clock + R"( ];
        VerticalPhasePeriod = )" +
           std::to_string(platform.phase) + R"(; Gain = [ 1.0, 2.0, 4.0, 8.0 ];
        )" +
           platform.program +
           R"(
      };
    };
  };
};
)";
}
