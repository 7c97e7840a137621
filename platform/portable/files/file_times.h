// Times of Windows.
#pragma once

#include "platform/portable/kernel/types.h"

// Hundreds of nanoseconds since 1601-01-01 00:00, low half first.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
static_assert(sizeof(FILETIME) == 8);

// A moment by the Gregorian calendar.
struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;      // 1 to 12
    WORD wDayOfWeek;  // 0 (Sunday) to 6
    WORD wDay;        // 1 to 31
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
static_assert(sizeof(SYSTEMTIME) == 16);

// All calls: any thread.

// The present time in UTC.
void GetSystemTimeAsFileTime(FILETIME* time);

// The present time by the machine's time zone.
void GetLocalTime(SYSTEMTIME* moment);

// Shifts `utc` by the offset from UTC that the machine's time zone has NOW, also when daylight
// saving was different at the moment that `utc` tells. FALSE with ERROR_INVALID_PARAMETER, and
// `local` left alone, when either time lies before 1601 or is 2^63 or more. `local` may be `utc`.
BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local);

// Takes a time apart, fractions of a millisecond cut off. FALSE with ERROR_INVALID_PARAMETER, and
// `moment` left alone, beyond the year 30827.
BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* moment);
