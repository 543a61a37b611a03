// The two definitions are read one after the other; here the file breaks in
// between, as when it is being replaced. A pipe under the file's name gives
// every opening a content of its own.
#if defined(__linux__)
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "core/record.h"
#include "tests/support/demo_camera.h"

namespace {

// Gives `content` to the next reader of the pipe. False: nobody came.
bool Serve(const std::string& path, const std::string& content)
{
    for (int32_t attempt = 0; attempt < 5000; ++attempt) {
        const int pipe = open(path.c_str(), O_WRONLY | O_NONBLOCK);
        if (pipe >= 0) {
            const bool written =
                write(pipe, content.data(), content.size()) == static_cast<ssize_t>(content.size());
            close(pipe);
            return written;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

class DefinitionsInTurn : public DemoTest {};

TEST_F(DefinitionsInTurn, SensorThatCannotBeReadAfterThePlatformGivesSix)
{
    const std::string path = DemoFolder() + "qvn.cfg";
    RemoveDefinitions();
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int watch = inotify_init1(0);
    ASSERT_GE(watch, 0);
    ASSERT_GE(inotify_add_watch(watch, path.c_str(), IN_CLOSE_NOWRITE), 0);

    bool served = false;
    std::thread writer([&] {
        char event[sizeof(inotify_event) + 256];
        served = Serve(path, SampleDefinitions()) && read(watch, event, sizeof event) > 0 &&
                 Serve(path, "rmk_camera_library: {");
    });
    OpenDemo(0, 0);
    writer.join();
    close(watch);
    EXPECT_TRUE(served);
    EXPECT_EQ(QV_Status(0), 6);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(CameraTable[0].Platform.TimeBase, 40.0);
    EXPECT_EQ(CameraTable[0].CcdCode, 0);
}

} // namespace
#endif
