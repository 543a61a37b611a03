// qvn expose: frames from the camera to files.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <set>

#include "tools/breaker.h"
#include "tools/commands.h"
#include "tools/output_names.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/safe_file.h"
#include "tools/text.h"

namespace {

// cfitsio takes 1024 characters, and is given a few more.
constexpr size_t LongestFitsPath = 1000;

ImageFormat ChosenFormat(const ExposeRequest& request)
{
    return request.format != ImageFormat::Unknown ? request.format : FormatOfFile(request.output);
}

bool NameIsPossible(const char* argument, const std::string& pattern, const ExposeRequest& request)
{
    const std::string doing = Text("checking %s", argument);
    if (!PatternIsPlain(pattern)) {
        Complain(doing, Text("%s: only one counter such as %%04d is possible", pattern.c_str()),
                 "frame_%04d.fits");
        return false;
    }
    for (int32_t number = 1; number <= request.frames; ++number) {
        std::string error;
        std::string advice;
        const std::string name = OutputName(pattern, number, request.frames);
        if (OutputIsPossible(name, request.overwrite, &error, &advice)) continue;
        Complain(doing, error, advice);
        return false;
    }
    return true;
}

std::string FileName(const std::string& pattern, int32_t number, const ExposeRequest& request)
{
    return std::filesystem::path(OutputName(pattern, number, request.frames)).filename().string();
}

// Whether no frame and no preview of the series are one file. A series stays in one folder.
bool NamesDiffer(const ExposeRequest& request)
{
    if (WholeFolder(request.output) != WholeFolder(request.preview)) return true;
    std::set<std::string> outputs;
    for (int32_t number = 1; number <= request.frames; ++number) {
        outputs.insert(FileName(request.output, number, request));
    }
    for (int32_t number = 1; number <= request.frames; ++number) {
        const std::string preview = FileName(request.preview, number, request);
        if (outputs.count(preview) == 0) continue;
        Complain("checking --preview", Text("%s is a file of --output too", preview.c_str()),
                 "another name");
        return false;
    }
    return true;
}

// Everything about the outputs that can be wrong shows before the camera is touched.
bool OutputsArePossible(const ExposeRequest& request)
{
    if (ChosenFormat(request) == ImageFormat::Unknown) {
        Complain("checking --output",
                 Text("%s: the ending tells no format", request.output.c_str()),
                 "the ending .fits, .png, .tiff or .raw, or --format");
        return false;
    }
    if (!NameIsPossible("--output", request.output, request)) return false;
    if (ChosenFormat(request) == ImageFormat::Fits && request.output.size() > LongestFitsPath) {
        Complain("checking --output",
                 Text("a FITS file's path has %zu characters at most", LongestFitsPath),
                 "a shorter path, or another --format");
        return false;
    }
    if (request.preview.empty()) return true;
    return NameIsPossible("--preview", request.preview, request) && NamesDiffer(request);
}

bool Cool(Session* session, const ExposeRequest& request, int* exitCode)
{
    if (!request.cool) return true;
    if (BreakRequested()) {
        *exitCode = ExitBroken;
        return false;
    }
    StartCooling(session, request.cooling.target);
    switch (WaitUntilCold(*session, request.cooling)) {
    case CoolingResult::Reached: return true;
    case CoolingResult::Broken: *exitCode = ExitBroken; return false;
    case CoolingResult::Failed: break;
    }
    *exitCode = ExitFailed;
    return false;
}

// What a frame's file tells, as it is at this moment.
void NoteStart(const Session& session, const ExposeRequest& request, FrameRecord* frame)
{
    frame->light = request.light;
    frame->requestedSeconds = request.seconds;
    frame->exposedSeconds = request.seconds;
    frame->cooling = request.cool;
    frame->targetCelsius = request.cooling.target;
    NoteCamera(session, frame);
    // The simulated camera counts the window's origin in unbinned pixels.
    const bool unbinned = session.platform == QV_PLATFORM_DEMO;
    frame->x = request.picture.window.x / (unbinned ? frame->horBinning : 1);
    frame->y = request.picture.window.y / (unbinned ? frame->verBinning : 1);
}

void CallLibrary(const Session& session, const ExposeRequest& request, uint16_t* buffer)
{
    const int32_t shutter = request.light ? 1 : 0;
    const WindowRequest& window = request.picture.window;
    if (window.set) {
        QV_FGetWinCCD(shutter, request.seconds, window.x, window.y, window.width, window.height,
                      buffer, session.camera);
    } else {
        QV_FGetCCD(shutter, request.seconds, buffer, session.camera);
    }
}

// The host holds the service off itself and takes the fast calls: so nothing waits
// between the noted start and the exposure, and a failed frame leaves no hold behind.
int32_t ReadFrame(const Session& session, const ExposeRequest& request, FrameRecord* frame)
{
    BreakerArm(session.camera);
    QV_StopNow(session.camera);
    NoteStart(session, request, frame);
    const double start = SteadySeconds();
    CallLibrary(session, request, frame->pixels.data());
    const int32_t code = QV_Status(session.camera);
    QV_StartNow(session.camera);
    BreakerArm(-1);

    // The library shortens exposures of more than 500 whole milliseconds only, and does
    // not tell.
    const bool breakable = std::trunc(request.seconds * 1000.0) > 500.0;
    const double exposed = BreakSeconds() - start;
    if (BreakRequested() && breakable && exposed < request.seconds) {
        frame->broken = true;
        frame->exposedSeconds = std::max(exposed, 0.0);
    }
    return code;
}

// With internal buffers the library keeps the frame to itself.
bool FetchInternal(const Session& session, FrameRecord* frame)
{
    if ((QV_GetMode(session.camera) & QV_OPTION_INTERNAL_BUFFERS) == 0) return true;
    const uint16_t* buffer = QV_MatrixPointer(QV_MatrixGet(session.camera), session.camera);
    if (buffer == nullptr) return false;
    std::copy_n(buffer, PixelCount(*frame), frame->pixels.begin());
    return true;
}

bool SaveOutputs(const FrameRecord& frame, const ExposeRequest& request, int32_t number)
{
    const std::string output = OutputName(request.output, number, request.frames);
    std::string error;
    if (!SaveFrame(frame, output, ChosenFormat(request), request.overwrite, &error)) {
        Complain("writing the frame", error, "free space, or another --output");
        return false;
    }
    Announce(Text("Wrote %s, %d x %d pixels%s", output.c_str(), frame.width, frame.height,
                  frame.broken ? ", broken off" : ""));
    if (request.preview.empty()) return true;
    const std::string preview = OutputName(request.preview, number, request.frames);
    if (!SavePreview(frame, preview, request.overwrite, &error)) {
        Complain("writing the preview", error, "free space, or another --preview");
        return false;
    }
    Announce(Text("Wrote %s, a preview", preview.c_str()));
    return true;
}

// The exit code so far; ExitDone: go on.
int TakeFrame(const Session& session, const ExposeRequest& request, int32_t number,
              const FrameGeometry& geometry)
{
    FrameRecord frame;
    frame.width = geometry.width;
    frame.height = geometry.height;
    if (!MakeRoom(geometry.room, &frame)) return ExitFailed;
    ProgressBegin(Text("frame %d of %d", number, request.frames), request.seconds);
    int32_t code = ReadFrame(session, request, &frame);
    if (code == QV_ERROR_NONE && !FetchInternal(session, &frame)) code = QV_ERROR_IMAGE_BUFFER;
    ProgressEnd();
    if (code != QV_ERROR_NONE) {
        Complain(Text("taking frame %d of %d with camera %d, %s", number, request.frames,
                      session.camera, CameraText(session).c_str()),
                 LibraryText(code), LibraryAdvice(code));
        return ExitFailed;
    }
    if (frame.broken && !request.keepBroken) {
        std::fprintf(stderr,
                     "qvn: broken off after %.1f of %.1f s, the frame was not kept "
                     "(--keep-broken keeps it)\n",
                     frame.exposedSeconds, frame.requestedSeconds);
        return ExitBroken;
    }
    return SaveOutputs(frame, request, number) ? ExitDone : ExitFailed;
}

int TakeFrames(Session* session, const ExposeRequest& request)
{
    FrameGeometry geometry;
    if (!PreparePicture(*session, request.picture, &geometry)) return ExitFailed;
    int exitCode = ExitDone;
    if (!Cool(session, request, &exitCode)) return exitCode;
    for (int32_t number = 1; number <= request.frames; ++number) {
        if (BreakRequested()) return ExitBroken;
        if (request.cool && !RegulationLives(*session)) return ExitFailed;
        exitCode = TakeFrame(*session, request, number, geometry);
        if (exitCode != ExitDone) return exitCode;
    }
    return BreakRequested() ? ExitBroken : ExitDone;
}

} // namespace

int RunExpose(const ExposeRequest& request)
{
    if (!OutputsArePossible(request)) return ExitFailed;
    Session session;
    if (!OpenSession(request.camera, request.cool ? QV_OPTION_REGULATION : 0, &session)) {
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    const SessionCloser closer = {session, request.keepCooling};
    return TakeFrames(&session, request);
}
