#include "platform/simulation/driver/simulated_driver.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <map>
#include <mutex>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/portable/files/device.h"
#include "platform/portable/files/device_files.h"
#include "platform/simulation/driver/read_queue.h"
#include "platform/unique_handle.h"

namespace quorvel::simulation {
namespace {

using platform::DeviceRequest;
using platform::UniqueHandle;

std::uint32_t RightsOf(DWORD genericAccess) {
    return (genericAccess & GENERIC_READ ? kReadAccess : 0) |
           (genericAccess & GENERIC_WRITE ? kWriteAccess : 0);
}

void Complete(DeviceRequest& request, const Answer& answer) {
    request.Complete(answer.status, answer.bytes, static_cast<DWORD>(answer.bytes.size()));
}

UniqueHandle MakeRemovalEvent(const std::u16string& name) {
    UniqueHandle event(CreateEventW(nullptr, TRUE, FALSE, (u"Global\\" + name).c_str()));
    if (event) {
        ResetEvent(event.Get());
        return event;
    }
    if (GetLastError() == ERROR_NOT_ENOUGH_MEMORY) throw std::bad_alloc();
    throw std::invalid_argument("no event can have the name of the removal event");
}

}  // namespace

// The core, its files and the answers held back. The files keep it alive.
class SimulatedDriver::Device final : public platform::Device,
                                      public std::enable_shared_from_this<Device> {
  public:
    Device(DeviceAnswers answers, DriverClock clock)
        : removalEvent(MakeRemovalEvent(answers.removalEventName)),
          core({.readReady = [this](ClientId client) { ServeReads(client); },
                .silenceEnded = [this] { EndWaits(); },
                .removed = [this] { SetEvent(removalEvent.Get()); }},
               std::move(clock)) {
        core.SetAnswers(std::move(answers));
    }

    DWORD Open(DWORD access, DWORD callerProcess,
               std::unique_ptr<platform::DeviceFile>& file) override;

    void Forget(ClientId client) {
        core.CloseClient(client);
        const std::lock_guard lock(mutex);
        queues.erase(client);
    }

    // Keeps `answer` until its silence ends. Throws std::bad_alloc and has then not taken it.
    void HoldBack(const std::shared_ptr<DeviceRequest>& request, Answer answer) {
        {
            const std::lock_guard lock(mutex);
            heldBack.remove_if([](const HeldBack& held) { return held.request->IsCancelled(); });
            heldBack.push_back({request, std::move(answer)});
        }
        GiveWhatIsDue();
    }

    bool IsHeard() {
        return std::ranges::all_of(Queues(), [](const auto& queue) { return queue->IsIdle(); });
    }

    const UniqueHandle removalEvent;
    DriverCore core;

  private:
    // A control request that waits for the end of its answer's silence.
    struct HeldBack {
        std::shared_ptr<DeviceRequest> request;
        Answer answer;
    };

    void ServeReads(ClientId client) {
        std::shared_ptr<ReadQueue> queue;
        {
            const std::lock_guard lock(mutex);
            if (const auto entry = queues.find(client); entry != queues.end())
                queue = entry->second;
        }
        if (queue) queue->Serve();
    }

    void EndWaits() {
        GiveWhatIsDue();
        for (const auto& queue : Queues())
            queue->Serve();
    }

    // A silence that ends after the look at it calls this once more.
    void GiveWhatIsDue() {
        const std::uint64_t ended = core.EndedSilence();
        std::list<HeldBack> due;
        {
            const std::lock_guard lock(mutex);
            for (auto held = heldBack.begin(); held != heldBack.end();) {
                const auto next = std::next(held);
                if (held->answer.silence <= ended) due.splice(due.end(), heldBack, held);
                held = next;
            }
        }
        for (const HeldBack& held : due)
            Complete(*held.request, held.answer);
    }

    std::vector<std::shared_ptr<ReadQueue>> Queues() {
        const std::lock_guard lock(mutex);
        std::vector<std::shared_ptr<ReadQueue>> all;
        for (const auto& entry : queues)
            all.push_back(entry.second);
        return all;
    }

    std::mutex mutex;  // guards all below
    std::map<ClientId, std::shared_ptr<ReadQueue>> queues;
    std::list<HeldBack> heldBack;
};

class SimulatedDriver::File final : public platform::DeviceFile {
  public:
    File(std::shared_ptr<Device> owner, ClientId openedClient, std::uint32_t grantedRights,
         std::shared_ptr<ReadQueue> queue)
        : device(std::move(owner)),
          client(openedClient),
          rights(grantedRights),
          reads(std::move(queue)) {}

    ~File() override { device->Forget(client); }

    void Control(DWORD code, std::span<const std::byte> in,
                 std::shared_ptr<DeviceRequest> request) override try {
        Answer answer = device->core.Control(client, code, rights, in, request->Size());
        if (answer.silence == 0)
            Complete(*request, answer);
        else
            device->HoldBack(request, std::move(answer));
    } catch (const std::bad_alloc&) {
        request->Fail(ERROR_NOT_ENOUGH_MEMORY);
    }

    void Read(std::shared_ptr<DeviceRequest> request) override try {
        reads->Add(request);
    } catch (const std::bad_alloc&) {
        request->Fail(ERROR_NOT_ENOUGH_MEMORY);
    }

  private:
    const std::shared_ptr<Device> device;
    const ClientId client;
    const std::uint32_t rights;
    const std::shared_ptr<ReadQueue> reads;
};

DWORD SimulatedDriver::Device::Open(DWORD access, DWORD,
                                    std::unique_ptr<platform::DeviceFile>& file) try {
    const ClientId client = core.OpenClient();
    if (client == 0) return ERROR_FILE_NOT_FOUND;
    try {
        auto queue = std::make_shared<ReadQueue>(core, client);
        {
            const std::lock_guard lock(mutex);
            queues.emplace(client, queue);
        }
        file = std::make_unique<File>(shared_from_this(), client, RightsOf(access), queue);
    } catch (const std::bad_alloc&) {
        Forget(client);
        throw;
    }
    return ERROR_SUCCESS;
} catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
}

SimulatedDriver::SimulatedDriver(std::u16string devicePath, DeviceAnswers answers,
                                 DriverClock clock)
    : path(std::move(devicePath)),
      device(std::make_shared<Device>(std::move(answers), std::move(clock))) {
    platform::RegisterDevice(path, device);
}

SimulatedDriver::~SimulatedDriver() {
    platform::UnregisterDevice(path);
    Remove();
}

bool SimulatedDriver::IsHeard() {
    return device->IsHeard();
}

void SimulatedDriver::AnnounceRemoval() {
    SetEvent(device->removalEvent.Get());
}

DriverCore& SimulatedDriver::Core() {
    return device->core;
}

}  // namespace quorvel::simulation
