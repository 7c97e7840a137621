// The packed records in which profiles travel: to and from the driver, and inside the text form.
//
// Little-endian, sizes in bytes, no gaps; a record may start at any address, which these types
// (alignment 1) allow. Strings are UTF-16, each ended by a 16-bit zero.
//
//   whole profile    _QuorvelProfileFullData, paths section, chain records
//   chain record     _QuorvelProfileChainData, blocks section, links section
//   blocks section   _QuorvelAudioProfileBlocks, block records
//   block record     _QuorvelAudioBlockInfo, parameter bytes
//   links section    _QuorvelAudioProfileBlocksLinks, link records (_QuorvelAudioBlockLink)
//   paths section    _QuorvelProfilePaths, strings
//
// Version 1, which is only read, has a whole-profile record without chain count and chain records:
// header, paths section, blocks section, links section of the one chain, number 1.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "platform/windows_api.h"
#include "profile/quorvel_audio_block_link.h"

static_assert(std::endian::native == std::endian::little,
              "records are read and written as they lie");

#pragma pack(push, 1)

namespace quorvel {

// Opens a blocks section and a links section.
struct SectionHeader {
    std::uint32_t sectionSize = 0;      // whole section; tells a too small buffer what to become
    std::uint32_t itemCount = 0;        // number of records; not read
    std::uint32_t sectionSizeCopy = 0;  // the same; readers step to the next section by it
    std::uint32_t itemCountCopy = 0;    // the same; readers read as many records
    GUID profileId{};                   // the chain's; must be the id of the profile around it
    std::uint32_t chainId = 0;          // number of the chain; not read
};

// The same in version 1.
struct SectionHeader1 {
    std::uint32_t sectionSize = 0;
    std::uint32_t itemCount = 0;
    std::uint32_t sectionSizeCopy = 0;
    std::uint32_t itemCountCopy = 0;
    GUID profileId{};
};

// Opens a block record of version 1.
struct BlockHeader1 {
    GUID id{};
    GUID typeId{};
    GUID profileId{};
    std::uint32_t dataSize = 0;  // bytes of parameters that follow
};

// A link record of version 1.
struct LinkRecord1 {
    GUID skipped{};  // the place of profileId; not read
    GUID sourceBlockId{};
    GUID destinationBlockId{};
};

// Opens a whole-profile record of version 1.
struct ProfileHeader1 {
    std::uint32_t size = 0;   // whole record
    GUID id{};                // of the profile
    std::int64_t cookie = 0;  // assigned by the driver
};

}  // namespace quorvel

struct _QuorvelAudioProfileBlocks : quorvel::SectionHeader {};
struct _QuorvelAudioProfileBlocksLinks : quorvel::SectionHeader {};

// Opens a block record; also travels alone.
struct _QuorvelAudioBlockInfo {
    GUID id{};                   // of the block
    GUID typeId{};               // its kind
    GUID profileId{};            // of the owning profile
    std::uint32_t chainId = 0;   // of the owning chain
    std::uint32_t dataSize = 0;  // bytes of parameters that follow
};

struct _QuorvelProfilePaths {
    GUID profileId{};               // of the profile
    std::uint32_t stringsSize = 0;  // bytes of strings that follow, terminators included
    std::uint32_t itemCount = 0;    // number of paths; not read
};

struct _QuorvelProfileChainData {
    std::uint32_t sectionSize = 0;      // whole chain record, both sections included
    std::uint32_t itemCount = 0;        // 0
    std::uint32_t sectionSizeCopy = 0;  // the same; readers step to the next chain by it
    std::uint32_t itemCountCopy = 0;    // 0
    std::uint32_t chainId = 0;          // number of the chain
};

struct _QuorvelProfileFullData {
    std::uint32_t size = 0;        // whole record
    GUID id{};                     // of the profile
    std::int64_t cookie = 0;       // assigned by the driver; written as 0
    std::uint32_t chainCount = 0;  // number of chain records
};

#pragma pack(pop)

static_assert(sizeof(quorvel::SectionHeader) == 36);
static_assert(offsetof(quorvel::SectionHeader, sectionSizeCopy) == 8);
static_assert(offsetof(quorvel::SectionHeader, itemCountCopy) == 12);
static_assert(offsetof(quorvel::SectionHeader, profileId) == 16);
static_assert(offsetof(quorvel::SectionHeader, chainId) == 32);
static_assert(sizeof(_QuorvelAudioProfileBlocks) == 36);
static_assert(sizeof(_QuorvelAudioProfileBlocksLinks) == 36);

static_assert(sizeof(_QuorvelAudioBlockInfo) == 56);
static_assert(offsetof(_QuorvelAudioBlockInfo, typeId) == 16);
static_assert(offsetof(_QuorvelAudioBlockInfo, profileId) == 32);
static_assert(offsetof(_QuorvelAudioBlockInfo, chainId) == 48);
static_assert(offsetof(_QuorvelAudioBlockInfo, dataSize) == 52);

static_assert(sizeof(_QuorvelProfilePaths) == 24);
static_assert(offsetof(_QuorvelProfilePaths, stringsSize) == 16);
static_assert(offsetof(_QuorvelProfilePaths, itemCount) == 20);

static_assert(sizeof(_QuorvelProfileChainData) == 20);
static_assert(offsetof(_QuorvelProfileChainData, sectionSizeCopy) == 8);
static_assert(offsetof(_QuorvelProfileChainData, chainId) == 16);

static_assert(sizeof(_QuorvelProfileFullData) == 32);
static_assert(offsetof(_QuorvelProfileFullData, id) == 4);
static_assert(offsetof(_QuorvelProfileFullData, cookie) == 20);
static_assert(offsetof(_QuorvelProfileFullData, chainCount) == 28);

static_assert(sizeof(quorvel::SectionHeader1) == 32);
static_assert(offsetof(quorvel::SectionHeader1, profileId) == 16);
static_assert(sizeof(quorvel::BlockHeader1) == 52);
static_assert(offsetof(quorvel::BlockHeader1, dataSize) == 48);
static_assert(sizeof(quorvel::LinkRecord1) == 48);
static_assert(offsetof(quorvel::LinkRecord1, sourceBlockId) == 16);
static_assert(offsetof(quorvel::LinkRecord1, destinationBlockId) == 32);
static_assert(sizeof(quorvel::ProfileHeader1) == 28);
static_assert(offsetof(quorvel::ProfileHeader1, cookie) == 20);
