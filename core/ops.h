#pragma once
#include <cstddef>
#include <cstdint>

// The driver operations of one camera, in slot order. Slot numbers are an
// external interface (QV_SetFunction), so the layout is checked below.
struct CameraOps {
    // clang-format off
    int32_t  (*OpenCamera)(int32_t address, int32_t attach, int32_t camera) = nullptr;            //  0
    void     (*SetCoolerPower)(int32_t power, int32_t camera) = nullptr;                          //  1
    void     (*SetPortBits)(int32_t bits, int32_t on, int32_t camera) = nullptr;                  //  2
    void     (*ModifyRegister)(int32_t reg, int32_t mask, int32_t on, int32_t camera) = nullptr;  //  3
    void     (*Poke)(uint32_t address, uint32_t value, int32_t camera) = nullptr;                 //  4
    uint32_t (*Peek)(uint32_t address, int32_t camera) = nullptr;                                 //  5
    void     (*PokeW)(uint32_t address, uint32_t value, int32_t camera) = nullptr;                //  6
    uint32_t (*PeekW)(uint32_t address, int32_t camera) = nullptr;                                //  7
    int32_t  (*LoadSequencer)(const char* path, int32_t camera) = nullptr;                        //  8
    void     (*BuildWave)(const char* path, uint32_t x, uint32_t y, uint32_t width, uint32_t hbin,
                          int32_t vbin, uint32_t waveOption, uint32_t extraCount,
                          int32_t camera) = nullptr;                                              //  9
    void     (*ClearSensor)(int32_t camera) = nullptr;                                            // 10
    int32_t  (*ReadTemperature)(int32_t camera) = nullptr;                                        // 11
    int32_t  (*ReadFrame)(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                          int32_t camera) = nullptr;                                              // 12
    void     (*SetShutter)(double seconds, int32_t camera) = nullptr;                             // 13
    void     (*Unused14)(int32_t camera) = nullptr;                                               // 14
    int32_t  (*ReadWindow)(int32_t shutter, int32_t x, int32_t y, int32_t width, int32_t height,
                           uint16_t* buffer, int32_t camera) = nullptr;                           // 15
    void     (*SetCooler)(int32_t on, int32_t camera) = nullptr;                                  // 16
    uint16_t (*ReadRegister)(int32_t reg, int32_t camera) = nullptr;                              // 17
    void     (*WriteRegister)(int32_t reg, int32_t value, int32_t camera) = nullptr;              // 18
    int32_t  (*WaitReady)(int32_t camera) = nullptr;                                              // 19
    void     (*Unused20)(int32_t camera) = nullptr;                                               // 20
    int32_t  (*IsTriggered)(int32_t camera) = nullptr;                                            // 21
    void     (*SensorIdle)() = nullptr;                                                           // 22
    void     (*ClearOnce)(int32_t camera) = nullptr;                                              // 23
    int32_t  (*MoveFilter)(int32_t operation, int32_t position, int32_t camera) = nullptr;        // 24
    void     (*WriteData)(uint32_t value, int32_t camera) = nullptr;                              // 25
    uint32_t (*WriteAddress)(uint32_t address, int32_t camera) = nullptr;                         // 26
    void     (*ResetLink)(int32_t camera) = nullptr;                                              // 27
    uint16_t (*ReadData)(int32_t camera) = nullptr;                                               // 28
    uint32_t (*ReadStatus)(int32_t selector, int32_t camera) = nullptr;                           // 29
    int32_t  (*SetGain)(int32_t camera) = nullptr;                                                // 30
    int32_t  (*ReadTimed)(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                          int32_t camera) = nullptr;                                              // 31
    int32_t  (*OpenArrayCamera)(int32_t camera) = nullptr;                                        // 32
    int32_t  (*ReadArray)(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                          int32_t camera) = nullptr;                                              // 33
    void     (*Reserved[30])() = {};                                                              // 34 to 63
    void     (*ProgressCallback)(const char* text, int32_t percent, int32_t camera) = nullptr;    // 64
    void     (*ExposureCallback)(const char* text, int32_t camera) = nullptr;                     // 65
    void     (*PortOut)(uint16_t port, uint8_t value) = nullptr;                                  // 66
    void     (*PortWordOut)(uint16_t port, uint16_t value) = nullptr;                             // 67
    uint8_t  (*PortIn)(uint16_t port) = nullptr;                                                  // 68
    uint16_t (*PortWordIn)(uint16_t port) = nullptr;                                              // 69
    // clang-format on
};

// A register and its new value, as some links take several at once.
struct RegisterPair {
    uint16_t reg, value;
};
static_assert(sizeof(RegisterPair) == 4);

// What some drivers have besides their slots; null: the camera has none.
struct DriverExtras {
    uint16_t (*ReadMemory)(int32_t address, int32_t camera) = nullptr; // a word of camera memory
    void (*WriteMemory)(int32_t address, uint16_t value, int32_t camera) = nullptr;
    int32_t (*SerialNumber)(int32_t camera) = nullptr; // where it is no word of that memory
    void (*SetFan)(double percent, int32_t camera) = nullptr;
    void (*SetTarget)(double celsius, int32_t camera) = nullptr;     // where it regulates by itself
    int32_t (*QueryStatus)(int32_t which, int32_t camera) = nullptr; // power, card transfer
    void (*SetShutterLine)(bool isLight, int32_t camera) = nullptr;  // where it is no register
    void (*SetDecimation)(int32_t mode, int32_t camera) = nullptr;   // the same of the bits sent
    void (*ShiftRows)(uint32_t rows, int32_t camera) = nullptr; // the image, toward its register
    void (*Plug)(const uint32_t* values, int32_t camera) = nullptr; // four, to a device of its own
    // Filter wheels: by numbered orders (300, 450), or with what the firmware answers (48).
    void (*OrderWheel)(int32_t operation, int32_t value, int32_t camera) = nullptr;
    uint16_t (*TurnWheel)(int32_t position, int32_t camera) = nullptr; // from 1
    uint16_t (*ZeroWheel)(int32_t camera) = nullptr;
    void (*SetWheel)(int32_t hold, int32_t zeroOffset, int32_t camera) = nullptr;
    void (*SelectUnit)(int32_t unit, int32_t camera) = nullptr; // a head of an array
    // A frame in steps, where the card fetches it: readies camera and card (47 only),
    // starts, copies what has come, gives it up.
    void (*ArmFrame)(double exposure, int32_t camera) = nullptr;
    void (*StartFrame)(int32_t mode, int32_t camera) = nullptr;
    void (*FetchFrame)(uint16_t* buffer, int32_t camera) = nullptr;
    void (*GiveUpFrame)(int32_t camera) = nullptr;
    // Several registers in one transfer. Null: one after the other, by slot 18.
    void (*WriteRegisters)(const RegisterPair* pairs, uint32_t count, int32_t camera) = nullptr;
    // Of a bus camera's read: directly ahead of the image's section, and behind all.
    void (*BeforeLines)(int32_t camera) = nullptr;
    void (*AfterRead)(int32_t camera) = nullptr;
};

inline constexpr DriverExtras NoExtras = {};

using OpsSlot = void (*)();
inline constexpr size_t OpsSlots = 70;
static_assert(sizeof(CameraOps) == OpsSlots * sizeof(OpsSlot));
static_assert(offsetof(CameraOps, BuildWave) == 9 * sizeof(OpsSlot));
static_assert(offsetof(CameraOps, ReadStatus) == 29 * sizeof(OpsSlot));
static_assert(offsetof(CameraOps, ProgressCallback) == 64 * sizeof(OpsSlot));
static_assert(offsetof(CameraOps, PortWordIn) == 69 * sizeof(OpsSlot));

// Copies every slot of `source` that is not null to `target`.
void OverlayOps(CameraOps* target, const CameraOps& source);

// Stores one slot; null stands for what the slot holds before any binding. A
// slot outside 0 to 69 lies outside the record and is ignored.
void SetOpsSlot(CameraOps* ops, int32_t slot, void* function);

// Every slot as the library's load leaves it, so that none is ever null:
// opening fails (codes 3 and 12), ports are reached by direct instructions, all
// others do nothing and return 0.
extern const CameraOps UnboundOps;

// Slots 14, 20 and 22: nothing on every platform.
extern const CameraOps CommonOps;

// Port access through direct instructions, and through io.dll.
extern const CameraOps DirectPortOps;
extern const CameraOps LibraryPortOps;

// Do-nothing operations that drivers put into their own sets.
void NoPortBits(int32_t bits, int32_t on, int32_t camera);
void NoModifyRegister(int32_t reg, int32_t mask, int32_t on, int32_t camera);
void NoPoke(uint32_t address, uint32_t value, int32_t camera);
uint32_t NoPeek(uint32_t address, int32_t camera);
int32_t LoadNothing(const char* path, int32_t camera); // returns 1
void BuildWaveNone(const char* path, uint32_t x, uint32_t y, uint32_t width, uint32_t hbin,
                   int32_t vbin, uint32_t waveOption, uint32_t extraCount, int32_t camera);
void NoOperation(int32_t camera);
void NoSensorIdle();
int32_t NoResult(int32_t camera);
int32_t NoMoveFilter(int32_t operation, int32_t position, int32_t camera);
void NoWriteData(uint32_t value, int32_t camera);
uint32_t NoWriteAddress(uint32_t address, int32_t camera);
uint16_t NoReadData(int32_t camera);
uint32_t NoReadStatus(int32_t selector, int32_t camera);
int32_t NoReadFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                    int32_t camera);
int32_t RefuseOpenArray(int32_t camera); // returns 12
