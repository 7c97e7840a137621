#include "authoring/measure/thread_timer.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <thread>

namespace quorvel::tool {
namespace {

using namespace std::chrono_literals;

TEST(ThreadTimer, CallsAStretchDisturbedThatWasSwitchedOutOrWaited) {
    const struct {
        TimedStretch stretch;
        bool isDisturbed;
    } rows[] = {{{100.0, 100.5, 0}, false},
                {{100.0, 99.2, 0}, false},
                {{100.0, 98.0, 0}, true},
                {{100.0, 100.5, 1}, true},
                {{0.2, 0.4, 0}, false}};
    for (const auto& [stretch, isDisturbed] : rows)
        EXPECT_EQ(stretch.IsDisturbed(), isDisturbed) << stretch.clockUs << " " << stretch.cpuUs;
}

// Short work runs through now and then on the busiest machine; a wait never does.
TEST(ThreadTimer, TellsWorkFromWaiting) {
    ThreadTimer timer;
    bool ranThrough = false;
    for (int i = 0; i < 10000 && !ranThrough; ++i) {
        timer.Start();
        const volatile int rounds = 1000;
        for (int round = 0; round < rounds; ++round) {
        }
        ranThrough = !timer.Stop().IsDisturbed();
    }
    EXPECT_TRUE(ranThrough);
    timer.Start();
    std::this_thread::sleep_for(5ms);
    const TimedStretch waited = timer.Stop();
    EXPECT_TRUE(waited.IsDisturbed());
    EXPECT_GE(waited.clockUs, 5000.0);
    EXPECT_LT(waited.cpuUs, 5000.0);
}

// Two threads that want one processor take turns.
TEST(ThreadTimer, CountsTheTurnsOfOthers) {
    cpu_set_t before, one;
    ASSERT_EQ(sched_getaffinity(0, sizeof(before), &before), 0);
    CPU_ZERO(&one);
    for (int cpu = 0; cpu < CPU_SETSIZE && CPU_COUNT(&one) == 0; ++cpu)
        if (CPU_ISSET(cpu, &before)) CPU_SET(cpu, &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof(one), &one), 0);
    std::jthread rival([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
        }
    });
    ThreadTimer timer;
    timer.Start();
    const auto end = std::chrono::steady_clock::now() + 300ms;
    while (std::chrono::steady_clock::now() < end) {
    }
    EXPECT_GT(timer.Stop().switches, 0);
    sched_setaffinity(0, sizeof(before), &before);
}

}  // namespace
}  // namespace quorvel::tool
