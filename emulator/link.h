// What the links share: the cameras at their far ends and the pixels that come
// from there.
#pragma once
#include <cstdint>
#include <mutex>

#include "emulator/bus_links.h"

// Held during each access to a link. Time is spent before it is taken, since timer
// callbacks run then and may use a link themselves.
std::mutex& EmuLinkLock();

// The cameras behind the links; -1 is a cable with nothing at its end.
void EmuSendAddress(int32_t camera, uint16_t address);
void EmuSendData(int32_t camera, uint16_t word);
bool EmuAnswers(int32_t camera);
uint16_t EmuFetch(int32_t camera); // all ones where nobody answers
bool EmuHasByteCable(int32_t camera);
void EmuPlaceInArray(int32_t camera, int32_t unit);

// Pixels on their way. A word that is taken before it came is all ones, and is
// skipped when it comes: the n-th word taken is the n-th word sent.
struct EmuIncoming {
    int32_t camera;
    uint64_t owed; // taken before they came
    bool stale;    // one that stood there before comes first
};
void EmuBeginTaking(EmuIncoming* incoming, int32_t camera, bool stale);
bool EmuWordWaits(EmuIncoming* incoming);
uint16_t EmuTakeWord(EmuIncoming* incoming);

// Whether a link hands out pixels after address `address`, if it did so before: 0xFFE2
// begins, the other prefixes and the selection of a camera end it.
bool EmuStreamsAfter(uint16_t address, bool before);

void EmuResetFarEnd();
