#include "authoring/measure/thread_timer.h"

#include <sys/resource.h>

#include <ctime>

namespace quorvel::tool {
namespace {

using Clock = std::chrono::steady_clock;

double ThreadCpuUs() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

long InvoluntarySwitches() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nivcsw;
}

}  // namespace

void ThreadTimer::Start() {
    startSwitches = InvoluntarySwitches();
    startCpuUs = ThreadCpuUs();
    start = Clock::now();
}

TimedStretch ThreadTimer::Stop() const {
    const std::chrono::duration<double, std::micro> passed = Clock::now() - start;
    const double cpuUs = ThreadCpuUs() - startCpuUs;
    return {passed.count(), cpuUs, InvoluntarySwitches() - startSwitches};
}

}  // namespace quorvel::tool
