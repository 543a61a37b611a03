#include "supervisor/library.h"

QvnFunctions Library;

namespace {

#define QVNS_LINKED(name) &QV_##name,
constexpr QvnFunctions Linked = {QVNS_LIBRARY(QVNS_LINKED)};
#undef QVNS_LINKED

} // namespace

bool FillLibrary(void* (*find)(const char* name, void* context), void* context)
{
    if (find == nullptr) {
        Library = Linked;
        return true;
    }
    QvnFunctions found = {};
    bool all = true;
#define QVNS_FOUND(name)                                                                           \
    found.name = reinterpret_cast<decltype(&QV_##name)>(find("QV_" #name, context));               \
    all = all && found.name != nullptr;
    QVNS_LIBRARY(QVNS_FOUND)
#undef QVNS_FOUND
    if (all) Library = found;
    return all;
}
