// Opening and closing the device, and the one way in which requests reach the driver.
#include <utility>

#include "client/answer_buffer.h"
#include "client/control_codes.h"
#include "client/quorvel_audio_device.h"

using quorvel::AnswerBuffer;
using quorvel::TwoStepRead;

namespace {

void CloseAndClear(HANDLE& handle) {
    if (handle) CloseHandle(std::exchange(handle, nullptr));
}

// Whether the driver says that the buffer was too small.
bool IsTooSmall(const TwoStepRead& how, DWORD result, const AnswerBuffer& answer) {
    if (result != how.tooSmall) return false;
    if (result != ERROR_SUCCESS) return true;
    std::uint32_t counts[2];
    return answer.Peek(counts) && counts[0] != counts[1];
}

// Makes the second room, of the size that the first answer tells.
DWORD Grow(const TwoStepRead& how, AnswerBuffer& answer) {
    std::uint64_t size = how.sizeExtra;
    if (how.sizeFactor != 0) {
        std::uint32_t field = 0;
        const auto bytes = answer.Bytes();
        if (bytes.size() < how.sizeOffset + sizeof(field)) return ERROR_INVALID_DATA;
        quorvel::ByteReader(bytes.subspan(how.sizeOffset)).Read(field);
        size += std::uint64_t{how.sizeFactor} * field;
    }
    if (size > quorvel::kLargestAnswer) return ERROR_NOT_ENOUGH_MEMORY;
    const bool isThere = answer.Allocate(static_cast<std::uint32_t>(size));
    return isThere ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

}  // namespace

QuorvelAudioDevice::QuorvelAudioDevice() = default;
QuorvelAudioDevice::QuorvelAudioDevice(const QuorvelAudioDevice& other) = default;
QuorvelAudioDevice& QuorvelAudioDevice::operator=(const QuorvelAudioDevice& other) = default;

QuorvelAudioDevice::~QuorvelAudioDevice() {
    Close();
    for (HANDLE* event : {&readEvent, &stopEvent, &startedEvent, &releaseEvent})
        CloseAndClear(*event);
}

DWORD QuorvelAudioDevice::Open(const WCHAR* path,
                               IQuorvelAudioDeviceEventsListener* eventsListener) {
    if (!path) return ERROR_INVALID_PARAMETER;
    Close();
    listener = eventsListener;
    const HANDLE opened = CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_OVERLAPPED, nullptr);
    if (opened == INVALID_HANDLE_VALUE) return GetLastError();
    TakeIntoUse(opened, true);
    const DWORD result = PostOpen();
    if (result != ERROR_SUCCESS) CloseDevice();
    return result;
}

DWORD QuorvelAudioDevice::Open(HANDLE handle, IQuorvelAudioDeviceEventsListener* eventsListener) {
    if (handle == INVALID_HANDLE_VALUE) return ERROR_INVALID_PARAMETER;
    Close();
    listener = eventsListener;
    TakeIntoUse(handle, false);
    return PostOpen();
}

// Before the events thread can find the device removed and has to know whether to close it.
void QuorvelAudioDevice::TakeIntoUse(HANDLE handle, bool isOwn) {
    if (releaseEvent) ResetEvent(releaseEvent);
    ownsHandle = isOwn;
    uses.Begin();
    device.Store(handle);
}

DWORD QuorvelAudioDevice::PostOpen() {
    if (!listener) return ERROR_SUCCESS;
    if (const DWORD error = MakeEvents()) return error;
    readOverlapped = {};
    readOverlapped.hEvent = readEvent;
    // Without the event nobody watches for the removal; the device is usable all the same.
    OpenDriverEvent(quorvel::control::kGetRemovalEventName, driverEvent);
    eventsThread = CreateThread(nullptr, 0, EventsThread, this, 0, nullptr);
    if (!eventsThread) return GetLastError();
    WaitForSingleObject(startedEvent, INFINITE);
    return threadStartResult;
}

DWORD QuorvelAudioDevice::MakeEvents() {
    for (HANDLE* event : {&stopEvent, &readEvent, &startedEvent, &releaseEvent}) {
        if (!*event) *event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        if (!*event) return GetLastError();
    }
    for (const HANDLE event : {stopEvent, readEvent, startedEvent})
        ResetEvent(event);
    return ERROR_SUCCESS;
}

void QuorvelAudioDevice::Close() {
    if (eventsThread) {
        SetEvent(stopEvent);
        SetEvent(releaseEvent);  // a callback may be waiting for an answer
        WaitForSingleObject(eventsThread, INFINITE);
        CloseAndClear(eventsThread);
        ResetEvent(stopEvent);
    }
    ReleaseDevice();
    requestEvents.Close();
}

void QuorvelAudioDevice::ReleaseDevice() {
    CloseDevice();
    CloseAndClear(driverEvent);
}

// Requests under way cancel themselves: CancelIo ends but the calling thread's, and all on the
// handle may be more than this object's.
void QuorvelAudioDevice::CloseDevice() {
    const HANDLE closed = device.Exchange(INVALID_HANDLE_VALUE);
    if (closed == INVALID_HANDLE_VALUE) return;
    CancelIo(closed);
    if (releaseEvent) SetEvent(releaseEvent);
    uses.End(ownsHandle ? closed : INVALID_HANDLE_VALUE);
}

HANDLE QuorvelAudioDevice::GetHandle() const {
    return device.Load();
}

DWORD QuorvelAudioDevice::GetError() const {
    return lastError.Load();
}

DWORD QuorvelAudioDevice::GetSetData(DWORD code, void* in, DWORD inSize, void* out, DWORD outSize,
                                     DWORD* bytesReturned) {
    DWORD returned = 0;
    const DWORD result = Send(code, in, inSize, out, outSize, returned);
    if (result == ERROR_SUCCESS && bytesReturned) *bytesReturned = returned;
    return result;
}

DWORD QuorvelAudioDevice::Send(DWORD code, const void* in, DWORD inSize, void* out, DWORD outSize,
                               DWORD& returned) {
    returned = 0;
    DWORD result = ERROR_INVALID_DATA;
    if (const quorvel::HandleUses::Request request(uses); request) {
        const HANDLE opened = device.Load();
        if (opened != INVALID_HANDLE_VALUE)
            result = Control(opened, code, in, inSize, out, outSize, returned);
        if (returned > outSize) returned = outSize;
    }
    lastError.Store(result);
    return result;
}

// With an event of its own: without one, two requests at a time would wait for the same handle, and
// one could return before its answer is there.
DWORD QuorvelAudioDevice::Control(HANDLE opened, DWORD code, const void* in, DWORD inSize,
                                  void* out, DWORD outSize, DWORD& returned) {
    OVERLAPPED request{};
    request.hEvent = requestEvents.Take();
    if (!request.hEvent) return GetLastError();
    const BOOL isDone = DeviceIoControl(opened, code, const_cast<void*>(in), inSize, out, outSize,
                                        &returned, &request);
    DWORD result = isDone ? ERROR_SUCCESS : GetLastError();
    if (result == ERROR_IO_PENDING) result = AwaitAnswer(opened, request, returned);
    requestEvents.Give(request.hEvent);
    return result;
}

DWORD QuorvelAudioDevice::AwaitAnswer(HANDLE opened, OVERLAPPED& request, DWORD& returned) {
    const HANDLE awaited[] = {request.hEvent, releaseEvent};
    if (releaseEvent && WaitForMultipleObjects(2, awaited, FALSE, INFINITE) != WAIT_OBJECT_0)
        CancelIoEx(opened, &request);
    const BOOL isDone = GetOverlappedResult(opened, &request, &returned, TRUE);
    return isDone ? ERROR_SUCCESS : GetLastError();
}

DWORD QuorvelAudioDevice::Tell(DWORD code, const void* in, std::size_t inSize) {
    DWORD returned = 0;
    return Send(code, in, static_cast<DWORD>(inSize), nullptr, 0, returned);
}

DWORD QuorvelAudioDevice::Ask(DWORD code, const void* in, DWORD inSize, AnswerBuffer& answer) {
    return Send(code, in, inSize, answer.room.get(), answer.size, answer.returned);
}

DWORD QuorvelAudioDevice::Read(const TwoStepRead& how, DWORD code, const void* in, DWORD inSize,
                               AnswerBuffer& answer) {
    if (!answer.Allocate(how.firstSize)) return ERROR_NOT_ENOUGH_MEMORY;
    const DWORD result = Ask(code, in, inSize, answer);
    if (!IsTooSmall(how, result, answer)) return result;
    if (const DWORD error = Grow(how, answer)) return error;
    return Ask(code, in, inSize, answer);
}
