#include "links/command_link.h"

#include "core/errors.h"
#include "core/flags.h"
#include "core/record.h"
#include "links/usb_link.h"

namespace {

bool ReadReply(uint8_t* reply, uint32_t bytes, int32_t camera)
{
    if (UsbReceive(reply, bytes, camera) == bytes) return true;
    StoreFlag(&CameraTable[camera].LastError, ErrorArm);
    return false;
}

} // namespace

Command MakeCommand(uint8_t number)
{
    return {{CommandStart, number}, 2};
}

void AddByte(uint32_t value, Command* command)
{
    if (command->count >= CommandRoom) return;
    command->bytes[command->count++] = static_cast<uint8_t>(value & 0xFF);
}

void AddWord(uint32_t value, Command* command)
{
    AddByte(value, command);
    AddByte(value >> 8, command);
}

void AddLong(uint32_t value, Command* command)
{
    AddWord(value, command);
    AddWord(value >> 16, command);
}

void PutCommand(const Command& command, int32_t camera)
{
    UsbSend(command.bytes, command.count, camera);
}

bool SendCommand(const Command& command, int32_t camera)
{
    uint8_t acknowledge = 0;
    return AskByte(command, &acknowledge, camera);
}

bool SendPlainCommand(uint8_t number, int32_t camera)
{
    return SendCommand(MakeCommand(number), camera);
}

bool SendByteCommand(uint8_t number, uint32_t value, int32_t camera)
{
    Command command = MakeCommand(number);
    AddByte(value, &command);
    return SendCommand(command, camera);
}

bool AskByte(const Command& command, uint8_t* reply, int32_t camera)
{
    PutCommand(command, camera);
    uint8_t byte = 0;
    if (!ReadReply(&byte, sizeof byte, camera)) return false;
    *reply = byte;
    return true;
}

bool AskWord(const Command& command, uint16_t* reply, int32_t camera)
{
    PutCommand(command, camera);
    uint8_t bytes[2] = {};
    if (!ReadReply(bytes, sizeof bytes, camera)) return false;
    *reply = static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
    return true;
}
