#include "catalogue/definition_file.h"

#include <cstddef>
#include <cstring>

#include "catalogue/catalogue.h"
#include "catalogue/config_keys.h"
#include "catalogue/config_tree.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/record.h"

namespace {

constexpr char DefinitionFile[] = "qvn.cfg";
constexpr char LibraryGroup[] = "rmk_camera_library";
constexpr char SensorGroup[] = "ccd_definitions";
constexpr char PlatformGroup[] = "camera_platforms";

// Both in the order in which they are read and written.
// clang-format off
constexpr ConfigKey SensorKeys[] = {
    // name              element    kind         field
    {"Manufacturer",     NoElement, KeySigned16, offsetof(CcdDefinition, Manufacturer),   false},
    {"Xpix",             NoElement, KeySigned16, offsetof(CcdDefinition, Xpix),           false},
    {"Ypix",             NoElement, KeySigned16, offsetof(CcdDefinition, Ypix),           false},
    {"XpixDim",          NoElement, KeyFloat,    offsetof(CcdDefinition, XpixDim),        false},
    {"YpixDim",          NoElement, KeyFloat,    offsetof(CcdDefinition, YpixDim),        false},
    {"Xarea",            NoElement, KeyFloat,    offsetof(CcdDefinition, Xarea),          false},
    {"Yarea",            NoElement, KeyFloat,    offsetof(CcdDefinition, Yarea),          false},
    {"Dummy",            0,         KeySigned16, offsetof(CcdDefinition, Dummy[0]),       false},
    {"Dummy",            1,         KeySigned16, offsetof(CcdDefinition, Dummy[1]),       false},
    {"Dummy",            2,         KeySigned16, offsetof(CcdDefinition, Dummy[2]),       false},
    {"Dummy",            3,         KeySigned16, offsetof(CcdDefinition, Dummy[3]),       false},
    {"HorDummyPix",      NoElement, KeySigned16, offsetof(CcdDefinition, HorDummyPix),    false},
    {"HorRegSize",       NoElement, KeySigned16, offsetof(CcdDefinition, HorRegSize),     false},
    {"Antiblooming",     NoElement, KeySigned16, offsetof(CcdDefinition, Antiblooming),   false},
    {"MultipleOutput",   NoElement, KeySigned16, offsetof(CcdDefinition, MultipleOutput), false},
    {"Shutter",          NoElement, KeySigned16, offsetof(CcdDefinition, Shutter),        false},
    {"FWC",              NoElement, KeyFloat,    offsetof(CcdDefinition, FWC),            false},
    {"CCF",              NoElement, KeyFloat,    offsetof(CcdDefinition, CCF),            false},
    {},
};

constexpr ConfigKey PlatformKeys[] = {
    // name                element    kind           field                                              of the pair
    {"ADbit",              0,         KeyLowByte,    offsetof(PlatformDefinition, ADbit),               false},
    {"ADbit",              1,         KeyHighByte,   offsetof(PlatformDefinition, ADbit),               false},
    {"TimeBase",           NoElement, KeyFloat,      offsetof(PlatformDefinition, TimeBase),            false},
    {"AmplifierDelay",     NoElement, KeyFloat,      offsetof(PlatformDefinition, AmplifierDelay),      true },
    {"FpgaId",             NoElement, KeySigned16,   offsetof(PlatformDefinition, FpgaId),              false},
    {"ADclock",            NoElement, KeyFloat,      offsetof(PlatformDefinition, ADclock),             false},
    {"SamplingClock",      0,         KeyFloat,      offsetof(PlatformDefinition, SamplingClock[0]),    true },
    {"SamplingClock",      1,         KeyFloat,      offsetof(PlatformDefinition, SamplingClock[1]),    true },
    {"VerticalPhasePeriod", NoElement, KeyUnsigned16, offsetof(PlatformDefinition, VerticalPhasePeriod), true },
    {"NumberOfGains",      NoElement, KeySigned16,   offsetof(PlatformDefinition, NumberOfGains),       false},
    {"Gain",               0,         KeyFloat,      offsetof(PlatformDefinition, Gain[0]),             true },
    {"Gain",               1,         KeyFloat,      offsetof(PlatformDefinition, Gain[1]),             true },
    {"Gain",               2,         KeyFloat,      offsetof(PlatformDefinition, Gain[2]),             true },
    {"Gain",               3,         KeyFloat,      offsetof(PlatformDefinition, Gain[3]),             true },
    {"AntiBloomingTimer",  NoElement, KeySigned16,   offsetof(PlatformDefinition, AntiBloomingTimer),   false},
    {},
};
// clang-format on

KeyPlace SensorPlace(int32_t ccd, int32_t camera)
{
    return {{LibraryGroup, SensorGroup, CCDtoName(ccd, camera)}, nullptr};
}

KeyPlace PlatformPlace(int32_t platform, int32_t ccd, int32_t camera)
{
    const char* name = PTFtoName(platform, camera);
    return {{LibraryGroup, PlatformGroup, name}, CCDtoName(ccd, camera)};
}

} // namespace

int64_t LoadCCD(int32_t ccd, int32_t camera)
{
    char path[FileNameRoom];
    ComposeLibraryFile(path, DefinitionFile);
    return LoadKeys(path, SensorPlace(ccd, camera), SensorKeys, &CameraTable[camera].Ccd);
}

int64_t SaveCCD(int32_t ccd, int32_t camera)
{
    char path[FileNameRoom];
    ComposeLibraryFile(path, DefinitionFile);
    return SaveKeys(path, SensorPlace(ccd, camera), SensorKeys, &CameraTable[camera].Ccd);
}

int64_t LoadPlatform(int32_t platform, int32_t ccd, int32_t camera)
{
    char path[FileNameRoom];
    ComposeLibraryFile(path, DefinitionFile);
    return LoadKeys(path, PlatformPlace(platform, ccd, camera), PlatformKeys,
                    &CameraTable[camera].Platform);
}

int64_t SavePlatform(int32_t platform, int32_t ccd, int32_t camera)
{
    char path[FileNameRoom];
    ComposeLibraryFile(path, DefinitionFile);
    return SaveKeys(path, PlatformPlace(platform, ccd, camera), PlatformKeys,
                    &CameraTable[camera].Platform);
}

int32_t OpenPar(int32_t platform, int32_t ccd, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.PlatformCode = platform;
    if (LoadPlatform(platform, ccd, camera) != FileDone) {
        LoadCCD(ccd, camera);
        StoreFlag(&record.LastError, ErrorPlatformDefinition);
        return 1;
    }
    if (LoadCCD(ccd, camera) != FileDone) {
        StoreFlag(&record.LastError, ErrorCcdDefinition);
        return 1;
    }
    record.CcdCode = ccd;
    StoreFlag(&record.LastError, ErrorNone);
    return 0;
}

int32_t ReadDemoDefinition(char* fileName, uint32_t room, int32_t* xpix, int32_t* ypix)
{
    char path[FileNameRoom];
    ComposeLibraryFile(path, DefinitionFile);
    ConfigTree tree;
    const FileStatus status = OpenConfigTree(path, &tree);
    if (status != FileDone) return status;
    ConfigNode* platforms =
        ConfigMember(ConfigMember(ConfigRoot(&tree), LibraryGroup), PlatformGroup);
    ConfigNode* demo = ConfigMember(platforms, "DEMO");
    const char* text = ConfigText(ConfigMember(demo, "File"));
    const bool fits = text != nullptr && strlen(text) < room;
    if (fits) {
        memcpy(fileName, text, strlen(text) + 1);
        *xpix = ConfigInt(ConfigMember(demo, "Xpix"));
        *ypix = ConfigInt(ConfigMember(demo, "Ypix"));
    }
    CloseConfigTree(&tree);
    return fits ? FileDone : FileNotParsed;
}

uint32_t ReadSensorProgram(int32_t platform, int32_t ccd, int32_t camera, uint32_t* words,
                           uint32_t room)
{
    char path[FileNameRoom];
    ComposeLibraryFile(path, DefinitionFile);
    ConfigTree tree;
    if (OpenConfigTree(path, &tree) != FileDone) return 0;
    ConfigNode* group = ConfigMember(ConfigRoot(&tree), LibraryGroup);
    group = ConfigMember(group, PlatformGroup);
    group = ConfigMember(group, PTFtoName(platform, camera));
    ConfigNode* program = ConfigMember(ConfigMember(group, CCDtoName(ccd, camera)), "Program");
    uint32_t count = 0;
    for (; count < room; ++count) {
        ConfigNode* element = ConfigElement(program, static_cast<int32_t>(count));
        if (element == nullptr) break;
        words[count] = ConfigWord(element);
    }
    CloseConfigTree(&tree);
    return count;
}
