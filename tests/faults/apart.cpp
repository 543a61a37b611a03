#include "tests/faults/apart.h"

#include <array>
#include <cstdio>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

// Writes what was counted so far; there where coverage is measured.
extern "C" __attribute__((weak)) void __gcov_dump();

namespace {

std::string ReadToTheEnd(int source)
{
    std::string text;
    std::array<char, 4096> part;
    for (ssize_t got = 0; (got = read(source, part.data(), part.size())) > 0;) {
        text.append(part.data(), static_cast<size_t>(got));
    }
    return text;
}

[[noreturn]] void RunAsChild(const std::function<bool()>& body, int output)
{
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    const bool good = body();
    fflush(nullptr);
    if (__gcov_dump != nullptr) __gcov_dump();
    _exit(good ? 0 : 1);
}

} // namespace

Ending RunApart(const std::function<bool()>& body, std::string* said)
{
    int ends[2];
    fflush(nullptr);
    if (pipe(ends) != 0) return Ending::Broken;
    const pid_t child = fork();
    if (child == 0) RunAsChild(body, ends[1]);
    close(ends[1]);
    *said = ReadToTheEnd(ends[0]);
    close(ends[0]);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) return Ending::Broken;
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return Ending::Good;
    return said->find("virtual time limit") != std::string::npos ? Ending::Hung : Ending::Broken;
}

void* ShareMemory(size_t bytes)
{
    void* const memory =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}
