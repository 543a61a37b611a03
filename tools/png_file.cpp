// PNG, grey or in colour, of 8 or 16 bits.
#include <png.h>

#include <bit>
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include "tools/image_files.h"
#include "tools/png_errors.h"

namespace {

void WriteHeader(png_structp png, png_infop info, const PngPicture& picture)
{
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width),
                 static_cast<png_uint_32>(picture.height), picture.bits,
                 picture.channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!picture.description.empty()) {
        char key[] = "Description";
        png_text text = {};
        text.compression = PNG_TEXT_COMPRESSION_NONE;
        text.key = key;
        text.text = const_cast<char*>(picture.description.c_str());
        png_set_text(png, info, &text, 1);
    }
    png_write_info(png, info);
    if (picture.bits == 16 && std::endian::native == std::endian::little) png_set_swap(png);
}

bool WriteRows(png_structp png, png_infop info, const PngPicture& picture, FILE* file)
{
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_init_io(png, file);
    WriteHeader(png, info, picture);
    const auto rowBytes = static_cast<size_t>(picture.width) *
                          static_cast<size_t>(picture.channels * picture.bits / 8);
    const auto* row = static_cast<const uint8_t*>(picture.pixels);
    for (int32_t y = 0; y < picture.height; ++y, row += rowBytes) png_write_row(png, row);
    png_write_end(png, nullptr);
    return true;
}

} // namespace

bool WritePng(const PngPicture& picture, const std::string& path, std::string* error)
{
    FILE* file = std::fopen(path.c_str(), "wbe");
    if (file == nullptr) {
        *error = std::strerror(errno);
        return false;
    }
    char message[PngMessageRoom] = "out of memory";
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, message, KeepPngMessageAndJump,
                                              IgnorePngWarning);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    bool written = info != nullptr && WriteRows(png, info, picture, file);
    if (png != nullptr) png_destroy_write_struct(&png, &info);
    if (std::fclose(file) != 0 && written) {
        std::snprintf(message, sizeof(message), "%s", std::strerror(errno));
        written = false;
    }
    if (!written) *error = message;
    return written;
}
