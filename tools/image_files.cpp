// Frames and pictures as files: the choice of the format, raw files, descriptions.
#include "tools/image_files.h"

#include <filesystem>
#include <vector>

#include "include/qvn.h"
#include "tools/little_endian.h"
#include "tools/safe_file.h"
#include "tools/text.h"

namespace {

struct FormatName {
    const char* name;
    ImageFormat format;
};

const FormatName FormatNames[] = {
    {"fits", ImageFormat::Fits}, {"fit", ImageFormat::Fits},  {"fts", ImageFormat::Fits},
    {"png", ImageFormat::Png},   {"tiff", ImageFormat::Tiff}, {"tif", ImageFormat::Tiff},
    {"raw", ImageFormat::Raw},
};

bool SaveRaw(const FrameRecord& frame, const std::string& path, bool overwrite, std::string* error)
{
    std::vector<uint8_t> bytes(PixelCount(frame) * 2);
    WriteLittleEndian(PixelsOf(frame), PixelCount(frame), bytes.data());
    return WriteWholeFile(path, bytes.data(), bytes.size(), overwrite, error);
}

// Puts what has grown in its place, or takes it away.
bool EndSave(bool written, const std::string& path, bool overwrite, std::string* error)
{
    if (written) return CommitFile(path, overwrite, error);
    *error = path + ": " + *error;
    DiscardFile(path);
    return false;
}

PngPicture AsPng(const FrameRecord& frame)
{
    return {frame.width, frame.height, 1, 16, PixelsOf(frame), DescribeFrame(frame)};
}

} // namespace

ImageFormat FormatByName(const std::string& name)
{
    for (const FormatName& row : FormatNames) {
        if (SameWord(row.name, name)) return row.format;
    }
    return ImageFormat::Unknown;
}

ImageFormat FormatOfFile(const std::string& path)
{
    const std::string ending = std::filesystem::path(path).extension().string();
    return ending.empty() ? ImageFormat::Unknown : FormatByName(ending.substr(1));
}

bool SaveFrame(const FrameRecord& frame, const std::string& path, ImageFormat format,
               bool overwrite, std::string* error)
{
    if (format == ImageFormat::Raw) return SaveRaw(frame, path, overwrite, error);
    const std::string temporary = BeginFile(path, overwrite, error);
    if (temporary.empty()) return false;
    bool written = false;
    if (format == ImageFormat::Fits) written = WriteFits({&frame, 1}, false, temporary, error);
    if (format == ImageFormat::Png) written = WritePng(AsPng(frame), temporary, error);
    if (format == ImageFormat::Tiff) written = WriteTiff(frame, temporary, error);
    return EndSave(written, path, overwrite, error);
}

bool SaveExtensions(std::span<const FrameRecord> frames, const std::string& path, bool overwrite,
                    std::string* error)
{
    const std::string temporary = BeginFile(path, overwrite, error);
    if (temporary.empty()) return false;
    return EndSave(WriteFits(frames, true, temporary, error), path, overwrite, error);
}

const char* KindOfFrame(const FrameRecord& frame)
{
    if (frame.light) return "Light Frame";
    return frame.requestedSeconds > 0.0 ? "Dark Frame" : "Bias Frame";
}

std::string DescribeFrame(const FrameRecord& frame)
{
    std::string text =
        Text("%s, %g s from %s UTC, %s %s, binning %d x %d, gain index %d", KindOfFrame(frame),
             frame.exposedSeconds, frame.startUtc.c_str(), frame.platform.c_str(),
             frame.sensor.c_str(), frame.horBinning, frame.verBinning, frame.gain);
    if (frame.hasTemperature) text += Text(", %.1f C", frame.celsius);
    return text;
}

std::string CreatorText()
{
    char version[256] = "";
    QV_Ver(version);
    const std::string text = version;
    return "qvn " + text.substr(0, text.find(' '));
}
