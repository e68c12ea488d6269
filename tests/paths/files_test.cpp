// pathstring file-system members on real trees in a temporary directory:
// getLFN with wrong case and missing levels, createDirectory, existence,
// getSFN, size, last write time, read-only, and tidyUp(true).
#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "paths/pathstring.h"
#include "platform/hostcalls.h"
#include "support/guards.h"
#include "support/tempdir.h"

static const std::string& str(const pathstring& p) { return p; }

static bool isHostDirectory(const std::string& host) {
    struct stat st;
    return stat(host.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// A small design tree with names in mixed case.
static void makeTree(const TempDir& dir) {
    writeFile(dir.host("Design/Sub/Board.SCH"), "schematic");
    writeFile(dir.host("Design/Models.LIB"), "models");
    writeFile(dir.host("Design/notes.txt"), "");
}

// --- getLFN ------------------------------------------------------------------

struct LfnCase {
    const char* typed;     // below the temporary directory
    const char* expected;  // below the temporary directory
    int missing;
};

static const LfnCase kLfn[] = {
    {"design\\sub\\board.sch", "Design\\Sub\\Board.SCH", 0},
    {"DESIGN\\SUB\\BOARD.SCH", "Design\\Sub\\Board.SCH", 0},
    {"Design\\Sub\\Board.SCH", "Design\\Sub\\Board.SCH", 0},
    {"design\\models.lib", "Design\\Models.LIB", 0},
    {"design\\sub\\", "Design\\Sub", 0},  // the trailing backslash is lost
    {"design\\sub\\missing.txt", "Design\\Sub\\missing.txt", 1},
    {"design\\NoDir\\x\\y.sch", "Design\\NoDir\\x\\y.sch", 3},
    {"design\\notes.txt\\below", "Design\\notes.txt\\below", 1},
    {"design\\sub\\..\\..\\DESIGN", "Design", 0}, // tidied first: no step up is left
};

TEST(LongNames, SpellingOnDisk) {
    TempDir dir;
    makeTree(dir);
    for (const LfnCase& c : kLfn) {
        pathstring p(dir.engine(c.typed).c_str());
        std::string result = "previous";
        int missing = p.getLFN(result);
        EXPECT_EQ(dir.engine(c.expected), result) << "getLFN of " << c.typed;
        EXPECT_EQ(c.missing, missing) << "missing components of " << c.typed;
        p.getLFN(p);
        EXPECT_EQ(dir.engine(c.expected), str(p)) << "getLFN of " << c.typed << " into the object itself";
    }
}

// Relative paths resolve through the current directory and come back
// with ".\"; a step up is not replaced by the name it leads to.
TEST(LongNames, RelativePaths) {
    CwdGuard guard;
    TempDir dir;
    makeTree(dir);
    const struct {
        const char* cwd; // below the temporary directory
        const char* typed;
        const char* expected;
        int missing;
    } cases[] = {
        {"", "design\\SUB\\board.sch", ".\\Design\\Sub\\Board.SCH", 0},
        {"", "design\\gone\\x", ".\\Design\\gone\\x", 2},
        {"Design/Sub", "..\\models.lib", ".\\..\\Models.LIB", 0},
        {"Design/Sub", "..\\..\\design\\SUB", ".\\..\\..\\Design\\Sub", 0},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(0, chdir(dir.host(c.cwd).c_str()));
        std::string result;
        EXPECT_EQ(c.missing, pathstring(c.typed).getLFN(result)) << c.typed;
        EXPECT_EQ(c.expected, result) << c.typed << " from " << c.cwd;
    }
}

TEST(LongNames, PathsWithNothingToLookUp) {
    std::string result = "untouched";
    EXPECT_EQ(0, pathstring("").getLFN(result)) << "empty path";
    EXPECT_EQ("untouched", result) << "the empty path leaves the result alone";
    EXPECT_EQ(0, pathstring("C:").getLFN(result));
    EXPECT_EQ("C:", result) << "a drive alone is itself";
    EXPECT_EQ(0, pathstring("\\\\srv\\share").getLFN(result));
    EXPECT_EQ("\\\\srv\\share", result) << "a share alone is itself";
    // A UNC name names nothing on this host: everything after the share is
    // missing and kept.
    EXPECT_EQ(2, pathstring("\\\\srv\\share\\Dir\\f.txt").getLFN(result));
    EXPECT_EQ("\\\\srv\\share\\Dir\\f.txt", result);
}

TEST(LongNames, EntriesThatDifferOnlyInCase) {
    TempDir dir;
    writeFile(dir.host("lib/part.lib"), "lower");
    writeFile(dir.host("lib/PART.LIB"), "upper");
    std::string result;
    pathstring exact(dir.engine("lib\\part.lib").c_str());
    EXPECT_EQ(0, exact.getLFN(result));
    EXPECT_EQ(dir.engine("lib\\part.lib"), result) << "an exact match wins";
    pathstring upper(dir.engine("LIB\\PART.LIB").c_str());
    EXPECT_EQ(0, upper.getLFN(result));
    EXPECT_EQ(dir.engine("lib\\PART.LIB"), result);
}

TEST(LongNames, DeepTreeNear260Characters) {
    TempDir dir;
    std::string relative;
    std::string host = dir.host();
    // Levels of 20 characters until the engine path passes 300 characters.
    int level = 0;
    while (dir.engine(relative).size() < 300) {
        std::string name = "Level" + std::to_string(level++) + std::string(14, 'x');
        relative += (relative.empty() ? "" : "\\") + name;
        host += "/" + name;
        ASSERT_EQ(0, mkdir(host.c_str(), 0755));
    }
    std::string lower = relative;
    for (char& c : lower) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    pathstring p(dir.engine(lower).c_str());
    std::string result;
    EXPECT_EQ(0, p.getLFN(result));
    EXPECT_EQ(dir.engine(relative), result);
}

// --- createDirectory and existence -------------------------------------------

TEST(CreateDirectory, MissingLevelsInTheSpellingOnDisk) {
    TempDir dir;
    makeTree(dir);
    pathstring p(dir.engine("DESIGN\\sub\\New\\Deeper").c_str());
    EXPECT_TRUE(p.createDirectory());
    EXPECT_TRUE(isHostDirectory(dir.host("Design/Sub/New/Deeper"))) << "created below the existing Design/Sub";
    EXPECT_FALSE(fileExists(dir.host("DESIGN"))) << "no second spelling of an existing level";
    EXPECT_TRUE(p.existsDirectory());
    EXPECT_TRUE(p.createDirectory()) << "an existing directory: nothing to do";
    pathstring withSlash(dir.engine("fresh\\a\\b\\").c_str());
    EXPECT_TRUE(withSlash.createDirectory());
    EXPECT_TRUE(isHostDirectory(dir.host("fresh/a/b")));
}

TEST(CreateDirectory, AFileInTheWayCreatesNothing) {
    TempDir dir;
    makeTree(dir);
    pathstring p(dir.engine("design\\notes.txt\\x\\y").c_str());
    EXPECT_FALSE(p.createDirectory());
    EXPECT_FALSE(isHostDirectory(dir.host("Design/notes.txt")));
    EXPECT_EQ("", readFile(dir.host("Design/notes.txt"))) << "the file is untouched";
    pathstring file(dir.engine("design\\models.lib").c_str());
    EXPECT_FALSE(file.createDirectory()) << "the path of a file";
    EXPECT_EQ("models", readFile(dir.host("Design/Models.LIB")));
}

TEST(CreateDirectory, ComponentZeroIsNeverCreated) {
    CwdGuard guard;
    TempDir dir;
    ASSERT_EQ(0, chdir(dir.host().c_str()));
    EXPECT_TRUE(pathstring("single").createDirectory()) << "one component: nothing to do";
    EXPECT_FALSE(fileExists(dir.host("single")));
    EXPECT_FALSE(pathstring("top\\below").createDirectory()) << "the first directory of a relative path must exist";
    EXPECT_FALSE(fileExists(dir.host("top")));
    ASSERT_EQ(0, mkdir(dir.host("Top").c_str(), 0755));
    EXPECT_TRUE(pathstring("top\\below").createDirectory());
    EXPECT_TRUE(isHostDirectory(dir.host("Top/below")));
    EXPECT_FALSE(pathstring("Q:\\unmapped\\dir").createDirectory()) << "a drive that names nothing";
    EXPECT_TRUE(pathstring("").createDirectory()) << "no components: nothing to do";
}

TEST(CreateDirectory, FailureHalfWay) {
    CwdGuard guard;
    TempDir dir;
    pathstring p(dir.engine("a\\b\\c").c_str());
    kvFaultAt(HostCall::Mkdir, 2, ENOSPC);
    EXPECT_FALSE(p.createDirectory());
    kvFaultsClear();
    EXPECT_TRUE(isHostDirectory(dir.host("a"))) << "the level made before the failure stays";
    EXPECT_FALSE(fileExists(dir.host("a/b")));
    EXPECT_TRUE(p.createDirectory()) << "a second call finishes the job";
    EXPECT_TRUE(isHostDirectory(dir.host("a/b/c")));
}

TEST(Exists, FilesDirectoriesAndCase) {
    TempDir dir;
    makeTree(dir);
    struct {
        const char* relative;
        bool exists, directory, file;
    } cases[] = {
        {"design", true, true, false},
        {"DESIGN\\SUB", true, true, false},
        {"design\\sub\\board.sch", true, false, true},
        {"design\\sub\\", true, true, false},
        {"design\\gone", false, false, false},
        {"gone\\deeper", false, false, false},
    };
    for (const auto& c : cases) {
        pathstring p(dir.engine(c.relative).c_str());
        EXPECT_EQ(c.exists, p.exists()) << c.relative;
        EXPECT_EQ(c.directory, p.existsDirectory()) << c.relative;
        EXPECT_EQ(c.file, p.existsFile()) << c.relative;
    }
    EXPECT_FALSE(pathstring("\\\\srv\\share\\x").exists()) << "UNC names name nothing here";
}

// --- getSFN ------------------------------------------------------------------

TEST(ShortNames, ThePathItselfWhereItExists) {
    TempDir dir;
    makeTree(dir);
    std::string result;
    pathstring whole(dir.engine("Design\\Sub\\Board.SCH").c_str());
    EXPECT_EQ(0, whole.getSFN(result));
    EXPECT_EQ(str(whole), result);
    pathstring partly(dir.engine("Design\\Sub\\new\\f.sch").c_str());
    EXPECT_EQ(2, partly.getSFN(result)) << "two trailing components not found";
    EXPECT_EQ(str(partly), result);
    pathstring nothing("Q:\\a\\b");
    EXPECT_EQ(3, nothing.getSFN(result)) << "nothing found: every component";
    EXPECT_EQ("Q:\\a\\b", result);
    result = "untouched";
    EXPECT_EQ(0, pathstring("").getSFN(result));
    EXPECT_EQ("untouched", result);
}

// --- Size, last write time, read-only ----------------------------------------

TEST(FileAttributes, Size) {
    TempDir dir;
    writeFile(dir.host("d/File.Bin"), std::string(1234, 'x'));
    EXPECT_EQ(1234, pathstring(dir.engine("D\\FILE.BIN").c_str()).getFileSize()) << "found in any case";
    EXPECT_EQ(0, pathstring(dir.engine("d\\none.bin").c_str()).getFileSize());
    EXPECT_EQ(0, pathstring(dir.engine("d\\empty").c_str()).getFileSize());
}

TEST(FileAttributes, SizeAbove4GiBCountsTheHighHalfShort) {
    TempDir dir;
    int fd = open(dir.host("big").c_str(), O_WRONLY | O_CREAT, 0644);
    ASSERT_GE(fd, 0);
    // Sparse: 2^32 + 10 bytes take no room.
    bool sized = ftruncate(fd, 4294967296LL + 10) == 0;
    close(fd);
    if (!sized) GTEST_SKIP() << "file system refuses a 4 GiB sparse file";
    EXPECT_EQ(4294967295LL + 10, pathstring(dir.engine("big").c_str()).getFileSize())
        << "the high half counts 4294967295, as item sizes do";
}

static const int64_t kUnixEpochInFileTime = 116444736000000000LL;

TEST(FileAttributes, LastWriteTime) {
    TempDir dir;
    writeFile(dir.host("f.txt"), "x");
    struct timespec times[2] = {{0, UTIME_OMIT}, {1600000000, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, dir.host("f.txt").c_str(), times, 0));
    FILETIME t;
    ASSERT_TRUE(pathstring(dir.engine("F.TXT").c_str()).getFileTime_LastWrite(t));
    int64_t value = (static_cast<int64_t>(t.dwHighDateTime) << 32) | t.dwLowDateTime;
    EXPECT_EQ(kUnixEpochInFileTime + 1600000000LL * 10000000LL, value);

    FILETIME garbage = {123, 456};
    EXPECT_FALSE(pathstring(dir.engine("none").c_str()).getFileTime_LastWrite(garbage));
    EXPECT_EQ(0u, garbage.dwLowDateTime) << "zeroed when the file is not there";
    EXPECT_EQ(0u, garbage.dwHighDateTime);

    int64_t wanted = kUnixEpochInFileTime + 1234567890LL * 10000000LL;
    FILETIME set = {static_cast<DWORD>(wanted & 0xFFFFFFFF), static_cast<DWORD>(wanted >> 32)};
    EXPECT_TRUE(pathstring(dir.engine("f.TXT").c_str()).setFileTime_LastWrite(set));
    struct stat st;
    ASSERT_EQ(0, stat(dir.host("f.txt").c_str(), &st));
    EXPECT_EQ(1234567890, st.st_mtim.tv_sec);
    EXPECT_EQ("x", readFile(dir.host("f.txt"))) << "setting the time keeps the content";
    EXPECT_FALSE(pathstring(dir.engine("none").c_str()).setFileTime_LastWrite(set)) << "no file to open";
}

TEST(FileAttributes, ReadOnly) {
    TempDir dir;
    writeFile(dir.host("f.txt"), "x");
    pathstring p(dir.engine("F.txt").c_str());
    EXPECT_FALSE(p.isReadOnly());
    EXPECT_TRUE(p.setReadOnly(true));
    EXPECT_TRUE(p.isReadOnly());
    struct stat st;
    ASSERT_EQ(0, stat(dir.host("f.txt").c_str(), &st));
    EXPECT_EQ(0u, st.st_mode & 0222) << "read-only takes every write bit";
    EXPECT_TRUE(p.setReadOnly(true)) << "already in the wanted state";
    FILETIME t = {0, 30000000};
    EXPECT_FALSE(p.setFileTime_LastWrite(t)) << "a read-only file does not open for writing";
    EXPECT_TRUE(p.setReadOnly(false));
    EXPECT_FALSE(p.isReadOnly());
    ASSERT_EQ(0, stat(dir.host("f.txt").c_str(), &st));
    EXPECT_NE(0u, st.st_mode & 0200);
    pathstring none(dir.engine("none").c_str());
    EXPECT_FALSE(none.isReadOnly());
    EXPECT_FALSE(none.setReadOnly(true)) << "no such file";
    EXPECT_FALSE(none.setReadOnly(false));
}

// --- tidyUp(true) ------------------------------------------------------------

TEST(TidyAbsolute, AgainstTheCurrentDirectory) {
    CwdGuard guard;
    TempDir dir;
    ASSERT_EQ(0, chdir(dir.host().c_str()));
    pathstring p = pathstring(std::string(" a/./b//c "));
    p.tidyUp(true);
    EXPECT_EQ(dir.engine("a\\b\\c"), str(p)) << "made absolute; the trailing blank goes with the full path";
    pathstring up = pathstring(std::string("..\\x"));
    up.tidyUp(true);
    std::string parent = dir.engine().substr(0, dir.engine().rfind('\\'));
    EXPECT_EQ(parent + "\\x", str(up));
    pathstring absolute = pathstring(std::string("C:/w/../x/"));
    absolute.tidyUp(true);
    EXPECT_EQ("C:\\x\\", str(absolute));
}

TEST(TidyAbsolute, TooLongForTheBufferStaysRelative) {
    CwdGuard guard;
    TempDir dir;
    ASSERT_EQ(0, chdir(dir.host().c_str()));
    const size_t cwdLength = dir.engine().size();
    // cwd + "\" + name: exactly 259 characters fits, 260 does not.
    std::string fits(259 - cwdLength - 1, 'f');
    pathstring p = pathstring(std::string(fits));
    p.tidyUp(true);
    EXPECT_EQ(dir.engine(fits), str(p)) << "259 characters fit the 260-byte buffer";
    std::string tooLong(260 - cwdLength - 1, 'f');
    pathstring q = pathstring(std::string("./" + tooLong));
    q.tidyUp(true);
    EXPECT_EQ(tooLong, str(q)) << "260 characters: tidied, but relative";
}
