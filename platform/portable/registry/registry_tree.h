// The keys and values behind the registry calls, for tests and tools to look at and to disturb.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/portable/kernel/types.h"

namespace quorvel::platform {

// A value by the path of its key below HKEY_CLASSES_ROOT and its name ("" is the default one): a
// text without its terminator, or the digits of a number. None when there is none.
std::optional<std::u16string> ReadRegistryValue(const std::u16string& path,
                                                const std::u16string& name);

// The names of the keys directly below a key, and of its values, each in the order of the alphabet;
// none for a key that is not there.
std::vector<std::u16string> RegistryKeys(const std::u16string& path);
std::vector<std::u16string> RegistryValues(const std::u16string& path);

// Handles that are open now.
std::size_t OpenRegistryKeys();

// The `after`-th change from now (0 is the next) fails with ERROR_ACCESS_DENIED, once. A change is
// a key made, a value set, or a key deleted.
void FailRegistryChange(std::size_t after);

// Forgets such a wish. True when it had come true.
bool StopFailingRegistryChanges();

// Empties the registry. Handles that are open refer to deleted keys.
void ClearRegistry();

}  // namespace quorvel::platform
