// A hand on the wires of a bus camera: the cycles that a link would run.
#pragma once
#include <cstdint>
#include <vector>

#include "emulator/bus_camera.h"
#include "tests/emulator/world.h"

// Lines of the patterns in these tests.
enum Line : uint16_t { Row = 1, Shift = 2, Gate = 4, Strobe = 8 };

// Three columns behind one empty cell, two rows: 101, 102, 103 and 201, 202, 203.
inline uint32_t SmallScene(uint32_t column, uint32_t row)
{
    return 100 * (row + 1) + column + 1;
}

class BusWire : public VirtualWorld {
protected:
    EmuBusCamera setup{};
    int32_t camera = -1;

    void SetUp() override
    {
        VirtualWorld::SetUp();
        setup.platform = 42;
        setup.sensor = 255;
        setup.version = 0x2A;
        setup.chip = {3, 2, 1, 4, SmallScene};
        setup.lines = {Row, Shift, Gate, Strobe, 0, 0};
    }

    void Plug()
    {
        camera = EmuPlugBusCamera(setup);
        Address(0xFFF0);
    }

    void Address(uint16_t address) { EmuBusAddress(camera, address); }
    void Data(uint16_t word) { EmuBusData(camera, word); }

    void Register(uint16_t reg, uint16_t value)
    {
        Address(0x8000 + reg);
        Data(value);
    }

    uint16_t Status(uint16_t number)
    {
        Address(0xFFE0 + number);
        return EmuBusRead(camera);
    }

    uint16_t ReadRegister(uint16_t reg)
    {
        Address(0xFFE1);
        Address(0x8000 + reg);
        return EmuBusRead(camera);
    }

    uint16_t ReadMemory(uint16_t address)
    {
        Address(0xFFE0);
        Address(address);
        return EmuBusRead(camera);
    }

    // Words in the order in which they are played: stored last word first.
    void Load(uint16_t page, const std::vector<uint16_t>& words)
    {
        for (size_t i = 0; i < words.size(); ++i) {
            Address(static_cast<uint16_t>(page * 256 + words.size() - 1 - i));
            Data(words[i]);
        }
    }

    void Prepare(uint16_t page, uint16_t repeat, uint16_t end)
    {
        Register(0, 0x20);
        Register(0, 0);
        Register(2, page);
        Register(0, 0x80);
        Address(repeat);
        Register(0, 0);
        Address(end);
        Register(0, 0x100);
        Register(0, 0);
    }

    void Run(uint16_t page, uint16_t repeat, uint16_t end)
    {
        Prepare(page, repeat, end);
        Register(0, 0x40);
    }

    // The line of SmallScene's sensor: 14 words, a row and four cells.
    void LoadLine(uint16_t page)
    {
        std::vector<uint16_t> words = {0, Row};
        for (int32_t cell = 0; cell < 4; ++cell) {
            words.insert(words.end(), {Gate, Shift, Strobe});
        }
        Load(page, words);
    }

    void Stream(uint16_t page, uint16_t repeat, uint16_t end)
    {
        Prepare(page, repeat, end);
        Address(0xFFE2);
        Register(0, 0x800);
        Register(0, 0x40);
        EmuBusStream(camera);
    }

    // All that comes within a second.
    std::vector<uint16_t> Drain()
    {
        std::vector<uint16_t> pixels;
        System.clock.Sleep(1000);
        while (EmuBusPixelWaits(camera)) pixels.push_back(EmuBusTakePixel(camera));
        return pixels;
    }

    void ExposeOneSecond() // 100 units of 10 ms, less one
    {
        Register(6, 0);
        Register(5, 99);
    }

    // A register's line word with a serial device on it: data set, clock up, clock down.
    void ShiftOut(uint32_t bits, int32_t count, uint16_t kept, uint16_t data, uint16_t clock)
    {
        for (int32_t bit = count - 1; bit >= 0; --bit) {
            const uint16_t word = kept | (bits >> bit & 1u ? data : 0);
            Data(word);
            Data(word | clock);
            Data(word);
        }
    }
};
