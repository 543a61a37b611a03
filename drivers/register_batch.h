// Several registers of a camera written together: in one transfer where its link can, else
// one after the other.
#pragma once
#include <cstdint>

#include "core/ops.h"

inline constexpr uint32_t BatchRoom = 64;

struct RegisterBatch {
    RegisterPair pairs[BatchRoom];
    uint32_t count;
};

// A pair beyond the room is left out.
void AddPair(RegisterBatch* batch, int32_t reg, uint32_t value);
void SendBatch(const RegisterBatch& batch, int32_t camera);
void WriteRegisters(const RegisterPair* pairs, uint32_t count, int32_t camera);
