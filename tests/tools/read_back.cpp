// Reads pictures back, each through the library that its readers will use.
#include <fitsio.h>
#include <png.h>
#include <tiffio.h>

#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include "tests/tools/support.h"

namespace {

std::string WithoutQuotes(const std::string& value)
{
    if (value.size() < 2 || value.front() != '\'') return value;
    std::string text = value.substr(1, value.size() - 2);
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

void ReadKeywords(fitsfile* file, Picture* picture)
{
    int status = 0;
    int count = 0;
    fits_get_hdrspace(file, &count, nullptr, &status);
    for (int i = 1; i <= count; ++i) {
        char key[FLEN_KEYWORD] = "";
        char value[FLEN_VALUE] = "";
        fits_read_keyn(file, i, key, value, nullptr, &status);
        picture->keywords[key] = WithoutQuotes(value);
    }
}

void ReadPngRows(png_structp png, png_infop info, FILE* file, Picture* picture)
{
    if (setjmp(png_jmpbuf(png)) != 0) {
        picture->width = 0;
        return;
    }
    png_init_io(png, file);
    png_read_png(png, info, PNG_TRANSFORM_SWAP_ENDIAN, nullptr);
    picture->width = static_cast<int32_t>(png_get_image_width(png, info));
    picture->height = static_cast<int32_t>(png_get_image_height(png, info));
    picture->bits = png_get_bit_depth(png, info);
    picture->channels = png_get_channels(png, info);
    png_bytepp rows = png_get_rows(png, info);
    for (int32_t y = 0; y < picture->height; ++y) {
        for (int32_t x = 0; x < picture->width * picture->channels; ++x) {
            const uint8_t* byte = rows[y] + x * (picture->bits / 8);
            picture->pixels.push_back(
                picture->bits == 16 ? static_cast<uint16_t>(byte[0] | byte[1] << 8) : byte[0]);
        }
    }
}

} // namespace

Picture ReadFits(const Scratch& scratch, const std::string& name, int32_t unit)
{
    Picture picture;
    fitsfile* file = nullptr;
    int status = 0;
    int count = 0;
    long axes[3] = {0, 0, 1};
    fits_open_diskfile(&file, (scratch.path + "/" + name).c_str(), READONLY, &status);
    fits_movabs_hdu(file, unit + 1, nullptr, &status);
    fits_get_img_dim(file, &count, &status);
    fits_get_img_size(file, 3, axes, &status);
    if (status != 0) return picture;
    picture.width = static_cast<int32_t>(axes[0]);
    picture.height = static_cast<int32_t>(axes[1]);
    picture.planes = count == 3 ? static_cast<int32_t>(axes[2]) : 0;
    const long pixels = axes[0] * axes[1] * axes[2];
    picture.pixels.resize(static_cast<size_t>(pixels));
    if (pixels > 0) {
        fits_read_img(file, TUSHORT, 1, pixels, nullptr, picture.pixels.data(), nullptr, &status);
    }
    if (status != 0) picture.width = 0;
    ReadKeywords(file, &picture);
    fits_close_file(file, &status);
    return picture;
}

int32_t FitsUnits(const Scratch& scratch, const std::string& name)
{
    fitsfile* file = nullptr;
    int status = 0;
    int count = 0;
    fits_open_diskfile(&file, (scratch.path + "/" + name).c_str(), READONLY, &status);
    fits_get_num_hdus(file, &count, &status);
    fits_close_file(file, &status);
    return count;
}

void WriteFits(const Scratch& scratch, const std::string& name, int32_t width, int32_t height,
               std::vector<uint16_t> pixels)
{
    fitsfile* file = nullptr;
    int status = 0;
    long axes[2] = {width, height};
    fits_create_diskfile(&file, (scratch.path + "/" + name).c_str(), &status);
    fits_create_img(file, USHORT_IMG, 2, axes, &status);
    fits_write_img(file, TUSHORT, 1, static_cast<LONGLONG>(pixels.size()), pixels.data(), &status);
    fits_close_file(file, &status);
}

Picture ReadPng(const Scratch& scratch, const std::string& name)
{
    Picture picture;
    FILE* file = std::fopen((scratch.path + "/" + name).c_str(), "rb");
    if (file == nullptr) return picture;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    ReadPngRows(png, info, file, &picture);
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return picture;
}

Picture ReadTiff(const Scratch& scratch, const std::string& name)
{
    Picture picture;
    TIFF* file = TIFFOpen((scratch.path + "/" + name).c_str(), "r");
    if (file == nullptr) return picture;
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t bits = 0;
    TIFFGetField(file, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(file, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(file, TIFFTAG_BITSPERSAMPLE, &bits);
    picture.width = static_cast<int32_t>(width);
    picture.height = static_cast<int32_t>(height);
    picture.bits = bits;
    std::vector<uint16_t> row(width);
    for (uint32_t y = 0; y < height; ++y) {
        if (TIFFReadScanline(file, row.data(), y, 0) != 1) picture.width = 0;
        picture.pixels.insert(picture.pixels.end(), row.begin(), row.end());
    }
    TIFFClose(file);
    return picture;
}

std::vector<uint16_t> ReadRaw(const Scratch& scratch, const std::string& name)
{
    const std::string bytes = ReadText(scratch, name);
    std::vector<uint16_t> pixels;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto low = static_cast<unsigned char>(bytes[i]);
        const auto high = static_cast<unsigned char>(bytes[i + 1]);
        pixels.push_back(static_cast<uint16_t>(low | high << 8));
    }
    return pixels;
}

uint16_t PixelAt(const Picture& picture, int32_t x, int32_t y)
{
    return picture.pixels[static_cast<size_t>(y) * static_cast<size_t>(picture.width) +
                          static_cast<size_t>(x)];
}

double KeywordNumber(const Picture& picture, const std::string& key)
{
    const auto found = picture.keywords.find(key);
    return found == picture.keywords.end() ? -1e9 : std::strtod(found->second.c_str(), nullptr);
}
