// The cooler: switching it on, watching it, waiting until the sensor is cold.
#include "tools/cooling.h"

#include <cmath>

#include "tools/breaker.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

// With one camera the background reads every half second: three seconds.
constexpr int32_t ReadingsWanted = 6;

void ComplainAboutWait(const TemperatureReading& reading, const CoolingRequest& request)
{
    Complain(Text("waiting for %+.1f C", request.target),
             Text("the sensor is at %+.1f C after %.0f s, cooler at %.1f %%", reading.celsius,
                  reading.seconds, reading.power),
             "a warmer --cool, a larger --tolerance, or a longer --wait-limit");
}

} // namespace

void StartCooling(Session* session, double target)
{
    session->cooling = true;
    QV_SetTemp(target, QV_CELSIUS, session->camera);
}

TemperatureReading TakeReading(const Session& session, double startSeconds)
{
    TemperatureReading reading;
    reading.seconds = SteadySeconds() - startSeconds;
    reading.celsius = QV_GetTemp(nullptr, QV_CELSIUS, session.camera);
    reading.power = QV_GetPower(session.camera);
    reading.status = QV_CoolerStatus(session.camera);
    return reading;
}

const char* CoolerText(int32_t status)
{
    switch (status) {
    case QV_COOLER_OFF: return "off";
    case QV_COOLER_ON: return "on";
    case QV_COOLER_REGULATING: return "regulating";
    case QV_COOLER_AT_TARGET: return "at target";
    default: return "on by hand";
    }
}

bool RegulationLives(const Session& session)
{
    const int32_t code = QV_Status(session.camera);
    if (code == QV_ERROR_NONE) return true;
    Complain("reading the temperature in the background", LibraryText(code), LibraryAdvice(code));
    return false;
}

// QV_CheckTempEquil looks at a history that the library keeps for camera 0 only, so the
// readings are counted here.
CoolingResult WaitUntilCold(const Session& session, const CoolingRequest& request)
{
    const double start = SteadySeconds();
    uint32_t lastTick = QV_BckGnd(session.camera);
    int32_t inside = 0;
    while (inside < ReadingsWanted) {
        if (WaitOrBreak(0.1)) return CoolingResult::Broken;
        if (!RegulationLives(session)) return CoolingResult::Failed;
        // Ahead of all else: the readings may have stopped.
        if (SteadySeconds() - start > request.waitLimit) {
            ComplainAboutWait(TakeReading(session, start), request);
            return CoolingResult::Failed;
        }
        const uint32_t tick = QV_BckGnd(session.camera);
        if (tick == lastTick) continue;
        lastTick = tick;
        const TemperatureReading reading = TakeReading(session, start);
        inside = std::fabs(reading.celsius - request.target) <= request.tolerance ? inside + 1 : 0;
        ProgressState(Text("cooling: %+.1f C, target %+.1f C, cooler %.1f %%", reading.celsius,
                           request.target, reading.power));
    }
    ProgressEnd();
    return CoolingResult::Reached;
}

bool CoolDown(Session* session, const CoolingRequest& request, int* exitCode)
{
    if (!request.wanted) return true;
    if (BreakRequested()) {
        *exitCode = ExitBroken;
        return false;
    }
    StartCooling(session, request.target);
    switch (WaitUntilCold(*session, request)) {
    case CoolingResult::Reached: return true;
    case CoolingResult::Broken: *exitCode = ExitBroken; return false;
    case CoolingResult::Failed: break;
    }
    *exitCode = ExitFailed;
    return false;
}
