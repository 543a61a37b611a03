// The wire language of TOLM_E and WREN: 'D', the command's number, arguments with the low
// byte first. The camera acknowledges with one byte, whose value means nothing, or replies.
// A reply that does not come within the read time-out puts 25 into LastError; that nothing
// else tells the caller is required.
#pragma once
#include <cstdint>

inline constexpr uint8_t CommandStart = 'D';
inline constexpr uint32_t CommandRoom = 24;

struct Command {
    uint8_t bytes[CommandRoom];
    uint32_t count;
};

Command MakeCommand(uint8_t number);
// Without room an argument is left out.
void AddByte(uint32_t value, Command* command);
void AddWord(uint32_t value, Command* command); // 16 bits
void AddLong(uint32_t value, Command* command);

// In a single write. The reply is the caller's to read.
void PutCommand(const Command& command, int32_t camera);

// With the acknowledge: whether it came.
bool SendCommand(const Command& command, int32_t camera);
bool SendPlainCommand(uint8_t number, int32_t camera);                // no arguments
bool SendByteCommand(uint8_t number, uint32_t value, int32_t camera); // one byte

// With a reply of one or two bytes: whether all of it came; `reply` stays if not.
bool AskByte(const Command& command, uint8_t* reply, int32_t camera);
bool AskWord(const Command& command, uint16_t* reply, int32_t camera);
