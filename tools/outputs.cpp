// The arguments that name output files, and the files of frames.
#include "tools/outputs.h"

#include <filesystem>
#include <set>

#include "tools/output_names.h"
#include "tools/report.h"
#include "tools/safe_file.h"
#include "tools/text.h"

namespace {

// cfitsio, by which most readers open such files, takes 1024 characters and adds a few.
constexpr size_t LongestFitsPath = 1000;

bool NameIsPossible(const char* argument, const std::string& pattern, const FrameFiles& files,
                    const std::vector<int32_t>& numbers)
{
    const std::string doing = Text("checking %s", argument);
    if (!PatternIsPlain(pattern)) {
        Complain(doing, Text("%s: only one counter such as %%04d is possible", pattern.c_str()),
                 "frame_%04d.fits");
        return false;
    }
    for (const int32_t number : numbers) {
        std::string error;
        std::string advice;
        const std::string name = OutputName(pattern, number, numbers.size());
        if (OutputIsPossible(name, files.overwrite, &error, &advice)) continue;
        Complain(doing, error, advice);
        return false;
    }
    return true;
}

std::string FileName(const std::string& pattern, int32_t number, size_t count)
{
    return std::filesystem::path(OutputName(pattern, number, count)).filename().string();
}

// Whether no frame and no preview of the series are one file. A series stays in one folder.
bool NamesDiffer(const FrameFiles& files, const std::vector<int32_t>& numbers)
{
    if (WholeFolder(files.output) != WholeFolder(files.preview)) return true;
    std::set<std::string> outputs;
    for (const int32_t number : numbers) {
        outputs.insert(FileName(files.output, number, numbers.size()));
    }
    for (const int32_t number : numbers) {
        const std::string preview = FileName(files.preview, number, numbers.size());
        if (outputs.count(preview) == 0) continue;
        Complain("checking --preview", Text("%s is a file of --output too", preview.c_str()),
                 "another name");
        return false;
    }
    return true;
}

} // namespace

bool OutputIsFine(const char* argument, const std::string& path, bool overwrite)
{
    std::string error;
    std::string advice;
    if (path.empty() || OutputIsPossible(path, overwrite, &error, &advice)) return true;
    Complain(Text("checking %s", argument), error, advice);
    return false;
}

ImageFormat ChosenFormat(const FrameFiles& files)
{
    return files.format != ImageFormat::Unknown ? files.format : FormatOfFile(files.output);
}

bool FrameFilesAreFine(const FrameFiles& files, const std::vector<int32_t>& numbers)
{
    if (ChosenFormat(files) == ImageFormat::Unknown) {
        Complain("checking --output", Text("%s: the ending tells no format", files.output.c_str()),
                 "the ending .fits, .png, .tiff or .raw, or --format");
        return false;
    }
    if (!NameIsPossible("--output", files.output, files, numbers)) return false;
    if (ChosenFormat(files) == ImageFormat::Fits && files.output.size() > LongestFitsPath) {
        Complain("checking --output",
                 Text("a FITS file's path has %zu characters at most", LongestFitsPath),
                 "a shorter path, or another --format");
        return false;
    }
    if (files.preview.empty()) return true;
    return NameIsPossible("--preview", files.preview, files, numbers) &&
           NamesDiffer(files, numbers);
}

bool SaveFrameFiles(const FrameRecord& frame, const FrameFiles& files, int32_t number, size_t count)
{
    const std::string output = OutputName(files.output, number, count);
    std::string error;
    if (!SaveFrame(frame, output, ChosenFormat(files), files.overwrite, &error)) {
        Complain("writing the frame", error, "free space, or another --output");
        return false;
    }
    const std::string planes =
        frame.planes > 0 ? Text(", %d frame%s of", frame.planes, frame.planes == 1 ? "" : "s")
                         : ",";
    Announce(Text("Wrote %s%s %d x %d pixels%s", output.c_str(), planes.c_str(), frame.width,
                  frame.height, frame.broken ? ", broken off" : ""));
    if (files.preview.empty()) return true;
    const std::string preview = OutputName(files.preview, number, count);
    if (!SavePreview(frame, preview, files.overwrite, &error)) {
        Complain("writing the preview", error, "free space, or another --preview");
        return false;
    }
    Announce(Text("Wrote %s, a preview", preview.c_str()));
    return true;
}
