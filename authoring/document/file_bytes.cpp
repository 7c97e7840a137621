#include "authoring/document/file_bytes.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "authoring/document/exit_status.h"
#include "authoring/document/source_files.h"

namespace quorvel::tool {
namespace {

constexpr std::size_t kLargestFile = std::size_t{1} << 30;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

std::string ReadFileBytes(const std::string& path) {
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
    if (!file) throw FileFailure(path, std::strerror(errno));
    NoteSource(fileno(file.get()));
    std::string bytes;
    std::array<char, 65536> piece{};
    while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), file.get())) {
        bytes.append(piece.data(), got);
        if (bytes.size() > kLargestFile) throw InvalidInput(path + ": larger than 1 GiB");
    }
    if (std::ferror(file.get())) throw FileFailure(path, std::strerror(errno));
    return bytes;
}

void WriteStandardOutput(const std::string& text) {
    errno = 0;
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (!isWritten || std::fflush(stdout) != 0) {
        throw FileFailure("standard output", std::strerror(errno));
    }
}

}  // namespace quorvel::tool
