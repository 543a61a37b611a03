// A pattern that goes to the camera in one transfer: each word with the registers that
// store it, gathered in memory first.
#pragma once
#include <cstdint>

struct StreamFormat {
    uint32_t wordBytes; // of the stream, for a word of the pattern
    void (*encode)(uint32_t address, uint16_t word, uint8_t* bytes);
    void (*send)(uint8_t* bytes, uint32_t count, int32_t camera); // may change the bytes
};

// For a WaveSink: `reserve` calls the first with the camera's format, `put` is the second,
// which sends as soon as the pattern is whole, `end` calls the third.
bool ReserveStream(const StreamFormat& format, uint32_t words, int32_t camera);
void PutIntoStream(uint32_t address, const uint16_t* words, uint32_t count, int32_t camera);
void ReleaseStream(int32_t camera);
