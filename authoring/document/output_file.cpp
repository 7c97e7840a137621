#include "authoring/document/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <utility>
#include <vector>

#include "authoring/document/exit_status.h"
#include "authoring/document/file_bytes.h"
#include "authoring/document/tool_mark.h"

namespace quorvel::tool {
namespace {

constexpr mode_t kPermissionBits = 07777;
constexpr std::array kEndingSignals = {SIGINT, SIGTERM, SIGHUP};

// A temporary file that the signal handler removes.
struct PendingRemoval {
    std::atomic<bool> isSet = false;  // the name is whole
    std::array<char, 4096> name{};
};

static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler may take no lock");

std::array<PendingRemoval, OutputFile::kMostAtOnce> pendingRemovals{};

extern "C" void RemoveAndEnd(int signalNumber) {
    for (const PendingRemoval& pending : pendingRemovals) {
        if (pending.isSet) unlink(pending.name.data());
    }
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

PendingRemoval* FindFreePlace() {
    const auto isFree = [](const PendingRemoval& pending) { return !pending.isSet; };
    const auto place = std::ranges::find_if(pendingRemovals, isFree);
    return place == pendingRemovals.end() ? nullptr : &*place;
}

void ForgetRemoval(const std::string& name) {
    for (PendingRemoval& pending : pendingRemovals) {
        if (pending.isSet && name == pending.name.data()) pending.isSet = false;
    }
}

mode_t CreationMask() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

// Equal for paths that lead to one place; as far as it exists. `path` itself when that cannot be
// told.
std::string FollowedTarget(const std::string& path) {
    std::error_code error;
    const auto absolute = std::filesystem::absolute(path, error);
    if (error) return path;
    const auto followed = std::filesystem::weakly_canonical(absolute, error);
    return error ? path : followed.string();
}

ToolError Refused(const std::string& path, const std::string& reason) {
    return {ExitStatus::kUsage, path + ": " + reason};
}

// Those that have a target now.
std::vector<const OutputFile*>& OpenFiles() {
    static std::vector<const OutputFile*> files;
    return files;
}

}  // namespace

OutputFile::OutputFile(const Output& output)
    : path(output.path), target(FollowedTarget(output.path)) {
    struct stat state {};
    const bool exists = stat(target.c_str(), &state) == 0;
    if (exists && !S_ISREG(state.st_mode)) {
        descriptor = open(target.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor < 0) throw FileFailure(path, std::strerror(errno));
        return;
    }
    if (exists) existing = {state.st_dev, state.st_ino};
    RequireReplaceable(state.st_size > 0, output.mayReplace);
    RequireOwnTarget();
    MakeTemporary();
    const mode_t mode = exists ? state.st_mode & kPermissionBits : 0666 & ~CreationMask();
    Keep(fchmod(descriptor, mode) == 0);
    OpenFiles().push_back(this);
}

void OutputFile::RequireReplaceable(bool hasContent, bool mayReplace) const {
    if (!existing) return;
    if (IsSource(*existing))
        throw Refused(path, "is what this run reads, and would be lost; write to another file");
    if (hasContent && !mayReplace && !IsMadeByTool(target))
        throw Refused(path, "is there already and was not made by this tool; --force replaces it");
}

void OutputFile::RequireOwnTarget() const {
    for (const OutputFile* other : OpenFiles()) {
        const bool isSame = other->target == target || (existing && other->existing == existing);
        if (isSame) throw Refused(path, "is written twice in this run, as " + other->path + " too");
    }
}

void OutputFile::MakeTemporary() {
    // A short name of its own: the target's may already be as long as names can be.
    const auto folder = std::filesystem::path(target).parent_path();
    std::string name = (folder / ".quorvel-XXXXXX").string();
    PendingRemoval* const pending = FindFreePlace();
    if (!pending) throw FileFailure(path, "too many files are written at once");
    if (name.size() >= pending->name.size()) throw FileFailure(path, "the name is too long");
    const SignalsBlocked blocked;
    descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) throw FileFailure(path, std::strerror(errno));
    std::copy_n(name.c_str(), name.size() + 1, pending->name.begin());
    pending->isSet = true;
    temporary = std::move(name);
    WatchSignals();
}

OutputFile::~OutputFile() {
    std::erase(OpenFiles(), this);
    if (descriptor >= 0) close(descriptor);
    RemoveTemporary();
}

void OutputFile::RemoveTemporary() {
    if (temporary.empty()) return;
    const SignalsBlocked blocked;
    unlink(temporary.c_str());
    ForgetRemoval(temporary);
    temporary.clear();
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
    ForgetRemoval(temporary);
    temporary.clear();
}

void WriteResult(const Output& output, const std::string& text) {
    if (output.path.empty()) return WriteStandardOutput(text);
    OutputFile file(output);
    file.Write(text.data(), text.size());
    file.Commit();
}

}  // namespace quorvel::tool
