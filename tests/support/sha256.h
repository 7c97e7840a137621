// The secure hash SHA-256 by OpenSSL: one short name for the bits of many samples.
#pragma once

#include <openssl/evp.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <type_traits>

namespace quorvel::test {

class Sha256 {
  public:
    Sha256() { EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr); }

    // The bytes of a number, the lowest first, whatever the processor's order.
    template <typename Number>
    void AddNumber(Number number) {
        static_assert(sizeof(Number) == 4 || sizeof(Number) == 8);
        using Bits = std::conditional_t<sizeof(Number) == 4, uint32_t, uint64_t>;
        std::array<uint8_t, sizeof(Bits)> bytes;
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<uint8_t>(std::bit_cast<Bits>(number) >> (8 * i));
        EVP_DigestUpdate(context.get(), bytes.data(), bytes.size());
    }

    // 64 hexadecimal digits. Nothing may be added afterwards.
    std::string Finish() {
        std::array<uint8_t, 32> digest{};
        EVP_DigestFinal_ex(context.get(), digest.data(), nullptr);
        std::string text;
        for (const uint8_t byte : digest) {
            char digits[3];
            std::snprintf(digits, sizeof(digits), "%02x", byte);
            text += digits;
        }
        return text;
    }

  private:
    struct Free {
        void operator()(EVP_MD_CTX* freed) const { EVP_MD_CTX_free(freed); }
    };
    std::unique_ptr<EVP_MD_CTX, Free> context{EVP_MD_CTX_new()};
};

}  // namespace quorvel::test
