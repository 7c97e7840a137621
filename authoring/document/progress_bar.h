// How far a long work is, on a terminal.
#pragma once

#include <chrono>
#include <cstdint>

namespace quorvel::tool {

// A bar on standard error, drawn only when that is a terminal and the work has lasted half a
// second, at most ten times a second. It is wiped when the object goes.
class ProgressBar {
  public:
    // `total` steps, 0 when unknown (no bar is drawn).
    explicit ProgressBar(std::int64_t total);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // `done` steps are done.
    void Show(std::int64_t done);

    // Wipes the bar, so that a line of text can take its place; the next Show draws it again.
    void Wipe();

  private:
    using Clock = std::chrono::steady_clock;

    void Draw(std::int64_t done);

    std::int64_t total;
    bool isTerminal;
    bool isDrawn = false;
    Clock::time_point nextDraw;
};

}  // namespace quorvel::tool
