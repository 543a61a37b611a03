// The cable between card and camera: parallel, or serial with a decoder at the
// card's end (CameraConfig.InterfaceLink 1 and 3).
#pragma once
#include <cstdint>

enum CableDecoder : uint8_t {
    NoDecoder,    // InterfaceLink is ignored
    PlainDecoder, // identifier 0xAAAA2 only
    Tarn4Decoder, // 0xAAAA1 too, with a set-up of its own
    SepDecoder,   // begins with a pulse; its waits have no bound
};

// How a platform drives its cable.
struct Cable {
    uint32_t control;     // first control word of a parallel cable
    uint32_t controlLong; // the same for CameraConfig.LongCable
    CableDecoder decoder;
    int32_t badReply; // error of a wrong second reply: 11 or 12
};

// Resets the card and readies the cable; sets SerialLink and
// SerialLinkAcknowledged. 0, 10, 11 or 12. With error 10 the card is closed.
int32_t ConnectCable(const Cable& cable, int32_t camera);
