// A directed edge between two blocks of a chain.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/windows_api.h"

// A plain record, copied by bytes; the same 52 bytes are sent to the driver. Every field lies at a
// multiple of its alignment, so the layout needs no packing and the fields can be referred to.
struct _QuorvelAudioBlockLink {
    GUID profileId{};           // owning profile
    std::uint32_t chainId = 0;  // owning chain
    GUID sourceBlockId{};       // upstream block: its output feeds the other one
    GUID destinationBlockId{};  // downstream block

    // Links are the same when profile, source and destination are; the chain is not compared.
    bool operator==(const _QuorvelAudioBlockLink& other) const {
        return profileId == other.profileId && sourceBlockId == other.sourceBlockId &&
               destinationBlockId == other.destinationBlockId;
    }
};

static_assert(sizeof(_QuorvelAudioBlockLink) == 52);
static_assert(offsetof(_QuorvelAudioBlockLink, chainId) == 16);
static_assert(offsetof(_QuorvelAudioBlockLink, sourceBlockId) == 20);
static_assert(offsetof(_QuorvelAudioBlockLink, destinationBlockId) == 36);
