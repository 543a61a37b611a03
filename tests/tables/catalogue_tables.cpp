// The catalogue against a second copy of its lists, written in another form.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "catalogue/config_tree.h"
#include "core/record.h"

namespace {

struct Platform {
    int32_t code;
    std::string name, shortCode;
    bool operator==(const Platform&) const = default;
};

struct Sensor {
    int32_t code;
    std::string name;
    int32_t family;
    bool operator==(const Sensor&) const = default;
};

// "1 DEMO de, 10 Tarn_I tn1, ..."
std::vector<Platform> ReadPlatforms(const std::string& text)
{
    std::vector<Platform> platforms;
    std::istringstream items(text);
    for (std::string item; std::getline(items, item, ',');) {
        std::istringstream words(item);
        Platform platform;
        words >> platform.code >> platform.name >> platform.shortCode;
        platforms.push_back(platform);
    }
    return platforms;
}

// "120 ccd30-11, 121 ccd39-02, ..."
void ReadSensors(int32_t family, const std::string& text, std::vector<Sensor>* sensors)
{
    std::istringstream items(text);
    for (std::string item; std::getline(items, item, ',');) {
        std::istringstream words(item);
        Sensor sensor;
        words >> sensor.code >> sensor.name;
        sensor.family = family;
        sensors->push_back(sensor);
    }
}

std::vector<int32_t> ReadCodes(const std::string& text)
{
    std::vector<int32_t> codes;
    std::istringstream items(text);
    for (std::string item; std::getline(items, item, ',');) codes.push_back(std::stoi(item));
    return codes;
}

const char WantedPlatforms[] =
    "1 DEMO de, 10 Tarn_I tn1, 20 Tarn_II tn, 21 Tarn_IIA tna, 22 Tarn_III tn3, "
    "23 Tarn_IIIA t3a, 24 Tarn_IV t4, 25 Tarn_IV_PLUS t4p, 28 Tarn_V t5, 29 Tarn_U tnu, "
    "30 Larch la, 40 BRIAR bri, 41 BRIAR-ISA brf, 42 BRIAR-PCI brh, 43 BRIAR br, "
    "44 BRIAR-R3 r3, 47 R3-PLUS r3p, 48 R4-DSP r4, 50 MOB mob, 60 HERON hn, "
    "61 HERON_Plus hnp, 70 uNOD un, 71 uNOD_II un2, 80 SEP sep, 90 THISTLE ths, "
    "100 Fennel fl, 200 OSPREY op, 205 OSPREY_Plus opp, 300 WREN wrn, 400 TOLM tlm, "
    "450 TOLM_E tlme";

std::vector<Sensor> WantedSensors()
{
    std::vector<Sensor> sensors;
    ReadSensors(0,
                "120 ccd30-11, 121 ccd39-02, 122 ccd42-10, 123 ccd42-40, 124 ccd42-80, "
                "125 ccd47-10, 126 ccd42-90, 127 ccd44-82, 128 ccd47-20, 129 ccd55-30, "
                "130 ccd57-10, 131 ccd62-06, 132 ccd77-00, 133 ccd30-11b, 134 ccd55-20, "
                "135 ccd30-11d",
                &sensors);
    ReadSensors(5, "4000 s10420-1106, 4100 s9037-0902, 4101 s9037-0902b", &sensors);
    ReadSensors(10, "195 ft18, 200 ftt1010, 210 ftf3020", &sensors);
    ReadSensors(20,
                "250 kaf0260, 255 kaf400e, 260 kaf1000, 265 kaf1300, 270 kaf1400, "
                "275 kaf1600, 279 kaf3200, 280 kaf4201, 281 kaf4300, 282 kaf5100, "
                "283 kaf6302ce, 285 kaf6303, 286 kaf8300, 287 kaf9000, 290 kaf16800, "
                "295 kaf16800ce, 3000 kac0310, 3001 kac1310, 3800 kai0340, 3805 kai1003, "
                "3810 kai1010, 3815 kai1020, 3820 kai2001, 3825 kai2020, 3830 kai2093, "
                "3835 kai4010, 3840 kai4020, 3945 kai01050, 3946 kai01150, "
                "3947 kai02050, 3948 kai02150, 3960 kai02170, 3962 kai04050, "
                "3964 kai04070, 3968 kai08050, 3980 kai16050, 3985 kai16070, "
                "3990 kai29050",
                &sensors);
    ReadSensors(25, "2000 ccd442, 2001 ccd447, 2005 ccd485, 2006 ccd486, 2007 ccd595", &sensors);
    ReadSensors(30, "300 sta001a, 305 sta003a, 306 si424, 310 sia502a", &sensors);
    ReadSensors(33,
                "3500 icx074al, 3510 icx074ak, 3520 icx085al, 3530 icx085ak, "
                "3540 icx098bl, 3550 icx098bq, 3560 icx204al, 3570 icx204ak, "
                "3580 icx205al, 3590 icx205ak, 3600 icx274al, 3610 icx274ak, "
                "3620 icx285al, 3630 icx285aq, 3640 icx424al, 3650 icx424aq",
                &sensors);
    ReadSensors(35, "500 su128, 505 su320, 506 su512", &sensors);
    ReadSensors(40,
                "1000 tc237, 1001 tc213, 1002 tc215, 1005 tc241, 1010 tc245, 1011 tc253, "
                "1015 tc255, 1016 tc281",
                &sensors);
    ReadSensors(50, "400 th7887, 405 th7888, 410 th7889", &sensors);
    ReadSensors(60, "5000 fpa640x512", &sensors);
    return sensors;
}

struct WantedList {
    std::vector<int32_t> platforms;
    size_t count;
    const char* sensors;
};

const WantedList WantedLists[] = {
    {{1},
     68,
     "120, 133, 121, 122, 123, 124, 126, 127, 125, 128, 134, 129, 130, 131, 132, 195, "
     "200, 210, 250, 255, 260, 265, 270, 275, 279, 280, 281, 282, 283, 285, 286, 287, "
     "290, 295, 300, 305, 306, 310, 400, 405, 410, 500, 505, 506, 1001, 1002, 1000, "
     "1005, 1010, 1011, 1015, 1016, 2000, 2001, 2005, 2006, 2007, 3000, 3001, 3800, "
     "3805, 3810, 3815, 3820, 3825, 3830, 3835, 3840"},
    {{10}, 1, "255"},
    {{20}, 5, "250, 255, 275, 300, 310"},
    {{22, 23}, 8, "250, 255, 260, 270, 275, 310, 300, 305"},
    {{24}, 15, "120, 133, 121, 122, 125, 128, 250, 255, 260, 270, 275, 300, 305, 310, 2000"},
    {{25}, 11, "125, 128, 123, 250, 255, 260, 270, 275, 279, 285, 290"},
    {{28},
     46,
     "120, 133, 121, 122, 123, 124, 126, 127, 125, 128, 129, 130, 131, 132, 195, 200, "
     "210, 250, 255, 260, 265, 270, 275, 279, 280, 281, 282, 283, 285, 290, 295, 300, "
     "305, 306, 310, 400, 405, 410, 500, 505, 506, 2000, 2001, 2005, 2006, 2007"},
    {{29}, 6, "260, 281, 285, 4100, 4101, 133"},
    {{30}, 9, "123, 250, 255, 260, 270, 275, 281, 500, 506"},
    {{40, 41, 42, 43}, 3, "250, 255, 275"},
    {{44, 45, 46, 47}, 7, "250, 255, 275, 279, 282, 283, 285"},
    {{48}, 6, "250, 255, 275, 279, 285, 286"},
    {{50}, 3, "1015, 1010, 1005"},
    {{60, 61}, 4, "250, 255, 275, 279"},
    {{70}, 2, "255, 275"},
    {{71}, 6, "255, 275, 279, 282, 283, 285"},
    {{80}, 3, "2000, 2001, 2005"},
    {{90}, 2, "3000, 3001"},
    {{100},
     16,
     "3500, 3510, 3520, 3530, 3540, 3550, 3560, 3570, 3580, 3590, 3600, 3610, 3620, "
     "3630, 3640, 3650"},
    {{200},
     23,
     "250, 255, 260, 270, 275, 279, 280, 282, 283, 285, 120, 133, 125, 132, 3800, 3805, "
     "3810, 3815, 3820, 3825, 3830, 3835, 3840"},
    {{205}, 13, "120, 133, 135, 125, 134, 255, 260, 275, 279, 281, 286, 287, 290"},
    {{300}, 10, "250, 255, 275, 279, 125, 4000, 3945, 3947, 3980, 5000"},
    {{400, 450}, 11, "3945, 3946, 3947, 3948, 3960, 3962, 3964, 3968, 3980, 3985, 3990"},
};

std::vector<int32_t> Listed(int32_t platform)
{
    int32_t list[128];
    const int32_t count = CCDQuery(platform, list);
    return count < 0 ? std::vector<int32_t>() : std::vector<int32_t>(list, list + count);
}

bool IsSensor(int32_t code)
{
    for (const SensorName& sensor : SensorNames) {
        if (sensor.code == code) return true;
    }
    return false;
}

bool IsPlatform(int32_t code)
{
    for (const PlatformName& platform : PlatformNames) {
        if (platform.code == code) return true;
    }
    return false;
}

// Whether a group of this name can stand in a file and be found there.
bool IsGroupName(const std::string& name)
{
    std::string text = name + ": { key = 7; };";
    const size_t bytes = text.size();
    text.resize(bytes + ConfigTextRoom);
    ConfigTree tree;
    if (ParseConfigTree(text.data(), bytes, &tree) != FileDone) return false;
    const int32_t value =
        ConfigInt(ConfigMember(ConfigMember(ConfigRoot(&tree), name.c_str()), "key"));
    CloseConfigTree(&tree);
    return value == 7;
}

} // namespace

TEST(CatalogueTables, HoldThePlatformsInOrder)
{
    std::vector<Platform> platforms;
    for (const PlatformName& row : PlatformNames)
        platforms.push_back({row.code, row.name, row.shortCode});
    EXPECT_TRUE(platforms == ReadPlatforms(WantedPlatforms));
}

TEST(CatalogueTables, HoldTheSensorsWithTheirFamilies)
{
    std::vector<Sensor> sensors;
    for (const SensorName& row : SensorNames) sensors.push_back({row.code, row.name, row.family});
    EXPECT_TRUE(sensors == WantedSensors());
}

TEST(CatalogueTables, HoldTheTextsOfTenFamilies)
{
    const std::map<int32_t, std::string> wanted = {
        {0, "EEV"},   {10, "Philips"}, {20, "Kodak"}, {25, "LMF"},     {30, "SiTe"},
        {33, "SONY"}, {35, "SU"},      {40, "Texas"}, {50, "Thomson"}, {60, "Andanta"},
    };
    std::map<int32_t, std::string> families;
    for (const FamilyName& row : FamilyNames) families[row.code] = row.text;
    EXPECT_EQ(families, wanted);
}

TEST(CatalogueTables, EveryFamilyOfASensorHasATextButFive)
{
    std::set<int32_t> known;
    for (const FamilyName& row : FamilyNames) known.insert(row.code);
    for (const SensorName& sensor : SensorNames) {
        EXPECT_EQ(known.count(sensor.family), sensor.family == 5 ? 0u : 1u) << sensor.name;
    }
}

TEST(CatalogueTables, NoCodeAndNoSensorNameStandsTwice)
{
    std::set<int32_t> platforms, sensors;
    std::set<std::string> names;
    for (const PlatformName& row : PlatformNames) EXPECT_TRUE(platforms.insert(row.code).second);
    for (const SensorName& row : SensorNames) {
        EXPECT_TRUE(sensors.insert(row.code).second) << row.code;
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
    }
}

TEST(CatalogueTables, OnlyPlatforms40And43ShareAName)
{
    std::map<std::string, int32_t> names;
    std::set<std::string> shortCodes;
    for (const PlatformName& row : PlatformNames) {
        EXPECT_TRUE(names.emplace(row.name, row.code).second || row.code == 43) << row.name;
        EXPECT_TRUE(shortCodes.insert(row.shortCode).second) << row.shortCode;
        EXPECT_LT(strlen(row.shortCode), sizeof CameraRecord::PlatformShortCode);
    }
    EXPECT_EQ(names["BRIAR"], 40);
}

TEST(CatalogueTables, EveryNameCanBeAGroupOfTheDefinitionFile)
{
    for (const PlatformName& row : PlatformNames) EXPECT_TRUE(IsGroupName(row.name)) << row.name;
    for (const SensorName& row : SensorNames) EXPECT_TRUE(IsGroupName(row.name)) << row.name;
    EXPECT_FALSE(IsGroupName("9abc"));
}

TEST(CatalogueTables, PlatformListHoldsThemInTheirOrder)
{
    const std::vector<int32_t> wanted =
        ReadCodes("90, 44, 47, 48, 42, 1, 60, 61, 200, 205, 400, 450, 10, 20, 22, 23, 24, 25, 28, "
                  "29, 70, 71, 300, 50, 100, 80");
    const std::vector<int32_t> list(PlatformList, PlatformList + PlatformListCount);
    EXPECT_EQ(list, wanted);
    for (int32_t code : list) EXPECT_TRUE(IsPlatform(code)) << code;
}

TEST(CatalogueTables, SensorListsHoldTheirSensorsInOrder)
{
    for (const WantedList& wanted : WantedLists) {
        for (int32_t platform : wanted.platforms) {
            EXPECT_EQ(Listed(platform).size(), wanted.count) << platform;
            EXPECT_EQ(Listed(platform), ReadCodes(wanted.sensors)) << platform;
        }
    }
}

TEST(CatalogueTables, NoOtherPlatformHasAList)
{
    std::set<int32_t> wanted;
    for (const WantedList& list : WantedLists)
        wanted.insert(list.platforms.begin(), list.platforms.end());
    for (int32_t platform = -10; platform < 1000; ++platform) {
        EXPECT_EQ(!Listed(platform).empty(), wanted.count(platform) == 1) << platform;
    }
}

TEST(CatalogueTables, EveryListedSensorIsKnownAndListedOnce)
{
    for (const PlatformSensors* row = SensorLists; row->count != 0; ++row) {
        std::set<int32_t> seen;
        for (int32_t i = 0; i < row->count; ++i) {
            EXPECT_TRUE(IsSensor(row->sensors[i])) << row->first << ": " << row->sensors[i];
            EXPECT_TRUE(seen.insert(row->sensors[i]).second)
                << row->first << ": " << row->sensors[i];
        }
    }
}

TEST(CatalogueTables, EveryPlatformOfTheListHasSensors)
{
    for (int32_t platform : PlatformList) EXPECT_FALSE(Listed(platform).empty()) << platform;
}
