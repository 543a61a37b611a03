// FITS, with the keywords that instrument scientists expect.
#include <fitsio.h>
#include <unistd.h>

#include <cmath>

#include "tools/image_files.h"
#include "tools/text.h"

namespace {

// cfitsio keeps the first failure in `status`, and later calls then do nothing.
struct FitsWriter {
    fitsfile* file = nullptr;
    int status = 0;
};

void WriteWord(FitsWriter* writer, const char* key, const std::string& value, const char* comment)
{
    fits_write_key_str(writer->file, key, value.c_str(), comment, &writer->status);
}

void WriteWhole(FitsWriter* writer, const char* key, int32_t value, const char* comment)
{
    fits_write_key_lng(writer->file, key, value, comment, &writer->status);
}

// Fifteen digits at most, none of them for show. A header holds finite numbers only.
void WriteNumber(FitsWriter* writer, const char* key, double value, const char* comment)
{
    if (!std::isfinite(value)) return;
    fits_write_key_dbl(writer->file, key, value, -15, comment, &writer->status);
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

} // namespace

std::string FitsName(const std::string& path)
{
    return path[0] == '/' ? path : "./" + path;
}

std::string FitsText(int status)
{
    char text[FLEN_STATUS] = "";
    fits_get_errstatus(status, text);
    return Text("%s (cfitsio %d)", text, status);
}

bool WriteFits(const FrameRecord& frame, const std::string& path, std::string* error)
{
    FitsWriter writer;
    long axes[2] = {frame.width, frame.height};
    unlink(path.c_str()); // cfitsio replaces no file
    fits_create_diskfile(&writer.file, FitsName(path).c_str(), &writer.status);
    // Unsigned 16-bit pixels are stored signed, with BZERO 32768 and BSCALE 1.
    fits_create_img(writer.file, USHORT_IMG, 2, axes, &writer.status);
    WriteExposure(&writer, frame);
    WriteCamera(&writer, frame);
    WriteGeometry(&writer, frame);
    fits_write_date(writer.file, &writer.status);
    // The call reads only, whatever its argument's type says.
    auto* pixels = const_cast<uint16_t*>(frame.pixels.data());
    fits_write_img(writer.file, TUSHORT, 1, static_cast<LONGLONG>(PixelCount(frame)), pixels,
                   &writer.status);
    if (writer.file != nullptr) fits_close_file(writer.file, &writer.status);
    if (writer.status == 0) return true;
    *error = FitsText(writer.status);
    return false;
}
