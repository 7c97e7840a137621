#include "engine/block_factory.h"

#include "base/guid_order.h"
#include "base/memory_shortage.h"

namespace quorvel {
namespace {

// A fresh id for a null one. False when the system cannot make one.
bool CompleteId(GUID& id) {
    if (!(id == kNullGuid)) return true;
    const RPC_STATUS status = UuidCreate(&id);
    return status == RPC_S_OK || status == RPC_S_UUID_LOCAL_ONLY;
}

}  // namespace

std::shared_ptr<AudioBlock> CreateBlock(const GUID& typeId, const GUID& id) {
    GUID completeId = id;
    if (!CompleteId(completeId)) return {};
    const CreateBlockFunction create = FindBlockConstructor(typeId);
    if (!create) return {};
    try {
        std::shared_ptr<AudioBlock> block(create(completeId));
        if (!block) NoteMemoryShortage();
        return block;
    } catch (const std::bad_alloc&) {
        NoteMemoryShortage();
        return {};
    }
}

std::shared_ptr<AudioBlock> CreateBlockWithData(const GUID& typeId, const void* data, uint32_t size,
                                                const GUID& id) {
    auto block = CreateBlock(typeId, id);
    if (block && data) block->SetParameterData(data, size);
    return block;
}

std::shared_ptr<AudioBlock> CreateBlockWithParameters(const void* record, const GUID& typeId,
                                                      const GUID& id) {
    auto block = CreateBlock(typeId, id);
    if (block && record) block->SetParameters(record);
    return block;
}

}  // namespace quorvel
