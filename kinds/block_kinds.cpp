#include "kinds/block_kinds.h"

#include <algorithm>

namespace quorvel {

const BlockKind* FindBlockKind(const GUID& typeId) {
    const auto kind = std::ranges::find(kBlockKinds, typeId, &BlockKind::typeId);
    return kind == kBlockKinds.end() ? nullptr : &*kind;
}

bool IsKnownBlockType(const GUID& typeId) {
    return FindBlockKind(typeId) != nullptr;
}

}  // namespace quorvel
