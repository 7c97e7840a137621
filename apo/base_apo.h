// The audio processing object of the headset: a graph of blocks, fed by the audio engine,
// configured by a profile of the driver.
//
// Threads
//   real-time thread  APOProcess
//   control threads   everything else that the engine calls, never while the object processes
//   events thread     the driver's events, while the engine does any of the above
//   reporter's thread the channels in use, while the object is locked: ActiveChannelReporter
//
// Locks, in this order: the base lock, `profileLock`, `processLock`. The first two are never taken
// on the real-time thread. `profileLock` guards the profile and the flag beside it; `processLock`
// guards the graph, and is what the real-time thread takes. Neither is held while the driver is
// asked, but for `profileLock` when events have made eight fetches of a profile old. The driver's
// client has no lock; the lock of the device beneath it comes last.
#pragma once

#include <memory>
#include <optional>
#include <span>

#include "apo/active_channel_reporter.h"
#include "apo/base_audio_processing_object.h"
#include "apo/com_reference.h"
#include "apo/process_lock.h"
#include "client/quorvel_audio_device.h"
#include "dsp/surround/external_library.h"
#include "engine/audio_graph.h"
#include "engine/sample_guard.h"
#include "platform/windows_api.h"
#include "profile/quorvel_audio_profile.h"

namespace quorvel {

class BaseAPO : public CBaseAudioProcessingObject,
                public IQuorvelAudioDeviceEventsListener,
                public IMMNotificationClient,
                public IAudioSystemEffects2 {
  public:
    // Throws std::bad_alloc.
    explicit BaseAPO(const APO_REG_PROPERTIES& properties);
    ~BaseAPO() override;

    // Ends what calls the object from other threads while it is whole. Waits for requests that the
    // driver has not answered.
    void FinalRelease();

    // --- IAudioProcessingObject ---
    // Finds and opens the driver behind the engine's devices (`pbyData`: APOInitSystemEffects or
    // APOInitSystemEffects2, recognised by its size) and prepares the graph. May be called again.
    // What was done before a failure stays done.
    //   E_POINTER, E_INVALIDARG             sizes and data that do not go together
    //   HRESULT_FROM_WIN32(ERROR_NOT_FOUND) no driver behind the devices
    //   HRESULT_FROM_WIN32(ERROR_INVALID_STATE) the driver is switched off
    //   others                              the system's or the driver's own
    HRESULT STDMETHODCALLTYPE Initialize(UINT32 cbDataSize, BYTE* pbyData) override;

    // With an opposite format: APOERR_FORMAT_NOT_SUPPORTED when that is no default format, or when
    // the requested channel count is in no mask table; a foreign rate or mask is answered with
    // S_FALSE and the nearest. Without one the mask is not looked at. E_POINTER.
    HRESULT STDMETHODCALLTYPE
    IsInputFormatSupported(IAudioMediaType* pOppositeFormat, IAudioMediaType* pRequestedInputFormat,
                           IAudioMediaType** ppSupportedInputFormat) override;

    // The ids of the object's effects, for each class its own.
    virtual std::span<const GUID> GetEffectIds() = 0;

    // Hear of what happens to the stream, on control threads; the first on the reporter's thread,
    // and only in objects that have a reporter. The results of the driver are for derived classes;
    // nobody here looks at them.
    virtual DWORD NotifyActiveChannels(DWORD mask);
    virtual DWORD NotifyStreamFormat(const WAVEFORMATEXTENSIBLE& input, const WAVEFORMATEX* output);
    virtual DWORD NotifyStreamUnlocked();

    virtual DWORD GetChainId() = 0;      // the profile's chain that the object runs
    virtual bool IsOutput() = 0;         // sound for the headset, not from its microphone
    virtual bool UsesChannelHoldTime();  // the processing width follows the channels in use

    // --- IAudioProcessingObjectRT ---
    // Runs the graph over a valid buffer, resets it for a silent one, leaves an invalid one alone.
    // Whatever samples come in, those that go out are finite (engine/sample_guard.h).
    // Buffers are 32-bit floats, frames × channels of the locked formats; in and out may be one.
    // Allocates nothing but what AudioGraph::Process may, takes no lock but `processLock`, and
    // waits for nobody: a change of the active channels is handed to the reporter.
    void STDMETHODCALLTYPE
    APOProcess(UINT32 u32NumInputConnections, APO_CONNECTION_PROPERTY** ppInputConnections,
               UINT32 u32NumOutputConnections,
               APO_CONNECTION_PROPERTY** ppOutputConnections) QUORVEL_REAL_TIME override;

    // --- IAudioProcessingObjectConfiguration ---
    // What the base says; then, unless the graph is prepared already, builds it from the profile.
    // E_OUTOFMEMORY when there is no memory for all of that, or no thread for the reporter. After a
    // failure the object is not locked.
    HRESULT STDMETHODCALLTYPE LockForProcess(
        UINT32 u32NumInputConnections, APO_CONNECTION_DESCRIPTOR** ppInputConnections,
        UINT32 u32NumOutputConnections, APO_CONNECTION_DESCRIPTOR** ppOutputConnections) override;
    HRESULT STDMETHODCALLTYPE UnlockForProcess() override;

    // What was caught of bad samples since the object was made. For a control thread, while the
    // object does not process.
    const SampleGuard::Counts& CaughtSamples() const { return guard.Caught(); }

    // --- IQuorvelAudioDeviceEventsListener, on the events thread ---
    // Follows changes of the profile and of the blocks and links of the object's chain. A change
    // that cannot be fetched or applied is ignored, and so is a block, a link or a changed record
    // beyond the limits (engine/limits.h).
    void OnQuorvelAudioDeviceEvent(SYSTEMTIME time, QuorvelDriverEvents event, void* data) override;

    // Lets the device go; processing goes on with the last graph.
    bool OnQuorvelAudioDeviceRemoval() override;

    // --- IMMNotificationClient: S_OK, nothing is done ---
    HRESULT STDMETHODCALLTYPE OnDeviceStateChanged(LPCWSTR id, DWORD state) override;
    HRESULT STDMETHODCALLTYPE OnDeviceAdded(LPCWSTR id) override;
    HRESULT STDMETHODCALLTYPE OnDeviceRemoved(LPCWSTR id) override;
    HRESULT STDMETHODCALLTYPE OnDefaultDeviceChanged(EDataFlow flow, ERole role,
                                                     LPCWSTR id) override;
    HRESULT STDMETHODCALLTYPE OnPropertyValueChanged(LPCWSTR id, const PROPERTYKEY key) override;

    // --- IAudioSystemEffects2 ---
    // The effects, in a block to be released with CoTaskMemFree; null and 0 when the driver is
    // switched off. The event is ignored: the list never changes. E_POINTER, E_OUTOFMEMORY.
    HRESULT STDMETHODCALLTYPE GetEffectsList(LPGUID* ppEffectsIds, UINT* pcEffects,
                                             HANDLE Event) override;

  protected:
    // Replaces the graph's blocks and links by those of the profile's chain. Both locks must be
    // held. Throws std::bad_alloc, or leaves blocks out; ChangeWhole of the graph notices both.
    void BuildGraphFromProfile();

    // The same, with the locks taken here. Without memory the graph runs on as it was.
    void RebuildGraph() noexcept;

    // Lets the graph follow a change that the profile holds already: `change()` edits it. Without
    // memory the graph runs on as it was, `undo()` takes back what blocks were told, and the next
    // change or lock builds the graph anew. profileLock must be held.
    template <typename Change, typename Undo>
    void ChangeGraph(Change&& change, Undo&& undo) noexcept;
    template <typename Change>
    void ChangeGraph(Change&& change) noexcept {
        ChangeGraph(change, [] {});
    }

    // The profile's id, under its lock.
    GUID ProfileId();

    // How often a profile is asked for because events arrived before it could be stored; the last
    // time they wait until it is.
    static constexpr int kMostFetches = 8;

    std::optional<ExternalLibrary> surroundLibrary;  // outlives the graph, whose blocks may need it
    AudioGraph graph;
    ProcessLock processLock;
    platform::CriticalSection profileLock;

    bool isProfilePending = false;  // the profile holds what the graph does not have yet
    UINT32 inputChannelCount = 0;
    UINT32 outputChannelCount = 0;
    UNCOMPRESSEDAUDIOFORMAT inputFormat{};
    UNCOMPRESSEDAUDIOFORMAT outputFormat{};
    bool isGraphPrepared = false;  // built, with its formats, for the lock that is on
    RTL_OSVERSIONINFOEXW osVersion{};
    bool isDriverEnabled = false;
    std::unique_ptr<QuorvelAudioDevice> device;  // null when no driver is open
    QuorvelAudioProfile profile;
    std::uint32_t driverEventCount = 0;  // events that have begun to be handled, under profileLock
    ComReference<IMMDeviceEnumerator> deviceEnumerator;
    UINT32 lastActiveChannels = 0;                           // channel mask, of this lock
    std::unique_ptr<ActiveChannelReporter> channelReporter;  // null: nobody is told
    SampleGuard guard;                                       // of the graph

  private:
    struct BlockEvent;

    bool hearsNotifications = false;  // the enumerator knows this object

    // base_apo_initialize.cpp
    HRESULT OpenDriver(const WCHAR* path);
    void CloseDriver();
    void StopNotifications();
    void PrepareGraph();

    // base_apo_formats.cpp
    HRESULT ReadFormats(const APO_CONNECTION_DESCRIPTOR& input,
                        const APO_CONNECTION_DESCRIPTOR& output);
    WAVEFORMATEXTENSIBLE StreamFormat() const;
    HRESULT PrepareForProcess(const WAVEFORMATEX* input, const WAVEFORMATEX* output);
    void BuildLockedGraph(const WAVEFORMATEX* input, const WAVEFORMATEX* output);

    // base_apo_process.cpp
    void ProcessValid(const APO_CONNECTION_PROPERTY& input, UINT32 outputs,
                      APO_CONNECTION_PROPERTY** outputConnections) QUORVEL_REAL_TIME;
    void ProcessSilent(const APO_CONNECTION_PROPERTY& input, UINT32 outputs,
                       APO_CONNECTION_PROPERTY** outputConnections) QUORVEL_REAL_TIME;
    void FollowActiveChannels(UINT32 mask) QUORVEL_REAL_TIME;

    // base_apo_events.cpp
    void FetchProfile(const GUID& profileId);
    QuorvelAudioBlocksChain* FindEditedChain(const BlockEvent& event);
    void AddBlock(const BlockEvent& event);
    void ChangeBlock(const BlockEvent& event);
    void ChangeParameters(QuorvelAudioBlock& known, QuorvelAudioBlock& fetched);
    BlockReference FindRunningBlock(const GUID& blockId);
    void ReplaceBlock(const QuorvelAudioBlock& block);
    void RemoveBlock(const BlockEvent& event);
    void AddLink(const BlockEvent& event);
    void RemoveLink(const BlockEvent& event);
};

}  // namespace quorvel
