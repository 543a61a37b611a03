#include "supervisor/cooling.h"

#include <algorithm>
#include <cmath>

#include "supervisor/link.h"
#include "supervisor/readings.h"
#include "supervisor/work.h"

namespace {

constexpr uint64_t PeriodUs = 500 * UsPerMs;
constexpr uint64_t AgainUs = 20 * UsPerMs; // while another camera of the kind reads
constexpr uint64_t FreshUs = 5 * UsPerSecond;
constexpr int32_t MostFailures = 3;
constexpr double LongestLead = 5.0; // degrees of the set point ahead of the sensor
constexpr double Arrived = 1.0;     // degrees from the end of a warm-up
// The regulator would begin at 30 percent; a ramp begins here.
constexpr double FirstPower = 1.0;

// The regulator compares tenths.
double Tenths(double celsius)
{
    return std::round(celsius * 10.0) / 10.0;
}

void NoteStability(Cooling* cooling, uint64_t now)
{
    const bool near =
        std::fabs(cooling->measured - cooling->wanted.Target) <= cooling->wanted.Tolerance;
    if (cooling->mode != QVNS_COOLING_HOLD || !near) {
        cooling->stableUs = 0;
    } else if (cooling->stableUs == 0) {
        cooling->stableUs = now;
    }
}

void NoteReading(Slot* slot, bool failed, double measured, double power)
{
    Cooling& cooling = slot->cooling;
    const uint64_t now = Seam.NowUs();
    // A calibration that is nonsense is no failure of the link.
    if (failed || !std::isfinite(measured)) {
        ++cooling.failures;
        cooling.failuresInARow += failed ? 1 : 0;
        cooling.stableUs = 0;
        NoteFailure(slot, QV_ERROR_LINK_FAILURE);
        return;
    }
    ++cooling.readings;
    cooling.failuresInARow = 0;
    cooling.measured = measured;
    cooling.power = power;
    cooling.readUs = now;
    NoteStability(&cooling, now);
}

// The host may ask for something else meanwhile; whoever waits for it to be off waits for the
// call.
void SwitchOff(Slot* slot)
{
    slot->cooling.mode = QVNS_COOLING_OFF;
    BeginWork(slot, QVNS_WORK_SETTING, UsualSeconds(QVNS_WORK_SETTING));
    Library.Cooler(0, slot->camera);
    if (EndWork(slot)) slot->cooling.sent = slot->cooling.hostCools = false;
}

void SendSetPoint(Slot* slot, bool gently)
{
    Cooling& cooling = slot->cooling;
    const double point = Tenths(cooling.setPoint);
    if (cooling.sent && !cooling.sendAgain && point == cooling.sentPoint) return;
    cooling.sent = true;
    cooling.hostCools = cooling.sendAgain = false;
    cooling.sentPoint = point;
    BeginWork(slot, QVNS_WORK_SETTING, UsualSeconds(QVNS_WORK_SETTING));
    if (gently) Library.SetPower(FirstPower, slot->camera);
    Library.SetTemp(point, QV_CELSIUS, slot->camera);
    EndWork(slot);
}

// Toward the target by the time that has passed, and never far from the sensor: a point that was
// set at once, or that the sensor has left, comes back to it.
void MoveRamp(Cooling* cooling)
{
    const uint64_t now = Seam.NowUs();
    const double minutes = ToSeconds(now - cooling->rampUs) / 60.0;
    const double way = cooling->wanted.DegreesPerMinute * minutes;
    const double target = cooling->wanted.Target;
    cooling->rampUs = now;
    const double next = std::clamp(target, cooling->setPoint - way, cooling->setPoint + way);
    cooling->setPoint =
        std::clamp(next, cooling->measured - LongestLead, cooling->measured + LongestLead);
}

// The sensor has followed, or there is no cooling left that could be taken away.
bool IsWarm(const Cooling& cooling)
{
    if (cooling.setPoint < cooling.wanted.Target) return cooling.power <= 0.0;
    return cooling.measured >= cooling.wanted.Target - Arrived || cooling.power <= 0.0;
}

void TakeUpCooling(Cooling* cooling)
{
    cooling->changed = false;
    cooling->rampUs = Seam.NowUs();
    cooling->stableUs = 0;
    if (cooling->mode == QVNS_COOLING_HOLD) {
        cooling->setPoint = cooling->wanted.Target;
    } else if (!cooling->sent) {
        cooling->setPoint = cooling->measured;
    }
}

} // namespace

void UpdateCooling(Slot* slot)
{
    Cooling& cooling = slot->cooling;
    const bool gently = cooling.mode == QVNS_COOLING_RAMP && !cooling.sent && !cooling.hostCools;
    if (cooling.changed) TakeUpCooling(&cooling);
    switch (cooling.mode) {
    case QVNS_COOLING_RAMP:
        MoveRamp(&cooling);
        if (cooling.setPoint == cooling.wanted.Target) cooling.mode = QVNS_COOLING_HOLD;
        break;
    case QVNS_COOLING_WARM:
        MoveRamp(&cooling);
        if (!IsWarm(cooling)) break;
        SwitchOff(slot);
        return;
    case QVNS_COOLING_OFF:
        if (cooling.sent) SwitchOff(slot);
        return;
    default: break;
    }
    SendSetPoint(slot, gently);
}

void ServeTemperature(Slot* slot)
{
    if (slot->backgroundUs > Seam.NowUs()) return;
    const bool taken = TakeReadings(slot);
    slot->backgroundUs = Seam.NowUs() + (taken ? PeriodUs : AgainUs);
    if (!taken) return;
    const Work outer = slot->work;
    const bool idle = slot->frame.stage == StageNone && !slot->runsHost;
    BeginWork(slot, QVNS_WORK_TEMPERATURE, UsualSeconds(QVNS_WORK_TEMPERATURE));
    bool failed = idle && !LinkAnswers(*slot);
    if (!failed) {
        FillReadings(*slot);
        failed = Library.TemperatureHandle(slot->camera) != 0;
    }
    const double measured = Library.GetTemp(nullptr, QV_CELSIUS, slot->camera);
    const double power = Library.GetPower(slot->camera);
    const bool alive = EndWork(slot);
    if (failed) {
        ForgetReadings(slot);
    } else {
        LeaveReadings(slot);
    }
    if (alive) {
        NoteReading(slot, failed, measured, power);
        if (!failed && slot->cooling.readings != 0) UpdateCooling(slot);
    }
    slot->work = outer;
}

void Background(Slot* slot)
{
    ServeTemperature(slot);
    if (slot->state != QVNS_CAMERA_OPEN) return;
    if (slot->cooling.failuresInARow >= MostFailures) {
        EnterFault(slot);
        return;
    }
    if (HasOption(*slot, QV_OPTION_KEEP_CLEAN) && slot->frame.step != FrameInTrigger) {
        BeginWork(slot, QVNS_WORK_CLEAR, UsualSeconds(QVNS_WORK_CLEAR));
        Library.ClearCCD(slot->camera);
        EndWork(slot);
    }
    // However long both take, the queue has its turn.
    slot->backgroundUs = std::max(slot->backgroundUs, Seam.NowUs() + AgainUs);
}

int32_t RestoreCooling(Slot* slot)
{
    Cooling& cooling = slot->cooling;
    const bool off = cooling.mode == QVNS_COOLING_OFF;
    cooling.hostCools = false;
    if (!cooling.sent || off) return QV_ERROR_NONE;
    // The sensor may have warmed up meanwhile.
    const bool ramps = cooling.wanted.DegreesPerMinute > 0.0;
    if (cooling.mode == QVNS_COOLING_HOLD && ramps) cooling.mode = QVNS_COOLING_RAMP;
    cooling.rampUs = Seam.NowUs();
    BeginWork(slot, QVNS_WORK_SETTING, UsualSeconds(QVNS_WORK_SETTING));
    Library.SetPower(cooling.power, slot->camera);
    Library.SetTemp(cooling.sentPoint, QV_CELSIUS, slot->camera);
    return EndWork(slot) ? QV_ERROR_NONE : QVNS_ERROR_LOST;
}

bool IsFresh(const Cooling& cooling)
{
    return cooling.readUs != 0 && Seam.NowUs() - cooling.readUs <= FreshUs;
}

bool IsStable(const Cooling& cooling)
{
    if (cooling.mode != QVNS_COOLING_HOLD || cooling.stableUs == 0 || cooling.changed) return false;
    if (!IsFresh(cooling)) return false;
    return ToSeconds(Seam.NowUs() - cooling.stableUs) >= cooling.wanted.StableSeconds;
}
