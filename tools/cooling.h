// The cooler: switching it on, watching it, waiting until the sensor is cold, warming it up.
#pragma once
#include <string>

#include "tools/session.h"

// How the set point moves, and when the sensor counts as cold.
struct CoolingCourse {
    double ramp = 0.0;      // degrees a minute; 0: the target at once
    double tolerance = 0.5; // degrees
    double stable = 3.0;    // seconds within the tolerance
    double warmUp = 0.0;    // degrees a minute at the end; 0: the cooler goes off at once
};

struct CoolingRequest {
    bool wanted = false;
    double target = 0.0; // Celsius
    CoolingCourse course;
    double waitLimit = 1800.0; // seconds
    bool keep = false;         // the cooler stays on at the end, at its last drive
};

struct TemperatureReading {
    double seconds = 0.0; // since the start of the watch
    double celsius = 0.0; // no number: it cannot be read
    double power = 0.0;   // percent
    const char* cooler = "";
};

// Sets the target and starts regulation.
void StartCooling(Session* session, double target, const CoolingCourse& course);

TemperatureReading TakeReading(const Session& session, double startSeconds);

// Cools as the request wants it, and waits. When it returns false it has said why, and
// `exitCode` is that of the program.
bool CoolDown(Session* session, const CoolingRequest& request, double comeBackSeconds,
              int* exitCode);

// Lets a sensor that this program has cooled warm up slowly, if the course wants that, and
// switches its cooler off. A signal ends it. The exit code: `exitCode` unless it has not warmed up.
int WarmUp(Session* session, const CoolingCourse& course, int exitCode);
