// The layer over a virtual camera: in virtual time on the test's own thread, so that a run goes
// the same way each time.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "include/qvn_supervisor.h"
#include "tests/support/virtual_camera.h"

inline constexpr VirtualSetup BriarCamera = {42, 255, 2, "BuildWaveBriar"};

class LayerTest : public VirtualCameraTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // Plugs a bus camera and opens it through the layer.
    void OpenCamera(const VirtualSetup& setup = BriarCamera, uint32_t options = 0);
    static QvnsOpen Request(const VirtualSetup& setup, uint32_t options = 0);
};

void StartInVirtualTime();

QvnsState StateOf(int32_t camera);
QvnsTemperature TemperatureOf(int32_t camera);
QvnsExposure Light(double seconds);

using States = std::vector<int32_t>;

// Looks at camera 0 every tenth of a millisecond from now on, for so long, and at each report of
// progress; the states of its frame, each once.
void WatchStates(double seconds);
States SeenStates();

// Calls qvns_watch as the layer's own thread does where there are threads.
void WatchAsAThread(double seconds);

// Runs `action` once, when the frame of camera 0 is in this state; looks as often.
void WhenFrameIs(int32_t state, void (*action)());

double Now(); // virtual seconds
