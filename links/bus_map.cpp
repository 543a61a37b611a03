#include "links/bus_map.h"

#include "core/record.h"

namespace {

// Memory belongs to the sequencer while that runs. It stays stopped afterwards,
// in the shadow too: required.
void StopSequencer(CameraRecord* record, int32_t camera)
{
    constexpr uint16_t sequenceRun = 0x40;
    record->Registers[0] &= static_cast<uint16_t>(~sequenceRun);
    record->Ops.WriteRegister(0, record->Registers[0], camera);
}

} // namespace

void BusPoke(uint32_t address, uint32_t value, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StopSequencer(&record, camera);
    record.Ops.WriteAddress(address, camera);
    record.Ops.WriteData(value, camera);
}

uint32_t BeginBusPeek(uint32_t address, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StopSequencer(&record, camera);
    record.Ops.WriteAddress(BusMemoryPrefix, camera);
    return record.Ops.WriteAddress(address, camera);
}
