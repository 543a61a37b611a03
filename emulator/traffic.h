// The traffic record: every call through the seam to a device as a line of text,
// equal neighbours folded ("x 1024"). Off after reset.
//
//   card open / card close / card lock 4194816 1 / card delay 10
//   card control > 00001504       a register by its name, 8 digits
//   card data < 0000002F
//   port > 0378 0F    port < 0379 40    port w> 0300 8002
//   sleep 2
#pragma once
#include <cstddef>
#include <string>

void EmuRecord(bool on);
void EmuRecordTo(void (*line)(const char* text)); // also to here, as it happens; null: not
void EmuNote(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string EmuTraffic(); // what was recorded, lines ended by '\n'
