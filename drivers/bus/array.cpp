// Several cameras on one card's cable: one listens at a time, and the record holds
// what belongs to it.
#include <cstring>

#include "core/errors.h"
#include "core/record.h"
#include "devices/temperature.h"
#include "drivers/bus/bus_camera.h"
#include "links/card.h"
#include "platform/system.h"

namespace {

constexpr int32_t UnitRegister = 30;
constexpr uint16_t FirstUnitAddress = 0xFFF0;
constexpr uint32_t SwitchMs = 1;

constexpr int32_t IdleRegister = 12;
constexpr uint16_t IdleLines = 0x8000;

void ClearHeads(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    memset(record.HeadRegisters, 0, sizeof record.HeadRegisters);
    for (int32_t head = 0; head < HeadCount; ++head) {
        record.HeadRegisters[head][IdleRegister] = IdleLines;
        record.HeadFilterPosition[head] = 1;
        record.HeadFilterPhase[head] = 0;
        SaveHeadRegulator(head, camera);
    }
    // What is in force belongs to the first head, and is stored for it by the first
    // switch.
    memcpy(record.Registers, record.HeadRegisters[0], sizeof record.Registers);
    record.FilterPosition = 1;
    record.FilterPhase = 0;
}

void SaveUnit(int32_t unit, CameraRecord* record)
{
    memcpy(record->HeadRegisters[unit], record->Registers, sizeof record->Registers);
    memcpy(record->HeadSequenceTable[unit], record->SequenceTable, sizeof record->SequenceTable);
    record->HeadFilterPosition[unit] = record->FilterPosition;
    record->HeadFilterPhase[unit] = record->FilterPhase;
}

void LoadUnit(int32_t unit, CameraRecord* record)
{
    memcpy(record->Registers, record->HeadRegisters[unit], sizeof record->Registers);
    memcpy(record->SequenceTable, record->HeadSequenceTable[unit], sizeof record->SequenceTable);
    record->FilterPosition = record->HeadFilterPosition[unit];
    record->FilterPhase = record->HeadFilterPhase[unit];
}

} // namespace

void SelectUnit(int32_t unit, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    SaveUnit(record.CurrentArrayCamera & (HeadCount - 1), &record);
    LoadUnit(unit, &record);
    record.CurrentArrayCamera = unit;
    record.Ops.WriteRegister(UnitRegister, 0, camera);
    WriteCard(CardChannelReg, 0xFFFF & ~(1u << unit), camera);
    System.clock.Sleep(SwitchMs);
    record.CameraBusAddress = static_cast<uint16_t>(FirstUnitAddress + unit);
    record.Ops.WriteAddress(record.CameraBusAddress, camera);
    System.clock.Sleep(SwitchMs);
}

int32_t OpenBusArray(const BusSetup& setup, int32_t camera)
{
    int32_t error = OpenCardLink(setup.cable, camera);
    if (error != ErrorNone) return error;
    ClearHeads(camera);
    const uint16_t mask = CameraTable[camera].ArrayConfig.words[1];
    for (int32_t head = 0; head < HeadCount && error == ErrorNone; ++head) {
        if ((mask >> head & 1) == 0) continue;
        SelectUnit(head, camera);
        error = SetUpBusCamera(setup, 0, camera);
    }
    return error;
}
