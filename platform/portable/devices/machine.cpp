#include "platform/portable/devices/machine.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "platform/portable/kernel/handles.h"

namespace quorvel::platform {
namespace {

// Never destroyed, so that threads that outlive the static objects stay safe.
std::mutex& MachineMutex() {
    static std::mutex& mutex = *new std::mutex;
    return mutex;
}

std::shared_ptr<MachineState>& Present() {
    static auto& present = *new std::shared_ptr<MachineState>;
    return present;
}

MachineState& Bare() {
    static MachineState& bare = *new MachineState;
    return bare;
}

char16_t Folded(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
}

}  // namespace

Machine::Machine() : lock(MachineMutex()), state(Present() ? Present().get() : &Bare()) {}

bool Machine::Fails(MachineStep step) const {
    const DWORD error = state->faults.Take(step);
    if (error != 0) SetLastError(error);
    return error != 0;
}

void Machine::Install(std::shared_ptr<MachineState> next) {
    const std::lock_guard guard(MachineMutex());
    if (Present()) throw std::logic_error("there is a simulated machine already");
    Present() = std::move(next);
}

void Machine::Remove(const std::shared_ptr<MachineState>& old) {
    const std::lock_guard guard(MachineMutex());
    if (Present() == old) Present().reset();
}

bool IsSameName(std::u16string_view a, std::u16string_view b) {
    return std::ranges::equal(a, b, {}, Folded, Folded);
}

const LoadedModule* FindModule(const std::vector<LoadedModule>& modules, DWORD64 address) {
    const auto found = std::ranges::find_if(modules, [&](const LoadedModule& candidate) {
        return address >= candidate.base && address - candidate.base < candidate.size;
    });
    return found == modules.end() ? nullptr : &*found;
}

bool CopyText(std::u16string_view text, WCHAR* to, std::size_t units) {
    const std::size_t kept = std::min(text.size(), units - 1);
    *std::copy_n(text.begin(), kept, to) = 0;
    return kept == text.size();
}

}  // namespace quorvel::platform
