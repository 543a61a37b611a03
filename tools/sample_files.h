// The files that a simulated camera needs, written by `qvn init`.
#pragma once
#include <cstddef>
#include <cstdint>

inline constexpr size_t SampleFileCount = 3;

// qvn.cfg, camera.cfg and starfield.raw.
extern const char* const SampleFileNames[SampleFileCount];

// The star field's size in pixels, as qvn.cfg has it for the simulated camera.
inline constexpr uint32_t SampleFieldColumns = 3072;
inline constexpr uint32_t SampleFieldRows = 2048;

// Writes all sample files into `folder`, which is made with its parents if it is
// not there. With `overwrite` false nothing is written if one of the files
// exists. All files are complete before the first one gets its name; a failure
// until then leaves the files of the folder as they were. True when all are
// there; otherwise `error` holds one line that names the file and the reason,
// cut to `room` - 1 characters. `error` may be null.
bool WriteSampleFiles(const char* folder, bool overwrite, char* error, size_t room);
