// What makes a class of this module a COM object: identity, reference count, aggregation, and the
// count that keeps the module loaded.
//
// A class that is made into an object derives from its interfaces, leaves IUnknown's three
// operations open, may be constructed without arguments (an exception means that memory cannot be
// had) and has
//     static std::span<const quorvel::InterfaceEntry> InterfaceMap();
// and may have `void FinalRelease()`, called once before it is destroyed. The first entry's pointer
// is the object's identity. Everything here may be called by any thread.
//
// An object that has a FinalRelease ends on a thread of its own, since it may have to wait for
// others. The last Release waits for that for at most kLongestReleaseMs, whatever the others do;
// the object then ends when they let it, and keeps the module loaded until it has.
#pragma once

#include <new>
#include <span>

#include "apo/module_lock.h"
#include "apo/reference_count.h"
#include "platform/interface_ids.h"
#include "platform/module_thread.h"
#include "platform/windows_api.h"

namespace quorvel {

// One interface that QueryInterface finds: `find` turns the object, a pointer to the class that has
// the map, into a pointer to the interface.
struct InterfaceEntry {
    const IID* id = nullptr;
    void* (*find)(void* object) = nullptr;
};

template <typename Class, typename Interface>
constexpr InterfaceEntry MapInterface(const IID& id) {
    return {&id, [](void* object) -> void* {
                return static_cast<Interface*>(static_cast<Class*>(object));
            }};
}

// Finds `iid`, that of IUnknown included, and takes a reference through what it found. E_POINTER,
// or E_NOINTERFACE and null.
template <typename Class>
HRESULT FindInterface(Class* object, REFIID iid, void** found) {
    if (!found) return E_POINTER;
    *found = nullptr;
    for (const InterfaceEntry& entry : Class::InterfaceMap()) {
        if (iid != *entry.id && iid != interface_id::kUnknown) continue;
        *found = entry.find(object);
        static_cast<IUnknown*>(*found)->AddRef();
        return S_OK;
    }
    return E_NOINTERFACE;
}

inline constexpr DWORD kLongestReleaseMs = 1000;

template <typename Class>
concept HasFinalRelease = requires(Class& object) {
    object.FinalRelease();
};

// Lets the object end what may call it from other threads while it is still whole.
template <typename Class>
void FinalRelease(Class& object) {
    if constexpr (HasFinalRelease<Class>) object.FinalRelease();
}

// Calls `end(object)`, which destroys it. Without a thread to be had it is this one that waits.
template <typename Class>
void EndObject(void (*end)(void* object), void* object) {
    if constexpr (HasFinalRelease<Class>)
        if (platform::RunOnModuleThread(end, object, kLongestReleaseMs)) return;
    end(object);
}

// An object of its own.
template <typename Class>
class ComObject final : public Class {
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        return FindInterface<Class>(this, iid, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return references.Add(); }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = references.Release();
        if (left == 0) {
            references.Close();
            EndObject<Class>(End, this);
        }
        return left;
    }

  private:
    static void End(void* object) {
        const ModuleLock keepUntilDestroyed;
        auto* const self = static_cast<ComObject*>(object);
        quorvel::FinalRelease<Class>(*self);
        delete self;
    }

    ReferenceCount references;
    ModuleLock keepModule;
};

// The part of an aggregated object that the outer object shows as its own.
template <typename Class>
class ContainedObject final : public Class {
  public:
    explicit ContainedObject(IUnknown& outerObject) : outer(outerObject) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        return outer.QueryInterface(iid, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return outer.AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return outer.Release(); }

  private:
    IUnknown& outer;  // holds this object, so no reference is taken
};

// An object inside another: this is the inner identity, which only the outer object knows.
template <typename Class>
class AggregatedObject final : public IUnknown {
  public:
    explicit AggregatedObject(IUnknown& outer) : contained(outer) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        if (iid != interface_id::kUnknown) return FindInterface<Class>(&contained, iid, object);
        *object = static_cast<IUnknown*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return references.Add(); }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = references.Release();
        if (left == 0) {
            references.Close();
            EndObject<Class>(End, this);
        }
        return left;
    }

  private:
    static void End(void* object) {
        auto* const self = static_cast<AggregatedObject*>(object);
        quorvel::FinalRelease<Class>(self->contained);
        delete self;
    }

    ReferenceCount references;
    ModuleLock keepModule;
    ContainedObject<Class> contained;
};

// Makes an object and asks it for `iid`. E_POINTER; CLASS_E_NOAGGREGATION when an `outer` asks for
// anything but IUnknown; E_OUTOFMEMORY; or what QueryInterface says. `*object` is null then.
template <typename Class>
HRESULT CreateComObject(IUnknown* outer, REFIID iid, void** object) noexcept {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (outer && iid != interface_id::kUnknown) return CLASS_E_NOAGGREGATION;
    try {
        IUnknown* made = nullptr;
        if (outer) {
            made = new AggregatedObject<Class>(*outer);
        } else {
            auto* const own = new ComObject<Class>;
            made = static_cast<IUnknown*>(Class::InterfaceMap()[0].find(static_cast<Class*>(own)));
        }
        const HRESULT result = made->QueryInterface(iid, object);
        made->Release();
        return result;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace quorvel
