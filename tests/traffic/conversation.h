// A virtual camera whose operations are compared with the files of this folder.
#pragma once
#include <cstdint>
#include <string>

#include "tests/support/traffic.h"
#include "tests/support/virtual_camera.h"

class Conversation : public VirtualCameraTest {
protected:
    // Opens, on the record, cycles or accesses.
    void OpenRecorded(const VirtualSetup& setup, bool cycles, int32_t link = 0);

    // Opens off the record. The sections are those of the files: row at 0100 with its end
    // at 1100, register at 0200 to 0200, line at 0300 to 0330. Pixels wait while a stream is on.
    // The shutter takes 7 ms to settle.
    void Begin(const VirtualSetup& setup);
    // From here on: what the files tell.
    void Record(bool cycles = true);

    // A frame of 0.02 s; a window of 4 by 2 at row 3 with its pattern loaded.
    void Frame(int32_t shutter);
    void Window();

    // What was recorded since; "buffer" is where the card's transfer goes.
    void ExpectFile(const std::string& name);
};

// Loads camera 0 with `words` words: 12, 34, 56 of a byte each, or 1234, 5678, 9ABC, and
// then 0.
void LoadWords(bool bytes, uint32_t words);
