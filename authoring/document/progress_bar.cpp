#include "authoring/document/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace quorvel::tool {
namespace {

constexpr auto kPatience = std::chrono::milliseconds(500);
constexpr auto kPause = std::chrono::milliseconds(100);
constexpr int kWidth = 40;  // characters

// Terminals take this as: back to the start of the line, wipe it.
constexpr const char* kWipe = "\r\x1b[K";

}  // namespace

ProgressBar::ProgressBar(std::int64_t totalSteps)
    : total(totalSteps),
      isTerminal(isatty(STDERR_FILENO) == 1),
      nextDraw(Clock::now() + kPatience) {}

ProgressBar::~ProgressBar() {
    Wipe();
}

void ProgressBar::Show(std::int64_t done) {
    if (!isTerminal || total <= 0 || Clock::now() < nextDraw) return;
    nextDraw = Clock::now() + kPause;
    Draw(std::clamp<std::int64_t>(done, 0, total));
}

void ProgressBar::Draw(std::int64_t done) {
    const double share = static_cast<double>(done) / static_cast<double>(total);
    const auto filled = static_cast<std::size_t>(share * kWidth);
    const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
    std::fprintf(stderr, "%s[%s] %3.0f %%", kWipe, bar.c_str(), 100.0 * share);
    std::fflush(stderr);
    isDrawn = true;
}

void ProgressBar::Wipe() {
    if (isDrawn) std::fputs(kWipe, stderr);
    isDrawn = false;
}

}  // namespace quorvel::tool
