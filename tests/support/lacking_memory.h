// Letting operator new fail at a chosen call. For programs that link lacking_memory.cpp, which
// replaces it.
#pragma once

#include <cstddef>

namespace quorvel::test {

// While it lives, the allocation of the thread that made it with the number `failAt` (from 0)
// throws std::bad_alloc. Not nestable.
class LackingMemory {
  public:
    explicit LackingMemory(std::size_t failAt);
    ~LackingMemory();
    LackingMemory(const LackingMemory&) = delete;
    LackingMemory& operator=(const LackingMemory&) = delete;

    // Whether the chosen one has come.
    bool HasFailed() const;
};

}  // namespace quorvel::test
