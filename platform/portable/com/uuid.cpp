#include "platform/portable/com/uuid.h"

#include <array>
#include <random>

RPC_STATUS UuidCreate(UUID* uuid) {
    std::array<std::uint32_t, 4> words{};
    try {
        std::random_device device;
        for (auto& word : words)
            word = device();
    } catch (const std::exception&) {
        return RPC_S_UUID_NO_ADDRESS;
    }
    UUID fresh;
    std::memcpy(&fresh, words.data(), sizeof(fresh));
    fresh.Data3 = static_cast<std::uint16_t>((fresh.Data3 & 0x0FFF) | 0x4000);   // version 4
    fresh.Data4[0] = static_cast<std::uint8_t>((fresh.Data4[0] & 0x3F) | 0x80);  // RFC variant
    *uuid = fresh;
    return RPC_S_OK;
}
