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
#include <string>

void EmuRecord(bool on);
void EmuRecordCycles(bool on); // cycles in place of accesses; off after reset
// Also to here, a line when a different one follows it; null: not any more, after the
// line that is still open.
void EmuRecordTo(void (*line)(const char* text));
void EmuNote(const char* format, ...) __attribute__((format(printf, 1, 2)));
// The same for an access of a link, and for a cycle on its cable.
void EmuNoteAccess(const char* format, ...) __attribute__((format(printf, 1, 2)));
void EmuNoteCycle(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string EmuTraffic(); // what was recorded, lines ended by '\n'
