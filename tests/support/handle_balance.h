// A fixture for tests that open handles.
#pragma once

#include <gtest/gtest.h>

#include "platform/portable/open_handle_count.h"

namespace quorvel::test {

// Fails a test that leaves a handle open.
class HandleBalance : public ::testing::Test {
  protected:
    void SetUp() override { openBefore = platform::OpenHandleCount(); }
    void TearDown() override { EXPECT_EQ(platform::OpenHandleCount(), openBefore); }

  private:
    std::size_t openBefore = 0;
};

}  // namespace quorvel::test
