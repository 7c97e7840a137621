#include "platform/portable/files/device_files.h"

#include <memory>
#include <string_view>
#include <utility>

#include "platform/portable/devices/device_registry.h"
#include "platform/portable/files/open_file.h"
#include "platform/portable/files/regular_file.h"
#include "platform/portable/kernel/handle_table.h"
#include "platform/portable/kernel/threads.h"

namespace quorvel::platform {
namespace {

DWORD FileAccess(DWORD genericAccess) {
    return (genericAccess & GENERIC_READ ? FILE_READ_ACCESS : 0) |
           (genericAccess & GENERIC_WRITE ? FILE_WRITE_ACCESS : 0);
}

// Whether only devices can be at `path`.
bool IsDevicePath(std::u16string_view path) {
    return path.starts_with(u"\\\\?\\") || path.starts_with(u"\\\\.\\");
}

HANDLE OpenDevice(Device& device, DWORD access, DWORD flags) {
    std::unique_ptr<DeviceFile> deviceFile;
    const DWORD error = device.Open(access, GetCurrentProcessId(), deviceFile);
    if (error != ERROR_SUCCESS) return FailWith(error, INVALID_HANDLE_VALUE);
    if (!deviceFile) return FailWith(ERROR_GEN_FAILURE, INVALID_HANDLE_VALUE);
    // `file` outlives the lock, as its end is the device's code.
    const auto file =
        std::make_shared<OpenFile>(std::move(deviceFile), (flags & FILE_FLAG_OVERLAPPED) != 0);
    KernelLock lock;
    return HandleTable::Get(lock).Insert(lock, file, FileAccess(access));
}

HANDLE OpenRegularFile(const WCHAR* path, DWORD access, DWORD disposition, DWORD flags) {
    if (flags & FILE_FLAG_OVERLAPPED) return FailWith(ERROR_NOT_SUPPORTED, INVALID_HANDLE_VALUE);
    std::shared_ptr<RegularFile> file;
    const DWORD error = RegularFile::Open(path, access, disposition, file);
    if (error != ERROR_SUCCESS) return FailWith(error, INVALID_HANDLE_VALUE);
    KernelLock lock;
    return HandleTable::Get(lock).Insert(lock, file, FileAccess(access));
}

}  // namespace
}  // namespace quorvel::platform

using namespace quorvel::platform;

HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD, SECURITY_ATTRIBUTES*, DWORD disposition,
                   DWORD flags, HANDLE) {
    if (!path || *path == 0) return FailWith(ERROR_PATH_NOT_FOUND, INVALID_HANDLE_VALUE);
    return OrNotEnoughMemory(INVALID_HANDLE_VALUE, [&] {
        const std::shared_ptr<Device> device = FindDevice(path);
        if (!device && !IsDevicePath(path))
            return OpenRegularFile(path, access, disposition, flags);
        if (disposition != OPEN_EXISTING)
            return FailWith(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
        if (!device) return FailWith(ERROR_FILE_NOT_FOUND, INVALID_HANDLE_VALUE);
        return OpenDevice(*device, access, flags);
    });
}
