#include "apo/registration/registry_script.h"

#include <charconv>
#include <optional>
#include <vector>

#include "apo/registration/registry_key.h"

namespace quorvel {
namespace {

using Text = std::basic_string<WCHAR>;

constexpr int kDeepestKey = 32;

struct ScriptValue {
    Text name;  // empty for a key's default
    std::optional<DWORD> number;
    Text text;
};

struct ScriptKey {
    Text name;
    bool isKept = false;    // NoRemove
    bool isForced = false;  // ForceRemove
    std::vector<ScriptValue> values;
    std::vector<ScriptKey> keys;
};

struct Token {
    std::string_view text;
    bool isQuoted = false;
};

// Reads a script; every function is false where the script is none.
class Reader {
  public:
    Reader(std::string_view script, std::span<const ScriptReplacement> allReplacements)
        : rest(script), replacements(allReplacements) {}

    bool ReadRoot(std::vector<ScriptKey>& keys) {
        Advance();
        if (!TakeWord("HKCR") || !TakeWord("{")) return false;
        ScriptKey root;
        if (!ReadBody(root, 0) || !root.values.empty()) return false;
        keys = std::move(root.keys);
        return !current;
    }

  private:
    // Up to the closing brace.
    bool ReadBody(ScriptKey& key, int depth) {
        if (depth > kDeepestKey) return false;
        while (!TakeWord("}")) {
            if (!current) return false;
            if (TakeWord("val")) {
                ScriptValue value;
                if (!TakeName(value.name) || !TakeWord("=") || !ReadValue(value)) return false;
                key.values.push_back(std::move(value));
            } else {
                ScriptKey below;
                if (!ReadKey(below, depth)) return false;
                key.keys.push_back(std::move(below));
            }
        }
        return true;
    }

    bool ReadKey(ScriptKey& key, int depth) {
        key.isKept = TakeWord("NoRemove");
        key.isForced = !key.isKept && TakeWord("ForceRemove");
        if (!TakeName(key.name)) return false;
        if (TakeWord("=")) {
            ScriptValue value;
            if (!ReadValue(value)) return false;
            key.values.push_back(std::move(value));
        }
        return !TakeWord("{") || ReadBody(key, depth + 1);
    }

    bool ReadValue(ScriptValue& value) {
        const bool isNumber = TakeWord("d");
        if (!isNumber && !TakeWord("s")) return false;
        if (!current || !current->isQuoted) return false;
        if (!isNumber) return TakeName(value.text);
        DWORD number = 0;
        const std::string_view digits = current->text;
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (error != std::errc() || end != digits.data() + digits.size()) return false;
        value.number = number;
        Advance();
        return true;
    }

    bool TakeWord(std::string_view word) {
        if (!current || current->isQuoted || current->text != word) return false;
        Advance();
        return true;
    }

    // A name or a text, with its replacements.
    bool TakeName(Text& name) {
        if (!current || (!current->isQuoted && current->text.find_first_of("={}") == 0 &&
                         current->text.size() == 1))
            return false;
        const std::optional<Text> expanded = Expand(current->text);
        if (!expanded) return false;
        name = *expanded;
        Advance();
        return true;
    }

    std::optional<Text> Expand(std::string_view text) const {
        Text expanded;
        while (!text.empty()) {
            const std::size_t start = std::min(text.find('%'), text.size());
            expanded.append(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(start));
            text.remove_prefix(start);
            if (text.empty()) break;
            const std::size_t end = text.find('%', 1);
            if (end == std::string_view::npos) return std::nullopt;
            const ScriptReplacement* const found = FindReplacement(text.substr(1, end - 1));
            if (!found) return std::nullopt;
            expanded += found->text;
            text.remove_prefix(end + 1);
        }
        return expanded;
    }

    const ScriptReplacement* FindReplacement(std::string_view name) const {
        for (const ScriptReplacement& replacement : replacements)
            if (replacement.name == name) return &replacement;
        return nullptr;
    }

    // The next token; none at the end, and at a quotation that does not end.
    void Advance() {
        current.reset();
        rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n"), rest.size()));
        if (rest.empty()) return;
        const bool isQuoted = rest.front() == '\'';
        if (isQuoted) rest.remove_prefix(1);
        std::size_t end = rest.find_first_of(isQuoted ? "'" : " \t\r\n");
        if (isQuoted && end == std::string_view::npos) {
            rest = "\x01";  // neither a word nor the end of any construct
            end = 1;
        }
        current = Token{rest.substr(0, end), isQuoted};
        rest.remove_prefix(std::min(end, rest.size()));
        if (isQuoted && !rest.empty()) rest.remove_prefix(1);
    }

    std::string_view rest;
    std::span<const ScriptReplacement> replacements;
    std::optional<Token> current;
};

DWORD WriteValue(const RegistryKey& key, const ScriptValue& value) {
    if (value.number) return key.SetNumber(value.name.c_str(), *value.number);
    return key.SetText(value.name.c_str(), value.text);
}

DWORD Register(HKEY parent, const ScriptKey& script) {
    if (script.isForced) {
        const auto error = static_cast<DWORD>(RegDeleteTreeW(parent, script.name.c_str()));
        if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND) return error;
    }
    RegistryKey key;
    if (const DWORD error = key.Create(parent, script.name.c_str())) return error;
    for (const ScriptValue& value : script.values)
        if (const DWORD error = WriteValue(key, value)) return error;
    for (const ScriptKey& below : script.keys)
        if (const DWORD error = Register(key.Get(), below)) return error;
    return ERROR_SUCCESS;
}

DWORD Unregister(HKEY parent, const ScriptKey& script) {
    if (script.isForced) {
        const auto error = static_cast<DWORD>(RegDeleteTreeW(parent, script.name.c_str()));
        return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
    }
    RegistryKey key;
    if (const DWORD error = key.Open(parent, script.name.c_str()))
        return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
    for (const ScriptKey& below : script.keys)
        if (const DWORD error = Unregister(key.Get(), below)) return error;
    if (script.isKept) return ERROR_SUCCESS;
    const auto error = static_cast<DWORD>(RegDeleteKeyExW(parent, script.name.c_str(), 0, 0));
    return error == ERROR_ACCESS_DENIED ? ERROR_SUCCESS : error;  // others have keys below it
}

}  // namespace

DWORD RunRegistryScript(std::string_view script, std::span<const ScriptReplacement> replacements,
                        ScriptAction action) {
    std::vector<ScriptKey> keys;
    if (!Reader(script, replacements).ReadRoot(keys)) return ERROR_INVALID_DATA;
    for (const ScriptKey& key : keys) {
        const DWORD error = action == ScriptAction::kRegister ? Register(HKEY_CLASSES_ROOT, key)
                                                              : Unregister(HKEY_CLASSES_ROOT, key);
        if (error != ERROR_SUCCESS) return error;
    }
    return ERROR_SUCCESS;
}

}  // namespace quorvel
