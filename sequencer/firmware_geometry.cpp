#include "sequencer/firmware_geometry.h"

#include <cmath>

#include "core/convert.h"
#include "core/flags.h"
#include "core/record.h"

int32_t FirmwareHorBinning = 1;
int32_t FirmwareVerBinning = 1;

namespace {

constexpr int32_t PixelRateParameter = 27;

// Microseconds of a pixel, by the index that Tarn_U knows them by.
constexpr double TarnUPixelTimes[] = {3.7, 2.8, 2.2, 1.8, 1.5, 1.3, 1.1, 0.95, 0.88, 0.8, 0.26};
constexpr double SameTime = 1e-9;

uint16_t Low16(uint32_t value)
{
    return static_cast<uint16_t>(value & 0xFFFF);
}

uint16_t Low16(int32_t value)
{
    return Low16(static_cast<uint32_t>(value));
}

} // namespace

void KeepFirmwareBinning(uint32_t hbin, int32_t vbin)
{
    StoreFlag(&FirmwareHorBinning, static_cast<int32_t>(hbin));
    StoreFlag(&FirmwareVerBinning, vbin);
}

void StoreBinning(const char* /*path*/, uint32_t /*x*/, uint32_t /*y*/, uint32_t /*width*/,
                  uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/, uint32_t /*extraCount*/,
                  int32_t /*camera*/)
{
    KeepFirmwareBinning(hbin, vbin);
}

void ComposeGeometryCommand(const ReadoutGeometry& geometry, int32_t camera, uint8_t* command)
{
    const CameraRecord& record = CameraTable[camera];
    const uint16_t words[] = {
        Low16(geometry.x),
        Low16(geometry.y),
        Low16(geometry.width),
        Low16(record.Ccd.HorRegSize),
        Low16(record.Ccd.HorDummyPix),
        Low16(record.Ccd.Ypix),
        record.Ccd.Dummy[0],
        Low16(geometry.hbin),
        Low16(geometry.vbin),
        record.Platform.VerticalPhasePeriod,
        ToUint16(record.Platform.SamplingClock[0]),
    };
    static_assert(2 + sizeof words == GeometryCommandBytes);
    *command++ = 'D';
    *command++ = 9;
    for (const uint16_t word : words) {
        *command++ = static_cast<uint8_t>(word & 0xFF);
        *command++ = static_cast<uint8_t>(word >> 8);
    }
}

int32_t ListGeometryParameters(const ReadoutGeometry& geometry, int32_t camera,
                               GeometryParameter* parameters)
{
    const CameraRecord& record = CameraTable[camera];
    const int32_t rows = geometry.vbin == 0 ? 0 : record.Ccd.Ypix / geometry.vbin;
    const GeometryParameter fixed[] = {
        {6, Low16(geometry.x)},
        {7, Low16(geometry.y)},
        {8, Low16(geometry.width)},
        {9, Low16(rows)},
        {10, Low16(record.Ccd.HorRegSize)},
        {11, Low16(record.Ccd.HorDummyPix)},
        {14, record.Ccd.Dummy[0]},
        {12, Low16(geometry.hbin)},
        {13, Low16(geometry.vbin)},
        {15, Low16(record.CcdCode)},
        {16, record.Platform.VerticalPhasePeriod},
    };
    int32_t count = 0;
    for (const GeometryParameter& parameter : fixed) parameters[count++] = parameter;
    uint16_t rate = 0;
    for (const double time : TarnUPixelTimes) {
        if (std::fabs(record.Platform.SamplingClock[0] - time) <= SameTime) {
            parameters[count++] = {PixelRateParameter, rate};
        }
        ++rate;
    }
    return count;
}
