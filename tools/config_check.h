// What is wrong with a qvn.cfg or a camera.cfg: missing, mistyped, implausible and unknown keys
// with their lines.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

struct ConfigProblem {
    int32_t line;     // from 1; 0: none
    std::string path; // of the key; empty: the file
    std::string text; // what is wrong, with the plausible range
    bool vital;       // no camera works with it
};

struct ConfigReport {
    bool opened = false;
    std::vector<ConfigProblem> problems; // in the order of the lines
};

// A platform and a sensor by their names.
struct ConfigPair {
    std::string platform, sensor;
};

// Which of the two the file is shows by its groups; it may be both.
ConfigReport CheckConfigFile(const std::string& path);

// Of a qvn.cfg what matters to this pair, whose groups must be there.
ConfigReport CheckConfigPair(const std::string& path, const ConfigPair& pair);
