// Steps and labels of a plot's axes.
#pragma once
#include <cstdint>
#include <string>

// About `count` steps of 1, 2 or 5 times a power of ten.
double NiceStep(double range, int32_t count);

// `value` with as many decimals as the step needs.
std::string StepLabel(double value, double step);
