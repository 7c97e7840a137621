// The interface of the headphone-surround engine that comes in a library of its own.
//
// Who calls an engine serialises the calls: it has no lock. Render is real-time, and so are all
// setters of an engine that is to be used with changing parameters.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/real_time.h"

// Eighteen operations, known by their slots in the virtual table; only the odd ones and the first
// one are used. A channel position is the place of a channel in a frame of the configured layout.
//
// Speaker configurations: 1 stereo, 2 quad (0x33), 3 5.1 (0x3F), 4 7.1 (0x63F).
class INineEarsSurroundSound {
  public:
    // Ends the engine's life.
    virtual void Destroy() = 0;

    virtual void SetSampleRate(int32_t sampleRate) = 0;  // Hz
    virtual void Unused2() {}

    // 0 when the configuration is accepted.
    virtual int32_t SetSpeakerConfiguration(int32_t code) = 0;
    virtual void Unused4() {}

    virtual void SetSwitchB(int32_t isOn) = 0;  // 0 or 1
    virtual void Unused6() {}

    virtual void SetEffectEnabled(int32_t isOn) = 0;  // 0 or 1
    virtual void Unused8() {}

    virtual void SetValueA(float value) = 0;
    virtual void Unused10() {}

    // Eight azimuths in degrees by channel position, positive to the left.
    virtual void SetSpeakerAngles(const float* angles) = 0;
    virtual void Unused12() {}

    // Eight values by channel position.
    virtual void SetChannelValues(const float* values) = 0;
    virtual void Unused14() {}

    virtual void SetValueB(float value) = 0;
    virtual void Unused16() {}

    // Renders `in` (frames × channels of the layout) into `out` (frames × 2). They do not overlap.
    virtual void Render(const float* in, int32_t frames, float* out) QUORVEL_REAL_TIME = 0;

  protected:
    ~INineEarsSurroundSound() = default;
};

namespace quorvel {

struct ExternalEngineRelease {
    void operator()(INineEarsSurroundSound* engine) const;
};
using ExternalEngine = std::unique_ptr<INineEarsSurroundSound, ExternalEngineRelease>;

// A new engine: of the external library where that is loaded (external_library.h) and makes one,
// else the substitute (substitute_engine.h); empty when there is no memory for that either.
// Allocates; for control threads.
ExternalEngine CreateExternalEngine();

}  // namespace quorvel
