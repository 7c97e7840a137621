// Making the C allocator fail at a chosen call, and counting what is not released.
//
// Needs the linker's --wrap for malloc, calloc, realloc and free; tests/profile/CMakeLists.txt has
// it. Allocations of operator new are not touched, so the tests themselves go on working.
#pragma once

#include <cstddef>
#include <memory>

namespace quorvel::test {

// While it lives, the allocations of the thread that made it are counted, and the one with the
// number `failAt` (from 0) gets null. Not nestable; used and ended on that thread.
class AllocationFaults {
  public:
    static constexpr std::size_t kNever = static_cast<std::size_t>(-1);

    explicit AllocationFaults(std::size_t failAt = kNever);
    ~AllocationFaults();
    AllocationFaults(const AllocationFaults&) = delete;
    AllocationFaults& operator=(const AllocationFaults&) = delete;

    // Allocations asked for so far, the failed one included.
    std::size_t Asked() const;

    // Bytes of the largest one asked for.
    std::size_t Largest() const;

    // Whether the chosen one has come.
    bool HasFailed() const;

    // Blocks allocated in the lifetime of this object and not released.
    std::size_t Live() const;

    // Releases them.
    void ReleaseLive();

    struct State;

  private:
    const std::unique_ptr<State> state;
};

}  // namespace quorvel::test
