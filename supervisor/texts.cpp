// The texts of all codes.
#include "supervisor/library.h"

namespace {

constexpr int32_t FirstOwn = -101;

constexpr const char* OwnTexts[] = {
    "Wrong argument",
    "The layer is not started",
    "The camera is not open",
    "The camera is open already",
    "The camera is busy",
    "The time limit is over",
    "The camera is lost: a call for it does not return",
    "Broken off",
    "No such frame",
    "The frame does not fit the buffer",
    "No memory for a frame",
    "No thread can be had",
    "No camera with this serial number",
    "The link to the camera has failed",
    "It took too long and was broken off",
    "The library lacks a function",
};
constexpr int32_t OwnCount = static_cast<int32_t>(sizeof OwnTexts / sizeof OwnTexts[0]);

} // namespace

const char* qvns_error_text(int32_t code)
{
    const int32_t own = FirstOwn - code;
    if (code < 0) return own >= 0 && own < OwnCount ? OwnTexts[own] : "";
    const auto message = Library.ErrorMessage != nullptr ? Library.ErrorMessage : &QV_ErrorMessage;
    const char* text = message(code);
    return text != nullptr ? text : "";
}
