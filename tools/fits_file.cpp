// FITS, with the keywords that instrument scientists expect.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "tools/fits_header.h"
#include "tools/image_files.h"

namespace {

constexpr size_t PixelsAtOnce = size_t{1} << 16;

struct FitsWriter {
    int file = -1;
    bool failed = false; // errno tells why
    std::string header;
};

void WriteWord(FitsWriter* writer, const char* key, const std::string& value, const char* comment)
{
    AddFitsWord(&writer->header, key, value, comment);
}

void WriteWhole(FitsWriter* writer, const char* key, int32_t value, const char* comment)
{
    AddFitsWhole(&writer->header, key, value, comment);
}

void WriteNumber(FitsWriter* writer, const char* key, double value, const char* comment)
{
    AddFitsNumber(&writer->header, key, value, comment);
}

void WriteDate(FitsWriter* writer)
{
    const time_t now = std::time(nullptr);
    tm parts = {};
    gmtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    WriteWord(writer, "DATE", text, "when the file was written, UTC");
}

void WriteBytes(FitsWriter* writer, const void* data, size_t bytes)
{
    const auto* next = static_cast<const char*>(data);
    while (!writer->failed && bytes > 0) {
        const ssize_t written = write(writer->file, next, bytes);
        if (written < 0 && errno == EINTR) continue;
        writer->failed = written <= 0;
        if (written == 0) errno = EIO;
        if (written <= 0) return;
        next += written;
        bytes -= static_cast<size_t>(written);
    }
}

void WriteHeader(FitsWriter* writer)
{
    EndFitsHeader(&writer->header);
    WriteBytes(writer, writer->header.data(), writer->header.size());
    writer->header.clear();
}

// Signed, the high byte first, and zeros up to the end of the block.
void WritePixels(FitsWriter* writer, const uint16_t* pixels, size_t count)
{
    std::vector<uint8_t> bytes(2 * std::min(count, PixelsAtOnce));
    for (size_t done = 0; done < count; done += PixelsAtOnce) {
        const size_t part = std::min(count - done, PixelsAtOnce);
        for (size_t i = 0; i < part; ++i) {
            const uint16_t pixel = pixels[done + i];
            bytes[2 * i] = static_cast<uint8_t>((pixel >> 8) ^ 0x80);
            bytes[2 * i + 1] = static_cast<uint8_t>(pixel);
        }
        WriteBytes(writer, bytes.data(), 2 * part);
    }
    const std::vector<uint8_t> padding((FitsBlock - 2 * count % FitsBlock) % FitsBlock);
    WriteBytes(writer, padding.data(), padding.size());
}

void WriteExposure(FitsWriter* writer, const FrameRecord& frame)
{
    WriteWord(writer, "DATE-OBS", frame.startUtc, "start of the exposure, UTC");
    WriteWord(writer, "TIMESYS", "UTC", nullptr);
    WriteNumber(writer, "EXPTIME", frame.exposedSeconds,
                frame.broken ? "[s] broken off; by the host's clock" : "[s] exposure");
    if (frame.broken) WriteNumber(writer, "EXPREQ", frame.requestedSeconds, "[s] as requested");
    WriteWord(writer, "IMAGETYP", KindOfFrame(frame), nullptr);
}

void WriteCamera(FitsWriter* writer, const FrameRecord& frame)
{
    if (frame.hasTemperature) {
        WriteNumber(writer, "CCD-TEMP", frame.celsius, "[degC] sensor, at the start");
    }
    if (frame.cooling) WriteNumber(writer, "SET-TEMP", frame.targetCelsius, "[degC] target");
    WriteWhole(writer, "GAIN", frame.gain, "gain setting, an index");
    WriteWord(writer, "INSTRUME", frame.platform + " " + frame.sensor, "camera and sensor");
    WriteWord(writer, "DETECTOR", frame.sensor, "sensor");
}

void WriteNotes(FitsWriter* writer, const FrameRecord& frame)
{
    for (const FrameNote& note : frame.notes) {
        const char* key = note.key.c_str();
        const char* comment = note.comment.c_str();
        if (!note.word.empty()) {
            WriteWord(writer, key, note.word, comment);
        } else if (note.isCount) {
            AddFitsWhole(&writer->header, key, static_cast<int64_t>(note.value), comment);
        } else {
            WriteNumber(writer, key, note.value, comment);
        }
    }
}

void WriteGeometry(FitsWriter* writer, const FrameRecord& frame)
{
    WriteWhole(writer, "XBINNING", frame.horBinning, "pixels binned along a row");
    WriteWhole(writer, "YBINNING", frame.verBinning, "rows binned");
    if (frame.pixelWidthUm > 0.0 && frame.pixelHeightUm > 0.0) {
        WriteNumber(writer, "XPIXSZ", frame.pixelWidthUm * frame.horBinning,
                    "[um] width of a binned pixel");
        WriteNumber(writer, "YPIXSZ", frame.pixelHeightUm * frame.verBinning,
                    "[um] height of a binned pixel");
    }
    WriteWhole(writer, "XORGSUBF", frame.x, "first column, in binned pixels");
    WriteWhole(writer, "YORGSUBF", frame.y, "first row, in binned pixels");
    WriteWord(writer, "ROWORDER", "TOP-DOWN", "the first row is the upper one");
    WriteWord(writer, "SWCREATE", CreatorText(), "written by");
}

void WritePicture(FitsWriter* writer, const FrameRecord& frame, bool asExtension)
{
    std::vector<int32_t> axes = {frame.width, frame.height};
    if (frame.planes > 0) axes.push_back(frame.planes);
    BeginFitsHeader(&writer->header, asExtension, axes);
    if (!frame.name.empty()) WriteWord(writer, "EXTNAME", frame.name, nullptr);
    WriteExposure(writer, frame);
    WriteNotes(writer, frame);
    WriteCamera(writer, frame);
    WriteGeometry(writer, frame);
    WriteDate(writer);
    WriteHeader(writer);
    WritePixels(writer, PixelsOf(frame), PixelCount(frame));
}

} // namespace

bool WriteFits(std::span<const FrameRecord> frames, bool asExtensions, const std::string& path,
               std::string* error)
{
    FitsWriter writer;
    writer.file = open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0666);
    writer.failed = writer.file < 0;
    if (asExtensions) {
        BeginFitsHeader(&writer.header, false, {});
        WriteWord(&writer, "SWCREATE", CreatorText(), "written by");
        WriteDate(&writer);
        WriteHeader(&writer);
    }
    for (const FrameRecord& frame : frames) WritePicture(&writer, frame, asExtensions);
    const int failure = writer.failed ? errno : 0;
    if (writer.file >= 0 && close(writer.file) != 0 && failure == 0) {
        *error = std::strerror(errno);
        return false;
    }
    *error = std::strerror(failure);
    return failure == 0;
}
