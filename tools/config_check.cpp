// What is wrong with a qvn.cfg or a camera.cfg, key by key of the table of rules.
#include "tools/config_check.h"

#include <libconfig.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

#include "catalogue/config_scan.h"
#include "tools/catalogue_names.h"
#include "tools/config_rules.h"
#include "tools/text.h"

namespace {

using Setting = config_setting_t;
using Names = std::vector<std::string>;

struct Check {
    ConfigReport* report;
    const ConfigPair* pair; // null: all groups are looked at
};

// A group of keys: where it stands, and of which platform it is.
struct Group {
    KeyGroup kind;
    Setting* setting;
    std::string path;
    std::string platform;
};

// --- what is told ---

int32_t LineOf(const Setting* setting)
{
    return static_cast<int32_t>(config_setting_source_line(setting));
}

void Tell(const Check& check, int32_t line, const std::string& path, const std::string& text,
          bool vital = false)
{
    check.report->problems.push_back({line, path, text, vital});
}

const char* TypeName(const Setting* setting)
{
    switch (config_setting_type(setting)) {
    case CONFIG_TYPE_GROUP: return "a group";
    case CONFIG_TYPE_INT:
    case CONFIG_TYPE_INT64: return "an integer";
    case CONFIG_TYPE_FLOAT: return "a number with a point";
    case CONFIG_TYPE_STRING: return "a text";
    case CONFIG_TYPE_BOOL: return "true or false";
    case CONFIG_TYPE_ARRAY: return "an array";
    default: return "a list";
    }
}

const char* WantedType(const KeyRule& rule)
{
    switch (rule.type) {
    case KeyType::Integer: return "an integer";
    case KeyType::Number: return "a number";
    default: return "a text";
    }
}

// "0 to 32767 columns", "0, 1, 3: kind of decoder"
std::string RangeText(const KeyRule& rule)
{
    if (rule.values == nullptr) return Text("%.10g to %.10g, %s", rule.low, rule.high, rule.unit);
    std::string text;
    for (const int32_t* value = rule.values; *value >= 0; ++value) {
        text += (text.empty() ? "" : ", ") + std::to_string(*value);
    }
    return text + ": " + rule.unit;
}

// --- names that nobody knows ---

char Lower(char letter)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
}

// How many letters must be put in, taken out or replaced; case does not count.
size_t Distance(const std::string& one, const std::string& other)
{
    std::vector<size_t> row(other.size() + 1);
    for (size_t j = 0; j < row.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= one.size(); ++i) {
        size_t corner = row[0];
        row[0] = i;
        for (size_t j = 1; j < row.size(); ++j) {
            const size_t replaced = corner + (Lower(one[i - 1]) == Lower(other[j - 1]) ? 0 : 1);
            corner = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

// ", the nearest is Xpix"; empty if none resembles it.
std::string Nearest(const Names& names, const std::string& text)
{
    const auto nearer = [&text](const std::string& one, const std::string& other) {
        return Distance(one, text) < Distance(other, text);
    };
    const auto best = std::min_element(names.begin(), names.end(), nearer);
    if (best == names.end() || Distance(*best, text) > 1 + text.size() / 3) return "";
    return ", the nearest is " + *best;
}

void TellUnknown(const Check& check, const Setting* setting, const std::string& group,
                 const char* what, const Names& names)
{
    const std::string name = config_setting_name(setting);
    Tell(check, LineOf(setting), group.empty() ? name : group + "." + name,
         std::string(what) + Nearest(names, name));
}

bool Holds(const Names& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

Names NamesOf(const std::vector<CatalogueEntry>& entries)
{
    Names names;
    for (const CatalogueEntry& entry : entries) names.push_back(entry.name);
    return names;
}

// --- values ---

bool IsVital(const KeyRule& rule)
{
    return rule.use == KeyUse::Vital;
}

bool IsOfType(const KeyRule& rule, const Setting* value)
{
    const int type = config_setting_type(value);
    const bool integer = type == CONFIG_TYPE_INT || type == CONFIG_TYPE_INT64;
    switch (rule.type) {
    case KeyType::Integer: return integer;
    case KeyType::Number: return integer || type == CONFIG_TYPE_FLOAT;
    default: return type == CONFIG_TYPE_STRING;
    }
}

double ValueOf(const Setting* value)
{
    switch (config_setting_type(value)) {
    case CONFIG_TYPE_STRING: return static_cast<double>(strlen(config_setting_get_string(value)));
    case CONFIG_TYPE_FLOAT: return config_setting_get_float(value);
    default: return static_cast<double>(config_setting_get_int64(value));
    }
}

bool IsPlausible(const KeyRule& rule, double value)
{
    if (rule.values == nullptr) return value >= rule.low && value <= rule.high;
    const int32_t* allowed = rule.values;
    while (*allowed >= 0 && *allowed != value) ++allowed;
    return *allowed >= 0;
}

void CheckValue(const Check& check, const KeyRule& rule, const Setting* value,
                const std::string& path)
{
    const int32_t line = LineOf(value);
    if (!IsOfType(rule, value)) {
        Tell(check, line, path,
             Text("%s where %s is wanted, it reads as %s; %s", TypeName(value), WantedType(rule),
                  rule.type == KeyType::Text ? "nothing" : "0", RangeText(rule).c_str()),
             IsVital(rule));
        return;
    }
    const double number = ValueOf(value);
    if (IsPlausible(rule, number)) return;
    // Vital values are no more than counts: with 0, or below, there is nothing to read.
    Tell(check, line, path, Text("%.10g is not plausible; %s", number, RangeText(rule).c_str()),
         IsVital(rule) && number <= 0.0);
}

void TellMissing(const Check& check, const KeyRule& rule, int32_t line, const std::string& path)
{
    if (rule.use == KeyUse::Optional) return;
    Tell(check, line, path,
         Text("missing, it reads as %s; %s", rule.type == KeyType::Text ? "nothing" : "0",
              RangeText(rule).c_str()),
         IsVital(rule));
}

void CheckElements(const Check& check, const KeyRule& rule, const Setting* array,
                   const std::string& path)
{
    const int type = config_setting_type(array);
    if (type != CONFIG_TYPE_ARRAY && type != CONFIG_TYPE_LIST) {
        if (rule.first > 0) return; // told for the first of its elements
        Tell(check, LineOf(array), path,
             Text("%s where an array is wanted, it reads as 0; %s", TypeName(array),
                  RangeText(rule).c_str()),
             IsVital(rule));
        return;
    }
    const int32_t count = config_setting_length(array);
    for (int32_t i = rule.first; i <= rule.last; ++i) {
        const std::string element = path + Text(".[%d]", i);
        if (i >= count) {
            TellMissing(check, rule, LineOf(array), element);
        } else {
            CheckValue(check, rule, config_setting_get_elem(array, static_cast<unsigned>(i)),
                       element);
        }
    }
}

// --- groups ---

bool Applies(const KeyRule& rule, const Group& group)
{
    return rule.group == group.kind &&
           (rule.platform == nullptr || rule.platform == group.platform);
}

// The elements of the array of this name that the library reads.
int32_t ElementsOf(const Group& group, const std::string& name)
{
    int32_t last = NoArray;
    for (const KeyRule* rule = KeyRules; rule->name != nullptr; ++rule) {
        if (Applies(*rule, group) && rule->name == name) last = std::max(last, rule->last);
    }
    return last + 1;
}

void CheckRule(const Check& check, const Group& group, const KeyRule& rule)
{
    const std::string path = group.path + "." + rule.name;
    const Setting* setting = config_setting_get_member(group.setting, rule.name);
    if (setting == nullptr) {
        if (rule.first <= 0) TellMissing(check, rule, LineOf(group.setting), path);
    } else if (rule.first == NoArray) {
        CheckValue(check, rule, setting, path);
    } else {
        CheckElements(check, rule, setting, path);
    }
}

Names KnownKeys(const Group& group)
{
    Names names;
    for (const KeyRule* rule = KeyRules; rule->name != nullptr; ++rule) {
        if (Applies(*rule, group)) names.push_back(rule->name);
    }
    return names;
}

void CheckUnknown(const Check& check, const Group& group, const Setting* member)
{
    const Names names = KnownKeys(group);
    const std::string name = config_setting_name(member);
    if (!Holds(names, name)) {
        TellUnknown(check, member, group.path, "no such key", names);
        return;
    }
    const int32_t wanted = ElementsOf(group, name);
    const bool array = config_setting_type(member) == CONFIG_TYPE_ARRAY;
    if (array && wanted > 0 && config_setting_length(member) > wanted) {
        Tell(check, LineOf(member), group.path + "." + name,
             Text("%d elements, of which %d are read", config_setting_length(member), wanted));
    }
}

std::vector<Setting*> MembersOf(Setting* group)
{
    std::vector<Setting*> members;
    for (int32_t i = 0; i < config_setting_length(group); ++i) {
        members.push_back(config_setting_get_elem(group, static_cast<unsigned>(i)));
    }
    return members;
}

bool IsGroup(const Setting* setting)
{
    return config_setting_type(setting) == CONFIG_TYPE_GROUP;
}

// False: it is none, and that was told.
bool MustBeGroup(const Check& check, const Setting* setting, const std::string& path)
{
    if (IsGroup(setting)) return true;
    Tell(check, LineOf(setting), path, Text("%s where a group is wanted", TypeName(setting)), true);
    return false;
}

void CheckKeys(const Check& check, const Group& group)
{
    for (const KeyRule* rule = KeyRules; rule->name != nullptr; ++rule) {
        if (Applies(*rule, group)) CheckRule(check, group, *rule);
    }
    for (const Setting* member : MembersOf(group.setting)) {
        // The groups of a platform's sensors are looked at by themselves.
        if (group.kind == KeyGroup::Platform && IsGroup(member)) continue;
        CheckUnknown(check, group, member);
    }
}

int32_t IntegerOf(Setting* group, const char* name)
{
    const Setting* setting = config_setting_get_member(group, name);
    return setting == nullptr ? 0 : config_setting_get_int(setting);
}

// The image must fit the register that it is read through.
void CheckRegister(const Check& check, const Group& sensor)
{
    const int64_t needed =
        int64_t{IntegerOf(sensor.setting, "HorDummyPix")} + IntegerOf(sensor.setting, "Xpix");
    const int32_t size = IntegerOf(sensor.setting, "HorRegSize");
    if (size <= 0 || size >= needed) return;
    Tell(check, LineOf(config_setting_get_member(sensor.setting, "HorRegSize")),
         sensor.path + ".HorRegSize",
         Text("%d is not plausible; at least HorDummyPix + Xpix, %lld columns", size,
              static_cast<long long>(needed)));
}

bool IsLookedAt(const std::string& name, const std::string& wanted, const Check& check)
{
    return check.pair == nullptr || name == wanted;
}

std::string WantedSensor(const Check& check)
{
    return check.pair == nullptr ? "" : check.pair->sensor;
}

// A group whose name stands for a sensor: its own, or one inside of a platform.
void CheckSensorGroup(const Check& check, const Group& group, const Names& sensors,
                      const std::string& parent)
{
    const std::string name = config_setting_name(group.setting);
    if (!IsLookedAt(name, WantedSensor(check), check)) return;
    if (!Holds(sensors, name)) {
        TellUnknown(check, group.setting, parent, "no such sensor", sensors);
    } else if (MustBeGroup(check, group.setting, group.path)) {
        CheckKeys(check, group);
        if (group.kind == KeyGroup::Sensor) CheckRegister(check, group);
    }
}

void CheckSensors(const Check& check, Setting* root, const std::string& path)
{
    const Names sensors = NamesOf(Sensors());
    for (Setting* member : MembersOf(root)) {
        const std::string name = config_setting_name(member);
        CheckSensorGroup(check, {KeyGroup::Sensor, member, path + "." + name, ""}, sensors, path);
    }
}

void CheckPlatform(const Check& check, Setting* setting, const std::string& path,
                   const Names& sensors)
{
    const std::string platform = config_setting_name(setting);
    CheckKeys(check, {KeyGroup::Platform, setting, path, platform});
    for (Setting* member : MembersOf(setting)) {
        const std::string name = config_setting_name(member);
        if (!IsGroup(member) ||
            Holds(KnownKeys({KeyGroup::Platform, setting, path, platform}), name)) {
            continue;
        }
        CheckSensorGroup(check, {KeyGroup::Pair, member, path + "." + name, platform}, sensors,
                         path);
    }
}

void CheckPlatforms(const Check& check, Setting* root, const std::string& path)
{
    const Names platforms = NamesOf(Platforms()), sensors = NamesOf(Sensors());
    const std::string wanted = check.pair == nullptr ? "" : check.pair->platform;
    for (Setting* member : MembersOf(root)) {
        const std::string name = config_setting_name(member);
        if (!IsLookedAt(name, wanted, check)) continue;
        if (!Holds(platforms, name)) {
            TellUnknown(check, member, path, "no such platform", platforms);
        } else if (MustBeGroup(check, member, path + "." + name)) {
            CheckPlatform(check, member, path + "." + name, sensors);
        }
    }
}

// --- qvn.cfg ---

// The groups that a pair cannot do without.
void CheckPairGroups(const Check& check, Setting* root)
{
    const std::string sensors = std::string(SensorRoot), platforms = PlatformRoot;
    const std::string wanted[] = {
        sensors + "." + check.pair->sensor,
        platforms + "." + check.pair->platform,
        platforms + "." + check.pair->platform + "." + check.pair->sensor,
    };
    for (const std::string& path : wanted) {
        if (config_setting_lookup(root, path.c_str()) != nullptr) continue;
        Tell(check, LineOf(root), std::string(DefinitionRoot) + "." + path,
             "missing, all of its keys read as 0", true);
    }
}

void CheckDefinitions(const Check& check, Setting* root)
{
    const std::string path = DefinitionRoot;
    if (!MustBeGroup(check, root, path)) return;
    if (check.pair != nullptr) CheckPairGroups(check, root);
    for (const char* name : {SensorRoot, PlatformRoot}) {
        Setting* member = config_setting_get_member(root, name);
        const std::string place = path + "." + name;
        if (member == nullptr) {
            if (check.pair == nullptr) Tell(check, LineOf(root), place, "missing", true);
        } else if (MustBeGroup(check, member, place)) {
            (name == SensorRoot ? CheckSensors : CheckPlatforms)(check, member, place);
        }
    }
    for (const Setting* member : MembersOf(root)) {
        const Names known = {SensorRoot, PlatformRoot};
        if (Holds(known, config_setting_name(member))) continue;
        TellUnknown(check, member, path, "no such group", known);
    }
}

// --- camera.cfg ---

void CheckCodes(const Check& check, Setting* camera)
{
    const std::string path = CameraRoot;
    const Setting* platform = config_setting_get_member(camera, "Platform");
    const Setting* sensor = config_setting_get_member(camera, "CCD");
    if (platform == nullptr || sensor == nullptr) return;
    const int32_t platformCode = config_setting_get_int(platform);
    const int32_t sensorCode = config_setting_get_int(sensor);
    CatalogueEntry entry;
    if (platformCode <= 0 || sensorCode <= 0) return;
    if (!FindEntry(Platforms(), std::to_string(platformCode), &entry)) {
        Tell(check, LineOf(platform), path + ".Platform",
             Text("%d is no platform; `qvn list` shows them", platformCode), true);
    } else if (!FindEntry(SensorsOf(platformCode), std::to_string(sensorCode), &entry)) {
        Tell(check, LineOf(sensor), path + ".CCD",
             Text("platform %d does not carry sensor %d; `qvn list --platform %d` shows its "
                  "sensors",
                  platformCode, sensorCode, platformCode),
             true);
    }
}

void CheckCamera(const Check& check, Setting* camera)
{
    if (!MustBeGroup(check, camera, CameraRoot)) return;
    CheckKeys(check, {KeyGroup::Camera, camera, CameraRoot, ""});
    CheckCodes(check, camera);
}

// --- the file ---

void CheckTree(const Check& check, Setting* root)
{
    Setting* definitions = config_setting_get_member(root, DefinitionRoot);
    Setting* camera = config_setting_get_member(root, CameraRoot);
    const Names known = {DefinitionRoot, CameraRoot};
    for (const Setting* member : MembersOf(root)) {
        if (Holds(known, config_setting_name(member))) continue;
        TellUnknown(check, member, "", "no such group", known);
    }
    if (definitions != nullptr) CheckDefinitions(check, definitions);
    if (camera != nullptr && check.pair == nullptr) CheckCamera(check, camera);
    if (definitions == nullptr && (camera == nullptr || check.pair != nullptr)) {
        Tell(check, 1, "",
             Text("neither a qvn.cfg, which has the group %s, nor a camera.cfg, which has %s",
                  DefinitionRoot, CameraRoot),
             true);
    }
}

int32_t LineAt(const std::string& text, const char* place)
{
    const auto end = text.begin() + (place - text.data());
    return 1 + static_cast<int32_t>(std::count(text.begin(), end, '\n'));
}

std::string FaultText(ConfigFault fault)
{
    switch (fault) {
    case ConfigTooLong: return Text("longer than %zu bytes", ConfigMaxBytes);
    case ConfigNulByte: return "a byte of value 0";
    case ConfigInclude: return "@include is refused";
    case ConfigInteger: return "an integer that does not fit 32 bits";
    default: return Text("more than %d settings", ConfigMaxSettings);
    }
}

void CheckText(const Check& check, const std::string& file)
{
    const std::string text = file + "\n";
    const ConfigScan scan = ScanConfigText(text.c_str(), file.size());
    if (scan.fault != ConfigSound) {
        Tell(check, LineAt(text, scan.place), "", FaultText(scan.fault), true);
        return;
    }
    config_t tree;
    config_init(&tree);
    if (config_read_string(&tree, scan.start) == CONFIG_TRUE) {
        CheckTree(check, config_root_setting(&tree));
    } else {
        Tell(check, config_error_line(&tree), "", config_error_text(&tree), true);
    }
    config_destroy(&tree);
}

ConfigReport CheckFile(const std::string& path, const ConfigPair* pair)
{
    ConfigReport report;
    std::ifstream file(path, std::ios::binary);
    std::string text(ConfigMaxBytes + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(file.gcount()));
    report.opened = file.is_open() && !file.bad();
    if (report.opened) CheckText({&report, pair}, text);
    std::stable_sort(
        report.problems.begin(), report.problems.end(),
        [](const ConfigProblem& one, const ConfigProblem& other) { return one.line < other.line; });
    return report;
}

} // namespace

ConfigReport CheckConfigFile(const std::string& path)
{
    return CheckFile(path, nullptr);
}

ConfigReport CheckConfigPair(const std::string& path, const ConfigPair& pair)
{
    return CheckFile(path, &pair);
}
