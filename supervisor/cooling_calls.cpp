// The host's calls for cooling. They tell the worker what is wanted and do not wait for it.
#include <cmath>

#include "supervisor/cooling.h"

namespace {

constexpr double Coldest = -273.0, Hottest = 100.0;
constexpr double FastestPerMinute = 1000.0;
constexpr double FullPower = 100.0, LimitedPower = 80.0; // with QV_OPTION_LIMIT_COOLER
constexpr double UsualStableLimit = 1800.0;
constexpr uint64_t LookEveryUs = 100 * UsPerMs;

bool IsWithin(double value, double least, double most)
{
    return value >= least && value <= most; // not of NaN
}

bool IsSensible(const QvnsCooling& cooling)
{
    return IsWithin(cooling.Target, Coldest, Hottest) &&
           IsWithin(cooling.DegreesPerMinute, 0.0, FastestPerMinute) && cooling.Tolerance > 0.0 &&
           std::isfinite(cooling.Tolerance) && IsWithin(cooling.StableSeconds, 0.0, 1e6);
}

void Want(Slot* slot, int32_t mode)
{
    slot->cooling.mode = mode;
    slot->cooling.changed = true;
    slot->cooling.stableUs = 0;
    Seam.Signal();
}

bool IsSaturated(const Slot& slot)
{
    const Cooling& cooling = slot.cooling;
    const double most = HasOption(slot, QV_OPTION_LIMIT_COOLER) ? LimitedPower : FullPower;
    return cooling.mode != QVNS_COOLING_OFF && IsFresh(cooling) && cooling.power >= most &&
           cooling.measured > cooling.setPoint + cooling.wanted.Tolerance;
}

void TellTemperature(const Slot& slot, QvnsTemperature* told)
{
    const Cooling& cooling = slot.cooling;
    *told = {};
    told->Mode = cooling.mode;
    told->Stable = IsStable(cooling) ? 1 : 0;
    told->Saturated = IsSaturated(slot) ? 1 : 0;
    told->Readings = cooling.readings;
    told->ReadFailures = cooling.failures;
    told->Fresh = IsFresh(cooling) ? 1 : 0;
    told->Measured = cooling.measured;
    told->SetPoint = cooling.setPoint;
    told->Target = cooling.wanted.Target;
    told->Power = cooling.power;
    told->Age = cooling.readUs != 0 ? ToSeconds(Seam.NowUs() - cooling.readUs) : -1.0;
    if (cooling.stableUs != 0) told->StableFor = ToSeconds(Seam.NowUs() - cooling.stableUs);
}

// What a wait for stability ends with, or QVNS_ERROR_TIME while it goes on.
int32_t StabilityCode(Slot* slot)
{
    Slot* same = nullptr;
    const int32_t code = LookUp(slot->camera, &same);
    if (code != QV_ERROR_NONE) return code;
    if (slot->state == QVNS_CAMERA_FAULT && slot->open.AutoRecover == 0) return QVNS_ERROR_FAULT;
    const Cooling& cooling = slot->cooling;
    const bool off = cooling.mode == QVNS_COOLING_OFF && !cooling.sent;
    return off || IsStable(cooling) ? QV_ERROR_NONE : QVNS_ERROR_TIME;
}

} // namespace

void qvns_init_cooling(QvnsCooling* cooling)
{
    if (cooling != nullptr) *cooling = {0.0, 0.0, 0.5, 30.0};
}

int32_t qvns_cool(int32_t camera, const QvnsCooling* cooling)
{
    if (cooling == nullptr || !IsSensible(*cooling)) return QVNS_ERROR_ARGUMENT;
    Seam.Lock();
    Slot* slot = nullptr;
    const int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE) {
        slot->cooling.wanted = *cooling;
        Want(slot, cooling->DegreesPerMinute > 0.0 ? QVNS_COOLING_RAMP : QVNS_COOLING_HOLD);
    }
    Seam.Unlock();
    return code;
}

int32_t qvns_warm_up(int32_t camera, double target, double degreesPerMinute)
{
    const bool sensible = IsWithin(target, Coldest, Hottest) && degreesPerMinute > 0.0 &&
                          degreesPerMinute <= FastestPerMinute;
    if (!sensible) return QVNS_ERROR_ARGUMENT;
    Seam.Lock();
    Slot* slot = nullptr;
    const int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE && slot->cooling.mode != QVNS_COOLING_OFF) {
        slot->cooling.wanted.Target = target;
        slot->cooling.wanted.DegreesPerMinute = degreesPerMinute;
        Want(slot, QVNS_COOLING_WARM);
    }
    Seam.Unlock();
    return code;
}

int32_t qvns_cooler_off(int32_t camera)
{
    Seam.Lock();
    Slot* slot = nullptr;
    const int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE) {
        // Also one that an earlier process, or the host by itself, has switched on.
        Cooling& cooling = slot->cooling;
        if (!cooling.sent) {
            cooling.setPoint = cooling.sentPoint = cooling.measured;
            cooling.sendAgain = true; // should it be taken back
        }
        cooling.sent = true;
        Want(slot, QVNS_COOLING_OFF);
    }
    Seam.Unlock();
    return code;
}

int32_t qvns_temperature(int32_t camera, QvnsTemperature* temperature)
{
    if (temperature == nullptr) return QVNS_ERROR_ARGUMENT;
    Seam.Lock();
    Slot* slot = nullptr;
    const int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE) TellTemperature(*slot, temperature);
    Seam.Unlock();
    return code;
}

int32_t qvns_wait_stable(int32_t camera, double limit)
{
    Seam.Lock();
    Slot* slot = nullptr;
    int32_t code = LookUp(camera, &slot);
    const uint64_t end = UsFromNow(limit > 0.0 ? limit : UsualStableLimit);
    while (code == QV_ERROR_NONE) {
        code = StabilityCode(slot);
        const uint64_t now = Seam.NowUs();
        if (code != QVNS_ERROR_TIME || now >= end) break;
        const uint64_t look = now + LookEveryUs;
        Seam.Wait(look < end ? look : end);
        code = QV_ERROR_NONE;
    }
    Seam.Unlock();
    return code;
}
