/*
 * Runs a virtual camera on the interface card, in this process and without any hardware: cools it
 * in virtual time, takes a frame of a minute in less than a second, and prints what came.
 *
 *     virtual_camera FOLDER      FOLDER holds qvn.cfg
 */
#include <stdio.h>
#include <stdlib.h>

#include "qvn_bench.h"

enum { Width = 4, Height = 2 };

static int Fail(const char* doing, const char* why)
{
    fprintf(stderr, "%s failed: %s\n", doing, why);
    return EXIT_FAILURE;
}

/* A light frame's middle, or the failure. */
static int TakeFrame(int32_t camera)
{
    const int32_t width = QV_GetDimX(camera), height = QV_GetDimY(camera);
    const size_t middle = (size_t)(height / 2) * (size_t)width + (size_t)(width / 2);
    uint16_t* frame = malloc(2 * (size_t)width * (size_t)height);
    if (frame == NULL) return Fail("taking a frame", "no memory");
    QV_GetCCD(1, 60.0, frame, camera);
    if (QV_Status(camera) == QV_ERROR_NONE) {
        printf("frame %d x %d, %u in the middle\n", (int)width, (int)height,
               (unsigned)frame[middle]);
    }
    free(frame);
    return QV_Status(camera) == QV_ERROR_NONE
               ? EXIT_SUCCESS
               : Fail("taking a frame", QV_ErrorMessage(QV_Status(camera)));
}

static int UseCamera(const QvbInstrument* instrument)
{
    const int32_t camera = instrument->Camera;
    QV_Open(instrument->Platform, instrument->Sensor, instrument->InterfaceAddress,
            instrument->InterfaceType, 0, camera, QV_OPTION_SERVICE | QV_OPTION_REGULATION, NULL,
            NULL);
    if (!QV_IsOn(camera)) return Fail("opening", QV_ErrorMessage(QV_Status(camera)));
    printf("before %+.1f C\n", QV_GetTemp(NULL, QV_CELSIUS, camera));
    QV_SetTemp(0.0, QV_CELSIUS, camera);
    QV_Delay(1000 * 600); /* ten virtual minutes */
    printf("after %.0f s %+.1f C\n", QVB_Seconds(), QV_GetTemp(NULL, QV_CELSIUS, camera));
    return TakeFrame(camera);
}

int main(int argc, char** argv)
{
    /* What the sensor sees: four by two fields of light. */
    static const uint16_t light[Height][Width] = {{0, 1000, 2000, 3000}, {4000, 5000, 6000, 7000}};
    const QvbScene scene = {&light[0][0], Width, Height};
    QvbInstrument instrument;
    char error[512];
    int result;
    if (argc != 2) {
        fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return EXIT_FAILURE;
    }
    QV_SetPathName(argv[1]);
    if (QVB_Install("platform=44,sensor=255,scene=dark,time=virtual", error, sizeof error) != 0) {
        return Fail("installing", error);
    }
    QVB_Instrument(0, &instrument);
    QVB_SetScene(instrument.Camera, &scene);
    result = UseCamera(&instrument);
    QV_Cooler(0, instrument.Camera);
    QV_Close(instrument.Camera);
    QVB_Uninstall();
    return result;
}
