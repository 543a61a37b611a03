// What happens meanwhile, on stderr: a bar on a terminal, plain lines elsewhere.
#include "tools/progress.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "tools/text.h"

namespace {

using Clock = std::chrono::steady_clock;

// Not all callbacks carry a pointer of the host, so this is one for the program.
struct ProgressView {
    std::string title;
    std::string caption;
    double seconds = 0.0;
    bool lineOpen = false;
    // Of the last plain line.
    std::string shownCaption;
    int32_t shownPercent = 0;
    Clock::time_point shownAt;
};

ProgressView View;
std::mutex ViewLock;

using Locked = std::lock_guard<std::mutex>;

constexpr int32_t BarWidth = 20;

bool OnTerminal()
{
    static const bool terminal = isatty(STDERR_FILENO) == 1;
    return terminal;
}

void DrawOver(const std::string& line)
{
    std::fprintf(stderr, "\r\033[K%s", line.c_str());
    std::fflush(stderr);
    View.lineOpen = true;
}

// A plain line for every new caption, then whenever `step` percent and two seconds passed.
bool PlainLineDue(int32_t percent)
{
    const Clock::time_point now = Clock::now();
    const bool isNew = View.shownCaption != View.caption;
    const bool moved =
        percent >= View.shownPercent + 10 && now - View.shownAt >= std::chrono::seconds(2);
    if (!isNew && !moved) return false;
    View.shownCaption = View.caption;
    View.shownPercent = percent;
    View.shownAt = now;
    return true;
}

void Show(int32_t percent, const std::string& detail)
{
    percent = std::clamp(percent, 0, 100);
    if (OnTerminal()) {
        const auto filled = static_cast<size_t>(percent * BarWidth / 100);
        std::string bar(filled, '#');
        bar.resize(BarWidth, '.');
        DrawOver(Text("%s  %-17s [%s] %3d %%  %s", View.title.c_str(), View.caption.c_str(),
                      bar.c_str(), percent, detail.c_str()));
    } else if (PlainLineDue(percent)) {
        std::fprintf(stderr, "%s: %s%s%s\n", View.title.c_str(), View.caption.c_str(),
                     detail.empty() ? "" : ", ", detail.c_str());
    }
}

void EndLine()
{
    if (View.lineOpen) std::fprintf(stderr, "\n");
    View.lineOpen = false;
}

} // namespace

void ProgressBegin(const std::string& title, double seconds)
{
    const Locked locked(ViewLock);
    EndLine();
    View = ProgressView{};
    View.title = title;
    View.seconds = seconds;
    View.caption = "Exposing";
    Show(0, Text("%.1f s", seconds));
}

void ProgressPart(int32_t percent, const std::string& detail)
{
    const Locked locked(ViewLock);
    View.caption = "Running";
    Show(percent, detail);
}

void ShowCountdown(int32_t /*camera*/, double secondsLeft, void* /*context*/)
{
    const Locked locked(ViewLock);
    const double left = std::max(secondsLeft, 0.0);
    const double done = View.seconds > 0.0 ? 100.0 * (1.0 - left / View.seconds) : 100.0;
    View.caption = "Exposing";
    Show(static_cast<int32_t>(std::clamp(done, 0.0, 100.0)), Text("%.1f s left", left));
}

void ShowProgress(int32_t /*camera*/, const char* text, int32_t percent, void* /*context*/)
{
    const Locked locked(ViewLock);
    // Open and binning load patterns before any frame has begun.
    if (View.title.empty()) View.title = "camera";
    if (text != nullptr && *text != '\0') View.caption = text;
    Show(percent, "");
}

void ShowLibraryExposure(const char* secondsLeft, int32_t camera)
{
    const double left = secondsLeft != nullptr ? std::strtod(secondsLeft, nullptr) : 0.0;
    ShowCountdown(camera, left, nullptr);
}

void ShowLibraryProgress(const char* text, int32_t percent, int32_t camera)
{
    ShowProgress(camera, text, percent, nullptr);
}

void ProgressState(const std::string& text)
{
    const Locked locked(ViewLock);
    if (OnTerminal()) {
        DrawOver(text);
        return;
    }
    const Clock::time_point now = Clock::now();
    if (View.shownCaption == "state" && now - View.shownAt < std::chrono::seconds(10)) return;
    View.shownCaption = "state";
    View.shownAt = now;
    std::fprintf(stderr, "%s\n", text.c_str());
}

void ProgressStep(const std::string& text)
{
    const Locked locked(ViewLock);
    if (OnTerminal()) {
        DrawOver(text);
    } else {
        std::fprintf(stderr, "%s\n", text.c_str());
    }
}

void ProgressEnd()
{
    const Locked locked(ViewLock);
    EndLine();
}
