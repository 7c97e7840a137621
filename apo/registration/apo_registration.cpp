#include "apo/registration/apo_registration.h"

#include <algorithm>
#include <iterator>

#include "apo/registration/registry_key.h"
#include "base/wide_text.h"
#include "platform/result_codes.h"

namespace quorvel {
namespace {

using platform::WideLiteral;

constexpr WideLiteral kObjectsKey("AudioEngine\\AudioProcessingObjects");

constexpr std::size_t kLongestText = 512;         // bytes, with the terminator
constexpr std::size_t kLongestIdentifier = 1024;  // the same
constexpr int kIdentifierUnits = 512;

struct NumberValue {
    const WCHAR* name;
    DWORD (*number)(const APO_REG_PROPERTIES& record);
};

constexpr WideLiteral kFriendlyName("FriendlyName");
constexpr WideLiteral kCopyright("Copyright");
constexpr WideLiteral kMajorVersion("MajorVersion");
constexpr WideLiteral kMinorVersion("MinorVersion");
constexpr WideLiteral kFlags("Flags");
constexpr WideLiteral kMinInputConnections("MinInputConnections");
constexpr WideLiteral kMaxInputConnections("MaxInputConnections");
constexpr WideLiteral kMinOutputConnections("MinOutputConnections");
constexpr WideLiteral kMaxOutputConnections("MaxOutputConnections");
constexpr WideLiteral kMaxInstances("MaxInstances");
constexpr WideLiteral kNumAPOInterfaces("NumAPOInterfaces");
constexpr WideLiteral kInterface("APOInterface%u");

using Record = APO_REG_PROPERTIES;
constexpr NumberValue kNumbers[] = {
    {kMajorVersion.text, [](const Record& r) -> DWORD { return r.u32MajorVersion; }},
    {kMinorVersion.text, [](const Record& r) -> DWORD { return r.u32MinorVersion; }},
    {kFlags.text, [](const Record& r) -> DWORD { return r.Flags; }},
    {kMinInputConnections.text, [](const Record& r) -> DWORD { return r.u32MinInputConnections; }},
    {kMaxInputConnections.text, [](const Record& r) -> DWORD { return r.u32MaxInputConnections; }},
    {kMinOutputConnections.text,
     [](const Record& r) -> DWORD { return r.u32MinOutputConnections; }},
    {kMaxOutputConnections.text,
     [](const Record& r) -> DWORD { return r.u32MaxOutputConnections; }},
    {kMaxInstances.text, [](const Record& r) -> DWORD { return r.u32MaxInstances; }},
    {kNumAPOInterfaces.text, [](const Record& r) -> DWORD { return r.u32NumAPOInterfaces; }},
};

// Empty when the identifier has no such form.
std::basic_string<WCHAR> RegistryForm(REFGUID guid) {
    WCHAR text[kIdentifierUnits]{};
    StringFromGUID2(guid, text, kIdentifierUnits);
    return text;
}

HRESULT WriteText(const RegistryKey& key, const WCHAR* name, const std::basic_string<WCHAR>& text,
                  std::size_t longest) {
    if ((text.size() + 1) * sizeof(WCHAR) > longest) return E_INVALIDARG;
    return platform::ResultFromError(key.SetText(name, text));
}

// A text that fills its field has no terminator there.
template <std::size_t units>
std::basic_string<WCHAR> FieldText(const WCHAR (&field)[units]) {
    return {field, std::find(field, field + units, WCHAR{})};
}

HRESULT WriteInterfaces(const RegistryKey& key, const Record& record) {
    for (UINT32 i = 0; i < record.u32NumAPOInterfaces; ++i) {
        const auto identifier = RegistryForm(record.iidAPOInterfaceList[i]);
        if (identifier.empty()) return S_OK;
        WCHAR name[32];
        platform::PrintWide(name, kInterface.text, i);
        const HRESULT result = WriteText(key, name, identifier, kLongestIdentifier);
        if (FAILED(result)) return result;
    }
    return S_OK;
}

HRESULT WriteValues(const RegistryKey& key, const Record& record) {
    HRESULT result =
        WriteText(key, kFriendlyName.text, FieldText(record.szFriendlyName), kLongestText);
    if (SUCCEEDED(result))
        result = WriteText(key, kCopyright.text, FieldText(record.szCopyrightInfo), kLongestText);
    for (const NumberValue& value : kNumbers)
        if (SUCCEEDED(result))
            result = platform::ResultFromError(key.SetNumber(value.name, value.number(record)));
    return SUCCEEDED(result) ? WriteInterfaces(key, record) : result;
}

}  // namespace

HRESULT RegisterAPO(const APO_REG_PROPERTIES* record) {
    if (!record) return E_POINTER;
    RegistryKey objects;
    if (const DWORD error = objects.Create(HKEY_CLASSES_ROOT, kObjectsKey.text))
        return platform::ResultFromError(error);
    const auto name = RegistryForm(record->clsid);
    if (name.empty()) return S_OK;
    RegDeleteKeyExW(objects.Get(), name.c_str(), 0, 0);
    RegistryKey object;
    if (const DWORD error = object.Create(objects.Get(), name.c_str()))
        return platform::ResultFromError(error);
    return WriteValues(object, *record);
}

HRESULT UnregisterAPO(REFCLSID clsid) {
    RegistryKey objects;
    if (const DWORD error = objects.Open(HKEY_CLASSES_ROOT, kObjectsKey.text))
        return platform::ResultFromError(error);
    const auto name = RegistryForm(clsid);
    if (name.empty()) return S_OK;
    return platform::ResultFromError(
        static_cast<DWORD>(RegDeleteKeyExW(objects.Get(), name.c_str(), 0, 0)));
}

}  // namespace quorvel
