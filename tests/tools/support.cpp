// Running the program and looking at what it left.
#include "tests/tools/support.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

const char* const ProgramPath = QVN_BINARY_DIR "/qvn";

double Now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

int OpenOut(const Scratch& scratch, const std::string& file)
{
    if (scratch.out == OutTo::Nowhere) return open("/dev/null", O_WRONLY);
    if (scratch.out == OutTo::FullDisk) return open("/dev/full", O_WRONLY);
    if (scratch.out == OutTo::File) return open(file.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    int ends[2] = {-1, -1};
    if (pipe(ends) == 0) close(ends[0]);
    return ends[1];
}

// In the child: never returns.
[[noreturn]] void BecomeProgram(const Scratch& scratch, const std::vector<std::string>& arguments)
{
    // A runner in the background may have had its children ignore Ctrl-C.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGPIPE, SIG_DFL);
    if (!scratch.spy.empty()) {
        setenv("QVN_SPY", scratch.spy.c_str(), 1);
        setenv("QVN_SPY_LOG", (scratch.path + ".spy").c_str(), 1);
        setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
        setenv("LD_PRELOAD", QVN_CAMERA_SPY, 1);
    }
    if (scratch.largestFile > 0) {
        // Without the signal the write fails as on a full disk.
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {static_cast<rlim_t>(scratch.largestFile),
                              static_cast<rlim_t>(scratch.largestFile)};
        setrlimit(RLIMIT_FSIZE, &limit);
        // The thread sanitizer would start with a larger file there, and fail.
        setenv("TMPDIR", "/nowhere", 1);
    }
    if (scratch.asNobody && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(127);
    std::vector<char*> list = {const_cast<char*>("qvn")};
    for (const std::string& argument : arguments) {
        list.push_back(const_cast<char*>(argument.c_str()));
    }
    list.push_back(nullptr);
    if (chdir(scratch.path.c_str()) == 0) execv(ProgramPath, list.data());
    _exit(127);
}

} // namespace

Scratch MakeScratch()
{
    char name[] = "/tmp/qvn_tools_XXXXXX";
    const char* made = mkdtemp(name);
    Scratch scratch;
    if (made != nullptr) scratch.path = made;
    return scratch;
}

void RemoveScratch(const Scratch& scratch)
{
    std::error_code ignored;
    if (!scratch.path.empty()) std::filesystem::remove_all(scratch.path, ignored);
    for (const char* ending : {".out", ".err", ".spy"}) {
        std::filesystem::remove(scratch.path + ending, ignored);
    }
}

RunningProgram StartProgram(const Scratch& scratch, const std::vector<std::string>& arguments)
{
    RunningProgram program;
    program.outFile = scratch.path + ".out";
    program.errFile = scratch.path + ".err";
    program.start = Now();
    const int out = OpenOut(scratch, program.outFile);
    const int err = open(program.errFile.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    program.process = fork();
    if (program.process == 0) {
        dup2(out, STDOUT_FILENO);
        dup2(scratch.errToo ? out : err, STDERR_FILENO);
        BecomeProgram(scratch, arguments);
    }
    close(out);
    close(err);
    return program;
}

ProgramResult FinishProgram(const RunningProgram& program)
{
    ProgramResult result;
    int status = 0;
    waitpid(program.process, &status, 0);
    result.seconds = Now() - program.start;
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    result.out = ReadFile(program.outFile);
    result.err = ReadFile(program.errFile);
    return result;
}

ProgramResult RunProgram(const Scratch& scratch, const std::vector<std::string>& arguments)
{
    return FinishProgram(StartProgram(scratch, arguments));
}

bool WaitForText(const RunningProgram& program, const std::string& text)
{
    for (int32_t i = 0; i < 1000; ++i) {
        if (Contains(ReadFile(program.errFile) + ReadFile(program.outFile), text)) return true;
        usleep(10000);
    }
    return false;
}

std::string RunOnTerminal(const Scratch& scratch, const std::vector<std::string>& arguments)
{
    int terminal = -1;
    const pid_t process = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (process == 0) BecomeProgram(scratch, arguments);
    std::string shown;
    char part[512];
    ssize_t count = 0;
    while ((count = read(terminal, part, sizeof(part))) > 0) {
        shown.append(part, static_cast<size_t>(count));
    }
    waitpid(process, nullptr, 0);
    close(terminal);
    return shown;
}

bool CopySampleFiles(const Scratch& scratch, const std::string& folder)
{
    namespace fs = std::filesystem;
    const fs::path from = QVN_TEST_SKY;
    const fs::path to = fs::path(scratch.path) / folder;
    std::error_code error;
    fs::create_directory(to, error);
    for (const char* name : {"qvn.cfg", "camera.cfg"}) {
        if (!error) fs::copy_file(from / name, to / name, error);
    }
    if (!error) fs::create_symlink(from / "starfield.raw", to / "starfield.raw", error);
    return !error;
}

std::string SpyNotes(const Scratch& scratch)
{
    return ReadFile(scratch.path + ".spy");
}

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

bool FileExists(const Scratch& scratch, const std::string& name)
{
    return std::filesystem::exists(scratch.path + "/" + name);
}

std::string ReadText(const Scratch& scratch, const std::string& name)
{
    return ReadFile(scratch.path + "/" + name);
}

void WriteText(const Scratch& scratch, const std::string& name, const std::string& text)
{
    std::ofstream(scratch.path + "/" + name, std::ios::binary) << text;
}

std::vector<std::string> FilesIn(const Scratch& scratch)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(scratch.path)) {
        if (entry.is_regular_file()) names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}
