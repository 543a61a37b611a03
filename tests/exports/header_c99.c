/* The headers as a C99 host sees them: this file is compiled with -std=c99 and
 * all warnings, and includes nothing else. */
#include "qvn_bench.h"
#include "qvn_supervisor.h"

#include "header_c99.h"

#include <stddef.h>

static void OnExposure(const char* text, int32_t camera)
{
    (void)text;
    (void)camera;
}

static void OnProgress(const char* text, int32_t percent, int32_t camera)
{
    (void)text;
    (void)percent;
    (void)camera;
}

const size_t CLayout[] = {
    sizeof(CameraConfig),
    offsetof(CameraConfig, PciIndex),
    offsetof(CameraConfig, ShutterHisteresys),
    offsetof(CameraConfig, DefectiveList),
    sizeof(CcdDefinition),
    offsetof(CcdDefinition, Dummy),
    offsetof(CcdDefinition, XpixDim),
    sizeof(PlatformDefinition),
    offsetof(PlatformDefinition, TimeBase),
    offsetof(PlatformDefinition, Gain),
};

int CanBeUsedFromC(void)
{
    const QvExposureCallback exposure = OnExposure;
    const QvProgressCallback progress = OnProgress;
    const uint32_t options = QV_OPTION_SERVICE | QV_OPTION_REGULATION;
    exposure("", 0);
    progress("", 100, 0);
    return options == 3u && QV_ERROR_NONE == 0 && QVB_LINES == 16;
}
