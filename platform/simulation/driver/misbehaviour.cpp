#include "platform/simulation/driver/misbehaviour.h"

#include <algorithm>
#include <utility>

namespace quorvel::simulation {
namespace {

bool Matches(const Misbehaviour& fault, std::uint32_t code, std::uint32_t client) {
    return (fault.code == kAny || fault.code == code) &&
           (fault.client == kAny || fault.client == client);
}

}  // namespace

void Spoil(const Misbehaviour& fault, std::size_t capacity, Answer& answer) {
    if (fault.answer) answer.bytes = *fault.answer;
    for (const WordPatch& patch : fault.patches)
        if (std::uint64_t{patch.offset} + 4 <= answer.bytes.size())
            StoreWord(answer.bytes, patch.offset, patch.value);
    const std::size_t room = std::min(fault.cutTo.value_or(capacity), capacity);
    if (answer.bytes.size() > room) answer.bytes.resize(room);
    if (fault.status) answer.status = *fault.status;
}

void MisbehaviourProgram::Add(Misbehaviour fault) {
    if (fault.times != 0) faults.push_back(std::move(fault));
}

const Misbehaviour* MisbehaviourProgram::Due(std::uint32_t code, std::uint32_t client) const {
    const auto due = std::ranges::find_if(faults, [=](const Misbehaviour& fault) {
        return Matches(fault, code, client) && fault.skip == 0;
    });
    return due == faults.end() ? nullptr : &*due;
}

std::optional<Misbehaviour> MisbehaviourProgram::Next(std::uint32_t code, std::uint32_t client) {
    std::optional<Misbehaviour> next;
    for (Misbehaviour& fault : faults) {
        if (!Matches(fault, code, client)) continue;
        if (fault.skip > 0) {
            --fault.skip;
        } else if (!next) {
            next = fault;
            --fault.times;
        }
    }
    std::erase_if(faults, [](const Misbehaviour& fault) { return fault.times == 0; });
    return next;
}

}  // namespace quorvel::simulation
