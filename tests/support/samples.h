// Samples to process.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "tests/support/same_bits.h"

namespace quorvel::test {

constexpr float kUntouched = 12345.0f;

// Samples of all magnitudes, among them every special value.
inline std::vector<float> RandomSamples(std::size_t count, uint32_t seed) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr std::array kSpecial = {-0.0f,     0.0f,       1e-42f, -1e-42f,
                                     kInfinity, -kInfinity, NAN,    3e38f};
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> mantissa(-1.0f, 1.0f);
    std::uniform_int_distribution<int> exponent(-12, 12), dice(0, 63);
    std::vector<float> samples(count);
    for (float& sample : samples) {
        const int roll = dice(random);
        sample = roll < 8 ? kSpecial[static_cast<std::size_t>(roll)]
                          : std::ldexp(mantissa(random), exponent(random));
    }
    return samples;
}

// White noise of full scale.
inline std::vector<float> Noise(std::size_t count, uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> anywhere(-1.0f, 1.0f);
    std::vector<float> samples(count);
    std::ranges::generate(samples, [&] { return anywhere(random); });
    return samples;
}

// Untouched samples with the given ones at their head: an input in a buffer with room for more.
inline std::vector<float> WithRoom(const std::vector<float>& head, std::size_t size) {
    std::vector<float> samples(std::max(size, head.size()), kUntouched);
    std::copy(head.begin(), head.end(), samples.begin());
    return samples;
}

// `run(in, out)` must write `expected` and nothing behind it, into a buffer of its own and in
// place.
template <typename Run>
void ExpectInPlaceOrNot(const std::vector<float>& in, const std::vector<float>& expected, Run run) {
    auto source = in;
    auto out = WithRoom({}, expected.size() + 1);
    run(source.data(), out.data());
    ExpectSameBits(source, in);
    ExpectSameBits(out, WithRoom(expected, out.size()));

    auto both = WithRoom(in, std::max(in.size(), expected.size()) + 1);
    run(both.data(), both.data());
    EXPECT_EQ(both.back(), kUntouched);
    both.resize(expected.size());
    ExpectSameBits(both, expected);
}

}  // namespace quorvel::test
