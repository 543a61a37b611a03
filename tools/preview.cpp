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

double BlockMean(const FrameRecord& frame, int32_t left, int32_t top, int32_t side)
{
    double sum = 0.0;
    int32_t count = 0;
    for (int32_t y = top; y < std::min(top + side, frame.height); ++y) {
        for (int32_t x = left; x < std::min(left + side, frame.width); ++x, ++count) {
            sum += frame.pixels[static_cast<size_t>(y) * static_cast<size_t>(frame.width) +
                                static_cast<size_t>(x)];
        }
    }
    return count > 0 ? sum / count : 0.0;
}

GreyPicture Shrink(const FrameRecord& frame)
{
    const int32_t longest = std::max(frame.width, frame.height);
    const int32_t side = (longest + LongestSide - 1) / LongestSide;
    GreyPicture picture;
    picture.width = (frame.width + side - 1) / side;
    picture.height = (frame.height + side - 1) / side;
    for (int32_t y = 0; y < picture.height; ++y) {
        for (int32_t x = 0; x < picture.width; ++x) {
            picture.pixels.push_back(
                static_cast<float>(BlockMean(frame, x * side, y * side, side)));
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
    const GreyPicture picture = Shrink(frame);
    const std::vector<uint8_t> grey = Stretch(picture);
    const PngPicture png = {picture.width, picture.height, 1, 8, grey.data(), DescribeFrame(frame)};
    const std::string part = BeginFile(path, overwrite, error);
    if (part.empty()) return false;
    if (WritePng(png, part, error)) return CommitFile(path, overwrite, error);
    *error = path + ": " + *error;
    DiscardFile(path);
    return false;
}
