// Finding the chains of a profile by number while a record is read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/byte_reader.h"
#include "platform/windows_api.h"
#include "profile/heap_array.h"

class QuorvelAudioBlocksChain;
class QuorvelAudioProfile;

namespace quorvel {

// Answers as QuorvelAudioProfile::GetChain(number, true) does, in logarithmic instead of linear
// time, for the numbers that it was built with and no others. A record may hold as many chains as
// fit in its bytes, and asking the profile for each of them would take quadratic time.
class ChainDirectory {
  public:
    // Learns the chains of `profile` and the numbers of the first `chainCount` chain records of
    // `records`, as far as there are so many. False when memory cannot be had. Nobody else may add
    // or remove chains of `profile` as long as the directory is used.
    bool Build(QuorvelAudioProfile& profile, std::uint32_t chainCount, ByteReader records);

    // The chain with that number, made if need be; null when memory cannot be had, or for a number
    // that Build did not see.
    QuorvelAudioBlocksChain* GetChain(DWORD chainId);

  private:
    static constexpr unsigned kNotMade = UINT32_MAX;
    struct Place {
        DWORD chainId = 0;
        unsigned position = kNotMade;  // in the profile's list
    };

    QuorvelAudioProfile* owner = nullptr;
    HeapArray<Place> places;  // by number, then position
    std::size_t count = 0;
};

// Takes the next chain record off `reader`, header included. False when it is shorter than its
// header or reaches beyond the reader's bytes.
bool TakeChainRecord(ByteReader& reader, std::span<const std::byte>& record, DWORD& chainId);

}  // namespace quorvel
