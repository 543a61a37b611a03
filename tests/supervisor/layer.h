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

    void StartLayer();
    // Plugs a bus camera and opens it through the layer.
    void OpenCamera(const VirtualSetup& setup = BriarCamera, uint32_t options = 0);
    static QvnsOpen Request(const VirtualSetup& setup, uint32_t options = 0);
};

QvnsState StateOf(int32_t camera);
QvnsTemperature TemperatureOf(int32_t camera);
QvnsExposure Light(double seconds);

// What a frame went through, each state once, as seen from callbacks and scheduled looks.
std::vector<int32_t> Unrepeated(const std::vector<int32_t>& states);

// Looks at camera 0 every millisecond of virtual time from now on, for so long.
void WatchStates(double seconds);
const std::vector<int32_t>& SeenStates();

double Now(); // virtual seconds
