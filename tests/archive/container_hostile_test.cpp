// Hostile and damaged archives: names that lead out of the target, names
// that do not fit, links in the target, truncation at every byte, damaged
// data, counts larger than the file. The reader returns, and nothing is
// written outside the target directory.
#include "container_test.h"

// A target directory inside "outer", beside a sentinel file that must
// never change.
struct Fenced {
    TempDir dir;
    std::string outer = dir.host("outer");
    std::string target = dir.host("outer/target");
    Fenced() {
        writeFile(outer + "/sentinel.txt", "sentinel");
        fs::create_directories(target);
    }
    std::string engineTarget() const { return dir.engine("outer/target"); }
    // The outer directory holds the target and the sentinel, unchanged.
    void expectFenceHolds(const std::string& what) const {
        std::map<std::string, std::string> outside;
        for (const auto& e : treeOf(outer))
            if (e.first.rfind("target", 0) != 0) outside.insert(e);
        std::map<std::string, std::string> expected = {{"sentinel.txt", "F:sentinel"}};
        EXPECT_EQ(expected, outside) << what << ": nothing outside the target";
        for (const auto& e : fs::directory_iterator(dir.host()))
            EXPECT_TRUE(e.path().filename() == "outer" || e.path().extension() == ".ma")
                << what << ": " << e.path() << " beside outer";
    }
    void clear() const {
        fs::remove_all(target);
        fs::create_directories(target);
    }
};

static RawEntry file(const std::string& name, const std::string& content) {
    RawEntry e;
    e.name = name;
    e.content = content;
    return e;
}

TEST_F(ArchiveTest, NamesLeadingOutAreRefusedAndNothingAfterIsWritten) {
    Fenced f;
    std::string absHost = f.outer + "/abs.txt";
    std::string absEngine = ToEnginePath(absHost.c_str());
    std::string absForward = absEngine;
    for (char& c : absForward)
        if (c == '\\') c = '/';
    RawEntry tooLong = file(std::string(300, 'n'), "x");
    RawEntry zeroLength = file("zero.txt", "x");
    zeroLength.nameLength = 0;
    RawEntry over = file(std::string(260, 'n'), "x");  // 261 bytes with the NUL
    RawEntry huge = file("huge.txt", "x");
    huge.nameLength = 0xFFFF;
    RawEntry empty = file("", "x");
    struct Case {
        const char* what;
        RawEntry entry;
        const char* errorName;  // null: the archive
    };
    std::vector<Case> cases = {
        {"parent", file("../sentinel.txt", "evil"), "../sentinel.txt"},
        {"two up", file("../../x.txt", "evil"), "../../x.txt"},
        {"up inside", file("a/../../sentinel.txt", "evil"), "a/../../sentinel.txt"},
        {"backslash parent", file("..\\sentinel.txt", "evil"), "..\\sentinel.txt"},
        {"dots and blank", file(".. /sentinel.txt", "evil"), ".. /sentinel.txt"},
        {"absolute host", file(absHost, "evil"), absHost.c_str()},
        {"absolute backslash", file("\\abs.txt", "evil"), "\\abs.txt"},
        {"engine path", file(absEngine, "evil"), absEngine.c_str()},
        {"engine path, slashes", file(absForward, "evil"), absForward.c_str()},
        {"drive relative", file("Z:abs.txt", "evil"), "Z:abs.txt"},
        {"UNC", file("\\\\host\\share\\x", "evil"), "\\\\host\\share\\x"},
        {"empty name", empty, ""},
        {"nameLength 0", zeroLength, ""},
        {"name of 300", tooLong, nullptr},
        {"name of 261 with NUL", over, nullptr},
        {"nameLength 65535", huge, nullptr},
    };
    for (const Case& c : cases) {
        f.clear();
        RawEntry dirEntry;
        dirEntry.name = "a";
        dirEntry.attributes = 0x10;
        writeFile(f.dir.host("h.ma"), archiveBytes({file("first.txt", "1"), dirEntry, c.entry, file("after.txt", "2")}));
        CompressedArchive a;
        EXPECT_EQ(-15, unpackTo(f.dir.engine("h.ma"), f.engineTarget(), &a)) << c.what;
        std::string expectedName = c.errorName ? c.errorName : f.dir.engine("h.ma");
        if (c.errorName && std::string(c.errorName).empty()) expectedName = "";
        EXPECT_EQ(expectedName, a.errorName ? a.errorName : "(null)") << c.what;
        std::map<std::string, std::string> expected = {{"first.txt", "F:1"}, {"a", "D"}};
        EXPECT_EQ(expected, treeOf(f.target)) << c.what << ": entries before stay, nothing for it or after";
        f.expectFenceHolds(c.what);
    }
    EXPECT_FALSE(fileExists(absHost));
}

TEST_F(ArchiveTest, NothingIsWrittenThroughALink) {
    Fenced f;
    writeFile(f.outer + "/elsewhere/keep.txt", "keep");
    writeFile(f.outer + "/victim.txt", "victim");
    fs::create_directory_symlink(f.outer + "/elsewhere", f.target + "/linkdir");
    fs::create_symlink(f.outer + "/victim.txt", f.target + "/file.txt");
    fs::create_symlink(f.outer + "/nowhere", f.target + "/dangling");
    RawEntry asDir;
    asDir.name = "linkdir";
    asDir.attributes = 0x10;
    struct Case {
        const char* what;
        RawEntry entry;
        int status;
    };
    std::vector<Case> cases = {
        {"through a directory link", file("linkdir/keep.txt", "evil"), -15},
        {"through a directory link, other case", file("LINKDIR/new.txt", "evil"), -15},
        {"a directory entry on a link", asDir, -15},
        {"through a dangling link", file("dangling/x.txt", "evil"), -15},
        {"onto a dangling link", file("dangling", "evil"), -15},
        {"onto a link to a file", file("file.txt", "restored"), 0},
    };
    for (const Case& c : cases) {
        writeFile(f.dir.host("k.ma"), archiveBytes({c.entry}));
        EXPECT_EQ(c.status, unpackTo(f.dir.engine("k.ma"), f.engineTarget())) << c.what;
        EXPECT_EQ("keep", readFile(f.outer + "/elsewhere/keep.txt")) << c.what;
        EXPECT_EQ(1, std::distance(fs::directory_iterator(f.outer + "/elsewhere"), fs::directory_iterator()))
            << c.what;
        EXPECT_EQ("victim", readFile(f.outer + "/victim.txt")) << c.what;
        EXPECT_FALSE(fileExists(f.outer + "/nowhere")) << c.what;
    }
    EXPECT_FALSE(fs::is_symlink(f.target + "/file.txt")) << "the link was replaced by the file";
    EXPECT_EQ("restored", readFile(f.target + "/file.txt"));
}

TEST_F(ArchiveTest, TruncationAtEveryByteEndsWithAStatus) {
    Fenced f;
    RawEntry d;
    d.name = "d";
    d.attributes = 0x10;
    std::string content = patternBytes(9000, 7, true);
    std::string whole = archiveBytes({d, file("d/f.txt", content)});
    size_t second = 44 + 32 + 2;  // the file's header
    size_t data = second + 32 + 8;
    for (size_t cut = 44; cut < whole.size(); ++cut) {
        f.clear();
        writeFile(f.dir.host("t.ma"), whole.substr(0, cut));
        int status = unpackTo(f.dir.engine("t.ma"), f.engineTarget());
        int expected = cut < data ? -15 : -5;
        ASSERT_EQ(expected, status) << "cut at " << cut;
        if (cut >= 44 + 32 + 2) {
            EXPECT_TRUE(fs::is_directory(f.target + "/d")) << "cut at " << cut;
        }
        if (cut > data) {
            std::string partial = readFile(f.target + "/d/f.txt");
            EXPECT_EQ(content.substr(0, partial.size()), partial)
                << "cut at " << cut << ": what was expanded stays, and is right";
        }
    }
    f.expectFenceHolds("truncated");
}

TEST_F(ArchiveTest, DamagedDataAndCrcMismatch) {
    Fenced f;
    std::string content = patternBytes(30000, 8, true);
    RawEntry wrongCrc = file("crc.txt", content);
    wrongCrc.crc = crcOf(content) ^ 1;
    CompressedArchive a;
    writeFile(f.dir.host("c.ma"), archiveBytes({wrongCrc, file("after.txt", "after")}));
    EXPECT_EQ(-6, unpackTo(f.dir.engine("c.ma"), f.engineTarget(), &a));
    EXPECT_EQ(f.engineTarget() + "/crc.txt", a.errorName);
    EXPECT_EQ(content, readFile(f.target + "/crc.txt")) << "the whole file stays in place";
    EXPECT_FALSE(fileExists(f.target + "/after.txt"));

    // Damage every 97th byte of the packed data in turn: a status, or the
    // right bytes; never a crash, never anything outside.
    std::string good = archiveBytes({file("x.txt", content), file("y.txt", "y")});
    size_t dataStart = 44 + 32 + 6;
    size_t dataEnd = dataStart + le32(good, 44 + 20);
    for (size_t at = dataStart; at < dataEnd; at += 97) {
        f.clear();
        std::string bad = good;
        bad[at] = static_cast<char>(bad[at] ^ 0x5A);
        writeFile(f.dir.host("b.ma"), bad);
        int status = unpackTo(f.dir.engine("b.ma"), f.engineTarget());
        EXPECT_TRUE(status == -5 || status == -6 || (status == 0 && readFile(f.target + "/x.txt") == content))
            << "byte " << at << " gave " << status;
    }
    f.expectFenceHolds("damaged");

    // A packedSize that reaches into the next entry, or beyond the file.
    for (int64_t delta : {-3, 40, 100000}) {
        f.clear();
        RawEntry e = file("x.txt", content);
        e.data = packed(content);
        e.packedSize = static_cast<int64_t>(e.data.size()) + delta;
        writeFile(f.dir.host("p.ma"), archiveBytes({e, file("y.txt", "y")}));
        int status = unpackTo(f.dir.engine("p.ma"), f.engineTarget());
        EXPECT_TRUE(status == -5 || status == -15) << "packedSize off by " << delta << " gave " << status;
    }
}

TEST_F(ArchiveTest, CountsLargerThanTheFile) {
    Fenced f;
    for (uint32_t count : {3u, 1000u, 0xFFFFFFFFu}) {
        f.clear();
        writeFile(f.dir.host("n.ma"), archiveBytes({file("a.txt", "a"), file("b.txt", "b")}, count));
        CompressedArchive a;
        EXPECT_EQ(-15, unpackTo(f.dir.engine("n.ma"), f.engineTarget(), &a)) << count;
        EXPECT_EQ(f.dir.engine("n.ma"), a.errorName);
        std::map<std::string, std::string> expected = {{"a.txt", "F:a"}, {"b.txt", "F:b"}};
        EXPECT_EQ(expected, treeOf(f.target)) << count;
    }
    // Fewer than there are: the rest is not looked at.
    f.clear();
    writeFile(f.dir.host("n.ma"), archiveBytes({file("a.txt", "a"), file("b.txt", "b")}, 1) + "garbage");
    EXPECT_EQ(0, unpackTo(f.dir.engine("n.ma"), f.engineTarget()));
    EXPECT_EQ(1u, treeOf(f.target).size());
}

TEST_F(ArchiveTest, AnEntryBeforeItsParentDirectory) {
    Fenced f;
    RawEntry d;
    d.name = "sub";
    d.attributes = 0x10;
    writeFile(f.dir.host("o.ma"), archiveBytes({file("sub/a.txt", "a"), d}));
    CompressedArchive a;
    EXPECT_EQ(-4, unpackTo(f.dir.engine("o.ma"), f.engineTarget(), &a)) << "no parent is made";
    EXPECT_EQ(f.engineTarget() + "/sub/a.txt", a.errorName);
    EXPECT_TRUE(treeOf(f.target).empty());
}

TEST_F(ArchiveTest, ADirectoryThatCannotBeMade) {
    Fenced f;
    RawEntry d;
    d.name = "missing/sub";
    d.attributes = 0x10;
    writeFile(f.dir.host("m.ma"), archiveBytes({d}));
    CompressedArchive a;
    EXPECT_EQ(-16, unpackTo(f.dir.engine("m.ma"), f.engineTarget(), &a));
    EXPECT_EQ(f.engineTarget() + "/missing/sub", a.errorName);
}
