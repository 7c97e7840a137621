#include "apo/class_factory.h"

#include <new>

namespace quorvel {
namespace {

class ClassFactory final : public IClassFactory {
  public:
    explicit ClassFactory(CreateObject createObject) : create(createObject) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        const bool isKnown = iid == interface_id::kUnknown || iid == interface_id::kClassFactory;
        *object = isKnown ? static_cast<IClassFactory*>(this) : nullptr;
        if (!isKnown) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return references.Add(); }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = references.Release();
        if (left == 0) delete this;
        return left;
    }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        return create(outer, iid, object);
    }

    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        if (lock)
            ModuleLock::Add();
        else
            ModuleLock::Remove();
        return S_OK;
    }

  private:
    ReferenceCount references;
    ModuleLock keepModule;
    const CreateObject create;
};

}  // namespace

HRESULT CreateClassFactory(CreateObject create, REFIID iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    IClassFactory* const factory = new (std::nothrow) ClassFactory(create);
    if (!factory) return E_OUTOFMEMORY;
    const HRESULT result = factory->QueryInterface(iid, object);
    factory->Release();
    return result;
}

}  // namespace quorvel
