// The keys of qvn.cfg and camera.cfg: where each stands, what it holds, and what is plausible.
#pragma once
#include <cstdint>

enum class KeyGroup : uint8_t {
    Sensor,   // rmk_camera_library.ccd_definitions.<sensor>
    Platform, // rmk_camera_library.camera_platforms.<platform>
    Pair,     // rmk_camera_library.camera_platforms.<platform>.<sensor>
    Camera,   // CameraConfig
};

enum class KeyType : uint8_t { Integer, Number, Text };

enum class KeyUse : uint8_t {
    Vital,    // no frame comes out without it
    Used,     // the library works with it
    Reported, // the library passes it on to the host
    Optional, // may be left out
};

inline constexpr int32_t NoArray = -1;

struct KeyRule {
    KeyGroup group;
    const char* name; // null ends the table
    int32_t first;    // elements of an array, from this one
    int32_t last;     // to this one; NoArray: both, it is none
    KeyType type;
    const char* unit; // of the range
    double low, high; // plausible; of a text its number of characters
    KeyUse use;
    const char* platform;  // the only one that has the key; null: all have it
    const int32_t* values; // the only ones there are, ended by -1; null: the range
};

extern const KeyRule KeyRules[];

inline constexpr char DefinitionRoot[] = "rmk_camera_library";
inline constexpr char SensorRoot[] = "ccd_definitions";
inline constexpr char PlatformRoot[] = "camera_platforms";
inline constexpr char CameraRoot[] = "CameraConfig";
