// A device whose behaviour a test dictates.
#pragma once

#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <new>
#include <vector>

#include "platform/portable/files/device.h"
#include "tests/support/handles.h"

namespace quorvel::test {

inline std::vector<std::byte> Bytes(std::initializer_list<int> values) {
    std::vector<std::byte> bytes;
    for (const int value : values)
        bytes.push_back(static_cast<std::byte>(value));
    return bytes;
}

class FakeDevice : public platform::Device {
  public:
    using Answer = std::function<DWORD(DWORD code, std::span<const std::byte> in,
                                       std::span<std::byte> out, DWORD& returned)>;
    using ControlHandler =
        std::function<void(DWORD code, std::shared_ptr<platform::DeviceRequest>)>;
    using ReadHandler = std::function<void(std::shared_ptr<platform::DeviceRequest>)>;

    // Set before the device is used.
    DWORD openError = ERROR_SUCCESS;
    Answer answer;
    ControlHandler onControl;  // instead of `answer`
    ReadHandler onRead = [this](auto request) { Queue(std::move(request)); };

    std::atomic<int> openFiles = 0;

    DWORD Open(DWORD, DWORD, std::unique_ptr<platform::DeviceFile>& file) override {
        if (openError == ERROR_SUCCESS) file = std::make_unique<File>(*this);
        return openError;
    }

    void Queue(std::shared_ptr<platform::DeviceRequest> request) {
        const std::lock_guard lock(mutex);
        queue.push_back(std::move(request));
    }

    // The oldest queued request, or null.
    std::shared_ptr<platform::DeviceRequest> Take() {
        const std::lock_guard lock(mutex);
        if (queue.empty()) return nullptr;
        auto request = std::move(queue.front());
        queue.pop_front();
        return request;
    }

  private:
    class File final : public platform::DeviceFile {
      public:
        explicit File(FakeDevice& owner) : device(owner) { ++device.openFiles; }
        ~File() override { --device.openFiles; }
        void Control(DWORD code, std::span<const std::byte> in,
                     std::shared_ptr<platform::DeviceRequest> request) override try {
            if (device.onControl) return device.onControl(code, std::move(request));
            std::vector<std::byte> out(request->Size());
            DWORD returned = 0;
            const DWORD error = device.answer(code, in, out, returned);
            out.resize(std::min<std::size_t>(returned, out.size()));
            request->Complete(error, out, returned);
        } catch (const std::bad_alloc&) {
            request->Fail(ERROR_NOT_ENOUGH_MEMORY);
        }
        void Read(std::shared_ptr<platform::DeviceRequest> request) override {
            device.onRead(std::move(request));
        }

      private:
        FakeDevice& device;
    };

    std::mutex mutex;
    std::deque<std::shared_ptr<platform::DeviceRequest>> queue;
};

// A registered fake device; in the end all of its handles must be closed.
class FakeDeviceTest : public HandleBalance {
  protected:
    static constexpr const WCHAR* kPath = u"\\\\?\\Fake#Device";

    void SetUp() override {
        HandleBalance::SetUp();
        platform::RegisterDevice(kPath, device);
    }
    void TearDown() override {
        platform::UnregisterDevice(kPath);
        HandleBalance::TearDown();
        EXPECT_EQ(device->openFiles, 0);
    }

    static UniqueHandle OpenFile(DWORD access = GENERIC_READ | GENERIC_WRITE) {
        return UniqueHandle(
            CreateFileW(kPath, access, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr));
    }

    std::shared_ptr<FakeDevice> device = std::make_shared<FakeDevice>();
};

}  // namespace quorvel::test
