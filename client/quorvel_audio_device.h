// The client of the headset's driver.
#pragma once

#include "platform/windows_api.h"
#include "profile/packed_records.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"

// Operations that return DWORD return a Win32 error code, 0 for success. The static members keep
// no state: any thread may call them, each profile from one thread at a time. None throws.
class QuorvelAudioDevice {
  public:
    // The printable text form of a profile: zero-terminated base64 without line breaks, described
    // in profile/text_form.h. The caller releases it with Free. Null when `profile` is null, when
    // memory cannot be had, or when the profile exceeds 4 GiB. The text of a profile whose id is
    // not that of its chains (changed after they were made, or they came from another profile) is
    // refused by DecodeProfile with 13; encode a copy of such a profile
    // (PackProfile of profile/packed_profile.h).
    static const char* EncodeProfile(QuorvelAudioProfile* profile);

    // Reads the text form into `profile`: id, cookie, paths and the chains that the text holds are
    // replaced, other chains stay. After a failure the profile holds what was read until then.
    //   87    null or empty text, null profile
    // A chain that the profile had keeps its profileId: after reading a profile of another id over
    // it, see EncodeProfile.
    //   13    not the text form of a profile, or damaged
    //   1305  written by newer software
    //   8     memory cannot be had
    static DWORD DecodeProfile(const char* text, QuorvelAudioProfile* profile);

    // Sets `target` to a copy of `source` on the C runtime heap; null when `source` is null or the
    // copy cannot be allocated. The previous value of `target` is not released.
    static void CopyString(WCHAR*& target, const WCHAR* source);

    // Releases any buffer that this class handed out; null is ignored.
    static void Free(void* buffer);

  private:
    // Lets the tests of the packed records reach the operations below.
    friend struct QuorvelAudioDevicePeer;

    // Write one section of a record. `size` is the section's size (`stringsSize` that of the paths
    // area), 0 to have it computed; `out` has room for it.
    static void FillBlocksFromChain(_QuorvelAudioProfileBlocks* out, QuorvelAudioBlocksChain* chain,
                                    unsigned size);
    static void FillLinksFromChain(_QuorvelAudioProfileBlocksLinks* out,
                                   QuorvelAudioBlocksChain* chain, unsigned size);
    static void FillPathsFromProfile(_QuorvelProfilePaths* out, QuorvelAudioProfile* profile,
                                     unsigned stringsSize);

    // Replace the blocks, links or paths by those of a section; the suffix _1 reads version 1. They
    // TRUST the size that the section gives itself. Bytes that come from outside go through the
    // bounded readers of profile/packed_sections.h.
    static DWORD FillChainBlocks(QuorvelAudioBlocksChain* chain, _QuorvelAudioProfileBlocks* in);
    static DWORD FillChainBlocks_1(QuorvelAudioBlocksChain* chain, void* in);
    static DWORD FillChainLinks(QuorvelAudioBlocksChain* chain,
                                _QuorvelAudioProfileBlocksLinks* in);
    static DWORD FillChainLinks_1(QuorvelAudioBlocksChain* chain, void* in);
    static DWORD FillProfilePaths(QuorvelAudioProfile* profile, _QuorvelProfilePaths* in);

    // Allocates a buffer on the C runtime heap of the whole-profile record and `extra` bytes, and
    // writes the record at byte `offset`; the extra bytes are 0. The caller releases the buffer
    // with Free. 8 when memory cannot be had, 87 when `offset` exceeds `extra`; `buffer` and
    // `bufferSize` are then untouched.
    static DWORD PackProfileData(QuorvelAudioProfile* profile, void** buffer, unsigned& bufferSize,
                                 unsigned extra, unsigned offset);

    // Read a whole-profile record of `size` bytes. Every size inside is checked.
    static DWORD UnpackProfileData_2(QuorvelAudioProfile* profile, _QuorvelProfileFullData* data,
                                     unsigned size);
    static DWORD UnpackProfileData_1(QuorvelAudioProfile* profile, _QuorvelProfileFullData* data,
                                     unsigned size);
};
