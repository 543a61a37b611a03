// qvn temperature: cools, logs and plots.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/breaker.h"
#include "tools/commands.h"
#include "tools/plot.h"
#include "tools/report.h"
#include "tools/safe_file.h"
#include "tools/text.h"

namespace {

bool OutputIsFine(const char* argument, const std::string& path, bool overwrite)
{
    std::string error;
    std::string advice;
    if (path.empty() || OutputIsPossible(path, overwrite, &error, &advice)) return true;
    Complain(Text("checking %s", argument), error, advice);
    return false;
}

bool OutputsAreFine(const TemperatureRequest& request)
{
    if (!request.plot.empty() && !PlotFormatIsKnown(request.plot)) {
        Complain("checking --plot", Text("%s: the ending tells no format", request.plot.c_str()),
                 "the ending .png or .svg");
        return false;
    }
    return OutputIsFine("--log", request.log, request.overwrite) &&
           OutputIsFine("--plot", request.plot, request.overwrite);
}

// The log grows with each reading, so that a run of hours is not lost with the power.
struct LogFile {
    FILE* file = nullptr; // null: none is wanted, or it failed
    bool failed = false;
    int failure = 0; // errno
};

void NoteFailure(LogFile* log)
{
    if (!log->failed) log->failure = errno;
    log->failed = true;
}

LogFile BeginLog(const std::string& path)
{
    LogFile log;
    if (path.empty()) return log;
    log.file = std::fopen(BeginFile(path).c_str(), "we");
    const char* head = "seconds,temperature_celsius,target_celsius,cooler_power_percent,"
                       "cooler_status\n";
    if (log.file == nullptr || std::fputs(head, log.file) < 0) NoteFailure(&log);
    return log;
}

void LogReading(LogFile* log, const TemperatureReading& reading, double target)
{
    if (log->file == nullptr || log->failed) return;
    const int written =
        std::fprintf(log->file, "%.3f,%.3f,%.3f,%.1f,%s\n", reading.seconds, reading.celsius,
                     target, reading.power, CoolerText(reading.status));
    if (written < 0 || std::fflush(log->file) != 0) NoteFailure(log);
}

// Says why if it fails.
bool EndLog(LogFile* log, const TemperatureRequest& request, size_t count)
{
    if (request.log.empty()) return true;
    if (log->file != nullptr && std::fclose(log->file) != 0) NoteFailure(log);
    std::string error = Text("%s: %s", request.log.c_str(), std::strerror(log->failure));
    if (log->failed) DiscardFile(request.log);
    if (log->failed || !CommitFile(request.log, request.overwrite, &error)) {
        Complain("writing --log", error, "free space, or another name");
        return false;
    }
    std::printf("Wrote %s, %zu readings\n", request.log.c_str(), count);
    return true;
}

void PrintReading(const TemperatureReading& reading, double target)
{
    std::printf("%9.1f  %+11.1f  %+8.1f  %9.1f  %s\n", reading.seconds, reading.celsius, target,
                reading.power, CoolerText(reading.status));
    std::fflush(stdout);
}

bool SaveCourse(const Session& session, const TemperatureRequest& request,
                const std::vector<TemperatureReading>& readings)
{
    if (request.plot.empty()) return true;
    std::string error;
    const std::string title = Text("%s, target %.1f \xC2\xB0"
                                   "C",
                                   CameraText(session).c_str(), request.target);
    if (!SavePlot(readings, request.target, title, request.plot, request.overwrite, &error)) {
        Complain("writing --plot", error, "free space, or another name");
        return false;
    }
    std::printf("Wrote %s, a plot\n", request.plot.c_str());
    return true;
}

// A log is written for what there is, also after a break or a failure.
int Watch(Session* session, const TemperatureRequest& request)
{
    std::vector<TemperatureReading> readings;
    LogFile log = BeginLog(request.log);
    std::printf(" time [s]  sensor [C]  target [C]  power [%%]  cooler\n");
    StartCooling(session, request.target);
    const double start = SteadySeconds();
    bool alive = true;
    for (int32_t number = 0; alive && !log.failed && !BreakRequested(); ++number) {
        readings.push_back(TakeReading(*session, start));
        PrintReading(readings.back(), request.target);
        LogReading(&log, readings.back(), request.target);
        const double next = number * request.interval + request.interval;
        if (next > request.seconds + request.interval / 1000.0) break;
        WaitOrBreak(std::max(next - (SteadySeconds() - start), 0.0));
        alive = RegulationLives(*session);
    }
    const bool logged = EndLog(&log, request, readings.size());
    const bool drawn = SaveCourse(*session, request, readings);
    if (!alive || !logged || !drawn) return ExitFailed;
    return BreakRequested() ? ExitBroken : ExitDone;
}

} // namespace

int RunTemperature(const TemperatureRequest& request)
{
    if (!OutputsAreFine(request)) return ExitFailed;
    Session session;
    if (!OpenSession(request.camera, QV_OPTION_REGULATION, &session)) {
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    const int exitCode = Watch(&session, request);
    CloseSession(session, request.keepCooling);
    return exitCode;
}
