// Local times in zones that the test chooses, by the POSIX way to set one.
#include <cstdlib>
#include <ctime>

#include <gtest/gtest.h>

#include "platform/portable/file_times.h"
#include "platform/portable/handles.h"

namespace quorvel {
namespace {

constexpr std::int64_t kHour = 36'000'000'000;
constexpr std::int64_t kJanuary2020 = 132'223'104'000'000'000;
constexpr std::int64_t kJuly2020 = kJanuary2020 + 182 * 24 * kHour;

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

    // Local minus UTC at `ticks`; nothing written gives -ticks.
    static std::int64_t Shift(std::int64_t ticks) {
        const auto bits = static_cast<std::uint64_t>(ticks);
        const FILETIME utc{static_cast<DWORD>(bits), static_cast<DWORD>(bits >> 32)};
        FILETIME local{};
        converted = FileTimeToLocalFileTime(&utc, &local);
        return static_cast<std::int64_t>(std::uint64_t{local.dwHighDateTime} << 32 |
                                         local.dwLowDateTime) -
               ticks;
    }
    static inline BOOL converted = FALSE;
};

TEST_F(TimeZone, LocalTimeIsShiftedByTheZonesOffset) {
    const struct {
        const char* zone;
        std::int64_t shift;
    } rows[] = {{"UTC0", 0}, {"<+0530>-5:30", 5 * kHour + kHour / 2}, {"<-08>8", -8 * kHour}};
    for (const auto& row : rows) {
        Set(row.zone);
        EXPECT_EQ(Shift(kJuly2020), row.shift) << row.zone;
    }
}

// Whatever the season, a zone that saves daylight gives January and July the same offset.
TEST_F(TimeZone, TheRuleInForceNowCountsForAllTimes) {
    Set("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(Shift(kJanuary2020), Shift(kJuly2020));
    // Daylight saving all the year.
    Set("AAA-1BBB,0/0,J365/25");
    EXPECT_EQ(Shift(kJanuary2020), 2 * kHour);
}

TEST_F(TimeZone, TimesOutOfRangeAreRefused) {
    constexpr std::int64_t kLast = INT64_MAX;
    const struct {
        const char* zone;
        std::int64_t ticks;
        bool converts;
    } rows[] = {{"<+02>-2", 0, true},        {"<+02>-2", kLast - 2 * kHour, true},
                {"<+02>-2", kLast, false},   {"<-02>2", 0, false},
                {"<-02>2", 2 * kHour, true}, {"<-02>2", kLast, true},
                {"UTC0", INT64_MIN, false}};
    for (const auto& row : rows) {
        Set(row.zone);
        SetLastError(ERROR_SUCCESS);
        Shift(row.ticks);
        EXPECT_EQ(converted != FALSE, row.converts) << row.zone << ' ' << row.ticks;
        EXPECT_EQ(GetLastError(), row.converts ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER);
    }
}

}  // namespace
}  // namespace quorvel
