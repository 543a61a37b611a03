/*
 * qvn's workbench: libqvn_bench.so.
 *
 * The library has everything that libqvn.so has, and the means to look at a camera's work without
 * a camera. A host links it in place of libqvn.so, or loads it ahead of it, and keeps calling
 * QV_... as before.
 *
 * Results
 * -------
 * Functions that return a code give QV_ERROR_... of qvn.h or, below 0, QVB_ERROR_.... A null
 * pointer where none is allowed is QVB_ERROR_ARGUMENT; nothing is written then.
 *
 * Threads
 * -------
 * All calls may be made from any thread at any time.
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

#define QVB_ERROR_ARGUMENT (-1) /* a null pointer, or a number outside its range */
#define QVB_ERROR_NO_BUILDER                                                                       \
    (-3) /* the platform does not drive the sensor, or without a pattern                           \
            file */

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

#ifdef __cplusplus
}
#endif

#endif
