#include "platform/portable/registry/registry.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <unordered_map>

#include "platform/portable/registry/registry_tree.h"

namespace quorvel::platform {
namespace {

struct NameLess {
    using is_transparent = void;
    static WCHAR Fold(WCHAR unit) { return unit >= u'a' && unit <= u'z' ? WCHAR(unit - 32) : unit; }
    bool operator()(std::u16string_view a, std::u16string_view b) const {
        return std::ranges::lexicographical_compare(a, b, {}, Fold, Fold);
    }
};

struct Value {
    DWORD type = 0;
    std::vector<BYTE> data;
};

struct Key {
    std::map<std::u16string, std::shared_ptr<Key>, NameLess> keys;
    std::map<std::u16string, Value, NameLess> values;
    bool isDeleted = false;

    void MarkDeleted() {
        isDeleted = true;
        for (const auto& entry : keys)
            entry.second->MarkDeleted();
    }
};

struct OpenKey {
    std::shared_ptr<Key> key;
    REGSAM access = 0;
};

// One lock guards everything; under it nothing else is called.
struct Registry {
    std::mutex mutex;
    std::shared_ptr<Key> root = std::make_shared<Key>();
    std::unordered_map<HKEY, OpenKey> open;
    ULONG_PTR lastHandle = 0;
    std::optional<std::size_t> changesToFailure;
    bool hasFailed = false;

    // Never destroyed, for callers that outlive static objects.
    static Registry& Get() {
        static Registry& registry = *new Registry;
        return registry;
    }

    LSTATUS Find(HKEY handle, REGSAM access, std::shared_ptr<Key>& key) const {
        if (handle == HKEY_CLASSES_ROOT) {
            key = root;
            return ERROR_SUCCESS;
        }
        const auto found = open.find(handle);
        if (found == open.end()) return ERROR_INVALID_HANDLE;
        if (found->second.key->isDeleted) return ERROR_KEY_DELETED;
        if ((found->second.access & access) != access) return ERROR_ACCESS_DENIED;
        key = found->second.key;
        return ERROR_SUCCESS;
    }

    // Whether the change about to be made has to fail.
    bool FailsNow() {
        if (!changesToFailure) return false;
        if ((*changesToFailure)-- != 0) return false;
        changesToFailure.reset();
        hasFailed = true;
        return true;
    }

    LSTATUS Open(std::shared_ptr<Key> key, REGSAM access, HKEY& handle) {
        lastHandle += 4;
        handle = reinterpret_cast<HKEY>(lastHandle);
        open.emplace(handle, OpenKey{std::move(key), access});
        return ERROR_SUCCESS;
    }
};

// Takes the first name off a path.
std::u16string_view TakeName(std::u16string_view& path) {
    const std::size_t end = std::min(path.find(u'\\'), path.size());
    const std::u16string_view name = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    return name;
}

// The key of that path; null when it, or one on the way, is not there.
std::shared_ptr<Key> Walk(std::shared_ptr<Key> key, std::u16string_view path) {
    while (key && !path.empty()) {
        const auto found = key->keys.find(TakeName(path));
        key = found == key->keys.end() ? nullptr : found->second;
    }
    return key;
}

std::u16string_view View(LPCWSTR text) {
    return text ? std::u16string_view(text) : std::u16string_view();
}

// Runs `body(registry)` under the lock.
template <typename Body>
LSTATUS Guarded(Body body) {
    Registry& registry = Registry::Get();
    const std::lock_guard lock(registry.mutex);
    try {
        return body(registry);
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

LSTATUS Delete(HKEY parent, LPCWSTR path, bool withKeysBelow) {
    return Guarded([&](Registry& registry) -> LSTATUS {
        std::shared_ptr<Key> key;
        if (const LSTATUS error = registry.Find(parent, 0, key)) return error;
        std::u16string_view name = View(path);
        if (const std::size_t last = name.rfind(u'\\'); last != std::u16string_view::npos) {
            key = Walk(key, name.substr(0, last));
            name.remove_prefix(last + 1);
        }
        if (!key) return ERROR_FILE_NOT_FOUND;
        const auto found = key->keys.find(name);
        if (found == key->keys.end()) return ERROR_FILE_NOT_FOUND;
        if (!withKeysBelow && !found->second->keys.empty()) return ERROR_ACCESS_DENIED;
        if (registry.FailsNow()) return ERROR_ACCESS_DENIED;
        found->second->MarkDeleted();
        key->keys.erase(found);
        return ERROR_SUCCESS;
    });
}

}  // namespace

std::optional<std::u16string> ReadRegistryValue(const std::u16string& path,
                                                const std::u16string& name) {
    std::optional<std::u16string> text;
    Guarded([&](Registry& registry) -> LSTATUS {
        const auto key = Walk(registry.root, path);
        if (!key) return ERROR_FILE_NOT_FOUND;
        const auto found = key->values.find(name);
        if (found == key->values.end()) return ERROR_FILE_NOT_FOUND;
        const Value& value = found->second;
        if (value.type == REG_DWORD && value.data.size() == sizeof(DWORD)) {
            DWORD number = 0;
            std::memcpy(&number, value.data.data(), sizeof(number));
            const std::string digits = std::to_string(number);
            text.emplace(digits.begin(), digits.end());
            return ERROR_SUCCESS;
        }
        std::u16string units(value.data.size() / sizeof(WCHAR), u'\0');
        std::memcpy(units.data(), value.data.data(), units.size() * sizeof(WCHAR));
        text.emplace(units.c_str());
        return ERROR_SUCCESS;
    });
    return text;
}

std::vector<std::u16string> RegistryKeys(const std::u16string& path) {
    std::vector<std::u16string> names;
    Guarded([&](Registry& registry) -> LSTATUS {
        if (const auto key = Walk(registry.root, path))
            for (const auto& entry : key->keys)
                names.push_back(entry.first);
        return ERROR_SUCCESS;
    });
    return names;
}

std::vector<std::u16string> RegistryValues(const std::u16string& path) {
    std::vector<std::u16string> names;
    Guarded([&](Registry& registry) -> LSTATUS {
        if (const auto key = Walk(registry.root, path))
            for (const auto& entry : key->values)
                names.push_back(entry.first);
        return ERROR_SUCCESS;
    });
    return names;
}

std::size_t OpenRegistryKeys() {
    Registry& registry = Registry::Get();
    const std::lock_guard lock(registry.mutex);
    return registry.open.size();
}

void FailRegistryChange(std::size_t after) {
    Registry& registry = Registry::Get();
    const std::lock_guard lock(registry.mutex);
    registry.changesToFailure = after;
    registry.hasFailed = false;
}

bool StopFailingRegistryChanges() {
    Registry& registry = Registry::Get();
    const std::lock_guard lock(registry.mutex);
    registry.changesToFailure.reset();
    return registry.hasFailed;
}

void ClearRegistry() {
    Guarded([](Registry& registry) -> LSTATUS {
        registry.root->MarkDeleted();
        registry.root = std::make_shared<Key>();
        return ERROR_SUCCESS;
    });
}

}  // namespace quorvel::platform

using namespace quorvel::platform;

LSTATUS RegCreateKeyExW(HKEY parent, LPCWSTR path, DWORD reserved, LPWSTR classText, DWORD,
                        REGSAM access, const void* security, HKEY* key, DWORD* disposition) {
    if (!path || !key || reserved != 0 || classText || security) return ERROR_INVALID_PARAMETER;
    return Guarded([&](Registry& registry) -> LSTATUS {
        std::shared_ptr<Key> place;
        if (const LSTATUS error = registry.Find(parent, 0, place)) return error;
        bool isNew = false;
        for (std::u16string_view rest = path; !rest.empty();) {
            const std::u16string_view name = TakeName(rest);
            auto found = place->keys.find(name);
            if (found == place->keys.end()) {
                if (registry.FailsNow()) return ERROR_ACCESS_DENIED;
                found = place->keys.emplace(name, std::make_shared<Key>()).first;
                isNew = true;
            }
            place = found->second;
        }
        if (disposition) *disposition = isNew ? 1 : 2;
        return registry.Open(std::move(place), access, *key);
    });
}

LSTATUS RegOpenKeyExW(HKEY parent, LPCWSTR path, DWORD, REGSAM access, HKEY* key) {
    if (!key) return ERROR_INVALID_PARAMETER;
    return Guarded([&](Registry& registry) -> LSTATUS {
        std::shared_ptr<Key> place;
        if (const LSTATUS error = registry.Find(parent, 0, place)) return error;
        place = Walk(place, View(path));
        if (!place) return ERROR_FILE_NOT_FOUND;
        return registry.Open(std::move(place), access, *key);
    });
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD size) {
    if (reserved != 0 || (!data && size != 0)) return ERROR_INVALID_PARAMETER;
    return Guarded([&](Registry& registry) -> LSTATUS {
        std::shared_ptr<Key> place;
        if (const LSTATUS error = registry.Find(key, KEY_SET_VALUE, place)) return error;
        if (registry.FailsNow()) return ERROR_ACCESS_DENIED;
        place->values.insert_or_assign(std::u16string(View(name)),
                                       Value{type, std::vector<BYTE>(data, data + size)});
        return ERROR_SUCCESS;
    });
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, DWORD* reserved, DWORD* type, BYTE* data,
                         DWORD* size) {
    if (reserved || (data && !size)) return ERROR_INVALID_PARAMETER;
    return Guarded([&](Registry& registry) -> LSTATUS {
        std::shared_ptr<Key> place;
        if (const LSTATUS error = registry.Find(key, KEY_QUERY_VALUE, place)) return error;
        const auto found = place->values.find(View(name));
        if (found == place->values.end()) return ERROR_FILE_NOT_FOUND;
        const Value& value = found->second;
        const auto needed = static_cast<DWORD>(value.data.size());
        if (type) *type = value.type;
        const bool fits = !data || *size >= needed;
        if (data && fits) std::ranges::copy(value.data, data);
        if (size) *size = needed;
        return fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
    });
}

LSTATUS RegDeleteKeyExW(HKEY parent, LPCWSTR path, REGSAM, DWORD) {
    return Delete(parent, path, false);
}

LSTATUS RegDeleteTreeW(HKEY parent, LPCWSTR path) {
    return Delete(parent, path, true);
}

LSTATUS RegCloseKey(HKEY key) {
    if (key == HKEY_CLASSES_ROOT) return ERROR_SUCCESS;
    Registry& registry = Registry::Get();
    const std::lock_guard lock(registry.mutex);
    return registry.open.erase(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
