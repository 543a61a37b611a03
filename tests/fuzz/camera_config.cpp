// Any bytes as camera.cfg: loaded, saved, and loaded again.
#include "catalogue/camera_config_file.h"

#include <cstring>

#include "tests/fuzz/one_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes)
{
    WriteOneFile("camera.cfg", data, bytes);
    CameraConfig config;
    memset(&config, 0x55, sizeof config);
    const CameraConfig untouched = config;
    const int32_t status = LoadCameraConfig("camera.cfg", &config);
    Require(status == 0 || status == 2);
    const double offset = ReadTemperatureOffset();
    if (status == 2) {
        Require(memcmp(&config, &untouched, sizeof config) == 0);
        Require(offset == 2.0 && ReadTemperatureSpan() == 2.0);
        return 0;
    }
    Require(strlen(config.DefectiveList) < sizeof config.DefectiveList);

    config.Activity = -1;
    CameraConfig wanted = config;
    const int32_t saved = SaveCameraConfig("camera.cfg", &config);
    Require(saved == 0 || saved == 2);
    if (saved == 0) memset(wanted.DefectiveList, 0, sizeof wanted.DefectiveList);
    Require(memcmp(&config, &wanted, sizeof config) == 0);
    Require(LoadCameraConfig("camera.cfg", &config) == 0);
    if (saved == 0) Require(memcmp(&config, &wanted, sizeof config) == 0);
    return 0;
}
