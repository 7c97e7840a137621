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

QuorvelAudioDevice::~QuorvelAudioDevice() {
    Close();
    for (HANDLE* event : {&readEvent, &stopEvent, &startedEvent})
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
    // Before the events thread can find the device removed and has to know whether to close it.
    ownsHandle = true;
    device.Store(opened);
    const DWORD result = PostOpen();
    if (result != ERROR_SUCCESS) CloseDevice();
    return result;
}

DWORD QuorvelAudioDevice::Open(HANDLE handle, IQuorvelAudioDeviceEventsListener* eventsListener) {
    if (handle == INVALID_HANDLE_VALUE) return ERROR_INVALID_PARAMETER;
    Close();
    listener = eventsListener;
    ownsHandle = false;
    device.Store(handle);
    return PostOpen();
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
    for (HANDLE* event : {&stopEvent, &readEvent, &startedEvent}) {
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
        WaitForSingleObject(eventsThread, INFINITE);
        CloseAndClear(eventsThread);
        ResetEvent(stopEvent);
    }
    ReleaseDevice();
}

void QuorvelAudioDevice::ReleaseDevice() {
    CloseDevice();
    CloseAndClear(driverEvent);
}

// Requests that have loaded the handle end before it closes: its number may be given away then.
void QuorvelAudioDevice::CloseDevice() {
    const HANDLE closed = device.Exchange(INVALID_HANDLE_VALUE);
    if (closed == INVALID_HANDLE_VALUE) return;
    CancelIo(closed);
    requests.WaitForNone();
    if (ownsHandle) CloseHandle(closed);
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
    const quorvel::RequestCount::Request request(requests);
    const HANDLE opened = device.Load();
    if (opened != INVALID_HANDLE_VALUE) {
        const BOOL done = DeviceIoControl(opened, code, const_cast<void*>(in), inSize, out, outSize,
                                          &returned, nullptr);
        result = done ? ERROR_SUCCESS : GetLastError();
        if (returned > outSize) returned = outSize;
    }
    lastError.Store(result);
    return result;
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
