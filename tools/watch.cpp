// Readings of the temperature, one after the other.
#include "tools/watch.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>

#include "tools/breaker.h"
#include "tools/canvas.h"
#include "tools/outputs.h"
#include "tools/plot.h"
#include "tools/report.h"
#include "tools/safe_file.h"
#include "tools/text.h"

namespace {

bool OutputsAreFine(const WatchRequest& request)
{
    if (!request.plot.empty() && !PlotFormatIsKnown(request.plot)) {
        Complain("checking --plot", Text("%s: the ending tells no format", request.plot.c_str()),
                 "the ending .png or .svg");
        return false;
    }
    if (!OutputIsFine("--log", request.log, request.overwrite) ||
        !OutputIsFine("--plot", request.plot, request.overwrite)) {
        return false;
    }
    if (request.log.empty() || !SameOutput(request.log, request.plot)) return true;
    Complain("checking --plot", Text("%s is the file of --log too", request.plot.c_str()),
             "another name");
    return false;
}

// The log reaches the disk now and then, so that a run of hours is not lost with the power.
constexpr double SyncSeconds = 10.0;

struct LogFile {
    FILE* file = nullptr; // null: none is wanted, or it failed
    bool failed = false;
    size_t count = 0;             // readings in it
    double synced = -SyncSeconds; // time of the reading that was the last to reach the disk
};

// The part stays. Says why, once.
void GiveUpLog(LogFile* log, const WatchRequest& request)
{
    const std::string reason = std::strerror(errno);
    if (log->file != nullptr) std::fclose(log->file);
    log->file = nullptr;
    log->failed = true;
    Complain("writing --log",
             Text("%s: %s; what was written is in %s, and nothing more is logged",
                  request.log.c_str(), reason.c_str(), PartName(request.log).c_str()),
             "free space, or another name");
}

bool BeginLog(const WatchRequest& request, LogFile* log)
{
    if (request.log.empty()) return true;
    std::string error;
    const std::string part = BeginFile(request.log, request.overwrite, &error);
    if (part.empty()) {
        Complain("writing --log", error, "another name");
        return false;
    }
    log->file = std::fopen(part.c_str(), "we");
    const char* head = "seconds,temperature_celsius,target_celsius,cooler_power_percent,"
                       "cooler_status\n";
    if (log->file == nullptr || std::fputs(head, log->file) < 0) GiveUpLog(log, request);
    return true;
}

void LogReading(LogFile* log, const TemperatureReading& reading, const WatchRequest& request)
{
    if (log->file == nullptr) return;
    const std::string target = request.cools ? Text("%.3f", request.target) : "";
    bool written =
        std::fprintf(log->file, "%.3f,%.3f,%s,%.1f,%s\n", reading.seconds, reading.celsius,
                     target.c_str(), reading.power, reading.cooler) > 0 &&
        std::fflush(log->file) == 0;
    if (written && reading.seconds >= log->synced + SyncSeconds) {
        written = fsync(fileno(log->file)) == 0;
        log->synced = reading.seconds;
    }
    if (!written) {
        GiveUpLog(log, request);
    } else {
        ++log->count;
    }
}

// Says why if it fails.
bool EndLog(LogFile* log, const WatchRequest& request)
{
    if (log->file == nullptr) return !log->failed;
    std::string error;
    FILE* file = log->file;
    log->file = nullptr;
    if (std::fclose(file) != 0) {
        GiveUpLog(log, request);
        return false;
    }
    if (!CommitFile(request.log, request.overwrite, &error)) {
        Complain("writing --log", error, "free space, or another name");
        return false;
    }
    Announce(Text("Wrote %s, %zu readings", request.log.c_str(), log->count));
    return true;
}

void PrintHead()
{
    std::printf(" time [s]  sensor [C]  target [C]  power [%%]  cooler\n");
}

void PrintReading(const Session& /*session*/, const WatchRequest& request,
                  const std::vector<TemperatureReading>& readings)
{
    const TemperatureReading& reading = readings.back();
    const std::string target = request.cools ? Text("%+.1f", request.target) : "-";
    std::printf("%9.1f  %+11.1f  %8s  %9.1f  %s\n", reading.seconds, reading.celsius,
                target.c_str(), reading.power, reading.cooler);
    std::fflush(stdout);
}

bool SaveCourse(const Session& session, const WatchRequest& request,
                const std::vector<TemperatureReading>& readings)
{
    if (request.plot.empty()) return true;
    std::string error;
    std::string title = CameraText(session);
    std::optional<double> target;
    if (request.cools) {
        target = request.target;
        title += Text(", target %.1f \xC2\xB0"
                      "C",
                      request.target);
    }
    if (!SavePlot(readings, target, title, request.plot, request.overwrite, &error)) {
        Complain("writing --plot", error, "free space, or another name");
        return false;
    }
    Announce(Text("Wrote %s, a plot", request.plot.c_str()));
    return true;
}

// Whether somebody still gets to see the readings.
bool AnybodyLooks(const WatchRequest& request)
{
    return !OutputFailed() || !request.log.empty() || !request.plot.empty();
}

// A log is written for what there is, also after a break or a failure.
int Watch(Session* session, const WatchRequest& request, const WatchView& view)
{
    if (BreakRequested()) return ExitBroken;
    std::vector<TemperatureReading> readings;
    LogFile log;
    if (!BeginLog(request, &log)) return ExitFailed;
    view.begin();
    if (request.cools) StartCooling(session, request.target, request.course);
    const double start = SteadySeconds();
    bool alive = true;
    for (int32_t number = 0; alive && AnybodyLooks(request) && !BreakRequested(); ++number) {
        readings.push_back(TakeReading(*session, start));
        view.show(*session, request, readings);
        LogReading(&log, readings.back(), request);
        const double next = number * request.interval + request.interval;
        if (next > request.seconds + request.interval / 1000.0) break;
        IdleOrBreak(std::max(next - (SteadySeconds() - start), 0.0));
        alive = CameraIsThere(*session, request.camera.comeBack) || BreakRequested();
    }
    const bool logged = EndLog(&log, request);
    const bool drawn = SaveCourse(*session, request, readings);
    int exitCode = alive && logged && drawn ? ExitDone : ExitFailed;
    if (alive && !request.keepCooling) exitCode = WarmUp(session, request.course, exitCode);
    if (exitCode == ExitFailed) return exitCode;
    return BreakRequested() && std::isfinite(request.seconds) ? ExitBroken : ExitDone;
}

} // namespace

const WatchView TableView = {PrintHead, PrintReading};

int RunWatch(const WatchRequest& request, const WatchView& view)
{
    if (!OutputsAreFine(request)) return ExitFailed;
    Session session;
    if (!OpenSession(request.camera, CallsBy::Layer, &session)) {
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    // What was cooled ahead of a watch that does not cool stays so.
    const SessionCloser closer = {session, request.keepCooling};
    return Watch(&session, request, view);
}
