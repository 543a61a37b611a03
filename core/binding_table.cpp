// The platforms that have a driver, and the builder of each sensor they carry.
#include "core/binding.h"
#include "drivers/demo/demo.h"

// clang-format off
const PlatformBinding PlatformBindings[] = {
    // code extra  decimals wiring link  polarity rules      close on USB
    {   1,  Keep,  1,       Keep,  0,    Keep,    DemoRules, nullptr },
    {},
};

const BuilderRow BuilderRows[] = {
    // platform, sensors, builder, link, extra
    {},
};
// clang-format on
