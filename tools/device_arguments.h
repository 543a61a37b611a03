// The arguments of the commands that look after a camera's devices.
#pragma once
#include <CLI/CLI.hpp>

#include "tools/commands.h"

void AddTemperature(CLI::App* app, WatchRequest* request);
void AddMonitor(CLI::App* app, WatchRequest* request);
void AddWheel(CLI::App* app, WheelRequest* request);
void AddRegisters(CLI::App* app, RegistersRequest* request);
