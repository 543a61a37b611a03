// The background service: one periodic timer of 100 ms that serves the cameras
// in rotation, and the handshake on plain flags that keeps it out of a camera
// while a caller works there.
#pragma once
#include <cstdint>

#include "core/record.h"

extern int32_t TimerUsers;     // cameras that joined
extern int32_t TimerRunning;   // the timer was created by a join
extern int32_t TimerAutoStart; // the next join creates the timer
extern uint32_t TimerId;
extern uint32_t TimerPeriod;             // the system's finest period, milliseconds
extern int32_t TimerCursor;              // the camera whose turn it is
extern int32_t TimerEntered;             // a tick is running
extern uint32_t ArrayTimerId;            // the array's own timer; 0: it was not created
extern int32_t ArrayTickRunning;         // an array tick is running
extern int32_t ArrayServed[CameraCount]; // from the array's join to its close
extern int32_t TimerActive[CameraCount];
extern int32_t TimerDivider[CameraCount]; // turns since the camera's last work turn
extern int32_t TimerBusy[CameraCount];    // the camera's turn is running
extern int32_t StopCount[CameraCount];    // stop requests
extern int32_t TimerPaused[CameraCount];  // the timer has seen StopCount and stays out

// Takes the camera into the rotation and, where the timer runs, waits without
// limit until the camera's first work turn has ended.
void TimerJoin(int32_t camera);

// The same for an array: a timer of its own, which serves camera 1 and no other, and goes
// on until the process ends. An array of another number waits here for good: required.
void ArrayTimerJoin(int32_t camera);

// Takes it out again, and returns once no turn of it is running. The last one to
// leave ends the timer. A camera that never joined is left alone.
void TimerLeave(int32_t camera);

// Keep the timer out of the camera, nested. StopNow waits without limit until
// the timer has acknowledged.
void StopNow(int32_t camera);
void StartNow(int32_t camera);

// 0, 1: later joins do not, do create the timer. 2: create it now. 3: end it.
void ArmTimerHandle(int32_t action, int32_t camera);

// Completed work turns since open, and the milliseconds of the last one.
uint32_t BckGnd(int32_t camera);
uint32_t BckBusy(int32_t camera);

// Clears all of the above; TimerAutoStart becomes 1.
void ResetTimerService();
