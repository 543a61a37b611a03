// qvn wave show: the sections of a pattern and their words in playing order.
#include <cstdio>

#include "tools/report.h"
#include "tools/text.h"
#include "tools/wave.h"

namespace {

constexpr size_t LineWidth = 96;

void PrintTable(const WavePattern& pattern, const WaveCamera& camera)
{
    const bool timed = camera.tickNs > 0.0;
    std::printf("section  start    end  length%s\n", timed ? "  duration" : "");
    for (size_t part = 0; part < WaveParts; ++part) {
        if (!PartIsThere(pattern, part)) continue;
        const WaveSpan& span = pattern.parts[part];
        const uint32_t length = PartLength(pattern, part);
        const std::string duration = timed ? "  " + DurationText(camera, length) : "";
        std::printf("%-8s %5u  %5u  %6u%s\n", WavePartNames[part].name, span.start, span.end,
                    length, duration.c_str());
    }
}

void PrintWords(const WavePattern& pattern, size_t part)
{
    std::string line = Text("%s:", WavePartNames[part].name);
    const size_t indent = 2;
    for (const WaveStep& step : FoldWords(PlayedWords(pattern, part))) {
        const std::string word = " " + StepText(step);
        if (line.size() + word.size() > LineWidth) {
            std::printf("%s\n", line.c_str());
            line.assign(indent - 1, ' ');
        }
        line += word;
    }
    std::printf("%s\n", line.c_str());
}

} // namespace

int RunWaveShow(const WaveShowRequest& request)
{
    WavePattern pattern;
    WaveCamera camera;
    size_t wanted = WaveParts;
    if (!OpenPattern(request.file, &pattern) || !FindWaveCamera(request.camera, &camera) ||
        (!request.section.empty() && !FindPart(pattern, request.section, &wanted))) {
        return ExitFailed;
    }
    const std::string tick =
        camera.tickNs > 0.0 ? ", a tick is " + DurationText(camera, 1) : std::string();
    std::printf("%s: %u words of %u bits with the padding%s\n\n", request.file.c_str(),
                pattern.wordCount, WordBits(pattern), tick.c_str());
    PrintTable(pattern, camera);
    std::printf("\n");
    for (size_t part = 0; part < WaveParts; ++part) {
        if (!PartIsThere(pattern, part)) continue;
        if (wanted == WaveParts || wanted == part) PrintWords(pattern, part);
    }
    return ExitDone;
}
