// A camera of a platform without a driver: the test fills its slots with
// operations that write down every call and answer as told.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/demo_camera.h"

struct ScriptedCall {
    int32_t slot;
    int32_t camera;
    std::vector<int64_t> arguments; // numbers, in order, without path, buffer and camera
    std::string path;               // slots 8 and 9
    uint16_t* buffer;               // slots 12, 15 and 31
    uint64_t microseconds;          // when it began
};

struct CameraScript {
    int32_t openResult = 0;
    int32_t loadResult = 1;
    int32_t readResult = 0;        // slots 12, 15 and 31
    int32_t temperatureResult = 0; // -1: the link has failed
    int32_t buildError = -1;       // what BuildWave stores in LastError; -1: nothing
    uint32_t clearMilliseconds = 0;
    uint32_t temperatureMilliseconds = 0;
    uint32_t readMilliseconds = 0;
    std::function<void(const ScriptedCall&)> duringCall;
};

extern CameraScript Script;
extern std::vector<ScriptedCall> ScriptedCalls;

// Puts the scripted operations into slots 0, 8 to 12, 15, 16, 1 and 31. The
// script and the record of calls are not touched.
void ScriptSlots(int32_t camera);

// ScriptSlots, then an open of the driverless platform.
void OpenScripted(int32_t camera, uint32_t options, int32_t sensor = SmallSensor);

// The calls of one slot, in order; of one camera if `camera` is not negative.
std::vector<ScriptedCall> CallsOf(int32_t slot, int32_t camera = -1);

// The slots called, in order, of everything since the record was last cleared.
std::vector<int32_t> CalledSlots();

// Every test begins with an empty script.
class ScriptedTest : public DemoTest {
protected:
    void SetUp() override;
    void TearDown() override;
};
