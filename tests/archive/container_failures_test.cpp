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

// One fault sweep: the host call made to fail and its error, on the pack
// side (writeArchive) or the restore side (readArchive), and the statuses
// that the sweep must meet among its runs.
struct Sweep {
    HostCall call;
    int error;
    bool restore;
    std::vector<int> mustSee;
};

static const Sweep kSweeps[] = {
    // The archive is written through a buffer: a full disk shows where the
    // buffer goes out, while packed data is appended (-11) or when the head
    // is written back and the archive closed (-12).
    {HostCall::Write, ENOSPC, false, {-12, -11}},
    // The archive, a source file, the temporary file written, then read.
    {HostCall::Open, EMFILE, false, {-18, -1, -2, -10}},
    {HostCall::Read, EIO, false, {-3}},
    {HostCall::Stat, EIO, false, {-19}},
    {HostCall::Close, EIO, false, {}},
    {HostCall::Lseek, EIO, false, {}},
    {HostCall::Readdir, EIO, false, {}},
    {HostCall::Write, ENOSPC, true, {}},
    // The archive first, then a restored file.
    {HostCall::Open, EMFILE, true, {-22, -4}},
    // The archive's head is the first read.
    {HostCall::Read, EIO, true, {-13}},
    {HostCall::Close, EIO, true, {}},
    {HostCall::Mkdir, ENOSPC, true, {}},
    {HostCall::Stat, EIO, true, {}},
};

// Runs writeArchive or readArchive with the n-th call of the sweep's kind
// failing, for every n until no call of that kind is left to fail. Each run
// leaves the source tree and the archive read intact, and either reports a
// status with its errorName, or reports 0 for a whole result: an archive
// that restores the tree exactly, or the tree restored exactly. A failed
// pack leaves no temporary file and a head that counts nothing; a failed
// restore writes nothing outside its target.
static void sweep(const Sweep& s) {
    TempDir dir;
    smallTree(dir.host("src"));
    fs::create_directories(dir.host("tmp"));
    auto source = treeOf(dir.host("src"));
    std::string archive;
    if (s.restore) {
        ASSERT_EQ(0, packTree(dir.engine("src"), dir.engine("x.ma")));
        archive = readFile(dir.host("x.ma"));
    }
    std::set<int> statuses;
    for (unsigned long n = 1; n < 2000; ++n) {
        fs::remove_all(dir.host("out"));
        fs::create_directories(dir.host("out/target"));
        kvFaultsClear();
        kvFaultAt(s.call, n, s.error);
        CompressedArchive a;
        int status = s.restore ? unpackTo(dir.engine("x.ma"), dir.engine("out/target"), &a)
                               : packTree(dir.engine("src"), dir.engine("x.ma"), dir.engine("tmp").c_str(), &a);
        bool hit = kvFaultsHit() > 0;
        kvFaultsClear();
        statuses.insert(status);
        std::string what = std::string(s.restore ? "restore, " : "pack, ") + kvHostCallName(s.call) + " #" +
                           std::to_string(n);
        EXPECT_EQ(source, treeOf(dir.host("src"))) << what << ": the source is intact";
        if (status != 0) {
            EXPECT_GE(status, -22) << what;
            EXPECT_NE(nullptr, a.errorName) << what;
        }
        if (s.restore) {
            EXPECT_EQ(archive, readFile(dir.host("x.ma"))) << what << ": the archive is intact";
            for (const auto& e : treeOf(dir.host("out")))
                EXPECT_EQ(0u, e.first.rfind("target", 0)) << what << ": " << e.first << " outside the target";
        } else {
            // Only a failed deletion leaves the temporary file, which is
            // ignored as a failure (and the next archive call replaces it).
            for (const auto& e : fs::directory_iterator(dir.host("tmp")))
                EXPECT_EQ("qelvarch" + std::to_string(getpid()) + ".tmp", e.path().filename().string()) << what;
            fs::remove_all(dir.host("tmp"));
            fs::create_directories(dir.host("tmp"));
            // The head counts entries only once everything before it is on
            // the disk; only the close after that can still fail.
            long count = headCount(dir.host("x.ma"));
            if (status != 0) {
                EXPECT_TRUE(count == 0 || count == -1 || (s.call == HostCall::Close && status == -12))
                    << what << ": a failed archive counts no entries";
            } else {
                EXPECT_EQ(0, unpackTo(dir.engine("x.ma"), dir.engine("out/target"))) << what;
            }
        }
        if (status == 0) {
            EXPECT_EQ(source, treeOf(dir.host("out/target"))) << what << ": 0 means a whole result";
        }
        if (!hit) break;
    }
    EXPECT_GT(statuses.size(), 1u) << kvHostCallName(s.call) << ": the sweep made something fail";
    for (int expected : s.mustSee)
        EXPECT_TRUE(statuses.count(expected)) << (s.restore ? "restore, " : "pack, ") << kvHostCallName(s.call)
                                              << ": no run reported " << expected;
}

TEST_F(ArchiveTest, EveryFailedHostCallIsReported) {
    for (const Sweep& s : kSweeps) sweep(s);
}
