// The open of a bus camera: its link, its address on the bus, its registers, its
// version, its calibration.
#include <algorithm>
#include <cmath>

#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "devices/eeprom.h"
#include "drivers/bus/bus_camera.h"
#include "links/card.h"
#include "links/port_card.h"
#include "links/printer_port.h"

namespace {

constexpr int32_t ResetRegister = 31;
constexpr int32_t VersionStatus = 15;
constexpr uint16_t PortControl = 0x200; // register 0 on the port links

constexpr uint32_t WholeFrameRevision = 200;

enum MemoryWord : int32_t { OffsetWord = 0, SpanWord = 1 }; // tenths

bool IsPortLink(const CameraRecord& record)
{
    return record.InterfaceType == InterfacePort0 || record.InterfaceType == InterfacePort1;
}

// What is neither of the port links counts as the card.
int32_t OpenBusLink(const BusSetup& setup, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    switch (record.InterfaceType) {
    case InterfacePort0: return OpenPrinterPort(record.PortBase, camera);
    case InterfacePort1:
        return OpenPortCard(record.PortBase,
                            setup.serialPortCard && record.Config.InterfaceLink != 0, camera);
    default: return OpenCardLink(setup.cable, camera);
    }
}

uint32_t DmaPixels(const CameraRecord& record)
{
    const int32_t lines = (LoadFlag(record.Options) & OptionCardDma) != 0
                              ? record.Ccd.Ypix + 2 * record.Ccd.Dummy[0]
                              : 1;
    const int64_t pixels = int64_t{record.Ccd.Xpix} * lines;
    return static_cast<uint32_t>(std::clamp<int64_t>(pixels, 0, UINT32_MAX));
}

bool IsVersion(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint32_t version = record.Ops.ReadStatus(VersionStatus, camera) & 0xFF;
    return static_cast<int32_t>(version) == record.Platform.FpgaId;
}

} // namespace

void AllowWholeFrames(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const uint32_t options = LoadFlag(record.Options);
    if ((options & OptionNoAutoDma) != 0) return;
    if ((ReadCard(CardRevisionReg, camera) & 0xFFFF) != WholeFrameRevision) return;
    StoreFlag(&record.Options, options | OptionCardDma);
}

int32_t OpenCardLink(const Cable& cable, int32_t camera)
{
    int32_t error = OpenCard(camera);
    if (error == ErrorNone) error = ConnectCable(cable, camera);
    if (error != ErrorNone) return error;
    AllowWholeFrames(camera);
    return AllocateDma(DmaPixels(CameraTable[camera]), camera) == 0 ? ErrorNone : ErrorDmaBuffer;
}

void SelectCamera(int32_t attach, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (attach == 0) record.Ops.WriteRegister(ResetRegister, 0, camera);
    record.Ops.WriteAddress(record.CameraBusAddress, camera);
}

int32_t SetUpBusCamera(const BusSetup& setup, int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    SelectCamera(attach, camera);
    if (IsPortLink(record)) StoreRegister(0, PortControl, camera);
    // A cooler that runs stays on; the next write of the register says so.
    if (attach != 0) record.Registers[setup.coolerRegister] |= setup.coolerBits;
    PresetCalibration(camera);
    setup.program(camera);
    if (!IsVersion(camera)) {
        // A card camera of another version works, uncalibrated: required.
        const bool opens = setup.otherVersionOpens && !IsPortLink(record);
        return opens ? ErrorNone : ErrorCameraNotFound;
    }
    setup.calibrate(camera);
    return ErrorNone;
}

int32_t OpenBusCamera(const BusSetup& setup, int32_t address, int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FilterPhase = 0;
    record.PortBase = static_cast<uint16_t>(address);
    const int32_t error = OpenBusLink(setup, camera);
    return error != ErrorNone ? error : SetUpBusCamera(setup, attach, camera);
}

uint16_t BusPixelDivider(int32_t camera)
{
    const PlatformDefinition& platform = CameraTable[camera].Platform;
    return ToUint16(std::round(platform.TimeBase * platform.SamplingClock[0] / 2 - 1));
}

void ProgramBusRegisters(const BusRegisters& values, int32_t camera)
{
    StoreRegister(3, BusPixelDivider(camera), camera);
    StoreRegister(4, values.lineMode, camera);
    if (values.mode != 0) {
        StoreRegister(13, values.mode, camera);
    } else {
        SetRegisterBits(13, 0x10, camera);
    }
    SetRegisterBits(12, 0x400, camera);
    SetRegisterBits(12, 0x4800, camera);
    if (values.extra12 != 0) SetRegisterBits(12, values.extra12, camera);
    SetRegisterBits(11, 0x10, camera);
    StoreRegister(16, 63, camera);
}

void PresetCalibration(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const int32_t head = HeadIndex(record);
    record.TemperatureSpan[head] = record.TemperatureSpanWord / 10.0;
    record.TemperatureOffset[head] = record.TemperatureOffsetWord / 10.0;
    record.WordPeriodNs = ToUint16(record.Platform.SamplingClock[0] * 1000);
}

void CalibrateFromMemory(int32_t camera)
{
    const uint16_t offset = EepromRead(OffsetWord, camera);
    CalibrateFromWords(offset, EepromRead(SpanWord, camera), camera);
}

void CalibrateFromWords(uint16_t offset, uint16_t span, int32_t camera)
{
    CalibrateHead(HeadIndex(CameraTable[camera]), offset, span, camera);
}

void CalibrateHead(int32_t head, uint16_t offset, uint16_t span, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const double factor = static_cast<int16_t>(span) / 10.0;
    if (factor <= 0.0) return;
    record.TemperatureSpan[head] = factor;
    record.TemperatureOffset[head] = static_cast<int16_t>(offset) / 10.0;
}
