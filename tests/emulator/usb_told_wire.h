// A hand on the pipe of a USB camera that is told its geometry: bytes out, bytes in.
#pragma once
#include "emulator/usb.h"
#include "tests/emulator/usb_wire.h"

using Words = Pixels;

// 100 x (row + 1) + column + 1.
inline uint32_t WideScene(uint32_t column, uint32_t row)
{
    return 100 * (row + 1) + column + 1;
}

class ToldWire : public VirtualWorld {
protected:
    EmuUsbCamera setup{};
    int32_t camera = -1;
    uint64_t handle = 0;

    void SetUp() override
    {
        VirtualWorld::SetUp();
        setup.version = 0x2A;
        // Six columns behind two cells in a register of ten, four rows.
        setup.chip = {6, 4, 2, 10, WideScene};
    }

    void Plug(bool synchronous)
    {
        camera = EmuPlugUsbCamera(setup);
        ASSERT_EQ(System.usb.Open(camera, &handle), 0u);
        if (synchronous) {
            System.usb.SetBitMode(handle, 255, 0);
            System.usb.SetBitMode(handle, 255, 64);
        }
        System.usb.SetLatencyTimer(handle, 2);
        System.usb.SetTimeouts(handle, 500, 0);
    }

    void Send(const Bytes& bytes) const
    {
        uint32_t put = 0;
        System.usb.Write(handle, bytes.data(), static_cast<uint32_t>(bytes.size()), &put);
    }

    Bytes Read(uint32_t count) const
    {
        Bytes bytes(count, 0xEE);
        uint32_t got = 0;
        System.usb.Read(handle, bytes.data(), count, &got);
        bytes.resize(got);
        return bytes;
    }

    // What comes back, up to `count` bytes.
    Bytes Ask(const Bytes& bytes, uint32_t count) const
    {
        Send(bytes);
        return Read(count);
    }

    // The request of a pair link: so many bytes from a register on.
    static Bytes Request(uint32_t count, uint8_t start)
    {
        const auto byte = [count](uint32_t i) { return static_cast<uint8_t>(count >> 8 * i); };
        return {0x84, byte(0), 0x85, byte(1), 0x86, byte(2), 0x87, byte(3), start};
    }

    Bytes Registers(uint32_t count, uint8_t start) const
    {
        return Ask(Request(count, start), count);
    }

    Words ReadWords(uint32_t count) const { return Joined(Read(2 * count)); }
};
