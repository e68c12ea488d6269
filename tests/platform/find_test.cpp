// Enumeration: listing order, wildcards, find records and their attributes,
// symbolic links, and the last error of every way a listing ends.
#include "platform_test.h"

#include <fcntl.h>

#include "platform/internal.h"

typedef std::vector<std::string> Names;

// --- Order -------------------------------------------------------------------

TEST(Listing, DotsFirstThenNamesWithoutRegardToCase) {
    TempDir dir;
    for (const char* name : {"b.txt", "a.txt", "A.txt", "_u", "Z", "10", "2", ".hidden", "aB", "Ab", "\xC9t\xE9",
                             "abcdefgh1", "ABCDEFGH0", "abcdefgh", "ABCDEFGh"})
        writeFile(dir.host(name), name);
    writeFile(dir.host("SUB/inner"), "");
    // By upper case: '.' < digits < letters < '_' < high bytes (as NTFS
    // orders); names equal but for case by their bytes, capitals first, names
    // that share their first 8 bytes as well.
    Names expected = {".",        "..",       ".hidden",   "10",        "2",     "A.txt", "a.txt", "Ab", "aB",
                      "ABCDEFGh", "abcdefgh", "ABCDEFGH0", "abcdefgh1", "b.txt", "SUB",   "Z",     "_u", "\xC9t\xE9"};
    EXPECT_EQ(expected, listNames(dir.engine("*")));
    EXPECT_EQ(expected, listNames(dir.engine("*.*"))) << "*.* is every name";
}

TEST(Listing, ManyEntriesAllThereInOrder) {
    TempDir dir;
    const int count = 1000;
    for (int i = 0; i < count; ++i) {
        char name[32];
        snprintf(name, sizeof name, i % 2 ? "File%05d.dat" : "file%05d.DAT", (i * 7919) % count);
        writeFile(dir.host(name), "");
    }
    Names names = listNames(dir.engine("*"));
    ASSERT_EQ(static_cast<size_t>(count + 2), names.size());
    for (size_t i = 3; i < names.size(); ++i)
        EXPECT_LT(kvCompareNames(names[i - 1].c_str(), names[i].c_str()), 0) << names[i - 1] << " before " << names[i];
}

// --- Wildcards ---------------------------------------------------------------

struct WildcardCase {
    const char* pattern;
    Names expected;
};

TEST(Listing, Wildcards) {
    TempDir dir;
    for (const char* name : {"chkpoint", "chkpoint.001", "CHKPOINT.12", "chkpoint.x.y", "chkpointer.1", "a", "ab",
                             "abc.d", "README", "x.tar.gz", "design.sch", "Design.SCH.bak"})
        writeFile(dir.host(name), "");
    const WildcardCase cases[] = {
        {"chkpoint.*", {"chkpoint", "chkpoint.001", "CHKPOINT.12", "chkpoint.x.y"}},
        {"?", {"a"}},
        {"??", {"a", "ab"}},
        {"a?", {"a", "ab"}},
        {"?b*", {"ab", "abc.d"}},
        {"A*", {"a", "ab", "abc.d"}},
        {"*.D", {"abc.d"}},
        {"*.gz", {"x.tar.gz"}},
        {"*.sch", {"design.sch"}},
        {"*.sch*", {"design.sch", "Design.SCH.bak"}},
        {"*.", {".", "..", "a", "ab", "chkpoint", "README"}},
        {"readme", {"README"}},
        {"*.tar.*", {"x.tar.gz"}},
        {"*e*", {"chkpointer.1", "design.sch", "Design.SCH.bak", "README"}},
        {"x*z", {"x.tar.gz"}},
    };
    for (const WildcardCase& c : cases) EXPECT_EQ(c.expected, listNames(dir.engine(c.pattern))) << "pattern " << c.pattern;
}

TEST(Listing, PatternSeparatorsCaseAndDriveRoots) {
    TempDir dir;
    writeFile(dir.host("Stage/Sub/one.txt"), "");
    writeFile(dir.host("Stage/Sub/two.txt"), "");
    Names expected = {".", "..", "one.txt", "two.txt"};
    EXPECT_EQ(expected, listNames(dir.engine("stage\\SUB") + "/*")) << "a forward slash before the pattern";
    EXPECT_EQ(expected, listNames(dir.host("Stage/Sub/*"))) << "a host path is a rooted path on Z:";
    // A drive's root has no dot entries.
    std::string value = "C=" + dir.host("Stage/Sub");
    EnvGuard drives("KVENG_DRIVES", value.c_str());
    EXPECT_EQ((Names{"one.txt", "two.txt"}), listNames("C:\\*"));
    EXPECT_EQ((Names{"one.txt", "two.txt"}), listNames("C:\\*.*"));
}

// --- How listings end: the last error of each --------------------------------

TEST(Listing, LastErrors) {
    TempDir dir;
    writeFile(dir.host("d/file.txt"), "");
    WIN32_FIND_DATAA data;
    const struct {
        std::string pattern;
        DWORD error;
        const char* why;
    } rows[] = {
        {dir.engine("d\\*.sch"), ERROR_FILE_NOT_FOUND, "nothing matches in an existing directory"},
        {dir.engine("missing\\*"), ERROR_PATH_NOT_FOUND, "the directory is missing"},
        {dir.engine("d\\file.txt\\*"), ERROR_PATH_NOT_FOUND, "a file is no directory"},
        {dir.engine("d\\nothing.txt"), ERROR_FILE_NOT_FOUND, "a plain path that is not there"},
        {dir.engine("x\\nothing.txt"), ERROR_PATH_NOT_FOUND, "a plain path in a missing directory"},
        {dir.engine("d\\"), ERROR_FILE_NOT_FOUND, "a trailing separator"},
        {dir.engine("d*\\*"), ERROR_INVALID_NAME, "a wildcard before the last component"},
        {"Q:\\*", ERROR_PATH_NOT_FOUND, "an unmapped drive"},
    };
    for (const auto& r : rows)
        expectFails(r.error, r.why, [&] { return FindFirstFileA(r.pattern.c_str(), &data) != INVALID_HANDLE_VALUE; });

    HANDLE h = FindFirstFileA(dir.engine("d\\file.txt").c_str(), &data);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    expectFails(ERROR_NO_MORE_FILES, "the end of a one-entry find", [&] { return FindNextFileA(h, &data); });
    expectFails(ERROR_NO_MORE_FILES, "and again", [&] { return FindNextFileA(h, &data); });
    EXPECT_TRUE(FindClose(h));
    expectFails(ERROR_INVALID_HANDLE, "no handle", [] { return FindClose(INVALID_HANDLE_VALUE); });
}

TEST(Listing, AnEntryRemovedDuringTheListingIsPassedOver) {
    TempDir dir;
    for (const char* name : {"a", "b", "c"}) writeFile(dir.host(name), "");
    WIN32_FIND_DATAA data;
    HANDLE h = FindFirstFileA(dir.engine("*").c_str(), &data);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    ASSERT_EQ(0, unlink(dir.host("b").c_str()));
    Names names = {data.cFileName};
    while (FindNextFileA(h, &data)) names.push_back(data.cFileName);
    EXPECT_EQ(static_cast<DWORD>(ERROR_NO_MORE_FILES), GetLastError());
    FindClose(h);
    EXPECT_EQ((Names{".", "..", "a", "c"}), names);
}

// --- Find records ------------------------------------------------------------

static WIN32_FIND_DATAA findOne(const std::string& path) {
    WIN32_FIND_DATAA data;
    memset(&data, 0, sizeof data);
    HANDLE h = FindFirstFileA(path.c_str(), &data);
    EXPECT_NE(INVALID_HANDLE_VALUE, h) << path;
    if (h != INVALID_HANDLE_VALUE) FindClose(h);
    return data;
}

TEST(FindRecord, AttributesSizesAndLinks) {
    TempDir dir;
    writeFile(dir.host("plain.txt"), "12345");
    writeFile(dir.host("locked.txt"), "123");
    hostChmodOrFail(dir.host("locked.txt"), 0444);
    writeFile(dir.host("sub/x"), "");
    // A sparse file of 5 GiB + 3 bytes: the size needs both halves.
    int fd = open(dir.host("big.bin").c_str(), O_CREAT | O_WRONLY, 0644);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(0, ftruncate(fd, (5LL << 30) + 3));
    close(fd);
    ASSERT_EQ(0, symlink(dir.host("sub").c_str(), dir.host("dirlink").c_str()));
    ASSERT_EQ(0, symlink("plain.txt", dir.host("filelink").c_str()));
    ASSERT_EQ(0, symlink("nowhere", dir.host("dangling").c_str()));

    const DWORD archive = FILE_ATTRIBUTE_ARCHIVE, linkedDir = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    const int64_t unchecked = -1;
    const struct {
        const char* name;
        DWORD attributes;
        int64_t low, high;
        const char* why;
    } rows[] = {
        {"plain.txt", archive, 5, 0, "a file"},
        {"locked.txt", archive | FILE_ATTRIBUTE_READONLY, 3, 0, "read-only by the owner's write bit, even for root"},
        {"sub", FILE_ATTRIBUTE_DIRECTORY, 0, 0, "a directory has no size"},
        {"big.bin", archive, (1 << 30) + 3, 1, "5 GiB + 3"},
        {"dirlink", linkedDir, unchecked, unchecked, "a link to a directory: directory and reparse point"},
        {"filelink", archive, 5, 0, "a link to a file is that file"},
        {"dangling", FILE_ATTRIBUTE_REPARSE_POINT, unchecked, unchecked, "a link to nothing"},
    };
    for (const auto& r : rows) {
        WIN32_FIND_DATAA d = findOne(dir.engine(r.name));
        EXPECT_STREQ(r.name, d.cFileName) << r.why;
        EXPECT_EQ(r.attributes, d.dwFileAttributes) << r.why;
        if (r.low != unchecked) {
            EXPECT_EQ(r.low, d.nFileSizeLow) << r.why;
            EXPECT_EQ(r.high, d.nFileSizeHigh) << r.why;
        }
        EXPECT_STREQ("", d.cAlternateFileName) << r.why;
    }

    // The same in a listing, and the same from GetFileAttributesA.
    WIN32_FIND_DATAA data;
    HANDLE h = FindFirstFileA(dir.engine("*link").c_str(), &data);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    EXPECT_STREQ("dirlink", data.cFileName);
    EXPECT_EQ(linkedDir, data.dwFileAttributes);
    ASSERT_TRUE(FindNextFileA(h, &data));
    EXPECT_STREQ("filelink", data.cFileName);
    EXPECT_EQ(archive, data.dwFileAttributes);
    FindClose(h);
    EXPECT_EQ(linkedDir, GetFileAttributesA(dir.engine("DirLink").c_str()));
    EXPECT_EQ((Names{".", "..", "x"}), listNames(dir.engine("dirlink\\*"))) << "a linked directory lists";
}

TEST(FindRecord, TimesRoundTrip) {
    TempDir dir;
    writeFile(dir.host("f.txt"), "x");
    writeFile(dir.host("d/x"), "");
    // 2003-04-05 06:07:08.9 UTC, with a fraction that a FILETIME keeps.
    FILETIME when = fileTime(ticks(fileTimeOfUnix(1049522828)) + 9000000);
    for (const char* name : {"f.txt", "d"}) {
        HANDLE h = CreateFileA(dir.engine(name).c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                               FILE_FLAG_BACKUP_SEMANTICS | FILE_ATTRIBUTE_NORMAL, nullptr);
        ASSERT_NE(INVALID_HANDLE_VALUE, h) << name;
        EXPECT_TRUE(SetFileTime(h, nullptr, nullptr, &when));
        EXPECT_TRUE(CloseHandle(h));
        WIN32_FIND_DATAA d = findOne(dir.engine(name));
        EXPECT_EQ(ticks(when), ticks(d.ftLastWriteTime)) << name;
        EXPECT_NE(0u, ticks(d.ftCreationTime)) << name;
        EXPECT_NE(0u, ticks(d.ftLastAccessTime)) << name;
    }
    struct stat st;
    ASSERT_EQ(0, stat(dir.host("f.txt").c_str(), &st));
    EXPECT_EQ(1049522828, st.st_mtim.tv_sec);
    EXPECT_EQ(900000000, st.st_mtim.tv_nsec);
}

// --- The wildcard matcher against a plain reference, on many names -----------

// A slow, obvious reading of the rules in find.cpp's head comment, by
// recursion over the translated pattern.
static bool referenceMatch(const std::vector<int>& t, size_t i, const std::string& name, size_t j, size_t lastDot) {
    if (i == t.size()) return j == name.size();
    int token = t[i];
    bool end = j == name.size();
    char c = end ? 0 : static_cast<char>(toupper(static_cast<unsigned char>(name[j])));
    switch (token) {
    case 256:  // *
        return referenceMatch(t, i + 1, name, j, lastDot) || (!end && referenceMatch(t, i, name, j + 1, lastDot));
    case 257:  // * before a dot
        return referenceMatch(t, i + 1, name, j, lastDot) ||
               (!end && j != lastDot && referenceMatch(t, i, name, j + 1, lastDot));
    case 258:  // ?
        if (end || c == '.') return referenceMatch(t, i + 1, name, j, lastDot);
        return referenceMatch(t, i + 1, name, j + 1, lastDot);
    case 259:  // . before a wildcard or at the end
        if (end) return referenceMatch(t, i + 1, name, j, lastDot);
        return c == '.' && referenceMatch(t, i + 1, name, j + 1, lastDot);
    default:
        return !end && c == token && referenceMatch(t, i + 1, name, j + 1, lastDot);
    }
}

static bool referenceWildcard(const std::string& pattern, const std::string& name) {
    std::vector<int> t;
    for (size_t i = 0; i < pattern.size(); ++i) {
        char after = i + 1 < pattern.size() ? pattern[i + 1] : 0;
        char c = pattern[i];
        if (c == '?') t.push_back(258);
        else if (c == '*') t.push_back(after == '.' ? 257 : 256);
        else if (c == '.' && (after == '?' || after == '*' || after == 0)) t.push_back(259);
        else t.push_back(toupper(static_cast<unsigned char>(c)));
    }
    size_t dot = name.rfind('.');
    return referenceMatch(t, 0, name, 0, dot == std::string::npos ? name.size() + 1 : dot);
}

TEST(Listing, WildcardsAgreeWithTheReference) {
    TempDir dir;
    const char* names[] = {"a", "A.b", "ab.", "a.b.c", ".x", "..y", "abc", "x.abc", "b.a", "aa.bb", "a..b", "q"};
    for (const char* n : names) writeFile(dir.host(n), "");
    const char* alphabet = "ab.*?";
    unsigned seed = 12345;
    for (int round = 0; round < 400; ++round) {
        std::string pattern;
        int length = 1 + static_cast<int>((seed >> 16) % 5);
        for (int k = 0; k < length; ++k) {
            seed = seed * 1103515245u + 12345u;
            pattern += alphabet[(seed >> 16) % 5];
        }
        if (pattern.find_first_of("*?") == std::string::npos) continue;
        Names expected;
        for (const char* n : {".", ".."})
            if (referenceWildcard(pattern, n)) expected.push_back(n);
        Names sorted(std::begin(names), std::end(names));
        std::sort(sorted.begin(), sorted.end(),
                  [](const std::string& x, const std::string& y) { return kvCompareNames(x.c_str(), y.c_str()) < 0; });
        for (const std::string& n : sorted)
            if (referenceWildcard(pattern, n)) expected.push_back(n);
        EXPECT_EQ(expected, listNames(dir.engine(pattern))) << "pattern " << pattern;
    }
}
