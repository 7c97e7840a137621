// The thread that reads the driver's event stream and watches for the removal of the device.
#include <algorithm>
#include <span>

#include "base/byte_reader.h"
#include "client/control_codes.h"
#include "client/quorvel_audio_device.h"

namespace {

// Units of an event's name, as the driver answers it.
constexpr std::size_t kNameUnits = 256;

constexpr WCHAR kNamespace[] = {'G', 'l', 'o', 'b', 'a', 'l', '\\'};
constexpr std::size_t kNamespaceUnits = sizeof(kNamespace) / sizeof(WCHAR);

// Stays zero for a stamp that is no time.
SYSTEMTIME LocalTime(const FILETIME& utc) {
    FILETIME local{};
    SYSTEMTIME time{};
    if (FileTimeToLocalFileTime(&utc, &local)) FileTimeToSystemTime(&local, &time);
    return time;
}

}  // namespace

DWORD QuorvelAudioDevice::OpenDriverEvent(DWORD code, HANDLE& event) {
    event = nullptr;
    // One unit longer than the answer, for the terminator of a name that fills it.
    WCHAR name[kNamespaceUnits + kNameUnits + 1]{};
    std::copy_n(kNamespace, kNamespaceUnits, name);
    DWORD returned = 0;
    const DWORD result =
        Send(code, nullptr, 0, name + kNamespaceUnits, kNameUnits * sizeof(WCHAR), returned);
    if (result != ERROR_SUCCESS) return result;
    event = OpenEventW(SYNCHRONIZE, FALSE, name);
    return event ? ERROR_SUCCESS : GetLastError();
}

DWORD WINAPI QuorvelAudioDevice::EventsThread(void* device) {
    const HRESULT joined = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    static_cast<QuorvelAudioDevice*>(device)->EventsThreadInternal();
    if (joined >= 0) CoUninitialize();
    return 0;
}

void QuorvelAudioDevice::EventsThreadInternal() {
    // Of several that are signalled the first counts: ending before events before the removal.
    enum : DWORD { kStop, kRead, kRemoval };
    const HANDLE awaited[] = {stopEvent, readEvent, driverEvent};
    const DWORD count = driverEvent ? 3 : 2;

    threadStartResult = DoAsyncRead();
    const bool isStarted = threadStartResult == ERROR_SUCCESS;
    SetEvent(startedEvent);
    for (bool goesOn = isStarted; goesOn;) {
        switch (WaitForMultipleObjects(count, awaited, FALSE, INFINITE) - WAIT_OBJECT_0) {
            case kStop:
                CancelIo(device.Load());
                goesOn = false;
                break;
            case kRead:
                goesOn = TakeEvents();
                break;
            case kRemoval:
                goesOn = !AcceptsRemoval();
                break;
        }
    }
}

// Delivers what the read brought and starts the next. False when no read is possible any more.
bool QuorvelAudioDevice::TakeEvents() {
    const HANDLE opened = device.Load();
    if (opened == INVALID_HANDLE_VALUE) return true;
    DWORD size = lastReadBytes;
    if (size == 0 && !GetOverlappedResult(opened, &readOverlapped, &size, TRUE)) {
        CancelIo(opened);
        return false;
    }
    ProcessEvents(size);
    return DoAsyncRead() == ERROR_SUCCESS;
}

bool QuorvelAudioDevice::AcceptsRemoval() {
    if (!listener->OnQuorvelAudioDeviceRemoval()) return false;
    ReleaseDevice();
    return true;
}

DWORD QuorvelAudioDevice::DoAsyncRead() {
    const HANDLE opened = device.Load();
    readOverlapped.hEvent = readEvent;
    lastReadBytes = 0;
    DWORD size = 0;
    if (ReadFile(opened, eventBuffer, sizeof(eventBuffer), &size, &readOverlapped)) {
        SetEvent(readEvent);
        lastReadBytes = size;
        return ERROR_SUCCESS;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_IO_PENDING) return ERROR_SUCCESS;
    CancelIo(opened);
    return error;
}

// A record that reaches beyond the read ends it: where the next one begins cannot be known. A
// record that claims less than its event needs is delivered as long as what a listener reads lies
// in the buffer.
void QuorvelAudioDevice::ProcessEvents(DWORD size) {
    const std::size_t bytes = std::min<std::size_t>(size, sizeof(eventBuffer));
    quorvel::ByteReader reader({eventBuffer, bytes});
    quorvel::DriverEventHeader header;
    std::span<const std::byte> payload;
    while (reader.Read(header)) {
        const std::size_t start = bytes - reader.Remaining();
        if (!reader.Take(header.payloadSize, payload)) return;
        const QuorvelDriverEvents event{header.event};
        if (quorvel::ReadablePayload(event) > sizeof(eventBuffer) - start) continue;
        listener->OnQuorvelAudioDeviceEvent(LocalTime(header.time), event, eventBuffer + start);
    }
}
