// What the bus cameras share: BRIAR-PCI's operations, and the pieces they are made
// of. A family's source says what it does otherwise. All of it reaches the camera
// through the record's slots, so it serves every link; what is DMA needs the card.
#pragma once
#include <cstdint>

#include "core/ops.h"
#include "links/cable.h"
#include "sequencer/wave_load.h"

struct CameraRecord;

// Sections in the order of the pattern's header.
enum BusSequence : uint32_t { IdleSection, RowSection, PixelSection, LineSection };

// --- registers: `reg` is 0 to 31 ---

void WriteShadow(int32_t reg, int32_t camera);
// Writes the shadow or'ed with `bits`; the shadow itself stays.
void WriteRegisterWith(int32_t reg, uint16_t bits, int32_t camera);
// WriteRegisterWith, then WriteShadow.
void PulseRegister(int32_t reg, uint16_t bits, int32_t camera);
// These three change the shadow and write it.
void StoreRegister(int32_t reg, uint16_t value, int32_t camera);
void SetRegisterBits(int32_t reg, uint16_t bits, int32_t camera);
void ClearRegisterBits(int32_t reg, uint16_t bits, int32_t camera);
void ModifyBusRegister(int32_t reg, int32_t mask, int32_t on, int32_t camera); // slot 3
void SetBusPortBits(int32_t bits, int32_t on, int32_t camera);                 // slot 2 of Tarn

// --- sequencer ---

// Plays a section of the loaded pattern `repeat` times; 0 leaves the camera alone.
// `wait` starts it and sleeps as long as it plays, otherwise a later write of
// register 0 starts it.
void RunSequence(BusSequence sequence, uint32_t repeat, int32_t wait, int32_t camera);

// Sleeps as long as the section plays.
void AwaitSection(BusSequence sequence, uint32_t repeat, int32_t camera);

// Lines of the frame that are read besides the image, for the binning in force.
int32_t DummyLines(const CameraRecord& record);

// Clearing the sensor, and flushing the horizontal register, which leaves the image
// alone: by any sequencer that plays sections as RunSequence does.
using SequencePlayer = void (*)(BusSequence sequence, uint32_t repeat, int32_t wait,
                                int32_t camera);
void ClearSensorBy(SequencePlayer play, int32_t camera);
void FlushRegisterBy(SequencePlayer play, int32_t camera);
// The image goes so many rows toward its register, and waits there.
void ShiftBusRows(uint32_t rows, int32_t camera);
void ClearBusSensor(int32_t camera); // slot 10
void ClearBusOnce(int32_t camera);   // slot 23

// How the families take the words of a pattern.
extern const WaveSink BytePatternSink;                     // 40 to 47, 60: 8 bits, any link
extern const WaveSink PortPatternSink;                     // 22, 23 on the port card
extern const WaveSink CardPatternSink;                     // 22, 23, 24, 30, 80 on the card
extern const WaveSink Tarn4PlusPatternSink;                // 25
int32_t LoadBytePattern(const char* path, int32_t camera); // slot 8
int32_t LoadPortPattern(const char* path, int32_t camera);
int32_t LoadCardPattern(const char* path, int32_t camera);
int32_t LoadTarn4PlusPattern(const char* path, int32_t camera);

// --- opening ---

// What the open of one platform does otherwise than the others.
struct BusSetup {
    Cable cable;
    bool serialPortCard = false; // a port card with InterfaceLink has a serial decoder
    // Everything between selection and version: dividers, clocks, front end.
    void (*program)(int32_t camera) = nullptr;
    // Reads span and offset from camera memory, and whatever else stands there.
    void (*calibrate)(int32_t camera) = nullptr;
    bool otherVersionOpens = false; // on a card, uncalibrated; on a port it never does
    uint8_t coolerRegister = 12;    // its bits that attach keeps
    uint16_t coolerBits = 0;
};

// Opens the link of InterfaceType, resets or attaches the camera, programs it,
// compares versions, calibrates. 0 or the error.
int32_t OpenBusCamera(const BusSetup& setup, int32_t address, int32_t attach, int32_t camera);

// Its parts, for cameras with an order of their own. OpenCardLink: the card, the
// cable, option 0x2000 by revision, and the DMA buffer.
int32_t OpenCardLink(const Cable& cable, int32_t camera);
void AllowWholeFrames(int32_t camera);             // option 0x2000 on a card of revision 200
void SelectCamera(int32_t attach, int32_t camera); // register 31, or only the address
int32_t SetUpBusCamera(const BusSetup& setup, int32_t attach, int32_t camera); // behind the link

// The register writes of BRIAR's open, as other families vary them.
struct BusRegisters {
    uint16_t lineMode; // register 4
    uint16_t mode;     // the value of register 13; 0: only its bit 0x10 is set
    uint16_t extra12;  // bits of register 12 besides BRIAR's
};
void ProgramBusRegisters(const BusRegisters& values, int32_t camera);
uint16_t BusPixelDivider(int32_t camera); // register 3
// Span and offset until the camera's own are known, and WordPeriodNs.
void PresetCalibration(int32_t camera);
// Words 0 and 1 as tenths; a span that is not above 0 leaves both as they are.
void CalibrateFromMemory(int32_t camera);
void CalibrateFromWords(uint16_t offset, uint16_t span, int32_t camera);
// The same for a head that is not the sub-camera.
void CalibrateHead(int32_t head, uint16_t offset, uint16_t span, int32_t camera);

// --- reading ---

extern const CameraOps DmaFrameOps;   // slots 12, 15: whole frame by DMA
extern const CameraOps DmaLineOps;    // slots 12, 15: a line at a time by DMA
extern const CameraOps PixelReadOps;  // slots 12, 15: a pixel at a time
extern const CameraOps PixelTimedOps; // slot 31: frame, a pixel at a time

// The lines of one read, and which of them are the image.
struct BusFrame {
    int32_t width, height; // of the image, not below 0
    int32_t dummy;         // lines besides it
    int32_t firstKept;     // line that is the image's first
    int32_t reportEvery;   // lines
    int32_t skew;          // lines: words by which the second kept line overlaps the first
    uint16_t* buffer;
};
BusFrame FullFrame(int32_t width, int32_t height, uint16_t* buffer, int32_t camera);
BusFrame WindowFrame(int32_t width, int32_t height, uint16_t* buffer);
bool IsKept(const BusFrame& frame, int32_t line);
// By how many pixels a kept line moves the place of the next one.
int32_t LineAdvance(const BusFrame& frame, int32_t line);

// How the pixels come.
struct ReadForm {
    uint64_t (*dmaPixels)(const BusFrame& frame); // of one transfer; null: no DMA
    int32_t skipDivisor; // of the dummy lines, for the rows ahead of a window
    void (*arm)(const BusFrame& frame, int32_t camera);         // link and priority
    int32_t (*transfer)(const BusFrame& frame, int32_t camera); // 0 or 2
};
extern const ReadForm WholeFrameForm, LineForm, PixelForm;

// 0, 2 for a link that failed, or 9 if the DMA buffer had to grow and could not.
int32_t ReadBusFrame(const ReadForm& form, int32_t shutter, int32_t width, int32_t height,
                     uint16_t* buffer, int32_t camera);
int32_t ReadBusWindow(const ReadForm& form, int32_t shutter, int32_t y, int32_t width,
                      int32_t height, uint16_t* buffer, int32_t camera);

// Their parts. ExposeForRead: clear, trigger, exposure, announcement, each as the
// options say. FetchFrame: from the start of the stream to the idle link.
int32_t GrowDma(uint64_t pixels, int32_t camera); // 0 or 9
void ExposeForRead(int32_t shutter, int32_t camera);
void ClearForRead(int32_t camera);
void AwaitTriggerForRead(int32_t camera);
void ExposeAndAnnounce(int32_t shutter, int32_t camera);
// Rows ahead of a window: its own, and the dummy lines over `divisor`.
uint32_t RowsToSkip(int32_t divisor, int32_t y, int32_t camera);
int32_t FetchFrame(const ReadForm& form, const BusFrame& frame, int32_t camera);
void ReportLine(const BusFrame& frame, int32_t line, int32_t camera);
void StartDma(uint64_t pixels, int32_t camera);
void StartDmaWords(uint32_t words, int32_t camera);     // of 32 bits
void StartStream(int32_t camera);                       // the camera's side of a frame
void ArmStream(int32_t width, int32_t camera);          // the link's, for lines of so many pixels
int32_t AwaitFrameDma(uint64_t pixels, int32_t camera); // with progress; 0 or 2
int32_t AwaitLineDma(int32_t camera);                   // 0 or 2
// Words of the DMA buffer from `first` on, as far as it is locked.
void CopyLocked(uint16_t* target, uint64_t first, uint64_t count, int32_t camera);

// --- a frame in steps, by DMA: see DriverExtras ---

void ArmBusFrame(double exposure, int32_t camera); // 47: the camera times the exposure
void StartArmedBusFrame(int32_t mode, int32_t camera);
void FetchArmedBusFrame(uint16_t* buffer, int32_t camera);
void StartBusFrame(int32_t mode, int32_t camera); // 24, 30, 42, 44: the host does
void FetchBusFrame(uint16_t* buffer, int32_t camera);
void GiveUpBusFrame(int32_t camera);

// --- analog ---

// A word of the serial front end on register 11: 3-bit address, 12-bit value.
void FrontEndWrite(uint32_t address, uint32_t value, int32_t camera);
// Slot 30 where the front end takes words: gain in word 2; with the user's values
// (index 4) offset in word 5 and `highRange` or `lowRange` in word 0. Returns 0.
int32_t SetFrontEndGain(uint16_t highRange, uint16_t lowRange, int32_t camera);
// The same for a front end on other lines.
using FrontEndWriter = void (*)(uint32_t address, uint32_t value, int32_t camera);
int32_t SetGainBy(FrontEndWriter write, uint16_t highRange, uint16_t lowRange, int32_t camera);
// One of the ten frequencies of BRIAR-R3's clock synthesiser, the nearest end for
// an index outside 0 to 9. The time of a pixel in nanoseconds.
uint16_t ProgramClockSynthesiser(int32_t index, int32_t camera);
// Its 22 bits, least significant first, with a zero stuffed behind three ones.
void SendSynthesiserWord(uint32_t word, int32_t camera);

// --- exposure counter ---

void SetBusShutter(double seconds, int32_t camera); // slot 13
// The same with bits of register 6 that belong to something else.
void SetPrescaledCounter(double seconds, uint16_t otherBits, int32_t camera);
// A 32-bit count: its low word in `reg`, its high word in the next one.
void SetLongCounter(uint32_t count, int32_t reg, int32_t camera);

// --- temperature ---

// 64 conversions by pulses of register 0, kept to `mask` after XOR with `flip`:
// their mean.
uint32_t ConvertTemperature(uint16_t mask, uint16_t flip, int32_t camera);
// 64 conversions by the pattern's idle section. False if the link failed.
bool ConvertByPattern(uint32_t* mean, int32_t camera);
// Stores (celsius + offset) * span of the sub-camera.
void StoreTemperature(double celsius, int32_t camera);
void StoreHeadTemperature(int32_t head, double celsius, int32_t camera);
void SetBusCoolerPower(int32_t permille, int32_t camera); // slot 1
uint32_t CoolerCode(int32_t permille);                    // 1 to 4095

// --- arrays: up to eight cameras on the card's cable ---

// Makes `unit` the camera that listens and whose shadows stand in the record.
void SelectUnit(int32_t unit, int32_t camera);
int32_t OpenBusArray(const BusSetup& setup, int32_t camera);
extern const CameraOps BusArrayOps; // slot 33

// --- BRIAR-PCI's own, but for link, open, reads and gain ---

extern const CameraOps BusOps;
