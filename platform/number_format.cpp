#include "platform/number_format.h"

#include <locale.h>
#include <stdio.h>

#if defined(_WIN32)

void UsePlainNumbers(NumberFormat* before)
{
    before->threadMode = _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
    const char* name = setlocale(LC_NUMERIC, nullptr);
    snprintf(before->name, sizeof before->name, "%s", name != nullptr ? name : "C");
    setlocale(LC_NUMERIC, "C");
}

void RestoreNumbers(const NumberFormat& before)
{
    setlocale(LC_NUMERIC, before.name);
    _configthreadlocale(before.threadMode);
}

#else

namespace {

// Made once; the initialisation of a local static is safe on several threads.
locale_t PlainLocale()
{
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", locale_t{});
    return plain;
}

} // namespace

void UsePlainNumbers(NumberFormat* before)
{
    before->threadLocale = uselocale(PlainLocale());
}

void RestoreNumbers(const NumberFormat& before)
{
    uselocale(static_cast<locale_t>(before.threadLocale));
}

#endif
