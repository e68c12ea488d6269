// Faults: host calls made to fail through the call table, and what the
// layer makes of it. The rule under test: a failure is reported, and no
// good file is lost or replaced by a broken one.
#include "platform_test.h"

#include <cstring>

typedef std::vector<std::string> Names;

// Clears faults before and after each test.
class Faults : public ::testing::Test {
protected:
    void SetUp() override { kvFaultsClear(); }
    void TearDown() override { kvFaultsClear(); }
};

TEST_F(Faults, CountsAndTheExactSpellingCostsOneStat) {
    TempDir dir;
    writeFile(dir.host("Dir/File.txt"), "x");
    std::string exact = dir.engine("Dir\\File.txt");
    kvFaultsClear();
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(exact.c_str()));
    EXPECT_EQ(1u, kvHostCallCount(HostCall::Stat)) << "an exact spelling: one stat";
    EXPECT_EQ(0u, kvHostCallCount(HostCall::Readdir));
    EXPECT_EQ(1u, kvHostCallCount(HostCall::Any));
    kvFaultsClear();
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(dir.engine("DIR\\FILE.TXT").c_str()));
    EXPECT_GT(kvHostCallCount(HostCall::Readdir), 0u) << "another spelling walks the directories";
    kvFaultsClear();
    EXPECT_EQ(0u, kvHostCallCount(HostCall::Any));
}

TEST_F(Faults, TheNthCallOfAKindFailsOnce) {
    TempDir dir;
    writeFile(dir.host("f"), "x");
    std::string f = dir.engine("f");
    kvFaultAt(HostCall::Stat, 2, EIO);
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(f.c_str())) << "the first stat passes";
    SetLastError(0);
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(f.c_str())) << "the second fails";
    EXPECT_EQ(static_cast<DWORD>(ERROR_IO_DEVICE), GetLastError());
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(f.c_str())) << "the third passes again";
    EXPECT_EQ(1u, kvFaultsHit());

    kvFaultAt(HostCall::Any, 1, EACCES, 0);
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(f.c_str()));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(f.c_str())) << "count 0: every call from then on";
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
    kvFaultsClear();
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(f.c_str()));
}

// --- Streams -----------------------------------------------------------------

TEST_F(Faults, AFailedWriteOrCloseMakesFcloseFail) {
    TempDir dir;
    // The bytes are buffered until the close: its write fails, or (as on
    // a full network disk) the close itself.
    for (HostCall call : {HostCall::Write, HostCall::Close}) {
        kvFaultsClear();
        FILE* f = kvFopen(dir.engine("out.txt").c_str(), "w");
        ASSERT_NE(nullptr, f);
        ASSERT_EQ(5u, fwrite("hello", 1, 5, f)) << "buffered: not written yet";
        kvFaultAt(call, 1, call == HostCall::Write ? ENOSPC : EIO);
        EXPECT_EQ(EOF, fclose(f)) << kvHostCallName(call);
        EXPECT_EQ(1u, kvFaultsHit()) << kvHostCallName(call);
    }
}

TEST_F(Faults, AFailedWriteMakesALargeFwriteShort) {
    TempDir dir;
    FILE* f = kvFopen(dir.engine("out.bin").c_str(), "wb");
    ASSERT_NE(nullptr, f);
    std::string data = patternBytes(1 << 20, 1);
    // A host that takes 64 KiB per call, and whose disk fills at the third.
    kvHost.write = [](int fd, const void* buffer, size_t size) -> ssize_t {
        return kvHostDefaults.write(fd, buffer, size < 65536 ? size : 65536);
    };
    kvFaultAt(HostCall::Write, 3, ENOSPC, 0);
    EXPECT_LT(fwrite(data.data(), 1, data.size(), f), data.size());
    EXPECT_TRUE(ferror(f));
    EXPECT_EQ(EOF, fclose(f));
}

TEST_F(Faults, AFailedReadIsAnErrorNotAnEnd) {
    TempDir dir;
    writeFile(dir.host("in.txt"), "line one\r\nline two\r\n");
    for (const char* mode : {"r", "rb"}) {
        FILE* f = kvFopen(dir.engine("in.txt").c_str(), mode);
        ASSERT_NE(nullptr, f);
        kvFaultAt(HostCall::Read, 1, EIO);
        char line[64];
        EXPECT_EQ(nullptr, fgets(line, sizeof line, f)) << mode;
        EXPECT_TRUE(ferror(f)) << mode;
        EXPECT_FALSE(feof(f)) << mode;
        fclose(f);
    }
}

TEST_F(Faults, ShortWritesFromTheHostStillWriteEverything) {
    TempDir dir;
    // A host that writes at most 7 bytes per call.
    kvHost.write = [](int fd, const void* buffer, size_t size) -> ssize_t {
        return kvHostDefaults.write(fd, buffer, size < 7 ? size : 7);
    };
    std::string data = patternBytes(100000, 2);
    FILE* f = kvFopen(dir.engine("out.bin").c_str(), "wb");
    ASSERT_NE(nullptr, f);
    ASSERT_EQ(data.size(), fwrite(data.data(), 1, data.size(), f));
    ASSERT_EQ(0, fclose(f));
    EXPECT_EQ(data, readFile(dir.host("out.bin")));
    ASSERT_TRUE(CopyFileA(dir.engine("out.bin").c_str(), dir.engine("copy.bin").c_str(), FALSE));
    EXPECT_EQ(data, readFile(dir.host("copy.bin")));
}

// --- CopyFileA: the old target survives every failure ------------------------

TEST_F(Faults, CopyFailingAtEveryStep) {
    TempDir dir;
    std::string source = patternBytes(300000, 4);
    writeFile(dir.host("Src.bin"), source);
    std::string from = dir.engine("src.BIN"), to = dir.engine("TARGET.bin");

    // One clean run to count the calls a copy makes.
    writeFile(dir.host("Target.bin"), "old");
    kvFaultsClear();
    ASSERT_TRUE(CopyFileA(from.c_str(), to.c_str(), FALSE));
    unsigned long calls = kvHostCallCount(HostCall::Any);
    ASSERT_GT(calls, 8u);

    // A failure leaves the old target, no temporary file, and the last
    // error of the failed call (a full disk mid-way is ERROR_DISK_FULL).
    const struct { int error; DWORD lastError; } faults[] = {
        {EIO, ERROR_IO_DEVICE}, {ENOSPC, ERROR_DISK_FULL}, {EACCES, ERROR_ACCESS_DENIED}};
    for (unsigned long n = 1; n <= calls; ++n) {
        for (const auto& fault : faults) {
            writeFile(dir.host("Target.bin"), "old");
            kvFaultsClear();
            kvFaultAt(HostCall::Any, n, fault.error);
            SetLastError(0);
            BOOL ok = CopyFileA(from.c_str(), to.c_str(), FALSE);
            kvFaultsClear();
            std::string now = readFile(dir.host("Target.bin"));
            if (ok) {
                EXPECT_EQ(source, now) << "call " << n << " failing, yet the copy reports success";
            } else {
                EXPECT_EQ("old", now) << "call " << n << " failing with " << strerror(fault.error);
                EXPECT_EQ(fault.lastError, GetLastError()) << "call " << n << " failing with " << strerror(fault.error);
            }
            EXPECT_EQ((Names{"Src.bin", "Target.bin"}), hostEntries(dir.host())) << "call " << n;
            EXPECT_EQ(source, readFile(dir.host("Src.bin")));
        }
    }
}

// A stream that reports success at every step has written everything.
TEST_F(Faults, StreamWritesFailingAtEveryStep) {
    TempDir dir;
    writeFile(dir.host("Out.txt"), "old");
    std::string data = patternBytes(200000, 5);
    std::string path = dir.engine("OUT.TXT");
    auto run = [&]() {
        FILE* f = kvFopen(path.c_str(), "wb");
        if (!f) return false;
        bool ok = fwrite(data.data(), 1, data.size() / 2, f) == data.size() / 2;
        ok = fputs(data.c_str() + data.size() / 2, f) >= 0 && ok;  // the rest, up to a NUL
        return fclose(f) == 0 && ok;
    };
    ASSERT_TRUE(run());
    std::string written = readFile(dir.host("Out.txt"));
    unsigned long calls = kvHostCallCount(HostCall::Any);
    for (unsigned long n = 1; n <= calls; ++n) {
        kvFaultsClear();
        kvFaultAt(HostCall::Any, n, ENOSPC);
        bool ok = run();
        kvFaultsClear();
        if (ok) {
            EXPECT_EQ(written, readFile(dir.host("Out.txt"))) << "call " << n << " failed unreported";
        }
        EXPECT_EQ((Names{"Out.txt"}), hostEntries(dir.host())) << "call " << n;
    }
}

// --- Listings ----------------------------------------------------------------

TEST_F(Faults, ListingErrorsAreNotTheEnd) {
    TempDir dir;
    for (const char* name : {"a", "b", "c"}) writeFile(dir.host(name), "");
    std::string all = dir.engine("*");
    WIN32_FIND_DATAA data;

    kvFaultAt(HostCall::Readdir, 2, EIO);
    SetLastError(0);
    EXPECT_EQ(INVALID_HANDLE_VALUE, FindFirstFileA(all.c_str(), &data));
    EXPECT_EQ(static_cast<DWORD>(ERROR_IO_DEVICE), GetLastError()) << "the directory cannot be read";

    kvFaultsClear();
    HANDLE h = FindFirstFileA(all.c_str(), &data);
    ASSERT_NE(INVALID_HANDLE_VALUE, h);
    ASSERT_TRUE(FindNextFileA(h, &data));  // ".."
    kvFaultAt(HostCall::Stat, 1, EIO);
    EXPECT_FALSE(FindNextFileA(h, &data));
    EXPECT_EQ(static_cast<DWORD>(ERROR_IO_DEVICE), GetLastError()) << "neither 18 nor 2: the listing failed";
    EXPECT_TRUE(FindClose(h));
}
