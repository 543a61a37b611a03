// Patterns without a camera: built from the definitions into a file.
#include <cstdio>
#include <cstring>

#include "bench/builders.h"
#include "bench/geometry.h"
#include "bench/record_loan.h"
#include "core/flags.h"
#include "sequencer/wave_file.h"

namespace {

// Where the sections' start and end stand in SequenceTable, in the order of QvbWave. The last
// pair is crossed.
constexpr struct {
    int start, end;
} SectionEntries[QVB_SECTIONS] = {{0, 1}, {2, 3}, {4, 5}, {6, 7}, {8, 9}, {11, 10}};

bool ReadHeader(const char* path, WaveHeader* header)
{
    uint8_t bytes[WaveHeaderBytes];
    FILE* file = fopen(path, "rb");
    if (file == nullptr) return false;
    const bool whole = fread(bytes, 1, sizeof bytes, file) == sizeof bytes;
    fclose(file);
    if (whole) *header = UnpackWaveHeader(bytes);
    return whole;
}

QvbSection SectionOf(const WaveHeader& header, int section)
{
    const uint16_t start = header.entries[SectionEntries[section].start];
    const uint16_t end = header.entries[SectionEntries[section].end];
    // The idle section alone begins at address 0.
    if (start == 0 && section != QVB_SECTION_IDLE) return {0, 0};
    return {start, end + 1u};
}

QvbWave Describe(const BenchBuilder& builder, const WaveHeader& header, const CameraRecord& record,
                 const BenchWindow& window)
{
    QvbWave wave = {};
    wave.WordCount = header.wordCount;
    wave.WordLimit = builder.format->limit;
    wave.WordBits = builder.format->wide ? 16 : 8;
    wave.TickMicroseconds = record.Platform.SamplingClock[0];
    wave.Width = window.width;
    wave.Height = window.height;
    for (int section = 0; section < QVB_SECTIONS; ++section) {
        wave.Sections[section] = SectionOf(header, section);
    }
    snprintf(wave.Builder, sizeof wave.Builder, "%s", builder.name + strlen("BuildWave"));
    return wave;
}

int32_t Build(const QvbWaveRequest& request, const BenchBuilder& builder, const char* path,
              QvbWave* wave)
{
    CameraRecord& record = CameraTable[request.Camera];
    const BenchWindow window = WindowOf(request, record.Ccd);
    builder.build(path, window.x, window.y, window.width, static_cast<uint32_t>(request.HorBinning),
                  request.VerBinning, static_cast<uint32_t>(record.WaveOption),
                  static_cast<uint32_t>(record.WaveExtraCount), request.Camera);
    const int32_t code = LoadFlag(record.LastError);
    if (code != QV_ERROR_NONE || wave == nullptr) return code;
    WaveHeader header = {};
    if (!ReadHeader(path, &header)) return QV_ERROR_PATTERN_FILE;
    *wave = Describe(builder, header, record, window);
    return QV_ERROR_NONE;
}

} // namespace

void QVB_InitWaveRequest(QvbWaveRequest* request)
{
    if (request == nullptr) return;
    *request = {};
    request->HorBinning = 1;
    request->VerBinning = 1;
    request->CcdTechnology = 1;
}

int32_t QVB_BuildWave(const QvbWaveRequest* request, const char* path, QvbWave* wave)
{
    if (request == nullptr || path == nullptr || !IsValid(*request)) return QVB_ERROR_ARGUMENT;
    const BenchBuilder* builder =
        FindBenchBuilder(request->Platform, request->Sensor, request->InterfaceType);
    if (builder == nullptr) return QVB_ERROR_NO_BUILDER;
    RecordLoan loan = {};
    int32_t code = TakeRecord(*request, &loan);
    if (code != QV_ERROR_NONE) return code;
    code = Build(*request, *builder, path, wave);
    ReturnRecord(loan);
    return code;
}
