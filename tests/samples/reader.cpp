#include <gtest/gtest.h>
#include <libconfig.h>

#include "tests/samples/expected.h"

namespace {

struct Tree {
    explicit Tree(const char* name)
    {
        config_init(&config);
        const std::string path = std::string(QVN_SOURCE_DIR "/share/qvn/") + name;
        if (config_read_file(&config, path.c_str()) != CONFIG_TRUE) {
            ADD_FAILURE() << path << ", line " << config_error_line(&config) << ": "
                          << config_error_text(&config);
        }
    }
    ~Tree() { config_destroy(&config); }
    config_t config;
};

const config_setting_t* Find(const std::string& path, int type)
{
    static const Tree definitions("qvn.cfg"), camera("camera.cfg");
    const Tree& tree = path.starts_with("CameraConfig") ? camera : definitions;
    const config_setting_t* setting = config_lookup(&tree.config, path.c_str());
    if (!setting) {
        ADD_FAILURE() << path << " is missing";
    } else if (config_setting_type(setting) != type) {
        ADD_FAILURE() << path << " is of another type";
        setting = nullptr;
    }
    return setting;
}

// The array's elements that are of the type; all are, or the test fails.
std::vector<const config_setting_t*> Elements(const std::string& path, int type)
{
    std::vector<const config_setting_t*> elements;
    const config_setting_t* array = Find(path, CONFIG_TYPE_ARRAY);
    for (int i = 0; array && i < config_setting_length(array); ++i) {
        const config_setting_t* element =
            config_setting_get_elem(array, static_cast<unsigned int>(i));
        EXPECT_EQ(config_setting_type(element), type) << path << " element " << i;
        if (config_setting_type(element) == type) elements.push_back(element);
    }
    return elements;
}

std::vector<std::string> Members(const std::string& path, bool groupsOnly)
{
    std::vector<std::string> names;
    const config_setting_t* group = Find(path, CONFIG_TYPE_GROUP);
    for (int i = 0; group && i < config_setting_length(group); ++i) {
        const config_setting_t* member =
            config_setting_get_elem(group, static_cast<unsigned int>(i));
        if (groupsOnly && !config_setting_is_group(member)) continue;
        names.push_back(config_setting_name(member));
    }
    return names;
}

} // namespace

std::string SensorNameOf(int code)
{
    for (const ExpectedSensor& sensor : ExpectedSensors) {
        if (sensor.code == code) return sensor.name;
    }
    ADD_FAILURE() << "sensor " << code << " is not in the list";
    return "";
}

int IntAt(const std::string& path)
{
    const config_setting_t* setting = Find(path, CONFIG_TYPE_INT);
    return setting ? config_setting_get_int(setting) : 0;
}

double FloatAt(const std::string& path)
{
    const config_setting_t* setting = Find(path, CONFIG_TYPE_FLOAT);
    return setting ? config_setting_get_float(setting) : 0.0;
}

std::string TextAt(const std::string& path)
{
    const config_setting_t* setting = Find(path, CONFIG_TYPE_STRING);
    return setting ? config_setting_get_string(setting) : "";
}

std::vector<int> IntsAt(const std::string& path)
{
    std::vector<int> values;
    for (const config_setting_t* element : Elements(path, CONFIG_TYPE_INT)) {
        values.push_back(config_setting_get_int(element));
    }
    return values;
}

std::vector<double> FloatsAt(const std::string& path)
{
    std::vector<double> values;
    for (const config_setting_t* element : Elements(path, CONFIG_TYPE_FLOAT)) {
        values.push_back(config_setting_get_float(element));
    }
    return values;
}

std::vector<std::string> MembersOf(const std::string& path)
{
    return Members(path, false);
}

std::vector<std::string> GroupsOf(const std::string& path)
{
    return Members(path, true);
}
