// The cooler: switching it on, watching it, waiting until the sensor is cold, warming it up.
#include "tools/cooling.h"

#include <algorithm>
#include <limits>

#include "tools/breaker.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

constexpr double LookEvery = 0.1;    // seconds
constexpr double WarmCelsius = 25.0; // where a warm-up ends, if the cooler has not ended it

void ComplainAboutWait(const TemperatureReading& reading, const CoolingRequest& request)
{
    Complain(Text("waiting for %+.1f C", request.target),
             Text("the sensor is at %+.1f C after %.0f s, cooler at %.1f %%", reading.celsius,
                  reading.seconds, reading.power),
             "a warmer --cool, a larger --tolerance, or a longer --wait-limit");
}

const char* CoolerText(const QvnsTemperature& temperature)
{
    if (temperature.Mode == QVNS_COOLING_OFF) return "off";
    if (temperature.Mode == QVNS_COOLING_WARM) return "warming up";
    if (temperature.Saturated != 0) return "at its most";
    if (temperature.Mode == QVNS_COOLING_RAMP) return "ramp";
    return temperature.Stable != 0 ? "at target" : "regulating";
}

// The exit code, or ExitDone: cold.
int WaitUntilCold(const Session& session, const CoolingRequest& request, double comeBackSeconds)
{
    const double start = SteadySeconds();
    for (;;) {
        if (BreakRequested()) return ExitBroken;
        const int32_t code = qvns_wait_stable(session.camera, LookEvery);
        if (code == QV_ERROR_NONE) break;
        const TemperatureReading reading = TakeReading(session, start);
        // Ahead of all else: the readings may have stopped.
        if (reading.seconds > request.waitLimit) {
            ComplainAboutWait(reading, request);
            return ExitFailed;
        }
        if (!CameraIsThere(session, comeBackSeconds)) {
            return BreakRequested() ? ExitBroken : ExitFailed;
        }
        ProgressState(Text("cooling: %+.1f C, target %+.1f C, cooler %.1f %%", reading.celsius,
                           request.target, reading.power));
    }
    ProgressEnd();
    return ExitDone;
}

} // namespace

void StartCooling(Session* session, double target, const CoolingCourse& course)
{
    // Readings are in steps, so a tolerance of nothing means the target itself.
    constexpr double Least = 1e-6;
    session->cooling = true;
    const QvnsCooling cooling = {target, course.ramp, std::max(course.tolerance, Least),
                                 course.stable};
    qvns_cool(session->camera, &cooling);
}

TemperatureReading TakeReading(const Session& session, double startSeconds)
{
    QvnsTemperature temperature = {};
    qvns_temperature(session.camera, &temperature);
    TemperatureReading reading;
    reading.seconds = SteadySeconds() - startSeconds;
    reading.celsius =
        temperature.Readings > 0 ? temperature.Measured : std::numeric_limits<double>::quiet_NaN();
    reading.power = temperature.Power;
    reading.cooler = CoolerText(temperature);
    return reading;
}

bool CoolDown(Session* session, const CoolingRequest& request, double comeBackSeconds,
              int* exitCode)
{
    if (!request.wanted) return true;
    *exitCode = ExitBroken;
    if (BreakRequested()) return false;
    StartCooling(session, request.target, request.course);
    *exitCode = WaitUntilCold(*session, request, comeBackSeconds);
    return *exitCode == ExitDone;
}

int WarmUp(Session* session, const CoolingCourse& course, int exitCode)
{
    if (course.warmUp <= 0.0 || !session->cooling || BreakRequested()) return exitCode;
    int32_t code = qvns_warm_up(session->camera, WarmCelsius, course.warmUp);
    const double start = SteadySeconds();
    while (code == QV_ERROR_NONE || code == QVNS_ERROR_TIME) {
        code = qvns_wait_stable(session->camera, LookEvery);
        if (code != QVNS_ERROR_TIME || BreakRequested()) break;
        const TemperatureReading reading = TakeReading(*session, start);
        ProgressState(Text("warming up: %+.1f C, cooler %.1f %%", reading.celsius, reading.power));
        if (!CameraIsThere(*session, 0.0)) break;
    }
    ProgressEnd();
    session->cooling = code != QV_ERROR_NONE;
    if (!session->cooling) return exitCode;
    // Whoever broke it off knows, and a camera that is gone has been told of.
    if (code != QVNS_ERROR_TIME) {
        Complain("warming up", FailureText(*session, code), LibraryAdvice(code));
    }
    if (exitCode != ExitDone) return exitCode;
    return BreakRequested() ? ExitBroken : ExitFailed;
}
