#include "tests/platforms/probe.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "catalogue/catalogue.h"
#include "core/binding.h"
#include "core/flags.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "include/qvn_bench.h"
#include "sequencer/builders/builders.h"
#include "tests/support/demo_camera.h"
#include "tests/support/small_sensor.h"

namespace {

constexpr int32_t Demo = 1;
constexpr int32_t Links[] = {QV_INTERFACE_PCI_CARD, QV_INTERFACE_PCI_CARD_70, QV_INTERFACE_USB,
                             QV_INTERFACE_PRINTER_PORT, QV_INTERFACE_PORT_CARD};
constexpr size_t FramePixels = 1 << 16;
constexpr uint8_t Untouched = 0xA5;

// --- the folder of the definitions ---

std::string CameraConfigText()
{
    std::ostringstream text;
    text << std::ifstream(QVN_SOURCE_DIR "/share/qvn/camera.cfg").rdbuf();
    return text.str();
}

void Define(int32_t platform, int32_t sensor)
{
    WriteDefinitions(platform == Demo ? SampleDefinitions() : SmallDefinitions({platform, sensor}));
    QV_SetPathName(DemoFolder().c_str());
}

std::map<std::string, std::string> Files()
{
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(DemoFolder())) {
        std::ostringstream text;
        text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        files[entry.path().filename().string()] = text.str();
    }
    return files;
}

// --- what the library keeps ---

struct Kept {
    const void* data;
    size_t bytes;
};

template <typename T> Kept KeptIn(const T& value)
{
    return {&value, sizeof value};
}

const Kept AllKept[] = {
    KeptIn(CameraTable[BenchCamera]),
    KeptIn(LibraryPath),
    KeptIn(LibraryReady),
    KeptIn(TimerUsers),
    KeptIn(TimerRunning),
    KeptIn(TimerAutoStart),
    KeptIn(StopCount),
};

struct LibraryState {
    std::string bytes;
    std::map<std::string, std::string> files;

    LibraryState() : files(Files())
    {
        for (const Kept& kept : AllKept) {
            bytes.append(static_cast<const char*>(kept.data), kept.bytes);
        }
    }
    bool operator==(const LibraryState& other) const
    {
        return bytes == other.bytes && files == other.files;
    }
};

// --- one call ---

bool IsWritten(const Bench& bench)
{
    const auto* const out = static_cast<const uint8_t*>(bench.out);
    const auto isOther = [](uint16_t value) { return value % 256 != Untouched; };
    return std::any_of(out, out + OutBytes, isOther) ||
           std::any_of(bench.pixels, bench.pixels + FramePixels, isOther);
}

// A wait is an effect of QV_Delay alone; others wait for what they do.
bool TakesTime(const Call& call)
{
    return strcmp(call.name, "QV_Delay") == 0;
}

void BringTo(Start start, Bench& bench)
{
    if (start == Start::Closed) {
        QV_Close(BenchCamera);
    } else if (bench.hasArray) {
        OpenBenchArray(bench);
    } else {
        OpenBench(bench);
    }
}

Cell Observe(const Call& call, Bench& bench)
{
    BringTo(call.start, bench);
    StoreFlag(&bench.record->LastError, 0);
    if (call.prepare != nullptr) call.prepare(bench);
    memset(bench.out, Untouched, OutBytes);
    std::fill_n(bench.pixels, FramePixels, uint16_t{Untouched});
    const LibraryState before;
    const int32_t errorBefore = LoadFlag(bench.record->LastError);
    const uint64_t start = EmuMicroseconds();
    EmuFail(EmuAnyCall, UINT32_MAX, false); // counts, and fails none
    const int64_t result = call.make(bench);
    const bool reaches = EmuCallsMet(EmuAnyCall) != 0;
    EmuFail(EmuAnyCall, 0, false);
    const int32_t error = LoadFlag(bench.record->LastError);

    Cell cell;
    if (reaches) {
        cell.reach = Reach::Camera;
    } else if (error != errorBefore && error != 0) {
        cell = {Reach::Refused, error};
    } else if (result != 0 || IsWritten(bench) || !(before == LibraryState()) ||
               (TakesTime(call) && EmuMicroseconds() != start)) {
        cell.reach = Reach::Library;
    }
    if (call.after != nullptr) call.after(bench);
    QV_SetPathName(DemoFolder().c_str());
    return cell;
}

// --- worlds ---

std::string WorldText(const Variant& variant, bool hasArray)
{
    const std::string camera = ",camera=" + std::to_string(BenchCamera);
    // The simulated camera needs no instrument; a world needs one.
    if (variant.platform == Demo) return "time=virtual,platform=42,sensor=255,camera=7";
    return "time=virtual,platform=" + std::to_string(variant.platform) +
           ",sensor=" + std::to_string(variant.sensor) + ",link=" + std::to_string(variant.link) +
           camera + (hasArray ? ",heads=1" : "");
}

bool Install(const Variant& variant, bool hasArray)
{
    Define(variant.platform == Demo ? 42 : variant.platform,
           variant.platform == Demo ? 255 : variant.sensor);
    if (QVB_Install(WorldText(variant, hasArray).c_str(), nullptr, 0) != 0) return false;
    Define(variant.platform, variant.sensor);
    return true;
}

int32_t AddressOf(int32_t link)
{
    switch (link) {
    case QV_INTERFACE_PRINTER_PORT: return 0x378;
    case QV_INTERFACE_PORT_CARD: return 0x300;
    default: return -1;
    }
}

Bench MakeBench(const Variant& variant, bool hasArray, std::vector<uint16_t>* pixels,
                std::vector<uint64_t>* out)
{
    pixels->assign(FramePixels, 0);
    out->assign(OutBytes / sizeof(uint64_t) + 1, 0);
    Bench bench = {};
    bench.variant = variant;
    bench.address = AddressOf(variant.link);
    bench.hasArray = hasArray;
    QV_InitCfg(&bench.config);
    bench.config.Platform = variant.platform;
    bench.config.CCD = variant.sensor;
    bench.config.InterfaceType = variant.link;
    bench.config.InterfaceAddress = bench.address;
    bench.config.PciIndex = BenchCamera;
    bench.config.Activity = QV_OPTION_SILENT;
    bench.record = &CameraTable[BenchCamera];
    bench.pixels = pixels->data();
    bench.out = out->data();
    return bench;
}

// The functions with a start of `array` or the others; cells of the rest stay.
void ObserveAll(const Variant& variant, bool array, std::vector<Cell>* cells)
{
    std::vector<uint16_t> pixels;
    std::vector<uint64_t> out;
    Bench bench = MakeBench(variant, array, &pixels, &out);
    QV_InitOptions(&bench.config, BenchCamera);
    for (size_t i = 0; i < Calls().size(); ++i) {
        const Call& call = Calls()[i];
        if (array && call.start != Start::Array) continue;
        (*cells)[i] = Observe(call, bench);
    }
    QV_Close(BenchCamera);
    EXPECT_EQ(QVB_Uninstall(), 0);
}

std::vector<Cell> Probe(const Variant& variant)
{
    SCOPED_TRACE(WorldText(variant, false));
    std::vector<Cell> cells(Calls().size());
    ResetLibrary();
    EXPECT_TRUE(Install(variant, false));
    ObserveAll(variant, false, &cells);
    ResetLibrary();
    if (variant.platform != Demo && Install(variant, true)) ObserveAll(variant, true, &cells);
    return cells;
}

// --- the ways to reach a platform ---

// What the binding makes of a sensor behind a link, but for the builder of its pattern.
std::string BindingOf(int32_t platform, int32_t sensor, int32_t link)
{
    CameraRecord& record = CameraTable[BenchCamera];
    record.Ops = UnboundOps;
    record.Extras = nullptr;
    record.PlatformCode = platform;
    record.CcdCode = sensor;
    record.InterfaceType = link;
    BindOperations(platform, 0, BenchCamera);
    const bool hasPattern = record.Ops.BuildWave != BuildWaveNone;
    record.Ops.BuildWave = nullptr;
    std::string key(reinterpret_cast<const char*>(&record.Ops), sizeof record.Ops);
    key.append(reinterpret_cast<const char*>(&record.Extras), sizeof record.Extras);
    return key + (hasPattern ? "pattern" : "");
}

std::vector<int32_t> SensorsOf(int32_t platform)
{
    std::vector<int32_t> sensors(SensorNameCount);
    sensors.resize(static_cast<size_t>(std::max(CCDQuery(platform, sensors.data()), 0)));
    return sensors;
}

std::vector<Variant> VariantsOf(int32_t platform)
{
    std::vector<Variant> variants;
    std::map<std::string, size_t> known;
    for (const int32_t link : Links) {
        const int32_t first = SensorsOf(platform).front();
        if (platform == Demo ? link != 0 : !Install({platform, first, link, {}}, false)) continue;
        QVB_Uninstall();
        std::map<std::string, size_t> ofLink;
        for (const int32_t sensor : SensorsOf(platform)) {
            const std::string key = BindingOf(platform, sensor, link);
            if (known.count(key) != 0 && ofLink.count(key) == 0) continue; // by another link
            if (ofLink.count(key) == 0) {
                known[key] = ofLink[key] = variants.size();
                variants.push_back({platform, sensor, link, {}});
            }
            variants[ofLink[key]].sensors.push_back(sensor);
        }
    }
    return variants;
}

void AddColumn(const Variant& variant, std::vector<Column>* columns)
{
    const std::vector<Cell> cells = Probe(variant);
    for (Column& column : *columns) {
        if (column.platform != variant.platform || !(column.cells == cells)) continue;
        column.variants.push_back(variant);
        return;
    }
    columns->push_back({variant.platform, {variant}, cells});
}

} // namespace

std::vector<Column> ProbeAllPlatforms()
{
    std::vector<Column> columns;
    MakeDemoFolder();
    WriteDemoFile("camera.cfg", CameraConfigText());
    WriteDemoFile("other.cfg", CameraConfigText());
    for (const PlatformBinding* row = PlatformBindings; row->platform != 0; ++row) {
        for (const Variant& variant : VariantsOf(row->platform)) AddColumn(variant, &columns);
    }
    ResetLibrary();
    RemoveDemoFolder();
    return columns;
}
