// Puts wave.bin into a camera. One reader serves all cameras; what differs is how
// a camera takes the words.
#pragma once
#include <cstdint>

inline constexpr uint32_t WaveBlockWords = 1024;

struct WaveSink {
    bool bytesOnly; // a file of 16-bit words is refused
    // Stops the sequencer and opens its memory to the host.
    void (*begin)(uint32_t words, int32_t camera);
    // Takes the next words, the first of the file at address 0; at most
    // WaveBlockWords at a time, all but the last block that long.
    void (*put)(uint32_t address, const uint16_t* words, uint32_t count, int32_t camera);
    // Closes the memory and lets the sequencer run again.
    void (*end)(int32_t camera);
    // Ahead of all that, memory for a camera that takes the whole pattern at once;
    // false: there is none. Null: the camera needs none.
    bool (*reserve)(uint32_t words, int32_t camera) = nullptr;
};

// Reads the file at `path` into SequenceTable and the sink, and reports the
// progress. 1 when done. 0, and neither the record nor the camera is touched, if
// the file cannot be read, is not a whole pattern, is too wide for the camera, or
// memory is short.
int32_t LoadWave(const char* path, const WaveSink& sink, int32_t camera);
