#include "profile/quorvel_audio_profile.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/fatal.h"
#include "profile/fresh_guid.h"
#include "profile/heap_array.h"
#include "profile/make_room.h"
#include "profile/packed_records.h"
#include "profile/packed_size.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/wide_string.h"

QuorvelAudioProfile::QuorvelAudioProfile() = default;

QuorvelAudioProfile::QuorvelAudioProfile(const QuorvelAudioProfile& other) {
    *this = other;
}

QuorvelAudioProfile::QuorvelAudioProfile(QuorvelAudioProfile&& other) noexcept {
    *this = std::as_const(other);
}

QuorvelAudioProfile& QuorvelAudioProfile::operator=(const QuorvelAudioProfile& other) {
    if (this != &other) {
        CopyPaths(other);
        id = other.id;
        cookie = other.cookie;
        quorvel::ReplaceByCopy(chains, other.chains);
    }
    AssignProfile();
    return *this;
}

QuorvelAudioProfile& QuorvelAudioProfile::operator=(QuorvelAudioProfile&& other) noexcept {
    if (this != &other) {
        ClearPaths(true);
        paths = std::exchange(other.paths, nullptr);
        pathsCount = std::exchange(other.pathsCount, 0);
        pathsCapacity = std::exchange(other.pathsCapacity, 0);
        chains = std::move(other.chains);
        id = other.id;
        cookie = other.cookie;
    }
    AssignProfile();
    return *this;
}

QuorvelAudioProfile::~QuorvelAudioProfile() {
    ClearPaths(true);
}

void QuorvelAudioProfile::AssignProfile() {
    for (unsigned i = 0; i < chains.Count(); ++i) {
        QuorvelAudioBlocksChain& chain = chains.Item(i);
        chain.profile = this;
        for (unsigned j = 0; j < chain.blocks.Count(); ++j)
            chain.blocks.Item(j).profile = this;
    }
}

void QuorvelAudioProfile::CopyPaths(const QuorvelAudioProfile& other) {
    ClearPaths(true);
    if (other.pathsCapacity == 0) return;
    paths = quorvel::AllocateArray<WCHAR*>(other.pathsCapacity).release();
    if (!paths) quorvel::platform::Fatal("paths of a profile cannot be copied");
    pathsCapacity = other.pathsCapacity;
    pathsCount = other.pathsCount;
    std::transform(other.paths, other.paths + pathsCount, paths, quorvel::DuplicateString);
}

std::int64_t QuorvelAudioProfile::GetCookie() const {
    return cookie;
}

unsigned QuorvelAudioProfile::PathsCount() const {
    return pathsCount;
}

const WCHAR* QuorvelAudioProfile::Path(unsigned i) const {
    return i < pathsCount ? paths[i] : nullptr;
}

bool QuorvelAudioProfile::MakeRoomForPath() {
    if (pathsCount < pathsCapacity) return true;
    if (pathsCount > UINT32_MAX / 2) return false;
    const std::uint32_t slots = pathsCount == 0 ? 2 : 2 * pathsCount;
    WCHAR** const grown = quorvel::AllocateArray<WCHAR*>(slots).release();
    if (!grown) return false;
    std::copy(paths, paths + pathsCount, grown);
    std::free(paths);
    paths = grown;
    pathsCapacity = slots;
    return true;
}

bool QuorvelAudioProfile::AddPath(const WCHAR* path) {
    if (!MakeRoomForPath()) return false;
    paths[pathsCount++] = quorvel::DuplicateString(path);
    return true;
}

bool QuorvelAudioProfile::UpdatePath(unsigned i, const WCHAR* path) {
    if (!path || i >= pathsCount) return false;
    WCHAR* const copy = quorvel::DuplicateString(path);  // `path` may be the entry itself
    std::free(paths[i]);
    paths[i] = copy;
    return true;
}

void QuorvelAudioProfile::RemovePath(const WCHAR* path) {
    for (unsigned i = 0; i < pathsCount; ++i)
        if (quorvel::SameString(paths[i], path)) return RemovePath(i);
}

void QuorvelAudioProfile::RemovePath(unsigned i) {
    std::free(paths[i]);
    std::copy(paths + i + 1, paths + pathsCount, paths + i);
    --pathsCount;
}

void QuorvelAudioProfile::ClearPaths(bool releaseArray) {
    std::for_each(paths, paths + pathsCount, std::free);
    pathsCount = 0;
    if (!releaseArray) return;
    std::free(paths);
    paths = nullptr;
    pathsCapacity = 0;
}

bool QuorvelAudioProfile::GenerateNewID(GUID& out) {
    return quorvel::MakeFreshGuid(out);
}

bool QuorvelAudioProfile::GenerateNewID() {
    return GenerateNewID(id);
}

QuorvelAudioBlocksChain* QuorvelAudioProfile::GetChain(DWORD chainId, bool create) {
    QuorvelAudioBlocksChain wanted(this, chainId);
    if (QuorvelAudioBlocksChain* chain = chains.Find(wanted)) return chain;
    return create ? quorvel::TryAdd(chains, wanted) : nullptr;
}

void QuorvelAudioProfile::SetChain(QuorvelAudioBlocksChain& source) {
    if (QuorvelAudioBlocksChain* chain = GetChain(source.id, true)) *chain = source;
}

void QuorvelAudioProfile::RemoveChain(DWORD chainId) {
    QuorvelAudioBlocksChain removed(this, chainId);
    chains.Remove(removed);
}

void QuorvelAudioProfile::RemoveChain(QuorvelAudioBlocksChain& chain) {
    RemoveChain(chain.id);
}

QuorvelAudioBlock* QuorvelAudioProfile::FindBlock(DWORD chainId, const GUID& blockId) {
    QuorvelAudioBlocksChain* chain = GetChain(chainId, false);
    return chain ? chain->FindBlock(blockId) : nullptr;
}

void QuorvelAudioProfile::RemoveBlock(DWORD chainId, const GUID& blockId) {
    if (QuorvelAudioBlocksChain* chain = GetChain(chainId, false)) chain->RemoveBlock(blockId);
}

void QuorvelAudioProfile::RemoveBlockLinks(DWORD chainId, const GUID& blockId) {
    if (QuorvelAudioBlocksChain* chain = GetChain(chainId, false)) chain->RemoveBlockLinks(blockId);
}

unsigned QuorvelAudioProfile::GetStringsSize() {
    return quorvel::StringsSize(*this);
}

unsigned QuorvelAudioProfile::GetPackedStringsSize() {
    return quorvel::AddPackedSizes(GetStringsSize(), sizeof(_QuorvelProfilePaths));
}

unsigned QuorvelAudioProfile::GetPackedChainsSize() {
    return chains.GetPackedSize();
}
