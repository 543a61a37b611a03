/*
 * Takes a light frame of 0.1 seconds with the simulated camera and saves it as
 * a 16-bit PGM.
 *
 *     first_frame FOLDER FILE.pgm      FOLDER holds qvn.cfg
 */
#include <stdio.h>
#include <stdlib.h>

#include "qvn.h"

enum { Camera = 0, Sensor = 275 };

static const char* Hint(int32_t code)
{
    switch (code) {
    case QV_ERROR_CAMERA_NOT_FOUND:
        return "the simulated camera needs the image that DEMO.File in qvn.cfg names";
    case QV_ERROR_PLATFORM_DEFINITION:
    case QV_ERROR_CCD_DEFINITION: return "the first argument must be the folder that holds qvn.cfg";
    default: return "see the error codes in qvn.h";
    }
}

/* Prints what failed and why; the exit code. */
static int Fail(const char* doing)
{
    const int32_t code = QV_Status(Camera);
    fprintf(stderr, "%s failed: %s\n  hint: %s\n", doing, QV_ErrorMessage(code), Hint(code));
    QV_Close(Camera);
    return EXIT_FAILURE;
}

/* PGM wants the high byte of a pixel first. 0 when the file is complete. */
static int SavePgm(const char* path, const uint16_t* frame, int width, int height)
{
    FILE* file = fopen(path, "wb");
    int failed;
    long i;
    if (file == NULL) return 1;
    fprintf(file, "P5\n%d %d\n65535\n", width, height);
    for (i = 0; i < (long)width * height; ++i) {
        fputc(frame[i] >> 8, file);
        fputc(frame[i] & 0xFF, file);
    }
    failed = ferror(file);
    return fclose(file) != 0 || failed;
}

int main(int argc, char** argv)
{
    int width, height, failed;
    uint16_t* frame;
    if (argc != 3) {
        fprintf(stderr, "usage: %s FOLDER FILE.pgm\n", argv[0]);
        return EXIT_FAILURE;
    }

    QV_SetPathName(argv[1]);
    QV_Open(QV_PLATFORM_DEMO, Sensor, 0, 0, 0, Camera, 0, NULL, NULL);
    if (!QV_IsOn(Camera)) return Fail("opening the camera");

    width = QV_GetDimX(Camera);
    height = QV_GetDimY(Camera);
    frame = malloc(sizeof *frame * (size_t)width * (size_t)height);
    if (frame == NULL) {
        fprintf(stderr, "no memory for %d x %d pixels\n", width, height);
        QV_Close(Camera);
        return EXIT_FAILURE;
    }
    QV_GetCCD(1, 0.1, frame, Camera);
    if (QV_Status(Camera) != QV_ERROR_NONE) {
        free(frame);
        return Fail("taking the frame");
    }
    QV_Close(Camera);

    failed = SavePgm(argv[2], frame, width, height);
    free(frame);
    if (failed) {
        fprintf(stderr, "%s could not be written\n", argv[2]);
        return EXIT_FAILURE;
    }
    printf("%s: %d x %d pixels\n", argv[2], width, height);
    return EXIT_SUCCESS;
}
