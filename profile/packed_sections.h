// Writing and reading the sections of packed records: blocks, links and paths.
//
// Readers return 0 or a Win32 error code and never look beyond the bytes they are given:
//   13  the bytes are cut off, or the section lies about its sizes or counts: its own size (the
//       second `sectionSize`, or `stringsSize`) is below its header or beyond the bytes, or its
//       records exceed it. Bytes of a section behind its last record are allowed and not read.
//   8   memory cannot be had; for a block's data too, which ends the read
// What was read before a failure stays in the chain or the profile, but no part of a block. A
// header that lies leaves the old content in place. No memory is asked for on the word of a count
// that the bytes do not bear out. Names ending in 1 read version 1 of the records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/byte_reader.h"
#include "base/byte_writer.h"
#include "platform/windows_api.h"

class QuorvelAudioBlock;
class QuorvelAudioBlocksChain;
class QuorvelAudioProfile;

namespace quorvel {

// Writes one block record. Data bytes of a block without `data` are left as they are.
void WriteBlock(ByteWriter& writer, const QuorvelAudioBlock& block);

// Write a section. `size` goes into the header as the section's size (`stringsSize` as that of the
// strings) and must be what the list's GetPackedSize (the profile's GetStringsSize) tells. Headers
// and link records carry the profileId and the number of the chain, whatever the profile's id is
// and the links hold; block records carry those of the block. A null path is left out and not
// counted; an empty one is written, but readers take it for the end of the paths.
void WriteBlocksSection(ByteWriter& writer, const QuorvelAudioBlocksChain& chain,
                        std::uint32_t size);
void WriteLinksSection(ByteWriter& writer, const QuorvelAudioBlocksChain& chain,
                       std::uint32_t size);
void WritePathsSection(ByteWriter& writer, const QuorvelAudioProfile& profile,
                       std::uint32_t stringsSize);

// Read one block record off the front of `reader`: ids and data. Version 1 leaves the block's
// chainId alone. A record without data leaves the data that the block has, as SetData does.
DWORD ReadBlock(ByteReader& reader, QuorvelAudioBlock& block);
DWORD ReadBlock1(ByteReader& reader, QuorvelAudioBlock& block);

// Replace the blocks of `chain` by those of the section at the front of `bytes`. Blocks take their
// ids from the records; version 1 gives them the chain's number. Their `profile` is the chain's.
DWORD ReadBlocksSection(std::span<const std::byte> bytes, QuorvelAudioBlocksChain& chain);
DWORD ReadBlocksSection1(std::span<const std::byte> bytes, QuorvelAudioBlocksChain& chain);

// Replace the links of `chain` by those of the section at the front of `bytes`. Unlike blocks,
// links take profileId and chain number from the chain and only the ends from the records.
DWORD ReadLinksSection(std::span<const std::byte> bytes, QuorvelAudioBlocksChain& chain);
DWORD ReadLinksSection1(std::span<const std::byte> bytes, QuorvelAudioBlocksChain& chain);

// Replaces the paths of `profile` by those of the paths section at the front of `reader` and steps
// behind it. An empty string ends the paths; so does one that the strings area cuts off.
DWORD ReadPathsSection(ByteReader& reader, QuorvelAudioProfile& profile);

}  // namespace quorvel
