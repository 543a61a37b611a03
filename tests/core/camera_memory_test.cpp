// The words of the camera's own memory.
#include "core/record.h"
#include "tests/support/demo_camera.h"
#include "tests/support/scripted_camera.h"

namespace {

class CameraMemory : public ScriptedTest {};

TEST_F(CameraMemory, SimulatedCameraAnswersWithoutItsFiles)
{
    OpenDemo(2, 0);
    RemoveDefinitions();
    EXPECT_EQ(QV_ReadEP(8, 2), 54321);
    EXPECT_EQ(QV_ReadEP(0, 2), 65535);
    EXPECT_EQ(QV_Status(2), 0);
}

TEST_F(CameraMemory, PlatformWithoutADriverGivesZero)
{
    EXPECT_EQ(QV_ReadEP(8, 0), 0) << "never opened";
    OpenScripted(0, 0);
    for (int32_t address : {0, 4, 8, 63, -1}) EXPECT_EQ(QV_ReadEP(address, 0), 0) << address;
}

} // namespace
