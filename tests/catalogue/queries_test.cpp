#include "catalogue/catalogue.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "core/record.h"

namespace {

constexpr int32_t Camera = 3;

class CatalogueQueries : public testing::Test {
protected:
    CatalogueQueries() { CameraTable[Camera] = CameraRecord{}; }
    CameraRecord& record = CameraTable[Camera];
};

using CatalogueQueriesDeathTest = CatalogueQueries;

} // namespace

TEST_F(CatalogueQueries, CamQueryWithANullListReturnsTheirNumber)
{
    EXPECT_EQ(CamQuery(nullptr), PlatformListCount);
}

TEST_F(CatalogueQueries, CamQueryCopiesThePlatformsAndNoMore)
{
    int32_t list[PlatformListCount + 2];
    for (int32_t& code : list) code = -7;
    EXPECT_EQ(CamQuery(list), PlatformListCount);
    EXPECT_EQ(list[0], 90);
    EXPECT_EQ(list[PlatformListCount - 1], 80);
    EXPECT_EQ(list[PlatformListCount], -7);
}

TEST_F(CatalogueQueries, CCDQueryReturnsMinusOneForPlatformsWithoutARow)
{
    int32_t list[128] = {-7};
    for (int32_t platform : {21, 2, 999, 0, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(CCDQuery(platform, list), -1) << platform;
    }
    EXPECT_EQ(list[0], -7);
}

TEST_F(CatalogueQueries, CCDQueryAnswersForPlatform45AsFor44)
{
    int32_t list[8] = {};
    list[7] = -7;
    EXPECT_EQ(CCDQuery(45, list), 7);
    const int32_t wanted[8] = {250, 255, 275, 279, 282, 283, 285, -7};
    for (int32_t i = 0; i < 8; ++i) EXPECT_EQ(list[i], wanted[i]);
    EXPECT_EQ(CCDQuery(46, list), 7);
}

TEST_F(CatalogueQueries, CCDQueryAnswersForAllOf40To43)
{
    int32_t list[3];
    for (int32_t platform = 40; platform <= 43; ++platform) {
        EXPECT_EQ(CCDQuery(platform, list), 3) << platform;
        EXPECT_EQ(list[2], 275);
    }
}

TEST_F(CatalogueQueries, CCDQueryCopiesNothingToANullList)
{
    EXPECT_EQ(CCDQuery(1, nullptr), 68);
}

TEST_F(CatalogueQueries, CCDtoNameStoresTheFamily)
{
    EXPECT_STREQ(CCDtoName(5000, Camera), "fpa640x512");
    EXPECT_EQ(record.CcdFamily, 60);
    EXPECT_STREQ(CCDtoName(133, Camera), "ccd30-11b");
    EXPECT_EQ(record.CcdFamily, 0);
    EXPECT_EQ(CameraTable[Camera + 1].CcdFamily, 0);
}

TEST_F(CatalogueQueries, UnknownSensorReadsAsNoCodeAndLeavesTheFamily)
{
    record.CcdFamily = 33;
    EXPECT_STREQ(CCDtoName(99, Camera), "noCode [99]");
    EXPECT_EQ(record.CcdFamily, 33);
    EXPECT_STREQ(CCDtoName(INT_MIN, Camera), "noCode [-2147483648]");
}

TEST_F(CatalogueQueries, PTFtoNameStoresTheShortCode)
{
    EXPECT_STREQ(PTFtoName(450, Camera), "TOLM_E");
    EXPECT_STREQ(record.PlatformShortCode, "tlme");
}

TEST_F(CatalogueQueries, Platforms40And43HaveTheSameNameAndDifferentShortCodes)
{
    EXPECT_STREQ(PTFtoName(43, Camera), "BRIAR");
    EXPECT_STREQ(record.PlatformShortCode, "br");
    EXPECT_STREQ(PTFtoName(40, Camera), "BRIAR");
    EXPECT_STREQ(record.PlatformShortCode, "bri");
}

TEST_F(CatalogueQueries, UnknownPlatformReadsAsUndefinedAndStoresNothing)
{
    strcpy(record.PlatformShortCode, "hnp");
    EXPECT_STREQ(PTFtoName(45, Camera), "Undefined");
    EXPECT_STREQ(PTFtoName(INT_MIN, Camera), "Undefined");
    EXPECT_STREQ(record.PlatformShortCode, "hnp");
}

TEST_F(CatalogueQueries, FamilyFiveAfterFamily20ReadsAsKodak)
{
    EXPECT_STREQ(FamtoName(20), "Kodak");
    EXPECT_STREQ(FamtoName(5), "Kodak");
    EXPECT_STREQ(FamtoName(-1), "Kodak");
}

TEST_F(CatalogueQueriesDeathTest, FamilyFiveReadsAsEmptyOnTheFirstCallOfTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(exit(FamtoName(5)[0] == '\0' ? 17 : 18), testing::ExitedWithCode(17), "");
}

TEST_F(CatalogueQueries, VariantsWithABufferCopyAndReturnIt)
{
    char buffer[64];
    EXPECT_EQ(CCDtoNameVB(281, buffer, Camera), buffer);
    EXPECT_STREQ(buffer, "kaf4300");
    EXPECT_EQ(record.CcdFamily, 20);
    EXPECT_EQ(PTFtoNameVB(41, buffer, Camera), buffer);
    EXPECT_STREQ(buffer, "BRIAR-ISA");
    EXPECT_STREQ(record.PlatformShortCode, "brf");
    EXPECT_EQ(FamtoNameVB(30, buffer), buffer);
    EXPECT_STREQ(buffer, "SiTe");
    EXPECT_EQ(PtfNameVB(0, buffer, Camera), buffer);
    EXPECT_STREQ(buffer, "Undefined_noCode [0]");
}

TEST_F(CatalogueQueries, VariantsWithoutABufferDoNothing)
{
    record.CcdFamily = 33;
    EXPECT_EQ(CCDtoNameVB(281, nullptr, Camera), nullptr);
    EXPECT_EQ(record.CcdFamily, 33);
    EXPECT_EQ(PTFtoNameVB(41, nullptr, Camera), nullptr);
    EXPECT_STREQ(record.PlatformShortCode, "");
    EXPECT_EQ(FamtoNameVB(30, nullptr), nullptr);
    EXPECT_EQ(PtfNameVB(0, nullptr, Camera), nullptr);
}

TEST_F(CatalogueQueries, EachNameFunctionHasOneBufferOfItsOwn)
{
    const char* sensor = CCDtoName(255, Camera);
    const char* platform = PTFtoName(44, Camera);
    EXPECT_STREQ(sensor, "kaf400e");
    EXPECT_EQ(CCDtoName(275, Camera + 1), sensor);
    EXPECT_STREQ(sensor, "kaf1600");
    EXPECT_STREQ(platform, "BRIAR-R3");
    EXPECT_EQ(PTFtoName(1, Camera + 1), platform);
}

TEST_F(CatalogueQueries, PtfNameLooksPlatformAndSensorUpCrossed)
{
    record.Config.Platform = 44;
    record.Config.CCD = 255;
    EXPECT_STREQ(PtfName(0, Camera), "Undefined_noCode [44]");
}

TEST_F(CatalogueQueries, PtfNameWithoutAConfigurationReadsAsCodesOfZero)
{
    EXPECT_STREQ(PtfName(44, Camera), "Undefined_noCode [0]");
}

TEST_F(CatalogueQueries, PtfNameFindsCodesThatBothTablesKnow)
{
    record.Config.Platform = 300;
    record.Config.CCD = 400;
    EXPECT_STREQ(PtfName(0, Camera), "TOLM_sta001a");
}

TEST_F(CatalogueQueries, PtfNameOfTheLongestNamesFits)
{
    record.Config.Platform = INT_MIN;
    record.Config.CCD = INT_MIN;
    EXPECT_STREQ(PtfName(0, Camera), "Undefined_noCode [-2147483648]");
}

TEST_F(CatalogueQueries, GetCCDXOfASensorWith1023ColumnsGives1022)
{
    record.Ccd.Xpix = 1023;
    record.Ccd.Ypix = 1023;
    EXPECT_EQ(GetCCDX(Camera), 1022);
    EXPECT_EQ(GetCCDY(Camera), 1023);
}

TEST_F(CatalogueQueries, GetDimGivesTheWindowWithAnEvenWidth)
{
    record.WindowDimX = 65535;
    record.WindowDimY = 65535;
    EXPECT_EQ(GetDimX(Camera), 65534);
    EXPECT_EQ(GetDimY(Camera), 65535);
}

TEST_F(CatalogueQueries, GetDimInArrayModeGivesTheSensorByTheBinningOfTheHead)
{
    record.ArrayMode = 1;
    record.WindowDimX = 10;
    record.WindowDimY = 10;
    record.Ccd.Xpix = 1535;
    record.Ccd.Ypix = 1027;
    record.ArrayHorizontalBinning[Camera] = 3;
    record.ArrayVerticalBinning[Camera] = 2;
    EXPECT_EQ(GetDimX(Camera), 510); // 1535 / 3 = 511
    EXPECT_EQ(GetDimY(Camera), 513);
}

TEST_F(CatalogueQueries, GetDimInArrayModeDividesASignedWidth)
{
    record.ArrayMode = 1;
    record.Ccd.Xpix = -9;
    record.ArrayHorizontalBinning[Camera] = 3;
    EXPECT_EQ(GetDimX(Camera), -4); // -9 / 3 = -3, and its lowest bit is set
}

TEST_F(CatalogueQueries, GetDimInArrayModeTakesAHeadWithoutBinningAsUnbinned)
{
    record.ArrayMode = 1;
    record.Ccd.Xpix = 1025;
    record.Ccd.Ypix = 1025;
    EXPECT_EQ(GetDimX(Camera), 1024);
    EXPECT_EQ(GetDimY(Camera), 1025);
}

TEST_F(CatalogueQueries, GetCCDdataCopiesTheSensor)
{
    record.Ccd.Manufacturer = 20;
    record.Ccd.Dummy[3] = 9;
    record.Ccd.Shutter = 1;
    record.Ccd.CCF = 2.5;
    CcdDefinition copy = {};
    GetCCDdata(&copy, Camera);
    EXPECT_EQ(memcmp(&copy, &record.Ccd, sizeof copy), 0);
    GetCCDdata(nullptr, Camera);
}

TEST_F(CatalogueQueries, GetHPdataCopiesThePlatformWithItsSpare)
{
    record.Platform.Spare = 77;
    record.Platform.ADbit = 0x0C10;
    record.Platform.AntiBloomingTimer = -3;
    record.Platform.Gain[3] = 8.5;
    PlatformDefinition copy = {};
    GetHPdata(&copy, Camera);
    EXPECT_EQ(copy.Spare, 77);
    EXPECT_EQ(copy.ADbit, 0x0C10);
    EXPECT_EQ(copy.AntiBloomingTimer, -3);
    EXPECT_EQ(copy.Gain[3], 8.5);
    GetHPdata(nullptr, Camera);
}
