// Bytes as they cross the driver's boundary: little-endian integers at any address, 16-byte ids,
// UTF-16LE text.
//
// Loading and storing copy; the caller has checked that the bytes are there.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

namespace quorvel::simulation {

using Bytes = std::vector<std::byte>;
using ByteSpan = std::span<const std::byte>;

// A GUID as its 16 bytes in memory order. The driver compares ids and never looks inside.
using Id = std::array<std::byte, 16>;

inline std::uint32_t LoadWord(ByteSpan bytes, std::size_t offset) {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < 4; ++i)
        word |= std::to_integer<std::uint32_t>(bytes[offset + i]) << (8 * i);
    return word;
}

inline Id LoadId(ByteSpan bytes, std::size_t offset) {
    Id id{};
    std::memcpy(id.data(), bytes.data() + offset, id.size());
    return id;
}

// Overwrites `width` bytes (4 or 8) with the low bytes of `value`.
inline void StoreInteger(std::span<std::byte> bytes, std::size_t offset, std::uint64_t value,
                         std::size_t width) {
    for (std::size_t i = 0; i < width; ++i)
        bytes[offset + i] = static_cast<std::byte>(value >> (8 * i));
}

inline void StoreWord(std::span<std::byte> bytes, std::size_t offset, std::uint32_t word) {
    StoreInteger(bytes, offset, word, 4);
}

inline void StoreId(std::span<std::byte> bytes, std::size_t offset, const Id& id) {
    std::memcpy(bytes.data() + offset, id.data(), id.size());
}

inline void Append(Bytes& out, ByteSpan bytes) {
    out.insert(out.end(), bytes.begin(), bytes.end());
}

inline void AppendInteger(Bytes& out, std::uint64_t value, std::size_t width) {
    out.resize(out.size() + width);
    StoreInteger(out, out.size() - width, value, width);
}

inline void AppendWord(Bytes& out, std::uint32_t word) {
    AppendInteger(out, word, 4);
}

// The units of `text`, without a terminator.
inline void AppendText(Bytes& out, std::u16string_view text) {
    for (const char16_t unit : text)
        AppendInteger(out, unit, 2);
}

}  // namespace quorvel::simulation
