// What an exported function does on a platform, found out by calling it there: on a virtual
// camera of the platform, with the library's own slots, extras and routes underneath.
#pragma once
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/record.h"
#include "include/qvn.h"

enum class Reach : uint8_t {
    Nothing, // no result, no change: as if it had not been called
    Library, // a result, or a change in what the library keeps
    Camera,  // something goes out to the camera, its card, or their drivers
    Refused, // nothing but an error code
};

struct Cell {
    Reach reach = Reach::Nothing;
    int32_t error = 0; // of Refused
    bool operator==(const Cell& other) const
    {
        return reach == other.reach && error == other.error;
    }
};

// One way to reach a platform with one sensor.
struct Variant {
    int32_t platform, sensor, link;
    std::vector<int32_t> sensors; // that the driver treats alike
};

// All of the library's platforms, each with every way of its binding, and what the
// functions do there, in the order of the list of exports.
struct Column {
    int32_t platform;
    std::vector<Variant> variants; // on which all functions do the same
    std::vector<Cell> cells;
};

// A camera that a function is called for.
struct Bench {
    Variant variant;
    int32_t address; // of its ports
    bool hasArray;   // the world holds an array in place of a single camera
    CameraConfig config;
    CameraRecord* record;
    uint16_t* pixels; // room for any frame
    void* out;        // for all other results: OutBytes
};
inline constexpr int32_t BenchCamera = 1; // the number whose array has a service
inline constexpr size_t OutBytes = 60000;

enum class Start : uint8_t { Open, Closed, Array };

struct Call {
    const char* name;
    int64_t (*make)(Bench& bench); // the call; its result, 0 if it has none
    Start start = Start::Open;
    void (*prepare)(Bench& bench) = nullptr; // what there must be for an effect to show
    void (*after)(Bench& bench) = nullptr;   // puts back what the next calls need
};
const std::vector<Call>& Calls();

// Opens the camera or the array of the bench.
void OpenBench(Bench& bench);
void OpenBenchArray(Bench& bench);

std::vector<Column> ProbeAllPlatforms();
