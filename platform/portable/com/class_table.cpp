#include "platform/portable/com/class_table.h"

#include <map>
#include <mutex>
#include <new>
#include <optional>

#include "platform/interface_ids.h"
#include "platform/portable/registry/registry_tree.h"

namespace quorvel::platform {
namespace {

struct GuidLess {
    bool operator()(const GUID& a, const GUID& b) const {
        return std::memcmp(&a, &b, sizeof(GUID)) < 0;
    }
};

// One lock guards both; nothing is called under it.
struct ClassTable {
    std::mutex mutex;
    std::map<std::u16string, GetClassObjectFunction> modules;
    std::map<CLSID, IClassFactory*, GuidLess> systemClasses;

    // Never destroyed, for callers that outlive static objects.
    static ClassTable& Get() {
        static ClassTable& table = *new ClassTable;
        return table;
    }
};

IClassFactory* FindSystemClass(REFCLSID classId) {
    ClassTable& table = ClassTable::Get();
    const std::lock_guard lock(table.mutex);
    const auto found = table.systemClasses.find(classId);
    return found == table.systemClasses.end() ? nullptr : found->second;
}

GetClassObjectFunction FindModule(const std::u16string& path) {
    ClassTable& table = ClassTable::Get();
    const std::lock_guard lock(table.mutex);
    const auto found = table.modules.find(path);
    return found == table.modules.end() ? nullptr : found->second;
}

std::u16string ServerKey(REFCLSID classId) {
    constexpr int kTextUnits = 39;  // with the terminator
    WCHAR text[kTextUnits];
    StringFromGUID2(classId, text, kTextUnits);
    return std::u16string(u"CLSID\\").append(text).append(u"\\InprocServer32");
}

}  // namespace

void SetModuleFile(const std::u16string& path, GetClassObjectFunction getClassObject) {
    ClassTable& table = ClassTable::Get();
    const std::lock_guard lock(table.mutex);
    if (getClassObject)
        table.modules.insert_or_assign(path, getClassObject);
    else
        table.modules.erase(path);
}

SystemClass::SystemClass(const CLSID& systemClassId, IClassFactory& factory)
    : classId(systemClassId) {
    ClassTable& table = ClassTable::Get();
    const std::lock_guard lock(table.mutex);
    table.systemClasses.insert_or_assign(classId, &factory);
}

SystemClass::~SystemClass() {
    ClassTable& table = ClassTable::Get();
    const std::lock_guard lock(table.mutex);
    table.systemClasses.erase(classId);
}

}  // namespace quorvel::platform

using namespace quorvel;

HRESULT CoGetClassObject(REFCLSID classId, DWORD, void*, REFIID iid, void** object) try {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (IClassFactory* const factory = platform::FindSystemClass(classId))
        return factory->QueryInterface(iid, object);
    const auto path = platform::ReadRegistryValue(platform::ServerKey(classId), u"");
    if (!path) return REGDB_E_CLASSNOTREG;
    const auto getClassObject = platform::FindModule(*path);
    if (!getClassObject) return HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
    return getClassObject(classId, iid, object);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid,
                         void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    void* found = nullptr;
    const HRESULT result =
        CoGetClassObject(classId, context, nullptr, interface_id::kClassFactory, &found);
    if (FAILED(result)) return result;
    auto* const factory = static_cast<IClassFactory*>(found);
    const HRESULT created = factory->CreateInstance(outer, iid, object);
    factory->Release();
    return created;
}
