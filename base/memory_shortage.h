// Where code goes on without memory that it asked for, and who wants to know.
#pragma once

#include <cstdint>

#include "platform/real_time.h"

namespace quorvel {

// What a lack of memory does: it ends the process, since audio would have nowhere to go, or throws
// std::bad_alloc, where the caller can go back.
enum class MemoryLack { kEndsProcess, kThrows };

// Blocks and graphs have a way to go on without memory: a filter passes its input through, a block
// is left out. Each such place notes it here, so that an owner who wants a graph whole or not at
// all (AudioGraph::ChangeWhole) learns of it. Counts for the whole process; any thread.
void NoteMemoryShortage() QUORVEL_REAL_TIME;

// How many there were.
std::uint32_t MemoryShortages();

// What a call noted when it begins, to be compared at its end.
class ShortageWatch {
  public:
    bool HasSeenOne() const { return MemoryShortages() != before; }

  private:
    const std::uint32_t before = MemoryShortages();
};

}  // namespace quorvel
