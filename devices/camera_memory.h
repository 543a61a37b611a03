// Words of the camera's own memory.
#pragma once
#include <cstdint>

// 65535 where the memory is empty, 0 where the camera has none.
uint16_t ReadEP(int32_t address, int32_t camera);
