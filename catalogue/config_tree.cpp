#include "catalogue/config_tree.h"

#include <libconfig.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "platform/number_format.h"
#include "platform/system.h"

static_assert(sizeof(config_t) <= sizeof(ConfigTree));

namespace {

// Arrays that can be turned from integers into floats. The longest in use has 4.
constexpr int32_t MaxElements = 64;
constexpr double EndOfExactIntegers = 9007199254740992.0;
// With 15 digits anything larger reads back as infinity.
constexpr double LargestWritable = 1.79769313486231e308;
constexpr double EndOfInt64 = 9223372036854775808.0;

config_t* Config(ConfigTree* tree)
{
    return reinterpret_cast<config_t*>(tree->memory);
}

ConfigNode* Node(config_setting_t* setting)
{
    return reinterpret_cast<ConfigNode*>(setting);
}

config_setting_t* Setting(ConfigNode* node)
{
    return reinterpret_cast<config_setting_t*>(node);
}

int TypeOf(ConfigNode* node)
{
    return node == nullptr ? CONFIG_TYPE_NONE : config_setting_type(Setting(node));
}

bool IsWritable(double value)
{
    return std::fabs(value) <= LargestWritable;
}

bool FitsInteger(double value, int type)
{
    if (std::trunc(value) != value) return false;
    if (type == CONFIG_TYPE_INT) return value >= INT32_MIN && value <= INT32_MAX;
    return value >= -EndOfInt64 && value < EndOfInt64;
}

// Whether the integer element's array can become one of floats.
bool CanBecomeFloats(config_setting_t* element)
{
    config_setting_t* array = config_setting_parent(element);
    if (config_setting_type(array) != CONFIG_TYPE_ARRAY) return false;
    const int count = config_setting_length(array);
    if (count > MaxElements) return false;
    for (int i = 0; i < count; ++i) {
        const double value =
            ConfigFloat(Node(config_setting_get_elem(array, static_cast<unsigned>(i))));
        if (std::fabs(value) >= EndOfExactIntegers) return false;
    }
    return true;
}

// An element cannot change its type, so all are taken out and put back as floats.
void ReplaceElement(config_setting_t* element, double value)
{
    config_setting_t* array = config_setting_parent(element);
    const int count = config_setting_length(array);
    const int index = config_setting_index(element);
    double values[MaxElements];
    for (int i = 0; i < count; ++i) {
        values[i] = ConfigFloat(Node(config_setting_get_elem(array, static_cast<unsigned>(i))));
    }
    values[index] = value;
    for (int i = count; i > 0; --i) {
        config_setting_remove_elem(array, static_cast<unsigned>(i - 1));
    }
    for (int i = 0; i < count; ++i) config_setting_set_float_elem(array, -1, values[i]);
}

bool AllWritable(config_setting_t* setting)
{
    if (config_setting_type(setting) == CONFIG_TYPE_FLOAT) {
        return IsWritable(config_setting_get_float(setting));
    }
    if (!config_setting_is_aggregate(setting)) return true;
    const int count = config_setting_length(setting);
    for (int i = 0; i < count; ++i) {
        if (!AllWritable(config_setting_get_elem(setting, static_cast<unsigned>(i)))) return false;
    }
    return true;
}

} // namespace

FileStatus OpenConfigTree(const char* path, ConfigTree* tree)
{
    FILE* stream = fopen(path, "rb");
    if (stream == nullptr) return FileNotOpened;
    // Read at once and not by the parser, which ends the process if a read fails.
    char* text = static_cast<char*>(malloc(ConfigMaxBytes + 1 + ConfigTextRoom));
    FileStatus status = FileNotOpened;
    if (text != nullptr) {
        const size_t bytes = fread(text, 1, ConfigMaxBytes + 1, stream);
        if (ferror(stream) == 0) status = ParseConfigTree(text, bytes, tree);
    }
    free(text);
    fclose(stream);
    return status;
}

FileStatus ParseConfigTree(char* text, size_t bytes, ConfigTree* tree)
{
    // The parser wants an end of line behind a comment.
    memcpy(text + bytes, "\n", ConfigTextRoom);
    const ConfigScan scan = ScanConfigText(text, bytes);
    if (scan.fault != ConfigSound) return FileNotParsed;

    NumberFormat format;
    UsePlainNumbers(&format);
    config_init(Config(tree));
    const bool parsed = config_read_string(Config(tree), scan.start) == CONFIG_TRUE;
    RestoreNumbers(format);
    if (!parsed) config_destroy(Config(tree));
    return parsed ? FileDone : FileNotParsed;
}

void CloseConfigTree(ConfigTree* tree)
{
    config_destroy(Config(tree));
}

ConfigNode* ConfigRoot(ConfigTree* tree)
{
    return Node(config_root_setting(Config(tree)));
}

ConfigNode* ConfigMember(ConfigNode* group, const char* name)
{
    if (TypeOf(group) != CONFIG_TYPE_GROUP) return nullptr;
    return Node(config_setting_get_member(Setting(group), name));
}

ConfigNode* ConfigElement(ConfigNode* array, int32_t index)
{
    const int type = TypeOf(array);
    if (type != CONFIG_TYPE_ARRAY && type != CONFIG_TYPE_LIST) return nullptr;
    return Node(config_setting_get_elem(Setting(array), static_cast<unsigned>(index)));
}

int32_t ConfigInt(ConfigNode* node)
{
    const int type = TypeOf(node);
    if (type != CONFIG_TYPE_INT && type != CONFIG_TYPE_INT64) return 0;
    const long long value = config_setting_get_int64(Setting(node));
    return value < INT32_MIN || value > INT32_MAX ? 0 : static_cast<int32_t>(value);
}

uint32_t ConfigWord(ConfigNode* node)
{
    if (!ConfigHoldsInt(node)) return 0;
    return static_cast<uint32_t>(config_setting_get_int64(Setting(node)) & UINT32_MAX);
}

double ConfigFloat(ConfigNode* node)
{
    switch (TypeOf(node)) {
    case CONFIG_TYPE_FLOAT: return config_setting_get_float(Setting(node));
    case CONFIG_TYPE_INT:
    case CONFIG_TYPE_INT64: return static_cast<double>(config_setting_get_int64(Setting(node)));
    default: return 0.0;
    }
}

const char* ConfigText(ConfigNode* node)
{
    return TypeOf(node) == CONFIG_TYPE_STRING ? config_setting_get_string(Setting(node)) : nullptr;
}

bool ConfigHoldsInt(ConfigNode* node)
{
    const int type = TypeOf(node);
    return type == CONFIG_TYPE_INT || type == CONFIG_TYPE_INT64;
}

bool ConfigHoldsFloat(ConfigNode* node, double value)
{
    if (!IsWritable(value)) return false;
    const int type = TypeOf(node);
    if (type == CONFIG_TYPE_FLOAT) return true;
    if (type != CONFIG_TYPE_INT && type != CONFIG_TYPE_INT64) return false;
    return FitsInteger(value, type) || CanBecomeFloats(Setting(node));
}

bool ConfigHoldsText(ConfigNode* node)
{
    return TypeOf(node) == CONFIG_TYPE_STRING;
}

void SetConfigInt(ConfigNode* node, int32_t value)
{
    if (TypeOf(node) == CONFIG_TYPE_INT64) {
        config_setting_set_int64(Setting(node), value);
    } else {
        config_setting_set_int(Setting(node), value);
    }
}

void SetConfigFloat(ConfigNode* node, double value)
{
    const int type = TypeOf(node);
    if (type == CONFIG_TYPE_FLOAT) {
        config_setting_set_float(Setting(node), value);
    } else if (!FitsInteger(value, type)) {
        ReplaceElement(Setting(node), value);
    } else if (type == CONFIG_TYPE_INT64) {
        config_setting_set_int64(Setting(node), static_cast<long long>(value));
    } else {
        config_setting_set_int(Setting(node), static_cast<int>(value));
    }
}

void SetConfigText(ConfigNode* node, const char* text)
{
    config_setting_set_string(Setting(node), text);
}

bool ConfigIsWritable(ConfigTree* tree)
{
    return AllWritable(config_root_setting(Config(tree)));
}

void WriteConfigTree(const char* path, ConfigTree* tree)
{
    FileReplacement file;
    if (!System.file.BeginReplace(path, &file)) return;
    NumberFormat format;
    UsePlainNumbers(&format);
    config_write(Config(tree), file.stream);
    RestoreNumbers(format);
    // The new version may not have fitted on the disk.
    if (ferror(file.stream) != 0) {
        System.file.CancelReplace(&file);
    } else {
        System.file.CommitReplace(&file);
    }
}
