// Opening device files and asking them.
#include "tests/support/fake_device.h"

namespace quorvel {
namespace {

using namespace test;

constexpr DWORD kReadCode = CTL_CODE(FILE_DEVICE_UNKNOWN, 3000, METHOD_BUFFERED, FILE_READ_ACCESS);
constexpr DWORD kWriteCode =
    CTL_CODE(FILE_DEVICE_UNKNOWN, 3514, METHOD_BUFFERED, FILE_WRITE_ACCESS);
constexpr DWORD kAnyCode = CTL_CODE(FILE_DEVICE_UNKNOWN, 3000, METHOD_BUFFERED, FILE_ANY_ACCESS);
static_assert(kReadCode == 0x226EE0);
static_assert(kWriteCode == 0x22B6E8);

class DeviceFiles : public FakeDeviceTest {
  protected:
    static DWORD OpenError(const WCHAR* path, DWORD disposition = OPEN_EXISTING) {
        return ErrorUnless(bool{UniqueHandle(CreateFileW(
            path, GENERIC_READ, 0, nullptr, disposition, FILE_FLAG_OVERLAPPED, nullptr))});
    }

    // The answer with room for 4 bytes, which hold 0xEE before.
    struct Outcome {
        DWORD error = ERROR_SUCCESS;
        DWORD returned = 99;
        std::vector<std::byte> out = Bytes({0xEE, 0xEE, 0xEE, 0xEE});
    };
    static Outcome Ask(const UniqueHandle& file, DWORD code = kAnyCode) {
        Outcome outcome;
        outcome.error = ErrorUnless(DeviceIoControl(
            file.Get(), code, nullptr, 0, outcome.out.data(), 4, &outcome.returned, nullptr));
        return outcome;
    }

    DeviceFiles() {
        device->answer = [](DWORD, auto, auto, DWORD&) { return ERROR_SUCCESS; };
    }
};

TEST_F(DeviceFiles, OpenFindsRegisteredPathsInAnyCase) {
    EXPECT_EQ(OpenError(kPath), ERROR_SUCCESS);
    EXPECT_EQ(OpenError(u"\\\\?\\fAKE#dEVICE"), ERROR_SUCCESS);
    EXPECT_EQ(OpenError(u"\\\\?\\Fake#Device2"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(OpenError(u""), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(OpenError(nullptr), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(OpenError(kPath, 1), ERROR_INVALID_PARAMETER);
    device->openError = 1234;
    EXPECT_EQ(OpenError(kPath), 1234u);
}

TEST_F(DeviceFiles, OpenFilesOutliveTheRegistration) {
    UniqueHandle file = OpenFile();
    platform::UnregisterDevice(kPath);
    EXPECT_EQ(OpenError(kPath), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Ask(file).error, ERROR_SUCCESS);
    EXPECT_EQ(device->openFiles, 1);
    file.Reset();
    EXPECT_EQ(device->openFiles, 0);
}

TEST_F(DeviceFiles, TheCodesAccessBitsAreHeldAgainstTheHandle) {
    const struct {
        DWORD access, code, error;
    } rows[] = {
        {GENERIC_READ, kReadCode, ERROR_SUCCESS},
        {GENERIC_READ, kWriteCode, ERROR_ACCESS_DENIED},
        {GENERIC_WRITE, kReadCode, ERROR_ACCESS_DENIED},
        {GENERIC_WRITE, kWriteCode, ERROR_SUCCESS},
        {GENERIC_READ, kReadCode | kWriteCode, ERROR_ACCESS_DENIED},
        {GENERIC_READ | GENERIC_WRITE, kReadCode | kWriteCode, ERROR_SUCCESS},
        {0, kAnyCode, ERROR_SUCCESS},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Ask(OpenFile(row.access), row.code).error, row.error)
            << std::hex << row.access << ' ' << row.code;
}

TEST_F(DeviceFiles, TheDeviceSeesTheRequestAndMayAnswerIntoItsBuffer) {
    device->answer = [](DWORD code, auto in, auto out, DWORD& returned) {
        EXPECT_EQ(code, kReadCode);
        EXPECT_EQ(out.size(), 3u);
        out[0] = std::byte{9};
        std::copy(in.begin(), in.end(), out.begin() + 1);
        returned = 3;
        return ERROR_SUCCESS;
    };
    auto buffer = Bytes({1, 2, 3});
    DWORD returned = 0;
    EXPECT_TRUE(DeviceIoControl(OpenFile().Get(), kReadCode, buffer.data(), 2, buffer.data(), 3,
                                &returned, nullptr));
    EXPECT_EQ(returned, 3u);
    EXPECT_EQ(buffer, Bytes({9, 1, 2}));
}

TEST_F(DeviceFiles, AnswersReachTheClientInFullInPartOrNotAtAll) {
    const struct {
        DWORD error, claimed, returned;
        std::vector<std::byte> out;
    } rows[] = {
        {ERROR_SUCCESS, 4, 4, Bytes({1, 2, 3, 4})},
        {ERROR_SUCCESS, 2, 2, Bytes({1, 2, 0xEE, 0xEE})},
        {ERROR_MORE_DATA, 3, 3, Bytes({1, 2, 3, 0xEE})},
        {ERROR_INSUFFICIENT_BUFFER, 4, 0, Bytes({0xEE, 0xEE, 0xEE, 0xEE})},
        {ERROR_SUCCESS, 0xFFFFFFFF, 0xFFFFFFFF, Bytes({1, 2, 3, 4})},
    };
    const UniqueHandle file = OpenFile();
    for (const auto& row : rows) {
        device->answer = [&row](DWORD, auto, auto out, DWORD& returned) {
            std::ranges::copy(Bytes({1, 2, 3, 4}), out.begin());
            returned = row.claimed;
            return row.error;
        };
        const Outcome outcome = Ask(file);
        EXPECT_EQ(outcome.error, row.error);
        EXPECT_EQ(outcome.returned, row.returned);
        EXPECT_EQ(outcome.out, row.out);
    }
}

TEST_F(DeviceFiles, MissingBuffersAreRefused) {
    device->answer = nullptr;  // would throw if the device were asked
    const UniqueHandle file = OpenFile();
    char byte = 0;
    DWORD count = 0;
    const struct {
        char *in, *out;
        DWORD *returned, error;
    } rows[] = {{nullptr, &byte, &count, ERROR_NOACCESS},
                {&byte, nullptr, &count, ERROR_NOACCESS},
                {&byte, &byte, nullptr, ERROR_INVALID_PARAMETER}};
    for (const auto& row : rows)
        EXPECT_EQ(ErrorUnless(DeviceIoControl(file.Get(), kAnyCode, row.in, 1, row.out, 1,
                                              row.returned, nullptr)),
                  row.error);
}

// A request may close its own handle: it is cancelled, and the device's end lives until it returns.
TEST_F(DeviceFiles, AFileClosedDuringARequestLivesUntilTheRequestReturns) {
    UniqueHandle file = OpenFile();
    device->answer = [&](DWORD, auto, auto, DWORD&) -> DWORD {
        file.Reset();
        EXPECT_EQ(device->openFiles, 1);
        return ERROR_SUCCESS;
    };
    EXPECT_EQ(Ask(file).error, ERROR_OPERATION_ABORTED);
    EXPECT_EQ(device->openFiles, 0);
}

}  // namespace
}  // namespace quorvel
