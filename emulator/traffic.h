// The traffic record: every call through the seam to a device as a line of text,
// equal neighbours folded ("x 1024"). Off after reset.
//
//   card open                     the kernel driver's device
//   card scan 2001 / card info / card register
//   card debug TEXT
//   card lock 4194816 1           bytes and options
//   card unlock / card delay 10 / card close
//   card control > 00001504       a register by its name, 8 digits
//   card data < 0000002F
//   card1 control > 00000001      the second card
//   port > 0378 0F    port < 0379 40    port w> 0300 8002    port w< 0300 FFFF
//   port acquire 0378 3
//   library load io / library free
//   sleep 2                       milliseconds of System.clock.Sleep
//   delay 10                      microseconds of System.clock.SleepMicroseconds
//   adaptor mode 8                a call of the adaptor's library; also load, init, open, close,
//                                 timeout 65535, eeprom at 81, free
//   adaptor eeprom 2 ?            a byte of its memory chip is read; "= 0A": written
//   adaptor > 00 BF               what is sent, 32 items a line, further ones behind "adaptor +"
//   adaptor < 1                   items that are asked for
//   stray ...                     an access that nothing in the world is made for
//
// A call that a fault took away has " lost" behind its line.
//
// The accesses of a link are long to read. Recorded by cycles, what they do on the cable
// stands in their place:
//
//   address 8003    data 0009    read 002A
//   stream                        the link begins to take pixels
//   pixel                         one is taken
//
// All else stays but the delays of a few microseconds; of the card's registers only what
// is written to those of DMA.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

void EmuRecord(bool on);
void EmuRecordCycles(bool on); // cycles in place of accesses; off after reset
// Also to here, a line when a different one follows it; null: not any more, after the
// line that is still open.
void EmuRecordTo(void (*line)(const char* text));
bool EmuRecording();
// What was sent along `link`, 32 items a line; items of two bytes come low byte first.
void EmuNoteSent(const char* link, const uint8_t* bytes, size_t items, size_t itemBytes,
                 const char* end);
void EmuNote(const char* format, ...) __attribute__((format(printf, 1, 2)));
// The same for an access of a link, and for a cycle on its cable.
void EmuNoteAccess(const char* format, ...) __attribute__((format(printf, 1, 2)));
void EmuNoteCycle(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string EmuTraffic(); // what was recorded, lines ended by '\n'
