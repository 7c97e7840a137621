#include "tests/support/lacking_memory.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t kNever = static_cast<std::size_t>(-1);

thread_local std::size_t left = kNever;  // allocations until the one that fails
thread_local bool hasFailed = false;

// With malloc, a program that watches it (allocation_faults.h) sees what `new` asks for as well. A
// program that fails only one of the two kinds defines QUORVEL_NEW_APART_FROM_MALLOC.
void* Allocate(std::size_t size) {
#ifdef QUORVEL_NEW_APART_FROM_MALLOC
    constexpr std::size_t kUnit = alignof(std::max_align_t);
    return std::aligned_alloc(kUnit, size / kUnit * kUnit + kUnit);
#else
    return std::malloc(size > 0 ? size : 1);
#endif
}

}  // namespace

void* operator new(std::size_t size) {
    if (left != kNever && left-- == 0) {
        hasFailed = true;
        throw std::bad_alloc();
    }
    if (void* memory = Allocate(size)) return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace quorvel::test {

LackingMemory::LackingMemory(std::size_t failAt) {
    hasFailed = false;
    left = failAt;
}

LackingMemory::~LackingMemory() {
    left = kNever;
}

bool LackingMemory::HasFailed() const {
    return hasFailed;
}

}  // namespace quorvel::test
