#include "core/open_close.h"

#include <cmath>
#include <cstring>

#include "acquisition/matrix.h"
#include "catalogue/camera_config_file.h"
#include "catalogue/definition_file.h"
#include "core/binding.h"
#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "core/status.h"
#include "core/timer_service.h"
#include "devices/temperature.h"
#include "drivers/demo/demo.h"
#include "links/card.h"
#include "platform/system.h"

namespace {

constexpr char DefaultFolder[] = "qvn";

// The slot numbers of the host's two callbacks.
constexpr int32_t ProgressSlot = 64;
constexpr int32_t ExposureSlot = 65;

bool IsHeron(int32_t platform)
{
    return platform == 60 || platform == 61;
}

// The folder qvn below the current directory, if there is one that can be
// entered; else files are looked for in the current directory itself.
void FindDefaultFolder()
{
    char path[PathRoom];
    LibraryPath[0] = '\0';
    if (!System.process.CurrentDirectory(path, sizeof path)) return;
    const size_t length = strlen(path);
    const char separator = System.process.separator;
    if (length + sizeof DefaultFolder + 1 >= sizeof path) return;
    char* end = path + length;
    if (length == 0 || end[-1] != separator) *end++ = separator;
    strcpy(end, DefaultFolder);
    end += strlen(DefaultFolder);
    *end++ = separator;
    *end = '\0';
    if (System.process.CanEnterDirectory(path)) strcpy(LibraryPath, path);
}

void ResetCameraRecord(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.CurrentArrayCamera = 0;
    StoreFlag(&record.BackgroundTicks, 0);
    record.DnrMode = 0;
    StoreFlag(&record.LastError, ErrorNone);
    record.WaveExtraCount = 0;
    record.WaveOption = 0;
    StoreFlag(&record.CameraOn, 0);
    record.WindowBuilt = 0;
    record.CardMapped = 0;
    record.SerialLink = 0;
    record.SerialLinkAcknowledged = 0;
    record.CardDeviceId = 2001;
    record.CameraBusAddress = 0xFFF0;
    record.LoadedGain = -1;
    record.FilterStepDelay = 2;
    record.FilterPosition = 1;
    ResetTemperature(camera);
}

void StoreCallbacks(QvExposureCallback exposureCallback, QvProgressCallback progressCallback,
                    CameraOps* ops)
{
    SetOpsSlot(ops, ExposureSlot, reinterpret_cast<void*>(exposureCallback));
    SetOpsSlot(ops, ProgressSlot, reinterpret_cast<void*>(progressCallback));
}

// The slots may be those that another platform's open left behind. Its driver
// would open a camera of its own; an operation that the host has put there is
// the host's to answer for.
int32_t OpenDriver(int32_t platform, int32_t address, int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (FindPlatformBinding(platform) == nullptr && IsBoundOpen(record.Ops.OpenCamera)) {
        return ErrorUnsupportedPlatform;
    }
    record.LinkPlatform = platform;
    return record.Ops.OpenCamera(address, attach, camera);
}

// The one close routine for all platforms: what is open behind the record,
// whatever definitions a host has loaded since.
void CloseLink(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    switch (record.InterfaceType) {
    case InterfaceUsb: {
        const PlatformBinding* binding = FindPlatformBinding(record.LinkPlatform);
        if (binding != nullptr && binding->closeUsb != nullptr) binding->closeUsb(camera);
        return;
    }
    case InterfaceCard2:
    case InterfaceCard4:
    case InterfaceCard70: CloseCard(camera); return;
    default:
        if (record.LinkPlatform == 1) DemoClose(camera);
    }
}

// The full sensor, unbinned, into wave.bin.
void BuildFirstPattern(char* path, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    ComposeLibraryFile(path, "wave.bin");
    record.Ops.BuildWave(path, 0, 0, static_cast<uint32_t>(record.Ccd.Xpix),
                         static_cast<uint32_t>(record.HorBinning), record.VerBinning,
                         static_cast<uint32_t>(record.WaveOption),
                         static_cast<uint32_t>(record.WaveExtraCount), camera);
}

// The results are not examined: a pattern that could not be built leaves its code in
// LastError and does not stop the open.
void LoadFirstPattern(int32_t camera)
{
    char path[FileNameRoom];
    BuildFirstPattern(path, camera);
    CameraTable[camera].Ops.LoadSequencer(path, camera);
}

bool CanBeArray(int32_t platform)
{
    return platform == 42 || platform == 44;
}

// One pattern, and table gain 0, for every head.
void LoadHeads(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    char path[FileNameRoom];
    BuildFirstPattern(path, camera);
    for (int32_t head = 0; head < HeadCount; ++head) {
        if (!IsHeadFitted(head, camera)) continue;
        SelectHead(head, camera);
        record.Ops.LoadSequencer(path, camera);
        record.LoadedGain = -1;
        record.GainIndex = 0;
        record.Ops.SetGain(camera);
    }
}

} // namespace

void LibraryInit()
{
    if (System.clock.TickCount == nullptr) UseNativeSystem();
    FindDefaultFolder();
    if (LibraryReady != 0) return;
    LibraryReady = 1;
    ResetTimerService();
    for (CameraRecord& record : CameraTable) {
        record.MatrixIndex = 0;
        for (uint16_t*& buffer : record.Matrix) buffer = nullptr;
        record.Ops = UnboundOps;
    }
}

int32_t PrepareCamera(int32_t platform, int32_t ccd, int32_t interfaceType, int32_t camera,
                      uint32_t options, QvExposureCallback exposureCallback,
                      QvProgressCallback progressCallback)
{
    CameraRecord& record = CameraTable[camera];
    ClearTemperatureHistory(camera);
    StoreFlag(&record.Options, options);
    StoreFlag(&record.BreakFlag, int8_t{0});
    ResetCameraRecord(camera);
    StoreCallbacks(exposureCallback, progressCallback, &record.Ops);
    record.HorBinning = 1;
    record.VerBinning = 1;
    record.GainIndex = 0;
    record.Config.ShutterHisteresys = IsHeron(platform) ? 100 : 10;
    record.FanSpeed = 80;
    record.InterfaceType = interfaceType;
    memset(record.Registers, 0, sizeof record.Registers);
    if (OpenPar(platform, ccd, camera) != 0) return 1;
    const bool throughLibrary = (options & OptionPortLibrary) != 0;
    OverlayOps(&record.Ops, throughLibrary ? LibraryPortOps : DirectPortOps);
    BindOperations(platform, options, camera);
    record.TemperatureSpanWord = 10;
    record.TemperatureOffsetWord = 0;
    record.WindowDimX = static_cast<uint16_t>(record.Ccd.Xpix & 0xFFFE);
    record.WindowDimY = static_cast<uint16_t>(record.Ccd.Ypix);
    return 0;
}

void Open(int32_t platform, int32_t ccd, int32_t address, int32_t interfaceType, int32_t attach,
          int32_t camera, uint32_t options, QvExposureCallback exposureCallback,
          QvProgressCallback progressCallback)
{
    CameraRecord& record = CameraTable[camera];
    if (LoadFlag(record.CameraOn) != 0) return;
    record.FirstTemperature = 1;
    record.ShutterHeld = 0;
    const int32_t failed = PrepareCamera(platform, ccd, interfaceType, camera, options,
                                         exposureCallback, progressCallback);
    record.SubCamera = record.Config.CameraAddress;
    if (failed == 0) {
        SetKZBPCI(camera, camera);
        StoreFlag(&record.LastError, OpenDriver(platform, address, attach, camera));
        StoreFlag(&record.ArrayMode, int8_t{0});
    }
    // The driver may have changed the options (a card that can do DMA sets
    // 0x2000), and with them the operations that fit.
    BindOperations(platform, LoadFlag(record.Options), camera);
    if (LoadFlag(record.LastError) != ErrorNone) return;

    StoreFlag(&record.CameraOn, 1);
    record.HorBinning = 1;
    record.VerBinning = 1;
    record.MaxValue = ToUint16(std::ldexp(1.0, record.Platform.ADbit & 0xFF) - 1.0);
    LoadFirstPattern(camera);
    if ((options & OptionInternalBuffers) != 0) {
        Matrix(0, camera);
        if (LoadFlag(record.LastError) != ErrorNone) return;
    }
    if ((LoadFlag(record.Options) & OptionsWithTimer) != 0) TimerJoin(camera);
}

void OpenArray(const void* arrayConfig, int32_t platform, int32_t ccd, uint32_t options,
               int32_t camera, QvExposureCallback exposureCallback,
               QvProgressCallback progressCallback)
{
    CameraRecord& record = CameraTable[camera];
    if (!CanBeArray(platform) || arrayConfig == nullptr) {
        StoreFlag(&record.LastError, ErrorArrayPlatform);
        return;
    }
    if (LoadFlag(record.CameraOn) != 0) return;
    memcpy(&record.ArrayConfig, arrayConfig, sizeof record.ArrayConfig);
    StoreFlag(&record.ArrayMode, int8_t{1});
    if (PrepareCamera(platform, ccd, InterfaceCard2, camera, options, exposureCallback,
                      progressCallback) != 0) {
        return;
    }
    record.LinkPlatform = platform;
    StoreFlag(&record.LastError, record.Ops.OpenArrayCamera(camera));
    if (LoadFlag(record.LastError) != ErrorNone) return;

    StoreFlag(&record.CameraOn, 1);
    record.HorBinning = 1;
    record.VerBinning = 1;
    record.MaxValue = ToUint16(std::ldexp(1.0, record.Platform.ADbit) - 1.0);
    LoadHeads(camera);
    if ((LoadFlag(record.Options) & OptionsWithTimer) != 0) ArrayTimerJoin(camera);
}

void OpenWithoutCallbacks(int32_t platform, int32_t ccd, int32_t address, int32_t interfaceType,
                          int32_t attach, int32_t camera, uint32_t options)
{
    Open(platform, ccd, address, interfaceType, attach, camera, options, nullptr, nullptr);
}

CameraConfig* OpenByConfig(const CameraConfig* config, int32_t attach,
                           QvExposureCallback exposureCallback, QvProgressCallback progressCallback)
{
    if (config == nullptr || !IsCamera(config->PciIndex)) return nullptr;
    const CameraConfig wanted = *config; // may be the record's own
    const int32_t camera = wanted.PciIndex;
    CameraConfig& stored = CameraTable[camera].Config;
    stored = wanted;
    Open(wanted.Platform, wanted.CCD, wanted.InterfaceAddress, wanted.InterfaceType, attach, camera,
         static_cast<uint32_t>(wanted.Activity), exposureCallback, progressCallback);
    // Open has set ShutterHisteresys by platform; the configuration's value wins.
    stored = wanted;
    return &stored;
}

int32_t OpenByFile(const char* fileName, int32_t attach, QvExposureCallback exposureCallback,
                   QvProgressCallback progressCallback)
{
    CameraConfig config = {};
    LoadCameraConfig(fileName, &config);
    OpenByConfig(&config, attach, exposureCallback, progressCallback);
    return config.PciIndex;
}

int32_t OpenByFileWithoutCallbacks(const char* fileName, int32_t attach)
{
    return OpenByFile(fileName, attach, nullptr, nullptr);
}

void Close(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (LoadFlag(record.CameraOn) == 0) return;
    const uint32_t options = LoadFlag(record.Options);
    if ((options & OptionsWithTimer) != 0) TimerLeave(camera);
    CloseLink(camera);
    StoreFlag(&record.CameraOn, 0);
    if ((options & OptionInternalBuffers) != 0) Matrix(2, camera);
}

void Select(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (LoadFlag(record.ArrayMode) == 0) return;
    SaveHeadRegulator(record.CurrentArrayCamera & (HeadCount - 1), camera);
    SelectHead(camera, camera);
    LoadHeadRegulator(camera, camera);
}

void SelectHead(int32_t head, int32_t camera)
{
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.SelectUnit != nullptr) extras.SelectUnit(head, camera);
}

bool IsHeadFitted(int32_t head, int32_t camera)
{
    return (CameraTable[camera].ArrayConfig.words[1] >> head & 1) != 0;
}

void SubSelect(int32_t camera, int32_t subCamera)
{
    if (subCamera < 0 || subCamera >= SubCameraCount) return;
    CameraTable[camera].SubCamera = subCamera;
}

void ClearCCD(int32_t camera)
{
    StopNow(camera);
    Select(camera);
    CameraTable[camera].Ops.ClearSensor(camera);
    StartNow(camera);
}

void SetFunction(int32_t slot, void* function, int32_t camera)
{
    SetOpsSlot(&CameraTable[camera].Ops, slot, function);
}
