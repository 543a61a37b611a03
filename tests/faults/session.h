// A camera that is opened and read while something goes wrong, and again when it is over.
#pragma once
#include <cstdint>
#include <vector>

#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "tests/support/virtual_camera.h"

inline constexpr uint32_t HangsAnywhere = 0xFFFFFFFF;

inline constexpr int32_t UsbInterface = 6; // the interface type

struct FaultyLink {
    const char* name;
    VirtualSetup setup;
    int32_t options = 0;
    // Waits that nothing but the camera ends: the first calls of an open behind which a link
    // may hang. On USB those up to the one that sets the time-outs.
    uint32_t hangsUpTo = 0;
    uint64_t longestUs = 10'000'000; // of an open and two frames that go wrong
    // An order that was cut off spoils the next one: the open behind a fault may fail too.
    bool remembers = false;
};

class Session : public VirtualCameraTest {
protected:
    FaultyLink link;
    std::vector<uint16_t> wanted; // the frame when nothing is wrong

    // An empty world with this camera.
    void Use(const FaultyLink& which);
    void Renew();

    int32_t OpenCode(int32_t interfaceLink = -1); // -1: as the cable wants it
    // A light frame between guards that must stay; its code.
    int32_t FrameCode(std::vector<uint16_t>* pixels = nullptr);

    // Loads a pattern of one page into the open camera: 1, or 0 if that was refused.
    int32_t LoadCode();

    // Closed, nothing is left; and the camera opens and gives the frame again.
    void ExpectNothingLeft();
    void ExpectRecovery();
};
