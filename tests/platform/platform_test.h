// Helpers shared by the tests of the platform layer: a few host-side
// probes, and the check of a failing call's last error (the environment
// and current-directory guards are in support/guards.h).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "platform/hostcalls.h"
#include "platform/platform.h"
#include "support/guards.h"
#include "support/tempdir.h"

inline mode_t hostMode(const std::string& host) {
    struct stat st;
    return lstat(host.c_str(), &st) == 0 ? st.st_mode : 0;
}

// Sets a host file's modification time, leaving its access time.
inline void setHostMtime(const std::string& host, time_t seconds, long nanoseconds = 0) {
    struct timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, host.c_str(), times, 0)) << host;
}

inline void hostChmodOrFail(const std::string& host, mode_t mode) {
    ASSERT_EQ(0, chmod(host.c_str(), mode)) << host;
}

inline uint64_t ticks(const FILETIME& t) { return (static_cast<uint64_t>(t.dwHighDateTime) << 32) | t.dwLowDateTime; }

inline FILETIME fileTime(uint64_t value) {
    FILETIME t;
    t.dwLowDateTime = static_cast<DWORD>(value);
    t.dwHighDateTime = static_cast<DWORD>(value >> 32);
    return t;
}

// FILETIME of a Unix time in seconds.
inline FILETIME fileTimeOfUnix(int64_t seconds) {
    return fileTime(static_cast<uint64_t>(seconds + 11644473600LL) * 10000000ULL);
}

// Runs `call` (true on success) with the last error cleared, so that a
// stale value cannot pass, and expects it to fail and leave `error`.
template <typename Call>
void expectFails(DWORD error, const std::string& why, Call call) {
    SetLastError(0);
    EXPECT_FALSE(call()) << why;
    EXPECT_EQ(error, GetLastError()) << why;
}

// The current directory in engine form.
inline std::string currentDirectory() {
    char buffer[MAX_PATH];
    return std::string(buffer, GetCurrentDirectoryA(sizeof buffer, buffer));
}

// The names a listing gives, in order.
inline std::vector<std::string> listNames(const std::string& pattern) {
    std::vector<std::string> names;
    WIN32_FIND_DATAA data;
    HANDLE h = FindFirstFileA(pattern.c_str(), &data);
    if (h == INVALID_HANDLE_VALUE) return names;
    do names.push_back(data.cFileName);
    while (FindNextFileA(h, &data));
    EXPECT_EQ(static_cast<DWORD>(ERROR_NO_MORE_FILES), GetLastError()) << "end of " << pattern;
    FindClose(h);
    return names;
}

// Names of the entries of a host directory (no dot entries), sorted.
inline std::vector<std::string> hostEntries(const std::string& hostDir) {
    std::vector<std::string> names;
    DIR* d = opendir(hostDir.c_str());
    if (!d) return names;
    while (struct dirent* e = readdir(d)) {
        std::string name = e->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    closedir(d);
    std::sort(names.begin(), names.end());
    return names;
}
