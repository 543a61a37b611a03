// The rules of `qvn config check` are about the keys that the library reads: a save refuses a file
// in which one of them is missing, and takes one that has no others.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "include/qvn.h"
#include "tests/support/temp_folder.h"
#include "tools/config_rules.h"

namespace {

constexpr int32_t Camera = 3, Platform = 44, Sensor = 255;

std::string ValueText(const KeyRule& rule)
{
    if (rule.type == KeyType::Text) return "\"\"";
    return rule.type == KeyType::Integer ? "1" : "1.5";
}

// The keys of a group, without the one that is left out.
std::string GroupText(KeyGroup group, const KeyRule* left)
{
    std::string text;
    for (const KeyRule* rule = KeyRules; rule->name != nullptr; ++rule) {
        if (rule->group != group || rule->platform != nullptr || rule == left) continue;
        std::string value = ValueText(*rule);
        // Elements that differ have a rule each; without the first of them there is no array.
        if (rule->first > 0) continue;
        if (rule->first == 0)
            value = "[ " + value + ", " + value + ", " + value + ", " + value + " ]";
        text += std::string(rule->name) + " = " + value + ";\n";
    }
    return text;
}

std::string DefinitionText(const KeyRule* left)
{
    return "rmk_camera_library: { ccd_definitions: { kaf400e: {\n" +
           GroupText(KeyGroup::Sensor, left) + "}; }; camera_platforms: { BRIAR-R3: {\n" +
           GroupText(KeyGroup::Platform, left) + "kaf400e: {\n" + GroupText(KeyGroup::Pair, left) +
           "}; }; }; };\n";
}

struct ConfigRules : testing::Test {
    std::string folder = TempFolder();

    int64_t Save(KeyGroup group, const KeyRule* left)
    {
        if (group == KeyGroup::Camera) return SaveCamera(left);
        std::ofstream(folder + "/qvn.cfg") << DefinitionText(left);
        QV_SetPathName(folder.c_str());
        if (group == KeyGroup::Sensor) {
            QV_LoadCCD(Sensor, Camera);
            return QV_SaveCCD(Sensor, Camera);
        }
        QV_LoadPlatform(Platform, Sensor, Camera);
        return QV_SavePlatform(Platform, Sensor, Camera);
    }

    int64_t SaveCamera(const KeyRule* left)
    {
        const std::string file = folder + "/camera.cfg";
        std::ofstream(file) << "CameraConfig: {\n" << GroupText(KeyGroup::Camera, left) << "};\n";
        CameraConfig config{};
        QV_LoadCameraConfig(file.c_str(), &config);
        return QV_SaveCameraConfig(file.c_str(), &config);
    }
};

// Calibration values are read by drivers, one at a time, and never saved.
bool IsSaved(const KeyRule& rule)
{
    return std::string(rule.name).rfind("Temperature", 0) != 0;
}

} // namespace

TEST_F(ConfigRules, TheirKeysAreAllThatTheLibraryNeeds)
{
    for (const KeyGroup group :
         {KeyGroup::Sensor, KeyGroup::Platform, KeyGroup::Pair, KeyGroup::Camera}) {
        EXPECT_EQ(Save(group, nullptr), QV_FILE_DONE) << static_cast<int>(group);
    }
}

TEST_F(ConfigRules, TheLibraryReadsEveryKey)
{
    for (const KeyRule* rule = KeyRules; rule->name != nullptr; ++rule) {
        if (rule->platform != nullptr || !IsSaved(*rule) || rule->first > 0) continue;
        EXPECT_EQ(Save(rule->group, rule), QV_FILE_NOT_PARSED) << rule->name;
    }
}
