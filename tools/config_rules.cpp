// The keys of qvn.cfg and camera.cfg: where each stands, what it holds, and what is plausible.
#include "tools/config_rules.h"

#include <cstddef>

#include "include/qvn.h"

namespace {

constexpr int32_t Interfaces[] = {0, 1, 2, 4, 6, 70, -1};
constexpr int32_t Decoders[] = {0, 1, 3, -1};

constexpr double Least32 = INT32_MIN, Most32 = INT32_MAX;
constexpr double MostWord = 4294967295.0;
constexpr double MostText = sizeof(CameraConfig::DefectiveList) - 1;
constexpr double MostFileName = 255;
constexpr double MostCamera = QV_CAMERAS - 1;

constexpr int32_t None = NoArray;

} // namespace

// clang-format off
const KeyRule KeyRules[] = {
    // group             name                      elements    type              unit                        range               use
    {KeyGroup::Sensor,   "Manufacturer",           None, None, KeyType::Integer, "family code",              0, 255,             KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Sensor,   "Xpix",                   None, None, KeyType::Integer, "columns",                  2, 32767,           KeyUse::Vital,    nullptr, nullptr},
    {KeyGroup::Sensor,   "Ypix",                   None, None, KeyType::Integer, "rows",                     1, 32767,           KeyUse::Vital,    nullptr, nullptr},
    {KeyGroup::Sensor,   "XpixDim",                None, None, KeyType::Number,  "micrometres",              0.5, 1000,          KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Sensor,   "YpixDim",                None, None, KeyType::Number,  "micrometres",              0.5, 1000,          KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Sensor,   "Xarea",                  None, None, KeyType::Number,  "millimetres",              0.01, 500,          KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Sensor,   "Yarea",                  None, None, KeyType::Number,  "millimetres",              0.01, 500,          KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Sensor,   "Dummy",                  0,    3,    KeyType::Integer, "rows",                     0, 1000,            KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Sensor,   "HorDummyPix",            None, None, KeyType::Integer, "columns",                  0, 32767,           KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Sensor,   "HorRegSize",             None, None, KeyType::Integer, "columns",                  1, 32767,           KeyUse::Vital,    nullptr, nullptr},
    {KeyGroup::Sensor,   "Antiblooming",           None, None, KeyType::Integer, "0 without a drain",        0, 1,               KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Sensor,   "MultipleOutput",         None, None, KeyType::Integer, "outputs",                  1, 64,              KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Sensor,   "Shutter",                None, None, KeyType::Integer, "kind of shutter",          0, 255,             KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Sensor,   "FWC",                    None, None, KeyType::Number,  "electrons",                100, 1e9,           KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Sensor,   "CCF",                    None, None, KeyType::Number,  "microvolts an electron",   0.001, 1000,        KeyUse::Reported, nullptr, nullptr},

    {KeyGroup::Platform, "ADbit",                  0,    0,    KeyType::Integer, "bits",                     8, 16,              KeyUse::Vital,    nullptr, nullptr},
    {KeyGroup::Platform, "ADbit",                  1,    1,    KeyType::Integer, "bits",                     0, 16,              KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Platform, "TimeBase",               None, None, KeyType::Number,  "MHz",                      0.1, 1000,          KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Platform, "FpgaId",                 None, None, KeyType::Integer, "version of the camera",    0, 32767,           KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Platform, "ADclock",                None, None, KeyType::Number,  "MHz",                      0.001, 1000,        KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Platform, "NumberOfGains",          None, None, KeyType::Integer, "settings",                 1, 256,             KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Platform, "AntiBloomingTimer",      None, None, KeyType::Integer, "as the maker has it",      -32768, 32767,      KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Platform, "File",                   None, None, KeyType::Text,    "characters",               1, MostFileName,    KeyUse::Vital,    "DEMO",  nullptr},
    {KeyGroup::Platform, "Xpix",                   None, None, KeyType::Integer, "columns of File",          1, Most32,          KeyUse::Vital,    "DEMO",  nullptr},
    {KeyGroup::Platform, "Ypix",                   None, None, KeyType::Integer, "rows of File",             1, Most32,          KeyUse::Vital,    "DEMO",  nullptr},

    {KeyGroup::Pair,     "AmplifierDelay",         None, None, KeyType::Number,  "microseconds",             0, 1000,            KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Pair,     "SamplingClock",          0,    0,    KeyType::Number,  "microseconds",             0.01, 100,          KeyUse::Vital,    nullptr, nullptr},
    {KeyGroup::Pair,     "SamplingClock",          1,    1,    KeyType::Number,  "microseconds",             0, 100,             KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Pair,     "VerticalPhasePeriod",    None, None, KeyType::Integer, "microseconds or words",    1, 65535,           KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Pair,     "Gain",                   0,    3,    KeyType::Number,  "factor",                   0, 10000,           KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Pair,     "Program",                0,    4095, KeyType::Integer, "words of 32 bits",         Least32, MostWord,  KeyUse::Optional, "R4-DSP", nullptr},

    {KeyGroup::Camera,   "AD",                     None, None, KeyType::Integer, "converter",                0, 255,             KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "Platform",               None, None, KeyType::Integer, "platform code",            1, 32767,           KeyUse::Vital,    nullptr, nullptr},
    {KeyGroup::Camera,   "CCD",                    None, None, KeyType::Integer, "sensor code",              1, 32767,           KeyUse::Vital,    nullptr, nullptr},
    {KeyGroup::Camera,   "InterfaceType",          None, None, KeyType::Integer, "kind of link",             0, 70,              KeyUse::Used,     nullptr, Interfaces},
    {KeyGroup::Camera,   "InterfaceAddress",       None, None, KeyType::Integer, "port, or -1",              -1, 65535,          KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "CameraAddress",          None, None, KeyType::Integer, "address on the bus",       0, 3,               KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "PciIndex",               None, None, KeyType::Integer, "number of the camera",     0, MostCamera,      KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "InterfaceLink",          None, None, KeyType::Integer, "kind of decoder",          0, 3,               KeyUse::Used,     nullptr, Decoders},
    {KeyGroup::Camera,   "FilterWheel",            None, None, KeyType::Integer, "kind of wheel",            0, 4,               KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "FilterWheelPortAddress", None, None, KeyType::Integer, "port",                     Least32, Most32,    KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Camera,   "FilterWheelPortType",    None, None, KeyType::Integer, "kind of port",             Least32, Most32,    KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Camera,   "ShutterType",            None, None, KeyType::Integer, "kind of shutter",          Least32, Most32,    KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Camera,   "ShutterHisteresys",      None, None, KeyType::Integer, "milliseconds",             0, 10000,           KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "CcdOutput",              None, None, KeyType::Integer, "amplifier",                0, 3,               KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "CcdTechnology",          None, None, KeyType::Integer, "polarity",                 0, 1,               KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "CcdBackFront",           None, None, KeyType::Integer, "side",                     0, 1,               KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "Process",                None, None, KeyType::Integer, "front end",                0, 65535,           KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "DefectiveList",          None, None, KeyType::Text,    "characters",               0, MostText,        KeyUse::Reported, nullptr, nullptr},
    {KeyGroup::Camera,   "Activity",               None, None, KeyType::Integer, "option bits",              Least32, Most32,    KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "LongCable",              None, None, KeyType::Integer, "1 with a long cable",      0, 1,               KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "TemperatureOffset",      None, None, KeyType::Number,  "degrees",                  -100, 100,          KeyUse::Used,     nullptr, nullptr},
    {KeyGroup::Camera,   "TemperatureSpan",        None, None, KeyType::Number,  "factor",                   0.1, 10,            KeyUse::Used,     nullptr, nullptr},
    {},
};
// clang-format on
