// Surround that can be switched on and off while sound plays.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/audio_buffer.h"
#include "blocks/bypass_block.h"
#include "blocks/matrix_decoder_block.h"
#include "engine/audio_block.h"

namespace quorvel {

#pragma pack(push, 1)
struct SurroundParameters {
    int32_t surroundOn = 1;  // 0: plain, else surround; but a negative later record
                             // fades to surround and is plain then
    MatrixDecoderParameters decoderParameters{};
};
#pragma pack(pop)
static_assert(sizeof(SurroundParameters) == 136);
static_assert(offsetof(SurroundParameters, decoderParameters) == 4);

// Holds a MatrixDecoderBlock, heard when surround is on, and a BypassBlock to stereo, heard when it
// is off and before the first record. The first record switches at once, each later change by a
// linear crossfade of one second; a change during a fade starts a new one from its beginning. In a
// fade, a block that writes nothing counts as silence; outside one, see AudioBlock::IsMute.
//
// The rest of the buffer in which a fade ends carries the decoder's signal, also at the end of a
// fade to the plain one, which takes over with the next buffer.
//
// Outside a fade one of the two blocks runs, in a fade both. Process then allocates when a buffer
// is longer than any faded before; without the memory that buffer carries the decoder's signal, as
// the decoder left it, and the fade goes on.
class SurroundBlock final : public AudioBlock {
  public:
    explicit SurroundBlock(const GUID& instanceId);

    // The widths and the mask are those of the BypassBlock: stereo goes out.
    int32_t GetInputChannels() const override;
    int32_t GetOutputChannels() const override;
    uint32_t GetChannelMask() const override;
    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // Takes SurroundParameters. Any values are accepted.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

    // For StartAfresh. Ends a fade.
    void ClearState() QUORVEL_REAL_TIME;

  private:
    void Switch(int32_t surroundOn);
    void ProcessFade(float* in, float* out, int32_t frames);
    void Crossfade(const float* outgoing, const float* incoming, float* out, int32_t count,
                   int32_t width);

    MatrixDecoderBlock decoder;
    BypassBlock plain;
    int32_t enabled = -1;  // surroundOn of the last record, 0 or 1 for the first; -1: there was
                           // none, or it was -1
    float fadeStep = 0.0f;
    float fadeInGain = 0.0f;
    float fadeOutGain = 0.0f;
    int32_t fadeRemaining = 0;  // frames; 0: no fade runs
    int32_t fadeFrames = 0;     // of a whole fade: one second
    AudioBuffer scratch{};      // the plain signal during a fade
};

}  // namespace quorvel
