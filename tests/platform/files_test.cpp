// Files and directories: read-only files, copy, delete, move, directories,
// handles and times, the current directory, temporary names, and the C
// runtime's _access, _stat and _unlink.
#include "platform_test.h"

#include <cstring>
#include <fcntl.h>

typedef std::vector<std::string> Names;

static int64_t hostMtime(const std::string& host) {
    struct stat st;
    return stat(host.c_str(), &st) == 0 ? st.st_mtim.tv_sec : -1;
}

// ---------------------------------------------------------------------------
// Read-only files
// ---------------------------------------------------------------------------

TEST(ReadOnly, AttributeRoundTripOntoPermissionBits) {
    TempDir dir;
    writeFile(dir.host("f.txt"), "x");
    hostChmodOrFail(dir.host("f.txt"), 0664);
    std::string f = dir.engine("F.TXT");
    ASSERT_TRUE(SetFileAttributesA(f.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE));
    EXPECT_EQ(0444u, hostMode(dir.host("f.txt")) & 0777) << "every write bit goes";
    EXPECT_EQ(static_cast<DWORD>(FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE), GetFileAttributesA(f.c_str()));
    ASSERT_TRUE(SetFileAttributesA(f.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(0644u, hostMode(dir.host("f.txt")) & 0777) << "the owner may write again";
    EXPECT_EQ(static_cast<DWORD>(FILE_ATTRIBUTE_ARCHIVE), GetFileAttributesA(f.c_str()));

    // A directory keeps its permissions: read-only does not stop Windows from
    // making files in a directory, and must not here.
    writeFile(dir.host("d/x"), "");
    mode_t before = hostMode(dir.host("d"));
    EXPECT_TRUE(SetFileAttributesA(dir.engine("d").c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY));
    EXPECT_EQ(before, hostMode(dir.host("d")));

    SetLastError(0);
    EXPECT_FALSE(SetFileAttributesA(dir.engine("missing").c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
}

TEST(ReadOnly, DeleteAndOverwriteAreRefused) {
    TempDir dir;
    writeFile(dir.host("locked.txt"), "precious");
    writeFile(dir.host("other.txt"), "other");
    hostChmodOrFail(dir.host("locked.txt"), 0444);
    std::string locked = dir.engine("Locked.txt");

    SetLastError(0);
    EXPECT_FALSE(DeleteFileA(locked.c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError()) << "delete of a read-only file";
    EXPECT_FALSE(CopyFileA(dir.engine("other.txt").c_str(), locked.c_str(), FALSE));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError()) << "copy onto a read-only file";
    EXPECT_EQ(nullptr, kvFopen(locked.c_str(), "w"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError()) << "open for writing";
    EXPECT_EQ(EACCES, errno);
    HANDLE h = CreateFileA(locked.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_EQ(INVALID_HANDLE_VALUE, h);
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError()) << "a handle for writing";
    EXPECT_EQ(-1, _unlink(locked.c_str()));
    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(-1, _access(locked.c_str(), 2));
    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(0, _access(locked.c_str(), 4));
    EXPECT_EQ("precious", readFile(dir.host("locked.txt")));

    FILE* f = kvFopen(locked.c_str(), "r");
    ASSERT_NE(nullptr, f) << "reading is fine";
    fclose(f);
    ASSERT_TRUE(SetFileAttributesA(locked.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(DeleteFileA(locked.c_str()));
    EXPECT_FALSE(fileExists(dir.host("locked.txt")));
}

// ---------------------------------------------------------------------------
// CopyFileA
// ---------------------------------------------------------------------------

TEST(CopyFile, ContentPermissionsAndTime) {
    TempDir dir;
    std::string content(300000, '\0');
    for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 31 + i / 977);
    writeFile(dir.host("src/Source.bin"), content);
    hostChmodOrFail(dir.host("src/Source.bin"), 0640);
    struct timespec times[2] = {{0, UTIME_OMIT}, {1234567890, 500}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, dir.host("src/Source.bin").c_str(), times, 0));
    writeFile(dir.host("Dst/keep"), "");

    ASSERT_TRUE(CopyFileA(dir.engine("SRC\\source.BIN").c_str(), dir.engine("dst\\Copy.bin").c_str(), TRUE));
    EXPECT_EQ(content, readFile(dir.host("Dst/Copy.bin"))) << "the name as given, in the directory as spelled";
    EXPECT_EQ(0640u, hostMode(dir.host("Dst/Copy.bin")) & 0777);
    EXPECT_EQ(1234567890, hostMtime(dir.host("Dst/Copy.bin")));
    EXPECT_EQ((Names{"Copy.bin", "keep"}), hostEntries(dir.host("Dst"))) << "no temporary file left";

    // A read-only source gives a read-only copy.
    hostChmodOrFail(dir.host("src/Source.bin"), 0444);
    ASSERT_TRUE(CopyFileA(dir.engine("src\\Source.bin").c_str(), dir.engine("dst\\ro.bin").c_str(), FALSE));
    EXPECT_EQ(static_cast<DWORD>(FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE),
              GetFileAttributesA(dir.engine("dst\\ro.bin").c_str()));
}

TEST(CopyFile, OverwritesTheFileThatIsThereInAnyCase) {
    TempDir dir;
    writeFile(dir.host("new.txt"), "new content");
    writeFile(dir.host("Target.TXT"), "old");
    ASSERT_TRUE(CopyFileA(dir.engine("new.txt").c_str(), dir.engine("target.txt").c_str(), FALSE));
    EXPECT_EQ("new content", readFile(dir.host("Target.TXT")));
    EXPECT_EQ((Names{"Target.TXT", "new.txt"}), hostEntries(dir.host())) << "no second spelling";
}

TEST(CopyFile, Failures) {
    TempDir dir;
    writeFile(dir.host("a.txt"), "a");
    writeFile(dir.host("b.txt"), "b");
    writeFile(dir.host("sub/x"), "");
    SetLastError(0);
    EXPECT_FALSE(CopyFileA(dir.engine("a.txt").c_str(), dir.engine("B.txt").c_str(), TRUE));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_EXISTS), GetLastError()) << "failIfExists";
    EXPECT_EQ("b", readFile(dir.host("b.txt")));
    EXPECT_FALSE(CopyFileA(dir.engine("none.txt").c_str(), dir.engine("c.txt").c_str(), FALSE));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError()) << "no source";
    EXPECT_FALSE(CopyFileA(dir.engine("a.txt").c_str(), dir.engine("nodir\\c.txt").c_str(), FALSE));
    EXPECT_EQ(static_cast<DWORD>(ERROR_PATH_NOT_FOUND), GetLastError()) << "no target directory";
    EXPECT_FALSE(CopyFileA(dir.engine("sub").c_str(), dir.engine("c.txt").c_str(), FALSE));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError()) << "a directory as source";
    EXPECT_FALSE(CopyFileA(dir.engine("a.txt").c_str(), dir.engine("sub").c_str(), FALSE));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError()) << "a directory as target";
    EXPECT_FALSE(CopyFileA(dir.engine("a.txt").c_str(), dir.engine("A.TXT").c_str(), FALSE));
    EXPECT_EQ(static_cast<DWORD>(ERROR_SHARING_VIOLATION), GetLastError()) << "a file onto itself";
    EXPECT_EQ("a", readFile(dir.host("a.txt")));
    EXPECT_EQ((Names{"a.txt", "b.txt", "sub"}), hostEntries(dir.host()));
}

TEST(CopyFile, OntoALinkReplacesTheLinkNotItsTarget) {
    TempDir dir;
    writeFile(dir.host("outside/lib.txt"), "library");
    writeFile(dir.host("ws/new.txt"), "new");
    ASSERT_EQ(0, symlink(dir.host("outside/lib.txt").c_str(), dir.host("ws/lib.txt").c_str()));
    ASSERT_TRUE(CopyFileA(dir.engine("ws\\new.txt").c_str(), dir.engine("ws\\lib.txt").c_str(), FALSE));
    EXPECT_EQ("library", readFile(dir.host("outside/lib.txt")));
    EXPECT_EQ("new", readFile(dir.host("ws/lib.txt")));
    EXPECT_TRUE(S_ISREG(hostMode(dir.host("ws/lib.txt"))));
}

// ---------------------------------------------------------------------------
// DeleteFileA, MoveFileA
// ---------------------------------------------------------------------------

TEST(DeleteFile, FilesLinksAndFailures) {
    TempDir dir;
    writeFile(dir.host("File.txt"), "x");
    writeFile(dir.host("target.txt"), "kept");
    writeFile(dir.host("sub/x"), "");
    ASSERT_EQ(0, symlink("target.txt", dir.host("link.txt").c_str()));
    EXPECT_TRUE(DeleteFileA(dir.engine("file.TXT").c_str()));
    EXPECT_FALSE(fileExists(dir.host("File.txt")));
    EXPECT_TRUE(DeleteFileA(dir.engine("link.txt").c_str()));
    EXPECT_FALSE(fileExists(dir.host("link.txt")));
    EXPECT_EQ("kept", readFile(dir.host("target.txt"))) << "a link goes, not what it points to";
    SetLastError(0);
    EXPECT_FALSE(DeleteFileA(dir.engine("sub").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError()) << "a directory";
    EXPECT_FALSE(DeleteFileA(dir.engine("File.txt").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError()) << "gone already";
    EXPECT_FALSE(DeleteFileA(dir.engine("nodir\\f").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_PATH_NOT_FOUND), GetLastError());
}

TEST(MoveFile, RenamesAndRefusesToOverwrite) {
    TempDir dir;
    writeFile(dir.host("a.txt"), "a");
    writeFile(dir.host("b.txt"), "b");
    writeFile(dir.host("Dir/x"), "");
    EXPECT_TRUE(MoveFileA(dir.engine("A.TXT").c_str(), dir.engine("dir\\Moved.txt").c_str()));
    EXPECT_EQ("a", readFile(dir.host("Dir/Moved.txt")));
    SetLastError(0);
    EXPECT_FALSE(MoveFileA(dir.engine("b.txt").c_str(), dir.engine("DIR\\moved.TXT").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), GetLastError());
    EXPECT_EQ("b", readFile(dir.host("b.txt")));
    EXPECT_TRUE(MoveFileA(dir.engine("b.txt").c_str(), dir.engine("B.TXT").c_str())) << "a change of case";
    EXPECT_EQ((Names{"B.TXT", "Dir"}), hostEntries(dir.host()));
    EXPECT_TRUE(MoveFileA(dir.engine("dir").c_str(), dir.engine("Renamed").c_str())) << "a directory";
    EXPECT_EQ("a", readFile(dir.host("Renamed/Moved.txt")));
    EXPECT_FALSE(MoveFileA(dir.engine("none").c_str(), dir.engine("x").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
}

// ---------------------------------------------------------------------------
// Directories
// ---------------------------------------------------------------------------

TEST(Directories, CreateAndRemove) {
    TempDir dir;
    std::string d = dir.engine("New Dir");
    EXPECT_TRUE(CreateDirectoryA(d.c_str(), nullptr));
    EXPECT_TRUE(S_ISDIR(hostMode(dir.host("New Dir"))));
    SetLastError(0);
    EXPECT_FALSE(CreateDirectoryA(dir.engine("new dir").c_str(), nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), GetLastError()) << "exists in another case";
    EXPECT_FALSE(CreateDirectoryA(dir.engine("a\\b").c_str(), nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_PATH_NOT_FOUND), GetLastError()) << "one level only";

    writeFile(dir.host("New Dir/f"), "");
    EXPECT_FALSE(RemoveDirectoryA(d.c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_DIR_NOT_EMPTY), GetLastError());
    EXPECT_FALSE(RemoveDirectoryA(dir.engine("New Dir\\f").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_DIRECTORY), GetLastError()) << "a file";
    ASSERT_EQ(0, unlink(dir.host("New Dir/f").c_str()));
    EXPECT_TRUE(RemoveDirectoryA(dir.engine("NEW DIR").c_str()));
    EXPECT_FALSE(fileExists(dir.host("New Dir")));
    EXPECT_FALSE(RemoveDirectoryA(d.c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
}

TEST(Directories, RemovingALinkKeepsWhatItPointsTo) {
    TempDir dir;
    writeFile(dir.host("real/precious.txt"), "keep me");
    ASSERT_EQ(0, symlink(dir.host("real").c_str(), dir.host("link").c_str()));
    EXPECT_TRUE(RemoveDirectoryA(dir.engine("link").c_str()));
    EXPECT_FALSE(fileExists(dir.host("link")));
    EXPECT_EQ("keep me", readFile(dir.host("real/precious.txt")));
}

// ---------------------------------------------------------------------------
// Handles
// ---------------------------------------------------------------------------

TEST(Handles, Dispositions) {
    TempDir dir;
    writeFile(dir.host("f.txt"), "x");
    writeFile(dir.host("d/x"), "");
    SetLastError(0);
    HANDLE h = CreateFileA(dir.engine("none").c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(INVALID_HANDLE_VALUE, h);
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
    h = CreateFileA(dir.engine("F.TXT").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    EXPECT_EQ(INVALID_HANDLE_VALUE, h);
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_EXISTS), GetLastError());
    h = CreateFileA(dir.engine("d").c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_EQ(INVALID_HANDLE_VALUE, h) << "a directory needs FILE_FLAG_BACKUP_SEMANTICS";
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());

    h = CreateFileA(dir.engine("New.txt").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    EXPECT_TRUE(CloseHandle(h));
    EXPECT_TRUE(fileExists(dir.host("New.txt")));
    h = CreateFileA(dir.engine("f.txt").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), GetLastError()) << "CREATE_ALWAYS on a file that was there";
    EXPECT_TRUE(CloseHandle(h));
    EXPECT_EQ("", readFile(dir.host("f.txt"))) << "and truncated it";

    EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_HANDLE), GetLastError());
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA(dir.engine("*").c_str(), &data);
    ASSERT_NE(INVALID_HANDLE_VALUE, find);
    EXPECT_FALSE(CloseHandle(find)) << "a find handle is closed by FindClose";
    EXPECT_FALSE(SetFileTime(find, nullptr, nullptr, nullptr));
    EXPECT_TRUE(FindClose(find));
}

TEST(Handles, ZeroTimeLeavesTheFileAlone) {
    TempDir dir;
    writeFile(dir.host("f.txt"), "x");
    struct timespec times[2] = {{0, UTIME_OMIT}, {1000000000, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, dir.host("f.txt").c_str(), times, 0));
    HANDLE h = CreateFileA(dir.engine("f.txt").c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    FILETIME zero = fileTime(0);
    EXPECT_TRUE(SetFileTime(h, nullptr, nullptr, &zero));
    EXPECT_TRUE(SetFileTime(h, nullptr, nullptr, nullptr));
    CloseHandle(h);
    EXPECT_EQ(1000000000, hostMtime(dir.host("f.txt")));
}

// ---------------------------------------------------------------------------
// The current directory
// ---------------------------------------------------------------------------

TEST(CurrentDirectory, EngineFormBothWays) {
    CwdGuard guard;
    TempDir dir;
    writeFile(dir.host("Work Space/f.txt"), "");
    ASSERT_TRUE(SetCurrentDirectoryA(dir.engine("work space").c_str()));
    char buffer[MAX_PATH];
    DWORD n = GetCurrentDirectoryA(sizeof buffer, buffer);
    EXPECT_EQ(dir.engine("Work Space"), std::string(buffer, n));
    EXPECT_EQ(n + 1, GetCurrentDirectoryA(n, buffer)) << "one byte short: the size needed";
    EXPECT_EQ(n + 1, GetCurrentDirectoryA(0, nullptr));
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA("F.TXT")) << "relative paths resolve against it";
    ASSERT_TRUE(SetCurrentDirectoryA(".."));
    EXPECT_EQ(dir.engine(), std::string(buffer, GetCurrentDirectoryA(sizeof buffer, buffer)));

    SetLastError(0);
    EXPECT_FALSE(SetCurrentDirectoryA(dir.engine("none").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
    EXPECT_FALSE(SetCurrentDirectoryA(dir.engine("Work Space\\f.txt").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_DIRECTORY), GetLastError());
}

TEST(CurrentDirectory, ExactSpellingsWildcardsAndFailures) {
    CwdGuard guard;
    TempDir dir;
    writeFile(dir.host("Exact/x.txt"), "");
    writeFile(dir.host("a*/y.txt"), "");  // a host name that Windows cannot have
    char buffer[MAX_PATH];

    ASSERT_TRUE(SetCurrentDirectoryA(dir.engine("Exact").c_str()));
    EXPECT_EQ(dir.engine("Exact"), std::string(buffer, GetCurrentDirectoryA(sizeof buffer, buffer)));
    SetLastError(0);
    EXPECT_FALSE(SetCurrentDirectoryA(dir.engine("a*").c_str())) << "a wildcard names nothing";
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_NAME), GetLastError());
    EXPECT_EQ(dir.engine("Exact"), std::string(buffer, GetCurrentDirectoryA(sizeof buffer, buffer)));

    // A chdir that fails for another reason than a missing name is final.
    kvFaultAt(HostCall::Chdir, 1, EIO);
    SetLastError(0);
    EXPECT_FALSE(SetCurrentDirectoryA(dir.engine().c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_IO_DEVICE), GetLastError());
    kvFaultsClear();
    EXPECT_EQ(dir.engine("Exact"), std::string(buffer, GetCurrentDirectoryA(sizeof buffer, buffer)));
    ASSERT_TRUE(SetCurrentDirectoryA(dir.engine("EXACT\\..").c_str()));
    EXPECT_EQ(dir.engine(), std::string(buffer, GetCurrentDirectoryA(sizeof buffer, buffer)));
}

// ---------------------------------------------------------------------------
// Temporary names
// ---------------------------------------------------------------------------

TEST(TempNames, PathAndFileNames) {
    TempDir dir;
    {
        EnvGuard tmp("TMPDIR", dir.host().c_str());
        char buffer[MAX_PATH];
        DWORD n = GetTempPathA(sizeof buffer, buffer);
        EXPECT_EQ(dir.engine() + "\\", std::string(buffer, n)) << "$TMPDIR with a trailing backslash";
        EXPECT_EQ(n + 1, GetTempPathA(n, buffer));
    }
    {
        EnvGuard tmp("TMPDIR", nullptr);
        char buffer[MAX_PATH];
        EXPECT_EQ("Z:\\tmp\\", std::string(buffer, GetTempPathA(sizeof buffer, buffer)));
    }

    char name[MAX_PATH];
    std::string base = dir.engine();
    EXPECT_EQ(1u, GetTempFileNameA(base.c_str(), "TRN", 1, name));
    EXPECT_EQ(base + "\\TRN1.TMP", name);
    EXPECT_FALSE(fileExists(dir.host("TRN1.TMP"))) << "a given number makes no file";
    EXPECT_EQ(0xABCu, GetTempFileNameA((base + "\\").c_str(), "LONGPREFIX", 0xABC, name));
    EXPECT_EQ(base + "\\LONABC.TMP", name) << "three characters of prefix, the number in hex";

    UINT unique = GetTempFileNameA(base.c_str(), "kv", 0, name);
    ASSERT_NE(0u, unique);
    char expected[64];
    snprintf(expected, sizeof expected, "\\kv%X.TMP", unique);
    EXPECT_EQ(base + expected, name);
    EXPECT_TRUE(fileExists(dir.host(std::string(expected + 1)))) << "number 0: a free name, and the file made";
    UINT second = GetTempFileNameA(base.c_str(), "kv", 0, name);
    EXPECT_NE(unique, second) << "the next call takes another name";

    SetLastError(0);
    EXPECT_EQ(0u, GetTempFileNameA(dir.engine("none").c_str(), "kv", 0, name));
    EXPECT_NE(0u, GetLastError());
}

// ---------------------------------------------------------------------------
// GetShortPathNameA and the C runtime
// ---------------------------------------------------------------------------

TEST(ShortNames, ThePathItselfIfItExists) {
    TempDir dir;
    writeFile(dir.host("Long Name.sch"), "");
    std::string path = dir.engine("long name.SCH");
    char buffer[MAX_PATH];
    DWORD n = GetShortPathNameA(path.c_str(), buffer, sizeof buffer);
    EXPECT_EQ(path, std::string(buffer, n));
    EXPECT_EQ(path.size() + 1, GetShortPathNameA(path.c_str(), buffer, 5));
    SetLastError(0);
    EXPECT_EQ(0u, GetShortPathNameA(dir.engine("none").c_str(), buffer, sizeof buffer));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
}

TEST(Crt, StatAccessUnlink) {
    TempDir dir;
    writeFile(dir.host("data.txt"), "12345");
    writeFile(dir.host("run.BAT"), "");
    writeFile(dir.host("sub/x"), "");
    struct timespec times[2] = {{0, UTIME_OMIT}, {1500000000, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, dir.host("data.txt").c_str(), times, 0));

    struct _stat st;
    ASSERT_EQ(0, _stat(dir.engine("DATA.TXT").c_str(), &st));
    EXPECT_EQ(5, st.st_size);
    EXPECT_EQ(_S_IFREG, st.st_mode & 0170000);
    EXPECT_EQ(0666, st.st_mode & 0777) << "read and write, for all as on Windows";
    EXPECT_EQ(1500000000, st.st_mtime);
    EXPECT_EQ(25u, st.st_dev) << "drive Z";
    ASSERT_EQ(0, _stat(dir.engine("run.bat").c_str(), &st));
    EXPECT_EQ(0777, st.st_mode & 0777) << "executable by its extension";
    ASSERT_EQ(0, _stat(dir.engine("Sub").c_str(), &st));
    EXPECT_EQ(_S_IFDIR, st.st_mode & 0170000);
    EXPECT_EQ(-1, _stat(dir.engine("none").c_str(), &st));
    EXPECT_EQ(ENOENT, errno);

    EXPECT_EQ(0, _access(dir.engine("sub").c_str(), 0));
    EXPECT_EQ(0, _access(dir.engine("data.txt").c_str(), 6));
    EXPECT_EQ(-1, _access(dir.engine("none").c_str(), 0));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(-1, _access(dir.engine("data.txt").c_str(), 1));
    EXPECT_EQ(EINVAL, errno) << "mode 1 is no mode";

    EXPECT_EQ(-1, _unlink(dir.engine("sub").c_str()));
    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(0, _unlink(dir.engine("Data.Txt").c_str()));
    EXPECT_FALSE(fileExists(dir.host("data.txt")));
}
