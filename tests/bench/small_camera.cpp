#include "tests/bench/small_camera.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

void SmallCameraTest::SetUp()
{
    std::string name = testing::TempDir() + "qvn_bench_XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder = name;
    path = folder + "/wave.bin";
    Define({});
    QV_SetPathName(folder.c_str());
}

void SmallCameraTest::TearDown()
{
    std::filesystem::remove_all(folder);
    QV_SetPathName("");
}

void SmallCameraTest::Define(const SmallDefinition& definition)
{
    std::ofstream file(folder + "/qvn.cfg");
    file << "rmk_camera_library: {\n ccd_definitions: {\n  kaf400e: { Xpix = " << definition.columns
         << "; Ypix = " << definition.rows
         << "; Dummy = [ 4, 2, 2, 1 ]; HorDummyPix = " << definition.leading
         << "; HorRegSize = " << definition.registerSize << "; };\n };\n camera_platforms: {\n";
    for (const char* platform : {"Tarn_III", "Tarn_IIIA", "BRIAR-R3", "HERON_Plus", "OSPREY"}) {
        file << "  " << platform << ": { kaf400e: { SamplingClock = [ " << definition.tick
             << ", 0.5 ]; VerticalPhasePeriod = 5; }; };\n";
    }
    file << " };\n};\n";
}

QvbWaveRequest RequestOf(int32_t platform)
{
    QvbWaveRequest request;
    QVB_InitWaveRequest(&request);
    request.Platform = platform;
    request.Sensor = 255;
    return request;
}
