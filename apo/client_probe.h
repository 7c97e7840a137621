// Which program's stream an object processes.
//
// The engine does not tell. But the object is made deep inside the engine: an argument of one of
// the engine's outermost frames on the stack points near its record of the stream, which holds the
// client's process id followed by the object's own class id.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/windows_api.h"

class QuorvelAudioDevice;

namespace quorvel {

struct ClientProcess {
    DWORD processId = 0;
    std::basic_string<WCHAR> imagePath;
};

// Looks through the frames of one walk. One thread; everything may throw std::bad_alloc.
class ClientProbe {
  public:
    // The image path of a process, empty when it is not known.
    using PathQuery = std::function<std::basic_string<WCHAR>(DWORD processId)>;

    // `ownClass` is the object's class; where the record hides depends on the major version of
    // Windows.
    ClientProbe(const CLSID& ownClass, DWORD windowsMajorVersion, PathQuery askForPath);

    // Takes the next frame outward, with the texts of StackWalker's callback. Frames are kept until
    // the first one beyond the engine's: that one sets the search off and ends the walk (false).
    bool TakeFrame(const STACKFRAME64& frame, const CONTEXT& context, const DWORD* word,
                   const WCHAR* moduleName, const WCHAR* imagePath);

    // Empty until a client was found.
    const std::optional<ClientProcess>& Client() const { return client; }

  private:
    // 984 bytes in a 32-bit process.
    struct FrameRecord {
        STACKFRAME64 frame{};
        CONTEXT context{};
        DWORD word = 0;
    };
    static_assert(sizeof(CONTEXT) != 716 || sizeof(FrameRecord) == 984);

    void ProbeFrames();
    bool ProbeFrame(const FrameRecord& record);
    DWORD ReadCandidate(HANDLE process, DWORD64 address) const;

    CLSID classId{};
    DWORD osMajorVersion = 0;
    PathQuery pathQuery;
    std::vector<FrameRecord> frames;  // innermost first
    bool isInsideEngine = false;
    std::optional<ClientProcess> client;
};

// Walks the calling thread's stack for the client of an object of class `classId`, with the driver
// behind `device` to tell the image paths. Empty when it is not found. Slow; control threads only,
// several at once take turns. Throws std::bad_alloc.
std::optional<ClientProcess> FindClientProcess(const CLSID& classId, DWORD osMajorVersion,
                                               QuorvelAudioDevice& device);

}  // namespace quorvel
