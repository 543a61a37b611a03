/*
 * A host that knows qvn.h and nothing else: opens a USB camera, takes a frame, and
 * closes it.
 *
 *     host PLATFORM SENSOR CAMERA COLUMN ROW...      qvn.cfg is in the folder qvn
 *
 * Prints the size and the pixels that are asked for, or the error.
 */
#include <stdio.h>
#include <stdlib.h>

#include "qvn.h"

static int Fail(int camera)
{
    const int32_t code = QV_Status(camera);
    printf("error %d: %s\n", (int)code, QV_ErrorMessage(code));
    QV_Close(camera);
    return EXIT_FAILURE;
}

int main(int argc, char** argv)
{
    int camera, width, height, i;
    uint16_t* frame;
    if (argc < 4) return EXIT_FAILURE;
    camera = atoi(argv[3]);
    QV_Open(atoi(argv[1]), atoi(argv[2]), 0, QV_INTERFACE_USB, 0, camera, 0, NULL, NULL);
    if (!QV_IsOn(camera)) return Fail(camera);
    width = QV_GetDimX(camera);
    height = QV_GetDimY(camera);
    frame = calloc((size_t)width * (size_t)height, sizeof *frame);
    if (frame == NULL) return EXIT_FAILURE;
    QV_GetCCD(1, 0.01, frame, camera);
    if (QV_Status(camera) != QV_ERROR_NONE) return Fail(camera);
    printf("%d x %d:", width, height);
    for (i = 4; i + 1 < argc; i += 2) {
        printf(" %u", (unsigned)frame[(long)atoi(argv[i + 1]) * width + atoi(argv[i])]);
    }
    printf("\n");
    free(frame);
    QV_Close(camera);
    return QV_IsOn(camera) ? EXIT_FAILURE : EXIT_SUCCESS;
}
