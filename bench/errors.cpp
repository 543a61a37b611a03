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
    {QVB_ERROR_NO_BUILDER, "The platform has no clock patterns for this sensor"},
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
