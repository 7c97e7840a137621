// How long a stretch of work took, and whether the scheduler let it run through.
#pragma once

#include <chrono>

namespace quorvel::tool {

// A stretch of work of one thread.
struct TimedStretch {
    double clockUs = 0.0;  // that passed, in µs
    double cpuUs = 0.0;    // that the thread ran, read a little earlier and a little later
    long switches = 0;     // times that the thread had to give way to another one

    // Whether another thread had the processor meanwhile, or the thread waited: what passed then
    // says nothing of the work. The two clocks may differ by a microsecond.
    bool IsDisturbed() const { return switches > 0 || clockUs - cpuUs > 1.0; }
};

// Measures the thread that calls it. The system is asked ahead of and behind the time measured.
class ThreadTimer {
  public:
    void Start();
    TimedStretch Stop() const;  // since Start

  private:
    std::chrono::steady_clock::time_point start{};
    double startCpuUs = 0.0;
    long startSwitches = 0;
};

}  // namespace quorvel::tool
