#include "core/errors.h"

#include <cstring>

namespace {

const char* const ErrorTexts[LastErrorCode + 1] = {
    "OK",
    "Camera not found! Is it turned on ?",
    "Link failure! Please check the camera link",
    "Unsupported platform! Check qvn library path",
    "Interface locked! Please restart the program and try again",
    "Platform definition not found! Check qvn library path",
    "CCD definition not found! Check qvn library path",
    "FW error, zero position not found!",
    "Memory overflow in pattern generator! Decrease vertical binning",
    "Memory allocation error in DMA buffer",
    "Serializer not linked! Please check if remote serializer is turned on",
    "Invalid serial decoder identifier!",
    "Unsupported platform in array mode!",
    "Invalid handle in WD_Open()! Please register the drivers",
    "", // 14 has no meaning
    "KZB Interface card not found! Check the card Index",
    "Memory allocation error in Image buffer",
    "No USB device connected",
    "Can't open the USB device",
    "Can't load the io.dll library, place it into the working directory",
    "Can't load kzbusb.dll library",
    "", // 21 has no meaning
    "Memory allocation error while creating pattern generator data",
    "Error to creating pattern generator file",
    "CoProcessor communication error",
    "ARM communication error",
    "Register R/W diagnose failed",
    "Power supply general failure",
    "DSP out of date! Please update it.",
};

} // namespace

const char* ErrorMessage(int32_t code)
{
    return code < 0 || code > LastErrorCode ? nullptr : ErrorTexts[code];
}

char* ErrorMessageVB(int32_t code, char* buffer)
{
    if (buffer == nullptr) return nullptr;
    const char* text = ErrorMessage(code);
    strcpy(buffer, text == nullptr ? "" : text);
    return buffer;
}
