#include "tests/support/sha256.h"

#include <cstdio>

namespace quorvel::test {
namespace {

// The first 32 bits behind the point of the cube roots of the first 64 primes.
constexpr std::array<uint32_t, 64> kConstants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

}  // namespace

void Sha256::Add(std::span<const std::byte> bytes) {
    for (const std::byte byte : bytes)
        AddByte(std::to_integer<uint8_t>(byte));
}

void Sha256::AddByte(uint8_t byte) {
    block[length % block.size()] = byte;
    if (++length % block.size() == 0) Mix();
}

std::string Sha256::Finish() {
    const uint64_t bits = length * 8;
    AddByte(0x80);
    while (length % block.size() != 56)
        AddByte(0);
    for (int shift = 56; shift >= 0; shift -= 8)
        AddByte(static_cast<uint8_t>(bits >> shift));
    std::string text;
    for (const uint32_t word : state) {
        char digits[9];
        std::snprintf(digits, sizeof(digits), "%08x", word);
        text += digits;
    }
    return text;
}

void Sha256::Mix() {
    std::array<uint32_t, 64> w;
    for (std::size_t i = 0; i < 16; ++i)
        w[i] = uint32_t{block[4 * i]} << 24 | uint32_t{block[4 * i + 1]} << 16 |
               uint32_t{block[4 * i + 2]} << 8 | uint32_t{block[4 * i + 3]};
    for (std::size_t i = 16; i < 64; ++i) {
        const uint32_t x = w[i - 15], y = w[i - 2];
        w[i] = w[i - 16] + (std::rotr(x, 7) ^ std::rotr(x, 18) ^ (x >> 3)) + w[i - 7] +
               (std::rotr(y, 17) ^ std::rotr(y, 19) ^ (y >> 10));
    }
    auto [a, b, c, d, e, f, g, h] = state;
    for (std::size_t i = 0; i < 64; ++i) {
        const uint32_t rotatedE = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
        const uint32_t first = h + rotatedE + ((e & f) ^ (~e & g)) + kConstants[i] + w[i];
        const uint32_t rotatedA = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
        const uint32_t second = rotatedA + ((a & b) ^ (a & c) ^ (b & c));
        h = g, g = f, f = e, e = d + first;
        d = c, c = b, b = a, a = first + second;
    }
    const std::array<uint32_t, 8> mixed = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < state.size(); ++i)
        state[i] += mixed[i];
}

}  // namespace quorvel::test
