// Failures and what stays on disk after each: the statuses of writeArchive
// and readArchive with their names, and host calls made to fail one by one
// (platform/hostcalls.h) to prove that a failed call never loses a source
// byte and never lets a broken archive or a broken restored file pass as
// good.
#include "container_test.h"

#include <set>
#include <unistd.h>

// A small tree of each kind of entry.
static void smallTree(const std::string& host) {
    writeFile(host + "/a.sch", patternBytes(12000, 11, true));
    writeFile(host + "/empty.txt", "");
    writeFile(host + "/sub/b.bin", patternBytes(9000, 12));
    writeFile(host + "/sub/c.cir", "R1 1 0 1k\n");
    fs::create_directories(host + "/sub/none");
}

// The head's count, or -1 if the file has no head.
static long headCount(const std::string& host) {
    std::string bytes = readFile(host);
    return bytes.size() >= 44 ? static_cast<long>(le32(bytes, 40)) : -1;
}

TEST_F(ArchiveTest, WriteFailuresAndWhatStays) {
    TempDir dir;
    smallTree(dir.host("src"));
    fs::create_directories(dir.host("tmp"));
    std::string tmp = dir.engine("tmp");
    CompressedArchive a;

    EXPECT_EQ(-18, packTree(dir.engine("src"), dir.engine("missing/x.ma"), tmp.c_str(), &a));
    EXPECT_EQ(dir.engine("missing/x.ma"), a.errorName);
    EXPECT_FALSE(fileExists(dir.host("missing")));

    writeFile(dir.host("old.ma"), "an older archive");
    EXPECT_EQ(-19, packTree(dir.engine("nosuch"), dir.engine("old.ma"), tmp.c_str(), &a));
    EXPECT_EQ(dir.engine("nosuch"), a.errorName);
    EXPECT_EQ("", readFile(dir.host("old.ma"))) << "opened with truncation before the source is looked at";
    EXPECT_TRUE(fs::is_empty(dir.host("tmp")));

    // A file that cannot be opened: a link that points nowhere.
    fs::create_symlink(dir.host("gone"), dir.host("src/sub/zz.lnk"));
    EXPECT_EQ(-1, packTree(dir.engine("src"), dir.engine("x.ma"), tmp.c_str(), &a));
    EXPECT_EQ(dir.engine("src") + "\\sub\\zz.lnk", a.errorName);
    EXPECT_EQ(0, headCount(dir.host("x.ma"))) << "the count is written only at the end";
    EXPECT_GT(readFile(dir.host("x.ma")).size(), 44u) << "the archive stays as far as it came";
    EXPECT_TRUE(fs::is_empty(dir.host("tmp"))) << "the temporary file is deleted";
    fs::create_directories(dir.host("out"));
    EXPECT_EQ(0, unpackTo(dir.engine("x.ma"), dir.engine("out"))) << "and it reads as an empty archive";
    EXPECT_TRUE(fs::is_empty(dir.host("out")));
    fs::remove(dir.host("src/sub/zz.lnk"));

    EXPECT_EQ(-2, packTree(dir.engine("src"), dir.engine("x.ma"), dir.engine("notmp").c_str(), &a));
    EXPECT_EQ(dir.engine("notmp") + "/qelvarch" + std::to_string(getpid()) + ".tmp", a.errorName);
    EXPECT_EQ(0, headCount(dir.host("x.ma")));

    kvFaultAt(HostCall::Opendir, 1, EACCES);
    EXPECT_EQ(-7, packTree(dir.engine("src"), dir.engine("x.ma"), tmp.c_str(), &a));
    EXPECT_EQ(dir.engine("src"), a.errorName);
    kvFaultsClear();

    // A source file whose reading fails part way is not stored as if whole.
    writeFile(dir.host("big/big.txt"), patternBytes(400000, 13, true));
    kvFaultAt(HostCall::Read, 3, EIO);
    EXPECT_EQ(-3, packTree(dir.engine("big"), dir.engine("x.ma"), tmp.c_str(), &a));
    EXPECT_EQ(dir.engine("big") + "\\big.txt", a.errorName);
    EXPECT_EQ(0, headCount(dir.host("x.ma")));
}

TEST_F(ArchiveTest, ReadFailuresAndWhatStays) {
    TempDir dir;
    smallTree(dir.host("src"));
    ASSERT_EQ(0, packTree(dir.engine("src"), dir.engine("x.ma")));
    writeFile(dir.host("plain.txt"), "not a directory");
    CompressedArchive a;
    EXPECT_EQ(-20, unpackTo(dir.engine("x.ma"), dir.engine("nosuch"), &a));
    EXPECT_EQ(dir.engine("nosuch"), a.errorName);
    EXPECT_FALSE(fileExists(dir.host("nosuch")));
    EXPECT_EQ(-21, unpackTo(dir.engine("x.ma"), dir.engine("plain.txt"), &a));
    EXPECT_EQ(dir.engine("plain.txt"), a.errorName);
    fs::create_directories(dir.host("out"));
    EXPECT_EQ(-22, unpackTo(dir.engine("none.ma"), dir.engine("out"), &a));
    EXPECT_EQ(dir.engine("none.ma"), a.errorName);
    EXPECT_TRUE(fs::is_empty(dir.host("out")));
}

// Runs writeArchive with the n-th host call of `kind` failing, for every n
// until no call of that kind is left to fail. Each run either reports a
// status, with the source intact, no temporary file left and a head that
// counts nothing; or reports 0 with an archive that restores the tree
// exactly.
static std::set<int> sweepWrite(HostCall kind, int error) {
    TempDir dir;
    smallTree(dir.host("src"));
    fs::create_directories(dir.host("tmp"));
    auto source = treeOf(dir.host("src"));
    std::set<int> statuses;
    for (unsigned long n = 1; n < 2000; ++n) {
        kvFaultsClear();
        kvFaultAt(kind, n, error);
        CompressedArchive a;
        int status = packTree(dir.engine("src"), dir.engine("x.ma"), dir.engine("tmp").c_str(), &a);
        bool hit = kvFaultsHit() > 0;
        kvFaultsClear();
        statuses.insert(status);
        std::string what = std::string(kvHostCallName(kind)) + " #" + std::to_string(n);
        EXPECT_EQ(source, treeOf(dir.host("src"))) << what << ": the source is intact";
        // Only a failed deletion leaves the temporary file, which is ignored
        // as a failure (and the next archive call of the process replaces).
        for (const auto& e : fs::directory_iterator(dir.host("tmp")))
            EXPECT_EQ("qelvarch" + std::to_string(getpid()) + ".tmp", e.path().filename().string()) << what;
        fs::remove_all(dir.host("tmp"));
        fs::create_directories(dir.host("tmp"));
        if (status != 0) {
            EXPECT_GE(status, -22) << what;
            EXPECT_NE(nullptr, a.errorName) << what;
            // The head counts entries only once everything before it is on
            // the disk; only the close after that can still fail.
            long count = headCount(dir.host("x.ma"));
            EXPECT_TRUE(count == 0 || count == -1 || (kind == HostCall::Close && status == -12))
                << what << ": a failed archive counts no entries";
        } else {
            fs::remove_all(dir.host("out"));
            fs::create_directories(dir.host("out"));
            EXPECT_EQ(0, unpackTo(dir.engine("x.ma"), dir.engine("out"))) << what;
            EXPECT_EQ(source, treeOf(dir.host("out"))) << what << ": 0 means a whole archive";
        }
        if (!hit) break;
    }
    return statuses;
}

TEST_F(ArchiveTest, EveryFailedWriteIsReported) {
    std::set<int> s = sweepWrite(HostCall::Write, ENOSPC);
    EXPECT_TRUE(s.count(-12) || s.count(-14) || s.count(-11)) << "a full disk shows as a failed archive write";
    EXPECT_FALSE(s.count(0) && s.size() == 1) << "the sweep made something fail";
}

TEST_F(ArchiveTest, EveryFailedOpenReadOrStatIsReported) {
    std::set<int> open = sweepWrite(HostCall::Open, EMFILE);
    for (int expected : {-18, -1, -2, -10}) EXPECT_TRUE(open.count(expected)) << "open: " << expected;
    std::set<int> read = sweepWrite(HostCall::Read, EIO);
    EXPECT_TRUE(read.count(-3)) << "a failed read of a source";
    std::set<int> stat = sweepWrite(HostCall::Stat, EIO);
    EXPECT_TRUE(stat.count(-19)) << "stat of the source";
    sweepWrite(HostCall::Close, EIO);
    sweepWrite(HostCall::Lseek, EIO);
    sweepWrite(HostCall::Readdir, EIO);
}

// Runs readArchive with the n-th call of `kind` failing. Each run either
// reports a status, with nothing outside the target; or reports 0 with the
// tree restored exactly.
static void sweepRead(HostCall kind, int error) {
    TempDir dir;
    smallTree(dir.host("src"));
    ASSERT_EQ(0, packTree(dir.engine("src"), dir.engine("x.ma")));
    std::string archive = readFile(dir.host("x.ma"));
    auto source = treeOf(dir.host("src"));
    for (unsigned long n = 1; n < 2000; ++n) {
        fs::remove_all(dir.host("out"));
        fs::create_directories(dir.host("out/target"));
        kvFaultsClear();
        kvFaultAt(kind, n, error);
        CompressedArchive a;
        int status = unpackTo(dir.engine("x.ma"), dir.engine("out/target"), &a);
        bool hit = kvFaultsHit() > 0;
        kvFaultsClear();
        std::string what = std::string(kvHostCallName(kind)) + " #" + std::to_string(n);
        EXPECT_EQ(archive, readFile(dir.host("x.ma"))) << what << ": the archive is intact";
        EXPECT_EQ(1u, treeOf(dir.host("out")).count("target")) << what;
        for (const auto& e : treeOf(dir.host("out")))
            EXPECT_EQ(0u, e.first.rfind("target", 0)) << what << ": " << e.first << " outside the target";
        if (status == 0)
            EXPECT_EQ(source, treeOf(dir.host("out/target"))) << what << ": 0 means a whole restore";
        else
            EXPECT_NE(nullptr, a.errorName) << what;
        if (!hit) break;
    }
}

TEST_F(ArchiveTest, EveryFailedRestoreCallIsReported) {
    sweepRead(HostCall::Write, ENOSPC);
    sweepRead(HostCall::Read, EIO);
    sweepRead(HostCall::Open, EMFILE);
    sweepRead(HostCall::Close, EIO);
    sweepRead(HostCall::Mkdir, ENOSPC);
    sweepRead(HostCall::Stat, EIO);
}
