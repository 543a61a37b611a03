#include "tests/cameras/read_rule.h"

ReadRule RuleOf(const VirtualSetup& setup)
{
    switch (setup.platform) {
    case 22:
    case 23:
    case 40:
    case 41:
    case 60:
    case 80: return ReadRule::Pixels;
    case 70:
    case 71: return ReadRule::Counted;
    case 28: return setup.revision == 200 ? ReadRule::WholeFrame : ReadRule::EvenLines;
    case 30:
        if (setup.sensor == 500 || setup.sensor == 506) return ReadRule::Plain;
        [[fallthrough]];
    default: return setup.revision == 200 ? ReadRule::WholeFrame : ReadRule::Lines;
    }
}
