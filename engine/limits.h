// The most that a processing object takes from a profile.
//
// A profile reaches an object while audio plays, from outside. Within these limits no single edit
// stalls the audio or exhausts the memory; docs/real-time.md has the measured cost. The blocks and
// the graph by themselves know nothing of them: whoever hands them a profile applies the limits
// (engine/graph_from_chain.h), and the tool's checks and profiles/profile.schema.json use the same
// numbers.
#pragma once

#include <cstdint>

namespace quorvel::limits {

inline constexpr std::uint32_t kMostChannels = 64;      // of every signal inside a chain
inline constexpr std::uint32_t kMostBands = 1024;       // of a filter block
inline constexpr std::uint32_t kLongestDelayMs = 1000;  // ms, of a delay line or a look-ahead
inline constexpr std::uint32_t kMostBlocks = 4096;      // of a chain
inline constexpr std::uint32_t kMostLinks = 16384;      // of a chain

// Of the outputs of all blocks of a chain together. A record of one block may widen all that follow
// it: without this limit 4,096 of them would want half a gigabyte of buffers at once.
inline constexpr std::uint32_t kMostChannelsTogether = 16384;

}  // namespace quorvel::limits
