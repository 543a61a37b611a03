// The course of a cooling as a picture: temperature and target above, the cooler's
// drive below, over the time.
#pragma once
#include <optional>
#include <string>
#include <vector>

#include "tools/cooling.h"

// `target`: none if nothing regulates.
bool SavePlot(const std::vector<TemperatureReading>& readings, std::optional<double> target,
              const std::string& title, const std::string& path, bool overwrite,
              std::string* error);
