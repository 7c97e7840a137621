#include "authoring/document/tool_mark.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string_view>

#include "authoring/document/profile_file.h"

namespace quorvel::tool {
namespace {

using namespace std::literals;

constexpr std::string_view kMark = "Made by quorvel"sv;
constexpr std::string_view kSvgMark = "<!-- Made by quorvel -->\n"sv;

// A whole tEXt chunk: length, type, keyword and text, checksum.
constexpr std::string_view kPngMark = "\0\0\0\x10tEXtSoftware\0quorvel\x72\x58\xD0\x0B"sv;
constexpr std::string_view kPngStart = "\x89PNG\r\n\x1A\n"sv;
constexpr std::size_t kPngEnd = 12;  // bytes of the last chunk

constexpr std::streamsize kLookedAt = 4096;  // bytes, where marks lie

struct Ends {
    std::string head{};
    std::string tail{};
};

Ends ReadEnds(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    Ends ends;
    const auto read = [&](std::string& piece) {
        piece.resize(kLookedAt);
        file.read(piece.data(), kLookedAt);
        piece.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
        file.clear();
    };
    read(ends.head);
    file.seekg(0, std::ios::end);
    file.seekg(std::max<std::streamoff>(file.tellg() - std::streamoff{kLookedAt}, 0));
    read(ends.tail);
    return ends;
}

// The list of a WAV file's facts names the software: its id, the size of the name, the name.
bool IsMarkedSound(std::string_view head) {
    if (!head.starts_with("RIFF"sv) && !head.starts_with("RF64"sv)) return false;
    const std::size_t fact = head.find("ISFT"sv);
    return fact != std::string_view::npos && head.substr(fact).substr(8).starts_with(kSoftware);
}

bool IsMarkedText(std::string_view head) {
    const std::string_view line = head.substr(0, head.find('\n'));
    return line == "# "s.append(kMark) || line == "// "s.append(kMark);
}

bool IsTextForm(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return IsProfileText({std::istreambuf_iterator<char>(file), {}});
}

}  // namespace

std::string MarkedScript(const std::string& text, const std::string& comment) {
    return (comment + " ").append(kMark).append("\n").append(text);
}

std::string MarkedPicture(std::string picture) {
    if (picture.starts_with(kPngStart) && picture.size() > kPngStart.size() + kPngEnd)
        return picture.insert(picture.size() - kPngEnd, kPngMark);
    return picture.find("<svg"sv) == std::string::npos ? picture : picture.append(kSvgMark);
}

bool IsMadeByTool(const std::string& path) {
    const auto [head, tail] = ReadEnds(path);
    if (head.starts_with(kPngStart)) return tail.find(kPngMark) != std::string::npos;
    return IsMarkedSound(head) || IsMarkedText(head) || tail.ends_with(kSvgMark) ||
           IsTextForm(path);
}

}  // namespace quorvel::tool
