// Pictures that a model of a sensor shall see: PNG and FITS.
#include "tools/scene_file.h"

#include <png.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include "tools/fits_scene.h"
#include "tools/png_errors.h"
#include "tools/text.h"

namespace {

constexpr size_t SignatureBytes = 8;
constexpr int64_t LongestSide = 65535;
constexpr int64_t MostPixels = int64_t{1} << 28;

struct PngReader {
    png_structp png;
    png_infop info;
    FILE* file;
};

// Up to the pixels, which come as grey of 16 bits.
bool ReadPngHead(const PngReader& reader)
{
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_init_io(reader.png, reader.file);
    png_set_user_limits(reader.png, LongestSide, LongestSide);
    png_read_info(reader.png, reader.info);
    png_set_expand_16(reader.png);
    png_set_strip_alpha(reader.png);
    if ((png_get_color_type(reader.png, reader.info) & PNG_COLOR_MASK_COLOR) != 0) {
        png_set_rgb_to_gray(reader.png, PNG_ERROR_ACTION_NONE, PNG_RGB_TO_GRAY_DEFAULT,
                            PNG_RGB_TO_GRAY_DEFAULT);
    }
    if (std::endian::native == std::endian::little) png_set_swap(reader.png);
    png_set_interlace_handling(reader.png);
    png_read_update_info(reader.png, reader.info);
    return true;
}

bool ReadPngRows(const PngReader& reader, uint16_t* pixels, size_t width, size_t height)
{
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    const int passes = png_get_interlace_type(reader.png, reader.info) == PNG_INTERLACE_NONE
                           ? 1
                           : PNG_INTERLACE_ADAM7_PASSES;
    for (int pass = 0; pass < passes; ++pass) {
        for (size_t y = 0; y < height; ++y) {
            png_read_row(reader.png, reinterpret_cast<png_bytep>(pixels + y * width), nullptr);
        }
    }
    png_read_end(reader.png, nullptr);
    return true;
}

bool ReadPngPixels(const PngReader& reader, Scene* scene, std::string* error, const char* message)
{
    if (!ReadPngHead(reader)) {
        *error = message;
        return false;
    }
    const uint32_t width = png_get_image_width(reader.png, reader.info);
    const uint32_t height = png_get_image_height(reader.png, reader.info);
    if (!SceneSizeIsPossible(width, height, error)) return false;
    if (png_get_rowbytes(reader.png, reader.info) != size_t{width} * 2) {
        *error = "pixels of a kind that cannot be taken as grey";
        return false;
    }
    scene->width = width;
    scene->height = height;
    scene->pixels.assign(size_t{width} * height, 0);
    if (ReadPngRows(reader, scene->pixels.data(), width, height)) return true;
    *error = message;
    return false;
}

bool ReadPngFile(FILE* file, Scene* scene, std::string* error)
{
    char message[PngMessageRoom] = "out of memory";
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, message, KeepPngMessageAndJump,
                                             IgnorePngWarning);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    bool read = false;
    if (info != nullptr) {
        read = ReadPngPixels({png, info, file}, scene, error, message);
    } else {
        *error = message;
    }
    if (png != nullptr) png_destroy_read_struct(&png, &info, nullptr);
    return read;
}

} // namespace

bool SceneSizeIsPossible(int64_t width, int64_t height, std::string* error)
{
    if (width >= 1 && height >= 1 && width <= LongestSide && height <= LongestSide &&
        width * height <= MostPixels) {
        return true;
    }
    *error = Text("%lld x %lld pixels are no picture, or too many", static_cast<long long>(width),
                  static_cast<long long>(height));
    return false;
}

bool ReadScene(const std::string& path, Scene* scene, std::string* error)
{
    FILE* file = std::fopen(path.c_str(), "rbe");
    if (file == nullptr) {
        *error = std::strerror(errno);
        return false;
    }
    unsigned char head[SignatureBytes] = {};
    const size_t bytes = std::fread(head, 1, sizeof head, file);
    bool read = false;
    *error = "neither a PNG nor a FITS file";
    scene->pixels.clear();
    std::rewind(file);
    if (bytes == sizeof head && png_sig_cmp(head, 0, sizeof head) == 0) {
        read = ReadPngFile(file, scene, error);
    } else if (bytes == sizeof head && std::memcmp(head, "SIMPLE  ", sizeof head) == 0) {
        read = ReadFitsScene(file, scene, error);
    }
    std::fclose(file);
    return read;
}
