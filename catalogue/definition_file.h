// qvn.cfg: what the sensors and platforms are, in numbers.
#pragma once
#include <cstdint>

// Status of every load and save. Nothing is changed unless it is 0.
enum FileStatus : int32_t {
    FileDone = 0,
    FileNotOpened = 1,
    FileNotParsed = 2, // for a save also: a key is missing or of another type
};

int64_t LoadCCD(int32_t ccd, int32_t camera);
int64_t SaveCCD(int32_t ccd, int32_t camera);
int64_t LoadPlatform(int32_t platform, int32_t ccd, int32_t camera);
int64_t SavePlatform(int32_t platform, int32_t ccd, int32_t camera);

// Loads both for a pair and sets LastError; 0, or 1 when one could not be had.
int32_t OpenPar(int32_t platform, int32_t ccd, int32_t camera);

// The simulated camera's source image: a file name of at most `room` - 1
// characters and the image's size in pixels. FileNotParsed if there is no name.
int32_t ReadDemoDefinition(char* fileName, uint32_t room, int32_t* xpix, int32_t* ypix);
