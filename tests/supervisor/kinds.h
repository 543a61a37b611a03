// Two cameras of a kind, on USB or at the end of a bus link: the one in whose world things happen
// and the one beside it, which is to notice none of them.
#pragma once
#include <cstdint>
#include <mutex>
#include <vector>

#include <gtest/gtest.h>

#include "emulator/link.h"
#include "emulator/wheel.h"
#include "include/qvn_supervisor.h"
#include "tests/support/small_sensor.h"

inline constexpr int32_t Storm = 0, Peace = 1;
// Where the drive holds it that a regulator begins with: 30 percent of 60 degrees below 20.
inline constexpr double PeaceTarget = 2.0;
inline constexpr double StillCold = 3.0; // degrees from it
inline constexpr int32_t WindowWidth = 4, WindowHeight = 2;

struct CameraKind {
    const char* name;
    int32_t platform, sensor, interfaceType;
    const char* builder;  // of its pattern; null: it clocks its sensor itself
    EmuWheelKind wheel;   // that hangs on it
    int32_t wheelKind;    // as the host says
    uint32_t revision;    // of the card: 200 transfers whole frames
    int32_t windowOthers; // pixels at a window's end that are those of an earlier frame
    Strobe strobe;        // of its pattern's lines
    bool zeroIsDark;      // an exposure of 0 seconds has no light
    bool hasTrigger;      // that can be polled
};

inline constexpr CameraKind TolmEOnUsb = {"Usb450", 450, 3945, 6,           nullptr, EmuOwnWheel,
                                          1,        0,   0,    Strobe::Bin, false,   true};
inline constexpr CameraKind HeronPlusOnUsb = {
    "Usb61", 61, 255, 6, "BuildWaveHeronPlus", EmuNibbleWheel, 3, 0, 0, Strobe::Bin, false, false};
inline constexpr CameraKind BriarOnCard = {"Card42",      42,  255, 2, "BuildWaveBriar",
                                           EmuPhaseWheel, 1,   100, 0, Strobe::Position,
                                           false,         true};
inline constexpr CameraKind R3OnCard = {
    "Card44", 44, 255, 2, "BuildWaveR3", EmuStepWheel, 1, 200, 4, Strobe::Bin, true, true};

void PrintTo(const CameraKind& kind, std::ostream* out); // for parametrized tests

class TwoCamerasTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override; // nothing is left open
};

// The same in the time of the system.
class TwoCamerasWithThreadsTest : public TwoCamerasTest {
protected:
    void SetUp() override;
};

// Plugs both. The functions below are about them.
void PlugTwo(const CameraKind& kind);
QvnsOpen RequestOf(const CameraKind& kind, uint32_t options);
QvnsState StateAt(int32_t camera);

// What happens to a camera.
void PullPlug(int32_t camera);
void PutPlug(int32_t camera); // in the state of power-up
void Silence(int32_t camera); // on USB it sends nothing at all, on a cable no pixels
void LosePixels(int32_t camera);
void EndSilence(int32_t camera);
void RaiseTrigger(int32_t camera);
void DropTrigger(int32_t camera);
double SensorTemperature(int32_t camera);

// With threads: while the library calls no device.
template <typename Action> void AtThePlug(Action action)
{
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    action(Storm);
}

// The camera beside: it has cooled down long ago, and works.
void CoolPeace();
void ExpectPeace();

// What a frame with these metadata must be: the full frame, or a window of 4 by 2 pixels at 1, 1.
// Pixels that are those of an earlier frame are taken over from `pixels`.
std::vector<uint16_t> TrueFrame(const QvnsMetadata& about, const std::vector<uint16_t>& pixels);

// Fetches the last frame: false if there is none. A frame that is given out as good must be true.
bool FetchTrueFrame(int32_t camera, QvnsMetadata* about);
