// What hosts ask of the catalogue, and of the sizes of an open camera.
#include <cstdio>
#include <cstring>

#include "catalogue/catalogue.h"
#include "core/record.h"

namespace {

constexpr size_t NameRoom = 64;

// Results live here until the next call of the same function.
char SensorText[NameRoom];
char PlatformText[NameRoom];
char FamilyText[NameRoom];
char CameraText[2 * NameRoom];

const SensorName* FindSensor(int32_t ccd)
{
    for (const SensorName& sensor : SensorNames) {
        if (sensor.code == ccd) return &sensor;
    }
    return nullptr;
}

const PlatformName* FindPlatform(int32_t platform)
{
    for (const PlatformName& row : PlatformNames) {
        if (row.code == platform) return &row;
    }
    return nullptr;
}

} // namespace

int32_t CamQuery(int32_t* list)
{
    if (list != nullptr) memcpy(list, PlatformList, sizeof PlatformList);
    return PlatformListCount;
}

int32_t CCDQuery(int32_t platform, int32_t* list)
{
    for (const PlatformSensors* row = SensorLists; row->count != 0; ++row) {
        if (platform < row->first || platform > row->last) continue;
        if (list != nullptr) {
            memcpy(list, row->sensors, static_cast<size_t>(row->count) * sizeof *list);
        }
        return row->count;
    }
    return -1;
}

char* CCDtoName(int32_t ccd, int32_t camera)
{
    const SensorName* sensor = FindSensor(ccd);
    if (sensor == nullptr) {
        snprintf(SensorText, sizeof SensorText, "noCode [%d]", ccd);
        return SensorText;
    }
    CameraTable[camera].CcdFamily = sensor->family;
    snprintf(SensorText, sizeof SensorText, "%s", sensor->name);
    return SensorText;
}

char* PTFtoName(int32_t platform, int32_t camera)
{
    const PlatformName* row = FindPlatform(platform);
    if (row == nullptr) {
        snprintf(PlatformText, sizeof PlatformText, "Undefined");
        return PlatformText;
    }
    CameraRecord& record = CameraTable[camera];
    snprintf(record.PlatformShortCode, sizeof record.PlatformShortCode, "%s", row->shortCode);
    snprintf(PlatformText, sizeof PlatformText, "%s", row->name);
    return PlatformText;
}

// An unknown family leaves the text of the last known one: required.
char* FamtoName(int32_t family)
{
    for (const FamilyName& row : FamilyNames) {
        if (row.code == family) snprintf(FamilyText, sizeof FamilyText, "%s", row.text);
    }
    return FamilyText;
}

// The sensor is looked up with the platform's code and the platform with the
// sensor's: required.
char* PtfName(int32_t /*unused*/, int32_t camera)
{
    const CameraConfig& config = CameraTable[camera].Config;
    const char* sensor = CCDtoName(config.Platform, camera);
    const char* platform = PTFtoName(config.CCD, camera);
    snprintf(CameraText, sizeof CameraText, "%s_%s", platform, sensor);
    return CameraText;
}

char* CCDtoNameVB(int32_t ccd, char* buffer, int32_t camera)
{
    if (buffer == nullptr) return nullptr;
    return strcpy(buffer, CCDtoName(ccd, camera));
}

char* PTFtoNameVB(int32_t platform, char* buffer, int32_t camera)
{
    if (buffer == nullptr) return nullptr;
    return strcpy(buffer, PTFtoName(platform, camera));
}

char* FamtoNameVB(int32_t family, char* buffer)
{
    if (buffer == nullptr) return nullptr;
    return strcpy(buffer, FamtoName(family));
}

char* PtfNameVB(int32_t unused, char* buffer, int32_t camera)
{
    if (buffer == nullptr) return nullptr;
    return strcpy(buffer, PtfName(unused, camera));
}

int32_t GetDimX(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (record.ArrayMode == 0) return record.WindowDimX & 0xFFFE;
    const int32_t binning = record.ArrayHorizontalBinning[camera];
    // Heads have no binning of their own until QV_SetBinning was called.
    return (record.Ccd.Xpix / (binning == 0 ? 1 : binning)) & ~1;
}

int32_t GetDimY(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (record.ArrayMode == 0) return record.WindowDimY;
    const int32_t binning = record.ArrayVerticalBinning[camera];
    return record.Ccd.Ypix / (binning == 0 ? 1 : binning);
}

int32_t GetCCDX(int32_t camera)
{
    return CameraTable[camera].Ccd.Xpix & ~1;
}

int32_t GetCCDY(int32_t camera)
{
    return CameraTable[camera].Ccd.Ypix;
}

void GetCCDdata(CcdDefinition* record, int32_t camera)
{
    if (record != nullptr) *record = CameraTable[camera].Ccd;
}

void GetHPdata(PlatformDefinition* record, int32_t camera)
{
    if (record != nullptr) *record = CameraTable[camera].Platform;
}
