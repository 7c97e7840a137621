// Walking bytes that come from outside.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>

namespace quorvel {

// Hands out a span of bytes from front to back and never more than it has: the one place where
// packed records are stepped through. A call that asks for too much changes nothing.
class ByteReader {
  public:
    ByteReader() = default;
    explicit ByteReader(std::span<const std::byte> bytes) : rest(bytes) {}

    std::size_t Remaining() const { return rest.size(); }

    // Copies the record at the front to `record` and stays before it; false when it is cut off.
    template <typename Record>
    bool Peek(Record& record) const {
        static_assert(std::is_trivially_copyable_v<Record>);
        if (rest.size() < sizeof(Record)) return false;
        std::memcpy(&record, rest.data(), sizeof(Record));
        return true;
    }

    // The same, and steps behind it.
    template <typename Record>
    bool Read(Record& record) {
        if (!Peek(record)) return false;
        rest = rest.subspan(sizeof(Record));
        return true;
    }

    // Takes the next `size` bytes off; false when there are fewer.
    bool Take(std::size_t size, std::span<const std::byte>& bytes) {
        if (rest.size() < size) return false;
        bytes = rest.first(size);
        rest = rest.subspan(size);
        return true;
    }

  private:
    std::span<const std::byte> rest;
};

}  // namespace quorvel
