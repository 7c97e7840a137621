#include "authoring/host/host_session.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>

#include "apo/apo_gfx.h"
#include "apo/dll_exports.h"
#include "authoring/document/exit_status.h"
#include "authoring/document/profile_copy.h"
#include "authoring/document/progress_bar.h"
#include "authoring/document/speakers.h"
#include "authoring/host/worker_thread.h"
#include "base/channel_masks.h"
#include "engine/sample_check.h"
#include "platform/module_file.h"
#include "platform/portable/com/class_table.h"
#include "platform/portable/kernel/open_handle_count.h"
#include "platform/portable/registry/registry_tree.h"

namespace quorvel::tool {
namespace {

constexpr std::uint32_t kClientProcess = 4242;
constexpr char16_t kPlayer[] = u"C:\\Program Files\\Player\\player.exe";

constexpr std::int64_t kPieceFrames = 1 << 16;

void Require(DWORD error, const char* step) {
    if (error == ERROR_SUCCESS) return;
    throw InvalidInput(std::string("the driver refused ") + step + ": error " +
                       std::to_string(error));
}

// What the driver was told, in words; empty for what is not for a time line.
std::string NoticeWords(const simulation::StreamNotice& notice) {
    const auto word = [&](std::size_t offset) {
        return offset + 4 <= notice.bytes.size() ? simulation::LoadWord(notice.bytes, offset) : 0;
    };
    char text[160];
    switch (notice.code) {
        case 0x22B6FC:
            return word(4) ? "stream object for the headset" : "stream object for the microphone";
        case 0x22B6E8:
            std::snprintf(text, sizeof(text), "stream of process %u: %u channels (%s), %u Hz",
                          word(0), word(4) >> 16, SpeakerNames(word(24)).c_str(), word(8));
            return text;
        case 0x22B6F8:
            return "active channels: " + SpeakerNames(word(0));
        case 0x22B6EC:
            return "stream stopped";
        default:
            return {};
    }
}

}  // namespace

// One run: the objects in their order, and the thread that they process on.
class HostSession::Player {
  public:
    Player(HostSession& hostSession, AudioReader& audio, const TellEvent& tellEvent)
        : session(hostSession), options(session.options), reader(audio), tell(tellEvent) {
        if (options.hasStream) Add(HostedStage::kStream);
        if (options.hasEndpoint) Add(HostedStage::kEndpoint);
        if (options.hasStream) TellProfileOfStream();
        if (options.hasEndpoint) TellProfileOfEndpoint();
        TellNotices();
    }

    HostOutcome Run(AudioWriter& writer, std::vector<ProfileEdit> edits) {
        LockAll();
        ProgressBar progress(reader.Frames());
        const std::int64_t piece =
            std::max<std::int64_t>(kPieceFrames / options.frames, 1) * options.frames;
        std::vector<float> in(std::size_t(piece) * reader.Channels());
        std::vector<float> out(std::size_t(piece) * options.channels);
        pending = std::move(edits);
        for (std::int64_t got = piece; got == piece;) {
            got = reader.Read(in.data(), piece);
            outcome.input.Add({in.data(), std::size_t(got) * reader.Channels()}, kLoudestInput);
            Play(in.data(), out.data(), got);
            outcome.output.Add({out.data(), std::size_t(got) * options.channels});
            writer.Write(out.data(), got);
            progress.Show(outcome.frames);
        }
        Stop(in.data(), out.data());
        return outcome;
    }

  private:
    void Add(HostedStage stage) {
        objects.push_back(std::make_unique<HostedObject>(*session.headset, stage, options.isOutput,
                                                         kClientProcess));
        tell(0.0, "created " + objects.back()->Name());
    }

    void TellProfileOfStream() {
        QuorvelAudioProfile applied;
        const bool isFound =
            session.application.GetProfileForPID(kClientProcess, &applied) == ERROR_SUCCESS;
        const char* words = ": no profile has this path, its stream passes unprocessed";
        if (isFound)
            words = applied.id == session.stored.profile.id ? " has the stream's profile"
                                                            : " has the endpoint's profile";
        tell(0.0, ToUtf8(session.program).value_or("the client") + words);
    }

    void TellProfileOfEndpoint() {
        QuorvelAudioProfile applied;
        applied.id = kEndpointProfileId;
        const bool isFound = session.application.GetProfileData(&applied) == ERROR_SUCCESS;
        tell(0.0, isFound ? "the endpoint has its profile"
                          : "the endpoint has no profile, the mix passes unprocessed");
    }

    // Each object's output is the next one's input; all but the first are as wide as the output.
    void LockAll() {
        HostedFormat in{reader.Channels(), reader.Mask(), reader.SampleRate()};
        const HostedFormat out{options.channels, DefaultChannelMask(options.channels),
                               reader.SampleRate()};
        for (const auto& object : objects) {
            const std::uint32_t agreed = object->Lock(in, out, options.frames);
            if (agreed != in.mask) tell(0.0, "agreed on the input " + SpeakerNames(agreed));
            in = out;
        }
        TellNotices();
        between.assign(std::size_t(options.frames) * options.channels, 0.0f);
    }

    // A stream ends with a buffer that nobody filled, and is stopped.
    void Stop(const float* in, float* out) {
        realTime.Do([&] { objects.front()->Process(in, out, 0, BUFFER_INVALID); });
        for (const auto& object : objects) {
            object->Unlock();
            outcome.caught.push_back({object->Name(), object->Caught()});
        }
        TellNotices();
        outcome.unmade.assign(pending.begin() + std::ptrdiff_t(nextEdit), pending.end());
    }

    // Buffer after buffer on the real-time thread; between two of them the driver and the
    // configuration application have their turn.
    void Play(const float* in, float* out, std::int64_t frames) {
        std::fill_n(out, std::size_t(frames) * options.channels, 0.0f);
        for (std::int64_t first = 0; first < frames; first += options.frames) {
            MakeDueEdits();
            const auto count =
                static_cast<std::int32_t>(std::min<std::int64_t>(options.frames, frames - first));
            realTime.Do([&] {
                PlayBuffer(in + first * reader.Channels(), out + first * options.channels, count);
            });
            TellNotices();
            outcome.frames += count;
        }
    }

    void PlayBuffer(const float* in, float* out, std::int32_t frames) {
        const std::size_t samples = std::size_t(frames) * reader.Channels();
        const bool isSilent = std::all_of(in, in + samples, [](float x) { return x == 0.0f; });
        APO_BUFFER_FLAGS flags = isSilent ? BUFFER_SILENT : BUFFER_VALID;
        for (std::size_t i = 0; i < objects.size(); ++i) {
            float* const to = i + 1 == objects.size() ? out : between.data();
            objects[i]->Process(in, to, frames, flags);
            in = to;
        }
    }

    double Now() const {
        return static_cast<double>(outcome.frames) / static_cast<double>(reader.SampleRate());
    }
    bool IsEditDue() const {
        return nextEdit < pending.size() && pending[nextEdit].atSeconds <= Now();
    }

    // What lies between edits at one time is never heard.
    void MakeDueEdits() {
        if (!IsEditDue()) return;
        for (; IsEditDue(); ++nextEdit) {
            for (const DriverRequest& request : pending[nextEdit].requests)
                Require(request(session.application), pending[nextEdit].words.c_str());
            WaitUntilHeard();
            tell(Now(), "edit: " + pending[nextEdit].words + pending[nextEdit].remark);
        }
        TellFault(pending[nextEdit - 1].fault);
    }

    void TellFault(const std::string& present) {
        if (present == fault) return;
        fault = present;
        tell(Now(), fault.empty() ? "all of the chain runs again" : fault);
    }

    void WaitUntilHeard() const {
        using namespace std::chrono_literals;
        for (int i = 0; i < 10000 && !session.headset->driver.IsHeard(); ++i)
            std::this_thread::sleep_for(1ms);
    }

    void TellNotices() {
        const auto notices = session.headset->driver.Core().GetStreamNotices();
        // Old ones are forgotten: the count only grows until then.
        for (; told < notices.size(); ++told) {
            const std::string words = NoticeWords(notices[told]);
            if (!words.empty()) tell(Now(), words);
        }
    }

    HostSession& session;
    const HostOptions& options;
    AudioReader& reader;
    const TellEvent& tell;
    std::vector<std::unique_ptr<HostedObject>> objects;
    std::vector<float> between;
    std::vector<ProfileEdit> pending;
    std::size_t nextEdit = 0;
    std::string fault;  // of the chain as it is now, that was told
    std::size_t told = 0;
    HostOutcome outcome;
    WorkerThread realTime;
};

HostSession::HostSession(const HostOptions& hostOptions, NamedProfile& named)
    : options(hostOptions),
      handlesBefore(platform::OpenHandleCount()),
      headset(std::make_unique<simulation::SimulatedHeadset>()) {
    headset->machine.SetClock(options.seed);
    platform::SetModuleFile(platform::ModuleFile(), DllGetClassObject);
    if (FAILED(DllRegisterServer())) throw InvalidInput("the module cannot be registered");
    Require(application.Open(headset->DriverPath().c_str(), nullptr), "to be opened");

    program = ToUtf16(options.client);
    if (program.empty() && named.profile.PathsCount() > 0 && named.profile.Path(0))
        program = named.profile.Path(0);
    if (program.empty()) {
        program = kPlayer;
        named.profile.AddPath(kPlayer);
    }
    stored.names = named.names;
    stored.profile =
        CopyProfileAs(options.hasStream ? named.profile.id : kEndpointProfileId, named.profile);
    Store(stored.profile);
    headset->StartProgram(kClientProcess, program);
}

HostSession::~HostSession() {
    application.Close();
    platform::SetModuleFile(platform::ModuleFile(), nullptr);
    platform::ClearRegistry();
}

void HostSession::Store(QuorvelAudioProfile& profile) {
    Require(application.SetProfileData(&profile), "the profile");
}

void HostSession::StoreEndpointProfile(QuorvelAudioProfile& profile) {
    QuorvelAudioProfile copy = CopyProfileAs(kEndpointProfileId, profile);
    Store(copy);
}

HostOutcome HostSession::Run(AudioReader& reader, AudioWriter& writer,
                             std::vector<ProfileEdit> edits, const TellEvent& tell) {
    return Player(*this, reader, tell).Run(writer, std::move(edits));
}

std::string HostSession::TakeDown() {
    std::string alive;
    const auto expect = [&](bool isGone, const char* what) {
        if (!isGone) alive += (alive.empty() ? "" : ", ") + std::string(what);
    };
    expect(SUCCEEDED(DllUnregisterServer()), "the registration");
    expect(DllCanUnloadNow() == S_OK, "objects of the module");
    expect(headset->machine.NotificationClients() == 0, "notification clients");
    expect(headset->machine.LiveObjects() == 0, "endpoint objects");
    application.Close();
    headset.reset();
    expect(platform::OpenHandleCount() == handlesBefore, "handles");
    expect(platform::OpenRegistryKeys() == 0, "registry keys");
    expect(platform::RegistryKeys(u"CLSID").empty(), "class keys");
    return alive;
}

}  // namespace quorvel::tool
