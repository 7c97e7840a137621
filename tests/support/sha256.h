// The secure hash SHA-256 (FIPS 180-4): one short name for the bits of many samples.
#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace quorvel::test {

class Sha256 {
  public:
    void Add(std::span<const std::byte> bytes);

    // The bytes of a number, the lowest first, whatever the processor's order.
    template <typename Number>
    void AddNumber(Number number) {
        static_assert(sizeof(Number) == 4 || sizeof(Number) == 8);
        using Bits = std::conditional_t<sizeof(Number) == 4, uint32_t, uint64_t>;
        const auto bits = std::bit_cast<Bits>(number);
        for (std::size_t i = 0; i < sizeof(Bits); ++i)
            AddByte(static_cast<uint8_t>(bits >> (8 * i)));
    }

    // 64 hexadecimal digits. Nothing may be added afterwards.
    std::string Finish();

  private:
    void AddByte(uint8_t byte);
    void Mix();

    std::array<uint32_t, 8> state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                     0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<uint8_t, 64> block{};
    uint64_t length = 0;  // bytes
};

}  // namespace quorvel::test
