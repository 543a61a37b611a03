// Cameras on USB whose plug is pulled at moments spread over an open and a frame, and that
// answer with noise: nothing they send is to be trusted.
#include <algorithm>
#include <cstring>
#include <random>

#include "emulator/usb.h"
#include "emulator/usb_camera.h"
#include "platform/system.h"
#include "tests/faults/small_links.h"

namespace {

constexpr uint64_t Moments = 12; // of an open, and as many of a frame
constexpr uint32_t Seeds = 12;
constexpr int32_t LargestCode = 28;

class OnUsb : public Session, public testing::WithParamInterface<FaultyLink> {};

std::string NameOf(const testing::TestParamInfo<FaultyLink>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Usb, OnUsb, testing::ValuesIn(UsbLinks), NameOf);

void PullThePlug(int32_t camera)
{
    EmuUnplugUsbCamera(camera);
}

// --- noise ---

std::minstd_rand Noise;
SystemTable Quiet; // what is really there

uint32_t Random(uint32_t below)
{
    return below == 0 ? 0 : static_cast<uint32_t>(Noise()) % below;
}

void Fill(void* buffer, uint32_t bytes)
{
    auto* const to = static_cast<uint8_t*>(buffer);
    for (uint32_t i = 0; i < bytes; ++i) to[i] = static_cast<uint8_t>(Random(256));
}

// All of it, less, or so it says: more than was asked for.
uint32_t ReadNoise(uint64_t, void* buffer, uint32_t bytes, uint32_t* got)
{
    System.clock.SleepMicroseconds(125);
    *got = bytes;
    if (Random(3) == 0) *got = Random(2 * bytes + 2);
    Fill(buffer, std::min(*got, bytes));
    return Random(16) == 0 ? 1 : 0;
}

uint32_t QueueNoise(uint64_t, uint32_t* count)
{
    System.clock.SleepMicroseconds(125);
    *count = Random(2) == 0 ? 0 : static_cast<uint32_t>(Noise());
    return 0;
}

// As long as they may be, or shorter.
uint32_t InfoNoise(uint64_t, char* serial, char* description)
{
    Fill(serial, 15);
    Fill(description, 63);
    serial[Random(16)] = 0;
    serial[15] = 0;
    description[Random(64)] = 0;
    description[63] = 0;
    return 0;
}

uint32_t InNoise(uint32_t device, void* items, uint32_t count)
{
    // An item is two bytes on Tarn_V.
    Fill(items, device == 0 ? count : 0);
    return Random(2 * count + 2);
}

uint32_t FetchNoise(uint32_t, uint32_t, uint8_t* byte)
{
    *byte = static_cast<uint8_t>(Random(256));
    return Random(2);
}

void* FindNoise(void* library, const char* name)
{
    if (strcmp(name, "UsbParIn") == 0) return reinterpret_cast<void*>(InNoise);
    if (strcmp(name, "UsbEEpReadByte") == 0) return reinterpret_cast<void*>(FetchNoise);
    return Quiet.library.Symbol(library, name);
}

void BeginNoise(uint32_t seed)
{
    Noise.seed(seed);
    Quiet = System;
    System.usb.Read = ReadNoise;
    System.usb.GetQueueStatus = QueueNoise;
    System.usb.DeviceInfo = InfoNoise;
    System.library.Symbol = FindNoise;
}

// Everything that looks at replies.
void AskEverything()
{
    for (int32_t number = 0; number < 70; ++number) {
        QV_ReadEP(number, 0);
        QV_RDReg(number, 0);
        QV_GetStatus(number, 0);
        QV_Peek(number, 0);
    }
    for (int32_t which = 0; which < 4; ++which) {
        QV_QuerySts(which, 0);
        QV_GetAD(which, 0);
        QV_SetGain(which, 0);
    }
    for (int32_t reading = 0; reading < 20; ++reading) QV_ReadTemp(QV_CELSIUS, 0);
    QV_GetSerNum(0);
    QV_Trigger(0, 0);
    uint32_t values[4] = {};
    QV_Plug(0, values, 0);
}

} // namespace

TEST_P(OnUsb, PulledOutItEndsAndOpensAgainOncePluggedIn)
{
    Use(GetParam());
    if (HasFatalFailure()) return;
    Renew();
    ASSERT_EQ(OpenCode(), 0);
    const uint64_t opened = EmuMicroseconds();
    ASSERT_EQ(FrameCode(), 0);
    const uint64_t frame = EmuMicroseconds() - opened;
    QV_Close(0);
    for (uint64_t moment = 0; moment < 2 * Moments; ++moment) {
        SCOPED_TRACE(moment);
        Renew();
        EmuSetTimeLimit(link.longestUs);
        if (moment < Moments) EmuSchedule(opened * moment / Moments, PullThePlug, 0);
        const int32_t code = OpenCode();
        if (moment >= Moments) {
            EXPECT_EQ(code, 0);
            const uint64_t after = 1 + frame * (moment - Moments) / Moments;
            EmuSchedule(EmuMicroseconds() + after, PullThePlug, 0);
        }
        if (code == 0) {
            EXPECT_PRED1([](int32_t read) { return read == 0 || read == 2; }, FrameCode());
        }
        QV_Close(0);
        EXPECT_EQ(EmuUsbOpenHandles(), 0u);
        EXPECT_EQ(EmuAdaptorOpen(), 0u);
        EmuReplugUsbCamera(0);
        ExpectRecovery();
    }
}

// Whatever comes of it: a code, and no byte outside of a buffer.
TEST_P(OnUsb, NoiseEndsWithACode)
{
    Use(GetParam());
    if (HasFatalFailure()) return;
    for (uint32_t seed = 1; seed <= Seeds; ++seed) {
        SCOPED_TRACE(seed);
        Renew();
        EmuSetTimeLimit(link.longestUs);
        // From the open on, or behind one that went well.
        if (seed % 3 == 0) BeginNoise(seed);
        OpenCode();
        if (seed % 3 != 0) BeginNoise(seed);
        const int32_t code = FrameCode();
        EXPECT_GE(code, 0);
        EXPECT_LE(code, LargestCode);
        AskEverything();
        QV_Close(0);
        Renew();
        ExpectRecovery();
    }
}
