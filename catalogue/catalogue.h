// The compiled-in catalogue: names and codes of platforms and sensors, and which
// sensors each platform carries. The names are the keys of qvn.cfg.
#pragma once
#include <cstdint>

#include "core/record.h"

struct PlatformName {
    int32_t code;
    const char* name;
    const char* shortCode;
};

struct SensorName {
    int32_t code;
    const char* name;
    int32_t family;
};

struct FamilyName {
    int32_t code;
    const char* text;
};

// The sensors of the platforms `first` to `last`, in the order that hosts show.
struct PlatformSensors {
    int32_t first, last;
    const int32_t* sensors;
    int32_t count;
};

inline constexpr int32_t PlatformNameCount = 31;
inline constexpr int32_t SensorNameCount = 100;
inline constexpr int32_t FamilyNameCount = 10;
inline constexpr int32_t PlatformListCount = 26;

extern const PlatformName PlatformNames[PlatformNameCount];
extern const SensorName SensorNames[SensorNameCount];
extern const FamilyName FamilyNames[FamilyNameCount];
extern const int32_t PlatformList[PlatformListCount]; // as CamQuery gives it
extern const PlatformSensors SensorLists[];           // ended by count 0

// Copy a list of codes, of which the longest has 68, and return their number; a
// null list is not written. CCDQuery gives -1 for a platform without a row.
int32_t CamQuery(int32_t* list);
int32_t CCDQuery(int32_t platform, int32_t* list);

// Static buffers, one a function, overwritten by its next call. The first two
// store CcdFamily and PlatformShortCode of the camera as a side effect of a known
// code; others read as "noCode [...]" and "Undefined". An unknown family leaves
// the buffer alone. PtfName calls the first two.
char* CCDtoName(int32_t ccd, int32_t camera);
char* PTFtoName(int32_t platform, int32_t camera);
char* FamtoName(int32_t family);
char* PtfName(int32_t unused, int32_t camera);

// The same, copied to `buffer` of at least 64 characters, which is returned. With a
// null buffer nothing happens.
char* CCDtoNameVB(int32_t ccd, char* buffer, int32_t camera);
char* PTFtoNameVB(int32_t platform, char* buffer, int32_t camera);
char* FamtoNameVB(int32_t family, char* buffer);
char* PtfNameVB(int32_t unused, char* buffer, int32_t camera);

// Pixels of the picture that a read will deliver, and of the sensor. Widths are even.
int32_t GetDimX(int32_t camera);
int32_t GetDimY(int32_t camera);
int32_t GetCCDX(int32_t camera);
int32_t GetCCDY(int32_t camera);
void GetCCDdata(CcdDefinition* record, int32_t camera);
void GetHPdata(PlatformDefinition* record, int32_t camera);
