#include "links/register_bytes.h"

namespace {

constexpr uint32_t PairsAtOnce = 64;

} // namespace

void SendRegisterBytes(const RegisterPair* pairs, uint32_t count,
                       void (*send)(uint8_t* bytes, uint32_t count, int32_t camera), int32_t camera)
{
    uint8_t bytes[2 * PairsAtOnce];
    uint32_t filled = 0;
    for (uint32_t i = 0; i < count; ++i) {
        bytes[filled++] = static_cast<uint8_t>(pairs[i].reg);
        bytes[filled++] = static_cast<uint8_t>(pairs[i].value);
        if (filled < sizeof bytes && i + 1 < count) continue;
        send(bytes, filled, camera);
        filled = 0;
    }
}
