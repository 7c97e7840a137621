// Owned arrays on the C runtime heap, the heap of every buffer that the client hands out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace quorvel {

struct HeapRelease {
    void operator()(void* memory) const { std::free(memory); }
};

template <typename T>
using HeapArray = std::unique_ptr<T[], HeapRelease>;

// `count` elements of zero bytes (at least one is allocated); null when they cannot be had.
template <typename T>
HeapArray<T> AllocateZeroed(std::size_t count) {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
    return HeapArray<T>(static_cast<T*>(std::calloc(count == 0 ? 1 : count, sizeof(T))));
}

// `count` uninitialised elements (at least one is allocated); null when they cannot be had.
template <typename T>
HeapArray<T> AllocateArray(std::size_t count) {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
    if (count > SIZE_MAX / sizeof(T)) return {};
    return HeapArray<T>(static_cast<T*>(std::malloc(count == 0 ? 1 : count * sizeof(T))));
}

}  // namespace quorvel
