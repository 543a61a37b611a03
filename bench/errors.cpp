// The texts of the codes: those of the library, and the workbench's own.
#include "core/errors.h"

#include "include/qvn_bench.h"

namespace {

struct BenchError {
    int32_t code;
    const char* text;
};

const BenchError BenchErrors[] = {
    {QVB_ERROR_ARGUMENT, "Wrong argument"},
    {QVB_ERROR_CAMERA_OPEN, "The camera number is open"},
    {QVB_ERROR_NO_BUILDER, "The platform has no clock patterns for this sensor"},
    {QVB_ERROR_WAVE_FILE, "The file is no clock pattern of this camera"},
    {QVB_ERROR_NO_MEMORY, "Memory allocation error while playing the clock pattern"},
    {QVB_ERROR_FRAME_ROOM, "The frame does not fit its buffer"},
    {QVB_ERROR_DEFINITION, "The definitions give the sensor no size or the clock pattern no tick"},
    {QVB_ERROR_SPEC, "The text of the virtual world is wrong"},
    {QVB_ERROR_TRACE_FILE, "The trace cannot be written"},
};

} // namespace

const char* QVB_ErrorMessage(int32_t code)
{
    for (const BenchError& error : BenchErrors) {
        if (error.code == code) return error.text;
    }
    const char* text = ErrorMessage(code);
    return text == nullptr ? "" : text;
}
