// A look at the text of a configuration file ahead of the parser.
#pragma once
#include <cstddef>
#include <cstdint>

// Every new setting is compared with all of its group, so that very many take minutes.
// A complete qvn.cfg has 3400.
inline constexpr int32_t ConfigMaxSettings = 10000;
inline constexpr size_t ConfigMaxBytes = 1u << 20;

// What the parser would take wrongly, or for ever, or from another file.
enum ConfigFault : uint8_t {
    ConfigSound, // says nothing else of the text
    ConfigTooLong,
    ConfigNulByte,
    ConfigInclude,  // `@include`
    ConfigInteger,  // one without an L that does not fit 32 bits, which the parser would cut
    ConfigSettings, // more than ConfigMaxSettings
};

struct ConfigScan {
    ConfigFault fault;
    const char* place; // of the fault
    const char* start; // where the parser may begin, behind a byte order mark
};

// `text` has `bytes` characters, and a newline and a NUL behind them.
ConfigScan ScanConfigText(const char* text, size_t bytes);
