#include "platform/simulation/machine/simulated_machine.h"

#include <algorithm>
#include <stdexcept>

#include "platform/simulation/machine/endpoint_objects.h"
#include "platform/simulation/machine/enumerator_class.h"

namespace quorvel::simulation {
namespace {

using platform::Machine;
using platform::MachineStep;

constexpr PROPERTYKEY kInstanceIdKey = {
    {0x78C34FC8, 0x104A, 0x4ACA, {0x9E, 0xA4, 0x52, 0x4D, 0x52, 0x99, 0x6E, 0x57}}, 256};

// A frame in memory: the outer frame's address, the return address, the parameters.
constexpr DWORD kFrameWords = 2 + std::tuple_size_v<decltype(CallFrame::parameters)>;
constexpr DWORD kFrameSize = kFrameWords * 4;

using FrameWords = std::array<DWORD, kFrameWords>;

void WriteWords(platform::MachineMemory& memory, DWORD address, const FrameWords& words) {
    std::array<std::byte, kFrameSize> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::byte>(words[i / 4] >> 8 * (i % 4) & 0xFF);
    memory.Write(address, bytes);
}

}  // namespace

SimulatedMachine::SimulatedMachine()
    : state(std::make_shared<platform::MachineState>()),
      endpoints(std::make_shared<EndpointTable>(state)) {
    state->clock = kStartOfClock;
    Machine::Install(state);
    try {
        enumeratorClass = std::make_unique<EnumeratorClass>(endpoints);
    } catch (...) {
        Machine::Remove(state);
        throw;
    }
}

SimulatedMachine::~SimulatedMachine() {
    Machine::Remove(state);
}

DWORD SimulatedMachine::AddNode(std::u16string instanceId) {
    const Machine lock;
    const auto node = static_cast<DWORD>(state->nodes.size() + 1);
    state->nodes.push_back({node, std::move(instanceId)});
    return node;
}

void SimulatedMachine::AddInterface(const GUID& interfaceClass, DWORD node, std::u16string path,
                                    bool isPresent) {
    const Machine lock;
    state->interfaces.push_back({interfaceClass, node, std::move(path), isPresent});
}

EndpointNumber SimulatedMachine::AddEndpoint(EndpointDescription endpoint) {
    auto shared = std::make_shared<const EndpointDescription>(std::move(endpoint));
    const Machine lock;
    endpoints->endpoints.push_back(std::move(shared));
    return endpoints->endpoints.size() - 1;
}

EndpointNumber SimulatedMachine::AddEndpoint(std::u16string id, EDataFlow flow,
                                             std::u16string_view instanceId) {
    EndpointDescription endpoint{std::move(id), flow};
    if (!instanceId.empty()) endpoint.properties.emplace_back(kInstanceIdKey, instanceId);
    return AddEndpoint(std::move(endpoint));
}

IMMDeviceCollection* SimulatedMachine::NewCollection(
    const std::vector<EndpointNumber>& members) const {
    SharedEndpoints selected;
    {
        const Machine lock;
        for (const EndpointNumber member : members)
            selected.push_back(endpoints->endpoints.at(member));
    }
    return MakeCollection(endpoints, std::move(selected));
}

std::size_t SimulatedMachine::NotificationClients() const {
    const Machine lock;
    return endpoints->clients.size();
}

std::size_t SimulatedMachine::LiveObjects() const {
    return endpoints->liveObjects;
}

void SimulatedMachine::AddModule(platform::LoadedModule loaded) {
    const Machine lock;
    state->modules.push_back(std::move(loaded));
}

void SimulatedMachine::WriteMemory(DWORD address, std::span<const std::byte> bytes) {
    const Machine lock;
    state->memory.Write(address, bytes);
}

void SimulatedMachine::SetCallStack(const std::vector<CallFrame>& frames) {
    if (frames.empty()) throw std::invalid_argument("a call stack has a frame");
    constexpr DWORD kLargestStack = 0x1'0000;
    const Machine lock;
    state->memory.Erase(kStackBase, kLargestStack);
    state->innermost = {frames.front().instruction, kStackBase, kStackBase};
    DWORD place = kStackBase;
    for (auto frame = frames.begin(); frame != frames.end(); ++frame, place += kFrameSize) {
        const bool isLast = std::next(frame) == frames.end();
        FrameWords words{isLast ? 0 : place + kFrameSize,
                         isLast ? 0 : std::next(frame)->instruction};
        std::ranges::copy(frame->parameters, words.begin() + 2);
        WriteWords(state->memory, place, words);
    }
}

void SimulatedMachine::Fail(MachineStep step, DWORD error, std::size_t skip, std::size_t times) {
    const Machine lock;
    state->faults.Add(step, error, skip, times);
}

void SimulatedMachine::Behave() {
    const Machine lock;
    state->faults.Clear();
}

std::size_t SimulatedMachine::Calls(MachineStep step) const {
    const Machine lock;
    return state->faults.Calls(step);
}

platform::SymbolSession SimulatedMachine::Symbols() const {
    const Machine lock;
    return state->symbols;
}

void SimulatedMachine::SetClock(std::int64_t secondsSinceEpoch) {
    const Machine lock;
    state->clock = secondsSinceEpoch;
}

}  // namespace quorvel::simulation
