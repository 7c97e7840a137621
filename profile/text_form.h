// The printable text form of a profile.
//
// Base64 (profile/base64.h) of an envelope around the whole-profile record:
//   0       16  header mark {36E7FAB7-AC5D-4922-85C5-B28E1E509882}
//   16       2  format version: 2 is written; 1 and 2 are read
//   18       4  HashProfile of the record
//   22       n  whole-profile record of that version
//   22 + n  16  trailer mark {85DF87D3-8AAA-44A9-A79F-B69EF016E7FE}
#pragma once

#include "platform/windows_api.h"
#include "profile/heap_array.h"

class QuorvelAudioProfile;

namespace quorvel {

// The zero-terminated text form; null when memory cannot be had or the profile exceeds 4 GiB.
// Readers refuse a profile whose id is not that of its chains; see PackProfile.
HeapArray<char> EncodeProfile(const QuorvelAudioProfile& profile);

// Reads the zero-terminated text form `text` into `profile` as UnpackProfile or UnpackProfile1
// does; chains that `profile` had keep their profileId. Nothing is changed before marks, version
// and hash are found good.
//   0     done
//   87    `text` is null or empty
//   13    not the text form, or damaged, or refused by the reader of the record
//   1305  a format version above 2
//   8     memory cannot be had
DWORD DecodeProfile(const char* text, QuorvelAudioProfile& profile);

}  // namespace quorvel
