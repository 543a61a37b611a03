// The virtual world, empty and installed, at time 0.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "emulator/emulator.h"
#include "platform/system.h"

class VirtualWorld : public testing::Test {
protected:
    void SetUp() override
    {
        EmuReset();
        EmuInstall();
    }

    void TearDown() override
    {
        EmuReset();
        UseNativeSystem();
    }
};

// The virtual time that a call takes, in microseconds.
template <typename Call> uint64_t Cost(Call call)
{
    const uint64_t before = EmuMicroseconds();
    call();
    return EmuMicroseconds() - before;
}
