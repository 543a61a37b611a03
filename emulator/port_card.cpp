// A bus camera on the port-mapped card: whole words at the data port, sorted by the
// link control; on a serial link each read is asked for by a word.
#include "emulator/ports.h"
#include "emulator/traffic.h"

namespace {

enum Port : uint16_t { Data = 0, ModeA = 4, LinkControl = 5, ModeB = 6, Status = 7 };

constexpr uint8_t IsAddress = 0x80, Reading = 0x40; // of the link control

// Of the status port; bit 6 with bit 5 clear tells that the card is there.
constexpr uint8_t CardHere = 0x40, NoPixel = 0x10, Ready = 0x04, SerialReady = 0x02, Reply = 0x01;

// The card passes nothing on before its modes are set.
bool IsSetUp(const EmuPortCard& card)
{
    return card.modes[ModeA] == 11 && card.modes[ModeB] == (card.serial ? 128 : 9) &&
           card.modes[Status] == 2;
}

void WriteLinkControl(EmuPortCard* card, uint8_t value)
{
    const bool turned = (value & Reading) != 0 && (card->modes[LinkControl] & Reading) == 0;
    card->modes[LinkControl] = value;
    if ((value & Reading) == 0) card->taking = false;
    if (!turned) return;
    card->replyWaits = false;
    card->turned = card->streaming;
}

bool PixelWaits(EmuPortCard* card)
{
    return card->taking && EmuWordWaits(&card->incoming);
}

} // namespace

void EmuWritePortCard(EmuPortCard* card, uint16_t offset, uint8_t value)
{
    switch (offset) {
    case LinkControl: WriteLinkControl(card, value); break;
    case ModeA:
    case ModeB:
    case Status: card->modes[offset] = value; break;
    default: EmuNote("stray port card %u %02X", offset, value); break;
    }
}

void EmuWritePortCardWord(EmuPortCard* card, uint16_t word)
{
    const uint8_t mode = card->modes[LinkControl];
    const bool reading = (mode & Reading) != 0;
    if (!IsSetUp(*card) || (reading && (!card->serial || word != 0))) {
        EmuNote("stray port card word %04X", word);
    } else if (reading) {
        if (card->turned || card->taking) return;
        card->replyWaits = EmuAnswers(card->camera);
        card->reply = EmuFetch(card->camera);
    } else if ((mode & IsAddress) != 0) {
        EmuSendAddress(card->camera, word);
        card->streaming = EmuStreamsAfter(word, card->streaming);
    } else {
        EmuSendData(card->camera, word);
    }
}

uint8_t EmuReadPortCard(EmuPortCard* card, uint16_t offset)
{
    if (offset != Status) return card->modes[offset];
    const bool pixel = PixelWaits(card);
    if (!card->serial) return static_cast<uint8_t>(CardHere | Ready | (pixel ? 0 : NoPixel));
    return static_cast<uint8_t>(CardHere | SerialReady | (pixel || card->replyWaits ? Reply : 0));
}

uint16_t EmuReadPortCardWord(EmuPortCard* card)
{
    if (!IsSetUp(*card) || (card->modes[LinkControl] & Reading) == 0) return 0xFFFF;
    if (card->turned) {
        card->turned = false;
        card->taking = true;
        EmuBeginTaking(&card->incoming, card->camera, true);
        return 0xFFFF;
    }
    if (card->taking) return EmuTakeWord(&card->incoming);
    if (!card->serial) return EmuFetch(card->camera);
    if (!card->replyWaits) return 0xFFFF;
    card->replyWaits = false;
    return card->reply;
}
