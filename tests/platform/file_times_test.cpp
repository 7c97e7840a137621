// Calendar times, and local times in zones that the test chooses, by the POSIX way to set one.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <tuple>

#include "platform/windows_api.h"

namespace quorvel {
namespace {

constexpr std::uint64_t kHour = 36'000'000'000;
constexpr std::uint64_t kJanuary2020 = 132'223'104'000'000'000;
constexpr std::uint64_t kJuly2020 = kJanuary2020 + 182 * 24 * kHour;
constexpr std::uint64_t kLast = INT64_MAX;

FILETIME FileTime(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::uint64_t Ticks(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

// Tick counts from 10^7 * (seconds since 1970 by GNU date + 11644473600).
TEST(FileTimes, KnownMomentsAreTakenApart) {
    const struct {
        std::uint64_t ticks;
        WORD year, month, dayOfWeek, day, hour, minute, second, milliseconds;
    } rows[] = {
        {9'999, 1601, 1, 1, 1, 0, 0, 0, 0},
        {10'000, 1601, 1, 1, 1, 0, 0, 0, 1},
        {94'405'823'990'000'000, 1900, 2, 3, 28, 23, 59, 59, 0},
        {94'405'824'000'000'000, 1900, 3, 4, 1, 0, 0, 0, 0},
        {116'444'735'999'999'999, 1969, 12, 3, 31, 23, 59, 59, 999},
        {125'963'423'990'000'000, 2000, 2, 2, 29, 23, 59, 59, 0},
        {125'963'424'000'000'000, 2000, 3, 3, 1, 0, 0, 0, 0},
        {2'650'467'743'999'999'999, 9999, 12, 5, 31, 23, 59, 59, 999},
    };
    for (const auto& row : rows) {
        const FILETIME time = FileTime(row.ticks);
        SYSTEMTIME moment{};
        ASSERT_TRUE(FileTimeToSystemTime(&time, &moment)) << row.ticks;
        EXPECT_EQ(std::tuple(moment.wYear, moment.wMonth, moment.wDay, moment.wDayOfWeek),
                  std::tuple(row.year, row.month, row.day, row.dayOfWeek));
        EXPECT_EQ(std::tuple(moment.wHour, moment.wMinute, moment.wSecond, moment.wMilliseconds),
                  std::tuple(row.hour, row.minute, row.second, row.milliseconds));
    }
    const FILETIME beyond = FileTime(kLast + 1);
    SYSTEMTIME moment{};
    EXPECT_FALSE(FileTimeToSystemTime(&beyond, &moment));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(moment.wYear, 0);
}

TEST(FileTimes, NowIsTheSystemClocks) {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const auto unixSeconds = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::system_clock::now().time_since_epoch());
    const auto seconds = static_cast<std::int64_t>(Ticks(now) / 10'000'000) - 11'644'473'600;
    EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(unixSeconds.count()), 2.0);
}

class TimeZone : public ::testing::Test {
  protected:
    static void Set(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    void TearDown() override {
        unsetenv("TZ");
        tzset();
    }

    // The local time; 0 and the last error when there is none.
    static std::uint64_t Local(std::uint64_t ticks) {
        const FILETIME utc = FileTime(ticks);
        FILETIME local{};
        const BOOL converted = FileTimeToLocalFileTime(&utc, &local);
        SetLastError(converted ? ERROR_SUCCESS : GetLastError());
        return Ticks(local);
    }
};

TEST_F(TimeZone, LocalTimeIsShiftedByTheZonesOffsetWithinTheRange) {
    const struct {
        const char* zone;
        std::uint64_t utc, local;
        DWORD error = ERROR_SUCCESS;
    } rows[] = {{"UTC0", kJuly2020, kJuly2020},
                {"<+0530>-5:30", kJuly2020, kJuly2020 + 5 * kHour + kHour / 2},
                {"<-08>8", kJuly2020, kJuly2020 - 8 * kHour},
                {"<+02>-2", 0, 2 * kHour},
                {"<+02>-2", kLast - 2 * kHour, kLast},
                {"<+02>-2", kLast, 0, ERROR_INVALID_PARAMETER},
                {"<-02>2", 0, 0, ERROR_INVALID_PARAMETER},
                {"<-02>2", 2 * kHour, 0},
                {"<-02>2", kLast, kLast - 2 * kHour},
                {"UTC0", kLast + 1, 0, ERROR_INVALID_PARAMETER}};
    for (const auto& row : rows) {
        Set(row.zone);
        EXPECT_EQ(Local(row.utc), row.local) << row.zone;
        EXPECT_EQ(GetLastError(), row.error) << row.zone << ' ' << row.utc;
    }
}

// Whatever the season, a zone that saves daylight gives January and July the same offset.
TEST_F(TimeZone, TheRuleInForceNowCountsForAllTimes) {
    Set("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(Local(kJanuary2020) - kJanuary2020, Local(kJuly2020) - kJuly2020);
    // Daylight saving all the year.
    Set("AAA-1BBB,0/0,J365/25");
    EXPECT_EQ(Local(kJanuary2020) - kJanuary2020, 2 * kHour);
}

}  // namespace
}  // namespace quorvel
