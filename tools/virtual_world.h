// The virtual instruments of --virtual, and the record of --trace.
#pragma once
#include <cstdint>
#include <string>

struct CameraRequest;

struct VirtualRequest {
    std::string text;  // as QVB_Install has it; empty: the cameras are real
    std::string trace; // file; empty: none
};

// Makes the world of the request, with the scenes that it names as files; the folder of
// qvn.cfg is chosen. Without a text nothing happens. Complains when it returns false.
bool EnterVirtualWorld(const VirtualRequest& request);

// Completes a request by the instrument that it means: of its camera number, else the
// first. Complains when it returns false.
bool ChooseVirtualCamera(CameraRequest* request);

// Back to real cameras, and the trace is complete. The exit code: the given one, or that of
// a trace that is not.
int LeaveVirtualWorld(int exitCode);
