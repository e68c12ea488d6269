// Engine paths: the full form (GetFullPathNameA), drive letters, host and
// engine conversion, lookups without regard to case, and _splitpath.
#include "platform_test.h"

#include <cstring>

#include "platform/internal.h"

// --- GetFullPathNameA, from one table ------------------------------------------
// {cwd} is the engine form of the current directory (a temporary directory
// on Z:), {parent} its parent.

struct FullPathCase {
    const char* input;
    const char* expected;
};

static const FullPathCase kFullPaths[] = {
    {"C:\\a\\b", "C:\\a\\b"},
    {"c:\\a\\B", "C:\\a\\B"},
    {"C:/a//b/", "C:\\a\\b\\"},
    {"C:\\a\\.\\b\\..\\c", "C:\\a\\c"},
    {"C:\\..", "C:\\"},
    {"C:\\..\\..\\x", "C:\\x"},
    {"C:\\", "C:\\"},
    {"C:", "C:\\"},
    {"C:x", "C:\\x"},
    {"C:\\a\\b. ", "C:\\a\\b"},
    {"C:\\a\\b...", "C:\\a\\b"},
    {"C:\\a.\\b", "C:\\a.\\b"},
    {"C:\\a.\\.", "C:\\a"},
    {"C:\\a.\\b\\..", "C:\\a"},
    {"C:\\a\\. .", "C:\\a\\"},
    {"C:\\a.\\", "C:\\a.\\"},
    {"C:\\a b\\c d", "C:\\a b\\c d"},
    {"Z:x", "{cwd}\\x"},
    {"a\\b", "{cwd}\\a\\b"},
    {"a/b/../c", "{cwd}\\a\\c"},
    {".", "{cwd}"},
    {"..", "{parent}"},
    {".\\", "{cwd}\\"},
    {"\\x\\y", "Z:\\x\\y"},
    {"/x/y", "Z:\\x\\y"},
    {"\\\\server\\share\\a\\..\\b", "\\\\server\\share\\b"},
    {"//server/share/a", "\\\\server\\share\\a"},
    {"\\\\server\\share\\..\\..", "\\\\server\\share"},
    {"1:y", "1:\\y"},
    {"Z:\\tmp\\/qelvarch.tmp", "Z:\\tmp\\qelvarch.tmp"},
};

TEST(FullPath, FollowsTheWindowsRules) {
    CwdGuard guard;
    TempDir dir;
    ASSERT_EQ(0, chdir(dir.host().c_str()));
    std::string cwd = dir.engine();
    std::string parent = cwd.substr(0, cwd.rfind('\\'));
    for (const FullPathCase& c : kFullPaths) {
        std::string expected = c.expected;
        size_t at = expected.find("{cwd}");
        if (at != std::string::npos) expected.replace(at, 5, cwd);
        at = expected.find("{parent}");
        if (at != std::string::npos) expected.replace(at, 8, parent);
        char buffer[MAX_PATH];
        DWORD n = GetFullPathNameA(c.input, sizeof buffer, buffer, nullptr);
        EXPECT_EQ(expected, std::string(buffer, n)) << "full path of \"" << c.input << "\"";
        EXPECT_EQ(strlen(buffer), n) << c.input;
    }
}

TEST(FullPath, BufferSizeAndFilePart) {
    char buffer[16];
    memset(buffer, 'x', sizeof buffer);
    // "C:\dir\name.ext" is 15 characters: it needs 16 bytes.
    EXPECT_EQ(16u, GetFullPathNameA("C:\\dir\\name.ext", 15, buffer, nullptr)) << "one byte short gives the size needed";
    EXPECT_EQ('x', buffer[0]) << "nothing written when it does not fit";
    char* filePart = nullptr;
    EXPECT_EQ(15u, GetFullPathNameA("C:\\dir\\name.ext", 16, buffer, &filePart)) << "exact fit";
    EXPECT_STREQ("C:\\dir\\name.ext", buffer);
    ASSERT_NE(nullptr, filePart);
    EXPECT_STREQ("name.ext", filePart);
    EXPECT_EQ(3u, GetFullPathNameA("C:\\", 16, buffer, &filePart));
    EXPECT_EQ(nullptr, filePart) << "a path ending in a separator has no file part";
    SetLastError(0);
    EXPECT_EQ(0u, GetFullPathNameA("", 16, buffer, nullptr)) << "an empty path fails";
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_NAME), GetLastError());
}

// --- Drives ------------------------------------------------------------------

TEST(Drives, ZIsTheHostRootAndRelativeHostPathsUseTheCurrentDirectory) {
    EnvGuard drives("KVENG_DRIVES", nullptr);
    CwdGuard guard;
    TempDir dir;
    ASSERT_EQ(0, chdir(dir.host().c_str()));
    const struct { std::string host, engine; } toEngine[] = {
        {"/", "Z:\\"}, {"/usr//lib/", "Z:\\usr\\lib"}, {"/usr/lib/..", "Z:\\usr"},
        {"sub/./f", dir.engine() + "\\sub\\f"}, {".", dir.engine()},
    };
    for (const auto& r : toEngine) EXPECT_EQ(r.engine, ToEnginePath(r.host.c_str())) << r.host;
    const struct { const char *engine, *host, *why; } toHost[] = {
        {"Z:\\", "/", "the root"}, {"z:/usr/lib", "/usr/lib", "any case, any separator"},
        {"C:\\x", "", "an unmapped drive names nothing"}, {"\\\\server\\share\\x", "", "a UNC name names nothing"},
    };
    for (const auto& r : toHost) EXPECT_EQ(r.host, ToHostPath(r.engine)) << r.why;
}

TEST(Drives, MappedLettersAndTheLongestRoot) {
    TempDir dir;
    writeFile(dir.host("cdrive/Lib/Parts.LIB"), "x");
    writeFile(dir.host("cdrive/inner/f.txt"), "y");
    writeFile(dir.host("ddrive/x"), "z");
    std::string value = "C=" + dir.host("cdrive") + ";d=" + dir.host("ddrive") + "/;E:=" + dir.host("cdrive/inner");
    EnvGuard drives("KVENG_DRIVES", value.c_str());

    EXPECT_EQ("C:\\", ToEnginePath(dir.host("cdrive").c_str()));
    EXPECT_EQ("C:\\Lib\\Parts.LIB", ToEnginePath(dir.host("cdrive/Lib/Parts.LIB").c_str()));
    EXPECT_EQ("D:\\x", ToEnginePath(dir.host("ddrive/x").c_str())) << "lower-case letter, trailing slash";
    EXPECT_EQ("E:\\f.txt", ToEnginePath(dir.host("cdrive/inner/f.txt").c_str())) << "the longest root wins";
    std::string onZ = "Z:" + dir.host();
    for (char& c : onZ)
        if (c == '/') c = '\\';
    EXPECT_EQ(onZ, ToEnginePath(dir.host().c_str())) << "outside every mapped root: Z:";
    std::string tail = ToEnginePath(dir.host("cdrivex").c_str());
    EXPECT_EQ('Z', tail[0]) << "a root is a whole component: " << tail;

    EXPECT_EQ(dir.host("cdrive/Lib/Parts.LIB"), ToHostPath("c:\\LIB\\parts.lib")) << "case resolved on a mapped drive";
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA("C:\\lib\\PARTS.lib"));
    SetLastError(0);
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA("Q:\\x"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_PATH_NOT_FOUND), GetLastError()) << "an unmapped drive";
}

TEST(Drives, MappingIsReadAgainWhenItChanges) {
    TempDir dir;
    writeFile(dir.host("one/a.txt"), "1");
    writeFile(dir.host("two/a.txt"), "2");
    std::string one = "C=" + dir.host("one");
    std::string two = "C=" + dir.host("two");
    {
        EnvGuard drives("KVENG_DRIVES", one.c_str());
        EXPECT_EQ(dir.host("one/a.txt"), ToHostPath("C:\\a.txt"));
    }
    {
        EnvGuard drives("KVENG_DRIVES", two.c_str());
        EXPECT_EQ(dir.host("two/a.txt"), ToHostPath("C:\\a.txt"));
    }
    EnvGuard drives("KVENG_DRIVES", nullptr);
    EXPECT_EQ("", ToHostPath("C:\\a.txt"));
}

TEST(Drives, ARootReachedThroughALinkKeepsItsLetter) {
    TempDir dir;
    writeFile(dir.host("real/f.txt"), "x");
    ASSERT_EQ(0, symlink(dir.host("real").c_str(), dir.host("link").c_str()));
    std::string value = "C=" + dir.host("link");
    EnvGuard drives("KVENG_DRIVES", value.c_str());
    EXPECT_EQ("C:\\f.txt", ToEnginePath(dir.host("real/f.txt").c_str())) << "one file, one engine path";
    EXPECT_EQ("C:\\f.txt", ToEnginePath(dir.host("link/f.txt").c_str()));
}

// --- Lookups without regard to case ------------------------------------------

TEST(CaseLookup, MixedCaseThroughSeveralLevels) {
    TempDir dir;
    writeFile(dir.host("Alpha/Beta/Gamma/file.TXT"), "content");
    std::string engine = dir.engine("alpha\\BETA\\gamma\\FILE.txt");
    EXPECT_EQ(dir.host("Alpha/Beta/Gamma/file.TXT"), ToHostPath(engine.c_str()));
    EXPECT_EQ(static_cast<DWORD>(FILE_ATTRIBUTE_ARCHIVE), GetFileAttributesA(engine.c_str()));
    WIN32_FIND_DATAA data;
    HANDLE h = FindFirstFileA(engine.c_str(), &data);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    EXPECT_STREQ("file.TXT", data.cFileName) << "the name as the disk spells it";
    FindClose(h);
    h = FindFirstFileA(dir.engine("ALPHA\\beta").c_str(), &data);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    EXPECT_STREQ("Beta", data.cFileName);
    FindClose(h);

    // New names go into the directories as they are spelled on disk.
    FILE* f = kvFopen(dir.engine("ALPHA\\beta\\New.txt").c_str(), "w");
    ASSERT_NE(nullptr, f);
    ASSERT_EQ(0, fclose(f));
    EXPECT_TRUE(fileExists(dir.host("Alpha/Beta/New.txt")));
    ASSERT_TRUE(CreateDirectoryA(dir.engine("alpha\\NewDir").c_str(), nullptr));
    EXPECT_TRUE(S_ISDIR(hostMode(dir.host("Alpha/NewDir"))));
    EXPECT_EQ((std::vector<std::string>{"Alpha"}), hostEntries(dir.host())) << "no second spelling of Alpha";
}

TEST(CaseLookup, MissingFileToldApartFromMissingDirectory) {
    TempDir dir;
    writeFile(dir.host("Alpha/file.txt"), "x");
    auto attributes = [&](const char* name) {
        return GetFileAttributesA(dir.engine(name).c_str()) != INVALID_FILE_ATTRIBUTES;
    };
    expectFails(ERROR_FILE_NOT_FOUND, "directory there, file not", [&] { return attributes("ALPHA\\missing.txt"); });
    expectFails(ERROR_PATH_NOT_FOUND, "directory missing", [&] { return attributes("alpha\\nodir\\x.txt"); });
    expectFails(ERROR_PATH_NOT_FOUND, "a file used as a directory", [&] { return attributes("alpha\\FILE.TXT\\x"); });
    EXPECT_EQ(dir.host("Alpha/New.Txt"), ToHostPath(dir.engine("ALPHA\\New.Txt").c_str()))
        << "a missing name keeps its spelling, in the directory as spelled on disk";

    // Wildcards are no names, even where the host has such a name.
    writeFile(dir.host("Alpha/a*.txt"), "a name Windows cannot have");
    expectFails(ERROR_INVALID_NAME, "a wildcard", [&] { return attributes("alpha\\a*.txt"); });
    EXPECT_EQ(nullptr, kvFopen(dir.engine("alpha\\a?.txt").c_str(), "w")) << "nothing is made under such a name";
    EXPECT_EQ((std::vector<std::string>{"a*.txt", "file.txt"}), hostEntries(dir.host("Alpha")));
}

// --- _splitpath, from one table ----------------------------------------------

struct SplitCase {
    const char* path;
    const char* drive;
    const char* dir;
    const char* fname;
    const char* ext;
};

static const SplitCase kSplits[] = {
    {"C:\\dir\\sub\\name.ext", "C:", "\\dir\\sub\\", "name", ".ext"},
    {"C:/dir/name.tar.gz", "C:", "/dir/", "name.tar", ".gz"},
    {"name", "", "", "name", ""},
    {"name.", "", "", "name", "."},
    {".cfg", "", "", "", ".cfg"},
    {"a.b\\c", "", "a.b\\", "c", ""},
    {"C:", "C:", "", "", ""},
    {"C:name.sch", "C:", "", "name", ".sch"},
    {"\\\\server\\share\\f.x", "", "\\\\server\\share\\", "f", ".x"},
    {"dir\\", "", "dir\\", "", ""},
    {"1:y", "1:", "", "y", ""},
    {"", "", "", "", ""},
    {"sub/dir\\mixed.Sch", "", "sub/dir\\", "mixed", ".Sch"},
};

TEST(SplitPath, WindowsSemantics) {
    for (const SplitCase& c : kSplits) {
        char drive[_MAX_DRIVE], dir[_MAX_DIR], fname[_MAX_FNAME], ext[_MAX_EXT];
        _splitpath(c.path, drive, dir, fname, ext);
        EXPECT_STREQ(c.drive, drive) << "drive of \"" << c.path << "\"";
        EXPECT_STREQ(c.dir, dir) << "dir of \"" << c.path << "\"";
        EXPECT_STREQ(c.fname, fname) << "fname of \"" << c.path << "\"";
        EXPECT_STREQ(c.ext, ext) << "ext of \"" << c.path << "\"";
    }
}

TEST(SplitPath, NullOutputsAndOverlongParts) {
    char fname[_MAX_FNAME], ext[_MAX_EXT];
    _splitpath("C:\\a\\b.c", nullptr, nullptr, fname, ext);
    EXPECT_STREQ("b", fname);
    EXPECT_STREQ(".c", ext);

    std::string longName(300, 'n');
    char drive[_MAX_DRIVE], dir[_MAX_DIR];
    errno = 0;
    _splitpath(("C:\\d\\" + longName + ".x").c_str(), drive, dir, fname, ext);
    EXPECT_EQ(ERANGE, errno) << "a file name beyond _MAX_FNAME";
    EXPECT_STREQ("", drive) << "every output emptied rather than a cut name";
    EXPECT_STREQ("", fname);
    EXPECT_STREQ("", ext);
    // The same path is fine when the long part is not asked for.
    errno = 0;
    _splitpath(("C:\\d\\" + longName + ".x").c_str(), drive, dir, nullptr, ext);
    EXPECT_EQ(0, errno);
    EXPECT_STREQ(".x", ext);
}
