// Registers of a byte, as the pairs of number and value that a link carries.
#pragma once
#include <cstdint>

#include "core/ops.h"

// Hands on the low bytes of at most 64 pairs at a time; `send` may change them.
void SendRegisterBytes(const RegisterPair* pairs, uint32_t count,
                       void (*send)(uint8_t* bytes, uint32_t count, int32_t camera),
                       int32_t camera);
