// The four classes that the audio engine creates: stream and endpoint effects of the headset's
// output and of its microphone.
#pragma once

#include <span>

#include "apo/apo_gfx.h"
#include "apo/apo_lfx.h"
#include "apo/com_object.h"

namespace quorvel {

// What each class is registered with; no operations of their own.
struct IAPOLFXOUT : IUnknown {
  protected:
    ~IAPOLFXOUT() = default;
};
struct IAPOGFXOUT : IUnknown {
  protected:
    ~IAPOGFXOUT() = default;
};
struct IAPOLFXIN : IUnknown {
  protected:
    ~IAPOLFXIN() = default;
};
struct IAPOGFXIN : IUnknown {
  protected:
    ~IAPOGFXIN() = default;
};

class APOLFXOUT : public APOLFX, public IAPOLFXOUT {
  public:
    APOLFXOUT();
    static std::span<const InterfaceEntry> InterfaceMap();

    std::span<const GUID> GetEffectIds() override;
    DWORD GetChainId() override;
    bool IsOutput() override;
    bool UsesChannelHoldTime() override;
    const CLSID& GetClassId() override;
};

class APOGFXOUT : public APOGFX, public IAPOGFXOUT {
  public:
    APOGFXOUT();
    static std::span<const InterfaceEntry> InterfaceMap();

    std::span<const GUID> GetEffectIds() override;
    DWORD GetChainId() override;
    bool IsOutput() override;
};

class APOLFXIN : public APOLFX, public IAPOLFXIN {
  public:
    APOLFXIN();
    static std::span<const InterfaceEntry> InterfaceMap();

    std::span<const GUID> GetEffectIds() override;
    DWORD GetChainId() override;
    bool IsOutput() override;
    const CLSID& GetClassId() override;
};

class APOGFXIN : public APOGFX, public IAPOGFXIN {
  public:
    APOGFXIN();
    static std::span<const InterfaceEntry> InterfaceMap();

    std::span<const GUID> GetEffectIds() override;
    DWORD GetChainId() override;
    bool IsOutput() override;
};

}  // namespace quorvel
