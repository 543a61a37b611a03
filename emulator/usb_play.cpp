// Sections of the USB cameras that play a pattern.
//
// A section that the host starts by hand is clocked to its end when the start is taken
// back, and sends nothing; or it begins when the camera is told to send. Told so without
// a hand at the start, the section begins at the end of the exposure counter: it is
// played once the host waits for its pixels, in case that it changes its mind before.
#include <vector>

#include "emulator/traffic.h"
#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

constexpr uint64_t NsPerUs = 1000;
constexpr size_t MostBytes = size_t{1} << 28; // of a section, whatever the host tells

struct Line {
    std::vector<uint16_t> pixels;
    std::vector<uint8_t> bytes;
};

void PlayLine(EmuUsbState* camera, Line* line)
{
    const auto start = static_cast<uint16_t>(camera->play.page << 8);
    line->pixels.clear();
    EmuPlay(camera->pattern, {start, camera->end}, 1, &camera->sensor, &line->pixels);
    line->bytes.clear();
    for (const uint16_t pixel : line->pixels) {
        line->bytes.push_back(static_cast<uint8_t>(pixel));
        line->bytes.push_back(static_cast<uint8_t>(pixel >> 8));
    }
}

void NotePlay(const EmuUsbState& camera)
{
    EmuNote("  play page %u, %u words, %u times", uint32_t{camera.play.page}, camera.end + 1u,
            uint32_t{camera.repeat});
}

void PlayUnseen(EmuUsbState* camera)
{
    camera->play.byHand = false;
    NotePlay(*camera);
    Line line;
    for (uint32_t pass = 0; pass < camera->repeat; ++pass) PlayLine(camera, &line);
}

// The bytes of a line come evenly over its time.
void PlayAndSend(EmuUsbState* camera, uint64_t begin)
{
    camera->play.byHand = false;
    NotePlay(*camera);
    const uint64_t lineNs = (camera->end + uint64_t{1}) * camera->setup.wordNs;
    Line line;
    size_t sent = 0;
    EmuUsbBeginFrame(camera, 1);
    for (uint32_t pass = 0; pass < camera->repeat && sent < MostBytes; ++pass) {
        PlayLine(camera, &line);
        const size_t bytes = line.bytes.size();
        if (bytes == 0) continue;
        EmuUsbSendPixels(camera, &line.bytes, begin + pass * lineNs / NsPerUs,
                         static_cast<uint32_t>(lineNs / bytes));
        sent += bytes;
    }
}

void Arm(EmuUsbState* camera)
{
    camera->armed = true;
    camera->play.followsCount = EmuNow() < camera->exposureEnds;
}

bool ShutterOpens(const EmuUsbState& camera)
{
    constexpr uint16_t line = 0x04;
    const uint32_t control = camera.setup.platform == 28 ? 3 : 6;
    return (camera.registers[control] & line) != 0;
}

void StartCounter(EmuUsbState* camera)
{
    camera->play.awaitsTrigger = false;
    camera->exposureEnds = EmuNow() + camera->play.counts;
    camera->play.followsCount = camera->armed;
    if (!ShutterOpens(*camera)) return;
    EmuExpose(&camera->sensor);
    ++camera->exposures;
}

} // namespace

void EmuUsbStopSections(EmuUsbState* camera)
{
    if (camera->play.byHand) PlayUnseen(camera);
    camera->armed = false;
    camera->play.followsCount = false;
    EmuUsbDropSent(camera);
}

void EmuUsbSections(EmuUsbState* camera, uint32_t before, uint32_t now, uint16_t page)
{
    const uint32_t rising = now & ~before;
    if (rising & EmuByHand) EmuUsbStopSections(camera);
    if (rising & EmuStart && now & EmuByHand) camera->play.byHand = true;
    if (rising) camera->play.page = page & 0xFFu;
    if (camera->play.byHand && !(now & EmuStart) && !(now & EmuSends)) PlayUnseen(camera);
    if (!(rising & EmuSends)) return;
    if (!(now & EmuByHand)) {
        Arm(camera);
    } else if (camera->play.byHand) {
        PlayAndSend(camera, EmuNow());
    }
}

void EmuUsbCount(EmuUsbState* camera, uint64_t microseconds, bool onTrigger)
{
    camera->play.counts = microseconds;
    camera->play.awaitsTrigger = onTrigger && !camera->trigger;
    if (!camera->play.awaitsTrigger) StartCounter(camera);
}

void EmuUsbLook(EmuUsbState* camera)
{
    if (!camera->play.followsCount) return;
    camera->play.followsCount = false;
    camera->armed = false;
    PlayAndSend(camera, camera->exposureEnds);
}

void EmuUsbTriggered(EmuUsbState* camera)
{
    if (camera->play.awaitsTrigger) StartCounter(camera);
}
