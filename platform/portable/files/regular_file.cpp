#include "platform/portable/files/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <utility>

#include "base/utf8_text.h"

namespace quorvel::platform {
namespace {

DWORD ErrorOf(int error) {
    constexpr struct {
        int error;
        DWORD code;
    } kCodes[] = {
        {ENOENT, ERROR_FILE_NOT_FOUND},
        {ENOTDIR, ERROR_PATH_NOT_FOUND},
        {ENAMETOOLONG, ERROR_PATH_NOT_FOUND},
        {ELOOP, ERROR_PATH_NOT_FOUND},
        {EACCES, ERROR_ACCESS_DENIED},
        {EPERM, ERROR_ACCESS_DENIED},
        {EROFS, ERROR_ACCESS_DENIED},
        {EISDIR, ERROR_ACCESS_DENIED},
        {ENXIO, ERROR_ACCESS_DENIED},  // a pipe without a reader
        {EEXIST, ERROR_FILE_EXISTS},
        {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
        {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
        {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
        {ENOSPC, ERROR_DISK_FULL},
        {EDQUOT, ERROR_DISK_FULL},
        {EFBIG, ERROR_DISK_FULL},
    };
    for (const auto& row : kCodes) {
        if (row.error == error) return row.code;
    }
    return ERROR_GEN_FAILURE;
}

bool IsDirectory(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

int OpenMode(DWORD access) {
    if (!(access & GENERIC_WRITE)) return O_RDONLY;
    return access & GENERIC_READ ? O_RDWR : O_WRONLY;
}

// Repeats `move(done)`, which moves some bytes behind the first `done`, until all are moved, none
// is, or it fails.
template <typename Move>
DWORD MoveAll(DWORD size, DWORD& count, Move move) {
    for (count = 0; count < size;) {
        const ssize_t moved = move(count);
        if (moved < 0 && errno == EINTR) continue;
        if (moved < 0) return ErrorOf(errno);
        if (moved == 0) break;
        count += static_cast<DWORD>(moved);
    }
    return ERROR_SUCCESS;
}

}  // namespace

std::string NativePath(const WCHAR* path) {
    std::string native;
    AppendUtf8(native, path);
    return native;
}

// Windows tells a missing directory from a missing file in it.
DWORD ErrorOfPath(int error, const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const bool isNested = slash != path.npos && slash > 0;
    if (error == ENOENT && isNested && !IsDirectory(path.substr(0, slash))) {
        return ERROR_PATH_NOT_FOUND;
    }
    return ErrorOf(error);
}

RegularFile::~RegularFile() {
    close(descriptor);
}

DWORD RegularFile::Open(const WCHAR* path, DWORD access, DWORD disposition,
                        std::shared_ptr<RegularFile>& file) {
    if (disposition != OPEN_EXISTING && disposition != CREATE_NEW) return ERROR_INVALID_PARAMETER;
    const std::string native = NativePath(path);
    const int creation = disposition == CREATE_NEW ? O_CREAT | O_EXCL : 0;
    // Without blocking, so that a pipe is found out and not waited for.
    const int descriptor =
        open(native.c_str(), OpenMode(access) | creation | O_CLOEXEC | O_NONBLOCK, 0666);
    if (descriptor < 0) return ErrorOfPath(errno, native);
    std::unique_ptr<RegularFile> opened(new (std::nothrow) RegularFile(descriptor));
    if (!opened) {
        close(descriptor);
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return ERROR_ACCESS_DENIED;
    file = std::move(opened);
    return ERROR_SUCCESS;
}

DWORD RegularFile::Read(std::byte* buffer, DWORD size, DWORD& count) {
    return MoveAll(size, count,
                   [&](DWORD done) { return read(descriptor, buffer + done, size - done); });
}

DWORD RegularFile::Write(const std::byte* data, DWORD size, DWORD& count) {
    const DWORD error = MoveAll(
        size, count, [&](DWORD done) { return write(descriptor, data + done, size - done); });
    return error == ERROR_SUCCESS && count < size ? ERROR_DISK_FULL : error;
}

DWORD RegularFile::Seek(std::int64_t distance, DWORD method, std::int64_t& position) {
    constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (method > FILE_END) return ERROR_INVALID_PARAMETER;
    const off_t moved = lseek(descriptor, distance, kOrigins[method]);
    if (moved < 0) return ERROR_NEGATIVE_SEEK;
    position = moved;
    return ERROR_SUCCESS;
}

}  // namespace quorvel::platform
