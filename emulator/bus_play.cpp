// The sequencer of a bus camera: sections played at once, or word by word for a link
// that takes their pixels.
#include <vector>

#include "emulator/bus_state.h"
#include "emulator/traffic.h"
#include "emulator/world.h"

namespace {

constexpr uint64_t NsPerUs = 1000;

// The next word of the section. False when its last pass is over.
bool PlayWord(EmuBusState* camera, uint16_t* pixel, bool* sent)
{
    EmuBusPlay& play = camera->play;
    if (play.left == 0) {
        if (play.pass > 0 && play.sentInPass == 0 && camera->stream.on) return false;
        if (play.pass == play.repeat) return false;
        ++play.pass;
        play.left = play.end + 1u;
        play.sentInPass = 0;
    }
    --play.left;
    const uint32_t at = ((play.page & 0xFFu) << 8) + play.left;
    *sent = EmuSensorTick(&camera->sensor, camera->pattern.words[at % EmuPatternWords], pixel);
    if (*sent) ++play.sentInPass;
    return true;
}

// Steps to the next word that the section sends.
bool MakePixel(EmuBusState* camera, uint16_t* pixel)
{
    if (camera->stream.behind != 0) {
        --camera->stream.behind;
        *pixel = 0;
        return true;
    }
    bool sent = false;
    while (!sent) {
        if (!PlayWord(camera, pixel, &sent)) return false;
        ++camera->stream.ticks;
    }
    if (camera->play.temperature) *pixel = EmuConvertTemperature(*camera);
    return true;
}

void MakeNext(EmuBusState* camera)
{
    EmuBusStreamState& stream = camera->stream;
    if (!stream.on || stream.ready) return;
    stream.ready = stream.make(camera, &stream.next);
    if (!stream.ready) stream.on = false;
}

bool IsDue(const EmuBusState& camera)
{
    const EmuBusStreamState& stream = camera.stream;
    if (!stream.on || !stream.ready || stream.taken >= camera.mute) return false;
    const uint64_t at = (stream.ticks - stream.firstTick) * camera.setup.wordNs;
    return EmuNow() * NsPerUs >= stream.begin + at;
}

} // namespace

void EmuStartSection(EmuBusState* camera, uint16_t page)
{
    EmuFinishSection(camera);
    EmuGatherLight(camera);
    camera->stream.on = false;
    camera->converted = false;
    camera->play = {};
    camera->play.waits = true;
    camera->play.page = page;
    camera->play.end = camera->end;
    camera->play.repeat = camera->repeat;
    EmuNote("  play page %u, %u words, %u times", page & 0xFFu, camera->end + 1u,
            uint32_t{camera->repeat});
}

void EmuFinishSection(EmuBusState* camera)
{
    if (!camera->play.waits) return;
    camera->play.waits = false;
    const uint16_t start = static_cast<uint16_t>(camera->play.page << 8);
    std::vector<uint16_t> dropped;
    for (uint32_t pass = 0; pass < camera->play.repeat; ++pass) {
        dropped.clear();
        EmuPlay(camera->pattern, {start, camera->play.end}, 1, &camera->sensor, &dropped);
    }
}

void EmuStopSection(EmuBusState* camera)
{
    EmuFinishSection(camera);
    camera->stream.on = false;
}

void EmuStreamSection(EmuBusState* camera, uint64_t notBefore)
{
    camera->play.waits = false;
    EmuBeginStream(camera, MakePixel, notBefore);
}

void EmuBeginStream(EmuBusState* camera, bool (*make)(EmuBusState*, uint16_t*), uint64_t notBefore)
{
    const uint64_t now = EmuNow();
    camera->stream = {};
    camera->stream.on = true;
    camera->stream.make = make;
    camera->stream.behind = camera->play.temperature ? 0 : camera->setup.lag;
    camera->stream.begin = (notBefore > now ? notBefore : now) * NsPerUs;
    MakeNext(camera);
    camera->stream.firstTick = camera->stream.ticks;
}

bool EmuStreamWaits(EmuBusState* camera)
{
    MakeNext(camera);
    return IsDue(*camera);
}

uint16_t EmuStreamTake(EmuBusState* camera)
{
    if (!EmuStreamWaits(camera)) return 0xFFFF;
    camera->stream.ready = false;
    ++camera->stream.taken;
    return camera->stream.next;
}
