// The serial decoder of the interface card, and the serializer at the far end of its
// cable. Until they are set up the card's words are theirs, not the camera's.
#include "emulator/card.h"
#include "emulator/traffic.h"

namespace {

constexpr uint32_t LeaveToCamera = 0x20642;
constexpr uint32_t ToDecoder = 0x20; // with pixels off
constexpr uint32_t PixelBits = 0x18;
constexpr uint32_t LateIdentifier = 0xAAAA1; // answers only after its extra setup
constexpr uint32_t NoIdentifier = 3;

uint32_t SecondReply(const EmuCardState& card)
{
    const EmuDecoder& decoder = card.decoder;
    if (card.setup.decoder == LateIdentifier && !decoder.setUp) return 0;
    if (decoder.mode == 0) return 0;
    if (card.setup.secondReply != 0) return card.setup.secondReply;
    return decoder.mode == 385 ? 96 : 105;
}

void Answer(EmuCardState* card, uint32_t reply)
{
    card->data = reply;
    card->replyWaits = true;
}

void Identify(EmuCardState* card)
{
    if (card->setup.decoder != NoIdentifier) Answer(card, card->setup.decoder);
}
void BeginSetup(EmuCardState* card)
{
    card->decoder.settingUp = true;
}
void EndSetup(EmuCardState* card)
{
    card->decoder.setUp = card->decoder.settingUp;
}
void SetMode(EmuCardState* card)
{
    card->decoder.mode = card->data;
}
void Confirm(EmuCardState* card)
{
    if (card->setup.decoder == NoIdentifier) return;
    card->decoder.confirmed = SecondReply(*card) != 0;
    Answer(card, SecondReply(*card));
}
void StartWithoutReply(EmuCardState* card)
{
    card->decoder.confirmed = card->setup.decoder == NoIdentifier;
}
void Stop(EmuCardState* card)
{
    card->decoder = {};
}

struct DecoderWord {
    uint32_t data, control;
    void (*run)(EmuCardState* card);
};
const DecoderWord DecoderWords[] = {
    {2, 0x20662, Identify},            //
    {152, 0x20620, BeginSetup},        //
    {152, 0x20660, EndSetup},          //
    {385, 0x20660, SetMode},           //
    {421, 0x20660, SetMode},           //
    {1, 0x20662, Confirm},             //
    {385, 0x20E20, StartWithoutReply}, //
    {405, 0x20E20, StartWithoutReply}, //
    {0x20, 0x20662, Stop},             //
};

} // namespace

bool EmuDecode(EmuCardState* card, uint32_t control)
{
    if (card->setup.decoder == 0) return false;
    const bool toDecoder = (control & ToDecoder) != 0 && (control & PixelBits) == 0;
    if (card->decoder.through && !toDecoder) return false;
    if (card->setup.unlinked) return true;
    if (card->decoder.confirmed && control == LeaveToCamera) {
        card->decoder.through = true;
        return true;
    }
    card->replyWaits = false;
    for (const DecoderWord& word : DecoderWords) {
        if (word.data != card->data || word.control != control) continue;
        word.run(card);
        return true;
    }
    EmuNote("stray decoder %08X %08X", card->data, control);
    return true;
}
