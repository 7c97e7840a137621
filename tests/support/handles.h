// For tests that open handles.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/portable/kernel/open_handle_count.h"
#include "platform/unique_handle.h"

namespace quorvel::test {

using platform::UniqueHandle;

// Fails a test that leaves a handle open.
class HandleBalance : public ::testing::Test {
  protected:
    void SetUp() override { openBefore = platform::OpenHandleCount(); }
    void TearDown() override { EXPECT_EQ(platform::OpenHandleCount(), openBefore); }

  private:
    std::size_t openBefore = 0;
};

// A name as WCHAR, whatever that is.
inline std::basic_string<WCHAR> Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

inline UniqueHandle ManualEvent(bool signalled = false, const char* name = "") {
    return UniqueHandle(CreateEventW(nullptr, TRUE, signalled, Wide(name).c_str()));
}

inline UniqueHandle AutoEvent(bool signalled = false, const char* name = "") {
    return UniqueHandle(CreateEventW(nullptr, FALSE, signalled, Wide(name).c_str()));
}

inline UniqueHandle Opened(const char* name, DWORD access = EVENT_ALL_ACCESS) {
    return UniqueHandle(OpenEventW(access, FALSE, Wide(name).c_str()));
}

// Takes the signal of an auto-reset event.
inline bool IsSignalled(const UniqueHandle& event) {
    return WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0;
}

// A call's error code.
inline DWORD ErrorUnless(bool success) {
    return success ? ERROR_SUCCESS : GetLastError();
}

}  // namespace quorvel::test
