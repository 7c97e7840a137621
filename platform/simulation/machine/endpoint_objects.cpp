#include "platform/simulation/machine/endpoint_objects.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "platform/interface_ids.h"

namespace quorvel::simulation {
namespace {

using platform::MachineStep;

constexpr DWORD kActive = 1;  // state of every endpoint

bool operator==(const PROPERTYKEY& a, const PROPERTYKEY& b) {
    return a.fmtid == b.fmtid && a.pid == b.pid;
}

// A copy from CoTaskMemAlloc, null when it cannot be had.
LPWSTR CopyOf(const std::u16string& text) {
    const std::size_t size = (text.size() + 1) * sizeof(WCHAR);
    void* const copy = CoTaskMemAlloc(size);
    if (copy) std::memcpy(copy, text.c_str(), size);
    return static_cast<LPWSTR>(copy);
}

// Makes `Object` and hands it out; E_OUTOFMEMORY.
template <typename Object, typename Interface, typename... Parts>
HRESULT HandOut(Interface** object, Parts&&... parts) {
    *object = new (std::nothrow) Object(std::forward<Parts>(parts)...);
    return *object ? S_OK : E_OUTOFMEMORY;
}

// Identity, references and the table's count of an object with one interface, which may be asked
// for when its identifier is given.
template <typename Interface>
class EndpointObject : public Interface {
  public:
    explicit EndpointObject(std::shared_ptr<EndpointTable> shared, const IID* own = nullptr)
        : table(std::move(shared)), ownId(own) {
        ++table->liveObjects;
    }
    EndpointObject(const EndpointObject&) = delete;
    EndpointObject& operator=(const EndpointObject&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        const bool isKnown = iid == interface_id::kUnknown || (ownId && iid == *ownId);
        *object = isKnown ? static_cast<Interface*>(this) : nullptr;
        if (!isKnown) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++references; }
    ULONG Release() override {
        const ULONG left = --references;
        if (left == 0) delete this;
        return left;
    }

  protected:
    virtual ~EndpointObject() { --table->liveObjects; }

    const std::shared_ptr<EndpointTable> table;

  private:
    const IID* const ownId;
    std::atomic<ULONG> references = 1;
};

class PropertyStore final : public EndpointObject<IPropertyStore> {
  public:
    PropertyStore(std::shared_ptr<EndpointTable> shared,
                  std::shared_ptr<const EndpointDescription> shown)
        : EndpointObject(std::move(shared)), endpoint(std::move(shown)) {}

    HRESULT GetCount(DWORD* count) override {
        *count = static_cast<DWORD>(endpoint->properties.size());
        return S_OK;
    }
    HRESULT GetAt(DWORD index, PROPERTYKEY* key) override {
        if (index >= endpoint->properties.size()) return E_INVALIDARG;
        *key = endpoint->properties[index].first;
        return S_OK;
    }
    HRESULT GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override {
        PropVariantInit(value);
        if (const HRESULT error = table->Fault(MachineStep::kReadProperty)) return error;
        const auto found = std::ranges::find_if(
            endpoint->properties, [&](const auto& property) { return property.first == key; });
        if (found == endpoint->properties.end()) return S_OK;
        value->pwszVal = CopyOf(found->second);
        if (!value->pwszVal) return E_OUTOFMEMORY;
        value->vt = VT_LPWSTR;
        return S_OK;
    }
    HRESULT SetValue(REFPROPERTYKEY, REFPROPVARIANT) override { return kReadOnly; }
    HRESULT Commit() override { return S_OK; }

  private:
    static constexpr HRESULT kReadOnly = static_cast<HRESULT>(0x80030005);  // STG_E_ACCESSDENIED

    const std::shared_ptr<const EndpointDescription> endpoint;
};

class Device final : public EndpointObject<IMMDevice> {
  public:
    Device(std::shared_ptr<EndpointTable> shared, std::shared_ptr<const EndpointDescription> shown)
        : EndpointObject(std::move(shared)), endpoint(std::move(shown)) {}

    HRESULT Activate(REFIID, DWORD, PROPVARIANT*, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    HRESULT OpenPropertyStore(DWORD access, IPropertyStore** store) override {
        *store = nullptr;
        if (access != STGM_READ) return E_INVALIDARG;
        if (const HRESULT error = table->Fault(MachineStep::kOpenProperties)) return error;
        return HandOut<PropertyStore>(store, table, endpoint);
    }
    HRESULT GetId(LPWSTR* id) override {
        *id = CopyOf(endpoint->id);
        return *id ? S_OK : E_OUTOFMEMORY;
    }
    HRESULT GetState(DWORD* state) override {
        *state = kActive;
        return S_OK;
    }

  private:
    const std::shared_ptr<const EndpointDescription> endpoint;
};

class Collection final : public EndpointObject<IMMDeviceCollection> {
  public:
    Collection(std::shared_ptr<EndpointTable> shared, SharedEndpoints shown)
        : EndpointObject(std::move(shared)), members(std::move(shown)) {}

    HRESULT GetCount(UINT* count) override {
        if (const HRESULT error = table->Fault(MachineStep::kCountDevices)) return error;
        *count = static_cast<UINT>(members.size());
        return S_OK;
    }
    HRESULT Item(UINT index, IMMDevice** device) override {
        *device = nullptr;
        if (const HRESULT error = table->Fault(MachineStep::kTakeDevice)) return error;
        if (index >= members.size()) return E_INVALIDARG;
        return HandOut<Device>(device, table, members[index]);
    }

  private:
    const SharedEndpoints members;
};

class Enumerator final : public EndpointObject<IMMDeviceEnumerator> {
  public:
    explicit Enumerator(std::shared_ptr<EndpointTable> shared)
        : EndpointObject(std::move(shared), &interface_id::kDeviceEnumerator) {}

    HRESULT EnumAudioEndpoints(EDataFlow flow, DWORD states,
                               IMMDeviceCollection** devices) override {
        *devices = nullptr;
        if (!(states & kActive)) return HandOut<Collection>(devices, table, SharedEndpoints());
        return HandOut<Collection>(devices, table, Select([&](const EndpointDescription& shown) {
                                       return flow == eAll || shown.flow == flow;
                                   }));
    }
    HRESULT GetDefaultAudioEndpoint(EDataFlow flow, ERole, IMMDevice** device) override {
        return GiveFirst(
            device, Select([&](const EndpointDescription& shown) { return shown.flow == flow; }));
    }
    HRESULT GetDevice(LPCWSTR id, IMMDevice** device) override {
        return GiveFirst(device,
                         Select([&](const EndpointDescription& shown) { return shown.id == id; }));
    }
    HRESULT RegisterEndpointNotificationCallback(IMMNotificationClient* client) override {
        if (!client) return E_POINTER;
        if (const HRESULT error = table->Fault(MachineStep::kRegisterNotifications)) return error;
        const platform::Machine lock;
        table->clients.push_back(client);
        return S_OK;
    }
    HRESULT UnregisterEndpointNotificationCallback(IMMNotificationClient* client) override {
        if (!client) return E_POINTER;
        const platform::Machine lock;
        const auto found = std::ranges::find(table->clients, client);
        if (found == table->clients.end()) return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
        table->clients.erase(found);
        return S_OK;
    }

  private:
    template <typename Matches>
    SharedEndpoints Select(Matches matches) const {
        const platform::Machine lock;
        SharedEndpoints selected;
        for (const auto& endpoint : table->endpoints)
            if (matches(*endpoint)) selected.push_back(endpoint);
        return selected;
    }

    HRESULT GiveFirst(IMMDevice** device, const SharedEndpoints& selected) const {
        *device = nullptr;
        if (selected.empty()) return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
        return HandOut<Device>(device, table, selected.front());
    }
};

}  // namespace

HRESULT EndpointTable::Fault(MachineStep step) const {
    const platform::Machine lock;
    return static_cast<HRESULT>(state->faults.Take(step));
}

IMMDeviceCollection* MakeCollection(std::shared_ptr<EndpointTable> table, SharedEndpoints members) {
    return new Collection(std::move(table), std::move(members));
}

IMMDeviceEnumerator* MakeEnumerator(std::shared_ptr<EndpointTable> table) {
    return new Enumerator(std::move(table));
}

}  // namespace quorvel::simulation
