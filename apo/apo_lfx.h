// Stream objects: the sound of one client program.
#pragma once

#include <string>

#include "apo/base_apo.h"

namespace quorvel {

// The profile of a stream whose program no other profile applies to. A stream that has it asks
// again at every change of assignments.
extern const GUID kFallbackProfileId;

class APOLFX : public BaseAPO {
  public:
    // Throws std::bad_alloc.
    explicit APOLFX(const APO_REG_PROPERTIES& properties);

    // What the base says; then finds the client program, loads its profile and tells the driver of
    // the stream. The driver's refusal is the result, as an HRESULT.
    HRESULT STDMETHODCALLTYPE Initialize(UINT32 cbDataSize, BYTE* pbyData) override;

    // Tell the driver; the result is the driver's, without a driver `mask` or 0.
    DWORD NotifyActiveChannels(DWORD mask) override;
    DWORD NotifyStreamFormat(const WAVEFORMATEXTENSIBLE& input,
                             const WAVEFORMATEX* output) override;
    DWORD NotifyStreamUnlocked() override;

    // What the base does; then, where the event may give the client another profile, asks for it.
    void OnQuorvelAudioDeviceEvent(SYSTEMTIME time, QuorvelDriverEvents event, void* data) override;

    virtual const CLSID& GetClassId() = 0;

  private:
    void ProbeClientProcess();

    // Whether the driver has another profile, or another state of it, for the client.
    bool ReloadProfileForClient();

    DWORD clientProcessId = 0;  // 0 as long as nothing was found; under profileLock
    std::basic_string<WCHAR> clientImagePath;
};

}  // namespace quorvel
