// Ctrl-C. From BreakerStart to the end of the program SIGINT, SIGTERM and SIGHUP do
// not kill: a thread of its own takes them, breaks a running exposure through
// QV_BrkFlg and wakes who waits. The camera can then be closed as it should. Only the
// third signal ends the program as it stands.
#pragma once
#include <cstdint>

// Call it before the library starts its timer thread, so that no other thread takes
// the signals. A signal that the program was started to ignore stays ignored.
void BreakerStart();
void BreakerStop();

// The camera whose exposure a signal breaks; -1: none is exposing.
void BreakerArm(int32_t camera);

bool BreakRequested();

// Seconds of the steady clock: now, and at the first signal (0.0 if there was none).
double SteadySeconds();
double BreakSeconds();

// Sleeps; true as soon as a break is requested.
bool WaitOrBreak(double seconds);
