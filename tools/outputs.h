// The arguments that name output files: what is wrong with them shows before a camera is
// touched. And the files of frames.
#pragma once
#include <string>
#include <vector>

#include "tools/image_files.h"

// Complains when it returns false; no name is fine.
bool OutputIsFine(const char* argument, const std::string& path, bool overwrite);

// Where frames go, with a counter if there are several.
struct FrameFiles {
    std::string output = "frame.fits";
    ImageFormat format = ImageFormat::Unknown; // Unknown: by the name's ending
    std::string preview;                       // empty: none
    bool overwrite = false;
};

ImageFormat ChosenFormat(const FrameFiles& files);

// Of frames with these numbers. Complains when it returns false.
bool FrameFilesAreFine(const FrameFiles& files, const std::vector<int32_t>& numbers);

// Writes one of `count` frames, and its preview. Tells what was written, or why it was not.
bool SaveFrameFiles(const FrameRecord& frame, const FrameFiles& files, int32_t number,
                    size_t count);
