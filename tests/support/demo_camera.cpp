#include "tests/support/demo_camera.h"

#include <filesystem>
#include <fstream>
#include <random>

#include "core/record.h"
#include "core/timer_service.h"
#include "drivers/demo/demo.h"
#include "emulator/emulator.h"
#include "platform/system.h"

std::vector<ProgressReport> ProgressReports;
std::vector<ExposureReport> ExposureReports;

namespace {

std::string Folder;

const char* const DefinitionText = R"(
rmk_camera_library:
{
  ccd_definitions:
  {
    kaf400e:
    {
      Manufacturer = 20; Xpix = 24; Ypix = 16;
      XpixDim = 9.0; YpixDim = 9.5; Xarea = 6.9; Yarea = 4.6;
      Dummy = [ 3, 2, 1, 4 ]; HorDummyPix = 2; HorRegSize = 28;
      Antiblooming = 1; MultipleOutput = 2; Shutter = 3; FWC = 100000.0; CCF = 2.25;
    };
    ccd30-11:
    {
      Manufacturer = 0; Xpix = 21; Ypix = 13;
      XpixDim = 26.0; YpixDim = 26.0; Xarea = 0.5; Yarea = 0.3;
      Dummy = [ 3, 2, 1, 4 ]; HorDummyPix = 1; HorRegSize = 23;
      Antiblooming = 0; MultipleOutput = 0; Shutter = 0; FWC = 500000.0; CCF = 1.0;
    };
    kaf1600:
    {
      Manufacturer = 20; Xpix = 8; Ypix = 200;
      XpixDim = 9.0; YpixDim = 9.0; Xarea = 0.1; Yarea = 1.8;
      Dummy = [ 3, 2, 1, 4 ]; HorDummyPix = 2; HorRegSize = 12;
      Antiblooming = 0; MultipleOutput = 0; Shutter = 0; FWC = 100000.0; CCF = 1.0;
    };
  };
  camera_platforms:
  {
    DEMO:
    {
      File = "demo.raw"; Xpix = 24; Ypix = 16;
      ADbit = [ 16, 0 ]; TimeBase = 40.0; FpgaId = 0; ADclock = 1.0;
      NumberOfGains = 5; AntiBloomingTimer = 7;
      kaf400e:
      {
        AmplifierDelay = 1.5; SamplingClock = [ 0.5, 0.25 ];
        VerticalPhasePeriod = 4; Gain = [ 1.0, 2.0, 5.0, 10.0 ];
      };
      ccd30-11:
      {
        AmplifierDelay = 1.5; SamplingClock = [ 0.5, 0.25 ];
        VerticalPhasePeriod = 4; Gain = [ 1.0, 2.0, 5.0, 10.0 ];
      };
      kaf1600:
      {
        AmplifierDelay = 1.5; SamplingClock = [ 0.5, 0.25 ];
        VerticalPhasePeriod = 4; Gain = [ 1.0, 2.0, 5.0, 10.0 ];
      };
    };
    Tarn_I:
    {
      ADbit = [ 12, 9 ]; TimeBase = 20.0; FpgaId = 3; ADclock = 1.0;
      NumberOfGains = 2; AntiBloomingTimer = 0;
      kaf400e:
      {
        AmplifierDelay = 1.0; SamplingClock = [ 1.0, 1.0 ];
        VerticalPhasePeriod = 8; Gain = [ 1.0, 2.0, 3.0, 4.0 ];
      };
    };
    HERON_Plus:
    {
      ADbit = [ 16, 0 ]; TimeBase = 12.0; FpgaId = 5; ADclock = 1.0;
      NumberOfGains = 4; AntiBloomingTimer = 0;
      kaf400e:
      {
        AmplifierDelay = 1.0; SamplingClock = [ 0.5, 0.5 ];
        VerticalPhasePeriod = 8; Gain = [ 1.0, 2.0, 3.0, 4.0 ];
      };
    };
  };
};
)";

std::string DemoImageBytes()
{
    std::string bytes;
    for (int32_t row = 0; row < DemoFileRows; ++row) {
        for (int32_t column = 0; column < DemoFileColumns; ++column) {
            const uint16_t pixel = DemoFilePixel(column, row);
            bytes += static_cast<char>(pixel & 0xFF);
            bytes += static_cast<char>(pixel >> 8);
        }
    }
    return bytes;
}

void EmptyLibrary()
{
    ReleaseEverything();
    EmuReset();
    for (CameraRecord& record : CameraTable) record = CameraRecord{};
    ResetTimerService();
    LibraryReady = 0;
    LibraryPath[0] = 0;
    EepromWiring = 0;
    ProgressReports.clear();
    ExposureReports.clear();
}

} // namespace

void ReleaseEverything()
{
    for (int32_t camera = 0; camera < CameraCount; ++camera) {
        CameraRecord& record = CameraTable[camera];
        if (record.CameraOn && record.PlatformCode == DemoPlatform) DemoClose(camera);
        record.CameraOn = 0;
        for (uint16_t*& buffer : record.Matrix) {
            if (buffer) System.memory.Release(buffer);
            buffer = nullptr;
        }
    }
}

void ResetLibrary()
{
    EmptyLibrary();
    EmuInstall();
    QV_LibraryInit();
}

void ResetLibraryInRealTime()
{
    EmptyLibrary();
    EmuInstallRealTime();
    QV_LibraryInit();
}

const std::string& MakeDemoFolder()
{
    std::random_device number;
    std::filesystem::path path;
    do {
        path = std::filesystem::temp_directory_path() / ("qvn_test_" + std::to_string(number()));
    } while (!std::filesystem::create_directory(path));
    Folder = path.generic_string() + "/";
    WriteDefinitions(SampleDefinitions());
    WriteDemoFile("demo.raw", DemoImageBytes());
    QV_SetPathName(Folder.c_str());
    return Folder;
}

void RemoveDemoFolder()
{
    std::error_code ignored;
    if (!Folder.empty()) std::filesystem::remove_all(Folder, ignored);
    Folder.clear();
}

const std::string& DemoFolder()
{
    return Folder;
}

std::string SampleDefinitions()
{
    return DefinitionText;
}

void WriteDefinitions(const std::string& text)
{
    WriteDemoFile("qvn.cfg", text);
}

void RemoveDefinitions()
{
    std::filesystem::remove(Folder + "qvn.cfg");
}

void WriteDemoFile(const std::string& name, const std::string& content)
{
    std::ofstream file(Folder + name, std::ios::binary | std::ios::trunc);
    file << content;
    file.flush();
    ASSERT_TRUE(file.good()) << Folder << name;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

void RecordProgress(const char* text, int32_t percent, int32_t camera)
{
    ProgressReports.push_back(
        {text != nullptr, text ? text : "", percent, camera, EmuMicroseconds()});
}

void RecordExposure(const char* text, int32_t camera)
{
    ExposureReports.push_back({text ? text : "", camera, EmuMicroseconds()});
}

void OpenDemo(int32_t camera, uint32_t options, int32_t sensor)
{
    QV_Open(DemoPlatform, sensor, 0, 0, 0, camera, options, RecordExposure, RecordProgress);
}

void DemoTest::SetUp()
{
    ResetLibrary();
    MakeDemoFolder();
}

void DemoTest::TearDown()
{
    ReleaseEverything();
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    RemoveDemoFolder();
    ResetLibrary();
}
