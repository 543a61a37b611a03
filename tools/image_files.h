// Frames and pictures as files.
#pragma once
#include <cstdint>
#include <span>
#include <string>

#include "tools/frame.h"

enum class ImageFormat { Unknown, Fits, Png, Tiff, Raw };

// Of a name such as "fits"; of a file by its ending.
ImageFormat FormatByName(const std::string& name);
ImageFormat FormatOfFile(const std::string& path);

// Writes a frame, whole or not at all. Raw is little-endian and has no header.
bool SaveFrame(const FrameRecord& frame, const std::string& path, ImageFormat format,
               bool overwrite, std::string* error);

// Several frames as extensions of one FITS file, the first behind a header without a picture.
// The same otherwise.
bool SaveExtensions(std::span<const FrameRecord> frames, const std::string& path, bool overwrite,
                    std::string* error);

// The formats, each in place of what the file holds.
bool WriteFits(std::span<const FrameRecord> frames, bool asExtensions, const std::string& path,
               std::string* error);
bool WriteTiff(const FrameRecord& frame, const std::string& path, std::string* error);

struct PngPicture {
    int32_t width, height;
    int32_t channels; // 1 grey, 3 red, green and blue
    int32_t bits;     // 8, or 16 in the machine's byte order
    const void* pixels;
    std::string description; // empty: none
};

bool WritePng(const PngPicture& picture, const std::string& path, std::string* error);

// As FITS has it in IMAGETYP. A dark frame without an exposure shows the bias alone.
const char* KindOfFrame(const FrameRecord& frame);

// One line about a frame, for formats without keywords.
std::string DescribeFrame(const FrameRecord& frame);

// "qvn 7.4.3"
std::string CreatorText();

// An 8-bit picture for looking at: shrunk by averaging to at most 1024 pixels a
// side, from the darkest half percent to the brightest, by square root. The frames of a series
// stand side by side.
bool SavePreview(const FrameRecord& frame, const std::string& path, bool overwrite,
                 std::string* error);
