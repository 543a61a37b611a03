// A thread that reads frames in real time beside the background service.
#pragma once
#include <cstdint>
#include <vector>

#include "include/qvn.h"

inline constexpr int32_t ReaderOptions = QV_OPTION_REGULATION | QV_OPTION_SILENT;

// Reads until the service has had its turn too; every frame is to be the wanted one.
void ReadFrames(const std::vector<uint16_t>& wanted, int32_t camera);
