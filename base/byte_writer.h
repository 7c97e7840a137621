// Laying packed records one after the other.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>

namespace quorvel {

// Fills a span of bytes from front to back. A write that does not fit, and every later one, is
// dropped.
class ByteWriter {
  public:
    explicit ByteWriter(std::span<std::byte> bytes) : rest(bytes) {}

    template <typename Record>
    void Write(const Record& record) {
        static_assert(std::is_trivially_copyable_v<Record>);
        WriteBytes(&record, sizeof(Record));
    }

    void WriteBytes(const void* bytes, std::size_t size) {
        if (size == 0) return;
        if (std::byte* place = Advance(size)) std::memcpy(place, bytes, size);
    }

    // Leaves `size` bytes as they are.
    void Skip(std::size_t size) { Advance(size); }

  private:
    // The place of the next `size` bytes; null when they do not fit.
    std::byte* Advance(std::size_t size) {
        if (size > rest.size()) {
            rest = {};
            return nullptr;
        }
        std::byte* const place = rest.data();
        rest = rest.subspan(size);
        return place;
    }

    std::span<std::byte> rest;
};

}  // namespace quorvel
