// Regular files through the calls of Windows, and the formatter of WCHAR text.
#include <array>

#include "base/wide_text.h"
#include "tests/support/handles.h"
#include "tests/support/temporary_directory.h"

namespace quorvel {
namespace {

using namespace test;

constexpr DWORD kBoth = GENERIC_READ | GENERIC_WRITE;

class RegularFiles : public HandleBalance {
  protected:
    UniqueHandle OpenFile(const char* name, DWORD disposition, DWORD access = kBoth,
                          DWORD flags = FILE_ATTRIBUTE_NORMAL) const {
        return UniqueHandle(CreateFileW(WidePath(directory / name).c_str(), access, FILE_SHARE_READ,
                                        nullptr, disposition, flags, nullptr));
    }

    const TemporaryDirectory directory;
};

TEST_F(RegularFiles, OpeningTellsWhatIsWrong) {
    FillFile(directory / "file", "abc");
    const struct {
        const char* name;
        DWORD disposition, flags, error;
    } rows[] = {
        {"file", OPEN_EXISTING, 0, ERROR_SUCCESS},
        {"\xC3\xA4 new", CREATE_NEW, 0, ERROR_SUCCESS},
        {"\xC3\xA4 new", OPEN_EXISTING, 0, ERROR_SUCCESS},
        {"file", CREATE_NEW, 0, ERROR_FILE_EXISTS},
        {"none", OPEN_EXISTING, 0, ERROR_FILE_NOT_FOUND},
        {"no/ne", OPEN_EXISTING, 0, ERROR_PATH_NOT_FOUND},
        {"no/ne", CREATE_NEW, 0, ERROR_PATH_NOT_FOUND},
        {"file/ne", OPEN_EXISTING, 0, ERROR_PATH_NOT_FOUND},
        {"", OPEN_EXISTING, 0, ERROR_ACCESS_DENIED},
        {"file", 2, 0, ERROR_INVALID_PARAMETER},
        {"file", OPEN_EXISTING, FILE_FLAG_OVERLAPPED, ERROR_NOT_SUPPORTED},
    };
    for (const auto& row : rows) {
        const bool isOpen{OpenFile(row.name, row.disposition, kBoth, row.flags)};
        EXPECT_EQ(ErrorUnless(isOpen), row.error) << row.name;
    }
    const auto path = WidePath(directory / "file");
    EXPECT_TRUE(DeleteFileW(path.c_str()));
    EXPECT_EQ(ErrorUnless(DeleteFileW(path.c_str())), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegularFiles, ReadWriteAndSeekGoByThePositionAndTheRights) {
    const UniqueHandle file = OpenFile("file", CREATE_NEW);
    const auto seek = [&](std::int64_t distance, DWORD method) {
        LARGE_INTEGER by{}, position{};
        by.QuadPart = distance;
        EXPECT_TRUE(SetFilePointerEx(file.Get(), by, &position, method)) << distance;
        return position.QuadPart;
    };
    std::array<char, 8> text{};
    DWORD count = 0;
    ASSERT_TRUE(WriteFile(file.Get(), "abcdef", 6, &count, nullptr));
    EXPECT_EQ(count, 6u);
    EXPECT_EQ(seek(2, FILE_BEGIN), 2);
    EXPECT_EQ(seek(1, FILE_CURRENT), 3);
    SetLastError(77);
    ASSERT_TRUE(ReadFile(file.Get(), text.data(), 8, &count, nullptr));
    EXPECT_EQ(GetLastError(), 77u);
    EXPECT_EQ(std::string(text.data(), count), "def");
    EXPECT_EQ(seek(-1, FILE_END), 5);

    LARGE_INTEGER before{};
    before.QuadPart = -7;
    const UniqueHandle readable = OpenFile("file", OPEN_EXISTING, GENERIC_READ);
    const UniqueHandle writable = OpenFile("file", OPEN_EXISTING, GENERIC_WRITE);
    const std::pair<DWORD, DWORD> rows[] = {
        {ErrorUnless(SetFilePointerEx(file.Get(), before, nullptr, FILE_END)), ERROR_NEGATIVE_SEEK},
        {ErrorUnless(SetFilePointerEx(file.Get(), before, nullptr, 3)), ERROR_INVALID_PARAMETER},
        {ErrorUnless(SetFilePointerEx(nullptr, before, nullptr, 0)), ERROR_INVALID_HANDLE},
        {ErrorUnless(WriteFile(readable.Get(), "x", 1, &count, nullptr)), ERROR_ACCESS_DENIED},
        {ErrorUnless(ReadFile(writable.Get(), text.data(), 1, &count, nullptr)),
         ERROR_ACCESS_DENIED},
        {ErrorUnless(WriteFile(file.Get(), nullptr, 1, &count, nullptr)), ERROR_NOACCESS},
        {ErrorUnless(WriteFile(file.Get(), "x", 1, nullptr, nullptr)), ERROR_INVALID_PARAMETER},
    };
    for (const auto& [error, expected] : rows)
        EXPECT_EQ(error, expected);
    EXPECT_EQ(FileText(directory / "file"), "abcdef");
}

template <typename... Arguments>
std::string Formatted(std::size_t room, const char16_t* format, Arguments... arguments) {
    std::vector<WCHAR> buffer(room + 1, u'!');
    const std::size_t units = platform::PrintWide({buffer.data(), room}, format, arguments...);
    EXPECT_EQ(buffer[units], 0);
    EXPECT_EQ(buffer[room], u'!') << "written past the end";
    return {buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(units)};
}

TEST(WideText, FormatsTheLanguageOfItsHeader) {
    void* const pointer = reinterpret_cast<void*>(std::uintptr_t{0xAB12});
    const char16_t unterminated[] = {u'a', u'b'};
    const std::pair<std::string, std::string> rows[] = {
        {Formatted(99, u"%d|%5d|%-5d|%05d|%+d|%.3d", -1, 2, 3, -4, 5, 6),
         "-1|    2|3    |-0004|+5|006"},
        {Formatted(99, u"%*d|%*d|%.*f|%g", 4, 1, -4, 2, 1, 0.25, 0.5), "   1|2   |0.2|0.5"},
        {Formatted(99, u"%u %x %X %#x %o", ~0u, 0xABu, 0xABu, 0xABu, 8u),
         "4294967295 ab AB 0xab 10"},
        {Formatted(99, u"%hhd %hd %hu", 0x181, 0x18001, 0x18001), "-127 -32767 32769"},
        {Formatted(99, u"%lld %I64u %ld %zu", -1ll << 40, ~0ull, -5l, std::size_t{9}),
         "-1099511627776 18446744073709551615 -5 9"},
        {Formatted(99, u"%s|%S|%hs|%lS|%5s|%-5S|", u"a", "b", "c", u"d", u"e", "f"),
         "a|b|c|d|    e|f    |"},
        {Formatted(99, u"%.2s|%.1S|%s", unterminated, "bc", static_cast<char16_t*>(nullptr)),
         "ab|b|(null)"},
        {Formatted(99, u"%c%C%3c%%%18p", 'x', 'y', 'z', pointer), "xy  z%  000000000000AB12"},
        {Formatted(99, u"%d %y %d 100%", 1), "1 %y %d 100%"},
        {Formatted(4, u"%d", 123456), "123"},
        {Formatted(2000, u"%99999d|%.99999f", 1, 0.0).substr(1020, 6), "  1|0."},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(text, expected);
}

}  // namespace
}  // namespace quorvel
