// The headset's kernel driver, without the kernel: requests in, answers and event records out.
//
// It knows no handles, no waits and no threads. Whoever puts it behind a device file opens a client
// for each handle, passes every control request on, asks for events when there is a read to
// complete, and completes, holds back or fails it accordingly.
//
// Any thread may call any method. One mutex guards everything; it is a leaf: nothing but the clock
// is called while it is held, and the clock must not call back. The callbacks are called after it
// has been released, on the thread whose call brought the cause about. So a caller that holds a
// lock of its own may call in here, unless its callbacks take that lock. A callback may call in
// here, may come when its cause is gone already, and may come for a client that has just been
// closed.
//
// A change is announced to every client, the one that made it included. A client that leaves
// EventQueue::kMaxRecords records unread loses them all and finds 28 without a profile and a 27 for
// every stored profile instead: fetch everything again.
//
// Any method may allocate and so throw std::bad_alloc.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "platform/simulation/driver/driver_requests.h"
#include "platform/simulation/driver/event_queue.h"
#include "platform/simulation/driver/misbehaviour.h"

namespace quorvel::simulation {

// The time in units of 100 ns since 1601, UTC.
using DriverClock = std::function<std::uint64_t()>;
std::uint64_t SystemDriverTime();

// Each may be empty.
struct DriverCallbacks {
    std::function<void(ClientId)> readReady;  // that client's next read would now be answered
    std::function<void()> silenceEnded;       // answers held back may be given
    std::function<void()> removed;            // the device has gone away: signal its removal event
};

class DriverCore {
  public:
    explicit DriverCore(DriverCallbacks userCallbacks = {}, DriverClock userClock = {});
    DriverCore(const DriverCore&) = delete;
    DriverCore& operator=(const DriverCore&) = delete;

    // Opens a client with an event stream of its own; 0 when the device has gone away.
    ClientId OpenClient();
    void CloseClient(ClientId client);

    // Carries a control request out for a handle with the rights `access` (kReadAccess,
    // kWriteAccess) and room for `capacity` bytes. The first that applies: kInvalidHandle for an
    // unknown client, kDeviceRemoved, kInvalidFunction for an unknown code, kAccessDenied, a
    // programmed fault, and what driver_requests.h lists.
    Answer Control(ClientId client, std::uint32_t code, std::uint32_t access, ByteSpan request,
                   std::size_t capacity);

    // Answers a read of the event stream: whole records, at most `capacity` and 1024 bytes. Empty
    // when there is nothing to answer yet: the read waits for readReady. kInsufficientBuffer when
    // the first record does not fit, kInvalidHandle, kDeviceRemoved.
    std::optional<Answer> TakeEvents(ClientId client, std::size_t capacity);

    // Processes come (or change their path) and go. Both are announced.
    void AddProcess(std::uint32_t process, std::u16string path);
    void RemoveProcess(std::uint32_t process);

    void SetAnswers(DeviceAnswers answers);
    DeviceAnswers GetAnswers() const;
    StreamAnalysis GetStreamAnalysis() const;
    std::deque<StreamNotice> GetStreamNotices() const;  // oldest first

    // Queues a fault; forgets all that were not committed yet.
    void Misbehave(Misbehaviour fault);
    void Behave();

    // An answer whose `silence` is s is to be held back until SilenceHasEnded(s). EndSilence, and
    // the removal of the device, end every silence begun so far.
    void EndSilence();
    bool SilenceHasEnded(std::uint64_t silence) const { return silence <= EndedSilence(); }
    std::uint64_t EndedSilence() const;

    // Whether a silence has begun that has not ended: an answer is held back, or was until its
    // request was cancelled.
    bool IsSilent() const;

    // The device goes away; what was stored stays until the object ends, but nobody can ask for it.
    void Remove();
    bool IsRemoved() const;

  private:
    // What is to be called back once the mutex is free.
    struct Pending {
        std::vector<ClientId> ready;
        bool silenceEnded = false;
        bool removed = false;
    };

    // Runs `work(pending)` under the mutex and then the callbacks that it asks for.
    template <typename Work>
    auto Guarded(Work&& work);
    void CallBack(const Pending& pending) const;

    // All below expect the mutex to be held.
    std::uint32_t Refuse(ClientId client, std::uint32_t code, std::uint32_t access) const;
    Answer CarryOut(const Request& request, Pending& pending);
    Answer TakeRecords(EventQueue& queue, std::size_t capacity, const Misbehaviour* fault);
    template <typename Honest>
    Answer Commit(const Misbehaviour& fault, std::size_t capacity, Pending& pending,
                  Honest&& honest);
    void Announce(const DriverEvents& events, Pending& pending);
    void StartAfresh(EventQueue& queue, std::uint64_t time) const;
    void WakeReads(Pending& pending) const;
    void RemoveDevice(Pending& pending);

    const DriverCallbacks callbacks;
    const DriverClock clock;

    mutable std::mutex mutex;  // guards all below
    DriverState state;
    std::map<ClientId, EventQueue> clients;
    MisbehaviourProgram program;
    ClientId lastClient = 0;
    std::uint64_t lastSilence = 0;   // the silence begun last
    std::uint64_t endedSilence = 0;  // the last one that has ended
    bool isRemoved = false;
};

}  // namespace quorvel::simulation
