// Bus cycles over the PCI card's registers (InterfaceType 2, 4 and 70).
#pragma once
#include <cstdint>

#include "core/ops.h"

extern const CameraOps CardLinkOps; // slots 4 to 7, 17 to 19, 25 to 29

// SEP and Larch: ReadRegister, ReadStatus, Peek (8 bits) and PeekW with waits
// that have no bound on a serial link, and control written three times more on
// a parallel one.
extern const CameraOps PatientReadOps;

// Tarn_IV_PLUS: ReadRegister reads a status word, with a wait that has no bound on
// a serial link.
extern const CameraOps StatusReadOps;

// After a bus cycle: false if the camera never said that it was done. A serial
// link does not say; there it is true at once.
bool WaitCycle(int32_t camera);

// The same without the pause ahead, and only of a parallel cable.
bool PollCycle(int32_t camera);

// Waits for the serial decoder's reply, about a millisecond at most.
void WaitSerialReply(int32_t camera);

// The same without a bound.
void AwaitSerialReply(int32_t camera);

// `c` is what WriteAddress returned: the data cycle of the word that belongs to
// that address, with the word on the data register twice.
void SendCardWord(uint32_t c, uint32_t word, int32_t camera);
