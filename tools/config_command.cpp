// qvn config check.
#include <cstdio>

#include "tools/commands.h"
#include "tools/config_check.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

std::string ProblemLine(const std::string& file, const ConfigProblem& problem)
{
    const std::string path = problem.path.empty() ? "" : problem.path + ": ";
    return Text("%s:%d: %s%s", file.c_str(), problem.line, path.c_str(), problem.text.c_str());
}

} // namespace

int RunConfigCheck(const ConfigCheckRequest& request)
{
    const ConfigReport report = CheckConfigFile(request.file);
    if (!report.opened) {
        Complain(Text("checking %s", request.file.c_str()), "the file cannot be read",
                 "`qvn init FOLDER` writes a qvn.cfg and a camera.cfg");
        return ExitFailed;
    }
    for (const ConfigProblem& problem : report.problems) {
        std::printf("%s\n", ProblemLine(request.file, problem).c_str());
    }
    if (!report.problems.empty()) return ExitFailed;
    std::printf("%s: no complaint\n", request.file.c_str());
    return ExitDone;
}
