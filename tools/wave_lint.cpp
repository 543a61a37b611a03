// qvn wave lint: whether a pattern is sound, and fits its camera and picture.
#include <bit>
#include <cmath>
#include <cstdio>

#include "include/qvn_bench.h"
#include "tools/report.h"
#include "tools/text.h"
#include "tools/wave.h"

namespace {

constexpr uint32_t LongestByteSection = 32767; // words of 8 bits are counted with a sign
constexpr int32_t DummyRows = 4;               // entries of CcdDefinition.Dummy

struct Checks {
    int32_t total = 0, failed = 0;
};

void Tell(const char* state, const char* what, const std::string& text)
{
    std::printf("  %-4s  %-12s  %s\n", state, what, text.c_str());
}

void Check(Checks* checks, bool holds, const char* what, const std::string& text)
{
    Tell(holds ? "ok" : "FAIL", what, text);
    ++checks->total;
    if (!holds) ++checks->failed;
}

// False if some section cannot be played.
bool CheckSections(const WavePattern& pattern, Checks* checks)
{
    std::string names;
    std::string problems;
    for (size_t part = 0; part < WaveParts; ++part) {
        if (!PartIsThere(pattern, part)) continue;
        const std::string name = WavePartNames[part].name;
        const std::string problem = PartProblem(pattern, part);
        names += (names.empty() ? "" : ", ") + name;
        if (problem.empty()) continue;
        problems += Text("%s%s %s", problems.empty() ? "" : "; ", name.c_str(), problem.c_str());
    }
    const bool playable = problems.empty();
    const std::string shared = SharedPages(pattern);
    if (playable && !shared.empty()) problems = shared + " share a page";
    Check(checks, problems.empty(), "sections",
          problems.empty() ? names + ", each on pages of its own" : problems);
    return playable;
}

void CheckByteSections(const WavePattern& pattern, Checks* checks)
{
    uint32_t longest = 0;
    for (size_t part = 0; part < WaveParts; ++part) {
        if (PartIsThere(pattern, part)) longest = std::max(longest, PartLength(pattern, part));
    }
    Check(checks, longest <= LongestByteSection, "length",
          Text("the longest section has %u words, %u is the most of 8 bits", longest,
               LongestByteSection));
}

void CheckLimit(const WavePattern& pattern, uint32_t limit, Checks* checks)
{
    const uint32_t count = pattern.wordCount;
    Check(checks, count <= limit, "size",
          count <= limit
              ? Text("%u of %u words, %u left before error 8", count, limit, limit - count)
              : Text("%u words, %u above the %u of error 8", count, count - limit, limit));
}

// Lines that are the same in all words that are played.
void TellStillLines(const WavePattern& pattern, const WaveCamera& camera, uint32_t needed,
                    Checks* checks)
{
    uint32_t up = 0;
    uint32_t down = 0;
    for (size_t part = 0; part < WaveParts; ++part) {
        if (!PartIsThere(pattern, part)) continue;
        for (const uint16_t word : PlayedWords(pattern, part)) {
            up |= word;
            down |= ~uint32_t{word};
        }
    }
    std::string still;
    bool holds = true;
    for (uint32_t line = 0; line < WordBits(pattern); ++line) {
        const uint32_t mask = 1U << line;
        if ((up & down & mask) != 0) continue;
        if (camera.told && !LineHasRole(camera, line)) continue;
        still += (still.empty() ? "" : ", ") + LineName(camera, line);
        if ((needed & mask) != 0) holds = false;
    }
    if (still.empty()) {
        Check(checks, true, "lines", camera.told ? "all that have a role move" : "all move");
    } else if (holds) {
        Tell("note", "lines", "never moving: " + still);
    } else {
        Check(checks, false, "lines", "never moving: " + still);
    }
}

// A strobe that begins; the section is repeated, so its last word stands ahead of its
// first.
uint32_t Conversions(const WavePattern& pattern, const QvbWaveLines& lines)
{
    const std::vector<uint16_t> words = PlayedWords(pattern, WaveLine);
    uint32_t count = 0;
    bool before = ((words.back() ^ lines.Inverted) & lines.Convert) != 0;
    for (const uint16_t word : words) {
        const bool now = ((word ^ lines.Inverted) & lines.Convert) != 0;
        if (now && !before) ++count;
        before = now;
    }
    return count;
}

// The picture that the arguments tell; `width` as a driver reads it, even.
struct Picture {
    int64_t width, height;
    bool whole;
};

Picture PictureOf(const WaveLintRequest& request, const CcdDefinition& ccd)
{
    if (request.window.set) {
        return {request.window.width & ~1, request.window.height, false};
    }
    return {ccd.Xpix / request.horBinning & ~1, ccd.Ypix / request.verBinning, true};
}

void CheckConversions(const WaveLintRequest& request, const WavePattern& pattern,
                      const CcdDefinition& ccd, const QvbWaveLines& lines, Checks* checks)
{
    const Picture picture = PictureOf(request, ccd);
    const auto count = static_cast<int64_t>(Conversions(pattern, lines));
    // An open builds the whole width, also where that is odd.
    const bool opened = picture.whole && request.horBinning == 1 && count == ccd.Xpix;
    Check(checks, count == picture.width || opened, "conversions",
          count == picture.width || opened
              ? Text("%lld a line, as expected", static_cast<long long>(count))
              : Text("%lld a line, %lld expected", static_cast<long long>(count),
                     static_cast<long long>(picture.width)));
}

// Rows outside the image that a readout has besides those of the picture.
int64_t ExtraRows(const CcdDefinition& ccd, int32_t verBinning, int64_t otherwise)
{
    return verBinning <= DummyRows ? ccd.Dummy[verBinning - 1] : otherwise;
}

// Ticks of a whole readout: the rows ahead of a window and the register are shifted
// away, then the line section is played for each line.
uint64_t FrameTicks(const WaveLintRequest& request, const WavePattern& pattern,
                    const CcdDefinition& ccd)
{
    const Picture picture = PictureOf(request, ccd);
    const auto ticks = [&](size_t part, int64_t times) {
        return static_cast<uint64_t>(PartLength(pattern, part)) *
               static_cast<uint64_t>(std::max<int64_t>(times, 0));
    };
    if (picture.whole) {
        return ticks(WaveLine, picture.height + ExtraRows(ccd, request.verBinning, 1));
    }
    const int64_t ahead = int64_t{request.window.y} * request.verBinning;
    return ticks(WaveRow, ahead + ExtraRows(ccd, request.verBinning, 0)) +
           ticks(WavePixel, ccd.HorRegSize) + ticks(WaveLine, picture.height);
}

void TellTimes(const WaveLintRequest& request, const WavePattern& pattern, const WaveCamera& camera)
{
    const uint32_t line = PartLength(pattern, WaveLine);
    const std::string duration = camera.tickNs > 0.0 ? ", " + DurationText(camera, line) : "";
    Tell("", "line time", Text("%u words%s", line, duration.c_str()));
    if (!camera.told) return;
    const Picture picture = PictureOf(request, camera.session.ccd);
    Tell("", "frame time",
         Text("%lld lines, %s", static_cast<long long>(picture.height),
              DurationText(camera, FrameTicks(request, pattern, camera.session.ccd)).c_str()));
}

bool FindLines(const WaveCamera& camera, QvbWaveLines* lines)
{
    if (QVB_WaveLines(camera.session.platform, camera.session.sensor, camera.interfaceType, 1,
                      lines) == 0) {
        return true;
    }
    Complain("checking the pattern",
             Text("%s has no pattern of clock lines", CameraText(camera.session).c_str()),
             "the --platform and --sensor that the file was made for");
    return false;
}

} // namespace

int RunWaveLint(const WaveLintRequest& request)
{
    WavePattern pattern;
    WaveCamera camera;
    QvbWaveLines lines{};
    std::string error;
    std::string advice;
    if (!ReadPattern(request.file, &pattern, &error, &advice)) {
        Complain("reading the pattern", error, advice);
        return ExitFailed;
    }
    if (!FindWaveCamera(request.camera, &camera) || (camera.told && !FindLines(camera, &lines))) {
        return ExitFailed;
    }
    std::printf("%s: %u words of %u bits\n", request.file.c_str(), pattern.wordCount,
                WordBits(pattern));
    Checks checks;
    if (camera.told) {
        Check(
            &checks, lines.WordBits == WordBits(pattern), "width",
            Text("%s takes words of %u bits", CameraText(camera.session).c_str(), lines.WordBits));
    }
    const bool playable = CheckSections(pattern, &checks);
    CheckLimit(pattern, camera.told ? lines.WordLimit : WaveLargestWords, &checks);
    if (pattern.byteWords) CheckByteSections(pattern, &checks);
    if (playable) {
        if (camera.told) {
            CheckConversions(request, pattern, camera.session.ccd, lines, &checks);
        }
        TellStillLines(pattern, camera, lines.Row | lines.Shift | lines.Reset | lines.Convert,
                       &checks);
        TellTimes(request, pattern, camera);
    }
    if (checks.failed == 0) return ExitDone;
    Complain(Text("checking %s", request.file.c_str()),
             Text("%d of %d checks fail", checks.failed, checks.total), "");
    return ExitFailed;
}
