// A profile as the driver keeps it.
//
// Block and link records are kept as the bytes they came in, so that they go out unchanged; what
// the records around them repeat (sizes, counts, the profile's id) is checked when they come in and
// written anew. The driver never looks into a block's parameters.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/simulation/driver/driver_bytes.h"

namespace quorvel::simulation {

// The two kinds of record that a chain holds.
//   block: id 0, type 16, profile 32, chain 48, size of the parameters 52, parameters 56
//   link:  profile 0, chain 16, id of the source 20, id of the destination 36; 52 bytes
enum class RecordKind { kBlock, kLink };

inline constexpr std::size_t kBlockHeaderSize = 56;
inline constexpr std::size_t kLinkSize = 52;

inline Id BlockIdOf(ByteSpan block) {
    return LoadId(block, 0);
}
inline Id BlockTypeOf(ByteSpan block) {
    return LoadId(block, 16);
}
// Whether a block header only points at a block: no type, no parameters.
inline bool IsBareBlockHeader(ByteSpan header) {
    return BlockTypeOf(header) == Id{} && LoadWord(header, 52) == 0;
}

inline Id LinkSourceOf(ByteSpan link) {
    return LoadId(link, 20);
}
inline Id LinkDestinationOf(ByteSpan link) {
    return LoadId(link, 36);
}

struct StoredChain {
    std::uint32_t number = 0;
    std::vector<Bytes> blocks;  // whole block records, in the order stored
    std::vector<Bytes> links;   // whole link records

    std::vector<Bytes>& Records(RecordKind kind) {
        return kind == RecordKind::kBlock ? blocks : links;
    }
    const std::vector<Bytes>& Records(RecordKind kind) const {
        return kind == RecordKind::kBlock ? blocks : links;
    }
};

struct StoredProfile {
    Id id{};
    std::uint64_t cookie = 0;         // tells one state of the profile from another
    Bytes strings;                    // the paths, each with its 16-bit zero
    std::vector<StoredChain> chains;  // numbers are unique

    // Null when the profile has no such chain.
    StoredChain* FindChain(std::uint32_t number);
    const StoredChain* FindChain(std::uint32_t number) const;

    // The same, adding an empty chain at the end when there is none.
    StoredChain& NeedChain(std::uint32_t number);
};

// The paths in a strings area.
std::vector<std::u16string> SplitStrings(ByteSpan strings);

}  // namespace quorvel::simulation
