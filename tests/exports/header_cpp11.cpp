// The header as a C++11 host sees it.
#include "qvn.h"

static_assert(sizeof(CameraConfig) == 156, "external layout");
static_assert(sizeof(CcdDefinition) == 72, "external layout");
static_assert(sizeof(PlatformDefinition) == 88, "external layout");
