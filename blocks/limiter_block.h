// A look-ahead limiter for all channels together.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dsp/dynamics/simple_limit.h"
#include "engine/audio_block.h"

namespace quorvel {

#pragma pack(push, 1)
struct LimiterParameters {
    float thresholdDb = 0.0f;  // dB of full scale: the ceiling
    uint32_t attackMs = 0;     // ms; also the look-ahead, by which audio is delayed; 0 acts as 1
    uint32_t releaseMs = 0;    // ms; 0 acts as 1
};
#pragma pack(pop)
static_assert(sizeof(LimiterParameters) == 12);
static_assert(offsetof(LimiterParameters, attackMs) == 4);
static_assert(offsetof(LimiterParameters, releaseMs) == 8);

// Every frame gets one gain, keyed by its largest sample; audio comes out delayed by the look-ahead
// (dynamics::SimpleLimit, which is a member: a block never lacks it).
//
// Parameters act from the next frame. A record and a format rebuild the delay lines, which
// allocates and gives a look-ahead of silence; the gain goes on from where it is. Both survive
// Reset, not StartAfresh. While there are no delay lines (a rate of 0, an attack beyond
// SimpleLimit's bounds, no memory) `out` is left unwritten, see AudioBlock::IsMute.
class LimiterBlock final : public AudioBlock {
  public:
    explicit LimiterBlock(const GUID& instanceId);

    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // Takes LimiterParameters. Any values are accepted.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

    // For StartAfresh.
    void ClearState() QUORVEL_REAL_TIME { limiter.StartAfresh(); }

  private:
    dynamics::SimpleLimit limiter;
};

}  // namespace quorvel
