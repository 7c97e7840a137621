#include "platform/simulation/machine/enumerator_class.h"

#include <new>
#include <utility>

#include "platform/interface_ids.h"

namespace quorvel::simulation {

EnumeratorClass::EnumeratorClass(std::shared_ptr<EndpointTable> shared)
    : table(std::move(shared)), registered(class_id::kDeviceEnumerator, *this) {}

HRESULT EnumeratorClass::QueryInterface(REFIID iid, void** object) {
    if (!object) return E_POINTER;
    const bool isKnown = iid == interface_id::kUnknown || iid == interface_id::kClassFactory;
    *object = isKnown ? static_cast<IClassFactory*>(this) : nullptr;
    return isKnown ? S_OK : E_NOINTERFACE;
}

HRESULT EnumeratorClass::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    if (const HRESULT error = table->Fault(platform::MachineStep::kCreateEnumerator)) return error;
    try {
        IMMDeviceEnumerator* const made = MakeEnumerator(table);
        const HRESULT result = made->QueryInterface(iid, object);
        made->Release();
        return result;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace quorvel::simulation
