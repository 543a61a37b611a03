// uNOD, uNOD_II (platforms 70, 71): no pattern file. The camera's own sequencer
// counts columns and rows; it is told its counters, each a parameter of two byte
// registers, low byte first.
#include "core/errors.h"
#include "core/flags.h"
#include "core/record.h"
#include "sequencer/builders/builders.h"

namespace {

constexpr int32_t BinningRegister = 4;

struct Counter {
    int32_t parameter;
    uint32_t value;
};

void WriteByte(int32_t reg, uint32_t value, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.ByteRegisters[reg] = static_cast<uint8_t>(value & 0xFF);
    record.Ops.WriteRegister(reg, record.ByteRegisters[reg], camera);
}

void WriteCounter(const Counter& counter, int32_t camera)
{
    WriteByte(counter.parameter, counter.value, camera);
    WriteByte(counter.parameter + 1, counter.value >> 8, camera);
}

// Parameter 2 is written twice: required.
void WriteWindow(uint32_t hbin, uint32_t vbin, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint32_t x = static_cast<uint32_t>(record.BuiltWindowX);
    const uint32_t y = static_cast<uint32_t>(record.BuiltWindowY);
    const uint32_t width = static_cast<uint32_t>(record.BuiltWindowWidth);
    const uint32_t height = static_cast<uint32_t>(record.BuiltWindowHeight);
    const uint32_t ahead = static_cast<uint32_t>(record.Ccd.HorDummyPix);
    const uint32_t columns = static_cast<uint32_t>(record.Ccd.HorRegSize);
    const uint32_t rows = static_cast<uint32_t>(record.Ccd.Ypix);
    const uint32_t edge = record.Ccd.Dummy[0] / 2u;
    const Counter counters[] = {
        {2, height * vbin},           {2, (height + 1) * vbin},
        {5, ahead + x * hbin},        {7, columns - ahead - (x + width) * hbin},
        {9, y * vbin + edge},         {11, rows - (y + height) * vbin + edge},
        {27, record.WindowDimX + 4u}, {29, record.WindowDimY + 1u},
        {0, (width + 4) * hbin},
    };
    for (const Counter& counter : counters) WriteCounter(counter, camera);
}

// The image size is that of the binning being built: the record's own may still
// be that of a window.
void WriteFullFrame(uint32_t hbin, uint32_t vbin, int32_t camera)
{
    const CcdDefinition& ccd = CameraTable[camera].Ccd;
    const uint32_t ahead = static_cast<uint32_t>(ccd.HorDummyPix);
    const uint32_t columns = static_cast<uint32_t>(ccd.Xpix);
    const uint32_t rows = static_cast<uint32_t>(ccd.Ypix);
    const uint32_t edge = ccd.Dummy[0] / 2u;
    const Counter counters[] = {
        {0, columns + 4 * hbin},
        {2, rows + vbin},
        {5, ahead},
        {7, static_cast<uint32_t>(ccd.HorRegSize) - ahead - columns},
        {9, edge},
        {11, edge},
        {27, (columns / hbin & 0xFFFE) + 4},
        {29, rows / vbin},
    };
    for (const Counter& counter : counters) WriteCounter(counter, camera);
}

} // namespace

void BuildWaveUnod(const char* /*path*/, uint32_t /*x*/, uint32_t /*y*/, uint32_t /*width*/,
                   uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/, uint32_t /*extraCount*/,
                   int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const uint32_t rowsInOne = static_cast<uint32_t>(vbin);
    StoreFlag(&record.LastError, ErrorNone);
    if (hbin == 0 || rowsInOne == 0) return;
    WriteByte(BinningRegister, hbin << 4 | rowsInOne, camera);
    if (record.WindowBuilt != 0) {
        WriteWindow(hbin, rowsInOne, camera);
    } else {
        WriteFullFrame(hbin, rowsInOne, camera);
    }
}
