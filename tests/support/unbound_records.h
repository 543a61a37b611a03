// Where tests of single parts begin.
#pragma once

// The virtual world anew, with no ticks, and every record empty with the operations of a
// camera that is not bound.
void UnbindRecords();
