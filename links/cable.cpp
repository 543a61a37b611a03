#include "links/cable.h"

#include "core/errors.h"
#include "core/record.h"
#include "links/card.h"
#include "links/card_bits.h"
#include "links/card_link.h"
#include "links/delay.h"
#include "platform/system.h"

namespace {

// What CameraConfig.InterfaceLink says of the cable; any other value is a parallel one.
enum CableKind : int32_t {
    SerialCable1 = 1,
    SerialCable3 = 3,
};

// Identifiers of the decoder at the card's end.
constexpr uint32_t DecoderOfFirstKind = 0xAAAA1;
constexpr uint32_t DecoderOfSecondKind = 0xAAAA2;

// Operands of the talk with the decoder.
constexpr uint32_t AskIdentifier = 2;
constexpr uint32_t AskReply = 1;
constexpr uint32_t WakeUp = 152;

// Control words of its cycles.
constexpr uint32_t WakeOff = 0x20620;
constexpr uint32_t WakeOn = 0x20660;
constexpr uint32_t Send = 0x20660;
constexpr uint32_t Ask = 0x20662;
constexpr uint32_t Select3 = 0x20E20;
constexpr uint32_t SerialBus = 0x20642;

struct DecoderForm {
    bool wakesFirst;                    // a wake-up pulse ahead of all else
    bool takesFirstKind;                // a decoder of the first kind, after a slow wake-up
    uint32_t setup1, setup3;            // operand that chooses the bus, by the kind of cable
    uint32_t reply;                     // to setup1
    void (*awaitReply)(int32_t camera); // ahead of each answer
};

constexpr DecoderForm DecoderForms[] = {
    // wakes  first kind  setups    reply  wait
    {false, false, 0, 0, 0, WaitSerialReply},      // NoDecoder
    {false, false, 385, 385, 96, WaitSerialReply}, // PlainDecoder
    {false, true, 421, 405, 105, WaitSerialReply}, // Tarn4Decoder
    {true, false, 385, 385, 96, AwaitSerialReply}, // SepDecoder
};

void Say(uint32_t operand, uint32_t cycle, int32_t camera)
{
    WriteCard(CardDataReg, operand, camera);
    WriteCard(CardControlReg, cycle, camera);
}

uint32_t Answer(const DecoderForm& form, uint32_t question, int32_t camera)
{
    Say(question, Ask, camera);
    form.awaitReply(camera);
    return ReadCard(CardDataReg, camera);
}

int32_t Refuse(int32_t error, int32_t camera)
{
    WriteCard(CardControlReg, CardReset, camera);
    return error;
}

int32_t ConnectParallel(const Cable& cable, int32_t camera)
{
    WriteCard(CardControlReg, CardReset, camera);
    const bool isLong = CameraTable[camera].Config.LongCable != 0;
    WriteCard(CardControlReg, isLong ? cable.controlLong : cable.control, camera);
    return ErrorNone;
}

// Asks the decoder who it is and readies one of the first kind. False: a stranger.
bool Identify(const DecoderForm& form, int32_t camera)
{
    const uint32_t identifier = Answer(form, AskIdentifier, camera);
    if (identifier == DecoderOfSecondKind) {
        CameraTable[camera].SerialLinkAcknowledged = 1;
        return true;
    }
    if (identifier != DecoderOfFirstKind || !form.takesFirstKind) return false;
    Say(WakeUp, WakeOff, camera);
    System.clock.Sleep(100);
    WriteCard(CardControlReg, WakeOn, camera);
    System.clock.Sleep(100);
    return true;
}

int32_t ConnectSerial1(const DecoderForm& form, int32_t badReply, int32_t camera)
{
    WriteCard(CardControlReg, CardReset, camera);
    if (form.wakesFirst) {
        Say(WakeUp, WakeOff, camera);
        WriteCard(CardControlReg, WakeOn, camera);
    }
    if ((ReadCard(CardControlReg, camera) & CardNotLinked1) != 0) {
        WriteCard(CardControlReg, CardReset, camera);
        ReleaseCard(camera);
        return ErrorSerializerNotLinked;
    }
    if (!Identify(form, camera)) return Refuse(ErrorSerialDecoder, camera);
    Say(form.setup1, Send, camera);
    DelayMicroseconds(10, camera);
    if (Answer(form, AskReply, camera) != form.reply) return Refuse(badReply, camera);
    WriteCard(CardControlReg, SerialBus, camera);
    CameraTable[camera].SerialLink = 1;
    return ErrorNone;
}

int32_t ConnectSerial3(const DecoderForm& form, int32_t camera)
{
    if ((ReadCard(CardControlReg, camera) & CardNotLinked3) != 0) {
        ReleaseCard(camera);
        return ErrorSerializerNotLinked;
    }
    Say(form.setup3, Select3, camera);
    WriteCard(CardControlReg, SerialBus, camera);
    CameraTable[camera].SerialLink = 1;
    return ErrorNone;
}

} // namespace

int32_t ConnectCable(const Cable& cable, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.SerialLink = 0;
    record.SerialLinkAcknowledged = 0;
    const DecoderForm& form = DecoderForms[cable.decoder];
    const int32_t kind = cable.decoder == NoDecoder ? 0 : record.Config.InterfaceLink;
    switch (kind) {
    case SerialCable1: return ConnectSerial1(form, cable.badReply, camera);
    case SerialCable3: return ConnectSerial3(form, camera);
    default: return ConnectParallel(cable, camera);
    }
}
