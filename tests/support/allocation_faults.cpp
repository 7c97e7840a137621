#include "tests/support/allocation_faults.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <utility>

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

struct AllocationFaults::State {
    std::size_t asked = 0;
    std::size_t largest = 0;
    std::size_t failAt = kNever;
    std::set<void*> live;
};

namespace {

// Of this thread; null while nothing is watched, and while a state works on its own memory.
thread_local constinit AllocationFaults::State* watching = nullptr;

bool FailsNow(std::size_t size) {
    if (!watching) return false;
    watching->largest = std::max(watching->largest, size);
    return watching->asked++ == watching->failAt;
}

void Forget(void* memory) {
    if (AllocationFaults::State* const state = std::exchange(watching, nullptr)) {
        state->live.erase(memory);
        watching = state;
    }
}

void* Remember(void* memory) {
    AllocationFaults::State* const state = std::exchange(watching, nullptr);
    if (state && memory) state->live.insert(memory);
    watching = state;
    return memory;
}

}  // namespace

AllocationFaults::AllocationFaults(std::size_t failAt) : state(std::make_unique<State>()) {
    state->failAt = failAt;
    watching = state.get();
}

AllocationFaults::~AllocationFaults() {
    watching = nullptr;
}

std::size_t AllocationFaults::Asked() const {
    return state->asked;
}

std::size_t AllocationFaults::Largest() const {
    return state->largest;
}

bool AllocationFaults::HasFailed() const {
    return state->asked > state->failAt;
}

std::size_t AllocationFaults::Live() const {
    return state->live.size();
}

void AllocationFaults::ReleaseLive() {
    for (void* memory : state->live)
        __real_free(memory);
    state->live.clear();
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
    if (resized) Forget(memory);
    return Remember(resized);
}

void __wrap_free(void* memory) {
    quorvel::test::Forget(memory);
    __real_free(memory);
}
