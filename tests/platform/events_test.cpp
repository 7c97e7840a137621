#include "tests/support/handles.h"

namespace quorvel {
namespace {

using namespace test;

class Events : public HandleBalance {};

TEST_F(Events, ManualResetStaysSignalledAndAutoResetIsTakenOnce) {
    for (const bool manual : {true, false})
        for (const bool initially : {true, false}) {
            const UniqueHandle event = manual ? ManualEvent(initially) : AutoEvent(initially);
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
    const UniqueHandle first = ManualEvent(false, "Global\\QuorvelEventsTest");
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    const UniqueHandle second = AutoEvent(true, "Global\\QuorvelEventsTest");
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    EXPECT_FALSE(IsSignalled(first)) << "the initial state of the second call counts for nothing";
    EXPECT_TRUE(SetEvent(second.Get()));
    EXPECT_TRUE(IsSignalled(first));
    EXPECT_TRUE(IsSignalled(first)) << "it stays a manual-reset event";
}

TEST_F(Events, NamesAreFoundByNamespaceAndCase) {
    const UniqueHandle local = ManualEvent(false, "QuorvelLocal");
    const UniqueHandle global = ManualEvent(false, "Global\\QuorvelGlobal");
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
        {"", ERROR_INVALID_PARAMETER},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ErrorUnless(bool{Opened(row.name, SYNCHRONIZE)}), row.error) << row.name;
    EXPECT_FALSE(OpenEventW(SYNCHRONIZE, FALSE, nullptr));
}

TEST_F(Events, ANameIsFreeOnceTheLastHandleIsClosed) {
    UniqueHandle created = ManualEvent(true, "QuorvelShortLived");
    UniqueHandle opened = Opened("QuorvelShortLived");
    created.Reset();
    EXPECT_TRUE(Opened("QuorvelShortLived"));
    opened.Reset();
    EXPECT_FALSE(Opened("QuorvelShortLived"));
    EXPECT_FALSE(IsSignalled(ManualEvent(false, "QuorvelShortLived")));
}

TEST_F(Events, AHandleDoesOnlyWhatItsRightsAllow) {
    const UniqueHandle owner = ManualEvent(false, "QuorvelRights");
    const UniqueHandle waiter = Opened("QuorvelRights", SYNCHRONIZE);
    const UniqueHandle setter = Opened("QuorvelRights", EVENT_MODIFY_STATE);
    EXPECT_EQ(ErrorUnless(SetEvent(waiter.Get())), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(IsSignalled(owner));
    EXPECT_TRUE(SetEvent(setter.Get()));
    EXPECT_TRUE(IsSignalled(waiter));
    EXPECT_EQ(ErrorUnless(ResetEvent(waiter.Get())), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(IsSignalled(owner));
    EXPECT_EQ(WaitForSingleObject(setter.Get(), 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
}

}  // namespace
}  // namespace quorvel
