// Frames of the cameras that clock their sensor themselves.
#include <algorithm>
#include <vector>

#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

constexpr uint32_t MostWords = 1u << 26;

uint16_t Pixel(const EmuUsbState& camera, const EmuUsbFrame& frame, uint32_t index)
{
    const uint32_t line = index / frame.width;
    const int64_t lineOfPicture = frame.lineOf != nullptr ? frame.lineOf(line) : line;
    const int64_t row = frame.row + lineOfPicture * frame.vbin;
    const int64_t column = frame.column + int64_t{index % frame.width} * frame.hbin;
    if (lineOfPicture < 0 || row >= frame.rowEnd || column >= frame.columnEnd) return 0;
    return EmuSceneBin(camera, column, row, frame.hbin, frame.vbin);
}

void Send(EmuUsbState* camera, const EmuUsbFrame& frame)
{
    const auto words = static_cast<uint32_t>(std::min<uint64_t>(frame.words, MostWords));
    std::vector<uint8_t> bytes;
    bytes.reserve(size_t{2} * words);
    for (uint32_t i = 0; i < words; ++i) {
        const uint16_t pixel = frame.light && frame.width != 0 ? Pixel(*camera, frame, i) : 0;
        bytes.push_back(static_cast<uint8_t>(pixel));
        bytes.push_back(static_cast<uint8_t>(pixel >> 8));
    }
    const uint64_t begin = std::max(EmuNow(), camera->exposureEnds);
    EmuUsbBeginFrame(camera, frame.hbin);
    EmuUsbSendPixels(camera, &bytes, begin, camera->setup.wordNs / 2);
}

} // namespace

void EmuSendFrame(EmuUsbState* camera, const EmuUsbFrame& frame)
{
    camera->frameWaits = camera->armed && !camera->trigger;
    if (camera->frameWaits) {
        camera->waiting = frame;
        return;
    }
    camera->armed = false;
    Send(camera, frame);
}

void EmuReleaseFrame(EmuUsbState* camera)
{
    if (camera->frameWaits) EmuSendFrame(camera, camera->waiting);
}
