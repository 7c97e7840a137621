// The client of the headset's driver.
#pragma once

#include <cstddef>

#include "client/handle_uses.h"
#include "client/quorvel_audio_device_events_listener.h"
#include "client/request_events.h"
#include "client/shared_value.h"
#include "client/stream_records.h"
#include "platform/windows_api.h"
#include "profile/packed_records.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"

namespace quorvel {
class AnswerBuffer;
struct TwoStepRead;
}  // namespace quorvel

// One open handle to the driver. Operations that return DWORD return a Win32 error code, 0 for
// success; none throws. Pointers must not be null unless said otherwise.
//
// GetError() is the result of the latest request; what fails before a request is sent (memory, a
// block of an unknown kind, a null path) is returned but not stored.
//   8     memory cannot be had, or the driver asks for a buffer above 64 MiB
//   13    the device is not open (stored too), or the driver's answer is cut off or contradicts
//         itself; profile or block then hold what was read until there
//   87    an argument that cannot be
//   1168  the profile has no such chain
//   1630  a block of a kind that the block factory does not know
//   any other is the system's or the driver's own
//
// Threads: there is no lock and so no lock order. Requests may run on several threads at once, the
// callbacks of the listener included; each waits for its own answer, and of several the latest to
// end decides GetError(). Open, Close, copying and the destructor must not run at the same time as
// anything else here, nor inside a callback. Fields that both requests and the events thread write
// are SharedValues; the others have one writer at a time, before the events thread starts, on it,
// or after it has ended.
//
// The events thread releases the device when the listener accepts its removal. Requests that the
// driver has not answered by then are cancelled (995); later ones fail with 13. The last of them
// closes the handle, so the events thread waits for none. Close, too, cancels what a callback waits
// for.
class QuorvelAudioDevice {
  public:
    QuorvelAudioDevice();

    // Both copy every field as a value and duplicate no handle. Of two copies only one may be
    // closed or destroyed, if the device is its own or ever had a listener; none may be made while
    // an events thread runs.
    QuorvelAudioDevice(const QuorvelAudioDevice& other);
    QuorvelAudioDevice& operator=(const QuorvelAudioDevice& other);

    // Closes the device.
    virtual ~QuorvelAudioDevice();

    // Closes what was open and opens the device at `path`; 87, and nothing is closed, when `path`
    // is null. With a listener, which must stay until Close, a thread starts that delivers events;
    // if that fails, or its first read does, the error is returned and the device is closed.
    DWORD Open(const WCHAR* path, IQuorvelAudioDeviceEventsListener* eventsListener);

    // The same on a handle of the caller, who goes on owning it; after a failure the device still
    // uses it. 87 for INVALID_HANDLE_VALUE. With a listener it must be open for overlapped reads.
    DWORD Open(HANDLE handle, IQuorvelAudioDeviceEventsListener* eventsListener);

    // Ends the events thread and closes what this object owns. Harmless on a closed device.
    void Close();

    HANDLE GetHandle() const;
    DWORD GetError() const;

    // One request, answered before this returns. After success `*bytesReturned`, unless null, is
    // the size of the answer, at most `outSize`. Null buffers go with sizes of 0.
    DWORD GetSetData(DWORD code, void* in, DWORD inSize, void* out, DWORD outSize,
                     DWORD* bytesReturned);

    // Opens the event whose name the driver answers to `code`, for waiting; the caller closes it.
    // Null when that fails; only the request's result is stored for GetError().
    DWORD OpenDriverEvent(DWORD code, HANDLE& event);

    // --- Profiles in the driver ---
    // Whole profiles. The getters replace id, cookie, paths and the chains that the driver's
    // profile has; other chains stay. `pid` asks for the profile that applies to a process.
    DWORD SetProfileData(QuorvelAudioProfile* profile);
    DWORD GetProfileData(QuorvelAudioProfile* profile);
    DWORD GetProfileForPID(DWORD pid, QuorvelAudioProfile* profile);
    DWORD RemoveProfile(GUID& id);
    DWORD RemoveProfile(QuorvelAudioProfile* profile);
    DWORD ClearProfiles();

    // Replaces the list by the ids of all stored profiles. When their number changes between the
    // two requests that a long list takes, the result may be 13, and the list is as it was.
    DWORD GetAllProfiles(QuorvelAudioProfilesList* list);

    // One chain's blocks or links. The getters make the chain when the profile has none.
    DWORD SetProfileBlocks(QuorvelAudioProfile* profile, DWORD chainId);
    DWORD GetProfileBlocks(QuorvelAudioProfile* profile, DWORD chainId);
    DWORD SetProfileLinks(QuorvelAudioProfile* profile, DWORD chainId);
    DWORD GetProfileLinks(QuorvelAudioProfile* profile, DWORD chainId);

    // Bytes that the driver leaves out of the header of its answer count as zeros: no paths.
    DWORD SetProfilePaths(QuorvelAudioProfile* profile);
    DWORD GetProfilePaths(QuorvelAudioProfile* profile);

    // One block, found by id, profileId and chainId; one link.
    DWORD SetAudioBlock(QuorvelAudioBlock* block);
    DWORD GetAudioBlock(QuorvelAudioBlock* block);
    DWORD RemoveAudioBlock(QuorvelAudioBlock* block);
    DWORD SetProfileLink(_QuorvelAudioBlockLink* link);
    DWORD RemoveProfileLink(_QuorvelAudioBlockLink* link);

    // --- Questions about the device ---
    // Hand out a buffer, to be released with Free: texts end with a zero unit, the formats are 1024
    // bytes. When the request fails the pointer becomes null; without memory it is left alone. Of a
    // link that begins with "\??\" the second unit becomes a backslash, so that Open takes it.
    DWORD GetDriverVersion(WCHAR** version);
    DWORD GetInterfaceLink(const GUID* interfaceClass, WCHAR** link);
    DWORD GetAudioInterface(WCHAR** link);
    DWORD GetDataFormatRange(_QuorvelSupportedDataFormats** formats);
    DWORD GetChannelMask(_QuorvelChannelsMaskInfo* info);

    // The driver's answer as it comes, at most `chars` units (2^31 - 1 count); no terminator is
    // added.
    DWORD GetProcessPathByPID(DWORD pid, WCHAR* path, DWORD chars);

    DWORD EnableStreamAnalysis(int first, int second);

    // `values` are `count` numbers; 87 when there are some and `values` is null.
    DWORD SetStreamAnalysisParams(int first, DWORD second, float third, int fourth, int fifth,
                                  DWORD count, DWORD* values);

    // The caller sets data->count and has room for as many entries behind the header; the driver
    // overwrites all. 87 when the record would exceed 4 GiB.
    DWORD GetLastFrequenciesInfo(_QuorvelStreamAnalysisData* data, int selector);

    // --- Helpers without a device: any thread, each profile from one thread at a time ---
    // The printable text form of a profile: zero-terminated base64 without line breaks, described
    // in profile/text_form.h. The caller releases it with Free. Null when `profile` is null, when
    // memory cannot be had, or when the profile exceeds 4 GiB. The text of a profile whose id is
    // not that of its chains (changed after they were made, or they came from another profile) is
    // refused by DecodeProfile with 13; encode a copy of such a profile
    // (PackProfile of profile/packed_profile.h).
    static const char* EncodeProfile(QuorvelAudioProfile* profile);

    // Reads the text form into `profile`: id, cookie, paths and the chains that the text holds are
    // replaced, other chains stay. After a failure the profile holds what was read until then.
    // A chain that the profile had keeps its profileId: after reading a profile of another id over
    // it, see EncodeProfile.
    //   87    null or empty text, null profile
    //   13    not the text form of a profile, or damaged
    //   1305  written by newer software
    //   8     memory cannot be had
    static DWORD DecodeProfile(const char* text, QuorvelAudioProfile* profile);

    // Sets `target` to a copy of `source` on the C runtime heap; null when `source` is null or the
    // copy cannot be allocated. The previous value of `target` is not released.
    static void CopyString(WCHAR*& target, const WCHAR* source);

    // Releases any buffer that this class handed out; null is ignored.
    static void Free(void* buffer);

  private:
    // Lets the tests of the packed records reach the operations on them below.
    friend struct QuorvelAudioDevicePeer;

    // device_transport.cpp
    void TakeIntoUse(HANDLE handle, bool isOwn);
    DWORD PostOpen();
    DWORD MakeEvents();
    void CloseDevice();
    void ReleaseDevice();

    // One request. `returned` is set whatever the result, for partial answers, and at most
    // `outSize`. `in` is not written to.
    DWORD Send(DWORD code, const void* in, DWORD inSize, void* out, DWORD outSize, DWORD& returned);
    DWORD Control(HANDLE opened, DWORD code, const void* in, DWORD inSize, void* out, DWORD outSize,
                  DWORD& returned);
    DWORD AwaitAnswer(HANDLE opened, OVERLAPPED& request, DWORD& returned);
    DWORD Tell(DWORD code, const void* in, std::size_t inSize);

    // Asks once or, when the driver says that the buffer is too small, twice.
    DWORD Read(const quorvel::TwoStepRead& how, DWORD code, const void* in, DWORD inSize,
               quorvel::AnswerBuffer& answer);
    DWORD Ask(DWORD code, const void* in, DWORD inSize, quorvel::AnswerBuffer& answer);

    // profile_requests.cpp
    DWORD GetProfile(DWORD code, void* in, DWORD inSize, QuorvelAudioProfile* profile);

    // device_queries.cpp: hands out a text of at most `bytes` bytes, `units` long.
    DWORD GetText(DWORD code, const void* in, DWORD inSize, DWORD bytes, WCHAR** text,
                  DWORD& units);

    // events_thread.cpp
    static DWORD WINAPI EventsThread(void* device);
    void EventsThreadInternal();
    bool TakeEvents();
    bool AcceptsRemoval();
    DWORD DoAsyncRead();
    void ProcessEvents(DWORD size);

    // Write one section of a record. `size` is the section's size (`stringsSize` that of the paths
    // area), 0 to have it computed; `out` has room for it.
    static void FillBlocksFromChain(_QuorvelAudioProfileBlocks* out, QuorvelAudioBlocksChain* chain,
                                    unsigned size);
    static void FillLinksFromChain(_QuorvelAudioProfileBlocksLinks* out,
                                   QuorvelAudioBlocksChain* chain, unsigned size);
    static void FillPathsFromProfile(_QuorvelProfilePaths* out, QuorvelAudioProfile* profile,
                                     unsigned stringsSize);

    // Replace the blocks, links or paths by those of a section; the suffix _1 reads version 1. They
    // TRUST the size that the section gives itself. Bytes that come from outside go through the
    // bounded readers of profile/packed_sections.h.
    static DWORD FillChainBlocks(QuorvelAudioBlocksChain* chain, _QuorvelAudioProfileBlocks* in);
    static DWORD FillChainBlocks_1(QuorvelAudioBlocksChain* chain, void* in);
    static DWORD FillChainLinks(QuorvelAudioBlocksChain* chain,
                                _QuorvelAudioProfileBlocksLinks* in);
    static DWORD FillChainLinks_1(QuorvelAudioBlocksChain* chain, void* in);
    static DWORD FillProfilePaths(QuorvelAudioProfile* profile, _QuorvelProfilePaths* in);

    // Allocates a buffer on the C runtime heap of the whole-profile record and `extra` bytes, and
    // writes the record at byte `offset`; the extra bytes are 0. The caller releases the buffer
    // with Free. 8 when memory cannot be had, 87 when `offset` exceeds `extra`; `buffer` and
    // `bufferSize` are then untouched.
    static DWORD PackProfileData(QuorvelAudioProfile* profile, void** buffer, unsigned& bufferSize,
                                 unsigned extra, unsigned offset);

    // Read a whole-profile record of `size` bytes. Every size inside is checked.
    static DWORD UnpackProfileData_2(QuorvelAudioProfile* profile, _QuorvelProfileFullData* data,
                                     unsigned size);
    static DWORD UnpackProfileData_1(QuorvelAudioProfile* profile, _QuorvelProfileFullData* data,
                                     unsigned size);

    // Other programs know these by their order.
    quorvel::SharedValue<HANDLE> device = INVALID_HANDLE_VALUE;  // that when closed
    bool ownsHandle = false;                                     // opened here, to be closed here
    HANDLE eventsThread = nullptr;  // null when none was started since the last Close
    HANDLE stopEvent = nullptr;     // manual-reset, as are the next two; made once, kept to the end
    HANDLE readEvent = nullptr;     // of the pending read
    HANDLE startedEvent = nullptr;  // the events thread has tried its first read
    DWORD threadStartResult = 0;    // result of that read
    OVERLAPPED readOverlapped{};    // the pending read
    std::byte eventBuffer[1024]{};  // what it fills
    IQuorvelAudioDeviceEventsListener* listener = nullptr;  // not owned; null: no events thread
    quorvel::SharedValue<DWORD> lastError = 0;
    HANDLE driverEvent = nullptr;  // the removal event, or null
    DWORD lastReadBytes = 0;       // of a read that completed at once; 0 while it is pending

    HANDLE releaseEvent = nullptr;  // manual-reset, kept to the end: pending requests are cancelled
    quorvel::HandleUses uses;       // of `device`
    quorvel::RequestEvents requestEvents;
};
