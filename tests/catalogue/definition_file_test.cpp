#include "catalogue/definition_file.h"

#include <sys/stat.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <thread>

#include "catalogue/catalogue.h"
#include "catalogue/config_tree.h"
#include "core/errors.h"
#include "tests/catalogue/folder.h"

namespace {

constexpr int32_t Kaf1600 = 275;
constexpr int32_t Kaf400 = 255; // in the file as a sensor, without a pair
constexpr int32_t R3 = 44;

const char Sample[] = R"(
# The definitions of one installation.
rmk_camera_library:
{
  ccd_definitions:
  {
    kaf1600:
    {
      Manufacturer = 20; Xpix = 1536; Ypix = 1024;
      XpixDim = 9.0; YpixDim = 9.5; Xarea = 13.8; Yarea = 9.2;
      Dummy = [ 4, 3, 2, 1 ];
      HorDummyPix = 10; HorRegSize = 1564;
      Antiblooming = 1; MultipleOutput = 2; Shutter = 3;
      FWC = 100000.0; CCF = 1.25;
    };
    kaf400e:
    {
      Manufacturer = 21; Xpix = 768; Ypix = 512;
      XpixDim = 9.0; YpixDim = 9.0; Xarea = 6.9; Yarea = 4.6;
      Dummy = [ 8, 8, 8, 8 ];
      HorDummyPix = 14; HorRegSize = 796;
      Antiblooming = 0; MultipleOutput = 0; Shutter = 1;
      FWC = 90000.0; CCF = 1.5;
    };
  };
  camera_platforms:
  {
    BRIAR-R3:
    {
      ADbit = [ 16, 12 ]; TimeBase = 40.5; FpgaId = -2; ADclock = 1.5;
      NumberOfGains = 4; AntiBloomingTimer = 7;
      kaf1600:
      {
        AmplifierDelay = 2.5; SamplingClock = [ 0.1, 38.14697265625 ];
        VerticalPhasePeriod = 60; Gain = [ 1.0, 2.5, 5.0, 1e1 ];
      };
    };
    DEMO: { File = "stars.raw"; Xpix = 1600; Ypix = 1100; };
  };
  notes: { text = "kept \"as it is\"\n"; list = ( 1, "two", 3.5 ); wide = 5000000000L; };
};
)";

class DefinitionFile : public FolderTest {
protected:
    DefinitionFile() { Write("qvn.cfg", Sample); }

    // Fills every byte of both definitions.
    void Spoil()
    {
        memset(&record.Ccd, 0x55, sizeof record.Ccd);
        memset(&record.Platform, 0x55, sizeof record.Platform);
    }

    bool IsSpoiled() const
    {
        unsigned char spoiled[sizeof(PlatformDefinition)];
        memset(spoiled, 0x55, sizeof spoiled);
        return memcmp(&record.Ccd, spoiled, sizeof record.Ccd) == 0 &&
               memcmp(&record.Platform, spoiled, sizeof record.Platform) == 0;
    }

    // Writes the sample with `from` replaced and expects both saves of the
    // changed pair to be refused with 2, without a trace in the file.
    void ExpectRefused(int64_t status, const std::string& before)
    {
        EXPECT_EQ(status, 2);
        EXPECT_EQ(Read("qvn.cfg"), before);
        EXPECT_EQ(FileCount(), 1u);
    }

    void ExpectSensorSaveRefused(const std::string& from, const std::string& to)
    {
        Write("qvn.cfg", Sample);
        ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
        const std::string changed = Replaced(Sample, from, to);
        Write("qvn.cfg", changed);
        SCOPED_TRACE(to);
        ExpectRefused(SaveCCD(Kaf1600, Camera), changed);
    }

    void ExpectPlatformSaveRefused(const std::string& from, const std::string& to)
    {
        Write("qvn.cfg", Sample);
        ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
        const std::string changed = Replaced(Sample, from, to);
        Write("qvn.cfg", changed);
        SCOPED_TRACE(to);
        ExpectRefused(SavePlatform(R3, Kaf1600, Camera), changed);
    }
};

} // namespace

TEST_F(DefinitionFile, LoadCCDStoresEveryKey)
{
    Spoil();
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    const CcdDefinition& ccd = record.Ccd;
    EXPECT_EQ(ccd.Manufacturer, 20);
    EXPECT_EQ(ccd.Xpix, 1536);
    EXPECT_EQ(ccd.Ypix, 1024);
    EXPECT_EQ(ccd.Dummy[0], 4);
    EXPECT_EQ(ccd.Dummy[1], 3);
    EXPECT_EQ(ccd.Dummy[2], 2);
    EXPECT_EQ(ccd.Dummy[3], 1);
    EXPECT_EQ(ccd.HorDummyPix, 10);
    EXPECT_EQ(ccd.HorRegSize, 1564);
    EXPECT_EQ(ccd.Antiblooming, 1);
    EXPECT_EQ(ccd.MultipleOutput, 2);
    EXPECT_EQ(ccd.Shutter, 3);
    EXPECT_EQ(ccd.XpixDim, 9.0);
    EXPECT_EQ(ccd.YpixDim, 9.5);
    EXPECT_EQ(ccd.Xarea, 13.8);
    EXPECT_EQ(ccd.Yarea, 9.2);
    EXPECT_EQ(ccd.FWC, 100000.0);
    EXPECT_EQ(ccd.CCF, 1.25);
    EXPECT_EQ(record.CcdFamily, 20);
}

TEST_F(DefinitionFile, LoadPlatformStoresEveryKeyButTheSpare)
{
    Spoil();
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    const PlatformDefinition& platform = record.Platform;
    EXPECT_EQ(platform.Spare, 0x5555);
    EXPECT_EQ(platform.ADbit, 0x0C10);
    EXPECT_EQ(platform.FpgaId, -2);
    EXPECT_EQ(platform.VerticalPhasePeriod, 60);
    EXPECT_EQ(platform.NumberOfGains, 4);
    EXPECT_EQ(platform.AntiBloomingTimer, 7);
    EXPECT_EQ(platform.TimeBase, 40.5);
    EXPECT_EQ(platform.AmplifierDelay, 2.5);
    EXPECT_EQ(platform.ADclock, 1.5);
    EXPECT_EQ(platform.SamplingClock[0], 0.1);
    EXPECT_EQ(platform.SamplingClock[1], 38.14697265625);
    EXPECT_EQ(platform.Gain[0], 1.0);
    EXPECT_EQ(platform.Gain[1], 2.5);
    EXPECT_EQ(platform.Gain[2], 5.0);
    EXPECT_EQ(platform.Gain[3], 10.0);
    EXPECT_STREQ(record.PlatformShortCode, "r3");
    EXPECT_EQ(record.CcdFamily, 20);
}

TEST_F(DefinitionFile, LoadsTouchNoOtherCamera)
{
    CameraTable[Camera + 1] = CameraRecord{};
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(CameraTable[Camera + 1].Ccd.Xpix, 0);
}

TEST_F(DefinitionFile, IntegersAreTruncatedTo16Bits)
{
    std::string text = Replaced(Sample, "Manufacturer = 20", "Manufacturer = -1");
    text = Replaced(text, "Xpix = 1536", "Xpix = 70000");
    text = Replaced(text, "HorRegSize = 1564", "HorRegSize = 40000");
    Write("qvn.cfg", text);
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(record.Ccd.Manufacturer, 65535);
    EXPECT_EQ(record.Ccd.Xpix, 4464);         // 70000 - 65536
    EXPECT_EQ(record.Ccd.HorRegSize, -25536); // 40000 - 65536
}

TEST_F(DefinitionFile, ADbitElementsAreTruncatedToOneByteEach)
{
    Write("qvn.cfg", Replaced(Sample, "ADbit = [ 16, 12 ]", "ADbit = [ 272, -255 ]"));
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    EXPECT_EQ(record.Platform.ADbit, 0x0110); // 272 = 0x110, -255 = 0x..01
}

TEST_F(DefinitionFile, UnknownSensorLoadsAsZeros)
{
    Spoil();
    record.CcdFamily = 33;
    EXPECT_EQ(LoadCCD(99, Camera), 0);
    const CcdDefinition zeros = {};
    EXPECT_EQ(memcmp(&record.Ccd, &zeros, sizeof zeros), 0);
    EXPECT_EQ(record.CcdFamily, 33);
    EXPECT_STREQ(CCDtoName(99, Camera), "noCode [99]");
}

TEST_F(DefinitionFile, SensorThatTheFileLacksLoadsAsZeros)
{
    Spoil();
    EXPECT_EQ(LoadCCD(500, Camera), 0);
    EXPECT_EQ(record.Ccd.Xpix, 0);
    EXPECT_EQ(record.Ccd.CCF, 0.0);
    EXPECT_EQ(record.CcdFamily, 35);
}

TEST_F(DefinitionFile, UnknownPlatformLoadsAsZeros)
{
    Spoil();
    EXPECT_EQ(LoadPlatform(999, Kaf1600, Camera), 0);
    EXPECT_EQ(record.Platform.Spare, 0x5555);
    EXPECT_EQ(record.Platform.ADbit, 0);
    EXPECT_EQ(record.Platform.TimeBase, 0.0);
    EXPECT_EQ(record.Platform.SamplingClock[0], 0.0);
    EXPECT_EQ(record.Platform.Gain[3], 0.0);
    EXPECT_STREQ(record.PlatformShortCode, "");
}

TEST_F(DefinitionFile, UnknownPlatformLoadsTheGroupUndefinedIfThereIsOne)
{
    Write("qvn.cfg", Replaced(Sample, "BRIAR-R3:", "Undefined:"));
    EXPECT_EQ(LoadPlatform(999, Kaf1600, Camera), 0);
    EXPECT_EQ(record.Platform.TimeBase, 40.5);
}

TEST_F(DefinitionFile, MissingPairGivesZerosForItsKeysAndTheRestOfThePlatform)
{
    Spoil();
    ASSERT_EQ(LoadPlatform(R3, Kaf400, Camera), 0);
    const PlatformDefinition& platform = record.Platform;
    EXPECT_EQ(platform.AmplifierDelay, 0.0);
    EXPECT_EQ(platform.SamplingClock[0], 0.0);
    EXPECT_EQ(platform.SamplingClock[1], 0.0);
    EXPECT_EQ(platform.VerticalPhasePeriod, 0);
    for (double gain : platform.Gain) EXPECT_EQ(gain, 0.0);
    EXPECT_EQ(platform.ADbit, 0x0C10);
    EXPECT_EQ(platform.TimeBase, 40.5);
    EXPECT_EQ(platform.FpgaId, -2);
    EXPECT_EQ(platform.ADclock, 1.5);
    EXPECT_EQ(platform.NumberOfGains, 4);
    EXPECT_EQ(platform.AntiBloomingTimer, 7);
}

TEST_F(DefinitionFile, Platforms40And43ShareAGroup)
{
    Write("qvn.cfg", Replaced(Sample, "BRIAR-R3:", "BRIAR:"));
    ASSERT_EQ(LoadPlatform(40, Kaf1600, Camera), 0);
    EXPECT_EQ(record.Platform.TimeBase, 40.5);
    ASSERT_EQ(LoadPlatform(43, Kaf1600, Camera + 1), 0);
    EXPECT_EQ(CameraTable[Camera + 1].Platform.TimeBase, 40.5);
}

TEST_F(DefinitionFile, IntegersReadAsNumbersWhereFloatsAreExpected)
{
    std::string text = Replaced(Sample, "TimeBase = 40.5", "TimeBase = 40");
    text = Replaced(text, "[ 1.0, 2.5, 5.0, 1e1 ]", "[ 1, 2, 5, 10 ]");
    text = Replaced(text, "ADclock = 1.5", "ADclock = 5000000000L");
    Write("qvn.cfg", text);
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    EXPECT_EQ(record.Platform.TimeBase, 40.0);
    EXPECT_EQ(record.Platform.ADclock, 5e9);
    EXPECT_EQ(record.Platform.Gain[1], 2.0);
    EXPECT_EQ(record.Platform.Gain[3], 10.0);
}

TEST_F(DefinitionFile, ValuesOfAnotherTypeReadAsZero)
{
    std::string text = Replaced(Sample, "Xpix = 1536", "Xpix = 1536.0");
    text = Replaced(text, "Ypix = 1024", "Ypix = \"1024\"");
    text = Replaced(text, "Shutter = 3", "Shutter = true");
    text = Replaced(text, "FWC = 100000.0", "FWC = \"100000.0\"");
    text = Replaced(text, "Dummy = [ 4, 3, 2, 1 ]", "Dummy = { a = 4; b = 3; c = 2; d = 1; }");
    text = Replaced(text, "HorDummyPix = 10", "HorDummyPix = [ 10 ]");
    Write("qvn.cfg", text);
    Spoil();
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(record.Ccd.Xpix, 0);
    EXPECT_EQ(record.Ccd.Ypix, 0);
    EXPECT_EQ(record.Ccd.Shutter, 0);
    EXPECT_EQ(record.Ccd.FWC, 0.0);
    EXPECT_EQ(record.Ccd.Dummy[0], 0);
    EXPECT_EQ(record.Ccd.HorDummyPix, 0);
    EXPECT_EQ(record.Ccd.HorRegSize, 1564);
}

TEST_F(DefinitionFile, WideIntegersReadAsTheirValueOrAsZeroIfTheyDoNotFit)
{
    std::string text = Replaced(Sample, "Xpix = 1536", "Xpix = 1536L");
    text = Replaced(text, "Ypix = 1024", "Ypix = 4294967297L");
    Write("qvn.cfg", text);
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(record.Ccd.Xpix, 1536);
    EXPECT_EQ(record.Ccd.Ypix, 0);
}

TEST_F(DefinitionFile, ShortArraysReadAsZeroBehindTheirEnd)
{
    Write("qvn.cfg", Replaced(Sample, "Dummy = [ 4, 3, 2, 1 ]", "Dummy = [ 4, 3 ]"));
    Spoil();
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(record.Ccd.Dummy[1], 3);
    EXPECT_EQ(record.Ccd.Dummy[2], 0);
    EXPECT_EQ(record.Ccd.Dummy[3], 0);
}

TEST_F(DefinitionFile, NamesAreCaseSensitive)
{
    Write("qvn.cfg", Replaced(Sample, "Xpix = 1536", "xpix = 1536"));
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(record.Ccd.Xpix, 0);
}

TEST_F(DefinitionFile, WithoutAFileLoadsAndSavesReturn1AndStoreTheNamesOnly)
{
    std::filesystem::remove(Path("qvn.cfg"));
    Spoil();
    EXPECT_EQ(LoadCCD(5000, Camera), 1);
    EXPECT_EQ(record.CcdFamily, 60);
    EXPECT_EQ(LoadPlatform(R3, Kaf1600, Camera), 1);
    EXPECT_STREQ(record.PlatformShortCode, "r3");
    EXPECT_EQ(SaveCCD(Kaf1600, Camera), 1);
    EXPECT_EQ(SavePlatform(R3, Kaf1600, Camera), 1);
    EXPECT_TRUE(IsSpoiled());
    EXPECT_EQ(FileCount(), 0u);
}

TEST_F(DefinitionFile, AFileThatDoesNotParseGives2AndLeavesRecordAndFile)
{
    const std::string broken = Replaced(Sample, "Xpix = 1536;", "Xpix = ;");
    Write("qvn.cfg", broken);
    Spoil();
    EXPECT_EQ(LoadCCD(Kaf1600, Camera), 2);
    EXPECT_EQ(LoadPlatform(R3, Kaf1600, Camera), 2);
    EXPECT_EQ(SaveCCD(Kaf1600, Camera), 2);
    EXPECT_EQ(SavePlatform(R3, Kaf1600, Camera), 2);
    EXPECT_TRUE(IsSpoiled());
    EXPECT_EQ(Read("qvn.cfg"), broken);
}

TEST_F(DefinitionFile, AnArrayOfIntegersAndFloatsDoesNotParse)
{
    Write("qvn.cfg", Replaced(Sample, "[ 1.0, 2.5, 5.0, 1e1 ]", "[ 1, 2.5, 5, 10 ]"));
    EXPECT_EQ(LoadPlatform(R3, Kaf1600, Camera), 2);
}

TEST_F(DefinitionFile, AFileCutAnywhereLoadsOrLeavesTheRecord)
{
    const std::string sample = Sample;
    for (size_t bytes = 0; bytes < sample.size(); ++bytes) {
        Write("qvn.cfg", sample.substr(0, bytes));
        Spoil();
        const int64_t status = LoadCCD(Kaf1600, Camera);
        ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), status) << bytes;
        ASSERT_TRUE(status == 0 || status == 2) << bytes;
        ASSERT_EQ(IsSpoiled(), status == 2) << bytes;
    }
}

TEST_F(DefinitionFile, AnEmptyFileLoadsAsZeros)
{
    Write("qvn.cfg", "");
    Spoil();
    EXPECT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(record.Ccd.Xpix, 0);
    EXPECT_EQ(SaveCCD(Kaf1600, Camera), 2);
    EXPECT_EQ(Read("qvn.cfg"), "");
}

TEST_F(DefinitionFile, AFolderInPlaceOfTheFileGives1)
{
    std::filesystem::remove(Path("qvn.cfg"));
    std::filesystem::create_directory(Path("qvn.cfg"));
    Spoil();
    EXPECT_EQ(LoadCCD(Kaf1600, Camera), 1);
    EXPECT_EQ(SaveCCD(Kaf1600, Camera), 1);
    EXPECT_TRUE(IsSpoiled());
}

TEST_F(DefinitionFile, BinaryGarbageGives2)
{
    std::string garbage;
    uint32_t state = 1;
    for (int32_t i = 0; i < 100000; ++i) {
        state = state * 1664525u + 1013904223u;
        garbage += static_cast<char>(state >> 24);
    }
    Write("qvn.cfg", garbage);
    Spoil();
    EXPECT_EQ(LoadCCD(Kaf1600, Camera), 2);
    EXPECT_TRUE(IsSpoiled());
}

TEST_F(DefinitionFile, AFileThatIncludesItselfGives2)
{
    Write("qvn.cfg", std::string("@include \"") + Path("qvn.cfg") + "\"\n" + Sample);
    EXPECT_EQ(LoadCCD(Kaf1600, Camera), 2);
}

TEST_F(DefinitionFile, WindowsLineEndsAndByteOrderMarkAreAccepted)
{
    std::string text = "\xEF\xBB\xBF";
    for (char c : std::string(Sample)) text += c == '\n' ? std::string("\r\n") : std::string(1, c);
    Write("qvn.cfg", text);
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(record.Ccd.Xpix, 1536);
}

TEST_F(DefinitionFile, APathOf1024CharactersIsIgnoredAndOneOf1023Taken)
{
    std::string path = folder;
    while (path.size() < 1022) path += "/.";
    if (path.size() < 1023) path.insert(path.find('/', 1), "/");
    ASSERT_EQ(path.size(), 1023u);
    SetPathName((path + "/").c_str());
    EXPECT_EQ(LibraryPath, folder + "/");
    SetPathName(path.c_str());
    EXPECT_EQ(LibraryPath, path + "/");
    EXPECT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(record.Ccd.Xpix, 1536);
}

TEST_F(DefinitionFile, LoadThenSaveOfAPlatformLeavesAllValues)
{
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    const PlatformDefinition before = record.Platform;
    ASSERT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    const std::string saved = Read("qvn.cfg");
    EXPECT_NE(saved, Sample);
    memset(&record.Platform, 0, sizeof record.Platform);
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    EXPECT_EQ(memcmp(&record.Platform, &before, sizeof before), 0);
    ASSERT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    EXPECT_EQ(Read("qvn.cfg"), saved);
}

TEST_F(DefinitionFile, SaveCutsAnADbitBeyond255)
{
    Write("qvn.cfg", Replaced(Sample, "ADbit = [ 16, 12 ]", "ADbit = [ 272, 513 ]"));
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    ASSERT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    EXPECT_NE(Read("qvn.cfg").find("ADbit = [ 16, 1 ];"), std::string::npos);
}

TEST_F(DefinitionFile, SaveWritesEveryKeyOfASensor)
{
    CcdDefinition wanted = {
        101, 102, 103, {104, 105, 106, 107}, 108, 109, 110, 111, 112, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5};
    record.Ccd = wanted;
    ASSERT_EQ(SaveCCD(Kaf1600, Camera), 0);
    record.Ccd = CcdDefinition{};
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(memcmp(&record.Ccd, &wanted, sizeof wanted), 0);
    ASSERT_EQ(LoadCCD(Kaf400, Camera), 0);
    EXPECT_EQ(record.Ccd.Xpix, 768);
}

TEST_F(DefinitionFile, SaveWritesEveryKeyOfAPlatform)
{
    PlatformDefinition wanted = {};
    wanted.ADbit = 0x0D0E;
    wanted.FpgaId = -201;
    wanted.VerticalPhasePeriod = 202;
    wanted.NumberOfGains = 203;
    wanted.AntiBloomingTimer = -204;
    wanted.TimeBase = 1.5;
    wanted.AmplifierDelay = 2.5;
    wanted.ADclock = 3.5;
    for (int32_t i = 0; i < 2; ++i) wanted.SamplingClock[i] = 4.5 + i;
    for (int32_t i = 0; i < 4; ++i) wanted.Gain[i] = 6.5 + i;
    record.Platform = wanted;
    record.Platform.Spare = 77;
    ASSERT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    memset(&record.Platform, 0, sizeof record.Platform);
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    EXPECT_EQ(record.Platform.Spare, 0);
    EXPECT_EQ(memcmp(&record.Platform, &wanted, sizeof wanted), 0);
}

TEST_F(DefinitionFile, SaveWritesIntegersWithTheirSignButTheVerticalPhasePeriodWithout)
{
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    record.Platform.VerticalPhasePeriod = 40000;
    record.Ccd.Manufacturer = 40000;
    ASSERT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    ASSERT_EQ(SaveCCD(Kaf1600, Camera), 0);
    const std::string saved = Read("qvn.cfg");
    EXPECT_NE(saved.find("VerticalPhasePeriod = 40000;"), std::string::npos);
    EXPECT_NE(saved.find("Manufacturer = -25536;"), std::string::npos);
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(record.Ccd.Manufacturer, 40000);
}

TEST_F(DefinitionFile, SaveKeepsEverythingElseInTheFile)
{
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    record.Platform.TimeBase = 41.25;
    ASSERT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    const std::string saved = Read("qvn.cfg");
    EXPECT_NE(saved.find("TimeBase = 41.25;"), std::string::npos);
    EXPECT_NE(saved.find("text = \"kept \\\"as it is\\\"\\n\";"), std::string::npos);
    EXPECT_NE(saved.find("list = ( 1, \"two\", 3.5 );"), std::string::npos);
    EXPECT_NE(saved.find("wide = 5000000000L;"), std::string::npos);
    EXPECT_NE(saved.find("File = \"stars.raw\";"), std::string::npos);
    ASSERT_EQ(LoadCCD(Kaf400, Camera), 0);
    EXPECT_EQ(record.Ccd.CCF, 1.5);
}

TEST_F(DefinitionFile, SaveOverAFileThatLacksAKeyIsRefused)
{
    ExpectSensorSaveRefused("Manufacturer = 20;", "");
    ExpectSensorSaveRefused("CCF = 1.25;", "");
    ExpectSensorSaveRefused("Dummy = [ 4, 3, 2, 1 ];", "Dummy = [ 4, 3, 2 ];");
    ExpectSensorSaveRefused("kaf1600:", "kaf1601:");
    ExpectSensorSaveRefused("ccd_definitions:", "ccd_definition:");
    ExpectPlatformSaveRefused("ADbit = [ 16, 12 ];", "ADbit = [ 16 ];");
    ExpectPlatformSaveRefused("AntiBloomingTimer = 7;", "");
    ExpectPlatformSaveRefused("AmplifierDelay = 2.5;", "");
    ExpectPlatformSaveRefused("rmk_camera_library:", "rmk_library:");
}

TEST_F(DefinitionFile, SaveOfAnUnknownCodeIsRefused)
{
    EXPECT_EQ(SaveCCD(99, Camera), 2);
    EXPECT_EQ(SavePlatform(999, Kaf1600, Camera), 2);
    EXPECT_EQ(SavePlatform(R3, Kaf400, Camera), 2);
    EXPECT_EQ(Read("qvn.cfg"), Sample);
}

TEST_F(DefinitionFile, SaveOverAKeyOfAnotherTypeIsRefused)
{
    ExpectSensorSaveRefused("Xpix = 1536;", "Xpix = 1536.0;");
    ExpectSensorSaveRefused("Xpix = 1536;", "Xpix = \"1536\";");
    ExpectSensorSaveRefused("Shutter = 3;", "Shutter = true;");
    ExpectSensorSaveRefused("Dummy = [ 4, 3, 2, 1 ];", "Dummy = [ 4.0, 3.0, 2.0, 1.0 ];");
    ExpectSensorSaveRefused("Dummy = [ 4, 3, 2, 1 ];", "Dummy = { a = 4; b = 3; c = 2; d = 1; };");
    ExpectSensorSaveRefused("FWC = 100000.0;", "FWC = \"100000.0\";");
    ExpectPlatformSaveRefused("ADbit = [ 16, 12 ];", "ADbit = 16;");
}

TEST_F(DefinitionFile, SaveOfAFloatThatAnIntegerCannotHoldIsRefused)
{
    ExpectPlatformSaveRefused("TimeBase = 40.5;", "TimeBase = 40;");
    Write("qvn.cfg", Sample);
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    record.Platform.TimeBase = 3e9;
    const std::string narrow = Replaced(Sample, "TimeBase = 40.5;", "TimeBase = 40;");
    Write("qvn.cfg", narrow);
    ExpectRefused(SavePlatform(R3, Kaf1600, Camera), narrow);
    record.Platform.TimeBase = 1e19;
    const std::string wide = Replaced(Sample, "TimeBase = 40.5;", "TimeBase = 40L;");
    Write("qvn.cfg", wide);
    ExpectRefused(SavePlatform(R3, Kaf1600, Camera), wide);
}

TEST_F(DefinitionFile, SaveOfANumberThatIsNotFiniteIsRefused)
{
    using Limits = std::numeric_limits<double>;
    for (double value : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()}) {
        ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
        record.Platform.Gain[2] = value;
        ExpectRefused(SavePlatform(R3, Kaf1600, Camera), Sample);
    }
}

TEST_F(DefinitionFile, SaveOverAFileWithANumberTooLargeIsRefused)
{
    // It has been read as infinity and would be written as what no one can read.
    ExpectPlatformSaveRefused("list = ( 1, \"two\", 3.5 );", "list = ( 1, \"two\", 1e400 );");
}

TEST_F(DefinitionFile, AWholeFloatIsSavedIntoAnIntegerAsThatInteger)
{
    std::string text = Replaced(Sample, "TimeBase = 40.5;", "TimeBase = 40;");
    text = Replaced(text, "ADclock = 1.5;", "ADclock = 1L;");
    Write("qvn.cfg", text);
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    record.Platform.TimeBase = -48.0;
    record.Platform.ADclock = 5e9;
    ASSERT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    EXPECT_NE(Read("qvn.cfg").find("TimeBase = -48;"), std::string::npos);
    EXPECT_NE(Read("qvn.cfg").find("ADclock = 5000000000L;"), std::string::npos);
}

TEST_F(DefinitionFile, SaveIntoAnArrayOfIntegersTurnsItIntoFloatsWhenNeeded)
{
    std::string text = Replaced(Sample, "[ 1.0, 2.5, 5.0, 1e1 ]", "[ 1, 2, 5, 10 ]");
    text = Replaced(text, "[ 0.1, 38.14697265625 ]", "[ 1, 2, 77 ]");
    Write("qvn.cfg", text);
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    record.Platform.Gain[1] = 2.25;
    record.Platform.Gain[3] = 9.75;
    record.Platform.SamplingClock[1] = 0.5;
    ASSERT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    EXPECT_NE(Read("qvn.cfg").find("Gain = [ 1.0, 2.25, 5.0, 9.75 ];"), std::string::npos);
    EXPECT_NE(Read("qvn.cfg").find("SamplingClock = [ 1.0, 0.5, 77.0 ];"), std::string::npos);
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    EXPECT_EQ(record.Platform.Gain[3], 9.75);
}

TEST_F(DefinitionFile, SaveLeavesAnArrayOfIntegersWhenAllValuesAreWhole)
{
    Write("qvn.cfg", Replaced(Sample, "[ 1.0, 2.5, 5.0, 1e1 ]", "[ 1, 2, 5, 10 ]"));
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    record.Platform.Gain[0] = 3.0;
    ASSERT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    EXPECT_NE(Read("qvn.cfg").find("Gain = [ 3, 2, 5, 10 ];"), std::string::npos);
}

TEST_F(DefinitionFile, SaveIntoAnArrayThatFloatsCannotHoldIsRefused)
{
    ExpectPlatformSaveRefused("[ 0.1, 38.14697265625 ]", "[ 1L, 2L, 9007199254740993L ]");
    std::string many = "[ 1";
    for (int32_t i = 0; i < 64; ++i) many += ", 1";
    ExpectPlatformSaveRefused("[ 0.1, 38.14697265625 ]", many + " ]");
    ExpectPlatformSaveRefused("[ 0.1, 38.14697265625 ]", "( 1, 2 )");
}

TEST_F(DefinitionFile, ListsServeAsArrays)
{
    Write("qvn.cfg", Replaced(Sample, "[ 0.1, 38.14697265625 ]", "( 1, 2.5 )"));
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    EXPECT_EQ(record.Platform.SamplingClock[0], 1.0);
    EXPECT_EQ(record.Platform.SamplingClock[1], 2.5);
    record.Platform.SamplingClock[0] = 4.0;
    record.Platform.SamplingClock[1] = 0.5;
    ASSERT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    EXPECT_NE(Read("qvn.cfg").find("SamplingClock = ( 4, 0.5 );"), std::string::npos);
}

// What a careless program writes for numbers that are none.
TEST_F(DefinitionFile, AFileThatHoldsNoNumberForANumberDoesNotParse)
{
    Spoil();
    for (const char* none : {"nan", "nan.0", "-nan", "-nan.0", "inf", "inf.0", "-inf", "-inf.0"}) {
        const std::string text = Replaced(Sample, "FWC = 100000.0", std::string("FWC = ") + none);
        Write("qvn.cfg", text);
        SCOPED_TRACE(none);
        EXPECT_EQ(LoadCCD(Kaf1600, Camera), 2);
        EXPECT_EQ(LoadPlatform(R3, Kaf1600, Camera), 2);
        EXPECT_TRUE(IsSpoiled());
        ExpectRefused(SaveCCD(Kaf1600, Camera), text);
    }
}

TEST_F(DefinitionFile, SaveKeepsHexadecimalAndWideIntegersAsTheyAre)
{
    std::string text = Replaced(Sample, "FpgaId = -2", "FpgaId = 0x1F");
    text = Replaced(text, "NumberOfGains = 4", "NumberOfGains = 4L");
    Write("qvn.cfg", text);
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    EXPECT_EQ(record.Platform.FpgaId, 31);
    record.Platform.FpgaId = -1;
    record.Platform.NumberOfGains = 5;
    ASSERT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    EXPECT_NE(Read("qvn.cfg").find("NumberOfGains = 5L;"), std::string::npos);
    EXPECT_NE(Read("qvn.cfg").find("FpgaId = 0xFFFFFFFF;"), std::string::npos);
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    EXPECT_EQ(record.Platform.FpgaId, -1);
    EXPECT_EQ(record.Platform.NumberOfGains, 5);
}

TEST_F(DefinitionFile, ASaveThatCannotBeWrittenReturns0AndLeavesTheOldFile)
{
    ASSERT_EQ(LoadPlatform(R3, Kaf1600, Camera), 0);
    record.Platform.TimeBase = 41.0;
    for (EmuCall call : {EmuBeginReplace, EmuCommitReplace}) {
        EmuFail(call, 1, false);
        EXPECT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
        EXPECT_EQ(Read("qvn.cfg"), Sample);
        EXPECT_EQ(FileCount(), 1u);
    }
    EXPECT_EQ(SavePlatform(R3, Kaf1600, Camera), 0);
    EXPECT_NE(Read("qvn.cfg"), Sample);
}

namespace {

int32_t Cancelled, Committed;

bool BeginOnAFullDisk(const char*, FileReplacement* file)
{
    file->stream = fopen("/dev/full", "wb");
    if (file->stream != nullptr) setvbuf(file->stream, nullptr, _IONBF, 0);
    return file->stream != nullptr;
}

bool CommitCounted(FileReplacement* file)
{
    ++Committed;
    fclose(file->stream);
    return true;
}

void CancelCounted(FileReplacement* file)
{
    ++Cancelled;
    fclose(file->stream);
}

} // namespace

TEST_F(DefinitionFile, AFullDiskLeavesTheOldFile)
{
    const FileApi before = System.file;
    System.file = {BeginOnAFullDisk, CommitCounted, CancelCounted};
    Cancelled = Committed = 0;
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    EXPECT_EQ(SaveCCD(Kaf1600, Camera), 0);
    System.file = before;
    EXPECT_EQ(Cancelled, 1);
    EXPECT_EQ(Committed, 0);
}

TEST_F(DefinitionFile, SaveKeepsModeAndLink)
{
    std::filesystem::create_directory(Path("shared"));
    std::filesystem::rename(Path("qvn.cfg"), Path("shared/real.cfg"));
    std::filesystem::create_symlink("shared/real.cfg", Path("qvn.cfg"));
    ASSERT_EQ(chmod(Path("shared/real.cfg").c_str(), 0640), 0);
    ASSERT_EQ(LoadCCD(Kaf1600, Camera), 0);
    ASSERT_EQ(SaveCCD(Kaf1600, Camera), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(Path("qvn.cfg")));
    struct stat status;
    ASSERT_EQ(stat(Path("shared/real.cfg").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_NE(Read("shared/real.cfg"), Sample);
}

TEST_F(DefinitionFile, OpenParLoadsBothAndClearsTheError)
{
    record.LastError = 9;
    EXPECT_EQ(OpenPar(R3, Kaf1600, Camera), 0);
    EXPECT_EQ(record.LastError, 0);
    EXPECT_EQ(record.PlatformCode, R3);
    EXPECT_EQ(record.CcdCode, Kaf1600);
    EXPECT_EQ(record.Platform.TimeBase, 40.5);
    EXPECT_EQ(record.Ccd.Xpix, 1536);
}

TEST_F(DefinitionFile, OpenParWithoutAFileReportsThePlatform)
{
    std::filesystem::remove(Path("qvn.cfg"));
    record.CcdCode = 77;
    EXPECT_EQ(OpenPar(R3, 5000, Camera), 1);
    EXPECT_EQ(record.LastError, 5);
    EXPECT_EQ(record.PlatformCode, R3);
    EXPECT_EQ(record.CcdCode, 77);
    EXPECT_EQ(record.CcdFamily, 60);
}

TEST_F(DefinitionFile, OpenParWithABrokenFileReportsThePlatform)
{
    Write("qvn.cfg", "{");
    EXPECT_EQ(OpenPar(R3, Kaf1600, Camera), 1);
    EXPECT_EQ(record.LastError, 5);
    EXPECT_STREQ(ErrorMessage(5), "Platform definition not found! Check qvn library path");
}

TEST_F(DefinitionFile, OpenParTakesUnknownCodes)
{
    EXPECT_EQ(OpenPar(999, 99, Camera), 0);
    EXPECT_EQ(record.PlatformCode, 999);
    EXPECT_EQ(record.CcdCode, 99);
    EXPECT_EQ(record.Ccd.Xpix, 0);
}

// The first reader gets the sample from a pipe; by the time it has read it to its
// end, a broken file stands in the pipe's place.
TEST_F(DefinitionFile, OpenParReportsTheSensorIfOnlyItsLoadFails)
{
    std::filesystem::remove(Path("qvn.cfg"));
    ASSERT_EQ(mkfifo(Path("qvn.cfg").c_str(), 0600), 0);
    Write("broken.cfg", "{");
    record.CcdCode = 77;
    std::thread writer([this] {
        std::ofstream pipe(Path("qvn.cfg"), std::ios::binary);
        pipe << Sample << std::flush;
        std::filesystem::rename(Path("broken.cfg"), Path("qvn.cfg"));
    });
    EXPECT_EQ(OpenPar(R3, Kaf1600, Camera), 1);
    writer.join();
    EXPECT_EQ(record.LastError, 6);
    EXPECT_EQ(record.Platform.TimeBase, 40.5);
    EXPECT_EQ(record.CcdCode, 77);
    EXPECT_STREQ(ErrorMessage(6), "CCD definition not found! Check qvn library path");
}

TEST_F(DefinitionFile, DemoDefinitionReadsNameAndSize)
{
    char name[10] = {};
    int32_t xpix = -1, ypix = -1;
    EXPECT_EQ(ReadDemoDefinition(name, sizeof name, &xpix, &ypix), 0);
    EXPECT_STREQ(name, "stars.raw"); // nine characters and their end
    EXPECT_EQ(xpix, 1600);
    EXPECT_EQ(ypix, 1100);
}

TEST_F(DefinitionFile, DemoDefinitionRefusesANameThatDoesNotFit)
{
    char name[9] = "before";
    int32_t xpix = -1, ypix = -1;
    EXPECT_EQ(ReadDemoDefinition(name, sizeof name, &xpix, &ypix), 2);
    EXPECT_STREQ(name, "before");
    EXPECT_EQ(xpix, -1);
    EXPECT_EQ(ypix, -1);
}

TEST_F(DefinitionFile, DemoDefinitionWithoutANameIsRefused)
{
    char name[32] = "before";
    int32_t xpix = -1, ypix = -1;
    for (const char* other : {"", "File = 7;", "file = \"x\";"}) {
        Write("qvn.cfg", Replaced(Sample, "File = \"stars.raw\";", other));
        EXPECT_EQ(ReadDemoDefinition(name, sizeof name, &xpix, &ypix), 2) << other;
    }
    Write("qvn.cfg", "");
    EXPECT_EQ(ReadDemoDefinition(name, sizeof name, &xpix, &ypix), 2);
    EXPECT_STREQ(name, "before");
    EXPECT_EQ(xpix, -1);
}

TEST_F(DefinitionFile, DemoDefinitionWithoutASizeReadsAsZero)
{
    Write("qvn.cfg", Replaced(Sample, "Xpix = 1600; Ypix = 1100;", "Ypix = 1.5;"));
    char name[32];
    int32_t xpix = -1, ypix = -1;
    EXPECT_EQ(ReadDemoDefinition(name, sizeof name, &xpix, &ypix), 0);
    EXPECT_EQ(xpix, 0);
    EXPECT_EQ(ypix, 0);
}

TEST_F(DefinitionFile, DemoDefinitionTellsAMissingFileFromABrokenOne)
{
    char name[32];
    int32_t xpix, ypix;
    std::filesystem::remove(Path("qvn.cfg"));
    EXPECT_EQ(ReadDemoDefinition(name, sizeof name, &xpix, &ypix), 1);
    Write("qvn.cfg", "{");
    EXPECT_EQ(ReadDemoDefinition(name, sizeof name, &xpix, &ypix), 2);
}
