// Surround and stereo on headphones: an optional matrix decoder before a stereo renderer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/audio_buffer.h"
#include "dsp/surround/delay_lines.h"
#include "dsp/surround/matrix_decoder_stage.h"
#include "dsp/surround/stereo_renderer_stage.h"
#include "engine/audio_block.h"

namespace quorvel {

// The options are those of dsp/surround/decoder_options.h: what they do, and in which mode.
#pragma pack(push, 1)
struct MatrixDecoderParameters {
    uint32_t decodeEnabled = 1;  // 0: the input goes to the renderer as it is
    uint32_t decodeMode = 0;     // 0, 1 or 2; with any other the decoder is unusable
    uint32_t option2 = 0;        // rear share, 0 to 15; the low 16 bits count
    uint32_t option3 = 7;        // spread, 0 to 15
    uint32_t option4 = 0;        // wraps, unless 0
    uint32_t option5 = 1;        // balances, unless 0
    uint32_t option6 = 0;        // brisk, unless 0
    uint32_t option7 = 0;        // the back pair only, unless 0
    uint32_t delaysEnabled = 1;  // delays what the decoder gives, unless 0
    // In milliseconds, by mode and by slot: front left, front right, front centre, low frequency,
    // back left, back right, side left, side right.
    uint32_t outputDelaysMs[3][8] = {{}, {0, 0, 0, 0, 10, 10, 10, 10}, {}};
};
#pragma pack(pop)
static_assert(sizeof(MatrixDecoderParameters) == 132);
static_assert(offsetof(MatrixDecoderParameters, delaysEnabled) == 32);
static_assert(offsetof(MatrixDecoderParameters, outputDelaysMs) == 36);

// The pair that is decoded, and what becomes of the rest, depends on the input:
//
//     two channels, or mask 0x3   front left and right
//     0x33 (quad)                 back left and right; the fronts are kept, 5 ms late
//     0x3F, 0x60F (5.1)           the surround pair; the four others are kept, 5 ms late
//     any other                   nothing is decoded
//
// The decoded frame then goes to the renderer as 7.1, else the input as it is. For quad and 5.1 the
// decoder's fronts become the sides and its sides the backs; for quad the latter take
// the places of the centre and the low frequencies: profiles are tuned to that image. The decoder
// sends nothing to outputs that have no place in this frame: of a surround pair it makes no
// centre and one rear pair.
//
// The renderer takes the masks 0x4, 0x3, 0xB, 0x33, 0x107, 0x3F, 0x60F, 0xFF and 0x63F; for any
// other, and for a mask with more speakers than the input has channels, nothing is written. What it
// gives is raised by 6 dB.
//
// A decoder that is not usable, for its mode, its sample rate (32, 44.1, 48, 64, 88.2, 96, 176.4
// and 192 kHz are) or for want of memory, stays so until the next SetFormat. A call of more than
// 32767 frames is not decoded whole: the decoder counts them in 16 bits.
//
// New options take effect at the next Process. Sound goes on while the decoder glides to them, for
// 40 ms; a delay that changes begins with silence, all others go on. SetFormat, and switching
// decoding on again, let the decoder and all delays start from silence.
//
// Process allocates when a call brings more frames than any before, and when delays change. Without
// the memory a call that needs it writes nothing, or is not decoded or delayed.
class MatrixDecoderBlock final : public AudioBlock {
  public:
    explicit MatrixDecoderBlock(const GUID& instanceId);

    int32_t GetInputChannels() const override;
    int32_t GetOutputChannels() const override;
    uint32_t GetChannelMask() const override;
    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // Takes MatrixDecoderParameters. Any values are accepted.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

    // For StartAfresh. Both stages are set up again, which takes some sines and powers.
    void ClearState() QUORVEL_REAL_TIME;

  private:
    struct Layout;
    static const Layout* FindLayout(uint32_t width, uint32_t mask);

    void SetUpDecoder();
    void StartFromSilence();
    bool Decode(const float* in, int32_t frames);
    void BuildDelays(const Layout& layout);
    void RunDecoder(const Layout& layout, const float* in, int32_t frames);
    void JoinDiscreteChannels(const Layout& layout, const float* in, int32_t frames);
    void Render(const float* in, uint32_t width, uint32_t mask, float* out, int32_t frames);

    alignas(uint32_t) MatrixDecoderParameters settings{};
    bool decoderChanged = false;  // must be set up again
    bool decoderReady = false;
    bool decoderRested = false;  // a call was not decoded, so that its past has a gap
    MatrixDecoderConfiguration decoder{};
    StereoRendererState renderer{};
    DelayLines decodedDelays{};
    DelayLines discreteDelays{};
    AudioBuffer decoded{};        // frames × 8
    AudioBuffer rendererInput{};  // frames × the renderer's channels
    alignas(float) std::byte decoderMemory[kMatrixDecoderMemory] = {};
    alignas(float) std::byte rendererMemory[kStereoRendererMemory] = {};
};

}  // namespace quorvel
