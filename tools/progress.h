// What happens meanwhile, on stderr: one line that is drawn over on a terminal, plain
// lines elsewhere. Any thread.
#pragma once
#include <cstdint>
#include <string>

// The next frame: what it is called, and how long it will be exposed.
void ProgressBegin(const std::string& title, double seconds);

// A part of what has begun, such as a frame of a series.
void ProgressPart(int32_t percent, const std::string& detail);

// The supervisor layer's two callbacks, and the library's.
void ShowCountdown(int32_t camera, double secondsLeft, void* context);
void ShowProgress(int32_t camera, const char* text, int32_t percent, void* context);
void ShowLibraryExposure(const char* secondsLeft, int32_t camera);
void ShowLibraryProgress(const char* text, int32_t percent, int32_t camera);

// A state without a percentage, such as a temperature. Off a terminal it appears every
// ten seconds only.
void ProgressState(const std::string& text);

// Work that has no percentages begins: always shown.
void ProgressStep(const std::string& text);

// Ends a line that was drawn over, so that other text may follow.
void ProgressEnd();
