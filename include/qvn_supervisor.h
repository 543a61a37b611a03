/*
 * qvn's supervisor: libqvn_supervisor.so, a layer over qvn.h that does not hang.
 *
 * Each camera has a worker, a thread of its own that makes all calls of the library for it, and a
 * queue ahead of it. The host's calls put work into the queue and wait for it no longer than they
 * say. A watchdog knows how long each piece of work should take: it names the wait that is over
 * time, breaks it where the link allows that, and gives a camera up whose call never comes back;
 * the other cameras go on.
 *
 *     qvns_start(NULL);
 *     qvns_set_path("/usr/share/qvn");             the folder of qvn.cfg
 *     QvnsOpen open;
 *     qvns_init_open(&open);
 *     open.Config.Platform = QV_PLATFORM_DEMO;
 *     open.Config.CCD = 275;
 *     int32_t code = qvns_open(0, &open);          camera 0
 *     if (code != 0) puts(qvns_error_text(code));
 *     QvnsExposure exposure;
 *     qvns_init_exposure(&exposure);
 *     exposure.Seconds = 2.0;
 *     uint32_t frame;
 *     qvns_start_exposure(0, &exposure, &frame);   returns at once
 *     qvns_wait(0, frame, 60.0);
 *     QvnsMetadata about;
 *     qvns_fetch(0, frame, pixels, room, &about);
 *     qvns_stop(30.0);
 *
 * Results
 * -------
 * 0, a code QV_ERROR_... of qvn.h, or below 0 one of QVNS_ERROR_.... Records are written with the
 * result 0 only, unless a comment says otherwise. A null pointer where none is allowed, a camera
 * number other than 0 to 7 and a number outside its range are QVNS_ERROR_ARGUMENT; nothing is done
 * then. QVNS_ERROR_NOT_STARTED, NOT_OPEN and LOST come from every call that needs a camera and are
 * not told again below.
 *
 * Threads
 * -------
 * Every function may be called from any thread at any time, for the same camera too, save
 * qvns_start and qvns_stop: one thread, while no other call of this layer runs. From inside a
 * callback, or a function that qvns_run runs, only those marked "callbacks too" may be called: the
 * others would wait for the worker that they keep. The camera numbers that are open here belong to
 * the layer: the host makes no call of qvn.h for them but through qvns_run, save those that qvn.h
 * allows from any thread. docs/supervisor.md has a table of all functions.
 *
 * Times
 * -----
 * Seconds, in doubles. A limit of 0 or less is the usual limit of that kind of work
 * (QVNS_WORK_...): what the layer expects it to take, and patience on top. A call comes back within
 * its limit whatever the camera does, with QVNS_ERROR_TIME if the work is not done: work that has
 * not begun is taken back, work that has begun goes on without the caller.
 *
 * Options
 * -------
 * What the library's background service does, the layer does itself, so that a camera that hangs
 * cannot hold the others: it takes a temperature twice a second, regulates, clears the idle sensor,
 * waits for the trigger. The bits QV_OPTION_SERVICE, _REGULATION, _KEEP_CLEAN, _EXTERNAL_TRIGGER,
 * _SILENT and _INTERNAL_BUFFERS are never given to the library: QV_OPTION_KEEP_CLEAN and
 * QV_OPTION_EXTERNAL_TRIGGER are kept by the layer, QV_OPTION_SILENT keeps reports of the readout
 * from the host, the other three are not needed.
 */
#ifndef QVN_SUPERVISOR_H
#define QVN_SUPERVISOR_H

#include "qvn.h"

#if defined(_WIN32)
#if defined(QVNS_BUILD)
#define QVNS_API __declspec(dllexport)
#else
#define QVNS_API __declspec(dllimport)
#endif
#else
#define QVNS_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------- */
/* Codes                                                                     */
/* ------------------------------------------------------------------------- */

#define QVNS_ERROR_ARGUMENT (-101)     /* a null pointer, or a number outside its range */
#define QVNS_ERROR_NOT_STARTED (-102)  /* qvns_start has not been called */
#define QVNS_ERROR_NOT_OPEN (-103)     /* the camera is not open */
#define QVNS_ERROR_ALREADY_OPEN (-104) /* the camera is open */
#define QVNS_ERROR_BUSY (-105)         /* an exposure is under way, or the queue is full */
#define QVNS_ERROR_TIME (-106)         /* the limit of the call is over */
#define QVNS_ERROR_LOST (-107)         /* a call of the library for this camera does not return */
#define QVNS_ERROR_ABORTED (-108)      /* broken off by qvns_abort */
#define QVNS_ERROR_NO_FRAME (-109)     /* no such frame is there */
#define QVNS_ERROR_ROOM (-110)         /* the frame does not fit the buffer */
#define QVNS_ERROR_NO_MEMORY (-111)    /* no memory for a frame */
#define QVNS_ERROR_NO_THREAD (-112)    /* the system gives no thread */
#define QVNS_ERROR_SERIAL (-113)    /* no camera has the serial number, or another one has come */
#define QVNS_ERROR_FAULT (-114)     /* the link has failed; the camera waits for a recovery */
#define QVNS_ERROR_OVER_TIME (-115) /* broken off by the watchdog, or its trigger did not come */
#define QVNS_ERROR_LIBRARY (-116)   /* a function of the library is missing, see QvnsStart */

/* The text of any code, QV_ERROR_... too: a constant; "" for an unknown one. Callbacks too. */
QVNS_API const char* qvns_error_text(int32_t code);

/* ------------------------------------------------------------------------- */
/* Start and stop                                                            */
/* ------------------------------------------------------------------------- */

/* Who does the work. */
#define QVNS_THREADS 0 /* a thread for each open camera and one for the watchdog */
#define QVNS_CALLER 1  /* the caller's: no threads; see QvnsStart.Mode */

typedef struct QvnsStart {
    /*
     * QVNS_CALLER is for worlds in which time passes only as the library is called, as in the
     * virtual time of qvn_bench.h, and for tests that must go the same way each time. The work is
     * done inside of the layer's own calls that wait, and in qvns_idle; QV_Delay lets time pass.
     * All calls come from one thread. Nothing can then end a call of the library that does not
     * return; the watchdog looks in the callbacks and wherever qvns_watch is called.
     */
    int32_t Mode;
    /*
     * A clock in seconds, from 0 on; null: the system's, which is never set back. QVB_Seconds in
     * virtual time. Called with the layer's lock held, so that it must not call the layer. If it
     * goes back, what was measured stands until it goes on, and no time is lost or won.
     */
    double (*Seconds)(void);
    /*
     * Finds the functions of qvn.h by name, for hosts that load the library themselves; null: those
     * that this library is linked with.
     */
    void* (*Find)(const char* name, void* context);
    void* Context; /* handed to Find */
} QvnsStart;

/* QVNS_THREADS, the system's clock, the linked library. */
QVNS_API void qvns_init_start(QvnsStart* start);

/*
 * Starts the layer; null: as qvns_init_start says. Again while it is started: QVNS_ERROR_BUSY.
 * Results: 0, QVNS_ERROR_ARGUMENT, _BUSY, _LIBRARY, _NO_THREAD.
 */
QVNS_API int32_t qvns_start(const QvnsStart* start);

/*
 * Aborts what runs, closes all cameras and ends the threads, within `seconds` (0 or less: 60).
 * QVNS_ERROR_LOST: a worker does not come back. The other cameras are closed; it stays behind, its
 * camera number is not to be used, and the layer cannot be started again until it does come back,
 * which closes its camera.
 */
QVNS_API int32_t qvns_stop(double seconds);

/*
 * QV_SetPathName, before cameras are opened; the layer looks into wave.bin there. Without this call
 * it looks where the library does that was loaded in the same current directory.
 * QVNS_ERROR_ARGUMENT: a null pointer, or more than 1022 characters.
 */
QVNS_API int32_t qvns_set_path(const char* path);

/*
 * QVNS_CALLER: lets `seconds` pass and does what falls due meanwhile: frames, temperatures,
 * recoveries. QVNS_THREADS: sleeps.
 */
QVNS_API void qvns_idle(double seconds);

/*
 * One look of the watchdog at all cameras. With QVNS_THREADS its own thread looks twenty times a
 * second, and nobody needs to call this. Callbacks too.
 */
QVNS_API void qvns_watch(void);

/* ------------------------------------------------------------------------- */
/* Open and close                                                            */
/* ------------------------------------------------------------------------- */

/* Called by the worker; `context` is that of QvnsOpen. */
typedef void (*QvnsProgress)(int32_t camera, const char* text, int32_t percent, void* context);
typedef void (*QvnsCountdown)(int32_t camera, double secondsLeft, void* context);

typedef struct QvnsOpen {
    /*
     * What to open: all fields as QV_OpenByConfig takes them but PciIndex, which is not used, and
     * ShutterHisteresys, which below 0 stands for the platform's usual time.
     */
    CameraConfig Config;
    int32_t Attach;          /* as for QV_Open: 0 resets the camera */
    int32_t AutoRecover;     /* 1: after a failure the worker recovers the camera by itself */
    double RecoverEvery;     /* seconds between two attempts at that, 0.1 or more; 0: 2 */
    double Limit;            /* seconds that the open may take; 0: the usual ones */
    QvnsProgress Progress;   /* as QvnProgressCallback; may be null */
    QvnsCountdown Countdown; /* about three times a second in exposures above 0.5 s; may be null */
    void* Context;
} QvnsOpen;

/*
 * QV_InitCfg, ShutterHisteresys -1, interface as the platform has it (InterfaceType -1), Attach 0,
 * AutoRecover 1, every 2 seconds, usual limit, no callbacks.
 */
QVNS_API void qvns_init_open(QvnsOpen* open);

/*
 * Opens a camera and returns when that is done or has failed.
 * Results: 0; QV_ERROR_... of QV_Open, also 8, 16, 22 and 23, with which the camera is closed
 * again; QVNS_ERROR_ARGUMENT, _ALREADY_OPEN, _NO_THREAD; _TIME: QvnsOpen.Limit is over; _LOST: the
 * open does not come back. If it does so behind either, the camera is closed, and can be opened
 * again.
 */
QVNS_API int32_t qvns_open(int32_t camera, const QvnsOpen* open);

/*
 * The same for the camera with a serial number, wherever it is attached: looks through the free
 * numbers from 0 to 7, attaching to what it finds there without a reset, and opens the one. Its
 * number goes to `camera`. Cards and USB devices are found by the camera's number, so that of
 * identical cameras each keeps its own number as long as no plug is moved; this finds it again
 * then. QVNS_ERROR_SERIAL: none has it. QvnsOpen.Limit counts for each attempt.
 */
QVNS_API int32_t qvns_open_serial(int32_t serial, const QvnsOpen* open, int32_t* camera);

/*
 * Aborts what runs, closes the camera. A cooler that is on stays as the camera leaves it: warm up
 * first. Results: 0, QVNS_ERROR_TIME, _LOST.
 */
QVNS_API int32_t qvns_close(int32_t camera, double limit);

/* ------------------------------------------------------------------------- */
/* State                                                                     */
/* ------------------------------------------------------------------------- */

/* The camera. */
#define QVNS_CAMERA_CLOSED 0
#define QVNS_CAMERA_OPENING 1
#define QVNS_CAMERA_OPEN 2
#define QVNS_CAMERA_FAULT 3      /* the link has failed; nothing is sent until it is recovered */
#define QVNS_CAMERA_RECOVERING 4 /* closed and opened again by the worker */
#define QVNS_CAMERA_LOST 5       /* a call of the library does not return */

/* Its frame, in the order in which a frame goes through them; not every frame has all. */
#define QVNS_FRAME_NONE 0
#define QVNS_FRAME_QUEUED 1
#define QVNS_FRAME_CLEARING 2
#define QVNS_FRAME_TRIGGER 3 /* waits for the external trigger */
#define QVNS_FRAME_LOADING 4 /* a clock pattern is built and loaded */
#define QVNS_FRAME_EXPOSING 5
#define QVNS_FRAME_READING 6     /* the readout has begun */
#define QVNS_FRAME_DOWNLOADING 7 /* pixels have come */
#define QVNS_FRAME_READY 8
#define QVNS_FRAME_FAILED 9
#define QVNS_FRAME_ABORTED 10

/* What the worker does. */
#define QVNS_WORK_NONE 0
#define QVNS_WORK_OPEN 1
#define QVNS_WORK_CLOSE 2
#define QVNS_WORK_CLEAR 3
#define QVNS_WORK_TRIGGER 4
#define QVNS_WORK_LOAD 5
#define QVNS_WORK_EXPOSE 6
#define QVNS_WORK_READ 7
#define QVNS_WORK_TEMPERATURE 8
#define QVNS_WORK_SETTING 9 /* binning, gain, fan, cooler */
#define QVNS_WORK_WHEEL 10
#define QVNS_WORK_MEMORY 11 /* serial number */
#define QVNS_WORK_HOST 12   /* a function of the host's, by qvns_run */

#define QVNS_TEXT 96 /* characters of a text in a record, its end among them */

typedef struct QvnsState {
    int32_t Camera;       /* QVNS_CAMERA_... */
    int32_t Frame;        /* QVNS_FRAME_..., of the last exposure that was started */
    uint32_t FrameNumber; /* of it; 0: none yet */
    int32_t Ready;        /* 1: the frame can be fetched */
    int32_t FrameResult;  /* its code, in READY, FAILED and ABORTED */
    int32_t Percent;      /* of its readout, 0 to 100 */
    double Elapsed;      /* seconds of the exposure that have passed, also in its readout; else 0 */
    double Left;         /* seconds until the frame is ready, as expected; 0 from then on */
    double Expected;     /* seconds from start to ready, as expected at the start */
    int32_t Work;        /* QVNS_WORK_..., what the worker does now */
    double WorkSeconds;  /* since when */
    double WorkExpected; /* how long it should take, seconds */
    int32_t OverTime;    /* 1: it takes longer */
    int32_t OverTimes;   /* how often that happened since open */
    int32_t Queued;      /* pieces of work that wait, the frame among them */
    int32_t Recoveries;  /* since open, that succeeded */
    int32_t Failures;    /* since open: each frame, temperature and setting that failed, not those
                            that were broken off, and each loss of the camera */
    int32_t LastError;   /* code of the last failure since open, 0: none */
    int32_t Serial;      /* serial number, -1: none; asked once, at open */
    char Wait[QVNS_TEXT]; /* what the worker waits for, where OverTime is 1; else what was waited
                             for when something last was over time, "" if nothing was */
} QvnsState;

/* Of a closed camera too. Callbacks too. */
QVNS_API int32_t qvns_state(int32_t camera, QvnsState* state);

/* ------------------------------------------------------------------------- */
/* Exposures                                                                 */
/* ------------------------------------------------------------------------- */

typedef struct QvnsExposure {
    double Seconds;        /* 0 to 1000000 */
    int32_t Light;         /* 1 light frame, 0 dark frame with the shutter closed */
    int32_t X, Y;          /* window, binned pixels from the first image pixel */
    int32_t Width, Height; /* both 0, and X and Y: the full frame. Else a width of 2 or more, whose
                              lowest bit is cleared, and the window must lie on the sensor */
    int32_t HorBinning;    /* both 0: as they are; else 1 or more, set ahead of the frame */
    int32_t VerBinning;
    int32_t Trigger;     /* 1: waits for the external trigger, as with the option; not on platforms
                            1, 29, 48, 61, 200, 205, 400 and, on USB, 28: it cannot be polled
                            there. On platforms 300 and 450 the exposure may begin late: when
                            cameras that read with another binning are done, see
                            QvnsMetadata.StartUnix */
    double TriggerLimit; /* seconds that the trigger may take; 0: any time. Then the frame fails
                            with QVNS_ERROR_OVER_TIME */
} QvnsExposure;

/* A light frame of 0 seconds, full frame, binning as it is, no trigger, without limit. */
QVNS_API void qvns_init_exposure(QvnsExposure* exposure);

/* How long a frame should take, seconds. */
typedef struct QvnsDuration {
    double Clear;    /* where the option asks for it, and behind a window, a binning that leaves
                        rows, or a frame that failed, was broken off or finished, whose charge is
                        still in the sensor */
    double Load;     /* a new clock pattern */
    double Exposure; /* and the settling of the shutter */
    double Readout;  /* by the camera's clock pattern and link, whichever is slower */
    double Total;    /* of these; without a wait for the trigger */
    double Patience; /* what the watchdog grants on top before it takes the camera for lost */
} QvnsDuration;

/*
 * Computed from the clock pattern and the definition of the sensor, without talking to the camera.
 * A window or binning whose pattern is not loaded is reckoned from the one that is. On virtual
 * cameras of every platform and link it is within a quarter of the true time and of a second;
 * within twice of it where a pattern is loaded. Results: 0, QVNS_ERROR_ARGUMENT. Callbacks too.
 */
QVNS_API int32_t qvns_expected(int32_t camera, const QvnsExposure* exposure,
                               QvnsDuration* duration);

/*
 * Puts an exposure into the queue and returns at once. `frame`, which may be null, takes its
 * number: from 1 on, and none twice for a camera number between qvns_start and qvns_stop, also
 * where the camera is closed and opened meanwhile. A frame that is there and was not fetched is
 * dropped, but not with _NO_MEMORY. If a change of binning ahead in the queue moves the window off
 * the sensor, the frame fails with QVNS_ERROR_ARGUMENT. In CAMERA_FAULT the camera is recovered
 * first, if QvnsOpen.AutoRecover is 1. Results: 0; QVNS_ERROR_ARGUMENT, also for a window that does
 * not lie on the sensor and a trigger that cannot be polled; _BUSY: one is under way, or is being
 * broken off, or the last one is borrowed or just being copied; _FAULT: without AutoRecover;
 * _NO_MEMORY.
 */
QVNS_API int32_t qvns_start_exposure(int32_t camera, const QvnsExposure* exposure, uint32_t* frame);

/* 1 if the frame can be fetched, else 0. Callbacks too. */
QVNS_API int32_t qvns_ready(int32_t camera, uint32_t frame);

/*
 * Waits until the frame is ready or has failed: its code. QVNS_ERROR_TIME: neither; it goes on.
 * Frame 0: the last one. Also QVNS_ERROR_NO_FRAME: a number that is not the last one's.
 */
QVNS_API int32_t qvns_wait(int32_t camera, uint32_t frame, double limit);

/*
 * Ends the exposure that runs; the frame is read as it is, and its metadata tell the time. Of
 * exposures above 0.5 seconds, but not of light ones on platforms 22, 23 and 24, whose counter
 * cannot be stopped (QV_OPTION_EXTERNAL_EXPOSURE: these too). Others, and other states, are left
 * alone: QVNS_ERROR_NO_FRAME. Callbacks too.
 */
QVNS_API int32_t qvns_finish(int32_t camera);

/*
 * Breaks off: the exposure that runs or waits, in every state, and what waits in the queue but
 * qvns_close, whose callers get QVNS_ERROR_ABORTED. The frame is ABORTED at once, whatever the
 * camera still does. A wait for the trigger and an exposure above 0.5 seconds end within a
 * twentieth of a second, but for light exposures on platforms 22, 23 and 24, whose counter runs
 * down; a clear, a pattern, a short exposure and a readout go on to their end, and what they bring
 * is dropped. Waits up to `seconds` for the worker to be idle; 0 or less: not at all. Results: 0,
 * QVNS_ERROR_TIME. With 0 seconds, 0. Callbacks too, with 0 seconds.
 */
QVNS_API int32_t qvns_abort(int32_t camera, double seconds);

/* One frame: what was asked for, and how it came about. */
typedef struct QvnsMetadata {
    uint32_t Frame; /* number */
    int32_t Camera; /* number */
    int32_t Platform, Sensor;
    int32_t Serial;        /* -1: none */
    int32_t Result;        /* 0 */
    int32_t Light;         /* 1, or 0: dark */
    int32_t Triggered;     /* 1: by the external trigger */
    int32_t X, Y;          /* as delivered, binned pixels from the first image pixel */
    int32_t Width, Height; /* as delivered: pixels of a line, lines */
    int32_t HorBinning, VerBinning;
    int32_t Gain;            /* setting */
    int32_t MaxValue;        /* the largest pixel value */
    int32_t CcdOutput;       /* of CameraConfig */
    int32_t CoolerOn;        /* 1: by qvns_cool, or by the host in qvns_run */
    double GainFactor;       /* of the setting, by the definition; 0: unknown */
    double Seconds;          /* exposure that was asked for */
    double Exposed;          /* and that was made: shorter where qvns_finish ended it */
    double TemperatureStart; /* degrees Celsius, last reading ahead of the exposure; not a number
                                (isnan): none since open has succeeded */
    double TemperatureEnd;   /* the last one at its end, in the same way */
    double SetPoint;         /* of qvns_cool at the start, degrees Celsius; not a number: none */
    double Power;            /* of the cooler at the start, percent, as the temperature */
    double StartUnix;        /* start of the exposure by the system's clock, seconds since 1970,
                                UTC */
    double EndUnix;          /* frame there: the start and what has passed since, also where the
                                system's clock was set meanwhile */
    double Expected;         /* seconds that it should take from start to end */
    double Took;             /* that it took */
    uint32_t Options;        /* QV_OPTION_..., with those that the layer keeps */
    uint32_t Reserved;       /* 0 */
    uint64_t PatternHash;    /* FNV-1a, 64 bits, of wave.bin as it was loaded; 0: the camera has no
                                pattern file, or it could not be read */
    uint64_t DefinitionHash; /* the same of the definitions of sensor and platform: the fields of
                                CcdDefinition, then of PlatformDefinition but Spare, as they lie in
                                memory */
} QvnsMetadata;

/*
 * Copies a frame that is ready: Width x Height pixels, row after row, and its metadata. `room` is
 * that of `pixels`, in pixels; with null pixels only the metadata are copied, and metadata may be
 * null. The frame stays there until the next exposure is started. Frame 0: the last one.
 * Results: 0, QVNS_ERROR_NO_FRAME; _ROOM, with the metadata.
 */
QVNS_API int32_t qvns_fetch(int32_t camera, uint32_t frame, uint16_t* pixels, uint64_t room,
                            QvnsMetadata* metadata);

/*
 * The same without a copy, for large sensors: `pixels` takes the address of the frame where it
 * lies. It stays there, and qvns_start_exposure for this camera is QVNS_ERROR_BUSY, until
 * qvns_return was called as often; also over a close, but not over qvns_stop. Results: 0,
 * QVNS_ERROR_NO_FRAME.
 */
QVNS_API int32_t qvns_borrow(int32_t camera, uint32_t frame, const uint16_t** pixels,
                             QvnsMetadata* metadata);

/*
 * Gives a borrowed frame back, also of a camera that is closed or lost by now. QVNS_ERROR_NO_FRAME:
 * none is borrowed. Callbacks too.
 */
QVNS_API int32_t qvns_return(int32_t camera);

/* ------------------------------------------------------------------------- */
/* Settings and everything else                                              */
/* ------------------------------------------------------------------------- */

/*
 * Each waits in the queue, also behind an exposure, is done by the worker, and returns the
 * library's code. Also QVNS_ERROR_ARGUMENT, _BUSY (the queue is full), _TIME, _ABORTED, _FAULT.
 * Settings are kept and restored by a recovery, in which they are set anew.
 */
QVNS_API int32_t qvns_set_binning(int32_t camera, int32_t horizontal, int32_t vertical,
                                  double limit);
QVNS_API int32_t qvns_set_gain(int32_t camera, int32_t index, double limit); /* 0 to 3 */
QVNS_API int32_t qvns_set_fan(int32_t camera, double percent, double limit); /* 0 to 100 */
QVNS_API int32_t qvns_clear(int32_t camera, double limit);
/* From 1 on. QVNS_ERROR_ARGUMENT without a wheel (CameraConfig.FilterWheel 0). */
QVNS_API int32_t qvns_set_filter(int32_t camera, int32_t position, double limit);
/* Finds the wheel's zero position: error 7. */
QVNS_API int32_t qvns_find_filters(int32_t camera, double limit);

/*
 * Runs `function` on the camera's worker, where every function of qvn.h may be called for this
 * camera but those of opening, closing, windows, kinetics and binning, of which the layer does not
 * learn what geometry they leave; a series of kinetics may be taken if nothing but qvns_close
 * follows and no other camera is open. Its result is that of the call. `expected` is how long it
 * should take, seconds, 0 to 86400: the watchdog grants its patience on top. With QVNS_ERROR_TIME
 * or _LOST the function may still run: `context` must outlive it.
 *
 * The temperatures are read meanwhile only in exposures of more than a second that it takes;
 * QvnsOpen.Countdown tells of these too. qvns_abort does not end them, QV_BrkFlg does. Ahead of it
 * the pattern of the full frame is loaded if the camera holds that of a window; if that fails, its
 * code is returned and nothing is run. On platforms 48, 300, 400 and 450 it waits for cameras that
 * read with another binning.
 *
 * What it has set is asked of the library afterwards: QV_SetGain and QV_SetUsrGain, QV_SetMode.
 * They count from then on, are told in the metadata and restored by a recovery; the bits of
 * QV_SetMode that the layer keeps are taken back. The library does not tell the target of
 * QV_SetTemp nor a fan: after qvns_cool the layer sends its own set point again behind the
 * function, and otherwise CoolerOn is 1, SetPoint no number, and a recovery does not switch that
 * cooler on again. QV_SetFanSpeed counts until a recovery.
 */
QVNS_API int32_t qvns_run(int32_t camera, int32_t (*function)(int32_t camera, void* context),
                          void* context, double expected, double limit);

/* ------------------------------------------------------------------------- */
/* Cooling                                                                   */
/* ------------------------------------------------------------------------- */

#define QVNS_COOLING_OFF 0
#define QVNS_COOLING_RAMP 1 /* the set point is on its way to the target */
#define QVNS_COOLING_HOLD 2 /* the set point is the target */
#define QVNS_COOLING_WARM 3 /* the set point rises; at its end the cooler is switched off */

typedef struct QvnsCooling {
    double Target;           /* degrees Celsius, -273 to 100 */
    double DegreesPerMinute; /* of the set point, to 1000; 0: it is the target at once */
    double Tolerance;        /* degrees from the target that count as stable, above 0 */
    double StableSeconds;    /* that the temperature has to stay there, 0 to 1000000 */
} QvnsCooling;

/* 0 degrees, at once, 0.5 degrees for 30 seconds. */
QVNS_API void qvns_init_cooling(QvnsCooling* cooling);

/*
 * Cools, or changes the target; returns at once. A ramp begins at the temperature of the sensor, or
 * where the one before it stands. The set point moves in steps of a tenth of a degree, also while
 * an exposure of more than a second runs. On a ramp, warm-ups too, it is never more than 5 degrees
 * from the last reading: one that was, as that of a target set at once, comes back to there. Also
 * works in CAMERA_FAULT: it is taken up after the recovery; a target that had been reached by a
 * ramp is then reached by a ramp again.
 */
QVNS_API int32_t qvns_cool(int32_t camera, const QvnsCooling* cooling);

/*
 * Lets the set point rise to `target` degrees Celsius, then switches the cooler off; returns at
 * once; sooner where the cooler has come to no power at all. `degreesPerMinute` above 0, to 1000.
 * With the cooler off: nothing, and 0.
 */
QVNS_API int32_t qvns_warm_up(int32_t camera, double target, double degreesPerMinute);

/*
 * Switches the cooler off now, whoever has switched it on; returns at once, qvns_wait_stable when
 * it is done.
 */
QVNS_API int32_t qvns_cooler_off(int32_t camera);

typedef struct QvnsTemperature {
    int32_t Mode;      /* QVNS_COOLING_... */
    int32_t Stable;    /* 1: in HOLD, for StableSeconds within Tolerance, and the reading fresh */
    int32_t Saturated; /* 1: at its most, the sensor above the set point, the reading fresh */
    int32_t Readings;  /* since open */
    int32_t ReadFailures; /* since open */
    int32_t Fresh;        /* 1: the reading is at most 5 seconds old */
    double Measured;      /* degrees Celsius, last reading; 0 where Age is below 0 */
    double SetPoint;      /* of the ramp now, degrees Celsius; with the cooler off, the last one */
    double Target;        /* degrees Celsius */
    double Power;         /* percent */
    double Age;           /* of the reading, seconds; below 0: none yet */
    double StableFor;     /* seconds within the tolerance without a break */
} QvnsTemperature;

/* Does not talk to the camera. Callbacks too. */
QVNS_API int32_t qvns_temperature(int32_t camera, QvnsTemperature* temperature);

/*
 * Waits until the temperature is stable; after a warm-up, until the cooler is off. QVNS_ERROR_TIME;
 * _FAULT: without AutoRecover. `limit` 0 or less: 1800 seconds.
 */
QVNS_API int32_t qvns_wait_stable(int32_t camera, double limit);

/* ------------------------------------------------------------------------- */
/* Recovery                                                                  */
/* ------------------------------------------------------------------------- */

/*
 * Closes the camera and opens it again with the same settings: what a failed read, a pulled plug or
 * a camera that was switched off and on need. Gain, binning, fan, the cooler's drive and the set
 * point are restored, the last frame is kept; other cameras are not touched. If a camera with
 * another serial number comes, it is closed again: QVNS_ERROR_SERIAL. Codes as for qvns_open; the
 * camera is in CAMERA_FAULT then.
 *
 * With QvnsOpen.AutoRecover the worker does this by itself after a failed frame and after the third
 * temperature in a row that could not be read, until it succeeds.
 *
 * A camera that is lost cannot be recovered before its call comes back, which pulling its plug may
 * bring about; from then on it is closed and may be opened.
 */
QVNS_API int32_t qvns_recover(int32_t camera, double limit);

#ifdef __cplusplus
}
#endif

#endif
