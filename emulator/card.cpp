// The interface card: what its registers do to the cable, and its DMA engine.
#include "emulator/card.h"

#include <atomic>

#include "emulator/traffic.h"
#include "emulator/world.h"

namespace {

enum Offset : uint32_t {
    DmaCount = 256,
    DmaAddress = 260,
    DmaAux = 264,
    DmaControl = 268,
    Data = 272,
    Control = 276,
    Revision = 280,
    Channel = 284,
};

// Bits of the control register.
constexpr uint32_t Reset = 0x1, ReadCycle = 0x2, AddressCycle = 0x4;
constexpr uint32_t StreamOn = 0x8, PixelMode = 0x10, SerialStream = 0x20;
constexpr uint32_t CycleDone = 0x4000, Busy = 0x10000, FifoReset = 0x40000, ReplyWaits = 0x80000;
constexpr uint32_t Unlinked = 0x200000 | 0x400000;
constexpr uint32_t StatusBits = CycleDone | Busy | ReplyWaits | Unlinked;

constexpr uint32_t StartDma = 0x80000100;
constexpr uint16_t ReadPrefix = 0xFFE0;
constexpr uint32_t ByteBusy = 0x100; // in the data register of a byte cable

std::atomic<int32_t> RunningEngines;

bool Serial(const EmuCardState& card)
{
    return card.setup.decoder != 0;
}

// The channel register of an array holds a zero bit for each unit that is meant; a byte
// cable, which has one camera, needs it for its lane.
bool Selected(const EmuCardState& card, int32_t unit)
{
    return card.byteCable || (card.channel >> unit & 1) == 0;
}

int32_t AnsweringCamera(const EmuCardState& card)
{
    for (int32_t unit = 0; unit < EmuUnitRoom; ++unit) {
        if (Selected(card, unit) && EmuAnswers(card.units[unit])) return card.units[unit];
    }
    return -1;
}

void Address(EmuCardState* card, uint16_t address)
{
    for (int32_t unit = 0; unit < EmuUnitRoom; ++unit) {
        if (Selected(*card, unit)) EmuSendAddress(card->units[unit], address);
    }
    // Behind a decoder the address alone fetches a word of memory.
    if (Serial(*card) && card->lastAddress == ReadPrefix) {
        const int32_t camera = AnsweringCamera(*card);
        card->latch = EmuFetch(camera);
        card->data = card->latch;
        card->replyWaits = camera >= 0;
    }
    card->lastAddress = address;
    card->streaming = EmuStreamsAfter(address, card->streaming);
}

void SendWord(EmuCardState* card, uint16_t word)
{
    for (int32_t unit = 0; unit < EmuUnitRoom; ++unit) {
        if (Selected(*card, unit)) EmuSendData(card->units[unit], word);
    }
    card->lastAddress = 0;
}

// A decoder hands over what the previous cycle brought, and sends for the next.
void Fetch(EmuCardState* card)
{
    const int32_t camera = AnsweringCamera(*card);
    const uint16_t before = card->latch;
    card->latch = EmuFetch(camera);
    card->data = Serial(*card) ? before : card->latch;
    card->replyWaits = camera >= 0;
    card->lastAddress = 0;
}

// A FIFO that was not emptied still holds a word of the last stream; a byte cable has
// none, but always an old word at its end.
void BeginTaking(EmuCardState* card)
{
    const bool through = (card->control & SerialStream) != 0;
    const bool stale = card->byteCable || (!through && !card->fifoEmpty);
    card->taking = true;
    card->hasWord = false;
    card->fetched = false;
    card->primed = false;
    EmuBeginTaking(&card->incoming, AnsweringCamera(*card), stale);
    card->fifoEmpty = false;
}

void WideCycle(EmuCardState* card, uint32_t control)
{
    const auto word = static_cast<uint16_t>(card->data);
    card->replyWaits = false;
    card->addressed = (control & AddressCycle) != 0;
    if (card->addressed) {
        Address(card, word);
    } else if ((control & ReadCycle) != 0) {
        Fetch(card);
        card->fetched = true;
    } else {
        SendWord(card, word);
    }
}

// Whether a control word that leaves the pixels on is a cycle on the bus beside them. A
// word that repeats what it was before is none, unless it is an address.
bool IsCycleBesidePixels(const EmuCardState& card, uint32_t before, uint32_t control)
{
    if ((control & AddressCycle) != 0) return true;
    if ((control & ReadCycle) != 0) return (before & ReadCycle) == 0;
    return card.addressed;
}

// Two bytes a word: lane 0 first, lane 1 completes it.
void ByteCycle(EmuCardState* card, uint32_t before, uint32_t control)
{
    constexpr uint32_t cycle = AddressCycle | ReadCycle;
    if ((control & cycle) == ReadCycle) {
        if (card->streaming) {
            if ((before & cycle) != ReadCycle) BeginTaking(card);
        } else {
            Fetch(card);
        }
        return;
    }
    card->taking = false;
    if ((card->channel & 1) == 0) {
        card->lowByte = static_cast<uint8_t>(card->data);
        return;
    }
    const auto word = static_cast<uint16_t>((card->data & 0xFF) << 8 | card->lowByte);
    if ((control & AddressCycle) != 0) {
        Address(card, word);
    } else {
        SendWord(card, word);
    }
}

// Whether a control word lets pixels in. A decoder lets them in out of pixel mode, when
// it is told the length of a line with 3 in the two lowest bits.
bool LetsPixelsIn(const EmuCardState& card, uint32_t before, uint32_t control)
{
    constexpr uint32_t parallel = StreamOn | PixelMode, serial = StreamOn | SerialStream;
    if ((control & parallel) == parallel) return true;
    if (!Serial(card) || (control & serial) != serial) return false;
    if (card.taking && control == before) return true;
    return (before & PixelMode) != 0 && (card.data & 3) == 3;
}

void WriteControl(EmuCardState* card, uint32_t value)
{
    if ((value & Reset) != 0) {
        EmuClearCard(card);
        return;
    }
    const uint32_t before = card->control;
    const uint32_t control = value & ~(StatusBits | FifoReset);
    card->control = control;
    card->fifoEmpty = card->fifoEmpty || (value & FifoReset) != 0;
    if (EmuDecode(card, control)) return;
    if (card->byteCable) {
        ByteCycle(card, before, control);
    } else if (LetsPixelsIn(*card, before, control)) {
        if (!card->taking || (value & FifoReset) != 0) {
            BeginTaking(card);
        } else if (IsCycleBesidePixels(*card, before, control)) {
            WideCycle(card, control);
        }
    } else if ((control & PixelMode) != 0) {
        card->taking = false;
    } else {
        card->taking = false;
        WideCycle(card, control);
    }
}

uint32_t ReadControl(EmuCardState* card)
{
    uint32_t value = card->control;
    if (!Serial(*card)) value |= CycleDone;
    if (!card->taking || !EmuWordWaits(&card->incoming)) value |= Busy;
    if (card->replyWaits || (Serial(*card) && (value & Busy) == 0)) value |= ReplyWaits;
    if (card->setup.unlinked) value |= Unlinked;
    return value;
}

// One half of the word at the front, with the busy bit; polling does not use it up.
uint32_t ReadByte(EmuCardState* card)
{
    uint32_t busy = ByteBusy;
    if (!card->taking) {
        busy = 0;
    } else if (card->hasWord || EmuWordWaits(&card->incoming)) {
        if (!card->hasWord) card->latch = EmuTakeWord(&card->incoming);
        card->hasWord = true;
        busy = 0;
    } else {
        card->latch = 0xFFFF;
    }
    return busy | ((card->channel & 1) != 0 ? card->latch >> 8 : card->latch & 0xFFu);
}

uint32_t ReadData(EmuCardState* card)
{
    card->replyWaits = false;
    if (card->byteCable) return ReadByte(card);
    if (!card->taking || card->fetched) {
        card->fetched = false;
        return card->data;
    }
    // A read brings the next word to the data register, and gives what stood there.
    if (card->primed) card->data = EmuTakeWord(&card->incoming);
    card->primed = true;
    return card->data;
}

// Back from the low byte to the high one: the next pixel comes to the front.
void WriteChannel(EmuCardState* card, uint32_t value)
{
    const bool next = (card->channel & 1) == 0 && (value & 1) != 0;
    card->channel = value;
    if (!card->byteCable || !card->taking || !next) return;
    if (!card->hasWord) EmuTakeWord(&card->incoming);
    card->hasWord = false;
}

void WriteDmaControl(EmuCardState* card, uint32_t value)
{
    if (value != StartDma) {
        EmuNote("stray dma %08X", value);
        return;
    }
    card->dmaNext = static_cast<uint64_t>(card->dmaAddress) * 4;
    card->hasHalf = false;
    EmuSetDmaRuns(card, card->dmaCount != 0);
}

void WriteDmaCount(EmuCardState* card, uint32_t value)
{
    card->dmaCount = value;
    EmuSetDmaRuns(card, false);
}

} // namespace

void EmuSetDmaRuns(EmuCardState* card, bool runs)
{
    if (card->dmaRuns != runs) RunningEngines += runs ? 1 : -1;
    card->dmaRuns = runs;
}

bool EmuAnyDmaRuns()
{
    return RunningEngines != 0;
}

void EmuClearCard(EmuCardState* card)
{
    EmuSetDmaRuns(card, false);
    card->control = card->data = card->channel = 0;
    card->decoder = {};
    card->lastAddress = 0;
    card->replyWaits = false;
    card->taking = false;
    card->hasWord = false;
    card->streaming = false;
    card->fifoEmpty = true;
    card->addressed = false;
    card->fetched = false;
    card->dmaCount = card->dmaAddress = 0;
}

// Two pixels make a word of memory. The engine stands still at the end of what is
// locked, with the rest in its count.
void EmuMoveDma(EmuCardState* card)
{
    while (card->dmaRuns && card->taking) {
        uint8_t* memory = EmuLockedMemory(card->dmaNext, 4);
        if (memory == nullptr) {
            EmuNote("stray dma at %08llX, %u words to go",
                    static_cast<unsigned long long>(card->dmaNext), card->dmaCount);
            EmuSetDmaRuns(card, false);
            return;
        }
        if (!EmuWordWaits(&card->incoming)) return;
        const uint16_t pixel = EmuTakeWord(&card->incoming);
        if (!card->hasHalf) {
            card->half = pixel;
            card->hasHalf = true;
            continue;
        }
        const uint32_t word = card->half | static_cast<uint32_t>(pixel) << 16;
        for (uint32_t i = 0; i < 4; ++i) memory[i] = static_cast<uint8_t>(word >> 8 * i);
        card->hasHalf = false;
        card->dmaNext += 4;
        if (--card->dmaCount == 0) EmuSetDmaRuns(card, false);
    }
}

uint32_t EmuReadCard(EmuCardState* card, uint32_t offset)
{
    EmuMoveDma(card);
    switch (offset) {
    case DmaCount: return card->dmaCount;
    case DmaAddress: return card->dmaAddress;
    case DmaAux:
    case DmaControl: return 0;
    case Data: return ReadData(card);
    case Control: return ReadControl(card);
    case Revision: return card->setup.revision;
    case Channel: return card->channel;
    default: return 0xFFFFFFFF;
    }
}

void EmuWriteCard(EmuCardState* card, uint32_t offset, uint32_t value)
{
    EmuMoveDma(card);
    switch (offset) {
    case DmaCount: WriteDmaCount(card, value); break;
    case DmaAddress: card->dmaAddress = value; break;
    case DmaControl: WriteDmaControl(card, value); break;
    case Data: card->data = value; break;
    case Control: WriteControl(card, value); break;
    case Channel: WriteChannel(card, value); break;
    default: EmuNote("stray card write %u %08X", offset, value); break;
    }
}
