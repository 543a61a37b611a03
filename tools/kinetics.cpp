// qvn kinetics: series of windows, and series that are shifted side by side in one frame.
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "tools/breaker.h"
#include "tools/commands.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/safe_file.h"
#include "tools/text.h"

namespace {

constexpr int32_t ProgressSlot = 64, ExposureSlot = 65; // of QV_SetFunction
constexpr double FitsHead = 65536.0;                    // bytes, with what fills the last block

// On all others the windows begin with the first row that is read, whatever was asked for.
bool WindowsHaveRows(int32_t platform)
{
    return platform == 70 || platform == 71;
}

bool ShiftsCharge(int32_t platform)
{
    return (platform >= 40 && platform <= 42) || (platform >= 44 && platform <= 47);
}

// Others have a shutter that the exposure itself opens, or none.
bool HoldsShutterOpen(int32_t platform)
{
    return platform == 25 || platform == 44 || platform == 47;
}

// The series that is being taken: what the reports of its readouts tell of it. They carry
// no pointer of the host, so this is one for the program.
struct SeriesRun {
    std::vector<uint16_t*> buffers;
    double seconds = 0.0;
    bool cooling = false;
    double regulatedAt = 0.0;
    size_t begun = 0; // readouts
    size_t cut = 0;   // the readout, from 1, whose exposure a signal broke; 0: none
    double firstAt = 0.0, lastAt = 0.0;
};

SeriesRun Run;

bool IsBreakable(double seconds)
{
    // The library shortens exposures of more than 500 whole milliseconds only.
    return std::trunc(seconds * 1000.0) > 500.0;
}

void NoteReadout()
{
    ++Run.begun;
    Run.lastAt = SteadySeconds();
    if (Run.begun == 1) Run.firstAt = Run.lastAt;
    if (BreakRequested() && Run.cut == 0 && IsBreakable(Run.seconds)) Run.cut = Run.begun;
}

void ShowPart(size_t frame, const std::string& detail)
{
    const size_t count = Run.buffers.size();
    ProgressPart(static_cast<int32_t>(100 * (frame - 1) / count),
                 Text("frame %zu of %zu%s", frame, count, detail.c_str()));
}

// In long exposures the regulation goes on, up to the last second.
void Regulate(double secondsLeft, int32_t camera)
{
    constexpr double Every = 0.5, Quiet = 1.0;
    const double now = SteadySeconds();
    if (!Run.cooling || secondsLeft < Quiet || now < Run.regulatedAt + Every) return;
    Run.regulatedAt = now;
    QV_TemperatureHandle(camera);
}

void OnSeriesExposure(const char* secondsLeft, int32_t camera)
{
    Regulate(std::strtod(secondsLeft, nullptr), camera);
    ShowPart(std::min(Run.begun + 1, Run.buffers.size()), Text(", %s s left", secondsLeft));
}

// A series has no other end than a frame without a buffer.
void OnSeriesProgress(const char* text, int32_t percent, int32_t camera)
{
    const bool begins = text != nullptr && std::strcmp(text, "Image downloading") == 0;
    if (begins) NoteReadout();
    if (BreakRequested() && Run.begun < Run.buffers.size()) Run.buffers[Run.begun] = nullptr;
    if (begins) ShowPart(Run.begun, "");
    if (Run.begun == 0) ShowLibraryProgress(text, percent, camera);
}

// Frames that are whole. A readout that failed is the last one that began.
size_t WholeFrames(int32_t code)
{
    if (code == QV_ERROR_NONE && Run.cut == 0) return Run.buffers.size();
    if (Run.cut > 0) return Run.cut - 1;
    if (code == QV_ERROR_IMAGE_BUFFER && BreakRequested()) return Run.begun;
    return Run.begun > 0 ? Run.begun - 1 : 0;
}

bool MemoryHolds(double bytes)
{
    const double there =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    if (bytes < there) return true;
    Complain("taking the series",
             Text("it has %.1f GB, and this machine %.1f GB of memory", bytes / 1e9, there / 1e9),
             "fewer --frames or a smaller --window");
    return false;
}

// A series cannot be taken again: better no series than one that cannot be kept.
bool DiskHolds(const std::string& path, double bytes)
{
    struct statvfs disk = {};
    const std::string folder = WholeFolder(path);
    if (statvfs(folder.c_str(), &disk) != 0) return true;
    const double there = static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize);
    if (bytes + FitsHead < there) return true;
    Complain(
        "checking --output",
        Text("the file will have %.1f MB, and the disk has %.1f MB left", bytes / 1e6, there / 1e6),
        "free space, or another --output");
    return false;
}

bool SeriesRowsFit(const Session& session, const KineticsRequest& request)
{
    const int32_t row = request.picture.window.y;
    if (row == 0 || WindowsHaveRows(session.platform)) return true;
    Complain("choosing the window",
             Text("Y is %d: %s reads the windows of a series from the sensor's first row on", row,
                  session.platformName.c_str()),
             "a --window X,0,WIDTH,HEIGHT");
    return false;
}

// As the library takes it: counted from the end of the picture, but where the camera is told
// the row as it stands.
int32_t SeriesRow(const Session& session, int32_t row)
{
    if (WindowsHaveRows(session.platform)) return row;
    const int32_t camera = session.camera;
    return RunAtCamera(session, 1.0, [camera] { return QV_GetDimY(camera); }) - row;
}

void NoteStart(const Session& session, const KineticsRequest& request, double seconds,
               FrameRecord* frame)
{
    frame->light = request.light;
    frame->requestedSeconds = seconds;
    frame->exposedSeconds = seconds;
    frame->cooling = request.cooling.wanted;
    frame->targetCelsius = request.cooling.target;
    frame->x = request.picture.window.x;
    frame->y = request.picture.window.y;
    NoteCamera(session, request.picture, frame);
}

// What goes on behind the caller's back, if the camera never answers, belongs to itself.
int32_t TakeSeries(const Session& session, const KineticsRequest& request,
                   const std::shared_ptr<FrameRecord>& frame)
{
    const int32_t row = SeriesRow(session, frame->y);
    const double one = request.seconds + ReadoutSeconds(session, request.picture);
    const double expected = one * static_cast<double>(frame->planes);
    BreakerArm(session.camera);
    const int32_t code = RunAtCamera(
        session, expected, [frame, row, seconds = request.seconds, camera = session.camera] {
            // Their number is counted by the reports.
            QV_SetFunction(ProgressSlot, reinterpret_cast<void*>(OnSeriesProgress), camera);
            QV_SetFunction(ExposureSlot, reinterpret_cast<void*>(OnSeriesExposure), camera);
            QV_Kinetics(frame->light ? 1 : 0, seconds, frame->planes, frame->x, row, frame->width,
                        frame->height, Run.buffers.data(), camera);
            return QV_Status(camera);
        });
    BreakerArm(-1);
    ProgressEnd();
    return code;
}

// Shrinks the series to what is whole.
void KeepWhole(size_t whole, FrameRecord* frame)
{
    if (whole < Run.buffers.size()) {
        frame->notes.push_back({"FRAMEREQ", static_cast<double>(frame->planes), true,
                                "frames requested, of which these came", ""});
    }
    frame->planes = static_cast<int32_t>(whole);
    if (Run.begun < 2) return;
    const double period = (Run.lastAt - Run.firstAt) / static_cast<double>(Run.begun - 1);
    frame->notes.push_back(
        {"FRAMEPER", period, false, "[s] mean time from frame to frame, host's clock", ""});
}

int SaveSeries(const Session& session, const KineticsRequest& request, int32_t code,
               FrameRecord* frame)
{
    const size_t wanted = Run.buffers.size();
    const size_t whole = WholeFrames(code);
    const bool broken = BreakRequested() && whole < wanted;
    KeepWhole(whole, frame);
    if (broken) {
        std::fprintf(stderr, "qvn: broken off, %zu of %zu frames are whole\n", whole, wanted);
    } else if (code != QV_ERROR_NONE) {
        Complain(Text("taking frame %zu of %zu with camera %d, %s", whole + 1, wanted,
                      session.camera, CameraText(session).c_str()),
                 FailureText(session, code), LibraryAdvice(code));
    }
    if (whole > 0 && !SaveFrameFiles(*frame, request.files, 1, 1)) return ExitFailed;
    if (code != QV_ERROR_NONE && !broken) return ExitFailed;
    return BreakRequested() ? ExitBroken : ExitDone;
}

int RunSeries(const Session& session, const KineticsRequest& request, const FrameGeometry& geometry)
{
    const auto frame = std::make_shared<FrameRecord>();
    frame->width = geometry.width;
    frame->height = geometry.height;
    const size_t one = PixelCount(*frame);
    const auto count = static_cast<size_t>(request.frames);
    const double bytes = 2.0 * static_cast<double>(one * count);
    if (!SeriesRowsFit(session, request) || !MemoryHolds(bytes) ||
        !DiskHolds(request.files.output, bytes) ||
        !MakeRoom(one * (count - 1) + geometry.room, frame.get())) {
        return ExitFailed;
    }
    frame->planes = request.frames;
    Run = SeriesRun{};
    Run.seconds = request.seconds;
    Run.cooling = request.cooling.wanted;
    for (size_t i = 0; i < count; ++i) Run.buffers.push_back(frame->pixels.data() + i * one);
    ProgressBegin(Text("series of %d frames", request.frames), request.seconds);
    NoteStart(session, request, request.seconds, frame.get());
    const int32_t code = TakeSeries(session, request, frame);
    return SaveSeries(session, request, code, frame.get());
}

bool ShiftsFit(const Session& session, const KineticsRequest& request)
{
    const std::string doing = "checking --shifts";
    if (!ShiftsCharge(session.platform)) {
        Complain(doing, Text("%s does not shift charge", session.platformName.c_str()),
                 "platforms 40 to 42, 44 or 47, or --frames for a series of windows");
        return false;
    }
    const int64_t rows = static_cast<int64_t>(request.shifts) * request.lines;
    if (rows > session.ccd.Ypix) {
        Complain(doing,
                 Text("%d shifts by %d lines are %lld rows, and %s has %d", request.shifts,
                      request.lines, static_cast<long long>(rows), session.sensorName.c_str(),
                      session.ccd.Ypix),
                 "fewer --shifts or --lines");
        return false;
    }
    return true;
}

// The shutter is open ahead of the first interval; the library closes it behind the last.
int32_t TakeShifted(const Session& session, const KineticsRequest& request,
                    const std::shared_ptr<FrameRecord>& frame)
{
    NoteStart(session, request, request.interval, frame.get());
    const double expected =
        request.interval * request.shifts + ReadoutSeconds(session, request.picture);
    const int32_t code =
        RunAtCamera(session, expected,
                    [frame, interval = request.interval, shifts = request.shifts,
                     lines = request.lines, camera = session.camera] {
                        QV_ClearCCD(camera);
                        if (frame->light) QV_ShutterControl(1, camera);
                        QV_KineticsCCD(0, interval, shifts, lines, frame->pixels.data(), camera);
                        return QV_Status(camera);
                    });
    ProgressEnd();
    return code;
}

int RunShifted(const Session& session, const KineticsRequest& request,
               const FrameGeometry& geometry)
{
    const auto frame = std::make_shared<FrameRecord>();
    frame->width = geometry.width;
    frame->height = geometry.height;
    if (!ShiftsFit(session, request) || !MakeRoom(geometry.room, frame.get())) return ExitFailed;
    if (request.light && !HoldsShutterOpen(session.platform)) {
        std::fprintf(stderr,
                     "qvn: %s does not hold its shutter open: light has to come by itself\n",
                     session.platformName.c_str());
    }
    ProgressStep(Text("%d shifts by %d lines, %g s apart: %.1f s", request.shifts, request.lines,
                      request.interval, request.shifts * request.interval));
    const int32_t code = TakeShifted(session, request, frame);
    if (code != QV_ERROR_NONE) {
        Complain(Text("reading the shifted frame with camera %d, %s", session.camera,
                      CameraText(session).c_str()),
                 FailureText(session, code), LibraryAdvice(code));
        return ExitFailed;
    }
    frame->notes = {
        {"SHIFTS", static_cast<double>(request.shifts), true, "shifts of the charge", ""},
        {"SHIFTLIN", static_cast<double>(request.lines), true, "lines of a shift", ""},
        {"INTERVAL", request.interval, false, "[s] ahead of each shift", ""}};
    if (!SaveFrameFiles(*frame, request.files, 1, 1)) return ExitFailed;
    return BreakRequested() ? ExitBroken : ExitDone;
}

int Take(Session* session, const KineticsRequest& request)
{
    FrameGeometry geometry;
    if (!PreparePicture(*session, request.picture, &geometry)) return ExitFailed;
    int exitCode = ExitDone;
    if (!CoolDown(session, request.cooling, 0.0, &exitCode)) return exitCode;
    if (BreakRequested()) return ExitBroken;
    return request.shifts > 0 ? RunShifted(*session, request, geometry)
                              : RunSeries(*session, request, geometry);
}

bool FormatFits(const KineticsRequest& request)
{
    const ImageFormat format = ChosenFormat(request.files);
    if (request.shifts > 0 || format == ImageFormat::Fits || format == ImageFormat::Raw)
        return true;
    Complain("checking --output", "a series goes to FITS, as a cube, or to raw pixels",
             "the ending .fits or .raw");
    return false;
}

} // namespace

int RunKinetics(const KineticsRequest& request)
{
    if (!FrameFilesAreFine(request.files, {1}) || !FormatFits(request)) return ExitFailed;
    Session session;
    if (!OpenSession(request.camera, CallsBy::Layer, &session)) {
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    const SessionCloser closer = {session, request.cooling.keep};
    const int exitCode = Take(&session, request);
    if (request.cooling.keep) return exitCode;
    return WarmUp(&session, request.cooling.course, exitCode);
}
