#include "core/status.h"

#include <cstdio>
#include <cstring>

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "platform/card_records.h"
#include "platform/system.h"

namespace {

constexpr int32_t LibraryVersion = 743;

constexpr uint32_t NormalClass = 32;
constexpr uint32_t RealTimeClass = 256;
constexpr int32_t NormalPriority = 0;
constexpr int32_t TimeCriticalPriority = 15;

// The blocks that a host may move as a whole, but for the options.
constexpr int32_t OptionBlock = 2;
struct RecordBlock {
    void* data;
    size_t bytes;
};

RecordBlock FindBlock(int32_t what, CameraRecord* record)
{
    switch (what) {
    case 0: return {&record->Ccd, sizeof record->Ccd};
    case 1: return {&record->Platform, sizeof record->Platform};
    case 3: return {&record->CcdFamily, sizeof record->CcdFamily};
    default: return {nullptr, 0};
    }
}

// The option word is shared with the timer.
void MoveOptions(int32_t out, void* buffer, CameraRecord* record)
{
    uint32_t options = LoadFlag(record->Options);
    if (out != 0) {
        memcpy(buffer, &options, sizeof options);
    } else {
        memcpy(&options, buffer, sizeof options);
        StoreFlag(&record->Options, options);
    }
}

} // namespace

int32_t Status(int32_t camera)
{
    return LoadFlag(CameraTable[camera].LastError);
}

int32_t Ver(char* buffer)
{
    if (buffer != nullptr) sprintf(buffer, "7.4.3 Build: %s %s", __DATE__, __TIME__);
    return LibraryVersion;
}

uint32_t WDVer(char* buffer, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    WD_VERSION answer = {};
    const bool closed = LoadFlag(record.CameraOn) == 0;
    const uint64_t device = closed ? System.device.Open(WD_DriverName) : record.WdHandle;
    if (device != 0 && System.device.Control(device, WD_Version, &answer, sizeof answer) != 0) {
        answer = {};
    }
    if (closed && device != 0) System.device.Close(device);
    if (buffer != nullptr) {
        sprintf(buffer, "%.*s", static_cast<int>(sizeof answer.cVer - 1), answer.cVer);
    }
    return answer.dwVer;
}

uint16_t MaxNumbers(int32_t camera)
{
    return CameraTable[camera].MaxValue;
}

void SetPathName(const char* path)
{
    if (path == nullptr) return;
    const size_t length = strlen(path);
    if (length >= PathRoom) return;
    memmove(LibraryPath, path, length + 1);
    if (length == 0 || path[length - 1] == '\\' || path[length - 1] == '/') return;
    LibraryPath[length] = '/';
    LibraryPath[length + 1] = '\0';
}

void Delay(uint32_t milliseconds)
{
    System.clock.Sleep(milliseconds);
}

int32_t IsOn(int32_t camera)
{
    return LoadFlag(CameraTable[camera].CameraOn);
}

uint32_t GetMode(int32_t camera)
{
    return LoadFlag(CameraTable[camera].Options);
}

uint32_t SetMode(uint32_t bits, int32_t on, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const uint32_t before = LoadFlag(record.Options);
    const uint32_t after = on != 0 ? before | bits : before & ~bits;
    StoreFlag(&record.Options, after);
    return after;
}

void BrkFlg(int32_t camera)
{
    StoreFlag(&CameraTable[camera].BreakFlag, int8_t{1});
}

void RWData(int32_t what, int32_t out, void* buffer, int32_t camera)
{
    if (buffer == nullptr) return;
    if (what == OptionBlock) {
        MoveOptions(out, buffer, &CameraTable[camera]);
        return;
    }
    const RecordBlock block = FindBlock(what, &CameraTable[camera]);
    if (block.data == nullptr) return;
    if (out != 0) {
        memcpy(buffer, block.data, block.bytes);
    } else {
        memcpy(block.data, buffer, block.bytes);
    }
}

void SetKZBPCI(int32_t index, int32_t camera)
{
    if (index < 0 || index > 7) return;
    CameraTable[camera].CardDeviceId = static_cast<uint16_t>(index == 7 ? 2000 : 2001 + index);
}

void InitCfg(CameraConfig* config)
{
    if (config == nullptr) return;
    config->AD = 0;
    config->Platform = 44;
    config->CCD = 255;
    config->InterfaceType = 2;
    config->InterfaceAddress = -1;
    config->CameraAddress = 0;
    config->InterfaceLink = 0;
    config->FilterWheel = 0;
    config->ShutterType = 0;
    config->ShutterHisteresys = 10;
    config->CcdOutput = 0;
    config->CcdTechnology = 1;
    config->CcdBackFront = 0;
    config->Process = 0;
    config->Activity = 0;
    config->LongCable = 0;
}

void InitOptions(const CameraConfig* config, int32_t camera)
{
    if (config != nullptr) CameraTable[camera].Config = *config;
}

void SetReadoutPriority(int32_t on, int32_t camera)
{
    const uint32_t options = LoadFlag(CameraTable[camera].Options);
    // Without 0x0800 the end of a readout would set the clock from the real-time
    // clock's chip; nothing reads that chip, so the clock stays as it is.
    if ((options & OptionPriority) == 0 || (options & OptionPortLibrary) == 0) return;
    if (on != 0) {
        System.process.SetPriority(RealTimeClass, TimeCriticalPriority);
    } else {
        System.process.SetPriority(NormalClass, NormalPriority);
    }
}

void ReportProgress(const char* text, int32_t percent, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if ((LoadFlag(record.Options) & OptionSilent) != 0) return;
    record.Ops.ProgressCallback(text, percent, camera);
}
