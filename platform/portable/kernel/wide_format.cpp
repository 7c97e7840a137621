// The formatter of wide_text.h for systems whose C library knows no 16-bit text.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "base/wide_text.h"

namespace quorvel::platform {
namespace {

constexpr int kWidest = 1023;  // what a width or a precision counts at most

bool IsAnyOf(WCHAR unit, std::string_view ascii) {
    return unit < 0x80 && ascii.find(static_cast<char>(unit)) != ascii.npos;
}

// How an integer argument was passed.
enum class Length { kPlain, kChar, kShort, kLong, kLongLong, kSize };

struct Conversion {
    std::array<char, 6> flags{};  // each at most once, terminated
    bool leftAligned = false;
    int width = 0;
    int precision = -1;  // none
    Length length = Length::kPlain;
    WCHAR kind = 0;
};

class Formatter {
  public:
    Formatter(std::span<WCHAR> buffer, const WCHAR* format, std::va_list list)
        : room(buffer), next(format) {
        va_copy(arguments, list);
    }
    ~Formatter() { va_end(arguments); }
    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;

    std::size_t Run() {
        bool isKnown = true;
        while (*next) {
            const WCHAR* start = next++;
            if (*start == '%' && isKnown) {
                isKnown = Convert(Parse());
                if (isKnown) continue;
                next = start + 1;
            }
            Put(*start);
        }
        room[count] = 0;
        return count;
    }

  private:
    void Put(WCHAR unit) {
        if (count + 1 < room.size()) room[count++] = unit;
    }

    // --- Reading the conversion ------------------------------------------------------------------

    Conversion Parse() {
        Conversion conversion;
        ParseFlags(conversion);
        conversion.width = ParseCount();
        if (conversion.width < 0) {
            conversion.leftAligned = true;
            conversion.width = -conversion.width;
        }
        if (*next == '.') {
            ++next;
            conversion.precision = std::max(ParseCount(), -1);
        }
        conversion.length = ParseLength();
        conversion.kind = *next;
        if (*next) ++next;
        return conversion;
    }

    void ParseFlags(Conversion& conversion) {
        std::size_t flagCount = 0;
        for (; IsAnyOf(*next, "-+ #0"); ++next) {
            const auto flag = static_cast<char>(*next);
            if (flag == '-') conversion.leftAligned = true;
            const std::string_view known(conversion.flags.data(), flagCount);
            if (known.find(flag) == known.npos) conversion.flags[flagCount++] = flag;
        }
    }

    int ParseCount() {
        if (*next == '*') {
            ++next;
            return std::clamp(va_arg(arguments, int), -kWidest, kWidest);
        }
        int number = 0;
        for (; IsAnyOf(*next, "0123456789"); ++next)
            number = std::min(number * 10 + (*next - '0'), kWidest);
        return number;
    }

    Length ParseLength() {
        constexpr struct {
            std::string_view text;
            Length length;
        } kLengths[] = {{"hh", Length::kChar},      {"h", Length::kShort},
                        {"ll", Length::kLongLong},  {"l", Length::kLong},
                        {"I64", Length::kLongLong}, {"z", Length::kSize}};
        for (const auto& [text, length] : kLengths) {
            std::size_t same = 0;
            while (same < text.size() && next[same] == static_cast<WCHAR>(text[same]))
                ++same;
            if (same < text.size()) continue;
            next += same;
            return length;
        }
        return Length::kPlain;
    }

    // --- Writing the argument --------------------------------------------------------------------

    // False for a conversion that is none.
    bool Convert(const Conversion& conversion) {
        const WCHAR kind = conversion.kind;
        if (kind == '%') {
            Put('%');
        } else if (IsAnyOf(kind, "di")) {
            PutNumber(conversion, "lld", TakeSigned(conversion.length));
        } else if (IsAnyOf(kind, "uxXo")) {
            const char suffix[] = {'l', 'l', static_cast<char>(kind), 0};
            PutNumber(conversion, suffix, TakeUnsigned(conversion.length));
        } else if (IsAnyOf(kind, "eEfFgGaA")) {
            const char suffix[] = {static_cast<char>(kind), 0};
            PutNumber(conversion, suffix, va_arg(arguments, double));
        } else if (IsAnyOf(kind, "sS")) {
            PutString(conversion, IsWide(conversion));
        } else if (IsAnyOf(kind, "cC")) {
            PutUnit(conversion, IsWide(conversion));
        } else if (kind == 'p') {
            PutPointer(conversion);
        } else {
            return false;
        }
        return true;
    }

    static bool IsWide(const Conversion& conversion) {
        if (conversion.length == Length::kShort) return false;
        return conversion.length == Length::kLong || IsAnyOf(conversion.kind, "sc");
    }

    long long TakeSigned(Length length) {
        switch (length) {
            case Length::kChar:
                return static_cast<signed char>(va_arg(arguments, int));
            case Length::kShort:
                return static_cast<short>(va_arg(arguments, int));
            case Length::kLong:
                return va_arg(arguments, long);
            case Length::kLongLong:
                return va_arg(arguments, long long);
            case Length::kSize:
                return va_arg(arguments, std::ptrdiff_t);
            case Length::kPlain:
                break;
        }
        return va_arg(arguments, int);
    }

    unsigned long long TakeUnsigned(Length length) {
        const auto value = static_cast<unsigned long long>(TakeSigned(length));
        switch (length) {
            case Length::kChar:
                return static_cast<unsigned char>(value);
            case Length::kShort:
                return static_cast<unsigned short>(value);
            case Length::kLong:
                return static_cast<unsigned long>(value);
            case Length::kSize:
                return static_cast<std::size_t>(value);
            case Length::kLongLong:
                return value;
            case Length::kPlain:
                break;
        }
        return static_cast<unsigned>(value);
    }

    // By the C library, which agrees on numbers. `suffix` is its length and conversion.
    template <typename Number>
    void PutNumber(const Conversion& conversion, const char* suffix, Number number) {
        std::array<char, 16> format{};
        std::snprintf(format.data(), format.size(), "%%%s*.*%s", conversion.flags.data(), suffix);
        std::array<char, kWidest + 512> digits{};  // a double has 309 digits ahead of the point
        const int width = conversion.leftAligned ? -conversion.width : conversion.width;
        std::snprintf(digits.data(), digits.size(), format.data(), width, conversion.precision,
                      number);
        for (const char* digit = digits.data(); *digit; ++digit)
            Put(static_cast<WCHAR>(*digit));
    }

    void PutPointer(const Conversion& conversion) {
        constexpr int kDigits = 2 * sizeof(void*);
        const auto address = reinterpret_cast<std::uintptr_t>(va_arg(arguments, void*));
        std::array<char, kDigits + 1> digits{};
        std::snprintf(digits.data(), digits.size(), "%0*llX", kDigits,
                      static_cast<unsigned long long>(address));
        PutPadded(conversion, digits.data(), kDigits);
    }

    void PutString(const Conversion& conversion, bool isWide) {
        if (isWide) return PutText(conversion, va_arg(arguments, const WCHAR*));
        PutText(conversion, va_arg(arguments, const char*));
    }

    void PutUnit(const Conversion& conversion, bool isWide) {
        const int argument = va_arg(arguments, int);
        const auto unit = static_cast<WCHAR>(isWide ? argument & 0xFFFF : argument & 0xFF);
        PutPadded(conversion, &unit, 1);
    }

    // Reads no further than the precision, if there is one.
    template <typename Unit>
    void PutText(const Conversion& conversion, const Unit* text) {
        if (!text) return PutText(conversion, "(null)");
        const auto longest = static_cast<std::size_t>(conversion.precision);  // none: no end
        std::size_t units = 0;
        while (units < longest && text[units])
            ++units;
        PutPadded(conversion, text, units);
    }

    template <typename Unit>
    void PutPadded(const Conversion& conversion, const Unit* text, std::size_t units) {
        const auto width = static_cast<std::size_t>(conversion.width);
        const std::size_t padding = width > units ? width - units : 0;
        for (std::size_t i = 0; !conversion.leftAligned && i < padding; ++i)
            Put(' ');
        for (std::size_t i = 0; i < units; ++i)
            Put(static_cast<WCHAR>(static_cast<std::make_unsigned_t<Unit>>(text[i])));
        for (std::size_t i = 0; conversion.leftAligned && i < padding; ++i)
            Put(' ');
    }

    std::span<WCHAR> room;
    std::size_t count = 0;
    const WCHAR* next;
    std::va_list arguments;
};

}  // namespace

std::size_t FormatWide(std::span<WCHAR> buffer, const WCHAR* format, std::va_list arguments) {
    return Formatter(buffer, format, arguments).Run();
}

}  // namespace quorvel::platform
