#include "platform/portable/files/file_times.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <ratio>

#include "platform/portable/kernel/failures.h"

namespace quorvel::platform {
namespace {

using namespace std::chrono;

using Ticks = duration<std::int64_t, std::ratio<1, 10'000'000>>;

constexpr sys_days kEpoch = year{1601} / January / 1;
constexpr Ticks kEndOfSystemTimes = sys_days{year{30828} / January / 1} - kEpoch;

Ticks FromFileTime(const FILETIME& time) {
    return Ticks(
        static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime));
}

FILETIME ToFileTime(Ticks ticks) {
    const auto count = static_cast<std::uint64_t>(ticks.count());
    return {static_cast<DWORD>(count), static_cast<DWORD>(count >> 32)};
}

// Local time minus UTC by the rule in force now.
seconds PresentOffset() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return seconds(local.tm_gmtoff);
}

}  // namespace
}  // namespace quorvel::platform

using namespace quorvel::platform;

void GetSystemTimeAsFileTime(FILETIME* time) {
    const auto now = floor<Ticks>(system_clock::now());
    *time = ToFileTime(now - time_point_cast<Ticks>(kEpoch));
}

BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local) {
    const Ticks time = FromFileTime(*utc);
    const Ticks offset = PresentOffset();
    const Ticks earliest = std::max(Ticks::zero(), -offset);
    const Ticks latest = Ticks::max() - std::max(Ticks::zero(), offset);
    if (time < earliest || time > latest) return FailWith(ERROR_INVALID_PARAMETER, FALSE);
    *local = ToFileTime(time + offset);
    return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* moment) {
    const Ticks ticks = FromFileTime(*time);
    if (ticks < Ticks::zero() || ticks >= kEndOfSystemTimes)
        return FailWith(ERROR_INVALID_PARAMETER, FALSE);
    const days wholeDays = floor<days>(ticks);
    const year_month_day date{kEpoch + wholeDays};
    const hh_mm_ss clock{floor<milliseconds>(ticks - wholeDays)};
    moment->wYear = static_cast<WORD>(int{date.year()});
    moment->wMonth = static_cast<WORD>(unsigned{date.month()});
    moment->wDayOfWeek = static_cast<WORD>(weekday{kEpoch + wholeDays}.c_encoding());
    moment->wDay = static_cast<WORD>(unsigned{date.day()});
    moment->wHour = static_cast<WORD>(clock.hours().count());
    moment->wMinute = static_cast<WORD>(clock.minutes().count());
    moment->wSecond = static_cast<WORD>(clock.seconds().count());
    moment->wMilliseconds = static_cast<WORD>(clock.subseconds().count());
    return TRUE;
}

void GetLocalTime(SYSTEMTIME* moment) {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    FileTimeToLocalFileTime(&now, &now);
    FileTimeToSystemTime(&now, moment);
}
