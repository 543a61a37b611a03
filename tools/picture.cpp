// What of the sensor is read, and how.
#include "tools/picture.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <new>

#include "tools/report.h"
#include "tools/text.h"

namespace {

// Platforms 300 and 450 write so many behind a frame.
constexpr size_t PixelsBehind = 3;

std::string UtcNow()
{
    using std::chrono::duration_cast;
    using std::chrono::milliseconds;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const int64_t stamp = duration_cast<milliseconds>(now).count();
    const auto seconds = static_cast<time_t>(stamp / 1000);
    tm parts = {};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    return Text("%s.%03d", text, static_cast<int>(stamp % 1000));
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
    QV_SetBinning(request.horBinning, request.verBinning, session.camera);
    const int32_t code = QV_Status(session.camera);
    if (code == QV_ERROR_NONE) return true;
    Complain(doing, LibraryText(code), LibraryAdvice(code));
    return false;
}

bool SetGain(const Session& session, const PictureRequest& request)
{
    QV_SetGain(request.gain, session.camera);
    const int32_t code = QV_Status(session.camera);
    if (code == QV_ERROR_NONE) return true;
    Complain(Text("setting --gain %d", request.gain), LibraryText(code), LibraryAdvice(code));
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

void NoteInstrument(const Session& session, FrameRecord* frame)
{
    frame->pixelWidthUm = session.ccd.XpixDim;
    frame->pixelHeightUm = session.ccd.YpixDim;
    frame->platform = session.platformName;
    frame->sensor = session.sensorName;
    frame->startUtc = UtcNow();
}

void NoteCamera(const Session& session, FrameRecord* frame)
{
    frame->hasTemperature = ReadCelsius(session, &frame->celsius) == QV_ERROR_NONE;
    QV_GetBinning(&frame->horBinning, &frame->verBinning, session.camera);
    frame->gain = QV_GetGain(session.camera);
    NoteInstrument(session, frame);
}
