#include "platform/unique_handle.h"

#include "tests/support/handle_balance.h"

namespace quorvel {
namespace {

using platform::UniqueHandle;

class UniqueHandles : public test::HandleBalance {
  protected:
    static HANDLE NewEvent() { return CreateEventW(nullptr, TRUE, FALSE, nullptr); }
    static bool IsOpen(HANDLE event) { return ResetEvent(event) != FALSE; }
};

TEST_F(UniqueHandles, AFailedCreationIsEmpty) {
    for (const HANDLE none : {HANDLE{}, INVALID_HANDLE_VALUE})
        EXPECT_FALSE(UniqueHandle(none));
}

TEST_F(UniqueHandles, MoveAssignmentClosesWhatWasOwned) {
    const HANDLE first = NewEvent(), second = NewEvent();
    UniqueHandle target(first), source(second);
    target = std::move(source);
    EXPECT_FALSE(IsOpen(first));
    EXPECT_TRUE(IsOpen(second));
    EXPECT_EQ(target.Get(), second);
    EXPECT_FALSE(source);
}

TEST_F(UniqueHandles, MovingToItselfKeepsTheHandle) {
    UniqueHandle handle(NewEvent());
    UniqueHandle& itself = handle;
    handle = std::move(itself);
    ASSERT_TRUE(handle);
    EXPECT_TRUE(IsOpen(handle.Get()));
}

}  // namespace
}  // namespace quorvel
