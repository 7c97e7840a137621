// Growing an ItemsList without losing it.
#pragma once

#include "profile/items_list.h"

namespace quorvel {

// Makes room for `n` elements. False when the memory cannot be had; `list` is then unchanged.
//
// A list that fails to grow forgets its array, but the heap leaves an array that it could not
// resize as it was, so the list can have it back.
template <typename T>
bool MakeRoom(ItemsList<T>& list, unsigned n) {
    T* const items = list.items;
    const unsigned count = list.count;
    const unsigned capacity = list.capacity;
    if (list.Allocate(n)) return true;
    list.items = items;
    list.count = count;
    list.capacity = capacity;
    return false;
}

// Appends a copy of `item`, which is no element of `list`, and returns the copy. Null when the
// memory cannot be had; `list` is then unchanged.
template <typename T>
T* TryAdd(ItemsList<T>& list, T& item) {
    return MakeRoom(list, list.Count() + 1) ? &list.Add(item) : nullptr;
}

// Replaces the elements of `list` by copies of those of `source`. The old elements are destroyed.
// When the memory cannot be had `list` is left without elements.
template <typename T>
void ReplaceByCopy(ItemsList<T>& list, const ItemsList<T>& source) {
    if (&list == &source) return;
    list.Clear();
    if (MakeRoom(list, source.Count())) list.Copy(source);
}

}  // namespace quorvel
