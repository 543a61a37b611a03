#include "links/readout.h"

#include "core/record.h"
#include "links/card.h"
#include "links/card_bits.h"
#include "links/printer_port.h"

namespace {

// Writes the control word and drops what the last cycle left in the data register.
void EndStream(uint32_t control, int32_t camera)
{
    WriteCard(CardControlReg, control, camera);
    ReadCard(CardDataReg, camera);
}

} // namespace

void ReadoutEnd(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    switch (record.InterfaceType) {
    case InterfacePort0: ReleasePrinterPort(camera); break;
    case InterfaceCard2: {
        uint32_t c = ReadCard(CardControlReg, camera) & ~(CardStream | CardPixelRead);
        if (record.SerialLink != 0 && record.SerialLinkAcknowledged != 0) {
            c = (c & ~CardSerialIdle) | CardReadCycle;
        }
        EndStream(c, camera);
        break;
    }
    case InterfaceCard4:
        EndStream(ReadCard(CardControlReg, camera) & ~CardPixelRead, camera);
        break;
    default: break;
    }
}
