#include "bench/instruments.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>

#include "bench/builders.h"
#include "bench/events.h"
#include "bench/light.h"
#include "bench/record_loan.h"
#include "bench/wheels.h"
#include "catalogue/catalogue.h"
#include "core/binding.h"
#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/line_maps.h"
#include "emulator/usb_camera.h"
#include "include/qvn_bench.h"

namespace {

constexpr int32_t NoLink = -1;
constexpr int32_t UsualSensor = 275;
constexpr int32_t ArrayCamera = 1; // the number whose heads are regulated
constexpr int32_t PrinterPort = 0x378, PortCard = 0x300, PortSpan = 16;
constexpr int32_t WholeFrames = 200; // a card's revision
constexpr uint32_t SecondDecoder = 0xAAAA2, ThirdDecoder = 3;

constexpr int64_t MostPixels = int64_t{1} << 28; // of a sensor

// How a driver takes the words of a frame from the stream.
enum class Stream : uint8_t {
    Own,     // the camera sends what its counters say
    Pixels,  // each by itself
    Dma,     // drops four of a whole frame, six of a transfer line by line
    Even,    // drops four of a whole frame
    Skewed,  // drops three of a transfer line by line
    Doubled, // the same, and there are twice as many dummy lines
    Block,   // drops four of a whole frame, whatever the link
    Reply,   // drops four cells in bins, and a word
    Headed,  // drops two lines and three words
    Lines,   // the camera begins behind the dummy lines
};

struct InstrumentRow {
    int32_t platform;
    int32_t links[3]; // the first is the usual one
    bool decoderOnCard, decoderOnPort;
    Stream stream;
};

// clang-format off
const InstrumentRow Rows[] = {
    // platform  links                decoder       stream
    {22,        {2, 4, 1},            false, true,  Stream::Pixels},
    {23,        {2, 4, 1},            false, true,  Stream::Pixels},
    {24,        {2, 4, NoLink},       true,  false, Stream::Dma},
    {25,        {2, 4, NoLink},       true,  false, Stream::Dma},
    {28,        {2, 4, 6},            false, false, Stream::Even},
    {29,        {6, NoLink, NoLink},  false, false, Stream::Own},
    {30,        {2, 4, NoLink},       true,  false, Stream::Dma},
    {40,        {0, NoLink, NoLink},  false, false, Stream::Pixels},
    {41,        {1, NoLink, NoLink},  false, false, Stream::Pixels},
    {42,        {2, 4, NoLink},       false, false, Stream::Dma},
    {44,        {2, 4, NoLink},       true,  false, Stream::Dma},
    {47,        {2, 4, NoLink},       true,  false, Stream::Dma},
    {48,        {6, NoLink, NoLink},  false, false, Stream::Headed},
    {60,        {2, 4, 0},            false, false, Stream::Pixels},
    {61,        {6, NoLink, NoLink},  false, false, Stream::Skewed},
    {70,        {70, 2, 4},           false, false, Stream::Own},
    {71,        {70, 2, 4},           false, false, Stream::Own},
    {80,        {2, 4, NoLink},       true,  false, Stream::Pixels},
    {200,       {6, NoLink, NoLink},  false, false, Stream::Doubled},
    {205,       {6, NoLink, NoLink},  false, false, Stream::Block},
    {300,       {6, NoLink, NoLink},  false, false, Stream::Reply},
    {400,       {6, NoLink, NoLink},  false, false, Stream::Lines},
    {450,       {6, NoLink, NoLink},  false, false, Stream::Reply},
};
// clang-format on

const InstrumentRow* FindRow(int32_t platform)
{
    const auto* const row = std::find_if(std::begin(Rows), std::end(Rows), [&](const auto& each) {
        return each.platform == platform;
    });
    return row == std::end(Rows) ? nullptr : row;
}

bool IsPort(int32_t link)
{
    return link == QV_INTERFACE_PRINTER_PORT || link == QV_INTERFACE_PORT_CARD;
}

template <typename Names> std::string Named(const Names& names, int32_t code)
{
    for (const auto& row : names) {
        if (row.code == code) return std::to_string(code) + " " + row.name;
    }
    return std::to_string(code);
}

std::string NamedPlatform(int32_t code)
{
    return Named(PlatformNames, code);
}

std::string NamedSensor(int32_t code)
{
    return Named(SensorNames, code);
}

void Append(std::string* list, int32_t number)
{
    *list += (list->empty() ? "" : ", ") + std::to_string(number);
}

// --- what the text left open ---

int32_t Refuse(const std::string& text, std::string* error)
{
    *error = text;
    return QVB_ERROR_SPEC;
}

int32_t CheckPlatform(int32_t platform, std::string* error)
{
    if (FindRow(platform) != nullptr && FindPlatformBinding(platform) != nullptr) return 0;
    std::string others;
    for (const InstrumentRow& row : Rows) Append(&others, row.platform);
    return Refuse("platform: there is no virtual instrument of " + NamedPlatform(platform) +
                      " yet; there are " + others,
                  error);
}

// The platform's usual sensor if none is told.
int32_t ChooseSensor(VirtualInstrument* what, std::string* error)
{
    int32_t carried[SensorNameCount];
    const int32_t count = std::max(CCDQuery(what->platform, carried), 0);
    int32_t* const end = carried + count;
    if (what->sensor < 0 && count > 0) {
        const bool usual = std::find(carried, end, UsualSensor) != end;
        what->sensor = usual ? UsualSensor : carried[0];
    }
    if (std::find(carried, end, what->sensor) != end) return 0;
    std::string others;
    std::for_each(carried, end, [&](int32_t code) { Append(&others, code); });
    return Refuse("sensor: " + NamedPlatform(what->platform) + " does not carry " +
                      NamedSensor(what->sensor) + "; it carries " + others,
                  error);
}

int32_t ChooseLink(VirtualInstrument* what, std::string* error)
{
    const InstrumentRow& row = *FindRow(what->platform);
    if (what->link < 0) what->link = row.links[0];
    if (std::find(std::begin(row.links), std::end(row.links), what->link) == std::end(row.links)) {
        std::string others;
        for (const int32_t link : row.links) {
            if (link != NoLink) Append(&others, link);
        }
        return Refuse("link: " + NamedPlatform(what->platform) + " has no link of kind " +
                          std::to_string(what->link) + "; it has " + others,
                      error);
    }
    const bool onPort = what->link == QV_INTERFACE_PORT_CARD;
    if (what->decoder != 0 && !(onPort ? row.decoderOnPort : row.decoderOnCard)) {
        return Refuse("decoder: " + NamedPlatform(what->platform) +
                          " has no serial decoder on a link of kind " + std::to_string(what->link),
                      error);
    }
    if (!IsPort(what->link) && what->address >= 0) {
        return Refuse(what->link == QV_INTERFACE_USB ? "address: USB has none"
                                                     : "address: the card needs none",
                      error);
    }
    if (what->link == QV_INTERFACE_PRINTER_PORT && what->address < 0) what->address = PrinterPort;
    if (what->link == QV_INTERFACE_PORT_CARD && what->address < 0) what->address = PortCard;
    return 0;
}

// An array is opened behind the first of the cards, whatever its number.
bool UsesFirstCard(const VirtualInstrument& what)
{
    if (IsPort(what.link) || what.link == QV_INTERFACE_USB) return false;
    return what.heads != 0 || what.camera == 0;
}

int32_t CheckHeads(const VirtualInstrument& what, std::string* error)
{
    if (what.heads != 0 && what.platform != 42 && what.platform != 44) {
        return Refuse("heads: " + NamedPlatform(what.platform) + " has no arrays; 42 and 44 have",
                      error);
    }
    const auto room = static_cast<size_t>(std::max(what.heads, 1));
    if (what.scenes.size() <= room) return 0;
    return Refuse("scene: given " + std::to_string(what.scenes.size()) +
                      " times, for heads=" + std::to_string(room),
                  error);
}

int32_t CheckWheel(const VirtualInstrument& what, std::string* error)
{
    if (what.wheel == "none" || FindBenchWheel(what.platform, what.wheel) != nullptr) return 0;
    return Refuse("wheel: " + NamedPlatform(what.platform) + " does not have " + what.wheel +
                      "; it has " + BenchWheelsOf(what.platform),
                  error);
}

EmuWheelSetup WheelOf(const VirtualInstrument& what)
{
    const BenchWheel* const wheel = FindBenchWheel(what.platform, what.wheel);
    return wheel != nullptr ? wheel->setup : EmuWheelSetup();
}

int32_t CheckAgainst(const VirtualInstrument& what, const VirtualInstrument& other,
                     std::string* error)
{
    if (what.camera == other.camera) {
        return Refuse("camera: number " + std::to_string(what.camera) + " has two instruments",
                      error);
    }
    if (UsesFirstCard(what) && UsesFirstCard(other)) {
        return Refuse("heads: an array has the first card, which is camera 0's or another "
                      "array's here",
                      error);
    }
    const bool ports = what.address >= 0 && other.address >= 0;
    if (ports && std::abs(what.address - other.address) < PortSpan) {
        return Refuse("address: two instruments share ports; they need to be 16 apart", error);
    }
    return 0;
}

int32_t Complete(VirtualInstrument* what, int32_t place, std::string* error)
{
    if (what->camera < 0) what->camera = what->heads != 0 ? ArrayCamera : place;
    int32_t code = CheckPlatform(what->platform, error);
    if (code == 0) code = ChooseSensor(what, error);
    if (code == 0) code = ChooseLink(what, error);
    if (code == 0) code = CheckHeads(*what, error);
    if (code == 0) code = CheckWheel(*what, error);
    return code;
}

// --- definitions ---

bool FitsModel(const CcdDefinition& ccd)
{
    return ccd.Xpix >= 2 && int64_t{ccd.Xpix} * ccd.Ypix <= MostPixels;
}

int32_t ReadDefinitions(PlannedInstrument* planned)
{
    const VirtualInstrument& what = planned->what;
    QvbWaveRequest request;
    QVB_InitWaveRequest(&request);
    request.Platform = what.platform;
    request.Sensor = what.sensor;
    request.InterfaceType = what.link;
    request.Camera = what.camera;
    RecordLoan loan = {};
    const int32_t code = TakeRecord(request, &loan);
    if (code != 0) return code;
    planned->ccd = CameraTable[what.camera].Ccd;
    planned->electronics = CameraTable[what.camera].Platform;
    ReturnRecord(loan);
    return FitsModel(planned->ccd) ? 0 : QVB_ERROR_DEFINITION;
}

// Cameras without a pattern have no lines either.
void FindLines(PlannedInstrument* planned)
{
    const VirtualInstrument& what = planned->what;
    const BenchBuilder* builder = FindBenchBuilder(what.platform, what.sensor, what.link);
    if (builder == nullptr) return;
    const int32_t technology = CameraTable[what.camera].Config.CcdTechnology;
    EmuFindLineMap(builder->name, {what.platform, what.sensor, technology}, &planned->lines);
}

int32_t Plan(const VirtualInstrument& what, PlannedInstrument* planned, std::string* error)
{
    planned->what = what;
    const int32_t code = ReadDefinitions(planned);
    if (code != 0) {
        *error = "platform: " + NamedPlatform(what.platform) + " with sensor " +
                 NamedSensor(what.sensor) + ": " + QVB_ErrorMessage(code);
    }
    FindLines(planned);
    return code;
}

// --- plugging ---

// What a driver drops of the stream, so that the rest is the image.
struct StreamForm {
    uint8_t lag;        // words by which the converter is behind
    uint32_t darkAhead; // rows ahead of the image
    uint32_t darkRows;  // ahead of it and behind
    uint8_t lagCells;   // the same lag in unbinned pixels
};

StreamForm FormOnUsb(Stream stream, int32_t sensor, uint32_t dummy)
{
    const bool twoFields = sensor == 5000;
    switch (stream) {
    case Stream::Even: return {0, dummy / 2 + 1, dummy + 1, 0};
    case Stream::Skewed: return {3, dummy / 2 + 1, dummy + 1, 0};
    case Stream::Doubled: return {3, dummy, 2 * dummy, 0};
    case Stream::Block: return {4, dummy / 2, dummy + 1, 0};
    case Stream::Reply: return twoFields ? StreamForm{} : StreamForm{1, 0, 0, 4};
    case Stream::Headed: return {3, std::max(dummy / 2, 3u) - 1, dummy + 2, 0};
    case Stream::Lines: return {0, dummy, dummy, 0};
    default: return {};
    }
}

StreamForm FormOf(const PlannedInstrument& instrument)
{
    const VirtualInstrument& what = instrument.what;
    const InstrumentRow& row = *FindRow(what.platform);
    const uint32_t dummy = instrument.ccd.Dummy[0];
    if (what.link == QV_INTERFACE_USB) return FormOnUsb(row.stream, what.sensor, dummy);
    const bool ownClock = what.sensor == 500 || what.sensor == 506;
    if (row.stream == Stream::Own || ownClock) return {};
    // Heads of an array are read pixel by pixel, whatever the card can do.
    if (row.stream == Stream::Pixels || what.heads != 0) return {0, dummy / 2 + 1, dummy + 1, 0};
    if (what.revision == WholeFrames) return {4, dummy / 2, dummy + 1, 0};
    const uint8_t lag = row.stream == Stream::Dma ? 6 : 0;
    return {lag, dummy / 2 + 1, dummy + 1, 0};
}

uint32_t WordNs(const PlannedInstrument& instrument)
{
    const double ns = instrument.electronics.SamplingClock[0] * 1000;
    return static_cast<uint32_t>(std::lround(std::clamp(ns, 1.0, 1e9)));
}

EmuChip ChipOf(const PlannedInstrument& instrument, int32_t head)
{
    const CcdDefinition& ccd = instrument.ccd;
    return {static_cast<uint32_t>(ccd.Xpix),
            static_cast<uint32_t>(ccd.Ypix) + FormOf(instrument).darkRows,
            static_cast<uint32_t>(std::max<int32_t>(ccd.HorDummyPix, 0)),
            static_cast<uint32_t>(ccd.HorRegSize), LightOf({instrument.what.camera, head})};
}

// Offset 0.0, span 1.0, made in January 2020, a serial number in binary.
void FillMemory(const VirtualInstrument& what, int32_t head, uint16_t* memory)
{
    memory[1] = 10;
    memory[4] = 1;
    memory[5] = 1;
    memory[6] = 2020;
    memory[8] = static_cast<uint16_t>(what.serial + head);
}

EmuBusCamera CameraOf(const PlannedInstrument& instrument, int32_t head)
{
    const VirtualInstrument& what = instrument.what;
    EmuBusCamera camera = {};
    camera.platform = what.platform;
    camera.sensor = what.sensor;
    camera.version = static_cast<uint16_t>(instrument.electronics.FpgaId);
    camera.chip = ChipOf(instrument, head);
    camera.lines = instrument.lines;
    camera.wordNs = WordNs(instrument);
    camera.ambient = what.ambient;
    camera.byteCable = what.platform == 60 && !IsPort(what.link);
    camera.bits = static_cast<uint8_t>(instrument.electronics.ADbit);
    camera.lag = FormOf(instrument).lag;
    camera.wheel = WheelOf(what);
    FillMemory(what, head, camera.memory);
    return camera;
}

// 61 and 200 have no memory: a string of the USB device tells when they were made.
const char* DescriptionOf(int32_t platform)
{
    if (platform == 61) return "HERON_Plus000000010120";
    return platform == 200 ? "OSPREY00000000010120" : nullptr;
}

std::string SerialOf(const VirtualInstrument& what)
{
    std::string digits = std::to_string(what.serial);
    const size_t length = what.platform == 200 ? 7 : 8;
    digits.insert(0, length - std::min(digits.size(), length), '0');
    return digits;
}

void PlugUsb(const PlannedInstrument& instrument)
{
    const VirtualInstrument& what = instrument.what;
    const StreamForm form = FormOf(instrument);
    const std::string serial = SerialOf(what);
    EmuUsbCamera camera = {};
    camera.platform = what.platform;
    camera.sensor = what.sensor;
    camera.version = static_cast<uint16_t>(instrument.electronics.FpgaId);
    camera.chip = ChipOf(instrument, 0);
    camera.lines = instrument.lines;
    camera.wordNs = WordNs(instrument);
    camera.ambient = what.ambient;
    camera.lagWords = form.lag;
    camera.lagCells = form.lagCells;
    camera.serial = serial.c_str();
    camera.description = DescriptionOf(what.platform);
    camera.wheel = WheelOf(what);
    FillMemory(what, 0, camera.memory);
    EmuPlugUsbCameraAt(what.camera, camera);
    EmuUsbStall(what.camera, what.state.stall);
    if (what.state.off) EmuUnplugUsbCamera(what.camera);
}

// The card of a camera, or of an array with its first head.
int32_t PlugCard(const VirtualInstrument& what, int32_t bus)
{
    EmuCard card;
    // The last camera number has the first identifier.
    card.deviceId = static_cast<uint16_t>(what.camera == 7 ? 2000 : 2001 + what.camera);
    if (what.heads != 0) card.deviceId = 2001;
    card.revision = static_cast<uint32_t>(what.revision);
    card.lockedElsewhere = what.state.locked;
    card.unlinked = what.state.unlinked;
    if (what.decoder != 0) card.decoder = what.decoder == 1 ? SecondDecoder : ThirdDecoder;
    return EmuPlugCard(card, bus);
}

void PlugLink(const VirtualInstrument& what, int32_t bus)
{
    const auto address = static_cast<uint16_t>(what.address);
    if (what.link == QV_INTERFACE_PRINTER_PORT) {
        EmuPlugPrinterPort(address, bus);
    } else if (what.link == QV_INTERFACE_PORT_CARD) {
        EmuPlugPortCard(address, what.decoder != 0, bus);
    } else {
        PlugCard(what, bus);
    }
}

int32_t PlugHead(const PlannedInstrument& instrument, int32_t head)
{
    const VirtualInstrument& what = instrument.what;
    const int32_t bus = EmuPlugBusCamera(CameraOf(instrument, head));
    EmuBusMute(bus, what.state.stall);
    EmuBusPower(bus, !what.state.off);
    return bus;
}

void PlugHeads(const PlannedInstrument& instrument, EventTarget* target)
{
    const VirtualInstrument& what = instrument.what;
    for (int32_t head = 0; head < std::max(what.heads, 1); ++head) {
        target->bus[target->busCount++] = PlugHead(instrument, head);
    }
    if (what.heads == 0) return PlugLink(what, target->bus[0]);
    const int32_t card = PlugCard(what, target->bus[0]);
    for (int32_t head = 1; head < what.heads; ++head) {
        EmuAttachUnit(card, head, target->bus[head]);
    }
}

} // namespace

int32_t PlanInstruments(const std::vector<VirtualInstrument>& wanted,
                        std::vector<PlannedInstrument>* planned, std::string* error)
{
    for (size_t place = 0; place < wanted.size(); ++place) {
        VirtualInstrument what = wanted[place];
        int32_t code = Complete(&what, static_cast<int32_t>(place), error);
        for (const PlannedInstrument& other : *planned) {
            if (code == 0) code = CheckAgainst(what, other.what, error);
        }
        planned->emplace_back();
        if (code == 0) code = Plan(what, &planned->back(), error);
        if (code != 0) return code;
    }
    return 0;
}

void PlugInstrument(const PlannedInstrument& instrument)
{
    const VirtualInstrument& what = instrument.what;
    const LightArea area = {static_cast<uint32_t>(instrument.ccd.Xpix),
                            static_cast<uint32_t>(instrument.ccd.Ypix),
                            FormOf(instrument).darkAhead};
    for (int32_t head = 0; head < std::max(what.heads, 1); ++head) {
        SetLight({what.camera, head}, area, what);
    }
    EventTarget target = {what.link == QV_INTERFACE_USB, 0, {}, what.state.stall};
    if (target.usb) {
        PlugUsb(instrument);
    } else {
        PlugHeads(instrument, &target);
    }
    SetEventTarget(what.camera, target);
}
