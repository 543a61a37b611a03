#include "sequencer/wave_load.h"

#include <bit>
#include <cstdio>
#include <cstring>

#include "core/record.h"
#include "platform/system.h"
#include "sequencer/wave_engine.h"
#include "sequencer/wave_file.h"

namespace {

constexpr uint32_t PageWords = 256;
constexpr size_t PlayedSections = 4; // the extra sections' entries may be anything

struct WaveImage {
    WaveHeader header;
    uint8_t* words; // allocated
};

bool IsInside(const WaveHeader& header, size_t section)
{
    const uint32_t start = header.entries[2 * section];
    const uint32_t end = header.entries[2 * section + 1];
    return start % PageWords == 0 && start + end < header.wordCount;
}

// Nothing that the file says is trusted.
bool IsPlausible(const WaveHeader& header, uint8_t byteWords)
{
    const uint32_t words = header.wordCount;
    if (words == 0 || words > LargestPattern || words % PageWords != 0 || byteWords > 1) {
        return false;
    }
    for (size_t section = 0; section < PlayedSections; ++section) {
        if (!IsInside(header, section)) return false;
    }
    return true;
}

// Reads exactly the words that the header tells; a byte more or less and the
// file is not a pattern.
bool ReadWords(FILE* file, size_t bytes, uint8_t** words)
{
    auto* memory = static_cast<uint8_t*>(System.memory.Allocate(bytes + 1));
    if (memory == nullptr) return false;
    if (fread(memory, 1, bytes + 1, file) == bytes && ferror(file) == 0) {
        *words = memory;
        return true;
    }
    System.memory.Release(memory);
    return false;
}

bool ReadImage(FILE* file, bool bytesOnly, WaveImage* image)
{
    uint8_t head[WaveHeaderBytes];
    if (fread(head, 1, sizeof head, file) != sizeof head) return false;
    image->header = UnpackWaveHeader(head);
    if (!IsPlausible(image->header, head[4])) return false;
    if (bytesOnly && !image->header.byteWords) return false;
    const size_t bytes = size_t{image->header.wordCount} * (image->header.byteWords ? 1 : 2);
    return ReadWords(file, bytes, &image->words);
}

// The words from `address` on; `room` is used where they do not lie in the image
// as the processor has them.
const uint16_t* WordsAt(const WaveImage& image, uint32_t address, uint32_t count, uint16_t* room)
{
    const uint8_t* bytes = image.words + size_t{address} * (image.header.byteWords ? 1 : 2);
    if (image.header.byteWords) {
        // Patterns come in whole pages.
        for (uint32_t page = 0; page < count; page += PageWords) {
            for (uint32_t i = 0; i < PageWords; ++i) room[page + i] = bytes[page + i];
        }
        return room;
    }
    if constexpr (std::endian::native == std::endian::little) {
        return reinterpret_cast<const uint16_t*>(bytes);
    }
    for (size_t i = 0; i < count; ++i) {
        room[i] = static_cast<uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    }
    return room;
}

void PutImage(const WaveImage& image, const WaveSink& sink, int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    const uint32_t total = image.header.wordCount;
    uint16_t room[WaveBlockWords];
    sink.begin(total, camera);
    ops.ProgressCallback("Loading Sequencer", 0, camera);
    for (uint32_t address = 0; address < total;) {
        const uint32_t left = total - address;
        const uint32_t count = left < WaveBlockWords ? left : WaveBlockWords;
        sink.put(address, WordsAt(image, address, count, room), count, camera);
        address += count;
        // A last block that is not whole is not reported by itself.
        if (count == WaveBlockWords) {
            ops.ProgressCallback(nullptr, static_cast<int32_t>(address * 100 / total), camera);
        }
    }
    ops.ProgressCallback(nullptr, 100, camera);
    sink.end(camera);
}

} // namespace

int32_t LoadWave(const char* path, const WaveSink& sink, int32_t camera)
{
    FILE* file = fopen(path, "rb");
    if (file == nullptr) return 0;
    setvbuf(file, nullptr, _IONBF, 0);
    WaveImage image = {};
    const bool read = ReadImage(file, sink.bytesOnly, &image);
    fclose(file);
    if (!read) return 0;
    const bool ready = sink.reserve == nullptr || sink.reserve(image.header.wordCount, camera);
    if (ready) {
        memcpy(CameraTable[camera].SequenceTable, image.header.entries,
               sizeof image.header.entries);
        PutImage(image, sink, camera);
    }
    System.memory.Release(image.words);
    return ready ? 1 : 0;
}
