// The kernel object behind the handle of a device file.
#pragma once

#include <memory>

#include "platform/portable/files/device.h"
#include "platform/portable/files/pending_requests.h"

namespace quorvel::platform {

// An open device file. Its handles carry FILE_..._ACCESS rights.
class OpenFile final : public KernelObject {
  public:
    OpenFile(std::unique_ptr<DeviceFile> deviceFile, bool isOverlapped)
        : device(std::move(deviceFile)), overlapped(isOverlapped) {}

    void OnLastHandleClosed(KernelLock& lock) override { PendingRequest::Cancel(lock, {this}); }

    const std::unique_ptr<DeviceFile> device;
    const bool overlapped;

    // The file's own signal, for requests that bring no event: reset by each at its start and
    // signalled at its end.
    const std::shared_ptr<Waitable> signal =
        std::make_shared<Waitable>(Waitable::ResetMode::kManual);
};

}  // namespace quorvel::platform
