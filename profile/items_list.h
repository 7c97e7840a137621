// The growable array behind every collection of the client interface.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/windows_api.h"

// An array of T on the process heap (GetProcessHeap(), flags 0). The list owns the array and the
// elements in it. Its layout, its members and its behaviour are linked against by other programs,
// so they stay as they are: a member that only reads is const only where its linked name says so,
// and none is inline. It exists for four element types, instantiated in items_list.cpp:
// QuorvelAudioBlock, _QuorvelAudioBlockLink, QuorvelAudioBlocksChain and GUID.
//
// Elements are relocated by plain byte moves, when the array grows and when an element is removed,
// so no element may point into itself, and pointers to elements live until the next growth or
// removal. An element is copied into a slot by zero-filling the slot and copy-constructing there.
// Equality is the element's operator==.
//
// Growth: when n elements are needed and there is room for fewer, the array is resized to 2 × n
// slots; it never shrinks. When the heap refuses, or 2 × n slots exceed 2^32 - 1 or the address
// space, the list forgets its array without releasing it and is empty (items null, count and
// capacity 0). MakeRoom() of profile/make_room.h grows a list without that loss.
//
// Threads: none may use a list while another changes it. No member throws.
template <typename T>
class ItemsList {
  public:
    ItemsList();
    ItemsList(const ItemsList& other);

    // Copies like the copy constructor: `other` keeps its elements.
    ItemsList(ItemsList&& other) noexcept;

    // Copy(other): a caller whose elements own memory calls Clear() first.
    ItemsList& operator=(const ItemsList& other);

    // Takes the array of `other`, which is left empty. The elements and the array that this list
    // had are released first. Moving a list to itself does nothing.
    ItemsList& operator=(ItemsList&& other) noexcept;

    ~ItemsList();

    // Appends a copy of `item`, which may be an element of this list, and returns the copy. Equal
    // elements may already be there. Ends the process when the array cannot grow.
    T& Add(T& item);

    // Makes room for `n` elements; the count stays. False when the array cannot grow.
    bool Allocate(unsigned n);

    // Makes room for `n` elements and sets the count to `n`. Slots that become live hold arbitrary
    // bytes for the caller to fill; elements that are cut off are not destroyed. False when the
    // array cannot grow.
    bool Resize(unsigned n);

    // The index of the first element equal to `item`, or `invalidPos`. Linear.
    unsigned FindPos(const T& item);

    // The first element equal to `item`, or null.
    T* Find(const T& item);

    // Removes the first element equal to `item`; whether there was one.
    bool Remove(T& item);

    // Destroys element `i` and moves the later ones down by one. Nothing when `i` >= count.
    void RemoveAt(unsigned i);

    unsigned Count() const;

    // Destroys every element; the array is kept.
    void Clear();

    // Element `i`. Ends the process when `i` >= count.
    T& Item(unsigned i);
    const T& Item(unsigned i) const;

    const T* Data() const;

    // Makes the elements copies of those of `other`. Elements that this list had are overwritten
    // WITHOUT being destroyed, so a caller whose elements own memory calls Clear() first. When the
    // array cannot grow the list is left empty. Copying a list to itself does nothing.
    void Copy(const ItemsList& other);

    unsigned invalidPos = UINT32_MAX;  // the position that means no element; never changes
    T* items = nullptr;                // the array, or null
    unsigned count = 0;                // live elements, at most `capacity`
    unsigned capacity = 0;             // slots in the array

  private:
    // The same as Item and as Allocate.
    T& Get(unsigned i) const;
    bool AllocateMemoryForElements(unsigned n);
};

static_assert(offsetof(ItemsList<GUID>, invalidPos) == 0);
static_assert(offsetof(ItemsList<GUID>, items) == sizeof(void*));
static_assert(offsetof(ItemsList<GUID>, count) == 2 * sizeof(void*));
static_assert(offsetof(ItemsList<GUID>, capacity) == 2 * sizeof(void*) + 4);
