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

TEST_F(ArchiveTest, NamesLeadingOutAreRefusedAndNothingAfterIsWritten) {
    Fenced f;
    std::string absHost = f.outer + "/abs.txt";
    std::string absEngine = ToEnginePath(absHost.c_str());
    std::string absForward = absEngine;
    for (char& c : absForward)
        if (c == '\\') c = '/';
    RawEntry tooLong = fileEntry(std::string(300, 'n'), "x");
    RawEntry zeroLength = fileEntry("zero.txt", "x");
    zeroLength.nameLength = 0;
    RawEntry over = fileEntry(std::string(260, 'n'), "x");  // 261 bytes with the NUL
    RawEntry huge = fileEntry("huge.txt", "x");
    huge.nameLength = 0xFFFF;
    RawEntry empty = fileEntry("", "x");
    struct Case {
        const char* what;
        RawEntry entry;
        const char* errorName;  // null: the archive
    };
    std::vector<Case> cases = {
        {"parent", fileEntry("../sentinel.txt", "evil"), "../sentinel.txt"},
        {"two up", fileEntry("../../x.txt", "evil"), "../../x.txt"},
        {"up inside", fileEntry("a/../../sentinel.txt", "evil"), "a/../../sentinel.txt"},
        {"backslash parent", fileEntry("..\\sentinel.txt", "evil"), "..\\sentinel.txt"},
        {"dots and blank", fileEntry(".. /sentinel.txt", "evil"), ".. /sentinel.txt"},
        {"absolute host", fileEntry(absHost, "evil"), absHost.c_str()},
        {"absolute backslash", fileEntry("\\abs.txt", "evil"), "\\abs.txt"},
        {"engine path", fileEntry(absEngine, "evil"), absEngine.c_str()},
        {"engine path, slashes", fileEntry(absForward, "evil"), absForward.c_str()},
        {"drive relative", fileEntry("Z:abs.txt", "evil"), "Z:abs.txt"},
        {"UNC", fileEntry("\\\\host\\share\\x", "evil"), "\\\\host\\share\\x"},
        {"empty name", empty, ""},
        {"nameLength 0", zeroLength, ""},
        {"name of 300", tooLong, nullptr},
        {"name of 261 with NUL", over, nullptr},
        {"nameLength 65535", huge, nullptr},
    };
    for (const Case& c : cases) {
        f.clear();
        writeFile(f.dir.host("h.ma"), archiveBytes({fileEntry("first.txt", "1"), directoryEntry("a"), c.entry,
                                                    fileEntry("after.txt", "2")}));
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
    struct Case {
        const char* what;
        RawEntry entry;
        int status;
    };
    std::vector<Case> cases = {
        {"through a directory link", fileEntry("linkdir/keep.txt", "evil"), -15},
        {"through a directory link, other case", fileEntry("LINKDIR/new.txt", "evil"), -15},
        {"a directory entry on a link", directoryEntry("linkdir"), -15},
        {"through a dangling link", fileEntry("dangling/x.txt", "evil"), -15},
        {"onto a dangling link", fileEntry("dangling", "evil"), -15},
        {"onto a link to a file", fileEntry("file.txt", "restored"), 0},
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
    std::string content = patternBytes(9000, 7, true);
    std::string whole = archiveBytes({directoryEntry("d"), fileEntry("d/f.txt", content)});
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
    RawEntry wrongCrc = fileEntry("crc.txt", content);
    wrongCrc.crc = crcOf(content) ^ 1;
    CompressedArchive a;
    writeFile(f.dir.host("c.ma"), archiveBytes({wrongCrc, fileEntry("after.txt", "after")}));
    EXPECT_EQ(-6, unpackTo(f.dir.engine("c.ma"), f.engineTarget(), &a));
    EXPECT_EQ(f.engineTarget() + "/crc.txt", a.errorName);
    EXPECT_EQ(content, readFile(f.target + "/crc.txt")) << "the whole file stays in place";
    EXPECT_FALSE(fileExists(f.target + "/after.txt"));

    // Damage every 97th byte of the packed data in turn: a status, or the
    // right bytes; never a crash, never anything outside.
    std::string good = archiveBytes({fileEntry("x.txt", content), fileEntry("y.txt", "y")});
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
        RawEntry e = fileEntry("x.txt", content);
        e.data = packed(content);
        e.packedSize = static_cast<int64_t>(e.data.size()) + delta;
        writeFile(f.dir.host("p.ma"), archiveBytes({e, fileEntry("y.txt", "y")}));
        int status = unpackTo(f.dir.engine("p.ma"), f.engineTarget());
        EXPECT_TRUE(status == -5 || status == -15) << "packedSize off by " << delta << " gave " << status;
    }
}

// Counts that do not match the entries, and directories that would have to
// be made more than one level at a time (each is made by its own entry):
// the status, its name, and what stays in the target.
TEST_F(ArchiveTest, WrongCountsAndMissingParents) {
    const std::vector<RawEntry> two = {fileEntry("a.txt", "a"), fileEntry("b.txt", "b")};
    const std::map<std::string, std::string> both = {{"a.txt", "F:a"}, {"b.txt", "F:b"}}, none;
    const struct {
        const char* what;
        std::string bytes;
        int status;
        const char* errorName;  // below the target; null: the archive
        std::map<std::string, std::string> tree;
    } cases[] = {
        {"count 3 of 2", archiveBytes(two, 3), -15, nullptr, both},
        {"count 1000", archiveBytes(two, 1000), -15, nullptr, both},
        {"count 2^32 - 1", archiveBytes(two, 0xFFFFFFFF), -15, nullptr, both},
        {"count 1: the rest is not looked at", archiveBytes(two, 1) + "garbage", 0, nullptr, {{"a.txt", "F:a"}}},
        {"the entry before its parent", archiveBytes({fileEntry("sub/a.txt", "a"), directoryEntry("sub")}), -4,
         "/sub/a.txt", none},
        {"a directory two levels down", archiveBytes({directoryEntry("missing/sub")}), -16,
         "/missing/sub", none},
    };
    Fenced f;
    for (const auto& c : cases) {
        f.clear();
        writeFile(f.dir.host("h.ma"), c.bytes);
        CompressedArchive a;
        EXPECT_EQ(c.status, unpackTo(f.dir.engine("h.ma"), f.engineTarget(), &a)) << c.what;
        EXPECT_EQ(c.errorName ? f.engineTarget() + c.errorName : f.dir.engine("h.ma"), a.errorName) << c.what;
        EXPECT_EQ(c.tree, treeOf(f.target)) << c.what;
    }
    f.expectFenceHolds("wrong counts");
}
