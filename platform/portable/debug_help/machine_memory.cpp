#include "platform/portable/debug_help/machine_memory.h"

#include <array>
#include <limits>
#include <stdexcept>

namespace quorvel::platform {

void MachineMemory::Write(DWORD64 address, std::span<const std::byte> content) {
    if (content.size() > std::numeric_limits<DWORD64>::max() - address)
        throw std::invalid_argument("a range of memory goes beyond the last address");
    for (const std::byte byte : content)
        bytes[address++] = byte;
}

void MachineMemory::Erase(DWORD64 address, DWORD64 size) {
    const auto first = bytes.lower_bound(address);
    auto end = first;
    while (end != bytes.end() && end->first - address < size)
        ++end;
    bytes.erase(first, end);
}

std::size_t MachineMemory::Read(DWORD64 address, std::span<std::byte> copy) const {
    std::size_t count = 0;
    for (auto next = bytes.lower_bound(address);
         count < copy.size() && next != bytes.end() && next->first == address + count; ++next)
        copy[count++] = next->second;
    return count;
}

std::optional<DWORD> MachineMemory::ReadWord(DWORD64 address) const {
    std::array<std::byte, 4> word{};
    if (Read(address, word) != word.size()) return std::nullopt;
    DWORD value = 0;
    for (unsigned i = 0; i < 4; ++i)
        value |= std::to_integer<DWORD>(word[i]) << 8 * i;
    return value;
}

}  // namespace quorvel::platform
