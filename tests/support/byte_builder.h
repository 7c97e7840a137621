// Records written out byte by byte, without the library's own structs and packers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/windows_api.h"

namespace quorvel::test {

struct ByteBuilder {
    // Appends the `width` low bytes of `value`, lowest first.
    ByteBuilder& Number(std::uint64_t value, int width = 4) {
        for (int i = 0; i < width; ++i)
            bytes.push_back(static_cast<std::byte>(value >> (8 * i)));
        return *this;
    }

    ByteBuilder& Guid(const GUID& guid) {
        Number(guid.Data1, 4).Number(guid.Data2, 2).Number(guid.Data3, 2);
        for (const std::uint8_t byte : guid.Data4)
            Number(byte, 1);
        return *this;
    }

    ByteBuilder& Raw(std::initializer_list<int> values) {
        for (const int value : values)
            Number(static_cast<std::uint64_t>(value), 1);
        return *this;
    }

    // Replaces the 32-bit number at `offset`.
    ByteBuilder& Patch(std::size_t offset, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i)
            bytes.at(offset + i) = static_cast<std::byte>(value >> (8 * i));
        return *this;
    }

    std::span<const std::byte> Span() const { return bytes; }

    std::vector<std::byte> bytes;
};

}  // namespace quorvel::test
