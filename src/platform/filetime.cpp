// FILETIME: 100-nanosecond units since 1 January 1601 UTC, and its
// conversions to host time, local time and calendar values.
//
//   1. Host time <-> FILETIME
//   2. FileTimeToLocalFileTime, FileTimeToSystemTime
#include <cstdint>
#include <ctime>

#include "platform/internal.h"

static const int64_t kSecondsFrom1601To1970 = 11644473600LL;
static const int64_t kTicksPerSecond = 10000000LL;
static const int64_t kTicksPerDay = 864000000000LL;
// The largest time in seconds since 1601 that fits a signed 64-bit tick count.
static const int64_t kMaxSeconds = INT64_MAX / kTicksPerSecond;

static uint64_t ticksOf(const FILETIME& t) {
    return (static_cast<uint64_t>(t.dwHighDateTime) << 32) | t.dwLowDateTime;
}

static FILETIME fileTimeOf(uint64_t ticks) {
    FILETIME t;
    t.dwLowDateTime = static_cast<DWORD>(ticks);
    t.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return t;
}

// ---------------------------------------------------------------------------
// 1. Host time <-> FILETIME
// ---------------------------------------------------------------------------

FILETIME kvFileTimeFromUnix(int64_t seconds, uint32_t nanoseconds) {
    // Times before 1601 become 0, times past the range the largest value.
    if (seconds < -kSecondsFrom1601To1970) return fileTimeOf(0);
    int64_t since1601 = seconds + kSecondsFrom1601To1970;
    if (since1601 >= kMaxSeconds) return fileTimeOf(INT64_MAX);
    return fileTimeOf(static_cast<uint64_t>(since1601) * kTicksPerSecond + nanoseconds / 100);
}

bool kvUnixFromFileTime(const FILETIME& time, struct timespec& out) {
    uint64_t ticks = ticksOf(time);
    if (ticks > static_cast<uint64_t>(INT64_MAX)) return false;
    out.tv_sec = static_cast<time_t>(static_cast<int64_t>(ticks / kTicksPerSecond) - kSecondsFrom1601To1970);
    out.tv_nsec = static_cast<long>((ticks % kTicksPerSecond) * 100);
    return true;
}

// ---------------------------------------------------------------------------
// 2. FileTimeToLocalFileTime, FileTimeToSystemTime
// ---------------------------------------------------------------------------

BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local) {
    if (!utc || !local) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    uint64_t ticks = ticksOf(*utc);
    if (ticks > static_cast<uint64_t>(INT64_MAX)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    // The offset in force at that time, by the host's zone (TZ, read again
    // each call).
    time_t seconds = static_cast<time_t>(static_cast<int64_t>(ticks / kTicksPerSecond) - kSecondsFrom1601To1970);
    tzset();
    struct tm parts;
    if (!localtime_r(&seconds, &parts)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    int64_t result = static_cast<int64_t>(ticks) + static_cast<int64_t>(parts.tm_gmtoff) * kTicksPerSecond;
    if (result < 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *local = fileTimeOf(static_cast<uint64_t>(result));
    return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* system) {
    if (!time || !system) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    uint64_t ticks = ticksOf(*time);
    if (ticks > static_cast<uint64_t>(INT64_MAX)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    int64_t days = static_cast<int64_t>(ticks / kTicksPerDay);
    uint64_t rest = ticks % kTicksPerDay;

    // Civil date from a day count (days since 1970-01-01 in the proleptic
    // Gregorian calendar); 1601-01-01 is 134774 days before 1970-01-01.
    int64_t z = days - 134774 + 719468;
    int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    int64_t doe = z - era * 146097;
    int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    int64_t mp = (5 * doy + 2) / 153;
    int64_t day = doy - (153 * mp + 2) / 5 + 1;
    int64_t month = mp < 10 ? mp + 3 : mp - 9;
    int64_t year = yoe + era * 400 + (month <= 2 ? 1 : 0);

    system->wYear = static_cast<WORD>(year);
    system->wMonth = static_cast<WORD>(month);
    system->wDay = static_cast<WORD>(day);
    system->wDayOfWeek = static_cast<WORD>((days + 1) % 7);  // 1601-01-01 was a Monday
    system->wHour = static_cast<WORD>(rest / (3600 * kTicksPerSecond));
    system->wMinute = static_cast<WORD>(rest / (60 * kTicksPerSecond) % 60);
    system->wSecond = static_cast<WORD>(rest / kTicksPerSecond % 60);
    system->wMilliseconds = static_cast<WORD>(rest / 10000 % 1000);
    return TRUE;
}
