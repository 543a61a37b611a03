// The PCI interface card: a register window and a bus-master DMA engine, reached
// through a kernel driver (seam members `device` and `registers`).
#pragma once
#include <cstdint>

// Byte offsets in the card's register window; all are 32 bits wide.
enum CardRegister : uint32_t {
    CardDmaCountReg = 256,   // words of 32 bits to transfer; reads what remains
    CardDmaAddressReg = 260, // physical address of the buffer / 4
    CardDmaAuxReg = 264,
    CardDmaControlReg = 268, // CardDmaStart starts a transfer
    CardDataReg = 272,       // operand of address and data cycles
    CardControlReg = 276,    // link control and status
    CardRevisionReg = 280,   // low 16 bits
    CardChannelReg = 284,    // byte lane, or the complement of 1 << unit of an array
};

inline constexpr uint32_t CardDmaStart = 0x80000100;

// A register of the camera's card. A card that was never mapped drops what is
// written and reads all ones.
uint32_t ReadCard(CardRegister reg, int32_t camera);
void WriteCard(CardRegister reg, uint32_t value, int32_t camera);

// Opens the kernel driver and maps the window of the card CardDeviceId. 0, or
// the error: 13 no driver, 15 no such card, 4 in use elsewhere. After an error the
// driver stays open until the next OpenCard, which begins with ReleaseCard. A card
// without a window opens all the same, and counts as never mapped.
int32_t OpenCard(int32_t camera);

// Locks a buffer for `pixels` 16-bit pixels and some slack, zeroed, in place of
// the one there is; DmaBuffer, DmaBytes and DmaAddress tell where. 0, or 1 if
// none can be had that is one block to the card: then nothing is locked.
int32_t AllocateDma(uint32_t pixels, int32_t camera);

// Unlocks the buffer and closes the driver, without a word to card or camera.
// Whatever is not open is passed over.
void ReleaseCard(int32_t camera);

// Tells a serializer to stop, or quiets the card; then ReleaseCard.
void CloseCard(int32_t camera);

// --- exports ---

// Processor address of the register window; 0 before the card opens.
uint32_t GetKZBPCIAddress(int32_t camera);

// Revision of the camera's card, or 65535 where none is mapped. Selects the head
// `selected` first.
uint32_t GetKZBPCIRevision(int32_t selected, int32_t camera);
