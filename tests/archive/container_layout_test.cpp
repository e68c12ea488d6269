// The archive file byte for byte: head, entry headers, names, packed data,
// order of entries, the single-file case, the archive inside its own tree,
// the two ids; the status -> action table; the stored-name rules; listing.
#include "container_test.h"

static FILETIME fileTimeOfHost(const std::string& host) {
    struct stat st;
    stat(host.c_str(), &st);
    uint64_t t = (static_cast<uint64_t>(st.st_mtim.tv_sec) + 11644473600ull) * 10000000ull + st.st_mtim.tv_nsec / 100;
    return FILETIME{static_cast<DWORD>(t), static_cast<DWORD>(t >> 32)};
}

TEST_F(ArchiveTest, ASmallTreeFieldByField) {
    TempDir dir;
    writeFile(dir.host("Top/Sub/hello.TXT"), "hello");
    writeFile(dir.host("Top/empty.dat"), "");
    writeFile(dir.host("Top/one.bin"), "x");
    ASSERT_EQ(0, packTree(dir.engine("Top"), dir.engine("t.ma")));
    std::string bytes = readFile(dir.host("t.ma"));

    ASSERT_GE(bytes.size(), 44u);
    EXPECT_EQ(std::string("Tarnel Compressed Archive") + std::string(11, '\0'), bytes.substr(0, 36)) << "id, NUL-padded";
    EXPECT_EQ(10u, le32(bytes, 36)) << "headMark";
    EXPECT_EQ(4u, le32(bytes, 40)) << "entryCount: one directory, three files";
    EXPECT_EQ(4u, CompressedArchive::entryCount());

    std::vector<ParsedEntry> e = parseArchive(bytes);
    ASSERT_EQ(4u, e.size());
    // In listing order, the directory first; an empty file and a directory
    // have no packed data; one byte packs to 2 header bytes and 9 + 16 bits,
    // "hello" to 2 and 5 * 9 + 16 (the repeated l is no match: distance 1
    // is never found).
    const struct {
        const char* name;
        uint32_t attributes, packedSize, unpackedSize, crc;
    } rows[] = {
        {"empty.dat", 0x20, 0, 0, 0},
        {"one.bin", 0x20, 6, 1, crcOf("x")},
        {"Sub", 0x10, 0, 0, 0},
        {"Sub/hello.TXT", 0x20, 10, 5, 0x3610A686u},  // the CRC-32 of "hello"
    };
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(rows[i].name, e[i].name) << "entry " << i;
        EXPECT_EQ(e[i].name.size() + 1, e[i].nameLength) << "nameLength counts the NUL";
        EXPECT_EQ(0u, e[i].zero) << "the two bytes behind nameLength";
        EXPECT_EQ('\0', bytes[e[i].offset + 32 + e[i].nameLength - 1]) << "the name ends in NUL";
        EXPECT_EQ(rows[i].attributes, e[i].attributes) << rows[i].name;
        EXPECT_EQ(rows[i].packedSize, e[i].packedSize) << rows[i].name;
        EXPECT_EQ(rows[i].unpackedSize, e[i].unpackedSize) << rows[i].name;
        EXPECT_EQ(rows[i].crc, e[i].crc) << rows[i].name;
    }
    const ParsedEntry& hello = e[3];
    EXPECT_EQ(packed("hello"), hello.data) << "the packed data are the implode stream, binary, 4096";
    FILETIME t = fileTimeOfHost(dir.host("Top/Sub/hello.TXT"));
    EXPECT_EQ(t.dwLowDateTime, hello.timeLow);
    EXPECT_EQ(t.dwHighDateTime, hello.timeHigh);
    EXPECT_EQ(bytes.size(), hello.offset + 32 + hello.nameLength + hello.packedSize) << "no padding, no end mark";
}

TEST_F(ArchiveTest, AnEmptyDirectoryIs44BytesAndASingleFileIsStoredByItsNameAlone) {
    TempDir dir;
    fs::create_directories(dir.host("empty"));
    ASSERT_EQ(0, packTree(dir.engine("empty"), dir.engine("e.ma")));
    std::string bytes = readFile(dir.host("e.ma"));
    ASSERT_EQ(44u, bytes.size());
    EXPECT_EQ(0u, le32(bytes, 40));
    CompressedArchive a;
    fs::create_directories(dir.host("out"));
    EXPECT_EQ(0, unpackTo(dir.engine("e.ma"), dir.engine("out"), &a));
    EXPECT_TRUE(treeOf(dir.host("out")).empty());
    EXPECT_STREQ(dir.engine("e.ma").c_str(), a.errorName) << "after success the error name is the archive";

    writeFile(dir.host("deep/er/Board.PCB"), "layers 4\n");
    ASSERT_EQ(0, packTree(dir.engine("deep/er/Board.PCB"), dir.engine("one.ma"), nullptr, &a));
    EXPECT_STREQ(dir.engine("one.ma").c_str(), a.errorName);
    EXPECT_EQ(std::vector<std::string>{"Board.PCB"}, entryNames(dir.host("one.ma")));
    EXPECT_EQ(1u, le32(readFile(dir.host("one.ma")), 40));
    ASSERT_EQ(0, unpackTo(dir.engine("one.ma"), dir.engine("out")));
    EXPECT_EQ("layers 4\n", readFile(dir.host("out/Board.PCB")));
}

TEST_F(ArchiveTest, TheArchiveInItsOwnTreeIsSkippedAndTheSourceAsTheArchiveRefused) {
    TempDir dir;
    writeFile(dir.host("src/a.sch"), "a");
    writeFile(dir.host("src/z.sch"), "z");
    ASSERT_EQ(0, packTree(dir.engine("src"), dir.engine("src") + "\\inside.ma"));
    // Again, the same file named in other letters: the walk's text matches
    // without regard to case.
    ASSERT_EQ(0, packTree(dir.engine("src"), dir.engine("src") + "\\INSIDE.MA"));
    EXPECT_EQ((std::vector<std::string>{"a.sch", "z.sch"}), entryNames(dir.host("src/inside.ma")));

    CompressedArchive a;
    EXPECT_EQ(-17, packTree(dir.engine("src/a.sch"), dir.engine("SRC\\A.SCH"), nullptr, &a));
    EXPECT_STREQ(dir.engine("SRC\\A.SCH").c_str(), a.errorName);
    EXPECT_EQ("a", readFile(dir.host("src/a.sch"))) << "nothing written to it";
}

TEST_F(ArchiveTest, BothIdsReadAndNothingElse) {
    TempDir dir;
    fs::create_directories(dir.host("out"));
    RawEntry file = fileEntry("n.cir", "R1 1 2 10k\n");
    struct Case {
        const char* what;
        std::string bytes;
        int status;
    };
    std::string body = entryBytes(file);
    std::string longer = headBytes(1, "Tarnel Compressed Archives");
    std::string full36(36, 'T');  // no NUL anywhere in the id
    std::vector<Case> cases = {
        {"written id", headBytes(1) + body, 0},
        {"other id", headBytes(1, "Halvrost Compressed Archive") + body, 0},
        {"id one character longer", longer + body, -13},
        {"id one character shorter", headBytes(1, "Tarnel Compressed Archiv") + body, -13},
        {"id in other case", headBytes(1, "TARNEL COMPRESSED ARCHIVE") + body, -13},
        {"id of 36 characters", headBytes(1, full36) + body, -13},
        {"head of 43 bytes", headBytes(0).substr(0, 43), -13},
        {"empty file", "", -13},
    };
    for (const Case& c : cases) {
        writeFile(dir.host("x.ma"), c.bytes);
        fs::remove_all(dir.host("out/n.cir"));
        CompressedArchive a;
        EXPECT_EQ(c.status, unpackTo(dir.engine("x.ma"), dir.engine("out"), &a)) << c.what;
        if (c.status == 0)
            EXPECT_EQ(file.content, readFile(dir.host("out/n.cir"))) << c.what;
        else
            EXPECT_STREQ(dir.engine("x.ma").c_str(), a.errorName) << c.what;
    }
    // Bytes behind the id's NUL are not looked at.
    std::string tail = headBytes(1) + body;
    tail[30] = 'q';
    writeFile(dir.host("x.ma"), tail);
    EXPECT_EQ(0, unpackTo(dir.engine("x.ma"), dir.engine("out")));
}

TEST_F(ArchiveTest, EveryStatusHasItsAction) {
    struct Row {
        int status;
        const char* action;
    };
    const Row rows[] = {
        {-1, "Arch_SourceOpenError"},   {-2, "Arch_TempOpenWError"},    {-3, "Arch_ImplodeError"},
        {-4, "Arch_TargetOpenError"},   {-5, "Arch_ExplodeError"},      {-6, "Arch_CrcError"},
        {-7, "Arch_SourceDirError"},    {-8, "Arch_DirIncError"},       {-9, "Arch_SourceAccessError"},
        {-10, "Arch_TempOpenRError"},   {-11, "Arch_FileAppendError"},  {-12, "Arch_AHeaderWriteError"},
        {-13, "Arch_AHeaderReadError"}, {-14, "Arch_FHeaderWriteError"}, {-15, "Arch_FHeaderReadError"},
        {-16, "Arch_TargetDirError"},   {-17, "Arch_TargEqSrcError"},   {-18, "Arch_ArchOpenWError"},
        {-19, "Arch_SourceAttribError"}, {-20, "Arch_TargetAttribError"}, {-21, "Arch_TargetNotDir"},
        {-22, "Arch_ArchOpenRError"},
    };
    for (const Row& r : rows)
        for (bool writing : {true, false})
            EXPECT_STREQ(r.action, KVE_callBackAction(archiveStatusAction(r.status, writing)).getFileString())
                << "status " << r.status;
    auto name = [](int status, bool writing) {
        return std::string(KVE_callBackAction(archiveStatusAction(status, writing)).getFileString());
    };
    EXPECT_EQ("DoneWritingArchive", name(0, true));
    EXPECT_EQ("DoneReadingArchive", name(0, false));
    for (int other : {-23, -100, 1, 7}) {
        EXPECT_EQ("ErrorWritingFile", name(other, true)) << other;
        EXPECT_EQ("ErrorReadingFile", name(other, false)) << other;
    }
    callBackRecord record;
    record.action = archiveStatusAction(-6, false);
    record.detail = "Z:\\w\\a.sch";
    char* message = formCallBackMessage(record);
    ASSERT_NE(nullptr, message);
    EXPECT_STREQ("CRC mismatch after decompression in 'Z:\\w\\a.sch'", message);
    LocalFree(message);
}

TEST_F(ArchiveTest, StoredNameRules) {
    struct Row {
        const char* name;
        bool safe;
    };
    const Row rows[] = {
        {"a.sch", true},         {"sub/a.sch", true},      {"sub\\a.sch", true},  {"a..b", true},
        {"..a", true},           {"a/.hidden", true},      {"x y/z", true},       {"", false},
        {"..", false},           {"../a", false},          {"a/../../b", false},  {"a\\..\\b", false},
        {"a/..", false},         {"/abs", false},          {"\\abs", false},      {"\\\\server\\share", false},
        {"C:a", false},          {"c:\\windows", false},   {"Z:/tmp", false},     {"a//b", false},
        {"a/", false},           {".", false},             {"a/./b", false},      {"... /x", false},
        {". ./x", false},        {"a/.. ", false},
    };
    for (const Row& r : rows) EXPECT_EQ(r.safe, archiveNameIsSafe(r.name)) << "'" << r.name << "'";
}

// Lists entries into a vector.
class Collect : public ArchiveEntryVisitor {
public:
    bool entry(const char* name, const ArchiveEntryHeader& h, int status) override {
        names.push_back(name);
        statuses.push_back(status);
        sizes.push_back(h.unpackedSize);
        return true;
    }
    std::vector<std::string> names;
    std::vector<int> statuses;
    std::vector<uint32_t> sizes;
};

TEST_F(ArchiveTest, ListingAndVerifyingWriteNothing) {
    TempDir dir;
    RawEntry good = fileEntry("lib/good.lib", patternBytes(20000, 3, true));
    RawEntry bad = fileEntry("lib/bad.lib", patternBytes(20000, 4, true));
    bad.crc = 1234;
    RawEntry after = fileEntry("z.txt", "after");
    writeFile(dir.host("x.ma"), archiveBytes({directoryEntry("lib"), good, bad, after}));
    auto before = treeOf(dir.host());

    Collect listed;
    CompressedArchive a;
    EXPECT_EQ(0, a.listArchive(dir.engine("x.ma").c_str(), listed, false));
    EXPECT_EQ((std::vector<std::string>{"lib", "lib/good.lib", "lib/bad.lib", "z.txt"}), listed.names);
    EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), listed.statuses) << "a listing does not expand";
    EXPECT_EQ(20000u, listed.sizes[1]);

    Collect verified;
    EXPECT_EQ(0, a.listArchive(dir.engine("x.ma").c_str(), verified, true));
    EXPECT_EQ((std::vector<int>{0, 0, -6, 0}), verified.statuses) << "the damage is told, and the rest checked";
    EXPECT_EQ(before, treeOf(dir.host())) << "nothing written";

    Collect refused;
    writeFile(dir.host("y.ma"), archiveBytes({good, fileEntry("../evil", "x"), after}));
    EXPECT_EQ(-15, a.listArchive(dir.engine("y.ma").c_str(), refused, true));
    EXPECT_EQ(1u, refused.names.size());
    EXPECT_STREQ("../evil", a.errorName);
}
