// The event records that wait for one client.
//
// Bounded: whoever owns a full queue empties it and tells the client to fetch everything again,
// with one record for each stored profile, which may exceed the bound.
#pragma once

#include <deque>

#include "platform/simulation/driver/driver_bytes.h"

namespace quorvel::simulation {

class EventQueue {
  public:
    static constexpr std::size_t kMaxRecords = 4096;

    // What one read takes at most, whatever room its caller has.
    static constexpr std::size_t kMaxReadSize = 1024;

    bool Empty() const { return records.empty(); }
    bool Full() const { return records.size() >= kMaxRecords; }
    void Clear() { records.clear(); }
    void Push(Bytes record) { records.push_back(std::move(record)); }

    // Takes as many whole records as fit into `capacity` bytes, oldest first; none when the first
    // one does not fit.
    Bytes Take(std::size_t capacity);

  private:
    std::deque<Bytes> records;
};

}  // namespace quorvel::simulation
