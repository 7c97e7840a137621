// Registry scripts: which keys and values a class wants, as text.
//
//   root    HKCR { key… }
//   key     [NoRemove | ForceRemove] name [= s 'text' | = d 'number'] [{ key… value… }]
//   value   val name = s 'text' | val name = d 'number'
//
// A name is a word or a quoted text, which holds no quotation mark. %NAME% in names and texts is
// replaced. Registering makes keys and values in the order of the script; a key with
// ForceRemove is first deleted with everything below. Unregistering deletes a key with ForceRemove
// and everything below it, a NoRemove key never, any other when its own part of the script has left
// nothing below it.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/windows_api.h"

namespace quorvel {

struct ScriptReplacement {
    std::string_view name;  // without the percent signs
    std::basic_string<WCHAR> text;
};

enum class ScriptAction { kRegister, kUnregister };

// Runs a script of ASCII characters. A Win32 error: ERROR_INVALID_DATA for a script that is not
// one, an unknown replacement included, which is found before anything is changed; else what the
// registry says. Throws std::bad_alloc.
DWORD RunRegistryScript(std::string_view script, std::span<const ScriptReplacement> replacements,
                        ScriptAction action);

}  // namespace quorvel
