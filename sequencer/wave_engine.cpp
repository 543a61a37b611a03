// Plays a WaveProgram into memory and writes it with one call.
//
// A pattern is planned before it is built: the length of each section follows
// from its tables and the geometry. So every word has its place from the start,
// and since the controller plays a section from its end index down to its base,
// words are put down from the section's end towards its base, in playing order.
#include "sequencer/wave_engine.h"

#include <cstdio>
#include <cstring>

#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/record.h"
#include "platform/system.h"
#include "sequencer/wave_file.h"

namespace {

constexpr uint32_t PageWords = 256;
constexpr uint32_t ProgressPositions = 50;
constexpr double IdleMicroseconds = 10.0;
constexpr uint32_t FarPixel = 1u << 20; // no register is as long, no pattern holds as much

enum Section { Idle, Row, Line, ExtraA, ExtraB, Pixel, SectionCount };

// Where a section's start and end stand in SequenceTable. ExtraSectionB is
// crossed: required.
constexpr struct {
    int start, end;
} SectionEntries[SectionCount] = {{0, 1}, {2, 3}, {6, 7}, {8, 9}, {11, 10}, {4, 5}};

// The stretches of the horizontal register, in pixels, by the window.
struct LinePlan {
    uint32_t before, inside, behind;
    bool cut; // the window runs beyond the register
};

// How the pixels inside the window fall into bins.
struct BinPlan {
    uint32_t lead;    // pixels ahead of the first whole bin
    uint32_t whole;   // bins
    uint32_t partial; // pixels behind the last whole bin
    bool wholeClosed; // a whole bin ends with a strobe of its own
    bool partialClosed;
};

struct Placement {
    uint32_t start, length; // words, padding not included
};

struct Build {
    const WaveProgram* program;
    const WaveRequest* request;
    LinePlan line;
    BinPlan bins;
    Placement sections[SectionCount];
    int fitting;    // sections that fit: SectionCount, or the place of the one that does not
    uint32_t total; // words, padding included
    uint32_t wordBytes;
    uint8_t* words; // as the file holds them
    uint32_t place; // words are put down below this index
};

// The header stands right ahead of the words, which are aligned.
constexpr uint32_t WordsOffset = 32;
static_assert(WordsOffset >= WaveHeaderBytes);

uint64_t StepTicks(const WaveSteps& steps)
{
    uint64_t ticks = 0;
    for (const WaveStep& step : steps) {
        if (step.word == NoWord) break;
        ticks += step.ticks;
    }
    return ticks;
}

// --- plan ---

int64_t Within(int64_t value, int64_t least, int64_t most)
{
    return value < least ? least : value > most ? most : value;
}

// A count of pixels from unchecked arguments. What lies beyond any register lies
// there however far it is.
int64_t Pixels(uint32_t binned, uint32_t hbin)
{
    const uint64_t pixels = uint64_t{binned} * hbin;
    return static_cast<int64_t>(pixels < FarPixel ? pixels : FarPixel);
}

LinePlan PlanLine(const WaveProgram& program, const WaveRequest& request)
{
    const CcdDefinition& ccd = CameraTable[request.camera].Ccd;
    const bool unbinned = program.bins == BinRule::Position; // required
    const int64_t extra = program.extraShifts ? Pixels(request.extraCount, 1) : 0;
    const int64_t positions = Within(ccd.HorRegSize + extra, 0, FarPixel);
    const int64_t begin = ccd.HorDummyPix + Pixels(request.x, unbinned ? 1 : request.hbin);
    const int64_t end = begin + Pixels(request.width, request.hbin);
    const int64_t first = Within(begin, 0, positions);
    const int64_t behind = Within(end, 0, positions);
    LinePlan plan = {};
    plan.before = static_cast<uint32_t>(first);
    plan.inside = static_cast<uint32_t>(behind - first);
    plan.behind = static_cast<uint32_t>(positions - behind);
    plan.cut = end > positions;
    return plan;
}

BinPlan PlanBins(const WaveProgram& program, const WaveRequest& request, const LinePlan& line)
{
    BinPlan bins = {};
    if (line.inside == 0) return bins;
    const uint32_t hbin = request.hbin;
    if (program.bins == BinRule::Position) bins.lead = (hbin - line.before % hbin) % hbin;
    if (bins.lead > line.inside) bins.lead = line.inside;
    const uint32_t rest = line.inside - bins.lead;
    bins.whole = rest / hbin;
    bins.partial = rest % hbin;
    bins.wholeClosed = program.bins != BinRule::Leading;
    bins.partialClosed = program.bins == BinRule::Position && !line.cut;
    return bins;
}

// The ticks of `pixels` pixels of one bin, the last of them closing it or not.
uint64_t BinTicks(const WaveProgram& program, uint32_t pixels, bool closes)
{
    if (pixels == 0) return 0;
    const uint64_t open = closes ? pixels - 1 : pixels;
    return StepTicks(program.first) + (pixels - 1) * StepTicks(program.other) +
           open * StepTicks(program.notLast) + (closes ? StepTicks(program.last) : 0);
}

uint64_t LineTicks(const Build& build)
{
    const WaveProgram& program = *build.program;
    const BinPlan& bins = build.bins;
    const uint64_t rows = build.request->vbin > 0 ? static_cast<uint64_t>(build.request->vbin) : 0;
    // More than a pattern holds is too much, however much more it is.
    uint64_t row = StepTicks(program.lineRepeat);
    if (row > LargestPattern) row = LargestPattern + 1;
    const uint64_t openPixel = StepTicks(program.other) + StepTicks(program.notLast);
    const uint64_t outside = uint64_t{build.line.before} + build.line.behind;
    return StepTicks(program.lineStart) + rows * row + StepTicks(program.lineSettle) +
           outside * StepTicks(program.outside) + bins.lead * openPixel +
           bins.whole * BinTicks(program, build.request->hbin, build.bins.wholeClosed) +
           BinTicks(program, bins.partial, bins.partialClosed) + StepTicks(program.lineEnd);
}

const WaveSteps& TableOf(const WaveProgram& program, int section)
{
    switch (section) {
    case Idle: return program.idle;
    case Row: return program.row;
    case ExtraA: return program.extraA;
    case ExtraB: return program.extraB;
    default: return program.pixel;
    }
}

bool IsBuilt(const WaveProgram& program, int section)
{
    const bool extra = section == ExtraA || section == ExtraB;
    return !extra || program.extraA[0].word != NoWord;
}

void PlanSections(Build* build)
{
    const WaveProgram& program = *build->program;
    const uint64_t limit = program.format->limit;
    uint64_t total = 0;
    for (build->fitting = Idle; build->fitting < SectionCount; ++build->fitting) {
        const int section = build->fitting;
        const uint64_t length =
            section == Line ? LineTicks(*build) : StepTicks(TableOf(program, section));
        if (length > limit) return;
        build->sections[section] = {static_cast<uint32_t>(total), static_cast<uint32_t>(length)};
        total += (length + PageWords - 1) / PageWords * PageWords;
        if (total > limit) return;
    }
    build->total = static_cast<uint32_t>(total);
}

// --- build ---

uint32_t Transform(const WaveProgram& program, uint32_t word)
{
    if (program.fill8 && (word & 16) == 0) word |= 8;
    return word ^ program.mask;
}

void PutRun(Build* build, uint32_t word, uint32_t ticks)
{
    build->place -= ticks;
    const uint32_t level = Transform(*build->program, word);
    if (build->program->format->wide) {
        uint16_t* words = reinterpret_cast<uint16_t*>(build->words) + build->place;
        for (uint32_t i = 0; i < ticks; ++i) words[i] = static_cast<uint16_t>(level);
    } else {
        memset(build->words + build->place, static_cast<uint8_t>(level), ticks);
    }
}

void PutSteps(Build* build, const WaveSteps& steps)
{
    for (const WaveStep& step : steps) {
        if (step.word == NoWord) break;
        PutRun(build, step.word, step.ticks);
    }
}

// The copies below are made from what was put down last, while it is in the
// processor's nearest cache.
constexpr size_t HotBytes = 16384;

// Puts down `count` - 1 more copies of what was put down since `from`.
void RepeatSince(Build* build, uint32_t from, uint32_t count)
{
    const size_t block = from - build->place;
    if (block == 0) return;
    const size_t hot = HotBytes / build->wordBytes / block * block;
    const size_t wanted = block * count;
    for (size_t have = block; have < wanted;) {
        // A whole number of blocks back lies the same word.
        const size_t back = have < hot || hot == 0 ? have / block * block : hot;
        const size_t more = back < wanted - have ? back : wanted - have;
        build->place -= static_cast<uint32_t>(more);
        uint8_t* target = build->words + size_t{build->place} * build->wordBytes;
        memcpy(target, target + back * build->wordBytes, more * build->wordBytes);
        have += more;
    }
}

void PutRepeated(Build* build, const WaveSteps& steps, uint32_t count)
{
    if (count == 0) return;
    const uint32_t from = build->place;
    PutSteps(build, steps);
    RepeatSince(build, from, count);
}

void PutOpenPixels(Build* build, uint32_t count)
{
    if (count == 0) return;
    const uint32_t from = build->place;
    PutSteps(build, build->program->other);
    PutSteps(build, build->program->notLast);
    RepeatSince(build, from, count);
}

void PutBin(Build* build, uint32_t pixels, bool closes)
{
    const WaveProgram& program = *build->program;
    if (pixels == 0) return;
    const bool single = pixels == 1;
    PutSteps(build, program.first);
    PutSteps(build, single && closes ? program.last : program.notLast);
    if (single) return;
    PutOpenPixels(build, closes ? pixels - 2 : pixels - 1);
    if (!closes) return;
    PutSteps(build, program.other);
    PutSteps(build, program.last);
}

void PutLine(Build* build)
{
    const WaveProgram& program = *build->program;
    const BinPlan& bins = build->bins;
    const int32_t rows = build->request->vbin > 0 ? build->request->vbin : 0;
    PutSteps(build, program.lineStart);
    PutRepeated(build, program.lineRepeat, static_cast<uint32_t>(rows));
    PutSteps(build, program.lineSettle);
    PutRepeated(build, program.outside, build->line.before);
    PutOpenPixels(build, bins.lead);
    if (bins.whole != 0) {
        const uint32_t from = build->place;
        PutBin(build, build->request->hbin, bins.wholeClosed);
        RepeatSince(build, from, bins.whole);
    }
    PutBin(build, bins.partial, bins.partialClosed);
    PutRepeated(build, program.outside, build->line.behind);
    PutSteps(build, program.lineEnd);
}

// The padding is never played, so it does not pass the transform.
void PutPadding(Build* build, uint32_t from, uint32_t count)
{
    for (uint32_t i = from; i < from + count; ++i) {
        if (build->program->format->wide) {
            reinterpret_cast<uint16_t*>(build->words)[i] =
                static_cast<uint16_t>(build->program->padding);
        } else {
            build->words[i] = static_cast<uint8_t>(build->program->padding);
        }
    }
}

void PutSections(Build* build)
{
    const WaveProgram& program = *build->program;
    for (int section = Idle; section < SectionCount; ++section) {
        const Placement& placed = build->sections[section];
        build->place = placed.start + placed.length;
        if (section == Line) {
            PutLine(build);
        } else {
            PutSteps(build, TableOf(program, section));
        }
        const uint32_t end = placed.start + placed.length;
        const uint32_t padding = (PageWords - placed.length % PageWords) % PageWords;
        PutPadding(build, end, padding);
    }
}

// --- file ---

void Progress(const char* text, uint32_t percent, int32_t camera)
{
    CameraTable[camera].Ops.ProgressCallback(text, static_cast<int32_t>(percent), camera);
}

bool Fits(const Build& build)
{
    return build.fitting == SectionCount;
}

// A build that does not fit goes as far as its writer's checks let it.
void ReportLine(const Build& build)
{
    if (build.program->format->stopOnOverflow && build.fitting < Line) return;
    const int16_t registerSize = CameraTable[build.request->camera].Ccd.HorRegSize;
    if (registerSize <= 0) return;
    const uint32_t positions = build.line.before + build.line.inside + build.line.behind;
    for (uint32_t i = ProgressPositions; i < positions; i += ProgressPositions) {
        Progress(nullptr, i * 100 / static_cast<uint32_t>(registerSize), build.request->camera);
    }
}

void FillTable(const Build& build, uint16_t* table)
{
    for (int section = Idle; section < SectionCount; ++section) {
        const Placement& placed = build.sections[section];
        if (!IsBuilt(*build.program, section)) continue;
        table[SectionEntries[section].start] = static_cast<uint16_t>(placed.start);
        table[SectionEntries[section].end] = static_cast<uint16_t>(placed.length - 1);
    }
}

// One write of header and words. A file that could not be written whole is
// taken away.
bool WriteImage(const uint8_t* bytes, size_t count, const char* path, FILE* file)
{
    const bool written = fwrite(bytes, 1, count, file) == count;
    const bool closed = fclose(file) == 0;
    if (written && closed) return true;
    remove(path);
    return false;
}

FILE* CreateFileAt(const char* path)
{
    FILE* file = fopen(path, "wb");
    if (file != nullptr) setvbuf(file, nullptr, _IONBF, 0);
    return file;
}

Build PlanBuild(const WaveProgram& program, const WaveRequest& request)
{
    Build build = {};
    build.program = &program;
    build.request = &request;
    build.wordBytes = program.format->wide ? 2 : 1;
    build.line = PlanLine(program, request);
    build.bins = PlanBins(program, request, build.line);
    PlanSections(&build);
    return build;
}

// Builds into `memory`, whose header room ends at WordsOffset, and writes.
int32_t BuildAndWrite(Build* build, uint8_t* memory)
{
    const WaveRequest& request = *build->request;
    const WaveFormat& format = *build->program->format;
    uint16_t* table = CameraTable[request.camera].SequenceTable;
    FILE* file = CreateFileAt(request.path);
    if (file == nullptr) return ErrorPatternFile;
    Progress(format.caption, 0, request.camera);
    WaveHeader header = {build->total, !format.wide, {}};
    memcpy(header.entries, table, sizeof header.entries);
    if (Fits(*build)) {
        build->words = memory + WordsOffset;
        PutSections(build);
        FillTable(*build, header.entries);
    }
    uint8_t* image = memory + WordsOffset - WaveHeaderBytes;
    PackWaveHeader(header, image);
    const size_t bytes = WaveHeaderBytes + size_t{build->total} * build->wordBytes;
    if (!WriteImage(image, bytes, request.path, file)) return ErrorPatternFile;
    if (Fits(*build)) memcpy(table, header.entries, sizeof header.entries);
    ReportLine(*build);
    if (Fits(*build) || !format.stopOnOverflow) Progress(nullptr, 100, request.camera);
    return Fits(*build) ? ErrorNone : ErrorPatternOverflow;
}

} // namespace

void WriteWave(const WaveProgram& program, const WaveRequest& request)
{
    CameraRecord& record = CameraTable[request.camera];
    StoreFlag(&record.LastError, ErrorNone);
    remove(request.path);
    Build build = PlanBuild(program, request);
    const size_t room = WordsOffset + size_t{build.total} * build.wordBytes;
    auto* memory = static_cast<uint8_t*>(System.memory.Allocate(room));
    if (memory == nullptr) {
        StoreFlag(&record.LastError, ErrorPatternMemory);
        return;
    }
    StoreFlag(&record.LastError, BuildAndWrite(&build, memory));
    System.memory.Release(memory);
}

uint32_t PlayWave(const WaveProgram& program, const WaveRequest& request, uint8_t* words,
                  size_t room)
{
    Build build = PlanBuild(program, request);
    if (!Fits(build) || size_t{build.total} * build.wordBytes > room) return 0;
    build.words = words;
    PutSections(&build);
    return build.total;
}

void SetSteps(WaveSteps& table, std::initializer_list<WaveStep> steps)
{
    int i = 0;
    for (const WaveStep& step : steps) {
        if (i < MaxWaveSteps) table[i++] = step;
    }
    while (i < MaxWaveSteps) table[i++] = {};
}

uint32_t TicksOf(double microseconds, int32_t camera)
{
    const double ticks = microseconds / CameraTable[camera].Platform.SamplingClock[0];
    // Beyond what any pattern holds the exact number is of no use.
    return ticks > 2.0 * LargestPattern ? 2 * LargestPattern : ToUint32(ticks);
}

uint32_t FlooredTicks(double microseconds, int32_t camera)
{
    const uint32_t ticks = TicksOf(microseconds, camera);
    return ticks == 0 ? 1 : ticks;
}

uint32_t PhaseTicks(int32_t camera)
{
    return FlooredTicks(CameraTable[camera].Platform.VerticalPhasePeriod, camera);
}

uint32_t PhaseWords(int32_t camera)
{
    return CameraTable[camera].Platform.VerticalPhasePeriod;
}

uint32_t IdleTicks(int32_t camera)
{
    return TicksOf(IdleMicroseconds, camera);
}
