// The kernel object behind the handle of a regular file.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "platform/portable/files/files.h"
#include "platform/portable/kernel/kernel_object.h"

namespace quorvel::platform {

// Owns a descriptor of this system. The position is the descriptor's. No member takes the kernel
// lock, and none may be called while it is held: they block. Errors are Win32 codes.
class RegularFile final : public KernelObject {
  public:
    ~RegularFile() override;

    // Opens as files.h says; 0 fills `file`. Throws std::bad_alloc.
    static DWORD Open(const WCHAR* path, DWORD access, DWORD disposition,
                      std::shared_ptr<RegularFile>& file);

    // Read to the end of the buffer or of the file; write all. `count` is what was moved, also when
    // it fails.
    DWORD Read(std::byte* buffer, DWORD size, DWORD& count);
    DWORD Write(const std::byte* data, DWORD size, DWORD& count);

    DWORD Seek(std::int64_t distance, DWORD method, std::int64_t& position);

  private:
    explicit RegularFile(int owned) : descriptor(owned) {}

    const int descriptor;
};

// `path` as this system spells it. Throws std::bad_alloc.
std::string NativePath(const WCHAR* path);

// The Win32 code of `error`, an errno value that a call with `path` gave.
DWORD ErrorOfPath(int error, const std::string& path);

// ReadFile's two ways. The first leaves the last error alone.
bool IsRegularFile(HANDLE handle);
BOOL ReadRegularFile(HANDLE handle, LPVOID buffer, DWORD size, DWORD* count,
                     OVERLAPPED* overlapped);

}  // namespace quorvel::platform
