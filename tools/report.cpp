// How the program ends, and what it says when something fails.
#include "tools/report.h"

#include <cstdio>

#include "include/qvn_supervisor.h"
#include "tools/progress.h"
#include "tools/text.h"

namespace {

struct Advice {
    int32_t code;
    const char* text;
};

const Advice AdviceRows[] = {
    {1, "check the camera's power and cable, and --interface"},
    {2, "check the cable and switch the camera off and on"},
    {3, "choose another --platform; this one has no driver (`qvn list` shows them all)"},
    {4, "end the other program that uses the interface"},
    {5, "--library-path FOLDER with a folder that holds qvn.cfg; `qvn init FOLDER` makes one"},
    {6, "--library-path FOLDER with a folder that holds qvn.cfg; `qvn init FOLDER` makes one"},
    {7,
     "check that the wheel is plugged in, has power and turns freely, and that --kind is its kind"},
    {8, "a lower vertical --binning or a smaller --window"},
    {9, "free memory, or --options 0x4000 to do without DMA"},
    {10, "switch the remote serializer on"},
    {11, "check InterfaceLink in camera.cfg"},
    {12, "--platform 42 or 44; others have no arrays"},
    {13, "install the driver of the interface card"},
    {15, "check PciIndex in camera.cfg, or --camera"},
    {16, "a smaller --window or a higher --binning"},
    {17, "plug the camera in and switch it on"},
    {18, "check the rights on the USB device, and that no other program holds it"},
    {19, "put io.dll into the working directory, or leave bit 0x800 out of --options"},
    {20, "install kzbusb.dll"},
    {22, "free memory, or a lower vertical --binning"},
    {23, "make the library folder writable; wave.bin is written there"},
    {27, "check the camera's power supply"},
    {28, "update the camera's DSP"},
    {QVNS_ERROR_ARGUMENT, "other numbers: `qvn COMMAND --help` tells what may be given"},
    {QVNS_ERROR_BUSY, "it again in a moment"},
    {QVNS_ERROR_TIME, "check the camera's power and cable"},
    {QVNS_ERROR_LOST,
     "pull the camera's plug or switch it off, which ends its call; the program does not wait for "
     "it"},
    {QVNS_ERROR_NO_MEMORY, "a smaller --window or a higher --binning"},
    {QVNS_ERROR_SERIAL, "`qvn info --camera N` shows the number of each camera"},
    {QVNS_ERROR_FAULT,
     "check the camera's power and cable; --come-back SECONDS waits for a camera that comes back"},
};

} // namespace

void Complain(const std::string& doing, const std::string& reason, const std::string& advice)
{
    ProgressEnd();
    std::fflush(stdout);
    std::fprintf(stderr, "qvn: %s: %s\n", doing.c_str(), reason.c_str());
    if (!advice.empty()) std::fprintf(stderr, "     Try: %s\n", advice.c_str());
}

void Announce(const std::string& line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

bool OutputFailed()
{
    return std::ferror(stdout) != 0;
}

int FinishOutput(int exitCode)
{
    if (std::fflush(stdout) == 0 && !OutputFailed()) return exitCode;
    Complain("writing the results to stdout", "not all of them arrived",
             "a file on a disk with free space, or a reader that stays to the end");
    return exitCode == ExitDone ? ExitFailed : exitCode;
}

std::string LibraryText(int32_t code)
{
    const char* text = qvns_error_text(code);
    const bool known = text != nullptr && *text != '\0';
    return Text("%s (error %d)", known ? text : "The library has no text for this", code);
}

std::string LibraryAdvice(int32_t code)
{
    for (const Advice& row : AdviceRows) {
        if (row.code == code) return row.text;
    }
    return "switch the camera off and on, then `qvn info`";
}
