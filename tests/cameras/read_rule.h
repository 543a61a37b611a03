// How the words that a bus camera sends become pixels, by platform and card.
#pragma once
#include "tests/support/virtual_camera.h"

ReadRule RuleOf(const VirtualSetup& setup);
