#include "tests/waves/plain_wave.h"

#include <cstring>

namespace {

struct Writer {
    const WaveProgram* program;
    std::vector<uint32_t> section;
    std::vector<uint32_t> words; // as in the file
    uint32_t total = 0;
    bool full = false;
};

void Emit(Writer* writer, uint32_t word)
{
    const WaveProgram& program = *writer->program;
    if (writer->total == program.format->limit) {
        writer->full = true;
        return;
    }
    if (program.fill8 && (word & 16) == 0) word |= 8;
    word ^= program.mask;
    writer->section.push_back(word & (program.format->wide ? 0xFFFFu : 0xFFu));
    ++writer->total;
}

void EmitSteps(Writer* writer, const WaveSteps& steps)
{
    for (const WaveStep& step : steps) {
        if (step.word == NoWord) return;
        for (uint32_t i = 0; i < step.ticks; ++i) Emit(writer, step.word);
    }
}

// Pads the section, puts it to the file's words and tells its start and end.
void EndSection(Writer* writer, uint16_t* start, uint16_t* end)
{
    const size_t length = writer->section.size();
    while (writer->total % 256 != 0 && !writer->full) Emit(writer, 0);
    const size_t padding = writer->section.size() - length;
    *start = static_cast<uint16_t>(writer->total - writer->section.size());
    *end = static_cast<uint16_t>(length - 1);
    for (size_t i = length; i-- > 0;) writer->words.push_back(writer->section[i]);
    for (size_t i = 0; i < padding; ++i) writer->words.push_back(writer->program->padding);
    writer->section.clear();
}

struct Bin {
    uint32_t counter;
    bool first, last;
};

void StepBin(Bin* bin, BinRule rule, int64_t position, uint32_t hbin, bool windowEnds)
{
    bin->first = bin->last = false;
    if (rule == BinRule::Counter) {
        bin->first = bin->counter == 0;
        if (bin->first) bin->counter = hbin;
        bin->last = --bin->counter == 0;
    } else if (rule == BinRule::Position) {
        bin->first = position % hbin == 0;
        if (bin->first) bin->counter = hbin;
        if (bin->counter > 0) bin->last = --bin->counter == 0;
        if (windowEnds) bin->last = true;
    } else {
        bin->first = --bin->counter == 0;
        if (bin->first) bin->counter = hbin;
    }
}

void EmitLine(Writer* writer, const WaveRequest& request, std::vector<WaveReport>* reports)
{
    const WaveProgram& program = *writer->program;
    const CcdDefinition& ccd = CameraTable[request.camera].Ccd;
    EmitSteps(writer, program.lineStart);
    for (int32_t i = 0; i < request.vbin; ++i) EmitSteps(writer, program.lineRepeat);
    EmitSteps(writer, program.lineSettle);
    const int64_t positions =
        int64_t{ccd.HorRegSize} + (program.extraShifts ? request.extraCount : 0);
    const int64_t factor = program.bins == BinRule::Position ? 1 : request.hbin;
    const int64_t begin = ccd.HorDummyPix + request.x * factor;
    const int64_t end = begin + int64_t{request.width} * request.hbin - 1;
    Bin bin = {program.bins == BinRule::Leading ? 1u : 0u, false, false};
    for (int64_t i = 0; i < positions; ++i) {
        if (i != 0 && i % 50 == 0 && ccd.HorRegSize > 0) {
            reports->push_back(
                {false, "", static_cast<int32_t>(i * 100 / ccd.HorRegSize), request.camera});
        }
        if (i < begin || i > end) {
            EmitSteps(writer, program.outside);
            continue;
        }
        StepBin(&bin, program.bins, i, request.hbin, i == end);
        EmitSteps(writer, bin.first ? program.first : program.other);
        EmitSteps(writer, bin.last ? program.last : program.notLast);
    }
    EmitSteps(writer, program.lineEnd);
}

void Append16(std::vector<uint8_t>* bytes, uint32_t value)
{
    bytes->push_back(static_cast<uint8_t>(value));
    bytes->push_back(static_cast<uint8_t>(value >> 8));
}

std::vector<uint8_t> FileOf(const Writer& writer, const uint16_t* table)
{
    std::vector<uint8_t> bytes;
    const uint32_t count = static_cast<uint32_t>(writer.words.size());
    Append16(&bytes, count & 0xFFFF);
    Append16(&bytes, count >> 16);
    bytes.push_back(writer.program->format->wide ? 0 : 1);
    for (int i = 0; i < 10; ++i) Append16(&bytes, table[i]);
    Append16(&bytes, table[11]);
    Append16(&bytes, table[10]);
    for (const uint32_t word : writer.words) {
        if (writer.program->format->wide) {
            Append16(&bytes, word);
        } else {
            bytes.push_back(static_cast<uint8_t>(word));
        }
    }
    return bytes;
}

struct Part {
    const WaveSteps* steps; // null: the line
    int start, end;         // places in the table
    bool built;
};

} // namespace

PlainResult BuildPlainly(const WaveProgram& program, const WaveRequest& request)
{
    PlainResult result = {};
    memcpy(result.table, CameraTable[request.camera].SequenceTable, sizeof result.table);
    uint16_t table[12];
    memcpy(table, result.table, sizeof table);
    result.reports.push_back({true, program.format->caption, 0, request.camera});
    Writer writer = {};
    writer.program = &program;
    const bool extra = program.extraA[0].word != NoWord;
    const Part parts[] = {{&program.idle, 0, 1, true},
                          {&program.row, 2, 3, true},
                          {nullptr, 6, 7, true},
                          {&program.extraA, 8, 9, extra},
                          {&program.extraB, 11, 10, extra},
                          {&program.pixel, 4, 5, true}};
    for (const Part& part : parts) {
        if (!part.built) continue;
        if (part.steps == nullptr) {
            EmitLine(&writer, request, &result.reports);
        } else {
            EmitSteps(&writer, *part.steps);
        }
        EndSection(&writer, &table[part.start], &table[part.end]);
        if (writer.full && program.format->stopOnOverflow) break;
    }
    if (writer.full) {
        writer.words.clear();
        result.error = 8;
    } else {
        memcpy(result.table, table, sizeof table);
    }
    if (!writer.full || !program.format->stopOnOverflow) {
        result.reports.push_back({false, "", 100, request.camera});
    }
    result.file = FileOf(writer, result.table);
    return result;
}
