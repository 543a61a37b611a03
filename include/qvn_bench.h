/*
 * qvn's workbench: libqvn_bench.so.
 *
 * The library has everything that libqvn.so has, and the means to look at a camera's work without
 * a camera: clock patterns are built from qvn.cfg alone, and played against a model of the sensor;
 * and whole cameras, with card, ports and kernel driver, can be virtual. A host links it in place
 * of libqvn.so, or loads it ahead of it, and keeps calling QV_... as before.
 *
 *     QV_SetPathName("/usr/share/qvn");            the folder of qvn.cfg
 *     QvbWaveRequest request;
 *     QVB_InitWaveRequest(&request);
 *     request.Platform = 42;
 *     request.Sensor = 255;
 *     QvbWave wave;
 *     int32_t code = QVB_BuildWave(&request, "wave.bin", &wave);
 *     if (code != QV_ERROR_NONE) puts(QVB_ErrorMessage(code));
 *
 * Results
 * -------
 * Functions that return a code give QV_ERROR_... of qvn.h or, below 0, QVB_ERROR_.... A null
 * pointer where none is allowed is QVB_ERROR_ARGUMENT; nothing is written then.
 *
 * Threads
 * -------
 * QVB_BuildWave and QVB_PlayWave borrow a camera number's record: they count among the calls that
 * need one thread at a time for all cameras together (see qvn.h), and the camera number must not be
 * open. They leave the record as it was. QVB_Install, QVB_Uninstall, QVB_Instrument,
 * QVB_InstrumentCount and QVB_Trace need that nothing else of the library runs, QVB_SetScene that
 * no other call does for this camera, QVB_Schedule in virtual time that none does for any. All
 * others may be called from any thread at any time.
 */
#ifndef QVN_BENCH_H
#define QVN_BENCH_H

#include "qvn.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------- */
/* Codes                                                                     */
/* ------------------------------------------------------------------------- */

#define QVB_ERROR_ARGUMENT (-1)    /* a null pointer, or a number outside its range */
#define QVB_ERROR_CAMERA_OPEN (-2) /* the camera number is open */
#define QVB_ERROR_NO_BUILDER                                                                       \
    (-3) /* the platform does not drive the sensor, or without a pattern                           \
            file */
#define QVB_ERROR_WAVE_FILE                                                                        \
    (-4)                         /* the file cannot be read, is no whole pattern, or its words are \
                                    of another width than the camera's */
#define QVB_ERROR_NO_MEMORY (-5) /* no memory for playing */
#define QVB_ERROR_FRAME_ROOM (-6) /* the frame does not fit its buffer */
#define QVB_ERROR_DEFINITION                                                                       \
    (-7)                          /* qvn.cfg gives the sensor no columns, rows or register, or the \
                                     pattern no clock: Xpix, Ypix, HorRegSize and                  \
                                     SamplingClock[0] must be above 0 */
#define QVB_ERROR_SPEC (-8)       /* the text of a virtual world: its error text says what */
#define QVB_ERROR_TRACE_FILE (-9) /* the trace cannot be written */

/*
 * The text of a code, QV_ERROR_... or QVB_ERROR_...: a constant of the library. "" for a code that
 * means nothing.
 */
QVN_API const char* QVB_ErrorMessage(int32_t code);

/* ------------------------------------------------------------------------- */
/* Clock patterns                                                            */
/* ------------------------------------------------------------------------- */

/* The lines of a pattern word: line 0 is the bit of value 1. Words of 8 bits have lines 0 to 7. */
#define QVB_LINES 16

/* Which pattern: a camera, a window and a binning. */
typedef struct QvbWaveRequest {
    int32_t Platform;      /* platform code */
    int32_t Sensor;        /* sensor code */
    int32_t InterfaceType; /* QV_INTERFACE_...; on platform 28 it decides on the pattern */
    int32_t X, Y;          /* first column and row of the window, binned pixels, from 0 */
    int32_t Width, Height; /* of the window, binned pixels: 2 and more, 1 to 65535. The lowest bit
                              of the width is cleared. Both 0, and X and Y: the whole image */
    int32_t HorBinning;    /* at least 1 */
    int32_t VerBinning;    /* at least 1 */
    int32_t CcdOutput;     /* this and the next two: as in CameraConfig; sensors 300, 305, 310 */
    int32_t CcdTechnology;
    int32_t CcdBackFront;
    int32_t DnrMode;       /* 1: platform 47 with noise reduction */
    int32_t CameraVariant; /* 1: platform 200 with the newer video chain */
    int32_t Camera;        /* camera number that is borrowed, 0 to QV_CAMERAS - 1; not open */
} QvbWaveRequest;

/*
 * The whole image, binned 1 by 1, with the values of QV_InitCfg for output, technology and side;
 * platform, sensor and interface type 0. For the record of camera 0.
 */
QVN_API void QVB_InitWaveRequest(QvbWaveRequest* request);

/* A section of a pattern. One that the builder does not make has length 0. */
typedef struct QvbSection {
    uint32_t Start;  /* address of its page in pattern memory, words */
    uint32_t Length; /* words, without padding */
} QvbSection;

/* Indices of QvbWave.Sections: in the order of the file's header. */
#define QVB_SECTION_IDLE 0
#define QVB_SECTION_ROW 1   /* one row of the image moves on */
#define QVB_SECTION_PIXEL 2 /* one cell of the horizontal register moves on */
#define QVB_SECTION_LINE 3  /* one line of the picture */
#define QVB_SECTION_EXTRA_A 4
#define QVB_SECTION_EXTRA_B 5
#define QVB_SECTIONS 6

/* What was built. */
typedef struct QvbWave {
    uint32_t WordCount;      /* padding included */
    uint32_t WordLimit;      /* the most that the camera's patterns may have */
    uint32_t WordBits;       /* 8 or 16 */
    double TickMicroseconds; /* of one word */
    uint32_t Width, Height;  /* of the picture, binned pixels */
    QvbSection Sections[QVB_SECTIONS];
    char Builder[32]; /* name of the builder, without "BuildWave" */
} QvbWave;

/*
 * Builds the pattern of `request` and writes it to `path`, in place of what is there; the folder of
 * the definitions is that of QV_SetPathName. A window beyond the register is built as far as the
 * register goes; the entries of extra sections that are not built are 0. With `wave`, which may be
 * null, also tells what was built; it is written only with the result 0.
 * Results: 0; 5 and 6 (qvn.cfg cannot be read); 8 (the pattern does not fit: the file is there, but
 * no camera loads it); 22; 23; QVB_ERROR_ARGUMENT, _CAMERA_OPEN, _NO_BUILDER, _DEFINITION. A
 * platform or a sensor that qvn.cfg lacks has a clock or a size of 0: _DEFINITION.
 */
QVN_API int32_t QVB_BuildWave(const QvbWaveRequest* request, const char* path, QvbWave* wave);

/* How the lines of a camera's patterns work on the sensor: masks of lines. */
typedef struct QvbWaveLines {
    uint32_t WordBits;  /* 8 or 16 */
    uint32_t WordLimit; /* the most words of a pattern, padding included */
    uint32_t Inverted;  /* words are to be XORed with this: then lines act as they rise */
    uint32_t Row;       /* one row of the image enters the horizontal register */
    uint32_t Shift;     /* one cell of the register falls on the output node */
    uint32_t Reset;     /* the node is emptied, as long as it is high */
    uint32_t Convert;   /* the node is converted: one pixel of the picture */
} QvbWaveLines;

/*
 * The lines of a platform with a sensor. `technology` is CameraConfig.CcdTechnology, and matters to
 * sensors 300, 305 and 310. Needs no qvn.cfg. Results: 0, QVB_ERROR_ARGUMENT (a null pointer),
 * QVB_ERROR_NO_BUILDER.
 */
QVN_API int32_t QVB_WaveLines(int32_t platform, int32_t sensor, int32_t interfaceType,
                              int32_t technology, QvbWaveLines* lines);

/*
 * What line 0 to QVB_LINES - 1 does, such as "row transfer" or "reset gate"; no two lines have the
 * same name, and "line 9" is one without a role. At most `room` characters are written to `buffer`,
 * the end of the text among them; 32 hold every name. Needs no qvn.cfg.
 * Results: 0; QVB_ERROR_NO_BUILDER, the name being that of a line without a role;
 * QVB_ERROR_ARGUMENT (no such line, a null pointer, no room).
 */
QVN_API int32_t QVB_LineName(int32_t platform, int32_t sensor, int32_t interfaceType, int32_t line,
                             char* buffer, uint32_t room);

/* ------------------------------------------------------------------------- */
/* The model of the sensor                                                   */
/* ------------------------------------------------------------------------- */

/* Light, row after row; stretched over the image area by whole pixels. */
typedef struct QvbScene {
    const uint16_t* Pixels;
    uint32_t Width, Height; /* pixels, at least 1 */
} QvbScene;

/* Where a picture goes. */
typedef struct QvbFrame {
    uint16_t* Pixels; /* null: only the size is wanted */
    uint64_t Room;    /* of Pixels, in pixels */
    uint32_t Width;   /* out: pixels that a line converts */
    uint32_t Height;  /* out: lines */
} QvbFrame;

/*
 * Plays the pattern file at `path` against a model of the sensor as a readout does: the sensor is
 * cleared, exposed to `scene`, the rows ahead of the window are shifted away, and the line section
 * is played once for each line of the window. `request` is the one that the pattern was built for:
 * platform, sensor and definitions make the sensor, Y, Height and VerBinning its readout. Rows
 * outside of the image, which a driver reads and drops, are left out. The width is what the line
 * section converts, also where this is not the one that was asked for. Pixels stop at 65535.
 * Results: 0; 5, 6; QVB_ERROR_ARGUMENT, _CAMERA_OPEN, _NO_BUILDER, _WAVE_FILE, _NO_MEMORY,
 * _DEFINITION; _FRAME_ROOM, with the size in `frame`. Takes about a second for four million pixels;
 * nothing breaks it off.
 */
QVN_API int32_t QVB_PlayWave(const char* path, const QvbWaveRequest* request, const QvbScene* scene,
                             QvbFrame* frame);

/* ------------------------------------------------------------------------- */
/* Virtual cameras                                                           */
/* ------------------------------------------------------------------------- */

/*
 * Points the library at a virtual world in place of the operating system: from here on QV_Open
 * finds the instruments that `spec` tells, and nothing else. Each is a whole camera at the end of
 * its link: it plays the pattern that the library loads, on a sensor that sees a scene.
 *
 *     char error[256];
 *     if (QVB_Install("platform=42,sensor=255,scene=stars", error, sizeof error)) puts(error);
 *     QV_Open(42, 255, -1, QV_INTERFACE_PCI_CARD, 0, 0, 0, NULL, NULL);
 *
 * `spec` is KEY=VALUE with commas between, or @FILE: a file with a pair in each line, in which
 * blank lines and those that begin with # mean nothing. platform= begins an instrument, to which
 * the keys behind it belong, up to the next platform= or a semicolon; there are 8 at most.
 *
 *     platform   code or name
 *     sensor     code or name [275 or the platform's first]
 *     link       InterfaceType [the platform's usual one]
 *     address    of the ports [0x378 printer port, 0x300 port card]
 *     decoder    on the cable: CameraConfig.InterfaceLink, 0, 1 or 3 [0]
 *     revision   of the card [200: whole frames by DMA; others: lines]
 *     heads      of an array on 42 and 44, 1 to 8: it is opened by QV_OpenArray, and has the first
 *                card, which camera 0 would have [none: a camera by itself]
 *     wheel      8 or 6 (steppers with so many positions), nibble, byte or firmware, as the
 *                platform can have it, on each head [none]
 *     camera     number that the host opens it by [its place in the text, from 0; of an array 1]
 *     ambient    degrees Celsius, -50 to 60 [20]
 *     serial     serial number, 0 to 65534 [1001]
 *     scene      stars, flat (20000), ramp (column + row), dark; a file's name, known by a dot or a
 *                slash, is dark until the host gives the picture by QVB_SetScene; given again, for
 *                the next head, and the last one is that of all heads behind it [stars]
 *     seed       of the stars; each head has the next one [1]
 *     state      off: no power; locked: the card is in use elsewhere; unlinked: the serializer is
 *                off; stalls:N: the link stands still behind pixel N of a read
 *     trigger    SECONDS, or SECONDS:LENGTH: from then on the external trigger input is active for
 *                so many seconds, 0.1 if none are told; 32 in a world [never]
 *     event      SECONDS:off, :on, :silent or :answering, as QVB_Schedule has them; 64 in a world,
 *                of which a trigger takes two [none]
 *
 * Seconds count from QVB_Install on, in the world's time, up to 10000000. These belong to the
 * world:
 *
 *     time       real or virtual [real]
 *     fault      no-driver, no-port-library, refused-ports, or CALL:N: the N-th call of a kind from
 *                now on fails, with CALL:N:lasts all later ones too. CALL is allocate,
 *                begin-replace, commit-replace, device-open, device-control, dma-lock,
 *                register-read, register-write, port-read, port-write, library-load, or any
 *
 * In real time exposures, readouts and cooling take as long as with a camera. In virtual time a
 * clock goes on only as the library calls, and hours pass in milliseconds: QV_Delay lets it go on
 * too, and the background service runs inside of these calls, on the caller's thread. So in virtual
 * time all cameras together need one thread at a time; QV_BrkFlg may still be called from any. A
 * wait that nothing ends (a trigger that never comes) ends the process after a virtual year.
 *
 * The light does not depend on the exposure: a light frame longer than 0 is the scene, added up in
 * bins and stopped at 65535; a dark one is 0, but on 70 and 71, which have no shutter. A shutter
 * held open (25, 44, 47) lets the scene in once a second, on the rows as they stand. The sensor
 * cools down to 60 degrees below ambient. Sizes, registers and clocks are those of qvn.cfg in the
 * folder of QV_SetPathName, and CameraConfig.CcdTechnology that of QV_InitOptions, so that the
 * camera fits what the host opens.
 *
 * Results: 0; QVB_ERROR_ARGUMENT; _CAMERA_OPEN (any camera); _SPEC; 5, 6; _DEFINITION (or a sensor
 * of more than 2^28 pixels); _NO_MEMORY, the world being that of the operating system then. After
 * the others it is the one that it was. With `error`, which may be null, the reason, "" with
 * the result 0, of at most `room` characters, the end of the text among them.
 */
QVN_API int32_t QVB_Install(const char* spec, char* error, uint32_t room);

/* Back to the operating system; ends a trace. Results: 0; _CAMERA_OPEN; _TRACE_FILE. */
QVN_API int32_t QVB_Uninstall(void);

/* A virtual instrument, as a host opens it. */
typedef struct QvbInstrument {
    int32_t Camera; /* camera number */
    int32_t Platform, Sensor;
    int32_t InterfaceType;
    int32_t InterfaceAddress; /* of the ports; -1 for the card */
    int32_t InterfaceLink;    /* of CameraConfig, for QV_InitOptions ahead of the open */
    char SceneFile[1024];     /* what scene= names as a file, cut to this; "" if none. Of an
                                 array's first head */
    int32_t Heads;            /* of an array, whose mask is (1 << Heads) - 1; 0: no array */
    int32_t FilterWheel;      /* of CameraConfig, as InterfaceLink; 0: none */
} QvbInstrument;

/* The instruments of the world; 0 when it is that of the operating system. */
QVN_API int32_t QVB_InstrumentCount(void);

/* One of them, in the order of the text, from 0. Results: 0; QVB_ERROR_ARGUMENT (no such one). */
QVN_API int32_t QVB_Instrument(int32_t index, QvbInstrument* instrument);

/*
 * The same file's name of a head, 0 to 7: at most `room` characters, the end of the text among
 * them. Results: 0; QVB_ERROR_ARGUMENT (no such instrument or head, a null pointer, no room).
 */
QVN_API int32_t QVB_HeadSceneFile(int32_t index, int32_t head, char* file, uint32_t room);

/*
 * What the sensor of a virtual camera sees from here on; the camera may be open. The pixels are
 * copied. Sides of 1 to 65535. Results: 0; QVB_ERROR_ARGUMENT (no such instrument among others);
 * _NO_MEMORY.
 */
QVN_API int32_t QVB_SetScene(int32_t camera, const QvbScene* scene);

/* The same of a head of an array. */
QVN_API int32_t QVB_SetHeadScene(int32_t camera, int32_t head, const QvbScene* scene);

/* What may happen to a camera; of an array to all its heads. */
#define QVB_EVENT_TRIGGER 0     /* the external trigger input becomes active */
#define QVB_EVENT_TRIGGER_END 1 /* and inactive */
#define QVB_EVENT_OFF 2         /* the camera has no power; one on USB is pulled out */
#define QVB_EVENT_ON 3          /* it has again, and is as after power-up, or plugged in */
#define QVB_EVENT_SILENT 4      /* on USB it sends no byte, elsewhere no pixel of a frame */
#define QVB_EVENT_ANSWERING 5   /* it sends again what it is asked for from then on */

/*
 * Lets an event happen `seconds` from now, 0 to 10000000, in the world's time; 0: at once. In real
 * time any thread may call it at any time, and what falls due happens with the next call that the
 * library makes to a device. The world's end forgets what has not happened.
 * Results: 0; QVB_ERROR_ARGUMENT (no such instrument or event, another time); _NO_MEMORY: 64 wait.
 */
QVN_API int32_t QVB_Schedule(int32_t camera, int32_t event, double seconds);

/*
 * Writes all traffic with the virtual instruments to a new file `path` as text, in place of the one
 * that was written so far: every call to a card or a port is a line, and equal ones that follow
 * one another are one line with their number. Null: no more, and the file is complete. The trace
 * goes on when another world is installed. Results: 0; _TRACE_FILE: the file cannot be made, or an
 * earlier one is not complete.
 */
QVN_API int32_t QVB_Trace(const char* path);

/* 1 in a world of virtual time. */
QVN_API int32_t QVB_TimeIsVirtual(void);

/* A clock that never goes back, in seconds: the world's where that has virtual time. */
QVN_API double QVB_Seconds(void);

#ifdef __cplusplus
}
#endif

#endif
