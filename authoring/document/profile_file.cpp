#include "authoring/document/profile_file.h"

#include <memory>

#include "authoring/document/exit_status.h"
#include "authoring/document/file_bytes.h"
#include "client/quorvel_audio_device.h"

namespace quorvel::tool {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\r\n";

struct FreeText {
    void operator()(const char* text) const { QuorvelAudioDevice::Free(const_cast<char*>(text)); }
};

void ReadTextForm(std::string text, NamedProfile& named) {
    text.erase(text.find_last_not_of(kBlanks) + 1);
    switch (QuorvelAudioDevice::DecodeProfile(text.c_str(), &named.profile)) {
        case ERROR_SUCCESS:
            return NameBlocks(named);
        case ERROR_NOT_ENOUGH_MEMORY:
            throw InvalidInput("out of memory");
        case ERROR_UNKNOWN_REVISION:
            throw InvalidInput("the text form of a profile, but written by newer software");
        default:
            throw InvalidInput("not a profile: neither JSON nor an undamaged text form");
    }
}

ProfileForm ReadProfileBytes(std::string_view bytes, NamedProfile& named, ProfileReading* reading) {
    if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
    const std::size_t first = bytes.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) throw InvalidInput("not a profile: the file is empty");
    if (bytes[first] == '{' || bytes[first] == '[') {
        ReadProfile(ParseJson(bytes), named, reading);
        return ProfileForm::kJson;
    }
    ReadTextForm(std::string(bytes.substr(first)), named);
    return ProfileForm::kText;
}

}  // namespace

ProfileForm LoadProfile(const std::string& path, NamedProfile& named, ProfileReading* reading) {
    const std::string bytes = ReadFileBytes(path);
    try {
        return ReadProfileBytes(bytes, named, reading);
    } catch (const ToolError& error) {
        throw ToolError(error.Status(), path + ": " + error.what());
    }
}

bool IsProfileText(const std::string& text) {
    try {
        NamedProfile named;
        ReadTextForm(text, named);
        return true;
    } catch (const ToolError&) {
        return false;
    }
}

std::string ProfileText(NamedProfile& named) {
    const std::unique_ptr<const char, FreeText> text(
        QuorvelAudioDevice::EncodeProfile(&named.profile));
    if (!text) throw InvalidInput("out of memory, or a profile of more than 4 GiB");
    return std::string(text.get()) + "\n";
}

}  // namespace quorvel::tool
