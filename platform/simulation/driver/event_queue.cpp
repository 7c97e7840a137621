#include "platform/simulation/driver/event_queue.h"

#include <algorithm>

namespace quorvel::simulation {

Bytes EventQueue::Take(std::size_t capacity) {
    const std::size_t limit = std::min(capacity, kMaxReadSize);
    Bytes out;
    while (!records.empty() && out.size() + records.front().size() <= limit) {
        Append(out, records.front());
        records.pop_front();
    }
    return out;
}

}  // namespace quorvel::simulation
