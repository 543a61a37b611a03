// What the made-up vendor's library tells besides its public functions.
#pragma once
#include <cstdint>

// Its device is this pointer.
inline constexpr uint64_t VendorDevice = 0x7654321000;

struct VendorState {
    char calls[4096];       // one a line, with the numbers that came along
    uint32_t listStatus;    // what FT_ListDevices gives
    uint32_t listedDevices; // how many there are
    uint32_t openStatus;
    uint32_t nameStatus;
    int32_t overlaps; // calls of list and open that met
};

// VendorFakeState, of this type, is the symbol's name.
using VendorStateFunction = VendorState* (*)();
