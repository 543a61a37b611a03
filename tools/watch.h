// Readings of the temperature, one after the other: shown, logged, and drawn at the end.
#pragma once
#include <string>
#include <vector>

#include "tools/cooling.h"
#include "tools/session.h"

struct WatchRequest {
    CameraRequest camera;
    bool cools = false;
    double target = 0.0;
    CoolingCourse course;
    bool keepCooling = false;
    double seconds = 0.0; // infinite: until a signal
    double interval = 1.0;
    std::string log;  // empty: none
    std::string plot; // empty: none
    bool overwrite = false;
};

// How readings are shown on stdout.
struct WatchView {
    void (*begin)();
    void (*show)(const Session& session, const WatchRequest& request,
                 const std::vector<TemperatureReading>& readings); // one at least, the last is new
};

// A line for each.
extern const WatchView TableView;

// Opens the camera and watches it. The exit code; a signal is the proper end of a watch that
// has no other.
int RunWatch(const WatchRequest& request, const WatchView& view);
