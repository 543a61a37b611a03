// qvn init: the files that a simulated camera needs.
#include <cstdio>

#include "tools/commands.h"
#include "tools/report.h"
#include "tools/sample_files.h"
#include "tools/text.h"

int RunInit(const InitRequest& request)
{
    char error[1024] = "";
    if (!WriteSampleFiles(request.folder.c_str(), request.force, error, sizeof(error))) {
        Complain(Text("writing sample files to %s", request.folder.c_str()), error,
                 request.force ? "a folder that you may write to"
                               : "another folder, or --force to replace the files");
        return ExitFailed;
    }
    const bool isDefault = request.folder == "qvn";
    for (const char* name : SampleFileNames) {
        std::printf("Wrote %s/%s\n", request.folder.c_str(), name);
    }
    std::printf("Now take a frame: qvn expose%s%s --seconds 1 --output frame.fits\n",
                isDefault ? "" : " --library-path ", isDefault ? "" : request.folder.c_str());
    return ExitDone;
}
