// Files and directories: read-only files, copy, delete, move, directories,
// handles and times, the current directory, temporary names, and the C
// runtime's _access, _stat and _unlink.
#include "platform_test.h"

#include <cstring>

typedef std::vector<std::string> Names;

// --- Read-only files ---------------------------------------------------------

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
    expectFails(ERROR_FILE_NOT_FOUND, "missing",
                [&] { return SetFileAttributesA(dir.engine("missing").c_str(), FILE_ATTRIBUTE_NORMAL); });
}

TEST(ReadOnly, DeleteAndOverwriteAreRefused) {
    TempDir dir;
    writeFile(dir.host("locked.txt"), "precious");
    writeFile(dir.host("other.txt"), "other");
    hostChmodOrFail(dir.host("locked.txt"), 0444);
    std::string locked = dir.engine("Locked.txt");
    const char* l = locked.c_str();

    expectFails(ERROR_ACCESS_DENIED, "delete of a read-only file", [&] { return DeleteFileA(l); });
    expectFails(ERROR_ACCESS_DENIED, "copy onto a read-only file",
                [&] { return CopyFileA(dir.engine("other.txt").c_str(), l, FALSE); });
    expectFails(ERROR_ACCESS_DENIED, "open for writing", [&] { return kvFopen(l, "w") != nullptr; });
    EXPECT_EQ(EACCES, errno);
    expectFails(ERROR_ACCESS_DENIED, "a handle for writing", [&] {
        return CreateFileA(l, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr) !=
               INVALID_HANDLE_VALUE;
    });
    EXPECT_EQ(-1, _unlink(l));
    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(-1, _access(l, 2));
    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(0, _access(l, 4));
    EXPECT_EQ("precious", readFile(dir.host("locked.txt")));

    FILE* f = kvFopen(l, "r");
    ASSERT_NE(nullptr, f) << "reading is fine";
    fclose(f);
    ASSERT_TRUE(SetFileAttributesA(l, FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(DeleteFileA(l));
    EXPECT_FALSE(fileExists(dir.host("locked.txt")));
}

// --- CopyFileA ---------------------------------------------------------------

TEST(CopyFile, ContentPermissionsAndTime) {
    TempDir dir;
    std::string content(300000, '\0');
    for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 31 + i / 977);
    writeFile(dir.host("src/Source.bin"), content);
    hostChmodOrFail(dir.host("src/Source.bin"), 0640);
    setHostMtime(dir.host("src/Source.bin"), 1234567890, 500);
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

    // Onto a file that is there in another case: overwritten, no second spelling.
    writeFile(dir.host("Dst/Target.TXT"), "old");
    ASSERT_TRUE(CopyFileA(dir.engine("dst\\keep").c_str(), dir.engine("dst\\target.txt").c_str(), FALSE));
    EXPECT_EQ("", readFile(dir.host("Dst/Target.TXT")));
    EXPECT_EQ((Names{"Copy.bin", "Target.TXT", "keep", "ro.bin"}), hostEntries(dir.host("Dst")));
}

TEST(CopyFile, Failures) {
    TempDir dir;
    writeFile(dir.host("a.txt"), "a");
    writeFile(dir.host("b.txt"), "b");
    writeFile(dir.host("sub/x"), "");
    const struct {
        const char *from, *to;
        BOOL failIfExists;
        DWORD error;
        const char* why;
    } rows[] = {
        {"a.txt", "B.txt", TRUE, ERROR_FILE_EXISTS, "failIfExists"},
        {"none.txt", "c.txt", FALSE, ERROR_FILE_NOT_FOUND, "no source"},
        {"a.txt", "nodir\\c.txt", FALSE, ERROR_PATH_NOT_FOUND, "no target directory"},
        {"sub", "c.txt", FALSE, ERROR_ACCESS_DENIED, "a directory as source"},
        {"a.txt", "sub", FALSE, ERROR_ACCESS_DENIED, "a directory as target"},
        {"a.txt", "A.TXT", FALSE, ERROR_SHARING_VIOLATION, "a file onto itself"},
    };
    for (const auto& r : rows)
        expectFails(r.error, r.why, [&] {
            return CopyFileA(dir.engine(r.from).c_str(), dir.engine(r.to).c_str(), r.failIfExists);
        });
    EXPECT_EQ("a", readFile(dir.host("a.txt")));
    EXPECT_EQ("b", readFile(dir.host("b.txt")));
    EXPECT_EQ((Names{"a.txt", "b.txt", "sub"}), hostEntries(dir.host()));
}

// Links: a copy onto one replaces the link, a delete removes the link, and
// removing a linked directory keeps what it points to.
TEST(Links, TheLinkIsReplacedOrRemovedNeverItsTarget) {
    TempDir dir;
    writeFile(dir.host("outside/lib.txt"), "library");
    writeFile(dir.host("outside/real/precious.txt"), "keep me");
    writeFile(dir.host("ws/new.txt"), "new");
    ASSERT_EQ(0, symlink(dir.host("outside/lib.txt").c_str(), dir.host("ws/lib.txt").c_str()));
    ASSERT_EQ(0, symlink("lib.txt", dir.host("outside/rel.txt").c_str()));
    ASSERT_EQ(0, symlink(dir.host("outside/real").c_str(), dir.host("ws/dirlink").c_str()));

    ASSERT_TRUE(CopyFileA(dir.engine("ws\\new.txt").c_str(), dir.engine("ws\\lib.txt").c_str(), FALSE));
    EXPECT_EQ("new", readFile(dir.host("ws/lib.txt")));
    EXPECT_TRUE(S_ISREG(hostMode(dir.host("ws/lib.txt"))));
    EXPECT_TRUE(DeleteFileA(dir.engine("outside\\rel.txt").c_str()));
    EXPECT_FALSE(fileExists(dir.host("outside/rel.txt")));
    EXPECT_TRUE(RemoveDirectoryA(dir.engine("ws\\dirlink").c_str()));
    EXPECT_FALSE(fileExists(dir.host("ws/dirlink")));
    EXPECT_EQ("library", readFile(dir.host("outside/lib.txt")));
    EXPECT_EQ("keep me", readFile(dir.host("outside/real/precious.txt")));
}

// --- DeleteFileA, MoveFileA --------------------------------------------------

TEST(DeleteFile, FilesAndFailures) {
    TempDir dir;
    writeFile(dir.host("File.txt"), "x");
    writeFile(dir.host("sub/x"), "");
    EXPECT_TRUE(DeleteFileA(dir.engine("file.TXT").c_str()));
    EXPECT_FALSE(fileExists(dir.host("File.txt")));
    const struct {
        const char* name;
        DWORD error;
    } rows[] = {{"sub", ERROR_ACCESS_DENIED}, {"File.txt", ERROR_FILE_NOT_FOUND}, {"nodir\\f", ERROR_PATH_NOT_FOUND}};
    for (const auto& r : rows) expectFails(r.error, r.name, [&] { return DeleteFileA(dir.engine(r.name).c_str()); });
}

TEST(MoveFile, RenamesAndRefusesToOverwrite) {
    TempDir dir;
    writeFile(dir.host("a.txt"), "a");
    writeFile(dir.host("b.txt"), "b");
    writeFile(dir.host("Dir/x"), "");
    auto move = [&](const char* from, const char* to) {
        return MoveFileA(dir.engine(from).c_str(), dir.engine(to).c_str());
    };
    EXPECT_TRUE(move("A.TXT", "dir\\Moved.txt"));
    EXPECT_EQ("a", readFile(dir.host("Dir/Moved.txt")));
    expectFails(ERROR_ALREADY_EXISTS, "onto a file", [&] { return move("b.txt", "DIR\\moved.TXT"); });
    EXPECT_EQ("b", readFile(dir.host("b.txt")));
    EXPECT_TRUE(move("b.txt", "B.TXT")) << "a change of case";
    EXPECT_EQ((Names{"B.TXT", "Dir"}), hostEntries(dir.host()));
    EXPECT_TRUE(move("dir", "Renamed")) << "a directory";
    EXPECT_EQ("a", readFile(dir.host("Renamed/Moved.txt")));
    expectFails(ERROR_FILE_NOT_FOUND, "no source", [&] { return move("none", "x"); });
}

// --- Directories -------------------------------------------------------------

TEST(Directories, CreateAndRemove) {
    TempDir dir;
    std::string d = dir.engine("New Dir");
    EXPECT_TRUE(CreateDirectoryA(d.c_str(), nullptr));
    EXPECT_TRUE(S_ISDIR(hostMode(dir.host("New Dir"))));
    auto create = [&](const char* name) { return CreateDirectoryA(dir.engine(name).c_str(), nullptr); };
    auto remove = [&](const char* name) { return RemoveDirectoryA(dir.engine(name).c_str()); };
    expectFails(ERROR_ALREADY_EXISTS, "exists in another case", [&] { return create("new dir"); });
    expectFails(ERROR_PATH_NOT_FOUND, "one level only", [&] { return create("a\\b"); });

    writeFile(dir.host("New Dir/f"), "");
    expectFails(ERROR_DIR_NOT_EMPTY, "not empty", [&] { return remove("New Dir"); });
    expectFails(ERROR_DIRECTORY, "a file", [&] { return remove("New Dir\\f"); });
    ASSERT_EQ(0, unlink(dir.host("New Dir/f").c_str()));
    EXPECT_TRUE(remove("NEW DIR"));
    EXPECT_FALSE(fileExists(dir.host("New Dir")));
    expectFails(ERROR_FILE_NOT_FOUND, "gone", [&] { return remove("New Dir"); });
}

// --- Handles -----------------------------------------------------------------

TEST(Handles, Dispositions) {
    TempDir dir;
    writeFile(dir.host("f.txt"), "x");
    writeFile(dir.host("d/x"), "");
    auto open = [&](const char* name, DWORD disposition, DWORD flags = 0) {
        return CreateFileA(dir.engine(name).c_str(), GENERIC_WRITE, 0, nullptr, disposition, flags, nullptr);
    };
    expectFails(ERROR_FILE_NOT_FOUND, "OPEN_EXISTING, missing",
                [&] { return open("none", OPEN_EXISTING) != INVALID_HANDLE_VALUE; });
    expectFails(ERROR_FILE_EXISTS, "CREATE_NEW on a file in another case",
                [&] { return open("F.TXT", CREATE_NEW) != INVALID_HANDLE_VALUE; });
    expectFails(ERROR_ACCESS_DENIED, "a directory needs FILE_FLAG_BACKUP_SEMANTICS",
                [&] { return open("d", OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL) != INVALID_HANDLE_VALUE; });

    HANDLE h = open("New.txt", CREATE_NEW);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    EXPECT_TRUE(CloseHandle(h));
    EXPECT_TRUE(fileExists(dir.host("New.txt")));
    h = open("f.txt", CREATE_ALWAYS);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), GetLastError()) << "CREATE_ALWAYS on a file that was there";
    EXPECT_TRUE(CloseHandle(h));
    EXPECT_EQ("", readFile(dir.host("f.txt"))) << "and truncated it";

    expectFails(ERROR_INVALID_HANDLE, "no handle", [] { return CloseHandle(INVALID_HANDLE_VALUE); });
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA(dir.engine("*").c_str(), &data);
    ASSERT_NE(INVALID_HANDLE_VALUE, find);
    EXPECT_FALSE(CloseHandle(find)) << "a find handle is closed by FindClose";
    EXPECT_FALSE(SetFileTime(find, nullptr, nullptr, nullptr));
    EXPECT_TRUE(FindClose(find));

    // A zero time, or none, leaves the file's time alone.
    setHostMtime(dir.host("f.txt"), 1000000000);
    h = open("f.txt", OPEN_EXISTING);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    FILETIME zero = fileTime(0);
    EXPECT_TRUE(SetFileTime(h, nullptr, nullptr, &zero));
    EXPECT_TRUE(SetFileTime(h, nullptr, nullptr, nullptr));
    CloseHandle(h);
    EXPECT_EQ(1000000000, hostMtime(dir.host("f.txt")));
}

// --- The current directory ---------------------------------------------------

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
    EXPECT_EQ(dir.engine(), currentDirectory());
    expectFails(ERROR_FILE_NOT_FOUND, "missing", [&] { return SetCurrentDirectoryA(dir.engine("none").c_str()); });
    expectFails(ERROR_DIRECTORY, "a file",
                [&] { return SetCurrentDirectoryA(dir.engine("Work Space\\f.txt").c_str()); });
}

TEST(CurrentDirectory, ExactSpellingsWildcardsAndFailures) {
    CwdGuard guard;
    TempDir dir;
    writeFile(dir.host("Exact/x.txt"), "");
    writeFile(dir.host("a*/y.txt"), "");  // a host name that Windows cannot have

    ASSERT_TRUE(SetCurrentDirectoryA(dir.engine("Exact").c_str()));
    EXPECT_EQ(dir.engine("Exact"), currentDirectory());
    expectFails(ERROR_INVALID_NAME, "a wildcard names nothing",
                [&] { return SetCurrentDirectoryA(dir.engine("a*").c_str()); });
    EXPECT_EQ(dir.engine("Exact"), currentDirectory());

    // A chdir that fails for another reason than a missing name is final.
    kvFaultAt(HostCall::Chdir, 1, EIO);
    expectFails(ERROR_IO_DEVICE, "chdir fails", [&] { return SetCurrentDirectoryA(dir.engine().c_str()); });
    kvFaultsClear();
    EXPECT_EQ(dir.engine("Exact"), currentDirectory());
    ASSERT_TRUE(SetCurrentDirectoryA(dir.engine("EXACT\\..").c_str()));
    EXPECT_EQ(dir.engine(), currentDirectory());
}

// --- Temporary names ---------------------------------------------------------

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

// --- GetShortPathNameA and the C runtime -------------------------------------

TEST(ShortNames, ThePathItselfIfItExists) {
    TempDir dir;
    writeFile(dir.host("Long Name.sch"), "");
    std::string path = dir.engine("long name.SCH");
    char buffer[MAX_PATH];
    DWORD n = GetShortPathNameA(path.c_str(), buffer, sizeof buffer);
    EXPECT_EQ(path, std::string(buffer, n));
    EXPECT_EQ(path.size() + 1, GetShortPathNameA(path.c_str(), buffer, 5));
    expectFails(ERROR_FILE_NOT_FOUND, "missing",
                [&] { return GetShortPathNameA(dir.engine("none").c_str(), buffer, sizeof buffer) != 0; });
}

TEST(Crt, StatAccessUnlink) {
    TempDir dir;
    writeFile(dir.host("data.txt"), "12345");
    writeFile(dir.host("run.BAT"), "");
    writeFile(dir.host("sub/x"), "");
    setHostMtime(dir.host("data.txt"), 1500000000);

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
    EXPECT_EQ(0, _access(dir.engine("sub").c_str(), 0));
    EXPECT_EQ(0, _access(dir.engine("data.txt").c_str(), 6));

    EXPECT_EQ(-1, _stat(dir.engine("none").c_str(), &st));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(-1, _access(dir.engine("none").c_str(), 0));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(-1, _access(dir.engine("data.txt").c_str(), 1));
    EXPECT_EQ(EINVAL, errno) << "mode 1 is no mode";
    EXPECT_EQ(-1, _unlink(dir.engine("sub").c_str()));
    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(0, _unlink(dir.engine("Data.Txt").c_str()));
    EXPECT_FALSE(fileExists(dir.host("data.txt")));
}
