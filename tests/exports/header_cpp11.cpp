// The headers as a C++11 host sees them.
#include "qvn_bench.h"
#include "qvn_supervisor.h"

static_assert(sizeof(CameraConfig) == 156, "external layout");
static_assert(sizeof(CcdDefinition) == 72, "external layout");
static_assert(sizeof(PlatformDefinition) == 88, "external layout");
