#include "tools/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include "tools/exit_status.h"
#include "tools/file_bytes.h"

namespace quorvel::tool {
namespace {

constexpr mode_t kPermissionBits = 07777;
constexpr std::array kEndingSignals = {SIGINT, SIGTERM, SIGHUP};

// What the signal handler removes; empty when there is nothing. Written only while the signals are
// blocked.
std::array<char, 4096> pendingRemoval{};

extern "C" void RemoveAndEnd(int signalNumber) {
    if (pendingRemoval[0]) unlink(pendingRemoval.data());
    std::signal(signalNumber, SIG_DFL);
    std::raise(signalNumber);
}

// Holds the ending signals back for its lifetime.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t ending{};
        sigemptyset(&ending);
        for (const int number : kEndingSignals)
            sigaddset(&ending, number);
        sigprocmask(SIG_BLOCK, &ending, &before);
    }
    ~SignalsBlocked() { sigprocmask(SIG_SETMASK, &before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t before{};
};

// A signal that the caller had ignored (nohup) stays ignored.
void WatchSignals() {
    for (const int number : kEndingSignals) {
        if (std::signal(number, RemoveAndEnd) == SIG_IGN) std::signal(number, SIG_IGN);
    }
}

mode_t CreationMask() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

std::string FollowLinks(const std::string& path) {
    std::error_code error;
    const auto followed = std::filesystem::weakly_canonical(path, error);
    return error ? path : followed.string();
}

}  // namespace

OutputFile::OutputFile(const std::string& outPath) : path(outPath), target(FollowLinks(outPath)) {
    struct stat state {};
    const bool exists = stat(target.c_str(), &state) == 0;
    if (exists && !S_ISREG(state.st_mode)) {
        descriptor = open(target.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor < 0) throw FileFailure(path, std::strerror(errno));
        return;
    }
    MakeTemporary();
    const mode_t mode = exists ? state.st_mode & kPermissionBits : 0666 & ~CreationMask();
    Keep(fchmod(descriptor, mode) == 0);
}

void OutputFile::MakeTemporary() {
    // A short name of its own: the target's may already be as long as names can be.
    std::filesystem::path beside = std::filesystem::path(target).parent_path() / ".quorvel-XXXXXX";
    temporary = beside.string();
    if (temporary.size() >= pendingRemoval.size()) throw FileFailure(path, "the name is too long");
    const SignalsBlocked blocked;
    descriptor = mkostemp(temporary.data(), O_CLOEXEC);
    if (descriptor < 0) {
        temporary.clear();
        throw FileFailure(path, std::strerror(errno));
    }
    std::copy_n(temporary.c_str(), temporary.size() + 1, pendingRemoval.begin());
    WatchSignals();
}

OutputFile::~OutputFile() {
    if (descriptor >= 0) close(descriptor);
    RemoveTemporary();
}

void OutputFile::RemoveTemporary() {
    if (temporary.empty()) return;
    const SignalsBlocked blocked;
    unlink(temporary.c_str());
    temporary.clear();
    pendingRemoval[0] = '\0';
}

bool OutputFile::Keep(bool succeeded) {
    if (!succeeded && firstError == 0) firstError = errno ? errno : EIO;
    return succeeded;
}

bool OutputFile::Write(const void* bytes, std::size_t size) {
    const auto* next = static_cast<const char*>(bytes);
    while (size > 0 && firstError == 0) {
        const ssize_t taken = write(descriptor, next, size);
        if (taken < 0 && errno == EINTR) continue;
        if (!Keep(taken > 0)) break;
        next += taken;
        size -= static_cast<std::size_t>(taken);
        position += taken;
    }
    length = std::max(length, position);
    return firstError == 0;
}

bool OutputFile::Seek(std::int64_t newPosition) {
    if (firstError != 0 || !Keep(lseek(descriptor, newPosition, SEEK_SET) >= 0)) return false;
    position = newPosition;
    return true;
}

void OutputFile::Commit() {
    const int closing = descriptor;
    descriptor = -1;
    Keep(close(closing) == 0);
    if (firstError == 0 && !temporary.empty()) {
        Keep(std::rename(temporary.c_str(), target.c_str()) == 0);
    }
    if (firstError != 0) {
        RemoveTemporary();
        throw FileFailure(path, std::strerror(firstError));
    }
    const SignalsBlocked blocked;
    temporary.clear();
    pendingRemoval[0] = '\0';
}

void WriteResult(const std::string& path, const std::string& text) {
    if (path.empty()) return WriteStandardOutput(text);
    OutputFile file(path);
    file.Write(text.data(), text.size());
    file.Commit();
}

}  // namespace quorvel::tool
