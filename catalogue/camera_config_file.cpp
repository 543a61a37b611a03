#include "catalogue/camera_config_file.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "catalogue/config_keys.h"
#include "catalogue/config_tree.h"
#include "core/record.h"

namespace {

constexpr char CameraFile[] = "camera.cfg";
constexpr char CameraGroup[] = "CameraConfig";
constexpr size_t NameRoom = 4352; // more than a system takes

constexpr KeyPlace CameraPlace = {{CameraGroup}, nullptr};

constexpr ConfigKey Integer(const char* name, size_t offset)
{
    return {name, NoElement, KeyInt32, offset, false};
}

// In the order in which they are read and written.
constexpr ConfigKey CameraKeys[] = {
    Integer("AD", offsetof(CameraConfig, AD)),
    Integer("Platform", offsetof(CameraConfig, Platform)),
    Integer("CCD", offsetof(CameraConfig, CCD)),
    Integer("InterfaceType", offsetof(CameraConfig, InterfaceType)),
    Integer("InterfaceAddress", offsetof(CameraConfig, InterfaceAddress)),
    Integer("CameraAddress", offsetof(CameraConfig, CameraAddress)),
    Integer("PciIndex", offsetof(CameraConfig, PciIndex)),
    Integer("InterfaceLink", offsetof(CameraConfig, InterfaceLink)),
    Integer("FilterWheel", offsetof(CameraConfig, FilterWheel)),
    Integer("FilterWheelPortAddress", offsetof(CameraConfig, FilterWheelPortAddress)),
    Integer("FilterWheelPortType", offsetof(CameraConfig, FilterWheelPortType)),
    Integer("ShutterType", offsetof(CameraConfig, ShutterType)),
    Integer("ShutterHisteresys", offsetof(CameraConfig, ShutterHisteresys)),
    Integer("CcdOutput", offsetof(CameraConfig, CcdOutput)),
    Integer("CcdTechnology", offsetof(CameraConfig, CcdTechnology)),
    Integer("CcdBackFront", offsetof(CameraConfig, CcdBackFront)),
    Integer("Process", offsetof(CameraConfig, Process)),
    {"DefectiveList", NoElement, KeyText, offsetof(CameraConfig, DefectiveList), false},
    Integer("Activity", offsetof(CameraConfig, Activity)),
    Integer("LongCable", offsetof(CameraConfig, LongCable)),
    {},
};
static_assert(sizeof(CameraConfig::DefectiveList) == KeyTextRoom);

// The file's full name, in `room` or as it was given; null if it is too long.
const char* FullName(const char* name, char (&room)[NameRoom])
{
    if (strpbrk(name, "/\\") != nullptr) return name;
    const int length = snprintf(room, sizeof room, "%s%s", LibraryPath, name);
    return static_cast<size_t>(length) < sizeof room ? room : nullptr;
}

double ReadCalibration(const char* key)
{
    char path[FileNameRoom];
    ComposeLibraryFile(path, CameraFile);
    ConfigTree tree;
    const FileStatus status = OpenConfigTree(path, &tree);
    if (status == FileNotOpened) return 1.0;
    if (status == FileNotParsed) return 2.0;
    const double value =
        ConfigFloat(ConfigMember(ConfigMember(ConfigRoot(&tree), CameraGroup), key));
    CloseConfigTree(&tree);
    return value;
}

} // namespace

int32_t LoadCameraConfig(const char* name, CameraConfig* config)
{
    if (name == nullptr || config == nullptr) return FileNotOpened;
    char room[NameRoom];
    const char* path = FullName(name, room);
    if (path == nullptr) return FileNotOpened;
    return LoadKeys(path, CameraPlace, CameraKeys, config);
}

int32_t SaveCameraConfig(const char* name, CameraConfig* config)
{
    if (name == nullptr || config == nullptr) return FileNotOpened;
    char room[NameRoom];
    const char* path = FullName(name, room);
    if (path == nullptr) return FileNotOpened;
    return SaveKeys(path, CameraPlace, CameraKeys, config);
}

double ReadTemperatureOffset()
{
    return ReadCalibration("TemperatureOffset");
}

double ReadTemperatureSpan()
{
    return ReadCalibration("TemperatureSpan");
}
