// qvn expose: frames from the camera to files.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

#include "tools/breaker.h"
#include "tools/commands.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

// What a frame's file tells, as it is at this moment.
void NoteStart(const Session& session, const ExposeRequest& request, FrameRecord* frame)
{
    frame->light = request.light;
    frame->requestedSeconds = request.seconds;
    frame->exposedSeconds = request.seconds;
    frame->cooling = request.cooling.wanted;
    frame->targetCelsius = request.cooling.target;
    NoteCamera(session, frame);
    // The simulated camera counts the window's origin in unbinned pixels.
    const bool unbinned = session.platform == QV_PLATFORM_DEMO;
    frame->x = request.picture.window.x / (unbinned ? frame->horBinning : 1);
    frame->y = request.picture.window.y / (unbinned ? frame->verBinning : 1);
}

// False: broken off ahead of its end, and there is no frame.
bool CallLibrary(const Session& session, const ExposeRequest& request, uint16_t* buffer)
{
    if (request.armed.wanted) return TakeArmed(session, request.armed, request.seconds, buffer);
    const int32_t shutter = request.light ? 1 : 0;
    const WindowRequest& window = request.picture.window;
    if (window.set) {
        QV_FGetWinCCD(shutter, request.seconds, window.x, window.y, window.width, window.height,
                      buffer, session.camera);
    } else {
        QV_FGetCCD(shutter, request.seconds, buffer, session.camera);
    }
    return true;
}

// The host holds the service off itself and takes the fast calls: so nothing waits
// between the noted start and the exposure, and a failed frame leaves no hold behind.
int32_t ReadFrame(const Session& session, const ExposeRequest& request, FrameRecord* frame)
{
    BreakerArm(session.camera);
    QV_StopNow(session.camera);
    NoteStart(session, request, frame);
    const double start = SteadySeconds();
    const bool complete = CallLibrary(session, request, frame->pixels.data());
    const int32_t code = QV_Status(session.camera);
    QV_StartNow(session.camera);
    BreakerArm(-1);

    // The library shortens exposures of more than 500 whole milliseconds only, and does
    // not tell.
    const bool breakable = std::trunc(request.seconds * 1000.0) > 500.0;
    const double exposed = BreakSeconds() - start;
    frame->missing = !complete;
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
    if (frame.missing) {
        std::fprintf(stderr, "qvn: broken off, the frame was given up\n");
        return ExitBroken;
    }
    if (frame.broken && !request.keepBroken) {
        std::fprintf(stderr,
                     "qvn: broken off after %.1f of %.1f s, the frame was not kept "
                     "(--keep-broken keeps it)\n",
                     frame.exposedSeconds, frame.requestedSeconds);
        return ExitBroken;
    }
    const auto count = static_cast<size_t>(request.frames);
    return SaveFrameFiles(frame, request.files, number, count) ? ExitDone : ExitFailed;
}

int TakeFrames(Session* session, const ExposeRequest& request)
{
    FrameGeometry geometry;
    if (!PreparePicture(*session, request.picture, &geometry)) return ExitFailed;
    if (request.armed.wanted && !PrepareArmed(*session, request.picture, &geometry)) {
        return ExitFailed;
    }
    int exitCode = ExitDone;
    if (!CoolDown(session, request.cooling, &exitCode)) return exitCode;
    for (int32_t number = 1; number <= request.frames; ++number) {
        if (BreakRequested()) return ExitBroken;
        if (request.cooling.wanted && !RegulationLives(*session)) return ExitFailed;
        exitCode = TakeFrame(*session, request, number, geometry);
        if (exitCode != ExitDone) return exitCode;
    }
    return BreakRequested() ? ExitBroken : ExitDone;
}

} // namespace

int RunExpose(const ExposeRequest& request)
{
    std::vector<int32_t> numbers(static_cast<size_t>(request.frames));
    std::iota(numbers.begin(), numbers.end(), 1);
    if (!FrameFilesAreFine(request.files, numbers)) return ExitFailed;
    Session session;
    if (!OpenSession(request.camera, request.cooling.wanted ? QV_OPTION_REGULATION : 0, &session)) {
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    const SessionCloser closer = {session, request.cooling.keep};
    return TakeFrames(&session, request);
}
