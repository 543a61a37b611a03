// What the layer keeps of each camera. Everything here is guarded by Seam.Lock.
#pragma once
#include "supervisor/library.h"
#include "supervisor/seam.h"

inline constexpr int32_t JobRoom = 8;

// What the layer does itself; see the header.
inline constexpr uint32_t KeptOptions = QV_OPTION_SERVICE | QV_OPTION_REGULATION |
                                        QV_OPTION_KEEP_CLEAN | QV_OPTION_EXTERNAL_TRIGGER |
                                        QV_OPTION_SILENT | QV_OPTION_INTERNAL_BUFFERS;

enum JobKind : int32_t {
    JobOpen,
    JobClose,
    JobRecover,
    JobBinning,
    JobGain,
    JobFan,
    JobClear,
    JobFilter,
    JobFindFilters,
    JobHost,
    JobKinds
};

enum JobState : int32_t {
    JobFree,
    JobWaiting,
    JobRunning,
    JobDone,
    JobLeft // runs, and nobody waits for it any more
};

using HostFunction = int32_t (*)(int32_t camera, void* context);

// A piece of work that a caller waits for.
struct Job {
    JobState state;
    JobKind kind;
    uint64_t order;
    int32_t first, second;
    double value;
    HostFunction function;
    void* context;
    int32_t result;
};

// What the worker does now, by the clock of the watchdog.
struct Work {
    int32_t kind; // QVNS_WORK_...
    uint64_t sinceUs, expectedUs, patienceUs;
    bool overTime;
};

// The clock pattern as it was loaded last.
inline constexpr int32_t PatternSections = 4;
enum PatternSection : int32_t { IdlePart, RowPart, PixelPart, LinePart };
struct Pattern {
    bool known;
    uint64_t hash;
    uint32_t words;
    uint32_t length[PatternSections]; // words
};

// The geometry that the camera's pattern is for.
struct Geometry {
    bool isWindow;
    int32_t x, y, width, height; // as they were asked for
    int32_t hbin, vbin;
};

// How far the worker is with it; its state is what the host sees.
enum FrameStep : int32_t { FrameIdle, FrameQueued, FrameInTrigger, FrameInCall };

// Inside of the call of the library that reads it.
enum FrameStage : int32_t { StageNone, StageLoad, StageExpose, StageRead };

struct Frame {
    int32_t state; // QVNS_FRAME_...
    uint32_t number;
    uint64_t order;
    FrameStep step; // not FrameIdle: also while one that was broken off comes to its end
    int32_t result;
    int32_t percent;
    QvnsExposure request;
    QvnsDuration duration;
    QvnsMetadata metadata;
    uint16_t* pixels;
    uint64_t room;    // of pixels
    int32_t readers;  // callers that copy the pixels, and the borrowed ones
    int32_t borrowed; // by qvns_borrow
    FrameStage stage;
    Geometry geometry;
    int32_t loadError;          // of its pattern, if that could not be built
    bool breakWanted;           // the exposure is to end
    bool overTime;              // by the watchdog
    uint64_t startUs;           // of the work for it
    uint64_t exposeUs;          // of the exposure
    uint64_t breakUs;           // end of it, where it was ended early
    uint64_t triggerUs, pollUs; // start of the wait for the trigger, next look at it
};

struct Cooling {
    int32_t mode; // QVNS_COOLING_...
    QvnsCooling wanted;
    bool changed;    // the worker has not taken it up yet
    bool sent;       // a set point has been sent since the cooler was off
    bool sendAgain;  // the camera may hold another, or none
    bool hostCools;  // by calls of its own in qvns_run; the set point is not known then
    double setPoint; // of the ramp
    double sentPoint;
    uint64_t rampUs; // when the ramp was moved last
    double measured, power;
    uint64_t readUs; // 0: no reading yet
    int32_t readings, failures, failuresInARow;
    uint64_t stableUs; // since when within the tolerance; 0: not
};

struct Slot {
    int32_t camera; // number
    int32_t state;  // QVNS_CAMERA_...
    bool hasWorker;
    bool stepping;     // the worker is in a step
    bool runsHost;     // a function of the host's, by qvns_run
    bool hostExposed;  // and there were reports from it
    bool holdsBinning; // see shared.h
    QvnsOpen open;
    Job jobs[JobRoom];
    uint64_t orders; // given out so far
    Work work;
    char wait[QVNS_TEXT]; // what was waited for when something last was over time
    int32_t overTimes, recoveries, failures, lastError;
    uint64_t recoverUs, backgroundUs; // when they fall due
    // Of the open camera.
    uint32_t options; // as asked for
    int32_t serial;
    CcdDefinition ccd;
    PlatformDefinition platform;
    uint64_t definitionHash;
    uint32_t mark; // what the camera answered at open, see link.h; 0: nothing
    int32_t maxValue;
    int32_t hbin, vbin, gain;
    double fan; // percent; below 0: not set
    Geometry built;
    Pattern pattern;
    bool patternLoaded; // the camera has taken one since this was cleared
    bool charged;       // the sensor may hold what a frame has left: rows beside a window, or all
    Frame frame;
    Cooling cooling;
};

extern Slot Slots[QV_CAMERAS];
extern bool Started;
extern bool Ending; // threads are to end

// Null for a number outside 0 to 7.
Slot* FindSlot(int32_t camera);

// 0, or why the camera cannot be used: QVNS_ERROR_ARGUMENT, _NOT_STARTED, _NOT_OPEN, _LOST.
int32_t LookUp(int32_t camera, Slot** slot);

// QVNS_CAMERA_OPEN, FAULT or RECOVERING.
bool IsUsable(const Slot& slot);

bool HasOption(const Slot& slot, uint32_t bits);

// The sensor is to be cleared ahead of a frame.
bool NeedsClear(const Slot& slot);

void NoteFailure(Slot* slot, int32_t code);
// The link has failed: nothing more is sent until a recovery.
void EnterFault(Slot* slot);
