// A port library whose ports are an array.
#include <cstdint>

namespace {

uint16_t Ports[0x10000];

} // namespace

extern "C" {

void PortOut(uint16_t port, uint8_t value)
{
    Ports[port] = value;
}

void PortWordOut(uint16_t port, uint16_t value)
{
    Ports[port] = value;
}

uint8_t PortIn(uint16_t port)
{
    return static_cast<uint8_t>(Ports[port]);
}

uint16_t PortWordIn(uint16_t port)
{
    return Ports[port];
}

} // extern "C"
