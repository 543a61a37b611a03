// qvn expose: frames from the camera to files.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numeric>

#include "tools/breaker.h"
#include "tools/commands.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

// The frame of an exposure that a signal came ahead of has nothing to be kept.
void BreakFrame(int32_t camera)
{
    if (!BreakRequested()) return;
    QvnsState state = {};
    qvns_state(camera, &state);
    if (state.Frame == QVNS_FRAME_EXPOSING) {
        qvns_finish(camera);
    } else if (state.Frame < QVNS_FRAME_EXPOSING) {
        qvns_abort(camera, 0.0);
    }
}

int32_t AwaitFrame(int32_t camera, uint32_t number)
{
    constexpr double LookEvery = 0.05; // seconds
    for (;;) {
        const int32_t code = qvns_wait(camera, number, LookEvery);
        if (code != QVNS_ERROR_TIME) return code;
        BreakFrame(camera);
    }
}

// One that the layer takes.
int32_t TakeOrdinary(const Session& session, const ExposeRequest& request, FrameRecord* frame)
{
    QvnsExposure exposure;
    qvns_init_exposure(&exposure);
    exposure.Seconds = request.seconds;
    exposure.Light = request.light ? 1 : 0;
    const WindowRequest& window = request.picture.window;
    if (window.set) {
        exposure.X = window.x;
        exposure.Y = window.y;
        exposure.Width = window.width;
        exposure.Height = window.height;
    }
    exposure.Trigger = request.trigger ? 1 : 0;
    exposure.TriggerLimit = request.triggerLimit;
    uint32_t number = 0;
    int32_t code = qvns_start_exposure(session.camera, &exposure, &number);
    if (code == QV_ERROR_NONE) code = AwaitFrame(session.camera, number);
    frame->missing = code == QVNS_ERROR_ABORTED;
    if (code != QV_ERROR_NONE) return frame->missing ? QV_ERROR_NONE : code;
    QvnsMetadata metadata = {};
    code = qvns_borrow(session.camera, number, &frame->borrowed, &metadata);
    if (code == QV_ERROR_NONE) NoteMetadata(session, metadata, frame);
    return code;
}

// One that is fetched in steps, and tells what the host knows at its start.
int32_t TakeInSteps(const Session& session, const ExposeRequest& request,
                    const std::shared_ptr<FrameRecord>& frame)
{
    frame->light = request.light;
    frame->requestedSeconds = request.seconds;
    frame->exposedSeconds = request.seconds;
    NoteCamera(session, request.picture, frame.get());
    const double start = SteadySeconds();
    const int32_t code = TakeArmed(session, request.armed, request.seconds, frame);

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

// One attempt at a frame: the code of what failed, or 0.
int32_t ReadFrame(const Session& session, const ExposeRequest& request,
                  const std::shared_ptr<FrameRecord>& frame)
{
    frame->cooling = request.cooling.wanted;
    frame->targetCelsius = request.cooling.target;
    return request.armed.wanted ? TakeInSteps(session, request, frame)
                                : TakeOrdinary(session, request, frame.get());
}

int32_t Recoveries(const Session& session)
{
    QvnsState state = {};
    qvns_state(session.camera, &state);
    return state.Recoveries;
}

bool IsOpen(const Session& session)
{
    QvnsState state = {};
    qvns_state(session.camera, &state);
    return state.Camera == QVNS_CAMERA_OPEN;
}

// A frame that failed because the camera was gone is taken again when it is back; one that
// failed otherwise is not, even if the camera was gone earlier. `recoveries` is their number
// ahead of the frame.
bool IsWorthAnother(const Session& session, const ExposeRequest& request, int32_t code,
                    int32_t recoveries)
{
    const double comeBack = request.camera.comeBack;
    const bool byLink = code > QV_ERROR_NONE || code == QVNS_ERROR_FAULT;
    if (comeBack <= 0.0 || !byLink || BreakRequested()) return false;
    // The layer does not look into what fetches frames in steps.
    if (request.armed.wanted && IsOpen(session)) qvns_recover(session.camera, 0.0);
    const bool wasGone = !IsOpen(session) || Recoveries(session) > recoveries;
    if (!wasGone || !CameraIsThere(session, comeBack)) return false;
    FrameGeometry same;
    return !request.armed.wanted || PrepareArmed(session, request.picture, &same);
}

// Of codes that mean more where the camera's input was to start the exposure.
std::string FrameAdvice(const ExposeRequest& request, int32_t code)
{
    const bool triggered =
        request.trigger || (request.camera.options & QV_OPTION_EXTERNAL_TRIGGER) != 0;
    if (triggered && code == QVNS_ERROR_ARGUMENT) {
        return "without --trigger or --options 4 on platforms 1, 28 (on USB), 29, 48, 61, 200, 205 "
               "and 400, whose input cannot be waited for";
    }
    if (triggered && code == QVNS_ERROR_OVER_TIME) {
        return "check the signal at the camera's input, or a longer --trigger-limit";
    }
    return LibraryAdvice(code);
}

// The exit code so far; ExitDone: go on.
int KeepFrame(const ExposeRequest& request, int32_t number, const FrameRecord& frame)
{
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

// The same.
int TakeFrame(const Session& session, const ExposeRequest& request, int32_t number,
              const FrameGeometry& geometry)
{
    constexpr int32_t MostAttempts = 3;
    for (int32_t attempt = 1;; ++attempt) {
        const int32_t recoveries = Recoveries(session);
        const auto frame = std::make_shared<FrameRecord>();
        frame->width = geometry.width;
        frame->height = geometry.height;
        if (request.armed.wanted && !MakeRoom(geometry.room, frame.get())) return ExitFailed;
        ProgressBegin(Text("frame %d of %d", number, request.frames), request.seconds);
        const int32_t code = ReadFrame(session, request, frame);
        ProgressEnd();
        if (code == QV_ERROR_NONE) {
            const int exitCode = KeepFrame(request, number, *frame);
            if (frame->borrowed != nullptr) qvns_return(session.camera);
            return exitCode;
        }
        Complain(Text("taking frame %d of %d with camera %d, %s", number, request.frames,
                      session.camera, CameraText(session).c_str()),
                 FailureText(session, code), FrameAdvice(request, code));
        if (attempt == MostAttempts || !IsWorthAnother(session, request, code, recoveries)) {
            return BreakRequested() ? ExitBroken : ExitFailed;
        }
    }
}

int TakeFrames(Session* session, const ExposeRequest& request)
{
    FrameGeometry geometry;
    if (!PreparePicture(*session, request.picture, &geometry)) return ExitFailed;
    if (request.armed.wanted && !PrepareArmed(*session, request.picture, &geometry)) {
        return ExitFailed;
    }
    int exitCode = ExitDone;
    const double comeBack = request.camera.comeBack;
    if (!CoolDown(session, request.cooling, comeBack, &exitCode)) return exitCode;
    for (int32_t number = 1; number <= request.frames; ++number) {
        if (BreakRequested()) return ExitBroken;
        if (!CameraIsThere(*session, comeBack)) return BreakRequested() ? ExitBroken : ExitFailed;
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
    if (!OpenSession(request.camera, CallsBy::Layer, &session)) {
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    const SessionCloser closer = {session, request.cooling.keep};
    const int exitCode = TakeFrames(&session, request);
    if (request.cooling.keep) return exitCode;
    return WarmUp(&session, request.cooling.course, exitCode);
}
