#include "profile/profile_hash.h"

#include <array>

namespace quorvel {
namespace {

constexpr std::uint32_t kFactor = 101;

// Bytes hashed at a step. The definition waits for a product at every byte; here
// h' = h × 101^8 + b0 × 101^7 + … + b7 waits for one every eight.
constexpr std::size_t kStep = 8;

// 101^0 to 101^8, modulo 2^32.
constexpr auto kPowers = [] {
    std::array<std::uint32_t, kStep + 1> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i)
        powers[i] = powers[i - 1] * kFactor;
    return powers;
}();

constexpr std::uint32_t SignedValue(std::byte b) {
    return static_cast<std::uint32_t>(static_cast<std::int8_t>(b));
}

std::uint32_t Continue(std::uint32_t h, std::span<const std::byte> bytes) {
    for (const std::byte b : bytes)
        h = h * kFactor + SignedValue(b);
    return h;
}

}  // namespace

std::uint32_t HashProfilePlainly(std::span<const std::byte> record) {
    return Continue(0, record);
}

std::uint32_t HashProfile(std::span<const std::byte> record) {
    std::uint32_t h = 0;
    const std::size_t whole = record.size() / kStep * kStep;
    for (std::size_t i = 0; i < whole; i += kStep) {
        std::uint32_t sum = 0;
        for (std::size_t k = 0; k < kStep; ++k)
            sum += SignedValue(record[i + k]) * kPowers[kStep - 1 - k];
        h = h * kPowers[kStep] + sum;
    }
    return Continue(h, record.subspan(whole));
}

}  // namespace quorvel
