// qvn.cfg: what the sensors and platforms are, in numbers. It stands in
// LibraryPath. A key that is missing or of another type reads as zero.
//
// These calls use the camera's record and the buffers of CCDtoName and
// PTFtoName, so they belong to the thread that opens cameras.
#pragma once
#include <cstdint>

#include "catalogue/file_status.h"

// Each returns a FileStatus. The names that are looked up store CcdFamily and
// PlatformShortCode of the camera, whatever the result. A save needs every key to
// be there and creates none.
int64_t LoadCCD(int32_t ccd, int32_t camera);
int64_t SaveCCD(int32_t ccd, int32_t camera);
int64_t LoadPlatform(int32_t platform, int32_t ccd, int32_t camera);
int64_t SavePlatform(int32_t platform, int32_t ccd, int32_t camera);

// Loads both for a pair and sets LastError; 0, or 1 when one could not be had.
int32_t OpenPar(int32_t platform, int32_t ccd, int32_t camera);

// The simulated camera's source image: a file name of at most `room` - 1
// characters and the image's size in pixels. FileNotParsed if there is no name or
// it does not fit. Nothing is stored unless the result is FileDone.
int32_t ReadDemoDefinition(char* fileName, uint32_t room, int32_t* xpix, int32_t* ypix);

// The readout program of a pair, for a camera whose pattern memory is filled from the file:
// the array `Program`, 32 bits an element, at most `room` of them. How many there are; 0
// without a file or an array.
uint32_t ReadSensorProgram(int32_t platform, int32_t ccd, int32_t camera, uint32_t* words,
                           uint32_t room);
