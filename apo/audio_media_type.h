// A format as the audio engine hands it around.
#pragma once

#include "platform/apo_interfaces.h"

namespace quorvel {

// A media type that gives `format` back as it is, and as a wave format: a plain record for one or
// two channels, an extensible one above. One reference is the caller's. E_OUTOFMEMORY; E_INVALIDARG
// when no wave format holds the channels or the size of a frame.
HRESULT CreateAudioMediaType(const UNCOMPRESSEDAUDIOFORMAT& format, IAudioMediaType** mediaType);

// A media type that gives `format`, plain or extensible, back as it is. Its uncompressed form has
// the mask and the valid bits of an extensible record; a plain one has no mask (0) and uses all
// bits of its samples. Other tags than PCM, float and extensible are refused with E_INVALIDARG.
HRESULT CreateAudioMediaType(const WAVEFORMATEX& format, IAudioMediaType** mediaType);

// The answer to a format query: S_OK and `requested` with a reference more, or, when the query
// changed it to `format`, S_FALSE and a new media type. Null and an error when that cannot be made.
HRESULT AnswerFormatQuery(IAudioMediaType* requested, bool isChanged,
                          const UNCOMPRESSEDAUDIOFORMAT& format, IAudioMediaType** answer);

}  // namespace quorvel
