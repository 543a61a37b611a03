// qvn wheel: the filter wheel at the camera.
#include <cstdio>
#include <cstdlib>

#include "tools/breaker.h"
#include "tools/commands.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

constexpr int32_t AnyKind = -1;
constexpr int32_t FirmwareWheel = 48;

constexpr char EightSteps[] = "stepper, 8 positions";
constexpr char SixSteps[] = "stepper, 6 positions";
constexpr char ByNibbles[] = "controller, commands of 4 bits";
constexpr char ByBytes[] = "controller, commands of a byte";
constexpr char ByFirmware[] = "moved by the camera's firmware";

// A stepper is where it is believed to be: at 1 when the camera is opened. The others
// know their place.
enum class Place { Believed, Known };

struct WheelDrive {
    int32_t firstPlatform, lastPlatform;
    int32_t kind;
    const char* name;
    int32_t positions; // 0: not known
    Place place;
};

// The first row that fits holds.
const WheelDrive Drives[] = {
    {22, 25, 3, ByNibbles, 6, Place::Known},
    {22, 25, 4, ByBytes, 32, Place::Known},
    {28, 28, 4, ByBytes, 32, Place::Known},
    {29, 30, 3, ByNibbles, 6, Place::Known},
    {29, 30, 4, ByBytes, 32, Place::Known},
    {40, 42, AnyKind, EightSteps, 8, Place::Believed},
    {44, 47, 3, ByNibbles, 6, Place::Known},
    {44, 47, 4, ByBytes, 32, Place::Known},
    {44, 47, 2, SixSteps, 6, Place::Believed},
    {44, 47, AnyKind, EightSteps, 8, Place::Believed},
    {48, 48, AnyKind, ByFirmware, 0, Place::Known},
    {60, 61, AnyKind, ByNibbles, 6, Place::Known},
    {200, 200, AnyKind, ByNibbles, 6, Place::Known},
    {300, 300, AnyKind, ByFirmware, 0, Place::Known},
    {450, 450, AnyKind, ByFirmware, 0, Place::Known},
};

const WheelDrive* FindDrive(int32_t platform, int32_t kind)
{
    for (const WheelDrive& drive : Drives) {
        const bool fits = drive.kind == AnyKind ? kind != 0 : drive.kind == kind;
        if (platform >= drive.firstPlatform && platform <= drive.lastPlatform && fits) {
            return &drive;
        }
    }
    return nullptr;
}

std::string KindsOf(int32_t platform)
{
    std::string kinds;
    for (int32_t kind = 1; kind <= 4; ++kind) {
        const WheelDrive* drive = FindDrive(platform, kind);
        if (drive == nullptr) continue;
        kinds += Text("%s%d (%s)", kinds.empty() ? "" : ", ", kind, drive->name);
    }
    return kinds;
}

bool IsAction(const WheelRequest& request)
{
    return request.calibrate || request.position > 0 || request.handOver;
}

void PrintWheel(const Session& session, int32_t kind, const WheelDrive* drive)
{
    std::printf("Camera        %d, %s\n", session.camera, CameraText(session).c_str());
    if (kind == 0) {
        std::printf("Filter wheel  none is set up\n");
    } else if (drive == nullptr) {
        std::printf("Filter wheel  kind %d, which %s does not drive\n", kind,
                    session.platformName.c_str());
    } else {
        std::printf("Filter wheel  kind %d: %s\n", kind, drive->name);
        std::printf("Place         %s\n", drive->place == Place::Known
                                              ? "known to the wheel, which does not tell it"
                                              : "counted from the zero position");
    }
    const std::string kinds = KindsOf(session.platform);
    std::printf("Kinds         %s\n", kinds.empty() ? "none" : kinds.c_str());
}

bool RequestFits(const Session& session, int32_t kind, const WheelDrive* drive,
                 const WheelRequest& request)
{
    if (drive == nullptr) {
        const std::string kinds = KindsOf(session.platform);
        Complain("turning the filter wheel",
                 kind == 0 ? "no wheel is set up for this camera"
                           : Text("%s does not drive wheels of kind %d",
                                  session.platformName.c_str(), kind),
                 kinds.empty() ? "another camera: this one has no wheel"
                               : "--kind or FilterWheel in camera.cfg: " + kinds);
        return false;
    }
    if (drive->positions > 0 && request.position > drive->positions) {
        Complain("turning the filter wheel",
                 Text("--position %d: a wheel of kind %d (%s) has positions 1 to %d",
                      request.position, kind, drive->name, drive->positions),
                 "another --position, or another --kind");
        return false;
    }
    if (drive->place == Place::Believed && request.handOver && !request.calibrate &&
        request.position == 0) {
        Complain("setting the filter wheel",
                 "a stepper keeps no settings, they act on moves of the same run",
                 "--calibrate or --position beside them");
        return false;
    }
    return true;
}

// The exit code.
int EndOfStep(const Session& session, const std::string& doing, int32_t code)
{
    ProgressEnd();
    if (code > QV_ERROR_NONE && session.platform == FirmwareWheel) {
        Complain(doing, Text("the wheel answered %d", code),
                 "check that a wheel is plugged in and turns freely");
        return ExitFailed;
    }
    if (code != QV_ERROR_NONE) {
        Complain(doing, FailureText(session, code), LibraryAdvice(code));
        return ExitFailed;
    }
    return BreakRequested() ? ExitBroken : ExitDone;
}

// Settings go over by a call of the library that says whether the zero position is found with
// them.
using SettingsCall = decltype(&QV_SetFW);

int32_t SendSettings(const Session& session, const WheelRequest& request, SettingsCall call)
{
    constexpr double StepSeconds = 0.02, UsualSeconds = 30.0;
    const double expected = UsualSeconds + StepSeconds * std::abs(request.zeroOffset);
    const int32_t camera = session.camera;
    return RunAtCamera(session, expected,
                       [camera, call, setting = request.setting, hold = request.hold,
                        zeroOffset = request.zeroOffset] {
                           call(setting, hold, zeroOffset, camera);
                           return QV_Status(camera);
                       });
}

int FindZero(const Session& session, const WheelRequest& request)
{
    const double start = SteadySeconds();
    ProgressStep("Filter wheel: finding the zero position");
    const int32_t code = request.handOver ? SendSettings(session, request, QV_OpenFW)
                                          : qvns_find_filters(session.camera, 0.0);
    const int exitCode = EndOfStep(session, "finding the filter wheel's zero position", code);
    if (exitCode == ExitFailed) return exitCode;
    Announce(Text("Zero position found in %.1f s", SteadySeconds() - start));
    return exitCode;
}

int HandOver(const Session& session, const WheelRequest& request)
{
    ProgressStep("Filter wheel: handing over the settings");
    const int32_t code = SendSettings(session, request, QV_SetFW);
    const int exitCode = EndOfStep(session, "setting the filter wheel", code);
    if (exitCode == ExitFailed) return exitCode;
    Announce(Text("Setting %d, hold %d and zero offset %d handed over", request.setting,
                  request.hold, request.zeroOffset));
    return exitCode;
}

int GoTo(const Session& session, int32_t position)
{
    const double start = SteadySeconds();
    ProgressStep(Text("Filter wheel: going to position %d", position));
    const int32_t code = qvns_set_filter(session.camera, position, 0.0);
    const int exitCode = EndOfStep(session, Text("turning the filter wheel to %d", position), code);
    if (exitCode == ExitFailed) return exitCode;
    Announce(Text("Turned to position %d in %.1f s", position, SteadySeconds() - start));
    return exitCode;
}

int Turn(const Session& session, const WheelDrive& drive, const WheelRequest& request)
{
    int exitCode = ExitDone;
    const bool lost =
        drive.place == Place::Believed && request.position > 0 && !request.standsAtOne;
    const bool findsZero = request.calibrate || lost;
    if (findsZero) exitCode = FindZero(session, request);
    if (!findsZero && request.handOver) exitCode = HandOver(session, request);
    if (exitCode == ExitDone && request.position > 0) exitCode = GoTo(session, request.position);
    return exitCode;
}

} // namespace

int RunWheel(const WheelRequest& request)
{
    Session session;
    if (!OpenSession(request.camera, CallsBy::Layer, &session)) {
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    const SessionCloser closer = {session, true};
    const int32_t camera = session.camera;
    const int32_t kind = RunAtCamera(session, 1.0, [camera] { return QV_IsThereFW(camera); });
    if (kind < 0) return EndOfStep(session, "asking for the filter wheel", kind);
    const WheelDrive* drive = FindDrive(session.platform, kind);
    if (!IsAction(request)) {
        PrintWheel(session, kind, drive);
        return BreakRequested() ? ExitBroken : ExitDone;
    }
    if (!RequestFits(session, kind, drive, request)) return ExitFailed;
    if (BreakRequested()) return ExitBroken;
    return Turn(session, *drive, request);
}
