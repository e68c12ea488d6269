// Round trips of real trees through writeArchive and readArchive: content,
// attributes and times; links to directories; the temporary file; what a
// restore does to what is already there.
#include "container_test.h"

#include "support/guards.h"

#include <unistd.h>

static void setOldTime(const std::string& host) {
    fs::last_write_time(host, fs::file_time_type::clock::now() - std::chrono::hours(24 * 365 * 3));
}

TEST_F(ArchiveTest, ARealTreeComesBackByteForByte) {
    TempDir dir;
    std::string s = dir.host("Design");
    writeFile(s + "/Empty.txt", "");
    writeFile(s + "/one.b", "x");
    writeFile(s + "/ReadOnly.LIB", patternBytes(7000, 1, true));
    writeFile(s + "/Sheets/Top.SCH", patternBytes(2500000, 2, true));
    writeFile(s + "/Sheets/sub/Deep/Leaf.cir", patternBytes(100, 3, true));
    writeFile(s + "/bin/noise.dat", patternBytes(3 << 20, 4));
    writeFile(s + "/MixedCase/UPPER.TXT", "UP");
    writeFile(s + "/MixedCase/lower.txt", "low");
    writeFile(s + "/MixedCase/CamelCase.Sch", "Camel");
    fs::create_directories(s + "/Sheets/empty");
    for (const char* f : {"/Empty.txt", "/one.b", "/ReadOnly.LIB", "/Sheets/Top.SCH", "/bin/noise.dat", "/Sheets/empty"})
        setOldTime(s + f);
    fs::permissions(s + "/ReadOnly.LIB", fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    fs::perm_options::remove);
    auto source = treeOf(s);

    ASSERT_EQ(0, packTree(dir.engine("Design"), dir.engine("d.ma")));
    EXPECT_EQ(15u, CompressedArchive::entryCount()) << "9 files, 6 directories";
    EXPECT_EQ(source, treeOf(s)) << "the source is not touched";
    fs::create_directories(dir.host("out"));
    ASSERT_EQ(0, unpackTo(dir.engine("d.ma"), dir.engine("out")));
    EXPECT_EQ(15u, CompressedArchive::entryCount());
    EXPECT_EQ(source, treeOf(dir.host("out"))) << "every name, directory and byte";

    for (const char* f : {"/Empty.txt", "/one.b", "/Sheets/Top.SCH", "/bin/noise.dat", "/Sheets/empty"})
        EXPECT_EQ(hostMtime(s + f), hostMtime(dir.host("out") + f)) << f << ": the stored time";
    EXPECT_TRUE(hostReadOnly(dir.host("out/ReadOnly.LIB"))) << "read-only comes back";
    EXPECT_FALSE(hostReadOnly(dir.host("out/one.b")));
    EXPECT_NE(hostMtime(s + "/ReadOnly.LIB"), hostMtime(dir.host("out/ReadOnly.LIB")))
        << "a read-only file keeps the time of its restoring: attributes go first";
}

TEST_F(ArchiveTest, LinksToDirectoriesAreNotFollowed) {
    TempDir dir;
    writeFile(dir.host("outside/secret.txt"), "secret");
    writeFile(dir.host("src/real/a.txt"), "a");
    writeFile(dir.host("src/target.txt"), "through a link");
    fs::create_directory_symlink(dir.host("outside"), dir.host("src/linkdir"));
    fs::create_directory_symlink(dir.host("src/real"), dir.host("src/loop"));
    fs::create_symlink(dir.host("src/target.txt"), dir.host("src/filelink.txt"));
    ASSERT_EQ(0, packTree(dir.engine("src"), dir.engine("l.ma")));
    EXPECT_EQ((std::vector<std::string>{"filelink.txt", "real", "real/a.txt", "target.txt"}),
              entryNames(dir.host("l.ma")))
        << "a link to a file is that file; links to directories are left out";
    fs::create_directories(dir.host("out"));
    ASSERT_EQ(0, unpackTo(dir.engine("l.ma"), dir.engine("out")));
    EXPECT_EQ("F:through a link", treeOf(dir.host("out"))["filelink.txt"]);
}

// Looks at the temporary directory while the archive is being written.
class TempWatch : public ArchiveProgress {
public:
    explicit TempWatch(std::string host) : host_(std::move(host)) {}
    void entryDone(const char*, const ArchiveEntryHeader&, uint64_t) override {
        for (const auto& e : fs::directory_iterator(host_)) seen.push_back(e.path().filename().string());
    }
    std::vector<std::string> seen;

private:
    std::string host_;
};

TEST_F(ArchiveTest, TheTemporaryFileCarriesTheProcessId) {
    TempDir dir;
    writeFile(dir.host("src/a.txt"), "aaaa");
    writeFile(dir.host("src/b.txt"), "bbbb");
    fs::create_directories(dir.host("tmp"));
    std::string name = "qelvarch" + std::to_string(getpid()) + ".tmp";
    // Something planted under that name is replaced, never written through.
    writeFile(dir.host("victim.txt"), "victim");
    fs::create_symlink(dir.host("victim.txt"), dir.host("tmp/" + name));

    TempWatch watch(dir.host("tmp"));
    CompressedArchive a;
    a.progress = &watch;
    ASSERT_EQ(0, packTree(dir.engine("src"), dir.engine("t.ma"), dir.engine("tmp").c_str(), &a));
    EXPECT_EQ((std::vector<std::string>{name, name}), watch.seen) << "one temporary file, named with the process id";
    EXPECT_TRUE(fs::is_empty(dir.host("tmp"))) << "deleted at the end";
    EXPECT_EQ("victim", readFile(dir.host("victim.txt")));
    fs::create_directories(dir.host("out"));
    ASSERT_EQ(0, unpackTo(dir.engine("t.ma"), dir.engine("out")));
    EXPECT_EQ(treeOf(dir.host("src")), treeOf(dir.host("out")));

    // Without a directory given, the host's temporary directory.
    EnvGuard tmpdir("TMPDIR", dir.host("tmp").c_str());
    watch.seen.clear();
    ASSERT_EQ(0, packTree(dir.engine("src"), dir.engine("t.ma"), nullptr, &a));
    EXPECT_EQ((std::vector<std::string>{name, name}), watch.seen);
}

TEST_F(ArchiveTest, RestoringOverWhatIsThere) {
    TempDir dir;
    writeFile(dir.host("src/keep/new.txt"), "new");
    writeFile(dir.host("src/file.txt"), "archived");
    writeFile(dir.host("src/locked.txt"), "archived");
    ASSERT_EQ(0, packTree(dir.engine("src"), dir.engine("r.ma")));

    writeFile(dir.host("out/file.txt"), "old content, longer than the new one");
    writeFile(dir.host("out/keep/mine.txt"), "mine");
    ASSERT_EQ(0, unpackTo(dir.engine("r.ma"), dir.engine("out")));
    EXPECT_EQ("archived", readFile(dir.host("out/file.txt"))) << "a file is replaced";
    EXPECT_EQ("mine", readFile(dir.host("out/keep/mine.txt"))) << "a directory keeps its contents";
    EXPECT_EQ("new", readFile(dir.host("out/keep/new.txt")));

    writeFile(dir.host("out/locked.txt"), "read-only, mine");
    fs::permissions(dir.host("out/locked.txt"), fs::perms::owner_write, fs::perm_options::remove);
    CompressedArchive a;
    EXPECT_EQ(-4, unpackTo(dir.engine("r.ma"), dir.engine("out"), &a)) << "a read-only file does not open";
    EXPECT_EQ(dir.engine("out") + "/locked.txt", a.errorName);
    EXPECT_EQ("read-only, mine", readFile(dir.host("out/locked.txt")));
}
