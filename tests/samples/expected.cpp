#include "tests/samples/expected.h"

#include <algorithm>

#include "catalogue/catalogue.h"

namespace {

std::vector<ExpectedSensor> AllSensors()
{
    std::vector<ExpectedSensor> sensors;
    for (const SensorName& row : SensorNames) sensors.push_back({row.code, row.name, row.family});
    return sensors;
}

std::vector<int> CarriedBy(int32_t platform)
{
    for (const PlatformSensors* row = SensorLists; row->count != 0; ++row) {
        if (platform < row->first || platform > row->last) continue;
        return {row->sensors, row->sensors + row->count};
    }
    return {};
}

// Two platforms of one name share a group.
std::vector<ExpectedPlatform> AllPlatforms()
{
    std::vector<ExpectedPlatform> platforms;
    for (const PlatformName& row : PlatformNames) {
        const bool known =
            std::any_of(platforms.begin(), platforms.end(), [&](const auto& platform) {
                return std::string(platform.name) == row.name;
            });
        if (!known) platforms.push_back({row.name, CarriedBy(row.code)});
    }
    return platforms;
}

} // namespace

const std::vector<ExpectedSensor> ExpectedSensors = AllSensors();
const std::vector<ExpectedPlatform> ExpectedPlatforms = AllPlatforms();
