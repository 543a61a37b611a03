// The text that tells a virtual world, taken apart.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "emulator/emulator.h"

enum class SceneKind : uint8_t { Stars, Flat, Ramp, Dark, File };

// What is wrong besides the calls that fail.
struct InstrumentState {
    bool off = false;            // no power
    bool locked = false;         // the card is in use elsewhere
    bool unlinked = false;       // the serializer at the camera is off
    uint32_t stall = UINT32_MAX; // the stream stands still behind this pixel
};

struct VirtualScene {
    SceneKind kind = SceneKind::Stars;
    std::string file;
};

struct VirtualInstrument {
    int32_t platform = 0, sensor = -1; // -1: chosen for the platform
    int32_t link = -1;                 // InterfaceType; -1: the platform's usual one
    int32_t address = -1;              // of the ports; -1: the usual one of the link
    int32_t decoder = 0;               // InterfaceLink
    int32_t revision = 200;            // of the card
    int32_t heads = 0;                 // of an array; 0: a camera by itself
    std::string wheel = "none";        // of each head
    int32_t camera = -1;               // its number; -1: its place in the text, of an array 1
    double ambient = 20.0;             // degrees Celsius
    uint32_t seed = 1;                 // of the stars; each head has the next one
    int32_t serial = 1001;             // serial number
    std::vector<VirtualScene> scenes;  // head by head; none: stars
    InstrumentState state;
};

struct VirtualFault {
    EmuCall call;
    uint32_t at;
    bool lasts;
};

// Of an instrument; QVB_EVENT_...
struct VirtualEvent {
    size_t instrument; // its place in the text
    int32_t event;
    double seconds;
};

struct VirtualSpec {
    bool virtualTime = false;
    bool noDriver = false, noPortLibrary = false, refusePorts = false;
    bool noUsbLibrary = false, noAdaptorLibrary = false;
    std::vector<VirtualFault> faults;
    std::vector<VirtualEvent> events;
    std::vector<VirtualInstrument> instruments;
};

// The scene of a head; those that the text leaves out see what the last one sees.
VirtualScene SceneOf(const VirtualInstrument& instrument, int32_t head);

// False with `error`, which names the key and what is allowed. Codes are those of the
// catalogue, but whether they go together is not looked at.
bool ReadVirtualSpec(const std::string& text, VirtualSpec* spec, std::string* error);
