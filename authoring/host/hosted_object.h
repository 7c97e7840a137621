// One processing object as the audio engine holds it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apo/com_reference.h"
#include "engine/sample_guard.h"
#include "platform/apo_interfaces.h"
#include "platform/simulation/machine/simulated_headset.h"

namespace quorvel::tool {

enum class HostedStage { kStream, kEndpoint };

struct HostedFormat {
    std::uint32_t channels = 2;
    std::uint32_t mask = 0;
    std::uint32_t sampleRate = 48000;  // Hz
};

// Found through the engine's registration, created through COM, initialised, negotiated with and
// locked; processing, and unlocked and released in the end. Everything but Process is for one
// control thread. Throws ToolError (invalid) with the failing step and its HRESULT.
class HostedObject {
  public:
    // `process` is the client's.
    HostedObject(simulation::SimulatedHeadset& headset, HostedStage stage, bool isOutput,
                 std::uint32_t process);
    ~HostedObject();
    HostedObject(const HostedObject&) = delete;
    HostedObject& operator=(const HostedObject&) = delete;

    // Asks for the input format, takes what is suggested instead and asks again; then locks for
    // buffers of up to `frames` frames. The mask of the input that was agreed on.
    std::uint32_t Lock(const HostedFormat& input, const HostedFormat& output, std::int32_t frames);
    void Unlock();

    // One buffer, on the real-time thread: from `in` to `out`, each as wide as its format. Frames
    // of a silent result are zeros in `out`; an invalid buffer leaves it alone.
    void Process(const float* in, float* out, std::int32_t frames, APO_BUFFER_FLAGS flags);

    // What the object's guard has caught so far, on a control thread.
    SampleGuard::Counts Caught() const;

    // "APOLFX Output Class" and the like, as registered.
    const std::string& Name() const { return name; }

  private:
    ComReference<IAudioMediaType> Negotiate(const HostedFormat& input, IAudioMediaType& output);

    std::string name;
    ComReference<IAudioProcessingObject> object;
    ComReference<IAudioProcessingObjectRT> runner;
    ComReference<IAudioProcessingObjectConfiguration> locker;
    std::vector<float> inBuffer;  // the engine's: noise is added in place
    std::vector<float> outBuffer;
    std::uint32_t inChannels = 0;
    std::uint32_t outChannels = 0;
};

}  // namespace quorvel::tool
