// What a readout of real-time priority runs at under Linux, on the scale of SCHED_FIFO.
#pragma once

inline constexpr int ReadoutPriority = 50;
