#include "authoring/draw/external_program.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>

#include "authoring/document/exit_status.h"

namespace quorvel::tool {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// The streams of the program are files without a name: none of them can block another.
File MakeFile() {
    File file(std::tmpfile());
    if (!file) throw FileFailure("temporary file", std::strerror(errno));
    return file;
}

std::string Content(std::FILE* file) {
    std::rewind(file);
    std::string content;
    std::array<char, 65536> piece{};
    while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), file))
        content.append(piece.data(), size);
    return content;
}

// How a child process starts: its streams, and the signals that the tool ignores as they were.
class SpawnSettings {
  public:
    SpawnSettings(std::FILE* in, std::FILE* out, std::FILE* error) {
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, fileno(in), STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, fileno(out), STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, fileno(error), STDERR_FILENO);
        posix_spawnattr_init(&attributes);
        sigset_t ignored;
        sigemptyset(&ignored);
        sigaddset(&ignored, SIGPIPE);
        sigaddset(&ignored, SIGXFSZ);
        posix_spawnattr_setsigdefault(&attributes, &ignored);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    // 0, or the error number.
    int Start(std::vector<char*>& words, pid_t& child) const {
        return posix_spawnp(&child, words[0], &actions, &attributes, words.data(), environ);
    }

  private:
    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
};

bool Succeeds(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

std::string RunProgram(const ExternalProgram& program, const std::vector<std::string>& arguments,
                       const std::string& input) {
    const File in = MakeFile(), out = MakeFile(), error = MakeFile();
    if (std::fwrite(input.data(), 1, input.size(), in.get()) != input.size() ||
        std::fflush(in.get()) != 0)
        throw FileFailure("temporary file", std::strerror(errno));
    std::rewind(in.get());

    std::vector<std::string> texts{program.name};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> words;
    for (std::string& text : texts)
        words.push_back(text.data());
    words.push_back(nullptr);

    pid_t child = 0;
    const int fault = SpawnSettings(in.get(), out.get(), error.get()).Start(words, child);
    if (fault == ENOENT)
        throw FileFailure(program.name, std::string("is not installed; the package ") +
                                            program.package + " has it");
    if (fault != 0) throw FileFailure(program.name, std::strerror(fault));
    if (!Succeeds(child)) throw FileFailure(program.name, Content(error.get()));
    const std::string result = Content(out.get());
    if (result.empty()) throw FileFailure(program.name, "made nothing: " + Content(error.get()));
    return result;
}

}  // namespace quorvel::tool
