#include "platform/unique_handle.h"
#include "tests/support/handle_balance.h"
#include "tests/support/wide.h"

namespace quorvel {
namespace {

using platform::UniqueHandle;
using test::Wide;

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
    const UniqueHandle first(
        CreateEventW(nullptr, TRUE, FALSE, Wide("Global\\QuorvelEventsTest").c_str()));
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    const UniqueHandle second(
        CreateEventW(nullptr, FALSE, TRUE, Wide("Global\\QuorvelEventsTest").c_str()));
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    ASSERT_TRUE(second);
    EXPECT_FALSE(IsSignalled(first)) << "the initial state of the second call counts for nothing";
    SetEvent(second.Get());
    EXPECT_TRUE(IsSignalled(first));
    EXPECT_TRUE(IsSignalled(first)) << "it stays a manual-reset event";
}

TEST_F(Events, NamesAreFoundByNamespaceAndCase) {
    const UniqueHandle local(CreateEventW(nullptr, TRUE, FALSE, Wide("QuorvelLocal").c_str()));
    const UniqueHandle global(
        CreateEventW(nullptr, TRUE, FALSE, Wide("Global\\QuorvelGlobal").c_str()));
    const struct {
        const char* name;
        DWORD error;
    } rows[] = {
        {"QuorvelLocal", ERROR_SUCCESS},
        {"Local\\QuorvelLocal", ERROR_SUCCESS},
        {"Global\\QuorvelLocal", ERROR_FILE_NOT_FOUND},
        {"Global\\QuorvelGlobal", ERROR_SUCCESS},
        {"QuorvelGlobal", ERROR_FILE_NOT_FOUND},
        {"Global\\Quorvelglobal", ERROR_FILE_NOT_FOUND},
        {"Quorvel\\Local", ERROR_PATH_NOT_FOUND},
    };
    for (const auto& row : rows) {
        SetLastError(ERROR_SUCCESS);
        const UniqueHandle opened(OpenEventW(SYNCHRONIZE, FALSE, Wide(row.name).c_str()));
        EXPECT_EQ(static_cast<bool>(opened), row.error == ERROR_SUCCESS) << row.name;
        EXPECT_EQ(GetLastError(), row.error) << row.name;
    }
    EXPECT_FALSE(UniqueHandle(OpenEventW(SYNCHRONIZE, FALSE, nullptr)));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST_F(Events, ANameIsFreeOnceTheLastHandleIsClosed) {
    UniqueHandle created(CreateEventW(nullptr, TRUE, TRUE, Wide("QuorvelShortLived").c_str()));
    UniqueHandle opened(OpenEventW(EVENT_ALL_ACCESS, FALSE, Wide("QuorvelShortLived").c_str()));
    created.Reset();
    EXPECT_TRUE(UniqueHandle(OpenEventW(SYNCHRONIZE, FALSE, Wide("QuorvelShortLived").c_str())));
    opened.Reset();
    EXPECT_FALSE(UniqueHandle(OpenEventW(SYNCHRONIZE, FALSE, Wide("QuorvelShortLived").c_str())));
    const UniqueHandle again(CreateEventW(nullptr, TRUE, FALSE, Wide("QuorvelShortLived").c_str()));
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_FALSE(IsSignalled(again));
}

TEST_F(Events, AHandleDoesOnlyWhatItsRightsAllow) {
    const UniqueHandle owner(CreateEventW(nullptr, TRUE, FALSE, Wide("QuorvelRights").c_str()));
    const UniqueHandle waiter(OpenEventW(SYNCHRONIZE, FALSE, Wide("QuorvelRights").c_str()));
    const UniqueHandle setter(OpenEventW(EVENT_MODIFY_STATE, FALSE, Wide("QuorvelRights").c_str()));

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
