#include "tests/support/allocation_faults.h"

#include <algorithm>
#include <cstdlib>
#include <set>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* memory, std::size_t size);
void __real_free(void* memory);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* memory, std::size_t size);
void __wrap_free(void* memory);
}

namespace quorvel::test {
namespace {

struct State {
    bool isArmed = false;
    std::size_t asked = 0;
    std::size_t largest = 0;
    std::size_t failAt = AllocationFaults::kNever;
    std::set<void*> live;
};

State& TheState() {
    static State state;
    return state;
}

bool FailsNow(std::size_t size) {
    State& state = TheState();
    state.largest = std::max(state.largest, size);
    return state.isArmed && state.asked++ == state.failAt;
}

void* Remember(void* memory) {
    State& state = TheState();
    if (!state.isArmed || !memory) return memory;
    state.isArmed = false;  // the set's own memory may come through here
    state.live.insert(memory);
    state.isArmed = true;
    return memory;
}

}  // namespace

AllocationFaults::AllocationFaults(std::size_t failAt) {
    TheState() = State{true, 0, 0, failAt, {}};
}

AllocationFaults::~AllocationFaults() {
    TheState() = State{};
}

std::size_t AllocationFaults::Asked() const {
    return TheState().asked;
}

std::size_t AllocationFaults::Largest() const {
    return TheState().largest;
}

bool AllocationFaults::HasFailed() const {
    return TheState().asked > TheState().failAt;
}

std::size_t AllocationFaults::Live() const {
    return TheState().live.size();
}

void AllocationFaults::ReleaseLive() {
    for (void* memory : TheState().live)
        __real_free(memory);
    TheState().live.clear();
}

}  // namespace quorvel::test

void* __wrap_malloc(std::size_t size) {
    using namespace quorvel::test;
    return FailsNow(size) ? nullptr : Remember(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    using namespace quorvel::test;
    return FailsNow(count * size) ? nullptr : Remember(__real_calloc(count, size));
}

void* __wrap_realloc(void* memory, std::size_t size) {
    using namespace quorvel::test;
    if (FailsNow(size)) return nullptr;
    void* const resized = __real_realloc(memory, size);
    if (resized) TheState().live.erase(memory);
    return Remember(resized);
}

void __wrap_free(void* memory) {
    quorvel::test::TheState().live.erase(memory);
    __real_free(memory);
}
