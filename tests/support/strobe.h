#pragma once

// What a strobe of the pattern's line converts.
enum class Strobe {
    Bin,         // the sum of its bin
    FirstColumn, // the first column of its bin alone
    LastColumn,  // the last
    Position,    // bins at register positions that are multiples; x counts unbinned columns
};
