// The class of the device enumerator, as CoCreateInstance finds it.
#pragma once

#include <memory>

#include "platform/portable/com/class_table.h"
#include "platform/simulation/machine/endpoint_objects.h"

namespace quorvel::simulation {

// Registered for its lifetime. It is not counted: who asked for it must be done with it before it
// goes; the enumerators may live on.
class EnumeratorClass final : public IClassFactory {
  public:
    // Throws std::bad_alloc.
    explicit EnumeratorClass(std::shared_ptr<EndpointTable> shared);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    // CLASS_E_NOAGGREGATION, E_NOINTERFACE, E_POINTER, E_OUTOFMEMORY, or the fault of
    // MachineStep::kCreateEnumerator.
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override;

    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

  private:
    const std::shared_ptr<EndpointTable> table;
    const platform::SystemClass registered;
};

}  // namespace quorvel::simulation
