// The driver's records and one sample profile, written out byte by byte.
#pragma once

#include <string_view>

#include "kinds/block_kinds.h"
#include "tests/support/byte_builder.h"

namespace quorvel::test {

// {A0A1A2nn-B0B1-C0C1-D0D1-D2D3D4D5D6D7}, as an id and as its bytes.
inline GUID RawGuid(std::uint8_t n) {
    return {0xA0A1A200u + n, 0xB0B1, 0xC0C1, {0xD0, 0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7}};
}
inline ByteBuilder Id(int n) {
    return ByteBuilder().Raw({n, 0xA2, 0xA1, 0xA0, 0xB1, 0xB0, 0xC1, 0xC0, 0xD0, 0xD1, 0xD2, 0xD3,
                              0xD4, 0xD5, 0xD6, 0xD7});
}

inline ByteBuilder Words(std::initializer_list<std::uint64_t> words) {
    ByteBuilder builder;
    for (const std::uint64_t word : words)
        builder.Number(word);
    return builder;
}

template <typename... Parts>
ByteBuilder Join(const Parts&... parts) {
    ByteBuilder all;
    (all.bytes.insert(all.bytes.end(), parts.bytes.begin(), parts.bytes.end()), ...);
    return all;
}

inline ByteBuilder Text(std::u16string_view text) {
    ByteBuilder builder;
    for (const char16_t unit : text)
        builder.Number(unit, 2);
    return builder;
}

// The sample: profile 1 with path "ab" and chain 7, which holds block 2 of 3 bytes, block 3 of none
// and a link from 2 to 3.
inline ByteBuilder KnownKind() {
    return ByteBuilder().Guid(kBlockKinds[0].typeId);
}
inline ByteBuilder RawBlock2() {
    return Join(Id(2), KnownKind(), Id(1), Words({7, 3}), ByteBuilder().Raw({0x80, 0, 0xFF}));
}
inline ByteBuilder RawBlock3() {
    return Join(Id(3), KnownKind(), Id(1), Words({7, 0}));
}
inline ByteBuilder RawLink() {
    return Join(Id(1), Words({7}), Id(2), Id(3));
}
inline ByteBuilder RawBlocks() {
    return Join(Words({151, 2, 151, 2}), Id(1), Words({7}), RawBlock2(), RawBlock3());
}
inline ByteBuilder RawLinks() {
    return Join(Words({88, 1, 88, 1}), Id(1), Words({7}), RawLink());
}
inline ByteBuilder RawPaths() {
    return Join(Id(1), Words({6, 1}), ByteBuilder().Raw({'a', 0, 'b', 0, 0, 0}));
}
inline ByteBuilder RawProfile(std::uint64_t cookie) {
    return Join(Words({321}), Id(1), ByteBuilder().Number(cookie, 8), Words({1}), RawPaths(),
                Words({259, 0, 259, 0, 7}), RawBlocks(), RawLinks());
}

}  // namespace quorvel::test
