/*
 * Cools the simulated camera to -10 degrees Celsius. Prints the temperature
 * each second until it has stayed at the target for five seconds, or until
 * SECONDS have passed (300 if not given).
 *
 *     cooling FOLDER [SECONDS]      FOLDER holds qvn.cfg
 */
#include <stdio.h>
#include <stdlib.h>

#include "qvn.h"

enum { Camera = 0, Sensor = 275, ReadingsAtTarget = 10 };

/* The service reads and regulates the temperature in a thread of its own. */
static const uint32_t Options = QV_OPTION_SERVICE | QV_OPTION_REGULATION;

static const double Target = -10.0;   /* degrees Celsius */
static const double Tolerance = 0.15; /* degrees */

int main(int argc, char** argv)
{
    long seconds = 300, second;
    int reached = 0;
    if (argc != 2 && argc != 3) {
        fprintf(stderr, "usage: %s FOLDER [SECONDS]\n", argv[0]);
        return EXIT_FAILURE;
    }
    if (argc == 3) seconds = strtol(argv[2], NULL, 10);

    QV_SetPathName(argv[1]);
    QV_Open(QV_PLATFORM_DEMO, Sensor, 0, 0, 0, Camera, Options, NULL, NULL);
    if (!QV_IsOn(Camera)) {
        fprintf(stderr, "opening the camera failed: %s\n  hint: %s\n",
                QV_ErrorMessage(QV_Status(Camera)),
                "the first argument must be the folder that holds qvn.cfg");
        return EXIT_FAILURE;
    }
    QV_SetTemp(Target, QV_CELSIUS, Camera);

    for (second = 0; second < seconds && !reached; ++second) {
        /* A text that is not empty asks for the reading as text. */
        char text[32] = "?";
        QV_GetTemp(text, QV_CELSIUS, Camera);
        printf("%4ld s  %s C  cooler %5.1f %%\n", second, text, QV_GetPower(Camera));
        fflush(stdout);
        QV_Delay(1000);
        if (QV_Status(Camera) != QV_ERROR_NONE) {
            fprintf(stderr, "reading the temperature failed: %s\n  hint: %s\n",
                    QV_ErrorMessage(QV_Status(Camera)), "check the camera's link and power");
            QV_Close(Camera);
            return EXIT_FAILURE;
        }
        reached = QV_CheckTempEquil(ReadingsAtTarget, Tolerance, Camera);
    }
    puts(reached ? "at the target" : "not yet at the target");

    QV_Cooler(0, Camera);
    QV_Close(Camera);
    return EXIT_SUCCESS;
}
