#include "apo/client_probe.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <mutex>
#include <span>
#include <string_view>
#include <utility>

#include "base/wide_text.h"
#include "client/quorvel_audio_device.h"
#include "diagnostics/stack_walker.h"
#include "platform/critical_section.h"
#include "platform/unique_handle.h"

namespace quorvel {
namespace {

using TextView = std::basic_string_view<WCHAR>;

constexpr platform::WideLiteral kEngineText("audiodg");
constexpr TextView kEngineName = kEngineText.text;
constexpr platform::WideLiteral kSeparators("\\/");

// How far beneath the engine's outermost frame the frame with the record may be; the nearer one
// only since Windows 10.
constexpr std::size_t kDistance = 2;
constexpr std::size_t kDistanceSinceWindows10 = 1;
constexpr DWORD kWindows10 = 10;

// In the engine a word has 4 bytes. What the parameter points to holds the process id in one of two
// words, and the class id somewhere in the bytes behind it.
constexpr std::size_t kRecordParameter = 1;
constexpr DWORD64 kCandidatePlaces[] = {12, 16};
constexpr std::size_t kWordSize = sizeof(DWORD);
constexpr std::size_t kSearchSize = 300;

constexpr std::size_t kRoomForFrames = 10;
constexpr std::size_t kPathUnits = 1024;

WCHAR Lowered(WCHAR unit) {
    constexpr WCHAR kCaseBit = 0x20;
    return unit >= 'A' && unit <= 'Z' ? static_cast<WCHAR>(unit | kCaseBit) : unit;
}

bool BeginsWithEngineName(TextView name) {
    return std::ranges::equal(name.substr(0, kEngineName.size()), kEngineName, {}, Lowered);
}

// A path keeps its last separator, so of paths only a bare file name can be the engine's: what
// normally decides is the module's name.
bool IsEngineFrame(const WCHAR* moduleName, const WCHAR* imagePath) {
    if (moduleName) return BeginsWithEngineName(moduleName);
    if (!imagePath) return false;
    const TextView path = imagePath;
    const std::size_t separator = path.find_last_of(kSeparators.text);
    return BeginsWithEngineName(separator == TextView::npos ? path : path.substr(separator));
}

// Reads memory of this process by way of the system, so that no address does harm. Whether all of
// it was read; `count` is how much was.
bool ReadMemory(HANDLE process, DWORD64 address, std::span<std::byte> bytes, SIZE_T& count) {
    const auto* const from = reinterpret_cast<const void*>(static_cast<ULONG_PTR>(address));
    return ReadProcessMemory(process, from, bytes.data(), bytes.size(), &count) != FALSE;
}

}  // namespace

ClientProbe::ClientProbe(const CLSID& ownClass, DWORD windowsMajorVersion, PathQuery askForPath)
    : classId(ownClass), osMajorVersion(windowsMajorVersion), pathQuery(std::move(askForPath)) {
    frames.reserve(kRoomForFrames);
}

bool ClientProbe::TakeFrame(const STACKFRAME64& frame, const CONTEXT& context, const DWORD* word,
                            const WCHAR* moduleName, const WCHAR* imagePath) {
    const bool isEngine = IsEngineFrame(moduleName, imagePath);
    if (isInsideEngine && !isEngine) {
        ProbeFrames();
        return false;
    }
    isInsideEngine = isInsideEngine || isEngine;
    frames.push_back({frame, context, word ? *word : 0});
    return true;
}

void ClientProbe::ProbeFrames() {
    const auto isFoundAt = [&](std::size_t distance) {
        return distance <= frames.size() && ProbeFrame(frames[frames.size() - distance]);
    };
    if (isFoundAt(kDistance)) return;
    if (osMajorVersion >= kWindows10) isFoundAt(kDistanceSinceWindows10);
}

bool ClientProbe::ProbeFrame(const FrameRecord& record) {
    const platform::UniqueHandle process(
        OpenProcess(PROCESS_VM_READ, FALSE, GetCurrentProcessId()));
    if (!process) return false;
    DWORD candidate = 0;
    for (const DWORD64 place : kCandidatePlaces) {
        if (candidate == 0)
            candidate = ReadCandidate(process.Get(), record.frame.Params[kRecordParameter] + place);
    }
    if (candidate == 0) return false;
    std::basic_string<WCHAR> path = pathQuery(candidate);
    if (path.empty()) return false;
    client = ClientProcess{candidate, std::move(path)};
    return true;
}

// The word at `address` when it is not 0 and the class id stands behind it; else 0. What lies
// behind the record may not be readable: a part of it will do.
DWORD ClientProbe::ReadCandidate(HANDLE process, DWORD64 address) const {
    DWORD candidate = 0;
    SIZE_T count = 0;
    const auto word = std::as_writable_bytes(std::span(&candidate, 1));
    if (!ReadMemory(process, address, word, count) || count != kWordSize) return 0;
    if (candidate == 0) return 0;

    std::array<std::byte, kSearchSize> behind{};
    if (!ReadMemory(process, address + kWordSize, behind, count) &&
        GetLastError() != ERROR_PARTIAL_COPY)
        return 0;
    const auto ownId = std::as_bytes(std::span(&classId, 1));
    const auto end = behind.begin() + count;
    const bool isFound = std::search(behind.begin(), end, ownId.begin(), ownId.end()) != end;
    return count > ownId.size() && isFound ? candidate : 0;
}

std::optional<ClientProcess> FindClientProcess(const CLSID& classId, DWORD osMajorVersion,
                                               QuorvelAudioDevice& device) {
    // What the driver left in the buffer counts, whatever it said of its answer.
    ClientProbe probe(classId, osMajorVersion, [&](DWORD processId) {
        std::array<WCHAR, kPathUnits> path{};
        device.GetProcessPathByPID(processId, path.data(), kPathUnits);
        return std::basic_string<WCHAR>(path.begin(), std::ranges::find(path, WCHAR{}));
    });
    const auto takeFrame = [](void* user, int, const STACKFRAME64& frame, const CONTEXT& context,
                              DWORD* word, WCHAR* moduleName, WCHAR* imagePath, WCHAR*) {
        return static_cast<ClientProbe*>(user)->TakeFrame(frame, context, word, moduleName,
                                                          imagePath);
    };
    // The debug-help library beneath has no lock of its own.
    static platform::CriticalSection walking;
    const std::lock_guard lock(walking);
    StackWalker(takeFrame, &probe).Walk();
    return probe.Client();
}

}  // namespace quorvel
