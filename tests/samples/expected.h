// What the sample definition file must hold, by the catalogue, which tests/tables holds
// against a second copy; and a reader of that file on libconfig alone.
#pragma once
#include <string>
#include <vector>

struct ExpectedSensor {
    int code;
    const char* name;
    int family;
};

struct ExpectedPlatform {
    const char* name;
    std::vector<int> sensors;
};

extern const std::vector<ExpectedSensor> ExpectedSensors;
extern const std::vector<ExpectedPlatform> ExpectedPlatforms;

inline const std::string SensorPath = "rmk_camera_library.ccd_definitions.";
inline const std::string PlatformPath = "rmk_camera_library.camera_platforms.";

std::string SensorNameOf(int code);

// Values of share/qvn/qvn.cfg, or of share/qvn/camera.cfg for paths that begin
// with "CameraConfig". A key that is missing or of another type fails the test
// and reads as 0 or empty.
int IntAt(const std::string& path);
double FloatAt(const std::string& path);
std::string TextAt(const std::string& path);
std::vector<int> IntsAt(const std::string& path);
std::vector<double> FloatsAt(const std::string& path);
std::vector<std::string> MembersOf(const std::string& path);
std::vector<std::string> GroupsOf(const std::string& path); // members that are groups
