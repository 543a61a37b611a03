// Files that the build has put into the program.
#pragma once
#include <cstddef>

struct EmbeddedFile {
    const unsigned char* bytes;
    size_t size;
};

extern const EmbeddedFile QvnCfgFile;    // share/qvn/qvn.cfg
extern const EmbeddedFile CameraCfgFile; // share/qvn/camera.cfg
extern const EmbeddedFile UdevRuleFile;  // share/udev/70-qvn.rules
