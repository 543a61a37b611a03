// What became of a load or save of a configuration file.
#pragma once
#include <cstdint>

// Nothing was changed unless it is 0.
enum FileStatus : int32_t {
    FileDone = 0,
    FileNotOpened = 1,
    // Not in the language of these files, or larger than they may be. For a save
    // also: a key is missing, or cannot hold the value.
    FileNotParsed = 2,
};
