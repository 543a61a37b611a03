// Port access through io.dll (option 0x0800).
#pragma once
#include <cstdint>

// What is used of io.dll. Null until the open of a port camera has loaded
// it; an access before that does nothing and reads 0.
struct PortLibraryCalls {
    void* Handle; // of the loaded library
    void (*PortOut)(uint16_t port, uint8_t value);
    void (*PortWordOut)(uint16_t port, uint16_t value);
    uint8_t (*PortIn)(uint16_t port);
    uint16_t (*PortWordIn)(uint16_t port);
};

extern PortLibraryCalls PortLibrary;
