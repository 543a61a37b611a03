// "platform=42,sensor=255,scene=stars;platform=44", or a file with a pair in each line. A
// table of keys; what a value may be stands beside it.
#include "bench/virtual_spec.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "bench/events.h"
#include "bench/wheels.h"
#include "catalogue/catalogue.h"
#include "include/qvn_bench.h"

namespace {

constexpr size_t LongestFile = 65536;
constexpr size_t LongestShown = 60; // characters of a text in a message
constexpr size_t MostFaults = 64;
constexpr int32_t MostHeads = 8;

// --- values ---

bool ParseNumber(const std::string& text, int64_t low, int64_t high, int64_t* value)
{
    if (text.empty() || isspace(static_cast<unsigned char>(text[0])) != 0) return false;
    const bool hex = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0;
    char* end = nullptr;
    errno = 0;
    const long long number = strtoll(text.c_str(), &end, hex ? 16 : 10);
    const bool whole = end == text.c_str() + text.size();
    if (errno != 0 || !whole || number < low || number > high) return false;
    *value = number;
    return true;
}

bool ParseInteger(const std::string& text, int32_t low, int32_t high, int32_t* value)
{
    int64_t number = 0;
    if (!ParseNumber(text, low, high, &number)) return false;
    *value = static_cast<int32_t>(number);
    return true;
}

bool ParseReal(const std::string& text, double low, double high, double* value)
{
    if (text.empty() || isspace(static_cast<unsigned char>(text[0])) != 0) return false;
    char* end = nullptr;
    *value = strtod(text.c_str(), &end);
    return end == text.c_str() + text.size() && *value >= low && *value <= high;
}

bool SameName(const std::string& a, const char* b)
{
    return a.size() == strlen(b) &&
           std::equal(a.begin(), a.end(), b,
                      [](unsigned char x, unsigned char y) { return tolower(x) == tolower(y); });
}

// A code or a name of the catalogue.
template <typename Names> bool ParseCode(const Names& names, const std::string& text, int32_t* code)
{
    int32_t number = -1;
    const bool isNumber = ParseInteger(text, 0, INT32_MAX, &number);
    for (const auto& row : names) {
        if (isNumber ? row.code != number : !SameName(text, row.name)) continue;
        *code = row.code;
        return true;
    }
    return false;
}

// --- faults ---

struct CallName {
    const char* name;
    EmuCall call;
};

const CallName CallNames[] = {
    {"allocate", EmuAllocate},
    {"begin-replace", EmuBeginReplace},
    {"commit-replace", EmuCommitReplace},
    {"device-open", EmuDeviceOpen},
    {"device-control", EmuDeviceControl},
    {"dma-lock", EmuDmaLock},
    {"register-read", EmuRegisterRead},
    {"register-write", EmuRegisterWrite},
    {"port-read", EmuPortRead},
    {"port-write", EmuPortWrite},
    {"library-load", EmuLibraryLoad},
    {"usb-list", EmuUsbList},
    {"usb-open", EmuUsbOpen},
    {"usb-read", EmuUsbRead},
    {"usb-write", EmuUsbWrite},
    {"usb-setting", EmuUsbSetting},
    {"adaptor-call", EmuAdaptorCall},
    {"any", EmuAnyCall},
};

bool SetCondition(const std::string& name, VirtualSpec* spec)
{
    if (name == "no-driver") return spec->noDriver = true;
    if (name == "no-port-library") return spec->noPortLibrary = true;
    if (name == "refused-ports") return spec->refusePorts = true;
    if (name == "no-usb-library") return spec->noUsbLibrary = true;
    if (name == "no-adaptor-library") return spec->noAdaptorLibrary = true;
    return false;
}

// "device-open:1", "dma-lock:2:lasts"
bool SetFault(const std::string& text, VirtualSpec* spec, VirtualInstrument*)
{
    constexpr char Lasts[] = ":lasts";
    if (SetCondition(text, spec)) return true;
    const size_t colon = text.find(':');
    if (colon == std::string::npos || spec->faults.size() >= MostFaults) return false;
    const std::string name = text.substr(0, colon);
    std::string count = text.substr(colon + 1);
    const bool lasts = count.size() > strlen(Lasts) &&
                       count.compare(count.size() - strlen(Lasts), std::string::npos, Lasts) == 0;
    if (lasts) count.resize(count.size() - strlen(Lasts));
    int64_t at = 0;
    if (!ParseNumber(count, 1, UINT32_MAX, &at)) return false;
    for (const CallName& row : CallNames) {
        if (name != row.name) continue;
        spec->faults.push_back({row.call, static_cast<uint32_t>(at), lasts});
        return true;
    }
    return false;
}

// --- keys ---

bool SetTime(const std::string& text, VirtualSpec* spec, VirtualInstrument*)
{
    spec->virtualTime = text == "virtual";
    return spec->virtualTime || text == "real";
}

bool SetPlatform(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    return ParseCode(PlatformNames, text, &instrument->platform);
}

bool SetSensor(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    return ParseCode(SensorNames, text, &instrument->sensor);
}

bool SetLink(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    return ParseInteger(text, 0, 70, &instrument->link);
}

bool SetAddress(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    return ParseInteger(text, 0, 0xFFF0, &instrument->address);
}

bool SetDecoder(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    return ParseInteger(text, 0, 3, &instrument->decoder) && instrument->decoder != 2;
}

bool SetRevision(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    return ParseInteger(text, 0, 65535, &instrument->revision);
}

bool SetHeads(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    return ParseInteger(text, 1, MostHeads, &instrument->heads);
}

bool SetWheel(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    instrument->wheel = text;
    return IsWheelName(text);
}

bool SetCamera(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    return ParseInteger(text, 0, CameraCount - 1, &instrument->camera);
}

bool SetAmbient(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    return ParseReal(text, -50.0, 60.0, &instrument->ambient);
}

bool SetSeed(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    int64_t seed = 0;
    if (!ParseNumber(text, 0, UINT32_MAX, &seed)) return false;
    instrument->seed = static_cast<uint32_t>(seed);
    return true;
}

bool SetSerial(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    return ParseInteger(text, 0, 65534, &instrument->serial);
}

// In the order of SceneKind.
const char* const SceneNames[] = {"stars", "flat", "ramp", "dark"};

bool SetScene(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    const auto* const name = std::find(std::begin(SceneNames), std::end(SceneNames), text);
    const bool isFile = name == std::end(SceneNames);
    instrument->scenes.push_back(
        {static_cast<SceneKind>(name - std::begin(SceneNames)), isFile ? text : ""});
    return !isFile || text.find_first_of("./") != std::string::npos;
}

bool SetState(const std::string& text, VirtualSpec*, VirtualInstrument* instrument)
{
    InstrumentState& state = instrument->state;
    constexpr char Stalls[] = "stalls:";
    if (text == "off") return state.off = true;
    if (text == "locked") return state.locked = true;
    if (text == "unlinked") return state.unlinked = true;
    if (text.rfind(Stalls, 0) != 0) return false;
    int64_t pixel = 0;
    if (!ParseNumber(text.substr(strlen(Stalls)), 0, UINT32_MAX - 1, &pixel)) return false;
    state.stall = static_cast<uint32_t>(pixel);
    return true;
}

bool AddEvent(VirtualSpec* spec, int32_t event, double seconds)
{
    if (spec->events.size() >= MostEvents) return false;
    spec->events.push_back({spec->instruments.size() - 1, event, seconds});
    return true;
}

// "2.5" is a pulse of the usual length, "2.5:60" one of a minute.
bool SetTrigger(const std::string& text, VirtualSpec* spec, VirtualInstrument*)
{
    constexpr double usualLength = 0.1;
    const size_t colon = std::min(text.find(':'), text.size());
    double at = 0.0;
    double length = usualLength;
    if (!ParseReal(text.substr(0, colon), 0.0, LatestEvent, &at)) return false;
    const bool told = colon < text.size();
    if (told && !ParseReal(text.substr(colon + 1), 0.001, LatestEvent, &length)) return false;
    return AddEvent(spec, QVB_EVENT_TRIGGER, at) &&
           AddEvent(spec, QVB_EVENT_TRIGGER_END, at + length);
}

struct EventName {
    const char* name;
    int32_t event;
};

const EventName EventNames[] = {
    {"off", QVB_EVENT_OFF},
    {"on", QVB_EVENT_ON},
    {"silent", QVB_EVENT_SILENT},
    {"answering", QVB_EVENT_ANSWERING},
};

// "10:off"
bool SetEvent(const std::string& text, VirtualSpec* spec, VirtualInstrument*)
{
    const size_t colon = text.find(':');
    double at = 0.0;
    if (colon == std::string::npos) return false;
    if (!ParseReal(text.substr(0, colon), 0.0, LatestEvent, &at)) return false;
    for (const EventName& row : EventNames) {
        if (text.substr(colon + 1) == row.name) return AddEvent(spec, row.event, at);
    }
    return false;
}

struct Key {
    const char* name;
    bool ofInstrument, many;
    bool (*set)(const std::string& value, VirtualSpec* spec, VirtualInstrument* instrument);
    const char* allowed;
};

// clang-format off
const Key Keys[] = {
    {"platform", true,  false, SetPlatform, "a platform's code or name (`qvn list` shows them)"},
    {"sensor",   true,  false, SetSensor,   "a sensor's code or name (`qvn list` shows them)"},
    {"link",     true,  false, SetLink,     "a kind of link: 0 printer port, 1 port card, 2, 4 and 70 PCI card, 6 USB"},
    {"address",  true,  false, SetAddress,  "a port from 0 to 0xFFF0"},
    {"decoder",  true,  false, SetDecoder,  "a kind of serial decoder: 1 or 3, or 0 for none"},
    {"revision", true,  false, SetRevision, "a card's revision, 0 to 65535; 200 transfers whole frames"},
    {"heads",    true,  false, SetHeads,    "a number of heads, 1 to 8"},
    {"wheel",    true,  false, SetWheel,    "none, 8, 6, nibble, byte or firmware"},
    {"camera",   true,  false, SetCamera,   "a camera number, 0 to 7"},
    {"ambient",  true,  false, SetAmbient,  "a temperature from -50 to 60 degrees Celsius"},
    {"seed",     true,  false, SetSeed,     "a number from 0 to 4294967295"},
    {"serial",   true,  false, SetSerial,   "a serial number, 0 to 65534"},
    {"scene",    true,  true,  SetScene,    "stars, flat, ramp, dark, or a file's name with a dot or a slash"},
    {"state",    true,  true,  SetState,    "off, locked, unlinked, or stalls:PIXEL"},
    {"trigger",  true,  true,  SetTrigger,  "SECONDS or SECONDS:LENGTH (32 pulses at most)"},
    {"event",    true,  true,  SetEvent,    "SECONDS:off, on, silent or answering (64 at most)"},
    {"time",     false, false, SetTime,     "real or virtual"},
    {"fault",    false, true,  SetFault,
     "no-driver, no-port-library, refused-ports, no-usb-library, no-adaptor-library, or CALL:N or "
     "CALL:N:lasts with N from 1 on and CALL one of allocate, begin-replace, commit-replace, "
     "device-open, device-control, dma-lock, register-read, register-write, port-read, port-write, "
     "library-load, usb-list, usb-open, usb-read, usb-write, usb-setting, adaptor-call, any"},
};
// clang-format on

const Key& PlatformKey = Keys[0];

// --- the text ---

struct Reading {
    VirtualSpec* spec;
    std::string* error;
    bool inGroup = false; // an instrument takes the keys
    // Keys that were given: of the world, of the present instrument.
    std::vector<const Key*> ofWorld, ofInstrument;
};

// Control characters of a foreign text have no place in a message.
std::string Shown(const std::string& text)
{
    std::string shown = text.substr(0, LongestShown);
    for (char& c : shown) {
        if (iscntrl(static_cast<unsigned char>(c)) != 0) c = '?';
    }
    return '"' + shown + (text.size() > LongestShown ? "...\"" : "\"");
}

bool Fail(Reading* reading, const std::string& error)
{
    *reading->error = error;
    return false;
}

const Key* FindKey(const std::string& name)
{
    const auto* const key = std::find_if(std::begin(Keys), std::end(Keys),
                                         [&](const Key& row) { return name == row.name; });
    return key == std::end(Keys) ? nullptr : key;
}

std::string KeyNames()
{
    std::string names;
    for (const Key& key : Keys) names += (names.empty() ? "" : ", ") + std::string(key.name);
    return names;
}

bool BeginInstrument(Reading* reading)
{
    if (reading->spec->instruments.size() >= CameraCount) {
        return Fail(reading, "platform: there is room for 8 instruments");
    }
    reading->spec->instruments.emplace_back();
    reading->ofInstrument.clear();
    reading->inGroup = true;
    return true;
}

bool TakePair(Reading* reading, const std::string& pair)
{
    const size_t equals = pair.find('=');
    if (equals == std::string::npos) return Fail(reading, Shown(pair) + " is not KEY=VALUE");
    const std::string name = pair.substr(0, equals);
    const std::string value = pair.substr(equals + 1);
    const Key* const key = FindKey(name);
    if (key == nullptr)
        return Fail(reading, Shown(name) + ": no such key; there are " + KeyNames());
    if (key == &PlatformKey && !BeginInstrument(reading)) return false;
    if (key->ofInstrument && !reading->inGroup) {
        return Fail(reading, name + ": comes behind the platform= that it belongs to");
    }
    std::vector<const Key*>& given = key->ofInstrument ? reading->ofInstrument : reading->ofWorld;
    if (!key->many && std::find(given.begin(), given.end(), key) != given.end()) {
        return Fail(reading, name + ": given twice");
    }
    given.push_back(key);
    VirtualInstrument none;
    VirtualInstrument* const instrument =
        reading->inGroup ? &reading->spec->instruments.back() : &none;
    if (key->set(value, reading->spec, instrument)) return true;
    return Fail(reading, name + ": " + Shown(value) + " is not " + key->allowed);
}

std::string Trimmed(const std::string& text)
{
    constexpr char Blanks[] = " \t\r";
    const size_t first = text.find_first_not_of(Blanks);
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(Blanks) - first + 1);
}

bool TakeLine(Reading* reading, const std::string& text)
{
    size_t begin = 0;
    while (begin <= text.size()) {
        const size_t end = std::min(text.find_first_of(",;", begin), text.size());
        if (!TakePair(reading, Trimmed(text.substr(begin, end - begin)))) return false;
        if (end < text.size() && text[end] == ';') reading->inGroup = false;
        begin = end + 1;
    }
    return true;
}

bool ReadWhole(const std::string& path, Reading* reading, std::string* text)
{
    FILE* const file = fopen(path.c_str(), "rb");
    if (file == nullptr) return Fail(reading, path + ": " + strerror(errno));
    std::string bytes(LongestFile + 1, '\0');
    bytes.resize(fread(bytes.data(), 1, bytes.size(), file));
    const bool failed = ferror(file) != 0;
    fclose(file);
    if (failed) return Fail(reading, path + ": cannot be read");
    if (bytes.size() > LongestFile) return Fail(reading, path + ": longer than 65536 characters");
    *text = bytes;
    return true;
}

bool TakeFile(Reading* reading, const std::string& path)
{
    std::string text;
    if (!ReadWhole(path, reading, &text)) return false;
    int number = 0;
    size_t begin = 0;
    while (begin < text.size()) {
        ++number;
        const size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = Trimmed(text.substr(begin, end - begin));
        begin = end + 1;
        if (line.empty() || line[0] == '#') continue;
        if (TakePair(reading, line)) continue;
        return Fail(reading, path + ", line " + std::to_string(number) + ": " + *reading->error);
    }
    return true;
}

} // namespace

VirtualScene SceneOf(const VirtualInstrument& instrument, int32_t head)
{
    const std::vector<VirtualScene>& scenes = instrument.scenes;
    if (scenes.empty()) return {};
    return scenes[std::min(static_cast<size_t>(head), scenes.size() - 1)];
}

bool ReadVirtualSpec(const std::string& text, VirtualSpec* spec, std::string* error)
{
    *spec = {};
    Reading reading = {spec, error, false, {}, {}};
    const bool isFile = !text.empty() && text[0] == '@';
    const bool read = isFile ? TakeFile(&reading, text.substr(1)) : TakeLine(&reading, text);
    if (!read) return false;
    if (spec->instruments.empty()) return Fail(&reading, "platform: missing; such as platform=42");
    return true;
}
