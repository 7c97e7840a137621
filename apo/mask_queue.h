// Channel masks on their way from one thread to another, without a lock.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

#include "platform/real_time.h"

namespace quorvel {

// Masks come out in the order in which they went in. Up to kRoom of them wait; of those that come
// beyond that only the last is kept, and comes out behind the others. One thread adds, one other
// takes; neither waits or allocates.
class MaskQueue {
  public:
    // Ten seconds of a mask that changes with every buffer of 10 ms.
    static constexpr std::uint32_t kRoom = 1024;

    void Add(std::uint32_t mask) QUORVEL_REAL_TIME {
        const std::uint32_t position = added.load(std::memory_order_relaxed);
        const bool hasRoom = position - taken.load(std::memory_order_acquire) < kRoom;
        if (hasRoom && newest.load(std::memory_order_acquire) == kNone) {
            masks[position % kRoom] = mask;
            added.store(position + 1, std::memory_order_release);
        } else {
            newest.store(mask, std::memory_order_release);
        }
    }

    // Empty when none waits.
    std::optional<std::uint32_t> Take() {
        // Looked at first: as long as it holds a mask nothing newer is added to the others.
        const bool hasNewest = newest.load(std::memory_order_acquire) != kNone;
        const std::uint32_t position = taken.load(std::memory_order_relaxed);
        if (position != added.load(std::memory_order_acquire)) {
            const std::uint32_t mask = masks[position % kRoom];
            taken.store(position + 1, std::memory_order_release);
            return mask;
        }
        if (!hasNewest) return {};
        return static_cast<std::uint32_t>(newest.exchange(kNone, std::memory_order_acq_rel));
    }

  private:
    static constexpr std::uint64_t kNone = UINT64_MAX;

    std::array<std::uint32_t, kRoom> masks{};
    std::atomic<std::uint32_t> added = 0;       // by the adding thread, counted round
    std::atomic<std::uint32_t> taken = 0;       // by the taking thread
    std::atomic<std::uint64_t> newest = kNone;  // the last mask that found no room
    static_assert(std::atomic<std::uint64_t>::is_always_lock_free);
};

}  // namespace quorvel
