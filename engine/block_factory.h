// Makes live blocks from type ids.
//
// The table of kinds is constant, so any thread may call these functions without a lock. All but
// FindBlockConstructor allocate and belong on a control thread (the graph's width adapters
// excepted).
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "engine/audio_block.h"

namespace quorvel {

// Makes a block with the given instance id; null when memory cannot be had.
using CreateBlockFunction = AudioBlock* (*)(const GUID& id);

// How a block of that kind is made; null when the kind is unknown. The table of all classes stands
// with them, in blocks/.
CreateBlockFunction FindBlockConstructor(const GUID& typeId);

// A block of that kind. A null `id` asks for a fresh one. Empty when the kind is unknown, no id can
// be made or memory cannot be had.
std::shared_ptr<AudioBlock> CreateBlock(const GUID& typeId, const GUID& id);

// The same, then hands over the record, unless it is null. A refused record is not an error: the
// block then has its defaults.
std::shared_ptr<AudioBlock> CreateBlockWithData(const GUID& typeId, const void* data, uint32_t size,
                                                const GUID& id);
std::shared_ptr<AudioBlock> CreateBlockWithParameters(const void* record, const GUID& typeId,
                                                      const GUID& id);

// The create function of a concrete class: zeroed storage, then the constructor. (Compilers may
// drop the zeros when they see the constructor; no field relies on them, each has an initialiser.)
template <typename Block>
AudioBlock* CreateZeroed(const GUID& id) {
    static_assert(alignof(Block) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    void* storage = ::operator new(sizeof(Block), std::nothrow);
    if (!storage) return nullptr;
    std::memset(storage, 0, sizeof(Block));
    try {
        return new (storage) Block(id);
    } catch (...) {
        ::operator delete(storage);
        return nullptr;
    }
}

}  // namespace quorvel
