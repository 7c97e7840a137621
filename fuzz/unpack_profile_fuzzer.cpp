// Feeds arbitrary bytes to the readers of whole-profile records. The first byte chooses the version
// (odd: 1) and whether the size field is made true, which lets the fuzzer past the first check.
// It is read a second time over itself, then packed; what is accepted must come back from the
// packed bytes and pack to the same bytes again.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "profile/packed_profile.h"
#include "profile/quorvel_audio_profile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const bool isVersion1 = (data[0] & 1) != 0;
    const bool hasTrueSize = (data[0] & 2) != 0;
    std::vector<std::byte> record(size - 1);
    if (size > 1) std::memcpy(record.data(), data + 1, size - 1);
    const auto trueSize = static_cast<std::uint32_t>(record.size());
    if (hasTrueSize && record.size() >= sizeof(trueSize))
        std::memcpy(record.data(), &trueSize, sizeof(trueSize));

    const auto unpack = isVersion1 ? quorvel::UnpackProfile1 : quorvel::UnpackProfile;
    QuorvelAudioProfile profile;
    const DWORD result = unpack(record, profile);
    if (unpack(record, profile) != result) std::abort();

    quorvel::PackedProfile packed;
    QuorvelAudioProfile again;
    if (quorvel::PackProfile(profile, 0, 0, packed) != ERROR_SUCCESS) std::abort();
    const DWORD repeated = quorvel::UnpackProfile({packed.bytes.get(), packed.size}, again);
    if (result != ERROR_SUCCESS) return 0;
    quorvel::PackedProfile repacked;
    if (repeated != ERROR_SUCCESS || quorvel::PackProfile(again, 0, 0, repacked) != ERROR_SUCCESS ||
        repacked.size != packed.size ||
        std::memcmp(repacked.bytes.get(), packed.bytes.get(), packed.size) != 0)
        std::abort();
    return 0;
}
