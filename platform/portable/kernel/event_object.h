// The kernel object behind an event handle.
#pragma once

#include <string>
#include <utility>

#include "platform/portable/kernel/kernel_object.h"

namespace quorvel::platform {

class Event final : public Waitable {
  public:
    // `nameWithSpace` is the name with its namespace, empty for a nameless event.
    Event(ResetMode resetMode, bool isSignalled, std::u16string nameWithSpace)
        : Waitable(resetMode, isSignalled), name(std::move(nameWithSpace)) {}

    // Frees the name.
    void OnLastHandleClosed(KernelLock&) override;

  private:
    const std::u16string name;
};

}  // namespace quorvel::platform
