// A profile: the unit of audio configuration that the driver stores and the engine applies.
#pragma once

#include <cstdint>

#include "platform/windows_api.h"
#include "profile/audio_lists.h"

// An id, the executables it applies to, and numbered chains. Chains and blocks point back at their
// profile; assigning a profile refreshes those pointers, so a profile must not be relocated by
// bytes. Path strings and their array live on the C runtime heap. No member throws; a profile is
// not synchronised.
//
// Other programs link against the members, here and in the lists, chains and blocks. So none is
// inline, and some that only read are not const (comparisons, FindPos, Find, Validate, sizes of
// lists, chains and paths). PackedSize and StringsSize of profile/packed_size.h tell the sizes of
// constant ones.
class QuorvelAudioProfile {
  public:
    // Null id, cookie 0, no chains, no paths.
    QuorvelAudioProfile();

    // Both copy.
    QuorvelAudioProfile(const QuorvelAudioProfile& other);
    QuorvelAudioProfile(QuorvelAudioProfile&& other) noexcept;

    // Replaces everything by copies. Ends the process when the array of paths cannot be allocated;
    // a path that cannot be allocated becomes a null entry, as a null entry of `other` does, and
    // chains that cannot be allocated are missing.
    QuorvelAudioProfile& operator=(const QuorvelAudioProfile& other);

    // Takes the paths and the chains of `other`, which is left without; id and cookie are copied.
    QuorvelAudioProfile& operator=(QuorvelAudioProfile&& other) noexcept;

    virtual ~QuorvelAudioProfile();

    // A value assigned by the driver.
    std::int64_t GetCookie() const;

    unsigned PathsCount() const;

    // Path `i`; null when `i` >= PathsCount(), or for a null entry.
    const WCHAR* Path(unsigned i) const;

    // Appends a copy of `path`; a null `path`, or one whose copy cannot be allocated, is appended
    // as a null entry. False, and nothing changes, only when the array cannot grow. A path may
    // appear twice.
    bool AddPath(const WCHAR* path);

    // Replaces entry `i` by a copy of `path`, which may be the entry itself. False, and nothing
    // changes, for a null `path` or `i` >= PathsCount(). A copy that cannot be allocated leaves a
    // null entry and is true all the same.
    bool UpdatePath(unsigned i, const WCHAR* path);

    // Removes and releases the first entry equal to `path`, compared unit by unit; nothing if there
    // is none. Null equals no entry.
    void RemovePath(const WCHAR* path);

    // Removes and releases entry `i`, which must be below PathsCount().
    void RemovePath(unsigned i);

    // Releases every path, and the array too when `releaseArray` is true.
    void ClearPaths(bool releaseArray);

    // Makes a fresh GUID. False, and `out` is untouched, when the system gives none.
    static bool GenerateNewID(GUID& out);

    // The same, into `id`. Chains and blocks keep the profileId that they had, so do this before
    // making them: FindBlock no longer finds such blocks, and the profile packs to a record that
    // readers refuse (profile/packed_profile.h).
    bool GenerateNewID();

    // The chain with that number. When there is none: a new empty one, appended, if `create`; null
    // otherwise, or when it cannot be allocated. Linear in the number of chains.
    QuorvelAudioBlocksChain* GetChain(DWORD chainId, bool create);

    // Copies `source` over the chain with its number, which is made if need be. The chain then
    // points at the profile that `source` points at, until this profile is next assigned (to itself
    // will do): that profile must outlive this one, or this one must be assigned first. The chain
    // also takes that profile's id; when it is not this profile's, this profile packs to a record
    // that readers refuse (profile/packed_profile.h). Does nothing when the chain cannot be made.
    void SetChain(QuorvelAudioBlocksChain& source);

    // Destroys the chain with that number; nothing if absent.
    void RemoveChain(DWORD chainId);
    void RemoveChain(QuorvelAudioBlocksChain& chain);

    // Forward to the chain with that number; null or nothing if absent.
    QuorvelAudioBlock* FindBlock(DWORD chainId, const GUID& blockId);
    void RemoveBlock(DWORD chainId, const GUID& blockId);
    void RemoveBlockLinks(DWORD chainId, const GUID& blockId);

    // Sizes in bytes: the zero-terminated paths, the paths section, the chain records. A null path
    // entry counts nothing. They saturate at 2^32 - 1.
    unsigned GetStringsSize();
    unsigned GetPackedStringsSize();
    unsigned GetPackedChainsSize();

    GUID id{};                            // identity of the profile in the driver
    QuorvelAudioBlocksChainsList chains;  // each with a number of its own, in order of creation
    std::int64_t cookie = 0;              // assigned by the driver, never sent to it
    WCHAR** paths = nullptr;              // the array of paths, owned
    std::uint32_t pathsCount = 0;         // entries in `paths`
    std::uint32_t pathsCapacity = 0;      // slots allocated in `paths`

  private:
    // Points every chain and block at this profile. Their profileId fields stay.
    void AssignProfile();
    void CopyPaths(const QuorvelAudioProfile& other);
    bool MakeRoomForPath();
};
