// Steps and labels of a plot's axes.
#include "tools/axis.h"

#include <algorithm>
#include <cmath>

#include "tools/text.h"

double NiceStep(double range, int32_t count)
{
    const double rough = range / count;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    const double part = rough / power;
    return power * (part <= 1.0 ? 1.0 : part <= 2.0 ? 2.0 : part <= 5.0 ? 5.0 : 10.0);
}

std::string StepLabel(double value, double step)
{
    const int decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
    // A rounded zero has no sign.
    return Text("%.*f", decimals, std::fabs(value) < step / 1000.0 ? 0.0 : value);
}
