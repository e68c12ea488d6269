// Text services and times: the comparisons, FormatMessageA, and the FILETIME
// conversions.
#include "platform_test.h"

#include <climits>
#include <cstring>

static int sign(int x) { return (x > 0) - (x < 0); }

TEST(Compare, CaseBlindComparisons) {
    // _stricmp compares lower case: '_' (0x5F) sorts before 'a' (0x61) but
    // after 'A'. lstrcmpiA orders as a listing shows names: punctuation
    // before digits before letters.
    const struct {
        int (*compare)(const char*, const char*);
        const char *a, *b;
        int sign;
    } rows[] = {
        {_stricmp, "NOM.LIB", "nom.lib", 0}, {_stricmp, "abc", "ABD", -1}, {_stricmp, "abcd", "ABC", 1},
        {_stricmp, "_x", "Ax", -1},          {_strcmpi, "Sch", "sCH", 0},
        {lstrcmpiA, "C:\\Design\\Top.SCH", "c:\\design\\top.sch", 0},
        {lstrcmpiA, "a", "B", -1},           {lstrcmpiA, "ab", "abc", -1},  {lstrcmpiA, "abc", "ab", 1},
        {lstrcmpiA, "a_b", "a1b", -1},       {lstrcmpiA, "a1b", "aab", -1}, {lstrcmpiA, "a\\b", "ab", -1},
        {lstrcmpiA, nullptr, nullptr, 0},    {lstrcmpiA, nullptr, "a", -1},
    };
    for (const auto& r : rows)
        EXPECT_EQ(r.sign, sign(r.compare(r.a, r.b))) << (r.a ? r.a : "(null)") << " against " << (r.b ? r.b : "(null)");
    EXPECT_EQ(0, _strnicmp("0x12", "0X99", 2));
    EXPECT_NE(0, _strnicmp("0x12", "0X99", 3));
    EXPECT_EQ(0, _strnicmp("a", "b", 0));
    errno = 0;
    EXPECT_EQ(INT_MAX, _stricmp(nullptr, "a"));
    EXPECT_EQ(EINVAL, errno);
    char text[] = "Mixed CASE 123 \xC4";
    EXPECT_EQ(text, _strlwr(text));
    EXPECT_STREQ("mixed case 123 \xC4", text) << "ASCII only";
}

// _strlwr works on eight bytes at a time: every byte value, at every place
// in a word and in the tail behind the last whole word, lowers as the byte
// rule says, and nothing behind the terminator is touched.
TEST(Text, LowerCaseOfEveryByteAtEveryPlace) {
    for (size_t length = 1; length <= 19; ++length)
        for (int value = 1; value < 256; ++value) {
            std::string text(length, 'Q');
            text[(value + length) % length] = static_cast<char>(value);
            std::string expected = text;
            for (char& c : expected)
                if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
            std::string buffer = text + '\0' + "TAIL";
            _strlwr(&buffer[0]);
            ASSERT_EQ(expected + '\0' + "TAIL", buffer) << "byte " << value << ", length " << length;
        }
}

// --- FormatMessageA ----------------------------------------------------------

static const char* const kArgs[9] = {"name", "dir", "tname", "tdir", "oname", "odir", "7", "8", "detail"};

TEST(FormatMessage, PositionalInsertsIntoAnAllocatedBuffer) {
    char* message = nullptr;
    DWORD n = FormatMessageA(0x2500, "Cannot move '%1' from '%2' to '%4' (%7 of %8): %9, again %1", 0, 0,
                             reinterpret_cast<char*>(&message), 0, kArgs);
    ASSERT_NE(nullptr, message);
    EXPECT_STREQ("Cannot move 'name' from 'dir' to 'tdir' (7 of 8): detail, again name", message);
    EXPECT_EQ(strlen(message), n);
    EXPECT_EQ(nullptr, LocalFree(message));
}

TEST(FormatMessage, EscapesAndInsertSyntax) {
    char* message = nullptr;
    ASSERT_NE(0u, FormatMessageA(0x2500, "100%% %1!s! %5%0 never", 0, 0, reinterpret_cast<char*>(&message), 0, kArgs));
    EXPECT_STREQ("100% name oname", message) << "%% is a percent, !s! a string, %0 ends the text";
    LocalFree(message);
    ASSERT_NE(0u, FormatMessageA(0x2500, "%1%2", 0, 0, reinterpret_cast<char*>(&message), 0, kArgs));
    EXPECT_STREQ("namedir", message);
    LocalFree(message);
    const char* const withNull[9] = {nullptr};
    ASSERT_NE(0u, FormatMessageA(0x2500, "[%1]", 0, 0, reinterpret_cast<char*>(&message), 0, withNull));
    EXPECT_STREQ("[(null)]", message);
    LocalFree(message);
}

TEST(FormatMessage, CallerBufferAndFailures) {
    char buffer[16];
    EXPECT_EQ(12u, FormatMessageA(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY, "<%1>-<%2>", 0, 0, buffer,
                                 sizeof buffer, kArgs));
    EXPECT_STREQ("<name>-<dir>", buffer);
    SetLastError(0);
    EXPECT_EQ(0u, FormatMessageA(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY, "<%1>-<%2>", 0, 0, buffer,
                                 12, kArgs));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), GetLastError()) << "no room for the NUL";
    EXPECT_EQ(0u, FormatMessageA(FORMAT_MESSAGE_FROM_STRING, "%1", 0, 0, buffer, sizeof buffer, kArgs));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER), GetLastError()) << "inserts need an argument array";
    EXPECT_EQ(4u, FormatMessageA(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_IGNORE_INSERTS, "%1%2", 0, 0, buffer,
                                 sizeof buffer, nullptr));
    EXPECT_STREQ("%1%2", buffer);
    EXPECT_EQ(0u, FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, 0, buffer, sizeof buffer, nullptr));
}

// --- Times -------------------------------------------------------------------

TEST(Times, FileTimeToSystemTime) {
    const uint64_t second = 10000000ULL;
    const struct {
        uint64_t ticks;
        WORD year, month, day, dayOfWeek, hour, minute, second, milliseconds;
    } rows[] = {
        {0, 1601, 1, 1, 1, 0, 0, 0, 0},                       // a Monday
        {116444736000000000ULL, 1970, 1, 1, 4, 0, 0, 0, 0},   // a Thursday
        {ticks(fileTimeOfUnix(951827696)) + 7890000, 2000, 2, 29, 2, 12, 34, 56, 789},
        {ticks(fileTimeOfUnix(4107542399LL)), 2100, 2, 28, 0, 23, 59, 59, 0},  // 2100 is no leap year
        {ticks(fileTimeOfUnix(4107542399LL)) + second, 2100, 3, 1, 1, 0, 0, 0, 0},
    };
    for (const auto& r : rows) {
        SYSTEMTIME s;
        memset(&s, 0xff, sizeof s);
        FILETIME t = fileTime(r.ticks);
        ASSERT_TRUE(FileTimeToSystemTime(&t, &s)) << r.ticks;
        const WORD got[] = {s.wYear, s.wMonth, s.wDay, s.wDayOfWeek, s.wHour, s.wMinute, s.wSecond, s.wMilliseconds};
        const WORD want[] = {r.year, r.month, r.day, r.dayOfWeek, r.hour, r.minute, r.second, r.milliseconds};
        EXPECT_EQ(std::vector<WORD>(want, want + 8), std::vector<WORD>(got, got + 8)) << r.ticks;
    }
    FILETIME tooLarge = fileTime(0x8000000000000000ULL);
    SYSTEMTIME out;
    EXPECT_FALSE(FileTimeToSystemTime(&tooLarge, &out));
}

TEST(Times, LocalTimeByTheHostZoneAtThatTime) {
    FILETIME january = fileTimeOfUnix(1704110400);  // 2024-01-01 12:00 UTC
    FILETIME july = fileTimeOfUnix(1719835200);     // 2024-07-01 12:00 UTC
    FILETIME local;
    const uint64_t hour = 36000000000ULL;
    {
        EnvGuard tz("TZ", "UTC0");
        ASSERT_TRUE(FileTimeToLocalFileTime(&january, &local));
        EXPECT_EQ(ticks(january), ticks(local));
    }
    {
        EnvGuard tz("TZ", "EST5");
        ASSERT_TRUE(FileTimeToLocalFileTime(&january, &local));
        EXPECT_EQ(ticks(january) - 5 * hour, ticks(local));
    }
    {
        EnvGuard tz("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
        ASSERT_TRUE(FileTimeToLocalFileTime(&january, &local));
        EXPECT_EQ(ticks(january) + hour, ticks(local)) << "winter";
        ASSERT_TRUE(FileTimeToLocalFileTime(&july, &local));
        EXPECT_EQ(ticks(july) + 2 * hour, ticks(local)) << "summer";
    }
    tzset();
}
