// The kinds of wheel. Which of them a camera has, and on what lines, stands in the routes
// of filter_wheel.cpp.
#pragma once
#include <cstdint>

// What a controller of its own is asked to do; the last three carry the setting values.
enum WheelOperation : int32_t {
    WheelZero = 0,
    WheelGoTo = 1,
    WheelZeroOffset = 2,
    WheelSetting = 3,
    WheelHold = 4,
};

// Config.FilterWheel
enum WheelKind : int32_t {
    NoWheel = 0,
    EightPositionStepper = 1,
    SixPositionStepper = 2,
    NibbleWheel = 3,
    ByteWheel = 4,
};

// --- steppers: false if the zero position, or the sensor at the end, is not found ---

// Four phases that the host switches.
bool CalibratePhaseStepper(int32_t camera);
void MovePhaseStepper(int32_t position, int32_t camera);

// Lines for enable, direction and step.
bool CalibrateLineStepper(int32_t camera);
bool MoveLineStepper(int32_t position, int32_t camera);

// The short way to a position: how many positions, and up (1) or down (0).
struct WheelWay {
    int64_t positions;
    int32_t direction;
};
WheelWay ShortWay(int32_t from, int32_t to, int32_t positions);

// Steps at a speed that rises over the first and falls over the last twenty. FilterStepDelay
// falls to `floor` milliseconds. Nothing for fewer than one step, which is what remains of
// a way beyond a whole turn.
using WheelStep = void (*)(int32_t direction, int32_t camera);
void RunWheel(WheelStep step, int32_t steps, int32_t direction, int32_t floor, int32_t camera);

// --- controllers ---

// Commands of four bits in a register's shadow.
struct NibbleLines {
    int32_t reg;
    bool (*busy)(int32_t camera);
    bool hasMotorOrders; // 60, 61, 200: other orders for zero, setting and hold
    uint32_t settleMs;   // behind each command
};
extern const NibbleLines TarnNibbles, TarnUNibbles, BriarR3Nibbles, HeronNibbles, UsbNibbles;
void OrderByNibbles(const NibbleLines& lines, WheelOperation operation, int32_t value,
                    int32_t camera);

// Commands of a byte, which wait for the controller without limit.
struct ByteLines {
    int32_t startRegister; // NoStart: there is none ahead of a command
    int32_t startValue;
    uint8_t startByte;
    void (*send)(uint8_t byte, int32_t camera);
    uint8_t holds[4]; // the bytes of WheelHold for 0 to 3
};
extern const ByteLines TarnBytes, TarnUBytes, BriarR3Bytes, Tarn5Bytes;
void OrderByBytes(const ByteLines& lines, WheelOperation operation, int32_t value, int32_t camera);
void StartTarn5Wheel(int32_t camera); // ahead of the setting values
