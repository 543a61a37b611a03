// A camera of nothing but notes at the far end of a link: what reached it as text, and
// a stream of 1000, 1001, 1002 ... of which `Pixels` have come.
#pragma once
#include <cstdio>
#include <string>

#include "emulator/bus_links.h"
#include "emulator/traffic.h"
#include "tests/emulator/world.h"

class ScriptedFarEnd : public VirtualWorld {
protected:
    static inline std::string Heard;
    static inline uint32_t Pixels, Taken, Streams;
    static inline uint16_t Answer;
    static inline bool Bytes, Listening;

    void SetUp() override
    {
        VirtualWorld::SetUp();
        Heard.clear();
        Pixels = Taken = Streams = 0;
        Answer = 0x1234;
        Bytes = false;
        Listening = true;
        EmuUseFarEnd({
            .Address = [](int32_t camera, uint16_t word) { Hear('a', camera, word); },
            .Data = [](int32_t camera, uint16_t word) { Hear('d', camera, word); },
            .Read = [](int32_t camera) -> uint16_t { return Hear('r', camera, Answer); },
            .Stream = [](int32_t) { ++Streams; },
            .PixelWaits = [](int32_t) { return Taken < Pixels; },
            .TakePixel = [](int32_t) { return static_cast<uint16_t>(1000 + Taken++); },
            .Listens = [](int32_t) { return Listening; },
            .ByteCable = [](int32_t) { return Bytes; },
            .SetUnit = [](int32_t, uint8_t) {},
        });
    }

    static uint16_t Hear(char what, int32_t camera, uint16_t word)
    {
        char text[32];
        snprintf(text, sizeof text, "%c%04X ", what, word);
        if (camera != 0) Heard += std::to_string(camera);
        Heard += text;
        return word;
    }

    // What was heard since the last time.
    static std::string Cycles()
    {
        std::string text;
        text.swap(Heard);
        return text;
    }
};
