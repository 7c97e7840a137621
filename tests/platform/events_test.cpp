#include "platform/unique_handle.h"
#include "tests/support/handle_balance.h"

namespace quorvel {
namespace {

using platform::UniqueHandle;

class Events : public test::HandleBalance {
  protected:
    static bool IsSignalled(const UniqueHandle& event) {
        return WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0;
    }
};

TEST_F(Events, ManualResetStaysSignalledAndAutoResetIsTakenOnce) {
    for (const bool manual : {true, false})
        for (const bool initially : {true, false}) {
            const UniqueHandle event(CreateEventW(nullptr, manual, initially, nullptr));
            EXPECT_EQ(IsSignalled(event), initially);
            EXPECT_EQ(IsSignalled(event), initially && manual);
            EXPECT_TRUE(SetEvent(event.Get()));
            EXPECT_TRUE(SetEvent(event.Get()));
            EXPECT_TRUE(IsSignalled(event));
            EXPECT_EQ(IsSignalled(event), manual);
            SetEvent(event.Get());
            EXPECT_TRUE(ResetEvent(event.Get()));
            EXPECT_FALSE(IsSignalled(event));
        }
}

TEST_F(Events, CreatingAnExistingNameOpensTheSameEvent) {
    const UniqueHandle first(CreateEventW(nullptr, TRUE, FALSE, u"Global\\QuorvelEventsTest"));
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    const UniqueHandle second(CreateEventW(nullptr, FALSE, TRUE, u"Global\\QuorvelEventsTest"));
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    ASSERT_TRUE(second);
    EXPECT_FALSE(IsSignalled(first)) << "the initial state of the second call counts for nothing";
    SetEvent(second.Get());
    EXPECT_TRUE(IsSignalled(first));
    EXPECT_TRUE(IsSignalled(first)) << "it stays a manual-reset event";
}

TEST_F(Events, NamesAreFoundByNamespaceAndCase) {
    const UniqueHandle local(CreateEventW(nullptr, TRUE, FALSE, u"QuorvelLocal"));
    const UniqueHandle global(CreateEventW(nullptr, TRUE, FALSE, u"Global\\QuorvelGlobal"));
    const struct {
        const WCHAR* name;
        DWORD error;
    } rows[] = {
        {u"QuorvelLocal", ERROR_SUCCESS},
        {u"Local\\QuorvelLocal", ERROR_SUCCESS},
        {u"Global\\QuorvelLocal", ERROR_FILE_NOT_FOUND},
        {u"Global\\QuorvelGlobal", ERROR_SUCCESS},
        {u"QuorvelGlobal", ERROR_FILE_NOT_FOUND},
        {u"Global\\Quorvelglobal", ERROR_FILE_NOT_FOUND},
        {u"Quorvel\\Local", ERROR_PATH_NOT_FOUND},
        {nullptr, ERROR_INVALID_PARAMETER},
    };
    for (std::size_t row = 0; row < std::size(rows); ++row) {
        SetLastError(ERROR_SUCCESS);
        const UniqueHandle opened(OpenEventW(SYNCHRONIZE, FALSE, rows[row].name));
        EXPECT_EQ(static_cast<bool>(opened), rows[row].error == ERROR_SUCCESS) << "row " << row;
        EXPECT_EQ(GetLastError(), rows[row].error) << "row " << row;
    }
}

TEST_F(Events, ANameIsFreeOnceTheLastHandleIsClosed) {
    UniqueHandle created(CreateEventW(nullptr, TRUE, TRUE, u"QuorvelShortLived"));
    UniqueHandle opened(OpenEventW(EVENT_ALL_ACCESS, FALSE, u"QuorvelShortLived"));
    created.Reset();
    EXPECT_TRUE(UniqueHandle(OpenEventW(SYNCHRONIZE, FALSE, u"QuorvelShortLived")));
    opened.Reset();
    EXPECT_FALSE(UniqueHandle(OpenEventW(SYNCHRONIZE, FALSE, u"QuorvelShortLived")));
    const UniqueHandle again(CreateEventW(nullptr, TRUE, FALSE, u"QuorvelShortLived"));
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_FALSE(IsSignalled(again));
}

TEST_F(Events, AHandleDoesOnlyWhatItsRightsAllow) {
    const UniqueHandle owner(CreateEventW(nullptr, TRUE, FALSE, u"QuorvelRights"));
    const UniqueHandle waiter(OpenEventW(SYNCHRONIZE, FALSE, u"QuorvelRights"));
    const UniqueHandle setter(OpenEventW(EVENT_MODIFY_STATE, FALSE, u"QuorvelRights"));

    EXPECT_FALSE(SetEvent(waiter.Get()));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(IsSignalled(owner));
    EXPECT_TRUE(SetEvent(setter.Get()));
    EXPECT_TRUE(IsSignalled(waiter));
    EXPECT_FALSE(ResetEvent(waiter.Get()));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(IsSignalled(owner));

    EXPECT_EQ(WaitForSingleObject(setter.Get(), 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
}

}  // namespace
}  // namespace quorvel
