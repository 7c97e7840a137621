#include "platform/portable/files/files.h"

#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "platform/portable/files/regular_file.h"
#include "platform/portable/kernel/handle_table.h"

namespace quorvel::platform {
namespace {

// The file behind a handle, kept alive for a call; null with the last error.
std::shared_ptr<RegularFile> FindFile(HANDLE handle, DWORD access) {
    KernelLock lock;
    return HandleTable::Get(lock).Find<RegularFile>(lock, handle, access);
}

BOOL ReportError(DWORD error) {
    return error == ERROR_SUCCESS ? TRUE : FailWith(error, FALSE);
}

// What ReadFile and WriteFile have in common: both check alike and tell alike. `move` does it.
template <typename Move>
BOOL MoveBytes(HANDLE handle, DWORD access, const void* bytes, DWORD size, DWORD* count,
               const OVERLAPPED* overlapped, Move move) {
    const auto file = FindFile(handle, access);
    if (!file) return FALSE;
    if (!count || overlapped) return FailWith(ERROR_INVALID_PARAMETER, FALSE);
    *count = 0;
    if (!bytes && size != 0) return FailWith(ERROR_NOACCESS, FALSE);
    return ReportError(move(*file));
}

}  // namespace

bool IsRegularFile(HANDLE handle) {
    const DWORD errorBefore = GetLastError();
    const bool isRegular = FindFile(handle, 0) != nullptr;
    SetLastError(errorBefore);
    return isRegular;
}

BOOL ReadRegularFile(HANDLE handle, LPVOID buffer, DWORD size, DWORD* count,
                     OVERLAPPED* overlapped) {
    return MoveBytes(handle, FILE_READ_ACCESS, buffer, size, count, overlapped,
                     [&](RegularFile& file) {
                         return file.Read(static_cast<std::byte*>(buffer), size, *count);
                     });
}

}  // namespace quorvel::platform

using namespace quorvel::platform;

BOOL WriteFile(HANDLE handle, const void* data, DWORD size, DWORD* written,
               OVERLAPPED* overlapped) {
    return MoveBytes(handle, FILE_WRITE_ACCESS, data, size, written, overlapped,
                     [&](RegularFile& file) {
                         return file.Write(static_cast<const std::byte*>(data), size, *written);
                     });
}

BOOL SetFilePointerEx(HANDLE handle, LARGE_INTEGER distance, LARGE_INTEGER* position,
                      DWORD method) {
    const auto file = FindFile(handle, 0);
    if (!file) return FALSE;
    std::int64_t moved = 0;
    const DWORD error = file->Seek(distance.QuadPart, method, moved);
    if (error == ERROR_SUCCESS && position) position->QuadPart = moved;
    return ReportError(error);
}

BOOL DeleteFileW(const WCHAR* path) {
    if (!path) return FailWith(ERROR_PATH_NOT_FOUND, FALSE);
    return OrNotEnoughMemory(FALSE, [&] {
        const std::string native = NativePath(path);
        const bool isDeleted = unlink(native.c_str()) == 0;
        return ReportError(isDeleted ? ERROR_SUCCESS : ErrorOfPath(errno, native));
    });
}

std::FILE* _wfopen(const WCHAR* path, const WCHAR* mode) {
    if (!path || !mode) return nullptr;
    const std::u16string_view wideMode(mode);
    return OrNotEnoughMemory(static_cast<std::FILE*>(nullptr), [&] {
        std::string narrowMode;
        for (const WCHAR unit : wideMode)
            if (unit < 0x80 && unit != 't') narrowMode += static_cast<char>(unit);
        return std::fopen(NativePath(path).c_str(), narrowMode.c_str());
    });
}
