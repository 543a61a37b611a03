// Frames of the simulated camera at exposure 0: the program qvn against a host that does no more
// than it must, in one run. Both open the camera, take frames and have files of the same size
// reach the disk under their names; the host's files are the pixels as they came, behind as many
// bytes as a FITS header has.
//
// A command is a process from its start to its end. A frame is what one more in the same process
// costs. Times are wall-clock, the median of rounds in which both take turns.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "include/qvn.h"
#include "platform/system.h"

namespace {

constexpr int Rounds = 15;
constexpr int Frames = 21;
constexpr int32_t Sensor = 275;
constexpr size_t FitsBlock = 2880;
constexpr size_t HeaderBytes = 2 * FitsBlock;

double Milliseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(now).count();
}

bool WriteFile(const std::string& path, const std::vector<uint16_t>& bytes)
{
    const std::string part = path + ".part";
    const size_t size = bytes.size() * sizeof(uint16_t);
    const int file = open(part.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0666);
    if (file < 0) return false;
    const bool written = write(file, bytes.data(), size) == static_cast<ssize_t>(size);
    const bool there = fsync(file) == 0;
    close(file);
    return written && there && rename(part.c_str(), path.c_str()) == 0;
}

// What a host must do for its frames. The process is one of its own.
int RunHost(int frames)
{
    QV_SetPathName("qvn");
    QV_Open(QV_PLATFORM_DEMO, Sensor, 0, 0, 0, 0, 0, nullptr, nullptr);
    const auto pixels = static_cast<size_t>(QV_GetDimX(0)) * static_cast<size_t>(QV_GetDimY(0));
    const size_t blocks = (pixels * sizeof(uint16_t) + FitsBlock - 1) / FitsBlock;
    std::vector<uint16_t> file((HeaderBytes + blocks * FitsBlock) / sizeof(uint16_t));
    uint16_t* frame = file.data() + HeaderBytes / sizeof(uint16_t);
    bool good = QV_Status(0) == QV_ERROR_NONE;
    for (int number = 1; good && number <= frames; ++number) {
        QV_GetCCD(1, 0.0, frame, 0);
        good = QV_Status(0) == QV_ERROR_NONE &&
               WriteFile("host_" + std::to_string(number) + ".fits", file);
    }
    QV_Close(0);
    return good ? 0 : 1;
}

// Runs a program, whose output goes nowhere, and returns its time.
double TimeOf(const std::vector<std::string>& words)
{
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const double start = Milliseconds();
    pid_t process = 0;
    int status = -1;
    if (posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environ) == 0) {
        waitpid(process, &status, 0);
    }
    posix_spawn_file_actions_destroy(&actions);
    if (status != 0) {
        fprintf(stderr, "%s %s failed\n", words[0].c_str(), words[1].c_str());
        exit(1);
    }
    return Milliseconds() - start;
}

double Median(std::vector<double> times)
{
    std::nth_element(times.begin(), times.begin() + Rounds / 2, times.end());
    return times[Rounds / 2];
}

struct Series {
    double one, many;

    double Frame() const { return (many - one) / (Frames - 1); }
};

void PrintRow(const char* what, double program, double host)
{
    printf("%-26s %8.2f %8.2f   %5.2f\n", what, program, host, program / host);
}

void Measure(const std::string& qvn, const std::string& self)
{
    const std::vector<std::string> expose = {qvn, "expose", "--seconds", "0", "--overwrite"};
    std::vector<std::string> exposeMany = expose;
    exposeMany.insert(exposeMany.end(), {"--frames", std::to_string(Frames)});
    std::vector<double> version, one, many, hostOne, hostMany;
    for (int round = 0; round < Rounds; ++round) {
        version.push_back(TimeOf({qvn, "--version"}));
        one.push_back(TimeOf(expose));
        hostOne.push_back(TimeOf({self, "--host", "1"}));
        many.push_back(TimeOf(exposeMany));
        hostMany.push_back(TimeOf({self, "--host", std::to_string(Frames)}));
    }
    const Series program = {Median(one), Median(many)};
    const Series host = {Median(hostOne), Median(hostMany)};
    printf("milliseconds, the median of %d rounds\n%-26s %8s %8s   %5s\n", Rounds, "", "qvn",
           "host", "times");
    PrintRow("one frame, a whole command", program.one, host.one);
    PrintRow("one more frame", program.Frame(), host.Frame());
    printf("qvn --version %.2f\n", Median(version));
}

} // namespace

int main(int count, char** arguments)
{
    UseNativeSystem();
    if (count == 3 && strcmp(arguments[1], "--host") == 0) return RunHost(atoi(arguments[2]));
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
    const std::string qvn = self.parent_path() / "qvn";
    if (!std::filesystem::exists(qvn)) {
        printf("SKIP: the program qvn was not built\n");
        return 0;
    }
    std::string folder = std::filesystem::temp_directory_path() / "qvn_expose_XXXXXX";
    if (mkdtemp(folder.data()) == nullptr || chdir(folder.c_str()) != 0) return 1;
    TimeOf({qvn, "init"});
    Measure(qvn, self);
    std::filesystem::remove_all(folder);
    return 0;
}
