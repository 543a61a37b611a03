// The camera and the picture that a pattern is made for, and what is wrong with them.
#pragma once
#include <cstdint>
#include <string>

#include "include/qvn_bench.h"
#include "tools/session.h"
#include "tools/wave_make.h"

// Finds the folder of the definitions and the camera's codes. Complains when it returns
// false.
bool FindWaveTarget(const WaveTarget& target, Session* session, QvbWaveRequest* request);

// Says why building or playing failed, and what to try.
void ComplainAboutWave(const std::string& doing, int32_t code, const Session& session,
                       const QvbWaveRequest& request);
