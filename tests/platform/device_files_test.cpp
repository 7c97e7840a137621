// Opening device files and asking them.
#include <cstring>

#include "tests/support/fake_device.h"

namespace quorvel {
namespace {

using platform::UniqueHandle;
using test::Bytes;

constexpr DWORD kReadCode = CTL_CODE(FILE_DEVICE_UNKNOWN, 3000, METHOD_BUFFERED, FILE_READ_ACCESS);
constexpr DWORD kWriteCode =
    CTL_CODE(FILE_DEVICE_UNKNOWN, 3514, METHOD_BUFFERED, FILE_WRITE_ACCESS);
constexpr DWORD kAnyCode = CTL_CODE(FILE_DEVICE_UNKNOWN, 3000, METHOD_BUFFERED, FILE_ANY_ACCESS);
static_assert(kReadCode == 0x226EE0);
static_assert(kWriteCode == 0x22B6E8);

class DeviceFiles : public test::FakeDeviceTest {
  protected:
    static DWORD OpenError(const WCHAR* path, DWORD disposition = OPEN_EXISTING) {
        SetLastError(ERROR_SUCCESS);
        const UniqueHandle file(CreateFileW(path, GENERIC_READ, 0, nullptr, disposition,
                                            FILE_FLAG_OVERLAPPED, nullptr));
        return GetLastError();
    }

    // The answer to kAnyCode with room for 4 bytes, which hold 0xEE before.
    struct Outcome {
        DWORD error = ERROR_SUCCESS;
        DWORD returned = 99;
        std::vector<std::byte> out = Bytes({0xEE, 0xEE, 0xEE, 0xEE});
    };
    Outcome Ask(const UniqueHandle& file) {
        Outcome outcome;
        if (!DeviceIoControl(file.Get(), kAnyCode, nullptr, 0, outcome.out.data(), 4,
                             &outcome.returned, nullptr))
            outcome.error = GetLastError();
        return outcome;
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
    device->answer = [](DWORD, auto, auto, DWORD&) { return ERROR_SUCCESS; };
    UniqueHandle file = OpenFile();
    platform::UnregisterDevice(kPath);
    EXPECT_EQ(OpenError(kPath), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Ask(file).error, ERROR_SUCCESS);
    EXPECT_EQ(device->openFiles, 1);
    file.Reset();
    EXPECT_EQ(device->openFiles, 0);
}

TEST_F(DeviceFiles, TheCodesAccessBitsAreHeldAgainstTheHandle) {
    device->answer = [](DWORD, auto, auto, DWORD&) { return ERROR_SUCCESS; };
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
    for (const auto& row : rows) {
        const UniqueHandle file = OpenFile(row.access);
        DWORD returned = 0;
        SetLastError(ERROR_SUCCESS);
        DeviceIoControl(file.Get(), row.code, nullptr, 0, nullptr, 0, &returned, nullptr);
        EXPECT_EQ(GetLastError(), row.error) << std::hex << row.access << ' ' << row.code;
    }
}

TEST_F(DeviceFiles, TheDeviceSeesTheRequestAndMayAnswerIntoItsBuffer) {
    device->answer = [](DWORD code, auto in, auto out, DWORD& returned) {
        EXPECT_EQ(code, kReadCode);
        EXPECT_EQ(out.size(), 3u);
        out[0] = std::byte{9};
        out[1] = in[0];
        out[2] = in[1];
        returned = 3;
        return ERROR_SUCCESS;
    };
    const UniqueHandle file = OpenFile();
    auto buffer = Bytes({1, 2, 3});
    DWORD returned = 0;
    EXPECT_TRUE(DeviceIoControl(file.Get(), kReadCode, buffer.data(), 2, buffer.data(), 3,
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
            const auto bytes = Bytes({1, 2, 3, 4});
            std::copy(bytes.begin(), bytes.end(), out.begin());
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
    device->answer = [](DWORD, auto, auto, DWORD&) -> DWORD {
        ADD_FAILURE() << "the device is asked";
        return ERROR_SUCCESS;
    };
    const UniqueHandle file = OpenFile();
    char byte = 0;
    DWORD returned = 0;
    EXPECT_FALSE(DeviceIoControl(file.Get(), kAnyCode, nullptr, 1, &byte, 1, &returned, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_NOACCESS);
    EXPECT_FALSE(DeviceIoControl(file.Get(), kAnyCode, &byte, 1, nullptr, 1, &returned, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_NOACCESS);
    EXPECT_FALSE(DeviceIoControl(file.Get(), kAnyCode, &byte, 1, &byte, 1, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

// A request may close its own handle: the device's end then lives until the answer is given.
TEST_F(DeviceFiles, AFileClosedDuringARequestLivesUntilTheAnswer) {
    UniqueHandle file = OpenFile();
    device->answer = [&](DWORD, auto, auto, DWORD&) -> DWORD {
        file.Reset();
        EXPECT_EQ(device->openFiles, 1);
        return ERROR_SUCCESS;
    };
    EXPECT_EQ(Ask(file).error, ERROR_SUCCESS);
    EXPECT_EQ(device->openFiles, 0);
    EXPECT_EQ(Ask(file).error, ERROR_INVALID_HANDLE);
}

}  // namespace
}  // namespace quorvel
