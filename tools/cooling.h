// The cooler: switching it on, watching it, waiting until the sensor is cold.
#pragma once
#include <string>

#include "tools/session.h"

struct CoolingRequest {
    bool wanted = false;
    double target = 0.0;       // Celsius
    double tolerance = 0.5;    // degrees
    double waitLimit = 1800.0; // seconds
    bool keep = false;         // the cooler stays on at the end, at its last drive
};

struct TemperatureReading {
    double seconds = 0.0; // since the start of the watch
    double celsius = 0.0;
    double power = 0.0; // percent
    int32_t status = 0; // QV_COOLER_...
};

// Sets the target and starts regulation; the session must be open with
// QV_OPTION_REGULATION.
void StartCooling(Session* session, double target);

TemperatureReading TakeReading(const Session& session, double startSeconds);

// "cooler off", "at target" ...
const char* CoolerText(int32_t status);

enum class CoolingResult { Reached, Broken, Failed };

// Waits for six readings in a row within the tolerance. When it fails it says why.
CoolingResult WaitUntilCold(const Session& session, const CoolingRequest& request);

// Whether the background still reads the temperature; it ends for good at the first
// reading that fails. Says why if not.
bool RegulationLives(const Session& session);

// Cools as the request wants it, and waits. When it returns false it has said why, and
// `exitCode` is that of the program.
bool CoolDown(Session* session, const CoolingRequest& request, int* exitCode);
