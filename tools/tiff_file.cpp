// TIFF: 16-bit grey, not compressed.
#include <tiffio.h>

#include <cstdarg>
#include <cstdio>

#include "tools/image_files.h"

namespace {

// libtiff's error handler has no argument of the caller.
char LastTiffError[256];

void KeepError(const char* /*module*/, const char* format, va_list arguments)
{
    std::vsnprintf(LastTiffError, sizeof(LastTiffError), format, arguments);
}

bool WriteTags(TIFF* file, const FrameRecord& frame)
{
    const auto height = static_cast<uint32_t>(frame.height);
    return TIFFSetField(file, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(frame.width)) == 1 &&
           TIFFSetField(file, TIFFTAG_IMAGELENGTH, height) == 1 &&
           TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 16) == 1 &&
           TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 1) == 1 &&
           TIFFSetField(file, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT) == 1 &&
           TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK) == 1 &&
           TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == 1 &&
           TIFFSetField(file, TIFFTAG_COMPRESSION, COMPRESSION_NONE) == 1 &&
           TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(file, height)) == 1 &&
           TIFFSetField(file, TIFFTAG_SOFTWARE, CreatorText().c_str()) == 1 &&
           TIFFSetField(file, TIFFTAG_IMAGEDESCRIPTION, DescribeFrame(frame).c_str()) == 1;
}

bool WriteRows(TIFF* file, const FrameRecord& frame)
{
    std::vector<uint16_t> row(static_cast<size_t>(frame.width)); // libtiff may change it
    for (int32_t y = 0; y < frame.height; ++y) {
        const uint16_t* const first = PixelsOf(frame) + static_cast<int64_t>(y) * frame.width;
        row.assign(first, first + frame.width);
        if (TIFFWriteScanline(file, row.data(), static_cast<uint32_t>(y), 0) != 1) return false;
    }
    return TIFFFlush(file) == 1;
}

} // namespace

bool WriteTiff(const FrameRecord& frame, const std::string& path, std::string* error)
{
    std::snprintf(LastTiffError, sizeof(LastTiffError), "cannot be written");
    TIFFSetErrorHandler(KeepError);
    TIFFSetWarningHandler(nullptr);
    TIFF* file = TIFFOpen(path.c_str(), "w");
    const bool written = file != nullptr && WriteTags(file, frame) && WriteRows(file, frame);
    if (file != nullptr) TIFFClose(file);
    if (!written) *error = LastTiffError;
    return written;
}
