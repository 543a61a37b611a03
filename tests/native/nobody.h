// What somebody without privileges sees.
#pragma once

// Runs `body` as such, in a process of its own; what it returns, or -1 if it ended
// in another way.
int AsNobody(int (*body)());
