#include "core/timer_service.h"

#include "core/errors.h"
#include "core/flags.h"
#include "core/open_close.h"
#include "core/options.h"
#include "devices/temperature.h"
#include "platform/system.h"

int32_t TimerUsers;
int32_t TimerRunning;
int32_t TimerAutoStart = 1;
uint32_t TimerId;
uint32_t TimerPeriod;
int32_t TimerCursor;
int32_t TimerEntered;
uint32_t ArrayTimerId;
int32_t ArrayTickRunning;
int32_t ArrayServed[CameraCount];
int32_t TimerActive[CameraCount];
int32_t TimerDivider[CameraCount];
int32_t TimerBusy[CameraCount];
int32_t StopCount[CameraCount];
int32_t TimerPaused[CameraCount];

namespace {

constexpr uint32_t TickPeriod = 100; // milliseconds
constexpr int32_t TurnsPerWork = 5;
constexpr uint32_t StopPollMs = 5;
constexpr uint32_t ArrayTickCamera = 1; // whatever number the array has: required

bool WantsTimer(int32_t camera)
{
    return (LoadFlag(CameraTable[camera].Options) & OptionsWithTimer) != 0;
}

// False when the reading failed: the camera stays stopped, and the rotation
// stands still with it, until the host starts the camera again or closes it.
bool WorkTurn(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const uint32_t start = System.clock.TickCount();
    StepFlag(&record.BackgroundTicks, 1);
    const uint32_t options = LoadFlag(record.Options);
    if ((options & OptionRegulation) != 0 && TemperatureHandle(camera) != 0) {
        StoreFlag(&record.LastError, ErrorLinkFailure);
        StepFlag(&StopCount[camera], 1);
        StoreFlag(&TimerPaused[camera], 1);
        StoreFlag(&TimerBusy[camera], 0);
        return false;
    }
    if ((options & OptionKeepClean) != 0) record.Ops.ClearSensor(camera);
    StoreFlag(&record.TickDuration, static_cast<int32_t>(System.clock.TickCount() - start));
    return true;
}

// The next camera of the rotation; `camera` itself if there is no other.
int32_t NextCamera(int32_t camera)
{
    int32_t next = (camera + 1) % CameraCount;
    while (next != camera && LoadFlag(TimerActive[next]) == 0) next = (next + 1) % CameraCount;
    return next;
}

// One tick serves the camera under the cursor. While that camera is held the
// cursor stands still, so no other is served either: required. A held camera
// that is not in the rotation is passed by.
void Tick()
{
    const int32_t camera = LoadFlag(TimerCursor);
    // The turn is claimed before the stop count is read, so that a caller that
    // raises the count either sees the claim or is seen by it.
    const int32_t busy = ExchangeFlag(&TimerBusy[camera], 1);
    const bool stopped = LoadFlag(StopCount[camera]) != 0;
    if (stopped || busy != 0) {
        if (stopped) {
            StoreFlag(&TimerPaused[camera], 1);
            if (LoadFlag(TimerActive[camera]) == 0) StoreFlag(&TimerCursor, NextCamera(camera));
        }
        StoreFlag(&TimerBusy[camera], busy);
        return;
    }
    StoreFlag(&TimerPaused[camera], 0);
    if (StepFlag(&TimerDivider[camera], 1) >= TurnsPerWork) {
        StoreFlag(&TimerDivider[camera], 0);
        if (!WorkTurn(camera)) return;
    }
    StoreFlag(&TimerCursor, NextCamera(camera));
    StoreFlag(&TimerBusy[camera], 0);
}

void TimerCallback(uint32_t)
{
    if (ExchangeFlag(&TimerEntered, 1) != 0) return;
    Tick();
    StoreFlag(&TimerEntered, 0);
}

// One head of the array: its regulator and, where wanted, a clear. False when the
// reading failed.
bool ServeHead(int32_t head, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const uint32_t options = LoadFlag(record.Options);
    SelectHead(head, camera);
    LoadHeadRegulator(head, camera);
    record.SubCamera = head;
    if ((options & OptionRegulation) != 0) {
        if (TemperatureHandle(camera) != 0) return false;
        StoreReading(&record.ArrayTemperature[head], LoadReading(record.CurrentTemperature));
        StoreFlag(&record.ArrayPower[head], LoadFlag(record.CoolerPower));
    }
    if ((options & OptionKeepClean) != 0) record.Ops.ClearSensor(camera);
    SaveHeadRegulator(head, camera);
    return true;
}

void ArrayWork(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const uint32_t start = System.clock.TickCount();
    StepFlag(&record.BackgroundTicks, 1);
    for (int32_t head = 0; head < HeadCount; ++head) {
        if (!IsHeadFitted(head, camera)) continue;
        if (ServeHead(head, camera)) continue;
        StoreFlag(&record.LastError, ErrorLinkFailure);
        return;
    }
    StoreFlag(&record.TickDuration, static_cast<int32_t>(System.clock.TickCount() - start));
}

// Once a stop has been seen there is no further work: required. The timer goes on when
// the array is closed, and has none either until the next one has joined: it would switch
// heads while an open loads them.
void ArrayTick(uint32_t userValue)
{
    const int32_t camera = static_cast<int32_t>(userValue);
    const CameraRecord& record = CameraTable[camera];
    if (LoadFlag(TimerPaused[camera]) != 0) return;
    // Claimed before the stop count is read; see Tick.
    if (ExchangeFlag(&ArrayTickRunning, 1) != 0) return;
    if (LoadFlag(StopCount[camera]) != 0) {
        StoreFlag(&TimerPaused[camera], 1);
    } else if (LoadFlag(ArrayServed[camera]) != 0 && LoadFlag(record.CameraOn) != 0 &&
               LoadFlag(record.ArrayMode) != 0) {
        ArrayWork(camera);
    }
    StoreFlag(&ArrayTickRunning, 0);
}

void CreateTimer(int32_t camera)
{
    TimerPeriod = System.timer.FinestPeriod();
    System.timer.BeginPeriod(TimerPeriod);
    TimerId = System.timer.Start(TickPeriod, TimerCallback, static_cast<uint32_t>(camera));
}

// Holds the timer off the camera, so that it ends between two turns.
void EndTimer(int32_t camera)
{
    StoreFlag(&StopCount[camera], 1);
    while (LoadFlag(TimerPaused[camera]) == 0) System.clock.Relax();
    System.timer.Stop(TimerId);
    System.timer.EndPeriod(TimerPeriod);
}

bool IsTurnRunning(int32_t camera)
{
    if (LoadFlag(TimerBusy[camera]) != 0) return true;
    return LoadFlag(CameraTable[camera].ArrayMode) != 0 && LoadFlag(ArrayTickRunning) != 0;
}

// Waits for the end of the turn that the timer may be in.
void AwaitTurn(int32_t camera)
{
    StoreFlag(&StopCount[camera], 1);
    while (LoadFlag(TimerBusy[camera]) != 0) System.clock.Relax();
}

// An array that is closed without a call that holds the timer off.
void AwaitArrayTick(int32_t camera)
{
    StoreFlag(&ArrayServed[camera], 0);
    StoreFlag(&StopCount[camera], 1);
    while (LoadFlag(ArrayTickRunning) != 0) System.clock.Relax();
}

} // namespace

void TimerJoin(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    ++TimerUsers;
    StoreFlag(&TimerDivider[camera], 0);
    StoreFlag(&StopCount[camera], 0);
    StoreFlag(&TimerActive[camera], 1);
    const int32_t noted = LoadFlag(record.BackgroundTicks);
    if (TimerAutoStart != 0) {
        CreateTimer(camera);
        TimerRunning = 1;
        TimerAutoStart = 0;
    }
    if (TimerRunning == 0) return;
    // The turn is counted at its start; the first reading is there at its end.
    while (LoadFlag(record.BackgroundTicks) == noted || LoadFlag(TimerBusy[camera]) != 0) {
        System.clock.Relax();
    }
}

void ArrayTimerJoin(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    StoreFlag(&TimerPaused[camera], 0);
    StoreFlag(&StopCount[camera], 0);
    const int32_t noted = LoadFlag(record.BackgroundTicks);
    StoreFlag(&ArrayServed[camera], 1);
    if (ArrayTimerId == 0) {
        TimerPeriod = System.timer.FinestPeriod();
        System.timer.BeginPeriod(TimerPeriod);
        ArrayTimerId = System.timer.Start(TickPeriod, ArrayTick, ArrayTickCamera);
    }
    while (LoadFlag(record.BackgroundTicks) == noted || LoadFlag(ArrayTickRunning) != 0) {
        System.clock.Relax();
    }
}

void TimerLeave(int32_t camera)
{
    const bool joined = LoadFlag(TimerActive[camera]) != 0;
    // An array goes round the join, and is counted here all the same: required.
    if (!joined && LoadFlag(CameraTable[camera].ArrayMode) == 0) return;
    --TimerUsers;
    if (TimerUsers == 0) {
        if (TimerRunning != 0) EndTimer(camera);
        TimerRunning = 0;
        TimerAutoStart = 1;
    } else if (joined) {
        AwaitTurn(camera);
    }
    if (!joined) AwaitArrayTick(camera);
    StoreFlag(&TimerActive[camera], 0);
    // The cursor may still stand here: one turn on a closed camera does no work.
    StoreFlag(&TimerDivider[camera], 0);
    StoreFlag(&StopCount[camera], 0);
}

void StopNow(int32_t camera)
{
    if (StepFlag(&StopCount[camera], 1) >= 2 || !WantsTimer(camera)) return;
    do {
        System.clock.Sleep(StopPollMs);
    } while (LoadFlag(TimerPaused[camera]) == 0 || IsTurnRunning(camera));
}

void StartNow(int32_t camera)
{
    // Repairs a count that fell below 0. One of exactly 0 is left alone: another
    // thread may have raised it by now.
    if (StepFlag(&StopCount[camera], -1) < 0 && WantsTimer(camera)) {
        StoreFlag(&StopCount[camera], 0);
    }
}

void ArmTimerHandle(int32_t action, int32_t camera)
{
    switch (action) {
    case 0: TimerAutoStart = 0; break;
    case 1: TimerAutoStart = 1; break;
    case 2: CreateTimer(camera); break;
    case 3:
        EndTimer(camera);
        StoreFlag(&StopCount[camera], 0);
        break;
    default: break;
    }
}

uint32_t BckGnd(int32_t camera)
{
    return static_cast<uint32_t>(LoadFlag(CameraTable[camera].BackgroundTicks));
}

uint32_t BckBusy(int32_t camera)
{
    return static_cast<uint32_t>(LoadFlag(CameraTable[camera].TickDuration));
}

void ResetTimerService()
{
    TimerUsers = 0;
    TimerRunning = 0;
    TimerAutoStart = 1;
    TimerId = 0;
    ArrayTimerId = 0;
    StoreFlag(&ArrayTickRunning, 0);
    TimerPeriod = 0;
    StoreFlag(&TimerCursor, 0);
    StoreFlag(&TimerEntered, 0);
    for (int32_t camera = 0; camera < CameraCount; ++camera) {
        StoreFlag(&ArrayServed[camera], 0);
        StoreFlag(&TimerActive[camera], 0);
        StoreFlag(&TimerDivider[camera], 0);
        StoreFlag(&TimerBusy[camera], 0);
        StoreFlag(&StopCount[camera], 0);
        StoreFlag(&TimerPaused[camera], 0);
    }
}
