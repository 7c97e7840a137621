// The audio engine, the headset and a configuration application around a file of sound.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "authoring/document/utf16_text.h"
#include "authoring/host/hosted_object.h"
#include "authoring/host/profile_edits.h"
#include "authoring/render/audio_reader.h"
#include "authoring/render/audio_writer.h"
#include "authoring/render/sample_meter.h"
#include "client/quorvel_audio_device.h"
#include "platform/simulation/machine/simulated_headset.h"

namespace quorvel::tool {

struct HostOptions {
    bool isOutput = true;
    bool hasStream = true;
    bool hasEndpoint = false;
    std::string client{};  // path of the program; empty: the profile's first, or a player's
    std::uint32_t channels = 2;
    std::int32_t frames = 0;  // in a buffer; 0: 10 ms
    std::uint32_t seed = 0;   // the machine's clock, seconds since 1970
};

// Something for the time line, at a second of the sound.
using TellEvent = std::function<void(double second, const std::string& words)>;

// What an object's guard caught in the run.
struct CaughtByObject {
    std::string object{};  // as registered
    SampleGuard::Counts counts{};
};

struct HostOutcome {
    std::int64_t frames = 0;
    SampleMeter input{};
    SampleMeter output{};
    std::vector<CaughtByObject> caught{};  // in the order of the objects
    std::vector<ProfileEdit> unmade{};     // due behind the beginning of the last buffer
};

// Registers the module, stores the profile, creates the objects, and takes everything down again.
// The objects' stage runs on a thread of its own, buffer after buffer; an edit that is due waits
// for its buffer's end and is heard by the objects before the next. So a run can be repeated bit
// for bit. The time line begins with whose profile applies; behind edits it says when the sound
// passes unprocessed or something of the chain is left out, and when that is over. Throws
// ToolError.
class HostSession {
  public:
    // `named` is stored as the client's profile, or as the endpoint's when there is no stream;
    // `edits` are made of it.
    HostSession(const HostOptions& hostOptions, NamedProfile& named);
    ~HostSession();
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    // Stores another profile for the endpoint's objects.
    void StoreEndpointProfile(QuorvelAudioProfile& profile);

    // The stored profile, for reading edits.
    const NamedProfile& Stored() const { return stored; }

    HostOutcome Run(AudioReader& reader, AudioWriter& writer, std::vector<ProfileEdit> edits,
                    const TellEvent& tell);

    // Unregisters and says what is still alive; empty when nothing is.
    std::string TakeDown();

  private:
    class Player;

    void Store(QuorvelAudioProfile& profile);

    const HostOptions options;
    const std::size_t handlesBefore;
    std::unique_ptr<simulation::SimulatedHeadset> headset;
    QuorvelAudioDevice application;
    NamedProfile stored;
    WideText program;  // the client's path
};

}  // namespace quorvel::tool
