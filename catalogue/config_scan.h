// A look at the text of a configuration file ahead of the parser.
#pragma once
#include <cstdint>

// Every new setting is compared with all of its group, so that very many take minutes.
// A complete qvn.cfg has 3400.
inline constexpr int32_t ConfigMaxSettings = 10000;

// False for what the parser would take wrongly or for ever: an integer without an L that
// does not fit 32 bits, which it cuts to some other number, and more than
// ConfigMaxSettings settings. True says nothing else of the text.
bool ConfigTextIsSound(const char* text);
