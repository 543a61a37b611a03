#include "emulator/sequencer.h"

#include <fstream>

namespace {

constexpr size_t TableBytes = 29; // count, width, six pairs of start and end

uint16_t Word16(const std::vector<uint8_t>& bytes, size_t at)
{
    return static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

EmuSection Section(const std::vector<uint8_t>& bytes, size_t at)
{
    return {Word16(bytes, at), Word16(bytes, at + 2)};
}

} // namespace

const char* EmuLoadWave(const char* path, EmuPatternMemory* memory, EmuPattern* pattern)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) return "the file cannot be opened";
    // A byte more than the largest pattern: what is longer needs not be read to its end.
    std::vector<uint8_t> bytes(TableBytes + size_t{2} * EmuPatternWords + 1);
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<size_t>(file.gcount()));
    if (bytes.size() < TableBytes) return "the table is cut short";
    if (bytes[4] > 1) return "the words are neither of 8 nor of 16 bits";
    EmuPattern read{};
    read.wordCount = Word16(bytes, 0) | static_cast<uint32_t>(Word16(bytes, 2)) << 16;
    read.byteWords = bytes[4] == 1;
    if (read.wordCount > EmuPatternWords) return "there are more words than the memory has";
    const size_t wordBytes = read.byteWords ? 1 : 2;
    if (bytes.size() != TableBytes + wordBytes * read.wordCount)
        return "the size is not the table's";
    EmuSection* const sections[] = {&read.idle, &read.row,    &read.pixel,
                                    &read.line, &read.extraA, &read.extraB};
    size_t at = 5;
    for (EmuSection* section : sections) {
        *section = Section(bytes, at);
        at += 4;
    }
    for (size_t i = 0; i < read.wordCount; ++i) {
        memory->words[i] = read.byteWords ? bytes[at + i] : Word16(bytes, at + 2 * i);
    }
    *pattern = read;
    return nullptr;
}

void EmuPlay(const EmuPatternMemory& memory, const EmuSection& section, uint32_t repeat,
             EmuSensor* sensor, std::vector<uint16_t>* pixels)
{
    const uint32_t page = section.start & 0xFF00u;
    for (uint32_t played = 0; played < repeat; ++played) {
        for (uint32_t left = section.end + 1u; left > 0; --left) {
            uint16_t pixel = 0;
            const uint32_t address = (page + left - 1) % EmuPatternWords;
            if (EmuSensorTick(sensor, memory.words[address], &pixel)) pixels->push_back(pixel);
        }
    }
}
