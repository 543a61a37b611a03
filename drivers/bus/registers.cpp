// The registers of the bus cameras, each kept in a shadow: nothing is read back.
#include "core/record.h"
#include "drivers/bus/bus_camera.h"

void WriteShadow(int32_t reg, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    record.Ops.WriteRegister(reg, record.Registers[reg], camera);
}

void WriteRegisterWith(int32_t reg, uint16_t bits, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    record.Ops.WriteRegister(reg, record.Registers[reg] | bits, camera);
}

void PulseRegister(int32_t reg, uint16_t bits, int32_t camera)
{
    WriteRegisterWith(reg, bits, camera);
    WriteShadow(reg, camera);
}

void StoreRegister(int32_t reg, uint16_t value, int32_t camera)
{
    CameraTable[camera].Registers[reg] = value;
    WriteShadow(reg, camera);
}

void SetRegisterBits(int32_t reg, uint16_t bits, int32_t camera)
{
    CameraTable[camera].Registers[reg] |= bits;
    WriteShadow(reg, camera);
}

void ClearRegisterBits(int32_t reg, uint16_t bits, int32_t camera)
{
    CameraTable[camera].Registers[reg] &= static_cast<uint16_t>(~bits);
    WriteShadow(reg, camera);
}

// A host's number may be anything.
void ModifyBusRegister(int32_t reg, int32_t mask, int32_t on, int32_t camera)
{
    const auto change = on != 0 ? SetRegisterBits : ClearRegisterBits;
    change(reg & (RegisterCount - 1), static_cast<uint16_t>(mask), camera);
}

void SetBusPortBits(int32_t bits, int32_t on, int32_t camera)
{
    ModifyBusRegister(11, static_cast<int32_t>(static_cast<uint32_t>(bits) << 4), on, camera);
}
