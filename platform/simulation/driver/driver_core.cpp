#include "platform/simulation/driver/driver_core.h"

#include <chrono>
#include <type_traits>
#include <utility>

namespace quorvel::simulation {

std::uint64_t SystemDriverTime() {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    // 1601 to 1970: 369 years of 365 days and 89 leap days.
    constexpr std::uint64_t kEpoch = (369 * 365 + 89) * 86'400ull * 10'000'000;
    const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
    return kEpoch +
           static_cast<std::uint64_t>(std::chrono::duration_cast<Ticks>(since1970).count());
}

DriverCore::DriverCore(DriverCallbacks userCallbacks, DriverClock userClock)
    : callbacks(std::move(userCallbacks)),
      clock(userClock ? std::move(userClock) : DriverClock(SystemDriverTime)) {}

template <typename Work>
auto DriverCore::Guarded(Work&& work) {
    Pending pending;
    if constexpr (std::is_void_v<decltype(work(pending))>) {
        {
            const std::lock_guard lock(mutex);
            work(pending);
        }
        CallBack(pending);
    } else {
        auto result = [&] {
            const std::lock_guard lock(mutex);
            return work(pending);
        }();
        CallBack(pending);
        return result;
    }
}

void DriverCore::CallBack(const Pending& pending) const {
    if (pending.removed && callbacks.removed) callbacks.removed();
    if (pending.silenceEnded && callbacks.silenceEnded) callbacks.silenceEnded();
    if (!callbacks.readReady) return;
    for (const ClientId client : pending.ready)
        callbacks.readReady(client);
}

ClientId DriverCore::OpenClient() {
    const std::lock_guard lock(mutex);
    if (isRemoved) return 0;
    clients.try_emplace(++lastClient);
    return lastClient;
}

void DriverCore::CloseClient(ClientId client) {
    const std::lock_guard lock(mutex);
    clients.erase(client);
}

Answer DriverCore::Control(ClientId client, std::uint32_t code, std::uint32_t access,
                           ByteSpan request, std::size_t capacity) {
    return Guarded([&](Pending& pending) {
        if (const std::uint32_t refusal = Refuse(client, code, access)) return StatusOnly(refusal);
        const Request whole{client, static_cast<ControlCode>(code), request, capacity};
        const auto fault = program.Next(code, client);
        if (!fault) return CarryOut(whole, pending);
        return Commit(*fault, capacity, pending, [&] { return CarryOut(whole, pending); });
    });
}

std::uint32_t DriverCore::Refuse(ClientId client, std::uint32_t code, std::uint32_t access) const {
    if (!clients.contains(client)) return status::kInvalidHandle;
    if (isRemoved) return status::kDeviceRemoved;
    if (!FindRequestKind(code)) return status::kInvalidFunction;
    return (access & AccessOf(code)) == 0 ? status::kAccessDenied : status::kSuccess;
}

Answer DriverCore::CarryOut(const Request& request, Pending& pending) {
    DriverEvents events;
    const RequestKind& kind = *FindRequestKind(static_cast<std::uint32_t>(request.code));
    Answer answer = Serve(kind, state, request, events);
    Announce(events, pending);
    return answer;
}

template <typename Honest>
Answer DriverCore::Commit(const Misbehaviour& fault, std::size_t capacity, Pending& pending,
                          Honest&& honest) {
    if (fault.removeDevice) {
        RemoveDevice(pending);
        return StatusOnly(status::kDeviceRemoved);
    }
    Answer answer = fault.refuse ? StatusOnly(*fault.refuse) : honest();
    if (!fault.refuse) Spoil(fault, capacity, answer);
    if (fault.silent) answer.silence = ++lastSilence;
    return answer;
}

std::optional<Answer> DriverCore::TakeEvents(ClientId client, std::size_t capacity) {
    return Guarded([&](Pending& pending) -> std::optional<Answer> {
        const auto entry = clients.find(client);
        if (entry == clients.end()) return StatusOnly(status::kInvalidHandle);
        if (isRemoved) return StatusOnly(status::kDeviceRemoved);
        const Misbehaviour* due = program.Due(kEventRead, client);
        EventQueue& queue = entry->second;
        if (queue.Empty() && !(due && due->EndsRead())) return {};
        const auto fault = program.Next(kEventRead, client);
        WakeReads(pending);
        if (!fault) return TakeRecords(queue, capacity, nullptr);
        return Commit(*fault, capacity, pending,
                      [&] { return TakeRecords(queue, capacity, &*fault); });
    });
}

Answer DriverCore::TakeRecords(EventQueue& queue, std::size_t capacity, const Misbehaviour* fault) {
    if (fault && fault->answer) return {};
    Answer answer{.bytes = queue.Take(capacity)};
    if (answer.bytes.empty()) answer.status = status::kInsufficientBuffer;
    return answer;
}

void DriverCore::Announce(const DriverEvents& events, Pending& pending) {
    if (events.empty()) return;
    const std::uint64_t time = clock();
    for (auto& [client, queue] : clients) {
        if (queue.Empty()) pending.ready.push_back(client);
        for (const DriverEvent& event : events) {
            if (queue.Full()) {
                StartAfresh(queue, time);
                break;
            }
            queue.Push(WriteEvent(event, time));
        }
    }
}

void DriverCore::StartAfresh(EventQueue& queue, std::uint64_t time) const {
    queue.Clear();
    queue.Push(WriteEvent({.kind = EventKind::kPathsChanged}, time));
    for (const StoredProfile& profile : state.profiles.Profiles())
        queue.Push(WriteEvent({.kind = EventKind::kProfileDataChanged,
                               .profile = profile.id,
                               .cookie = profile.cookie},
                              time));
}

void DriverCore::AddProcess(std::uint32_t process, std::u16string path) {
    Guarded([&](Pending& pending) {
        state.processes.Add(process, std::move(path));
        Announce({{.kind = EventKind::kAssignmentChanged}}, pending);
    });
}

void DriverCore::RemoveProcess(std::uint32_t process) {
    Guarded([&](Pending& pending) {
        if (!state.processes.Remove(process)) return;
        Announce({{.kind = EventKind::kAssignmentChanged}}, pending);
    });
}

void DriverCore::SetAnswers(DeviceAnswers answers) {
    const std::lock_guard lock(mutex);
    state.answers = std::move(answers);
}

DeviceAnswers DriverCore::GetAnswers() const {
    const std::lock_guard lock(mutex);
    return state.answers;
}

StreamAnalysis DriverCore::GetStreamAnalysis() const {
    const std::lock_guard lock(mutex);
    return state.analysis;
}

std::deque<StreamNotice> DriverCore::GetStreamNotices() const {
    const std::lock_guard lock(mutex);
    return state.notices;
}

void DriverCore::Misbehave(Misbehaviour fault) {
    Guarded([&](Pending& pending) {
        program.Add(std::move(fault));
        WakeReads(pending);
    });
}

// A read that waits may now be answered by a fault alone.
void DriverCore::WakeReads(Pending& pending) const {
    for (const auto& entry : clients) {
        const Misbehaviour* due = program.Due(kEventRead, entry.first);
        if (due && due->EndsRead()) pending.ready.push_back(entry.first);
    }
}

void DriverCore::Behave() {
    const std::lock_guard lock(mutex);
    program.Clear();
}

void DriverCore::EndSilence() {
    Guarded([&](Pending& pending) {
        endedSilence = lastSilence;
        pending.silenceEnded = true;
    });
}

std::uint64_t DriverCore::EndedSilence() const {
    const std::lock_guard lock(mutex);
    return endedSilence;
}

bool DriverCore::IsSilent() const {
    const std::lock_guard lock(mutex);
    return endedSilence != lastSilence;
}

void DriverCore::Remove() {
    Guarded([&](Pending& pending) { RemoveDevice(pending); });
}

void DriverCore::RemoveDevice(Pending& pending) {
    if (isRemoved) return;
    isRemoved = true;
    endedSilence = lastSilence;
    pending.removed = pending.silenceEnded = true;
    for (const auto& entry : clients)
        pending.ready.push_back(entry.first);
}

bool DriverCore::IsRemoved() const {
    const std::lock_guard lock(mutex);
    return isRemoved;
}

}  // namespace quorvel::simulation
