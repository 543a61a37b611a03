// An 8-bit picture of a frame for looking at.
#include <algorithm>
#include <cmath>

#include "tools/image_files.h"
#include "tools/safe_file.h"

namespace {

constexpr int32_t LongestSide = 1024;
constexpr double DarkestPart = 0.005;
constexpr double BrightestPart = 0.997;

struct GreyPicture {
    int32_t width = 0, height = 0;
    std::vector<float> pixels;
};

// A frame, or those of a series side by side, row after row.
struct Montage {
    const FrameRecord& frame;
    int32_t across = 1; // frames
    int32_t width = 0, height = 0;
};

Montage MakeMontage(const FrameRecord& frame)
{
    const int32_t count = std::max(frame.planes, 1);
    const double square = std::sqrt(static_cast<double>(count) * frame.height / frame.width);
    const int32_t across = std::clamp(static_cast<int32_t>(std::lround(square)), 1, count);
    const int32_t down = (count + across - 1) / across;
    return {frame, across, across * frame.width, down * frame.height};
}

// Black where a last row of frames is not full.
double PixelOf(const Montage& montage, int32_t x, int32_t y)
{
    const FrameRecord& frame = montage.frame;
    const int32_t plane = y / frame.height * montage.across + x / frame.width;
    if (plane >= std::max(frame.planes, 1)) return 0.0;
    const auto row = static_cast<size_t>(plane) * static_cast<size_t>(frame.height) +
                     static_cast<size_t>(y % frame.height);
    return PixelsOf(
        frame)[row * static_cast<size_t>(frame.width) + static_cast<size_t>(x % frame.width)];
}

double BlockMean(const Montage& montage, int32_t left, int32_t top, int32_t side)
{
    double sum = 0.0;
    int32_t count = 0;
    for (int32_t y = top; y < std::min(top + side, montage.height); ++y) {
        for (int32_t x = left; x < std::min(left + side, montage.width); ++x, ++count) {
            sum += PixelOf(montage, x, y);
        }
    }
    return count > 0 ? sum / count : 0.0;
}

GreyPicture Shrink(const Montage& montage)
{
    const int32_t longest = std::max(montage.width, montage.height);
    const int32_t side = (longest + LongestSide - 1) / LongestSide;
    GreyPicture picture;
    picture.width = (montage.width + side - 1) / side;
    picture.height = (montage.height + side - 1) / side;
    for (int32_t y = 0; y < picture.height; ++y) {
        for (int32_t x = 0; x < picture.width; ++x) {
            picture.pixels.push_back(
                static_cast<float>(BlockMean(montage, x * side, y * side, side)));
        }
    }
    return picture;
}

float Percentile(std::vector<float> pixels, double part)
{
    const auto index = static_cast<int64_t>(part * static_cast<double>(pixels.size() - 1));
    std::nth_element(pixels.begin(), pixels.begin() + index, pixels.end());
    return pixels[static_cast<size_t>(index)];
}

std::vector<uint8_t> Stretch(const GreyPicture& picture)
{
    const float dark = Percentile(picture.pixels, DarkestPart);
    const float bright = Percentile(picture.pixels, BrightestPart);
    const float range = std::max(bright - dark, 1.0F);
    std::vector<uint8_t> grey;
    for (const float pixel : picture.pixels) {
        const float part = std::clamp((pixel - dark) / range, 0.0F, 1.0F);
        grey.push_back(static_cast<uint8_t>(std::lround(255.0F * std::sqrt(part))));
    }
    return grey;
}

} // namespace

bool SavePreview(const FrameRecord& frame, const std::string& path, bool overwrite,
                 std::string* error)
{
    const GreyPicture picture = Shrink(MakeMontage(frame));
    const std::vector<uint8_t> grey = Stretch(picture);
    const PngPicture png = {picture.width, picture.height, 1, 8, grey.data(), DescribeFrame(frame)};
    const std::string part = BeginFile(path, overwrite, error);
    if (part.empty()) return false;
    if (WritePng(png, part, error)) return CommitFile(path, overwrite, error);
    *error = path + ": " + *error;
    DiscardFile(path);
    return false;
}
