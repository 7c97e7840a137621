// Numbers that look random and are the same on every system: integers and products of powers of
// two.
#pragma once

#include <cstdint>

namespace quorvel::test {

// SplitMix64: Steele, Lea and Flood, "Fast splittable pseudorandom number generators", OOPSLA 2014.
class MixedBits {
  public:
    explicit MixedBits(uint64_t seed) : state(seed) {}

    uint64_t Next() {
        state += 0x9E3779B97F4A7C15;
        uint64_t z = state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }

    // 0 to end - 1; `end` is at least 1.
    uint64_t Below(uint64_t end) { return Next() % end; }

    // From 0 up to but not including 1.
    double Share() { return static_cast<double>(Next() >> 11) * 0x1p-53; }

  private:
    uint64_t state;
};

}  // namespace quorvel::test
