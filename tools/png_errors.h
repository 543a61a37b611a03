// How the program takes the errors of libpng: by the message, and a jump back.
#pragma once
#include <png.h>

#include <cstddef>
#include <cstdio>

inline constexpr size_t PngMessageRoom = 256;

// libpng jumps back over the functions that called it, so nothing in between may
// need a destructor. The message goes to the PngMessageRoom characters of the error pointer.
[[noreturn]] inline void KeepPngMessageAndJump(png_structp png, png_const_charp message)
{
    auto* kept = static_cast<char*>(png_get_error_ptr(png));
    std::snprintf(kept, PngMessageRoom, "%s", message);
    png_longjmp(png, 1);
}

inline void IgnorePngWarning(png_structp /*png*/, png_const_charp /*message*/) {}
