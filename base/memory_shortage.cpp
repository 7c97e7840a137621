#include "base/memory_shortage.h"

#include <atomic>

namespace quorvel {
namespace {

constinit std::atomic<std::uint32_t> shortages = 0;

}  // namespace

void NoteMemoryShortage() QUORVEL_REAL_TIME {
    shortages.fetch_add(1, std::memory_order_relaxed);
}

std::uint32_t MemoryShortages() {
    return shortages.load(std::memory_order_relaxed);
}

}  // namespace quorvel
