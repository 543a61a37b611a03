#include "catalogue/camera_config_file.h"

#include <cstring>

#include "tests/catalogue/folder.h"

namespace {

const char Sample[] = R"(
CameraConfig:
{
  AD = 1; Platform = 2; CCD = 3; InterfaceType = 4; InterfaceAddress = -5;
  CameraAddress = 6; PciIndex = 7; InterfaceLink = 8;
  FilterWheel = 9; FilterWheelPortAddress = 10; FilterWheelPortType = 11;
  ShutterType = 12; ShutterHisteresys = 13;
  CcdOutput = 14; CcdTechnology = 15; CcdBackFront = 16; Process = 17;
  DefectiveList = "defects.txt"; Activity = 18; LongCable = 19;
  TemperatureOffset = -1.5; TemperatureSpan = 0.75;
};
)";

constexpr CameraConfig Loaded = {1,  2,  3,  4,  -5, 6,  7,  8,  9,  10,
                                 11, 12, 13, 14, 15, 16, 17, 18, 19, "defects.txt"};

class CameraConfigFile : public FolderTest {
protected:
    CameraConfigFile()
    {
        Write("camera.cfg", Sample);
        Spoil();
    }

    void Spoil() { memset(&config, 0x55, sizeof config); }

    bool IsSpoiled() const
    {
        unsigned char spoiled[sizeof config];
        memset(spoiled, 0x55, sizeof spoiled);
        return memcmp(&config, spoiled, sizeof spoiled) == 0;
    }

    bool Equals(const CameraConfig& wanted) const
    {
        return memcmp(&config, &wanted, sizeof wanted) == 0;
    }

    void ExpectSaveRefused(const std::string& from, const std::string& to)
    {
        const std::string changed = Replaced(Sample, from, to);
        Write("camera.cfg", changed);
        config = Loaded;
        EXPECT_EQ(SaveCameraConfig("camera.cfg", &config), 2) << to;
        EXPECT_TRUE(Equals(Loaded)) << to;
        EXPECT_EQ(Read("camera.cfg"), changed);
        EXPECT_EQ(FileCount(), 1u);
    }

    CameraConfig config;
};

} // namespace

TEST_F(CameraConfigFile, LoadStoresEveryKey)
{
    EXPECT_EQ(LoadCameraConfig("camera.cfg", &config), 0);
    EXPECT_EQ(config.AD, 1);
    EXPECT_EQ(config.Platform, 2);
    EXPECT_EQ(config.CCD, 3);
    EXPECT_EQ(config.InterfaceType, 4);
    EXPECT_EQ(config.InterfaceAddress, -5);
    EXPECT_EQ(config.CameraAddress, 6);
    EXPECT_EQ(config.PciIndex, 7);
    EXPECT_EQ(config.InterfaceLink, 8);
    EXPECT_EQ(config.FilterWheel, 9);
    EXPECT_EQ(config.FilterWheelPortAddress, 10);
    EXPECT_EQ(config.FilterWheelPortType, 11);
    EXPECT_EQ(config.ShutterType, 12);
    EXPECT_EQ(config.ShutterHisteresys, 13);
    EXPECT_EQ(config.CcdOutput, 14);
    EXPECT_EQ(config.CcdTechnology, 15);
    EXPECT_EQ(config.CcdBackFront, 16);
    EXPECT_EQ(config.Process, 17);
    EXPECT_EQ(config.Activity, 18);
    EXPECT_EQ(config.LongCable, 19);
    EXPECT_STREQ(config.DefectiveList, "defects.txt");
}

TEST_F(CameraConfigFile, InitCfgLeavesFourFieldsAsTheyWere)
{
    InitCfg(&config);
    const int32_t untouched = 0x55555555;
    EXPECT_EQ(config.PciIndex, untouched);
    EXPECT_EQ(config.FilterWheelPortAddress, untouched);
    EXPECT_EQ(config.FilterWheelPortType, untouched);
    for (char c : config.DefectiveList) EXPECT_EQ(c, 0x55);
    EXPECT_EQ(config.AD, 0);
    EXPECT_EQ(config.Platform, 44);
    EXPECT_EQ(config.CCD, 255);
    EXPECT_EQ(config.InterfaceType, 2);
    EXPECT_EQ(config.InterfaceAddress, -1);
    EXPECT_EQ(config.ShutterHisteresys, 10);
    EXPECT_EQ(config.CcdTechnology, 1);
    EXPECT_EQ(config.LongCable, 0);
}

TEST_F(CameraConfigFile, SaveThenLoadGivesTheSameRecordWithAnEmptyDefectiveList)
{
    CameraConfig wanted = {-1,  200, 300, 6,   0x378, 3,   1,   2,   1, 400,
                           500, 600, 700, 800, 900,   -10, -20, -30, 1, "bad.lst"};
    config = wanted;
    EXPECT_EQ(SaveCameraConfig("camera.cfg", &config), 0);
    memset(wanted.DefectiveList, 0, sizeof wanted.DefectiveList);
    EXPECT_TRUE(Equals(wanted));
    Spoil();
    EXPECT_EQ(LoadCameraConfig("camera.cfg", &config), 0);
    EXPECT_TRUE(Equals(wanted));
    EXPECT_EQ(ReadTemperatureOffset(), -1.5);
    EXPECT_EQ(ReadTemperatureSpan(), 0.75);
}

TEST_F(CameraConfigFile, SaveEmptiesTheDefectiveListOfTheFile)
{
    config = Loaded;
    EXPECT_EQ(SaveCameraConfig("camera.cfg", &config), 0);
    EXPECT_NE(Read("camera.cfg").find("DefectiveList = \"\";"), std::string::npos);
}

TEST_F(CameraConfigFile, ExtremeIntegersSurvive)
{
    config = Loaded;
    config.InterfaceAddress = INT32_MIN;
    config.Activity = INT32_MAX;
    EXPECT_EQ(SaveCameraConfig("camera.cfg", &config), 0);
    EXPECT_EQ(LoadCameraConfig("camera.cfg", &config), 0);
    EXPECT_EQ(config.InterfaceAddress, INT32_MIN);
    EXPECT_EQ(config.Activity, INT32_MAX);
}

TEST_F(CameraConfigFile, ANameWithASlashBypassesTheLibraryPath)
{
    SetPathName("/nowhere");
    EXPECT_EQ(LoadCameraConfig("camera.cfg", &config), 1);
    EXPECT_EQ(LoadCameraConfig(Path("camera.cfg").c_str(), &config), 0);
    EXPECT_EQ(config.LongCable, 19);
    config.LongCable = 20;
    EXPECT_EQ(SaveCameraConfig(Path("camera.cfg").c_str(), &config), 0);
    SetPathName(folder.c_str());
    EXPECT_EQ(LoadCameraConfig("camera.cfg", &config), 0);
    EXPECT_EQ(config.LongCable, 20);
}

TEST_F(CameraConfigFile, ANameWithABackslashBypassesTheLibraryPath)
{
    Write("other\\camera.cfg", Sample);
    EXPECT_EQ(LoadCameraConfig("other\\camera.cfg", &config), 1);
    EXPECT_TRUE(IsSpoiled());
}

TEST_F(CameraConfigFile, ALongPlainNameIsSoughtInTheLibraryPath)
{
    const std::string name = std::string(200, 'n') + ".cfg";
    Write(name, Sample);
    EXPECT_EQ(LoadCameraConfig(name.c_str(), &config), 0);
    EXPECT_EQ(config.AD, 1);
}

TEST_F(CameraConfigFile, NamesThatNoSystemTakesGive1)
{
    for (const std::string& name :
         {std::string(), std::string(5000, 'n'), std::string(5000, '/') + "n",
          std::string(100000, 'n'), "/" + std::string(100000, 'n')}) {
        EXPECT_EQ(LoadCameraConfig(name.c_str(), &config), 1);
        EXPECT_EQ(SaveCameraConfig(name.c_str(), &config), 1);
    }
    EXPECT_TRUE(IsSpoiled());
}

TEST_F(CameraConfigFile, WithoutANameOrARecordTheResultIs1)
{
    EXPECT_EQ(LoadCameraConfig(nullptr, &config), 1);
    EXPECT_EQ(LoadCameraConfig("camera.cfg", nullptr), 1);
    EXPECT_EQ(SaveCameraConfig(nullptr, &config), 1);
    EXPECT_EQ(SaveCameraConfig("camera.cfg", nullptr), 1);
    EXPECT_TRUE(IsSpoiled());
    EXPECT_EQ(Read("camera.cfg"), Sample);
}

TEST_F(CameraConfigFile, WithoutAFileTheResultIs1AndNothingChanges)
{
    EXPECT_EQ(LoadCameraConfig("none.cfg", &config), 1);
    EXPECT_EQ(SaveCameraConfig("none.cfg", &config), 1);
    EXPECT_TRUE(IsSpoiled());
    EXPECT_EQ(FileCount(), 1u);
}

TEST_F(CameraConfigFile, AFileThatDoesNotParseGives2AndNothingChanges)
{
    for (const char* text : {"{", "CameraConfig", "CameraConfig: { AD = 1", "AD = 1; AD = 2;",
                             "\xFF\xFE", "AD = \"", "@include \"camera.cfg\""}) {
        Write("camera.cfg", text);
        EXPECT_EQ(LoadCameraConfig("camera.cfg", &config), 2) << text;
        EXPECT_EQ(SaveCameraConfig("camera.cfg", &config), 2) << text;
        EXPECT_TRUE(IsSpoiled()) << text;
        EXPECT_EQ(Read("camera.cfg"), text);
    }
}

TEST_F(CameraConfigFile, AFileCutAnywhereLoadsOrLeavesTheRecord)
{
    const std::string sample = Sample;
    for (size_t bytes = 0; bytes < sample.size(); ++bytes) {
        Write("camera.cfg", sample.substr(0, bytes));
        Spoil();
        const int32_t status = LoadCameraConfig("camera.cfg", &config);
        ASSERT_TRUE(status == 0 || status == 2) << bytes;
        ASSERT_EQ(IsSpoiled(), status == 2) << bytes;
    }
}

TEST_F(CameraConfigFile, MissingKeysReadAsZeroAndAnEmptyText)
{
    Write("camera.cfg", "CameraConfig: { Platform = 1; };");
    EXPECT_EQ(LoadCameraConfig("camera.cfg", &config), 0);
    CameraConfig wanted = {};
    wanted.Platform = 1;
    EXPECT_TRUE(Equals(wanted));
}

TEST_F(CameraConfigFile, KeysOfAnotherTypeReadAsZeroAndAnEmptyText)
{
    Write("camera.cfg", "CameraConfig: { AD = 1.0; Platform = \"1\"; CCD = true; PciIndex = [ 1 ];"
                        " InterfaceAddress = 4294967296L; DefectiveList = 7; };");
    EXPECT_EQ(LoadCameraConfig("camera.cfg", &config), 0);
    EXPECT_TRUE(Equals(CameraConfig{}));
}

TEST_F(CameraConfigFile, AGroupThatIsNoneReadsAsZeros)
{
    Write("camera.cfg", "CameraConfig = 7;");
    EXPECT_EQ(LoadCameraConfig("camera.cfg", &config), 0);
    EXPECT_TRUE(Equals(CameraConfig{}));
}

TEST_F(CameraConfigFile, ADefectiveListIsCutAt79Characters)
{
    for (size_t length : {79u, 80u, 5000u}) {
        Write("camera.cfg", Replaced(Sample, "defects.txt", std::string(length, 'd')));
        Spoil();
        EXPECT_EQ(LoadCameraConfig("camera.cfg", &config), 0);
        EXPECT_EQ(std::string(config.DefectiveList), std::string(79, 'd')) << length;
    }
}

TEST_F(CameraConfigFile, SaveOverAFileThatLacksAKeyIsRefused)
{
    ExpectSaveRefused("AD = 1;", "");
    ExpectSaveRefused("DefectiveList = \"defects.txt\";", "");
    ExpectSaveRefused("LongCable = 19;", "");
    ExpectSaveRefused("CameraConfig:", "Camera:");
}

TEST_F(CameraConfigFile, SaveOverAKeyOfAnotherTypeIsRefused)
{
    ExpectSaveRefused("AD = 1;", "AD = 1.0;");
    ExpectSaveRefused("CCD = 3;", "CCD = \"3\";");
    ExpectSaveRefused("Process = 17;", "Process = [ 17 ];");
    ExpectSaveRefused("DefectiveList = \"defects.txt\";", "DefectiveList = 7;");
    ExpectSaveRefused("TemperatureSpan = 0.75;", "TemperatureSpan = 1e400;");
}

TEST_F(CameraConfigFile, ASaveThatCannotBeWrittenReturns0AndLeavesTheOldFile)
{
    for (EmuCall call : {EmuBeginReplace, EmuCommitReplace}) {
        config = Loaded;
        EmuFail(call, 1, false);
        EXPECT_EQ(SaveCameraConfig("camera.cfg", &config), 0);
        EXPECT_EQ(Read("camera.cfg"), Sample);
        EXPECT_EQ(config.DefectiveList[0], '\0');
        EXPECT_EQ(FileCount(), 1u);
    }
}

TEST_F(CameraConfigFile, CalibrationComesFromCameraCfgInTheLibraryPath)
{
    EXPECT_EQ(ReadTemperatureOffset(), -1.5);
    EXPECT_EQ(ReadTemperatureSpan(), 0.75);
    Write("camera.cfg", "CameraConfig: { TemperatureOffset = 3; TemperatureSpan = -2; };");
    EXPECT_EQ(ReadTemperatureOffset(), 3.0);
    EXPECT_EQ(ReadTemperatureSpan(), -2.0);
}

TEST_F(CameraConfigFile, CalibrationIs1WithoutAFile)
{
    std::filesystem::remove(Path("camera.cfg"));
    EXPECT_EQ(ReadTemperatureOffset(), 1.0);
    EXPECT_EQ(ReadTemperatureSpan(), 1.0);
}

TEST_F(CameraConfigFile, CalibrationIs2WithABrokenFile)
{
    Write("camera.cfg", "CameraConfig: { TemperatureOffset = 3.0; TemperatureSpan = 4.0 ");
    EXPECT_EQ(ReadTemperatureOffset(), 2.0);
    EXPECT_EQ(ReadTemperatureSpan(), 2.0);
}

TEST_F(CameraConfigFile, CalibrationIs0WithoutItsKey)
{
    Write("camera.cfg", "CameraConfig: { TemperatureOffset = \"3.0\"; };");
    EXPECT_EQ(ReadTemperatureOffset(), 0.0);
    EXPECT_EQ(ReadTemperatureSpan(), 0.0);
}
