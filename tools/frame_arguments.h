// The arguments of the commands that take frames.
#pragma once
#include <CLI/CLI.hpp>

#include "tools/commands.h"

void AddExpose(CLI::App* app, ExposeRequest* request);
void AddKinetics(CLI::App* app, KineticsRequest* request);
void AddArray(CLI::App* app, ArrayRequest* request);
