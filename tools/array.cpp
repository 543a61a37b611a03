// qvn array: several heads behind one card, exposed together.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/breaker.h"
#include "tools/commands.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

constexpr int32_t Heads = 8;

// What no frame is likely to hold: a head that fails is known by it.
uint16_t Untouched(size_t index)
{
    return index % 2 == 0 ? 0xA53C : 0x5AC3;
}

// A head that fails leaves off in the middle of its frame, and nothing else tells.
bool IsWhole(const FrameRecord& frame)
{
    const size_t count = PixelCount(frame);
    for (size_t i = count - static_cast<size_t>(frame.width); i < count; ++i) {
        if (frame.pixels[i] != Untouched(i)) return true;
    }
    return false;
}

double SecondsOf(const ArrayRequest& request, size_t place)
{
    return request.seconds.size() == 1 ? request.seconds[0] : request.seconds[place];
}

bool RequestFits(const Session& session, const ArrayRequest& request)
{
    const size_t count = session.heads.size();
    if (request.seconds.size() == 1 || request.seconds.size() == count) return true;
    Complain("checking --seconds",
             Text("%zu exposures for %zu heads", request.seconds.size(), count),
             "one for all heads, or one for each");
    return false;
}

// Heads have no binning of their own here, and their temperature is not theirs alone.
FrameRecord MakeFrame(const Session& session, const ArrayRequest& request, size_t place)
{
    FrameRecord frame;
    frame.width = session.ccd.Xpix;
    frame.height = session.ccd.Ypix;
    frame.light = request.light;
    frame.requestedSeconds = SecondsOf(request, place);
    frame.exposedSeconds = frame.requestedSeconds;
    frame.name = Text("HEAD%d", session.heads[place]);
    frame.notes = {{"HEAD", static_cast<double>(session.heads[place]), true, "of the array", ""}};
    NoteInstrument(session, &frame);
    return frame;
}

bool MakeFrames(const Session& session, const ArrayRequest& request,
                std::vector<FrameRecord>* frames)
{
    for (size_t place = 0; place < session.heads.size(); ++place) {
        frames->push_back(MakeFrame(session, request, place));
        FrameRecord& frame = frames->back();
        if (!MakeRoom(PixelCount(frame), &frame)) return false;
        for (size_t i = 0; i < frame.pixels.size(); ++i) frame.pixels[i] = Untouched(i);
    }
    return true;
}

// Whether a signal cut an exposure short.
bool Expose(const Session& session, const ArrayRequest& request, std::vector<FrameRecord>* frames)
{
    double exposures[Heads] = {};
    uint16_t* buffers[Heads] = {};
    double longest = 0.0;
    for (size_t place = 0; place < frames->size(); ++place) {
        const int32_t head = session.heads[place];
        exposures[head] = SecondsOf(request, place);
        buffers[head] = (*frames)[place].pixels.data();
        longest = std::max(longest, exposures[head]);
    }
    ProgressBegin(Text("array of %zu heads", frames->size()), longest);
    BreakerArm(session.camera);
    const double start = SteadySeconds();
    QV_AGetCCD(request.light ? 1 : 0, exposures, buffers, session.camera);
    BreakerArm(-1);
    ProgressEnd();
    // The library shortens exposures of more than 500 whole milliseconds only.
    return BreakRequested() && std::trunc(longest * 1000.0) > 500.0 &&
           BreakSeconds() - start < longest;
}

// Takes heads out that failed; whether none did.
bool KeepWhole(const Session& session, std::vector<FrameRecord>* frames)
{
    std::vector<FrameRecord> whole;
    for (FrameRecord& frame : *frames) {
        if (IsWhole(frame)) {
            whole.push_back(std::move(frame));
            continue;
        }
        Complain(Text("reading %s of camera %d, %s", frame.name.c_str(), session.camera,
                      CameraText(session).c_str()),
                 "its frame did not arrive", "check its cable, and that --heads is right");
    }
    const bool all = whole.size() == frames->size();
    *frames = std::move(whole);
    return all;
}

bool SaveOneFile(const ArrayRequest& request, const std::vector<FrameRecord>& frames)
{
    std::string error;
    if (!SaveExtensions(frames, request.files.output, request.files.overwrite, &error)) {
        Complain("writing the frames", error, "free space, or another --output");
        return false;
    }
    Announce(Text("Wrote %s, %zu heads of %d x %d pixels", request.files.output.c_str(),
                  frames.size(), frames[0].width, frames[0].height));
    return true;
}

bool Save(const Session& session, const ArrayRequest& request,
          const std::vector<FrameRecord>& frames)
{
    if (frames.empty()) return false;
    if (request.oneFile) return SaveOneFile(request, frames);
    const size_t count = session.heads.size();
    return std::all_of(frames.begin(), frames.end(), [&](const FrameRecord& frame) {
        const auto head = static_cast<int32_t>(frame.notes[0].value);
        return SaveFrameFiles(frame, request.files, head, count);
    });
}

int Take(const Session& session, const ArrayRequest& request)
{
    std::vector<FrameRecord> frames;
    if (!MakeFrames(session, request, &frames)) return ExitFailed;
    if (BreakRequested()) return ExitBroken;
    if (Expose(session, request, &frames)) {
        std::fprintf(stderr, "qvn: broken off, the frames were not kept\n");
        return ExitBroken;
    }
    const bool whole = KeepWhole(session, &frames);
    const bool saved = Save(session, request, frames);
    if (!whole || !saved) return ExitFailed;
    return BreakRequested() ? ExitBroken : ExitDone;
}

bool HeadsAreKnown(const CameraRequest& camera)
{
    if (!camera.heads.empty() || !camera.world.text.empty()) return true;
    Complain("choosing the heads", "nothing tells which heads are fitted", "--heads 0,1");
    return false;
}

bool FilesAreFine(const ArrayRequest& request)
{
    if (request.oneFile) {
        if (ChosenFormat(request.files) == ImageFormat::Fits) {
            return FrameFilesAreFine(request.files, {0});
        }
        Complain("checking --output", "--one-file is for FITS", "the ending .fits");
        return false;
    }
    std::vector<int32_t> numbers = request.camera.heads;
    for (int32_t head = 0; request.camera.heads.empty() && head < Heads; ++head) {
        numbers.push_back(head);
    }
    return FrameFilesAreFine(request.files, numbers);
}

} // namespace

int RunArray(const ArrayRequest& request)
{
    if (!HeadsAreKnown(request.camera) || !FilesAreFine(request)) return ExitFailed;
    Session session;
    if (!OpenSession(request.camera, CallsBy::Program, &session)) {
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    const SessionCloser closer = {session, true};
    return RequestFits(session, request) ? Take(session, request) : ExitFailed;
}
