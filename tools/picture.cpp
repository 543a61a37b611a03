// What of the sensor is read, and how.
#include "tools/picture.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <new>

#include "tools/report.h"
#include "tools/text.h"

namespace {

// Platforms 300 and 450 write so many behind a frame.
constexpr size_t PixelsBehind = 3;

std::string UtcText(double unixSeconds)
{
    const auto stamp = static_cast<int64_t>(std::floor(unixSeconds * 1000.0));
    const auto seconds = static_cast<time_t>(stamp / 1000);
    tm parts = {};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    return Text("%s.%03d", text, static_cast<int>(stamp % 1000));
}

double UnixNow()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

// The sensor has been read at least once since the camera was opened.
bool ReadingIsThere(const Session& session, QvnsTemperature* temperature)
{
    return qvns_temperature(session.camera, temperature) == QV_ERROR_NONE &&
           temperature->Readings > 0;
}

std::string HashText(uint64_t hash)
{
    return Text("%016llx", static_cast<unsigned long long>(hash));
}

bool SetBinning(const Session& session, const PictureRequest& request)
{
    if (request.horBinning == 1 && request.verBinning == 1) return true;
    const std::string doing =
        Text("setting --binning %d,%d", request.horBinning, request.verBinning);
    if (request.horBinning > session.ccd.Xpix / 2 || request.verBinning > session.ccd.Ypix) {
        Complain(doing, Text("the sensor has %d x %d pixels", session.ccd.Xpix, session.ccd.Ypix),
                 "a lower --binning");
        return false;
    }
    const int32_t code =
        qvns_set_binning(session.camera, request.horBinning, request.verBinning, 0.0);
    if (code == QV_ERROR_NONE) return true;
    Complain(doing, FailureText(session, code), LibraryAdvice(code));
    return false;
}

// The layer knows the gains of the platform's table; the last setting is the user's own.
bool SetGain(const Session& session, const PictureRequest& request)
{
    constexpr int32_t UsersGain = 4;
    const int32_t camera = session.camera;
    int32_t code = QV_ERROR_NONE;
    if (request.gain == UsersGain) {
        code = RunAtCamera(session, 1.0, [camera] {
            QV_SetGain(UsersGain, camera);
            return QV_Status(camera);
        });
    } else {
        code = qvns_set_gain(camera, request.gain, 0.0);
    }
    if (code == QV_ERROR_NONE) return true;
    Complain(Text("setting --gain %d", request.gain), FailureText(session, code),
             LibraryAdvice(code));
    return false;
}

bool ChooseGeometry(const Session& session, const PictureRequest& request, FrameGeometry* geometry)
{
    const int32_t columns = (session.ccd.Xpix / request.horBinning) & ~1;
    const int32_t rows = session.ccd.Ypix / request.verBinning;
    *geometry = {columns, rows, 0};
    const WindowRequest& window = request.window;
    if (window.set) {
        const bool inside = window.x >= 0 && window.y >= 0 && window.width >= 2 &&
                            window.height >= 1 && window.x <= columns - window.width &&
                            window.y <= rows - window.height;
        if (!inside) {
            Complain("choosing the window",
                     Text("--window %d,%d,%d,%d is not inside the picture of %d x %d binned pixels",
                          window.x, window.y, window.width, window.height, columns, rows),
                     "X,Y,WIDTH,HEIGHT with a width of at least 2");
            return false;
        }
        *geometry = {window.width & ~1, window.height, 0};
        if (geometry->width != window.width) {
            std::fprintf(stderr, "qvn: widths are even, so the window is %d pixels wide\n",
                         geometry->width);
        }
    }
    geometry->room =
        static_cast<size_t>(geometry->width) * static_cast<size_t>(geometry->height) + PixelsBehind;
    return true;
}

} // namespace

bool PreparePicture(const Session& session, const PictureRequest& request, FrameGeometry* geometry)
{
    return SetBinning(session, request) && ChooseGeometry(session, request, geometry) &&
           SetGain(session, request);
}

bool MakeRoom(size_t pixels, FrameRecord* frame)
{
    try {
        frame->pixels.resize(pixels);
        return true;
    } catch (const std::exception&) { // too many for the machine, or for any
        Complain("taking a frame", Text("no memory for %zu pixels", pixels),
                 "a smaller --window, a higher --binning, or fewer --frames");
        return false;
    }
}

double ReadoutSeconds(const Session& session, const PictureRequest& request)
{
    QvnsExposure exposure;
    qvns_init_exposure(&exposure);
    if (request.window.set) {
        exposure.X = request.window.x;
        exposure.Y = request.window.y;
        exposure.Width = request.window.width;
        exposure.Height = request.window.height;
    }
    QvnsDuration duration = {};
    qvns_expected(session.camera, &exposure, &duration);
    return duration.Load + duration.Readout;
}

void NoteInstrument(const Session& session, FrameRecord* frame)
{
    frame->pixelWidthUm = session.ccd.XpixDim;
    frame->pixelHeightUm = session.ccd.YpixDim;
    frame->platform = session.platformName;
    frame->sensor = session.sensorName;
    frame->startUtc = UtcText(UnixNow());
}

void NoteCamera(const Session& session, const PictureRequest& request, FrameRecord* frame)
{
    QvnsTemperature temperature = {};
    frame->hasTemperature = ReadingIsThere(session, &temperature);
    frame->celsius = temperature.Measured;
    frame->horBinning = request.horBinning;
    frame->verBinning = request.verBinning;
    frame->gain = request.gain;
    NoteInstrument(session, frame);
}

void NoteMetadata(const Session& session, const QvnsMetadata& metadata, FrameRecord* frame)
{
    NoteInstrument(session, frame);
    frame->startUtc = UtcText(metadata.StartUnix);
    frame->light = metadata.Light != 0;
    frame->requestedSeconds = metadata.Seconds;
    frame->exposedSeconds = metadata.Exposed;
    frame->broken = metadata.Exposed < metadata.Seconds;
    frame->horBinning = metadata.HorBinning;
    frame->verBinning = metadata.VerBinning;
    // The simulated camera counts the window's origin in unbinned pixels.
    const bool unbinned = session.platform == QV_PLATFORM_DEMO;
    frame->x = metadata.X / (unbinned ? metadata.HorBinning : 1);
    frame->y = metadata.Y / (unbinned ? metadata.VerBinning : 1);
    frame->gain = metadata.Gain;
    // A camera that was not read yet has no numbers for these.
    frame->hasTemperature = std::isfinite(metadata.TemperatureStart);
    frame->celsius = metadata.TemperatureStart;
    if (std::isfinite(metadata.TemperatureEnd)) {
        frame->notes.push_back(
            {"TEMPEND", metadata.TemperatureEnd, false, "[degC] sensor, at the end", ""});
    }
    if (metadata.CoolerOn != 0 && std::isfinite(metadata.Power)) {
        frame->notes.push_back(
            {"COOLPOWR", metadata.Power, false, "[%] drive of the cooler, at the start", ""});
    }
    frame->notes.push_back({"DATE-END", 0.0, false, "frame there, UTC", UtcText(metadata.EndUnix)});
    if (metadata.Serial != -1) {
        const auto serial = static_cast<double>(static_cast<uint32_t>(metadata.Serial));
        frame->notes.push_back({"SERIALNO", serial, true, "of the camera", ""});
    }
    if (metadata.PatternHash != 0) {
        frame->notes.push_back(
            {"PATHASH", 0.0, false, "FNV-1a of wave.bin", HashText(metadata.PatternHash)});
    }
    frame->notes.push_back(
        {"DEFHASH", 0.0, false, "FNV-1a of the definitions", HashText(metadata.DefinitionHash)});
}
