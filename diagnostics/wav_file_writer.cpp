#include "diagnostics/wav_file_writer.h"

#include <new>

namespace quorvel {
namespace {

WavHeader FreshHeader(uint16_t channels) {
    WavHeader header;
    header.channels = channels;
    header.blockAlign = static_cast<uint16_t>(sizeof(float) * channels);
    header.byteRate = static_cast<uint32_t>(sizeof(float)) * channels * header.sampleRate;
    return header;
}

platform::UniqueHandle OpenDump(const WCHAR* path, DWORD disposition) {
    return platform::UniqueHandle(CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                              nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                                              nullptr));
}

bool Seek(HANDLE file, DWORD origin) {
    return SetFilePointerEx(file, LARGE_INTEGER{}, nullptr, origin);
}

bool Write(HANDLE file, const void* data, DWORD size) {
    DWORD written = 0;
    return WriteFile(file, data, size, &written, nullptr) && written == size;
}

}  // namespace

bool WavFileWriter::Open(const WCHAR* path, uint16_t channels) {
    Close();
    file = OpenDump(path, OPEN_EXISTING);
    if (!file && GetLastError() == ERROR_FILE_NOT_FOUND) file = OpenDump(path, CREATE_NEW);
    if (!file) return false;
    header.reset(new (std::nothrow) WavHeader);
    if (!header) {
        Close();
        return false;
    }
    if (ReadHeader(*header)) return true;
    *header = FreshHeader(channels);
    return WriteHeader(*header);
}

bool WavFileWriter::Append(uint32_t size, const void* data) {
    if (!AppendRaw(size, data)) return false;
    header->riffSize += size;
    header->dataSize += size;
    return WriteHeader(*header);
}

bool WavFileWriter::AppendRaw(uint32_t size, const void* data) {
    return Seek(file.Get(), FILE_END) && Write(file.Get(), data, size);
}

bool WavFileWriter::ReadHeader(WavHeader& to) {
    DWORD count = 0;
    return Seek(file.Get(), FILE_BEGIN) && ReadFile(file.Get(), &to, sizeof(to), &count, nullptr) &&
           count == sizeof(to);
}

bool WavFileWriter::WriteHeader(const WavHeader& from) {
    return Seek(file.Get(), FILE_BEGIN) && Write(file.Get(), &from, sizeof(from));
}

void WavFileWriter::Close() {
    file.Reset();
}

}  // namespace quorvel
