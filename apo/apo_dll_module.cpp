#include "apo/apo_dll_module.h"

#include <new>

#include "apo/apo_classes.h"
#include "apo/class_factory.h"
#include "apo/class_ids.h"
#include "apo/registration/apo_registration.h"
#include "apo/registration/registration_records.h"
#include "apo/registration/registry_script.h"
#include "apo/registration/registry_script_texts.h"
#include "base/wide_text.h"
#include "platform/module_file.h"
#include "platform/result_codes.h"
#include "platform/type_library.h"

namespace quorvel {
namespace {

struct ModuleClass {
    const CLSID* id;
    CreateObject create;
    const char* script;
};

// In the order of the registration records.
const ModuleClass kClasses[] = {
    {&class_id::kLfxOut, CreateComObject<APOLFXOUT>, script_text::kLfxOut},
    {&class_id::kGfxOut, CreateComObject<APOGFXOUT>, script_text::kGfxOut},
    {&class_id::kLfxIn, CreateComObject<APOLFXIN>, script_text::kLfxIn},
    {&class_id::kGfxIn, CreateComObject<APOGFXIN>, script_text::kGfxIn},
};

constexpr platform::WideLiteral kTypeLibraryName("APODlllib");

platform::TypeLibrary ModuleTypeLibrary() {
    return {.id = {0x4924510F, 0xC676, 0x4717, {0x92, 0xFB, 0xFD, 0xAE, 0xA9, 0x2E, 0xB0, 0x0B}},
            .majorVersion = 1,
            .minorVersion = 0,
            .name = kTypeLibraryName.text};
}

// The system's language instead of the thread's for its lifetime.
class SystemLocale {
  public:
    SystemLocale() : before(GetThreadLocale()) { SetThreadLocale(LOCALE_SYSTEM_DEFAULT); }
    ~SystemLocale() { SetThreadLocale(before); }
    SystemLocale(const SystemLocale&) = delete;
    SystemLocale& operator=(const SystemLocale&) = delete;

  private:
    const DWORD before;
};

DWORD RunScripts(const std::basic_string<WCHAR>& file, ScriptAction action) {
    const ScriptReplacement replacements[] = {{"MODULE", file}, {"APPID", {}}};
    for (const ModuleClass& entry : kClasses)
        if (const DWORD error = RunRegistryScript(entry.script, replacements, action)) return error;
    return ERROR_SUCCESS;
}

HRESULT RegisterComServer() {
    const SystemLocale locale;
    const auto file = platform::ModuleFile();
    if (const DWORD error = RunScripts(file, ScriptAction::kRegister))
        return platform::ResultFromError(error);
    return platform::RegisterTypeLibrary(ModuleTypeLibrary(), file);
}

HRESULT UnregisterClasses() {
    return platform::ResultFromError(RunScripts(platform::ModuleFile(), ScriptAction::kUnregister));
}

HRESULT UnregisterTypeLibrary() {
    return platform::UnregisterTypeLibrary(ModuleTypeLibrary());
}

// The result of a step that may find no memory.
template <typename Step>
HRESULT Attempt(Step step) noexcept {
    try {
        return step();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

// Unregisters the first `count` records with the engine, each as far as memory goes. The result of
// the last.
HRESULT UnregisterAPOs(std::size_t count) {
    HRESULT result = S_OK;
    for (std::size_t i = 0; i < count; ++i)
        result = Attempt([&] { return UnregisterAPO(RegistrationRecords()[i]->clsid); });
    return result;
}

}  // namespace

HRESULT APODllModule::GetClassObject(REFCLSID classId, REFIID iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    for (const ModuleClass& entry : kClasses)
        if (*entry.id == classId) return CreateClassFactory(entry.create, iid, object);
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT APODllModule::CanUnloadNow() {
    return ModuleLock::Count() > 0 ? S_FALSE : S_OK;
}

HRESULT APODllModule::RegisterServer() {
    std::size_t registered = 0;
    HRESULT result = S_OK;
    for (const APO_REG_PROPERTIES* const record : RegistrationRecords()) {
        result = Attempt([&] { return RegisterAPO(record); });
        if (FAILED(result)) break;
        ++registered;
    }
    if (SUCCEEDED(result)) result = Attempt(RegisterComServer);
    if (FAILED(result)) UnregisterAPOs(registered);
    return result;
}

HRESULT APODllModule::UnregisterServer() {
    const HRESULT classes = Attempt(UnregisterClasses);
    if (FAILED(classes)) return classes;
    const HRESULT typeLibrary = Attempt(UnregisterTypeLibrary);
    const HRESULT objects = UnregisterAPOs(RegistrationRecords().size());
    return FAILED(typeLibrary) ? typeLibrary : objects;
}

}  // namespace quorvel
