// What happens to a virtual camera at a time: triggers, plugs, silence.
#include <cmath>
#include <thread>

#include "tests/bench/virtual_fixture.h"

namespace {

constexpr uint32_t OnTrigger = QV_OPTION_EXTERNAL_TRIGGER;
const std::string InVirtualTime = "time=virtual;";

using VirtualEvents = VirtualWorld;

int32_t FrameCode(int32_t camera)
{
    std::vector<uint16_t> pixels(static_cast<size_t>(Columns) * Rows);
    QV_GetCCD(1, 0.1, pixels.data(), camera);
    return QV_Status(camera);
}

} // namespace

// The input of a bus camera is looked at before the exposure, the others arm their counters.
TEST_F(VirtualEvents, AFrameWithTheExternalTriggerIsTakenWhenItComes)
{
    for (const char* text :
         {"platform=42,sensor=255", "platform=60,sensor=255", "platform=70,sensor=255",
          "platform=28,sensor=255", "platform=205,sensor=255"}) {
        SCOPED_TRACE(text);
        ASSERT_EQ(Install(InVirtualTime + text + ",scene=ramp,trigger=20"), 0) << error;
        Open(0, OnTrigger);
        ASSERT_EQ(QV_Status(0), 0);
        ASSERT_LT(QVB_Seconds(), 20.0);
        EXPECT_EQ(Frame(1, 0), Ramp(1));
        EXPECT_GE(QVB_Seconds(), 20.0);
        EXPECT_LT(QVB_Seconds(), 21.0);
        QV_Close(0);
    }
}

TEST_F(VirtualEvents, ATriggerLastsATenthOfASecondOrAsLongAsTold)
{
    ASSERT_EQ(Install(InVirtualTime + "platform=42,sensor=255,trigger=5,trigger=8:2"), 0) << error;
    Open(0);
    const struct {
        double seconds;
        int32_t active;
    } moments[] = {{4.99, 0}, {5.01, 1}, {5.09, 1}, {5.11, 0},
                   {7.99, 0}, {8.01, 1}, {9.99, 1}, {10.01, 0}};
    for (const auto& moment : moments) {
        QV_Delay(static_cast<int32_t>((moment.seconds - QVB_Seconds()) * 1000));
        EXPECT_EQ(QV_Trigger(0, 0), moment.active) << moment.seconds;
    }
}

// Both edges start an armed frame: the second of three seconds from 5 on comes at 8.
TEST_F(VirtualEvents, AnArmedFrameBeginsWithTheEndOfTheTrigger)
{
    ASSERT_EQ(Install(InVirtualTime + "platform=44,sensor=255,trigger=5:3"), 0) << error;
    Open(0);
    QV_ArmAcquisition(0.1, 0);
    QV_StartAcquisition(0, 0);
    EXPECT_GE(QVB_Seconds(), 8.0);
    EXPECT_LT(QVB_Seconds(), 9.0);
}

TEST_F(VirtualEvents, TheHeadsOfAnArrayHaveOneTrigger)
{
    ASSERT_EQ(Install(InVirtualTime + "platform=42,sensor=255,heads=2,scene=flat,trigger=5"), 0);
    const uint16_t config[4] = {0, 3, 0, 0};
    QV_OpenArray(config, 42, 255, 0, OnTrigger, 1, nullptr, nullptr);
    ASSERT_EQ(QV_Status(1), 0);
    ASSERT_LT(QVB_Seconds(), 5.0);
    std::vector<uint16_t> second(static_cast<size_t>(Columns) * Rows);
    uint16_t* buffers[8] = {nullptr, second.data()};
    const double exposures[8] = {0.1, 0.1};
    QV_AGetCCD(1, exposures, buffers, 1);
    EXPECT_GE(QVB_Seconds(), 5.0);
    EXPECT_EQ(second, std::vector<uint16_t>(second.size(), 20000));
}

// Without power an open of a bus camera finds the wrong version, a device is not there. Nothing
// tells that a frame of 205 did not arrive.
TEST_F(VirtualEvents, ACameraGoesOffAndComesBack)
{
    const struct {
        const char* text;
        int32_t frame, open; // codes while it is off
    } rows[] = {
        {"platform=44,sensor=255", 2, 1},
        {"platform=300,sensor=255", 2, 18},
        {"platform=61,sensor=255", 2, 18},
        {"platform=205,sensor=255", 0, 18},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ASSERT_EQ(Install(InVirtualTime + row.text + ",event=100:off,event=200:on"), 0) << error;
        Open(0);
        EXPECT_EQ(FrameCode(0), 0);
        QV_Delay(100000);
        EXPECT_EQ(FrameCode(0), row.frame);
        QV_Close(0);
        ASSERT_LT(QVB_Seconds(), 199.0);
        Open(0);
        EXPECT_EQ(QV_Status(0), row.open);
        QV_Close(0);
        QV_Delay(100000);
        Open(0);
        EXPECT_EQ(FrameCode(0), 0);
        QV_Close(0);
    }
}

// 300 has a time-out of 50 seconds, and 42 gives up behind a second without a pixel.
TEST_F(VirtualEvents, ASilentCameraRunsIntoTheLimitAndIsHeardAgain)
{
    const struct {
        const char* text;
        double least;
    } rows[] = {{"platform=300,sensor=255", 50.0}, {"platform=42,sensor=255", 1.0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ASSERT_EQ(Install(InVirtualTime + row.text), 0) << error;
        Open(0);
        ASSERT_EQ(QVB_Schedule(0, QVB_EVENT_SILENT, 0.0), 0);
        const double before = QVB_Seconds();
        EXPECT_EQ(FrameCode(0), 2);
        EXPECT_GE(QVB_Seconds() - before, row.least);
        ASSERT_EQ(QVB_Schedule(0, QVB_EVENT_ANSWERING, 0.0), 0);
        EXPECT_EQ(FrameCode(0), 0);
        QV_Close(0);
    }
}

TEST_F(VirtualEvents, ACameraThatStallsByItsTextStallsAgainOnceItAnswers)
{
    ASSERT_EQ(Install(InVirtualTime + "platform=42,sensor=255,state=stalls:100"), 0) << error;
    Open(0);
    ASSERT_EQ(QVB_Schedule(0, QVB_EVENT_SILENT, 0.0), 0);
    ASSERT_EQ(QVB_Schedule(0, QVB_EVENT_ANSWERING, 1.0), 0);
    QV_Delay(2000);
    EXPECT_EQ(FrameCode(0), 2);
}

TEST_F(VirtualEvents, EventsAreOfTheCameraThatTheyAreToldOf)
{
    ASSERT_EQ(Install(InVirtualTime + "platform=42,sensor=255,event=1:off;"
                                      "platform=300,sensor=255,camera=5,event=1:silent"),
              0)
        << error;
    Open(0);
    Open(1);
    ASSERT_EQ(QVB_Schedule(5, QVB_EVENT_ANSWERING, 10.0), 0);
    QV_Delay(20000);
    EXPECT_EQ(FrameCode(0), 2);
    EXPECT_EQ(FrameCode(5), 0);
}

// A hand at the trigger of a frame that another thread waits for.
TEST_F(VirtualEvents, InRealTimeAnyThreadMaySchedule)
{
    for (const char* text : {"platform=42,sensor=255", "platform=300,sensor=255"}) {
        SCOPED_TRACE(text);
        ASSERT_EQ(Install(text), 0) << error;
        Open(0, OnTrigger);
        ASSERT_EQ(QV_Status(0), 0);
        const double before = QVB_Seconds();
        std::thread hand([] {
            EXPECT_EQ(QVB_Schedule(0, QVB_EVENT_TRIGGER, 0.2), 0);
            EXPECT_EQ(QVB_Schedule(0, QVB_EVENT_TRIGGER_END, 0.3), 0);
        });
        EXPECT_EQ(FrameCode(0), 0);
        EXPECT_GE(QVB_Seconds() - before, 0.199);
        hand.join();
        QV_Close(0);
    }
}

TEST_F(VirtualEvents, TheEndOfTheWorldForgetsThem)
{
    ASSERT_EQ(Install(InVirtualTime + "platform=42,sensor=255,event=50:off"), 0);
    ASSERT_EQ(Install(InVirtualTime + "platform=42,sensor=255"), 0);
    Open(0);
    QV_Delay(60000);
    EXPECT_EQ(FrameCode(0), 0);
}

TEST_F(VirtualEvents, ThereIsRoomForSixtyFour)
{
    std::string text = InVirtualTime + "platform=42,sensor=255";
    for (int i = 0; i < 32; ++i) text += ",trigger=5";
    ExpectRefused(text + ",event=5:on", "event: \"5:on\" is not SECONDS:off");
    ASSERT_EQ(Install(text), 0) << error;
    EXPECT_EQ(QVB_Schedule(0, QVB_EVENT_OFF, 1.0), QVB_ERROR_NO_MEMORY);
    EXPECT_EQ(QVB_Schedule(0, QVB_EVENT_OFF, 0.0), 0);
    QV_Delay(5200);
    EXPECT_EQ(QVB_Schedule(0, QVB_EVENT_OFF, 1.0), 0);
}

TEST_F(VirtualEvents, WhatCannotHappenIsRefused)
{
    EXPECT_EQ(QVB_Schedule(0, QVB_EVENT_OFF, 0.0), QVB_ERROR_ARGUMENT);
    ASSERT_EQ(Install(InVirtualTime + "platform=42,sensor=255,camera=3"), 0);
    for (const int32_t camera : {-1, 0, 2, 4, 8, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(QVB_Schedule(camera, QVB_EVENT_OFF, 0.0), QVB_ERROR_ARGUMENT) << camera;
    }
    for (const int32_t event : {-1, 6, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(QVB_Schedule(3, event, 0.0), QVB_ERROR_ARGUMENT) << event;
    }
    for (const double seconds :
         {-0.001, 1e7 + 1, 1e300, static_cast<double>(INFINITY), static_cast<double>(NAN)}) {
        EXPECT_EQ(QVB_Schedule(3, QVB_EVENT_OFF, seconds), QVB_ERROR_ARGUMENT) << seconds;
    }
    ASSERT_EQ(QVB_Uninstall(), 0);
    for (const char* wrong : {"", "x", "-1", "5:", "5:0", "5:-1", ":1", "5:1:1", "nan", "1e8"}) {
        ExpectRefused(std::string("platform=42,trigger=") + wrong, "SECONDS or SECONDS:LENGTH");
    }
    for (const char* wrong : {"", "5", "5:", "5:dead", "x:off", "-1:off", "5:off:on"}) {
        ExpectRefused(std::string("platform=42,event=") + wrong, "is not SECONDS:off");
    }
    ExpectRefused("trigger=5,platform=42", "trigger: comes behind the platform=");
}
