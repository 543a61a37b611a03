// Several registers at a time, on whatever link.
#include "drivers/register_batch.h"

#include "core/record.h"

void AddPair(RegisterBatch* batch, int32_t reg, uint32_t value)
{
    if (batch->count == BatchRoom) return;
    batch->pairs[batch->count++] = {static_cast<uint16_t>(reg), static_cast<uint16_t>(value)};
}

void SendBatch(const RegisterBatch& batch, int32_t camera)
{
    WriteRegisters(batch.pairs, batch.count, camera);
}

void WriteRegisters(const RegisterPair* pairs, uint32_t count, int32_t camera)
{
    const auto together = ExtrasOf(camera).WriteRegisters;
    if (together != nullptr) {
        together(pairs, count, camera);
        return;
    }
    const CameraOps& ops = CameraTable[camera].Ops;
    for (uint32_t i = 0; i < count; ++i) ops.WriteRegister(pairs[i].reg, pairs[i].value, camera);
}
