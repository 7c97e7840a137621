#include <chrono>
#include <ostream>
#include <tuple>

#include <gtest/gtest.h>

#include "platform/windows_api.h"

namespace quorvel {
namespace {

FILETIME FileTime(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::uint64_t Ticks(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

struct Moment {
    std::uint64_t ticks;
    WORD year, month, dayOfWeek, day, hour, minute, second, milliseconds;
};

// Tick counts from 10^7 * (seconds since 1970 by GNU date + 11644473600).
constexpr Moment kMoments[] = {
    {0, 1601, 1, 1, 1, 0, 0, 0, 0},
    {9'999, 1601, 1, 1, 1, 0, 0, 0, 0},
    {10'000, 1601, 1, 1, 1, 0, 0, 0, 1},
    {94'405'823'990'000'000, 1900, 2, 3, 28, 23, 59, 59, 0},
    {94'405'824'000'000'000, 1900, 3, 4, 1, 0, 0, 0, 0},
    {116'444'735'999'999'999, 1969, 12, 3, 31, 23, 59, 59, 999},
    {116'444'736'000'000'000, 1970, 1, 4, 1, 0, 0, 0, 0},
    {125'963'423'990'000'000, 2000, 2, 2, 29, 23, 59, 59, 0},
    {125'963'424'000'000'000, 2000, 3, 3, 1, 0, 0, 0, 0},
    {2'650'467'743'999'999'999, 9999, 12, 5, 31, 23, 59, 59, 999},
};

TEST(FileTimes, TakesKnownMomentsApart) {
    for (const Moment& known : kMoments) {
        const FILETIME time = FileTime(known.ticks);
        SYSTEMTIME moment{};
        ASSERT_TRUE(FileTimeToSystemTime(&time, &moment)) << known.ticks;
        EXPECT_EQ(std::tuple(moment.wYear, moment.wMonth, moment.wDay, moment.wDayOfWeek),
                  std::tuple(known.year, known.month, known.day, known.dayOfWeek))
            << known.ticks;
        EXPECT_EQ(std::tuple(moment.wHour, moment.wMinute, moment.wSecond, moment.wMilliseconds),
                  std::tuple(known.hour, known.minute, known.second, known.milliseconds))
            << known.ticks;
    }
}

TEST(FileTimes, RefusesWhatIsOutOfRange) {
    for (const std::uint64_t ticks : {std::uint64_t{1} << 63, ~std::uint64_t{0}}) {
        const FILETIME time = FileTime(ticks);
        SYSTEMTIME moment{};
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(FileTimeToSystemTime(&time, &moment));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(moment.wYear, 0);
    }
}

TEST(FileTimes, NowIsTheSystemClocks) {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const auto unixSeconds = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::system_clock::now().time_since_epoch());
    const auto seconds = static_cast<std::int64_t>(Ticks(now) / 10'000'000) - 11'644'473'600;
    EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(unixSeconds.count()), 2.0);
}

}  // namespace
}  // namespace quorvel
