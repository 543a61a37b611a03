#include "acquisition/matrix.h"

#include <cstring>

#include "core/errors.h"
#include "core/flags.h"
#include "core/open_close.h"
#include "core/options.h"
#include "core/record.h"
#include "platform/system.h"

namespace {

int32_t BinnedColumns(const CameraRecord& record)
{
    return record.HorBinning > 0 ? record.Ccd.Xpix / record.HorBinning : 0;
}

// What is negative or too large for an answer of 32 bits is no size.
int32_t SizeInBytes(int64_t pixels)
{
    const int64_t bytes = pixels * int64_t{sizeof(uint16_t)};
    return bytes < 0 || bytes > INT32_MAX ? 0 : static_cast<int32_t>(bytes);
}

// Gives the current entry `bytes` bytes and keeps its pixels as far as they fit.
bool ResizeCurrent(size_t bytes, CameraRecord* record)
{
    uint16_t*& entry = record->Matrix[record->MatrixIndex];
    size_t& entryBytes = record->MatrixBytes[record->MatrixIndex];
    void* memory = bytes == 0 ? nullptr : System.memory.Allocate(bytes);
    if (memory == nullptr) {
        StoreFlag(&record->LastError, ErrorImageBuffer);
        return false;
    }
    const size_t kept = entry == nullptr ? 0 : entryBytes < bytes ? entryBytes : bytes;
    if (kept != 0) memcpy(memory, entry, kept);
    memset(static_cast<char*>(memory) + kept, 0, bytes - kept);
    System.memory.Release(entry);
    entry = static_cast<uint16_t*>(memory);
    entryBytes = bytes;
    return true;
}

void AllocateEntry(CameraRecord* record)
{
    const int32_t before = record->MatrixIndex;
    int32_t index = 0;
    while (index < MatrixCount && record->Matrix[index] != nullptr) ++index;
    if (index == MatrixCount) {
        StoreFlag(&record->LastError, ErrorImageBuffer);
        return;
    }
    const int32_t bytes = SizeInBytes(int64_t{record->Ccd.Xpix} * record->Ccd.Ypix);
    record->MatrixIndex = index;
    if (!ResizeCurrent(static_cast<size_t>(bytes), record)) {
        record->MatrixIndex = before;
    }
}

void FreeCurrent(CameraRecord* record)
{
    System.memory.Release(record->Matrix[record->MatrixIndex]);
    record->Matrix[record->MatrixIndex] = nullptr;
    record->MatrixBytes[record->MatrixIndex] = 0;
}

} // namespace

void Matrix(int32_t operation, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    Select(camera);
    switch (operation) {
    case 0: AllocateEntry(&record); break;
    case 1: ResizeCurrent(static_cast<size_t>(MatrixSize(camera)), &record); break;
    case 2: FreeCurrent(&record); break;
    default: break;
    }
}

uint16_t* MatrixPointer(int32_t index, int32_t camera)
{
    Select(camera);
    return index < 0 || index >= MatrixCount ? nullptr : CameraTable[camera].Matrix[index];
}

void MatrixSet(int32_t index, int32_t camera)
{
    Select(camera);
    if (index >= 0 && index < MatrixCount) CameraTable[camera].MatrixIndex = index;
}

int32_t MatrixGet(int32_t camera)
{
    return CameraTable[camera].MatrixIndex;
}

uint16_t MatrixRead(int32_t x, int32_t y, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    Select(camera);
    const uint16_t* pixels = record.Matrix[record.MatrixIndex];
    const int64_t position = int64_t{y} * BinnedColumns(record) + x;
    const auto room = static_cast<int64_t>(record.MatrixBytes[record.MatrixIndex] / 2);
    return pixels == nullptr || position < 0 || position >= room ? uint16_t{0} : pixels[position];
}

int32_t MatrixSize(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (record.VerBinning <= 0) return 0;
    return SizeInBytes(int64_t{BinnedColumns(record)} * record.Ccd.Ypix / record.VerBinning);
}

uint16_t* FrameTarget(uint16_t* buffer, int32_t width, int32_t height, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const bool internal = (LoadFlag(record.Options) & OptionInternalBuffers) != 0;
    if (buffer != nullptr && !internal) return buffer;
    if (record.Matrix[record.MatrixIndex] == nullptr) {
        StoreFlag(&record.LastError, ErrorImageBuffer);
        return nullptr;
    }
    const size_t bytes = width <= 0 || height <= 0
                             ? 0
                             : static_cast<size_t>(width) * static_cast<size_t>(height) * 2;
    if (bytes > record.MatrixBytes[record.MatrixIndex] && !ResizeCurrent(bytes, &record)) {
        return nullptr;
    }
    return record.Matrix[record.MatrixIndex];
}
