// The error codes of QV_Status. They are a stable interface and are not
// renumbered; 14 and 21 were never given a meaning.
#pragma once
#include <cstdint>

enum ErrorCode : int32_t {
    ErrorNone = 0,
    ErrorCameraNotFound = 1,
    ErrorLinkFailure = 2,
    ErrorUnsupportedPlatform = 3,
    ErrorInterfaceLocked = 4,
    ErrorPlatformDefinition = 5,
    ErrorCcdDefinition = 6,
    ErrorFilterWheelZero = 7,
    ErrorPatternOverflow = 8,
    ErrorDmaBuffer = 9,
    ErrorSerializerNotLinked = 10,
    ErrorSerialDecoder = 11,
    ErrorArrayPlatform = 12,
    ErrorDriverHandle = 13,
    ErrorCardNotFound = 15,
    ErrorImageBuffer = 16,
    ErrorNoUsbDevice = 17,
    ErrorUsbOpen = 18,
    ErrorPortLibrary = 19,
    ErrorAdaptorLibrary = 20,
    ErrorPatternMemory = 22,
    ErrorPatternFile = 23,
    ErrorCoprocessor = 24,
    ErrorArm = 25,
    ErrorRegisterTest = 26,
    ErrorPowerSupply = 27,
    ErrorDspOutOfDate = 28,
};

inline constexpr int32_t LastErrorCode = 28;

// The text of a code; "" for 14 and 21, null outside 0 to 28.
const char* ErrorMessage(int32_t code);

// Copies the text to `buffer`, "" for a code without one; returns `buffer`.
char* ErrorMessageVB(int32_t code, char* buffer);
