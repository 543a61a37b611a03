// qvn init: the files that a simulated camera needs.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <system_error>

#include "tools/commands.h"
#include "tools/report.h"
#include "tools/sample_files.h"
#include "tools/text.h"

namespace {

bool AnySampleFileIsThere(const std::string& folder)
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    return std::any_of(std::begin(SampleFileNames), std::end(SampleFileNames),
                       [&](const char* name) {
                           return fs::exists(fs::symlink_status(fs::path(folder) / name, ignored));
                       });
}

} // namespace

int RunInit(const InitRequest& request)
{
    // They are what a run without --force fails by ahead of all else.
    const bool inTheWay = !request.force && AnySampleFileIsThere(request.folder);
    char error[1024] = "";
    if (!WriteSampleFiles(request.folder.c_str(), request.force, error, sizeof(error))) {
        Complain(Text("writing sample files to %s", request.folder.c_str()), error,
                 inTheWay ? "another folder, or --force to replace the files"
                          : "a folder that you may write to, on a disk with 13 MB of free space");
        return ExitFailed;
    }
    const bool isDefault = request.folder == "qvn";
    for (const char* name : SampleFileNames) {
        Announce(Text("Wrote %s/%s", request.folder.c_str(), name));
    }
    std::printf("Now take a frame: qvn expose%s%s --seconds 1 --output frame.fits\n",
                isDefault ? "" : " --library-path ", isDefault ? "" : request.folder.c_str());
    return ExitDone;
}
