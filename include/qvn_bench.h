/*
 * qvn's workbench: libqvn_bench.so.
 *
 * The library has everything that libqvn.so has, and the means to look at a camera's work without
 * a camera: clock patterns are built from qvn.cfg alone, and played against a model of the sensor.
 * A host links it in place of libqvn.so, or loads it ahead of it, and keeps calling QV_... as
 * before.
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
 * open. They leave the record as it was. All others may be called from any thread at any time.
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
    (-7) /* qvn.cfg gives the sensor no columns, rows or register, or the                          \
            pattern no clock: Xpix, Ypix, HorRegSize and                                           \
            SamplingClock[0] must be above 0 */

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

#ifdef __cplusplus
}
#endif

#endif
