// Stands between the program and the library: loaded ahead of the library it notes calls
// in the file QVN_SPY_LOG and disturbs those that QVN_SPY names.
#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "include/qvn_bench.h"

namespace {

template <typename Function> Function* Next(Function*, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool Does(const char* word)
{
    const char* words = getenv("QVN_SPY");
    return words != nullptr && strstr(words, word) != nullptr;
}

void Note(const char* format, ...)
{
    char line[80];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    const char* path = getenv("QVN_SPY_LOG");
    const int file =
        open(path != nullptr ? path : "/dev/null", O_CREAT | O_APPEND | O_WRONLY, 0600);
    [[maybe_unused]] const ssize_t put = write(file, line, static_cast<size_t>(length));
    close(file);
}

bool Blind = false;
std::atomic<bool> Cooled = false;

} // namespace

// "early": Ctrl-C while the camera is being opened.
void QV_Open(int32_t platform, int32_t ccd, int32_t address, int32_t interfaceType, int32_t attach,
             int32_t camera, uint32_t options, QvExposureCallback exposureCallback,
             QvProgressCallback progressCallback)
{
    if (Does("early")) {
        kill(getpid(), SIGINT);
        usleep(300000);
    }
    Next(QV_Open, "QV_Open")(platform, ccd, address, interfaceType, attach, camera, options,
                             exposureCallback, progressCallback);
}

void QV_Close(int32_t camera)
{
    Note("Close\n");
    Next(QV_Close, "QV_Close")(camera);
}

void QV_Cooler(int32_t on, int32_t camera)
{
    Note("Cooler %d\n", on);
    Next(QV_Cooler, "QV_Cooler")(on, camera);
}

void QV_SetTemp(double temperature, int32_t units, int32_t camera)
{
    Note("SetTemp %g\n", temperature);
    Cooled = true;
    Next(QV_SetTemp, "QV_SetTemp")(temperature, units, camera);
}

// "throw": the program runs out of memory in the midst of its work.
double QVB_Seconds(void)
{
    if (Does("throw") && Cooled) throw std::runtime_error("thrown by the spy");
    return Next(QVB_Seconds, "QVB_Seconds")();
}

// "stalled": a reading of the temperature takes its time.
int32_t QV_TemperatureHandle(int32_t camera)
{
    if (Does("stalled")) sleep(3);
    return Next(QV_TemperatureHandle, "QV_TemperatureHandle")(camera);
}

// "blind": the temperature cannot be read.
double QV_ReadTemp(int32_t units, int32_t camera)
{
    Blind = Does("blind");
    return Blind ? 0.0 : Next(QV_ReadTemp, "QV_ReadTemp")(units, camera);
}

int32_t QV_Status(int32_t camera)
{
    return Blind ? QV_ERROR_LINK_FAILURE : Next(QV_Status, "QV_Status")(camera);
}

// "hang": the camera never answers.
void QV_FGetCCD(int32_t shutter, double exposure, uint16_t* buffer, int32_t camera)
{
    for (int32_t second = 0; Does("hang") && second < 60; ++second) sleep(1);
    Next(QV_FGetCCD, "QV_FGetCCD")(shutter, exposure, buffer, camera);
}

// "third": the camera fails in the third frame of a series.
void QV_Kinetics(int32_t shutter, double exposure, int32_t frames, int32_t x, int32_t y,
                 int32_t width, int32_t height, uint16_t** buffers, int32_t camera)
{
    Next(QV_Kinetics, "QV_Kinetics")(shutter, exposure, Does("third") ? 3 : frames, x, y, width,
                                     height, buffers, camera);
    Blind = Does("third");
}

void QV_FGetWinCCD(int32_t shutter, double exposure, int32_t x, int32_t y, int32_t width,
                   int32_t height, uint16_t* buffer, int32_t camera)
{
    Note("room for %zu pixels\n", malloc_usable_size(buffer) / 2);
    Next(QV_FGetWinCCD, "QV_FGetWinCCD")(shutter, exposure, x, y, width, height, buffer, camera);
}

// Of the program's files: not a call of the library, yet nobody sees it otherwise.
extern "C" int fsync(int file)
{
    Note("fsync\n");
    return Next(fsync, "fsync")(file);
}
