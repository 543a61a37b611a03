// A camera of any platform and sensor without a driver: its slots write down
// how they were called, and answer what the test has put into `Fake`. It skips
// the open, so that the device routines are seen alone.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

struct FakeCall {
    std::string text; // "WriteRegister 6 0x0A5E"
    uint64_t microseconds;
    int32_t stopCount; // of the camera, during the call
};

struct FakeReport { // one call of ExposureCallback
    std::string text;
    int32_t camera;
    uint64_t microseconds;
};

struct FakeState {
    std::vector<FakeCall> calls; // all but ReadTemperature and ClearOnce
    std::vector<FakeReport> reports;
    std::vector<uint64_t> readTimes; // of ReadTemperature, microseconds
    uint64_t clearOnceCount = 0;

    std::vector<double> temperatures;                    // one a reading; the last one stays
    double (*nextTemperature)(int32_t camera) = nullptr; // in place of them
    bool readingFails = false;
    int32_t untriggeredPolls = 0; // polls of IsTriggered that answer 0
    int32_t triggerValue = 1;     // what the later ones answer
    int32_t busyReads = 0;        // reads of register 2 that answer 0x80
    int32_t gainResult = 0;
    int32_t buildError = 0; // what BuildWave stores in LastError
};

extern FakeState Fake;

// Makes record `camera` an open camera with the fake slots: 10 ms of settling
// time, the regulator as after an open.
void OpenFake(int32_t platform, int32_t sensor, uint32_t options, int32_t camera = 0);

// The texts of the calls that begin with `start`, in order.
std::vector<std::string> FakeTexts(const std::string& start = "");

using Texts = std::vector<std::string>;

// Every test begins with an empty table, an idle timer service, and the virtual
// world at time 0.
class FakeTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};
