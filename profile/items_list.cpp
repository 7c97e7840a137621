#include "profile/items_list.h"

#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <utility>

#include "platform/fatal.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_block_link.h"
#include "profile/quorvel_audio_blocks_chain.h"

namespace {

template <typename T>
void CopyIntoSlot(T* slot, const T& item) {
    std::memset(static_cast<void*>(slot), 0, sizeof(T));
    new (slot) T(item);
}

// An array of `slots` elements, with the content of `items` when there is one. Null when it cannot
// be had; `items` then stays allocated.
template <typename T>
T* ResizeArray(T* items, std::uint64_t slots) {
    const std::uint64_t bytes = slots * sizeof(T);
    if (slots > UINT32_MAX || !std::in_range<SIZE_T>(bytes)) return nullptr;
    const auto size = static_cast<SIZE_T>(bytes);
    void* array = items ? HeapReAlloc(GetProcessHeap(), 0, items, size)
                        : HeapAlloc(GetProcessHeap(), 0, size);
    return static_cast<T*>(array);
}

}  // namespace

template <typename T>
ItemsList<T>::ItemsList() = default;

template <typename T>
ItemsList<T>::ItemsList(const ItemsList& other) {
    Copy(other);
}

template <typename T>
ItemsList<T>::ItemsList(ItemsList&& other) noexcept {
    Copy(other);
}

template <typename T>
ItemsList<T>& ItemsList<T>::operator=(const ItemsList& other) {
    Copy(other);
    return *this;
}

template <typename T>
ItemsList<T>& ItemsList<T>::operator=(ItemsList&& other) noexcept {
    if (this == &other) return *this;
    Clear();
    if (items) HeapFree(GetProcessHeap(), 0, items);
    items = std::exchange(other.items, nullptr);
    count = std::exchange(other.count, 0);
    capacity = std::exchange(other.capacity, 0);
    return *this;
}

template <typename T>
ItemsList<T>::~ItemsList() {
    if (!items) return;
    Clear();
    HeapFree(GetProcessHeap(), 0, items);
}

template <typename T>
T& ItemsList<T>::Add(T& item) {
    const bool isOwn = !std::less<>()(&item, items) && std::less<>()(&item, items + count);
    const std::ptrdiff_t position = isOwn ? &item - items : 0;
    if (!AllocateMemoryForElements(count + 1)) quorvel::platform::Fatal("ItemsList cannot grow");
    CopyIntoSlot(items + count, isOwn ? items[position] : item);
    return items[count++];
}

template <typename T>
bool ItemsList<T>::Allocate(unsigned n) {
    return AllocateMemoryForElements(n);
}

template <typename T>
bool ItemsList<T>::AllocateMemoryForElements(unsigned n) {
    if (capacity >= n) return true;
    const std::uint64_t slots = std::uint64_t{2} * n;
    items = ResizeArray(items, slots);
    if (!items) {
        count = 0;
        capacity = 0;
        return false;
    }
    capacity = static_cast<unsigned>(slots);
    return true;
}

template <typename T>
bool ItemsList<T>::Resize(unsigned n) {
    if (!AllocateMemoryForElements(n)) return false;
    count = n;
    return true;
}

template <typename T>
unsigned ItemsList<T>::FindPos(const T& item) {
    for (unsigned i = 0; i < count; ++i)
        if (items[i] == item) return i;
    return invalidPos;
}

template <typename T>
T* ItemsList<T>::Find(const T& item) {
    const unsigned position = FindPos(item);
    return position == invalidPos ? nullptr : items + position;
}

template <typename T>
bool ItemsList<T>::Remove(T& item) {
    const unsigned position = FindPos(item);
    if (position >= count) return false;
    RemoveAt(position);
    return true;
}

template <typename T>
void ItemsList<T>::RemoveAt(unsigned i) {
    if (i >= count) return;
    std::destroy_at(items + i);
    std::memmove(static_cast<void*>(items + i), static_cast<const void*>(items + i + 1),
                 std::size_t{count - i - 1} * sizeof(T));
    --count;
}

template <typename T>
unsigned ItemsList<T>::Count() const {
    return count;
}

template <typename T>
T& ItemsList<T>::Item(unsigned i) {
    return Get(i);
}

template <typename T>
const T& ItemsList<T>::Item(unsigned i) const {
    return Get(i);
}

template <typename T>
const T* ItemsList<T>::Data() const {
    return items;
}

template <typename T>
void ItemsList<T>::Clear() {
    std::destroy_n(items, count);
    count = 0;
}

template <typename T>
void ItemsList<T>::Copy(const ItemsList& other) {
    if (this == &other || !AllocateMemoryForElements(other.count)) return;
    count = other.count;
    for (unsigned i = 0; i < count; ++i)
        CopyIntoSlot(items + i, other.items[i]);
}

template <typename T>
T& ItemsList<T>::Get(unsigned i) const {
    if (i >= count) quorvel::platform::Fatal("ItemsList position out of range");
    return items[i];
}

template class ItemsList<QuorvelAudioBlock>;
template class ItemsList<_QuorvelAudioBlockLink>;
template class ItemsList<QuorvelAudioBlocksChain>;
template class ItemsList<GUID>;
