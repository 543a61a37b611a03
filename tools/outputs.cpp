// The arguments that name output files.
#include "tools/outputs.h"

#include "tools/report.h"
#include "tools/safe_file.h"
#include "tools/text.h"

bool OutputIsFine(const char* argument, const std::string& path, bool overwrite)
{
    std::string error;
    std::string advice;
    if (path.empty() || OutputIsPossible(path, overwrite, &error, &advice)) return true;
    Complain(Text("checking %s", argument), error, advice);
    return false;
}
