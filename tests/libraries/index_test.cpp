// Reading a library's index and finding names in it: several names, parents,
// block marks, names inside longer names, unparsable numbers, the doubled
// last entry, where the offsets count from, and that a look-up through the
// name map answers exactly as a walk of the entries in file order.
#include "libtest.h"

#include <strings.h>

#include <cstring>
#include <random>

#include "libraries/libraryitem.h"
#include "platform/hostcalls.h"
#include "platform/platform.h"
#include "workspace/workspace.h"

class Index : public ::testing::Test {
protected:
    void SetUp() override {
        KVE_Status status;
        ws = static_cast<DesignWorkspace*>(OpenWorkspace(status, dir.engine("ws").c_str()));
        ASSERT_NE(ws, nullptr);
    }
    void TearDown() override { delete ws; }

    // A library item for a file of the given content.
    LibraryFileItem* library(const std::string& content, const char* name = "t.slb") {
        writeFile(dir.host(std::string("libs/") + name), content);
        fileItem* item = ws->addLibraryItem((dir.engine("libs") + "\\" + name).c_str(), nullptr);
        return static_cast<LibraryFileItem*>(item);
    }
    libraryIndexEntry* find(LibraryFileItem* lib, const char* name) { return lib->findIndexEntry(name, op); }

    TempDir dir;
    DesignWorkspace* ws = nullptr;
    RecordingOperation op;
};

TEST_F(Index, SeveralNamesAndAParent) {
    LibraryFileItem* lib = library("@INDEX\nsymloc CAP,Capacitor:BASE 10 20\nsymloc BASE 30 5\n*symbol cap\n");
    libraryIndexEntry* cap = find(lib, "capacitor");
    ASSERT_NE(cap, nullptr);
    EXPECT_EQ(find(lib, "CAP"), cap) << "either name, any case";
    EXPECT_EQ(find(lib, "CaPaCiToR"), cap);
    EXPECT_STREQ(cap->names, ",cap,capacitor,");
    ASSERT_NE(cap->parent, nullptr);
    EXPECT_STREQ(cap->parent, "BASE") << "the parent as written";
    EXPECT_EQ(cap->offset, 10);
    EXPECT_EQ(cap->size, 20);
    EXPECT_EQ(cap->owner, lib);
    libraryIndexEntry* base = find(lib, "base");
    ASSERT_NE(base, nullptr);
    EXPECT_NE(base, cap) << "the parent's name finds the parent's own entry";
    EXPECT_EQ(base->parent, nullptr);
}

TEST_F(Index, NamesAreNotFoundInsideLongerNames) {
    LibraryFileItem* lib = library("symloc RESISTOR,R_SMD 0 5\n*x\n");
    EXPECT_EQ(find(lib, "RES"), nullptr);
    EXPECT_EQ(find(lib, "sistor"), nullptr);
    EXPECT_EQ(find(lib, "R"), nullptr);
    EXPECT_NE(find(lib, "r_smd"), nullptr);
    EXPECT_EQ(find(lib, ""), nullptr);
    EXPECT_EQ(find(lib, nullptr), nullptr);
}

TEST_F(Index, BlockMarks) {
    LibraryFileItem* lib = library("symloc A 1 2 b\nsymloc B 1 2 x\nsymloc C 1 2\nsymloc D 1 2 B\r\nsymloc E 1 2 b\r\n.\n");
    EXPECT_TRUE(find(lib, "a")->isBlock);
    EXPECT_FALSE(find(lib, "b")->isBlock);
    EXPECT_FALSE(find(lib, "c")->isBlock);
    EXPECT_FALSE(find(lib, "d")->isBlock) << "the mark is the lower-case letter";
    EXPECT_TRUE(find(lib, "e")->isBlock) << "a line written on Windows";
}

TEST_F(Index, UnparsableNumbersKeepThoseOfTheLineBefore) {
    LibraryFileItem* lib = library("symloc A 10 20\nsymloc B xx yy\nsymloc C 7 zz\n*\n");
    EXPECT_EQ(find(lib, "b")->offset, 10);
    EXPECT_EQ(find(lib, "b")->size, 20);
    EXPECT_EQ(find(lib, "c")->offset, 7);
    EXPECT_EQ(find(lib, "c")->size, 20);
}

TEST_F(Index, OffsetsCountFromTheFirstLineBehindTheIndex) {
    std::string head = "* a comment\n@INDEX\nsymloc A        0       12\nsymloc B       12        9\n";
    LibraryFileItem* lib = library(head + "*symbol A\n*symbol B\n");
    find(lib, "a");
    EXPECT_EQ(lib->getBaseOffset(), static_cast<int32_t>(head.size()));
    EXPECT_EQ(lib->getIndexEntries().size(), 2u);
}

TEST_F(Index, EmptyNameEndsTheSearchForTheIndexButMakesNoEntry) {
    LibraryFileItem* lib = library("head\nsymloc :PARENT 1 2\nbody\nsymloc A 3 4\n");
    EXPECT_EQ(find(lib, "parent"), nullptr);
    EXPECT_EQ(find(lib, "a"), nullptr) << "the index ended at 'body'";
    EXPECT_EQ(lib->getBaseOffset(), 24) << "the start of 'body'";
}

TEST_F(Index, IndexOnlyFileDoublesItsLastEntry) {
    LibraryFileItem* lib = library("symloc A 1 2\nsymloc B 3 4\n");
    libraryIndexEntry* b = find(lib, "b");
    ASSERT_EQ(lib->getIndexEntries().size(), 3u);
    EXPECT_EQ(b, lib->getIndexEntries()[1]) << "the first copy is found";
    EXPECT_STREQ(lib->getIndexEntries()[2]->names, ",b,");
}

TEST_F(Index, FirstEntryInFileOrderWins) {
    LibraryFileItem* lib = library("symloc X,DUP 1 1\nsymloc DUP 2 2\nsymloc dup,Y 3 3\n*\n");
    EXPECT_EQ(find(lib, "dup")->offset, 1);
    EXPECT_EQ(find(lib, "y")->offset, 3);
}

TEST_F(Index, NamesWithACommaMatchAcrossNamesAsAWalkDoes) {
    LibraryFileItem* lib = library("symloc A,B,C 1 1\nsymloc B,C 2 2\n*\n");
    EXPECT_EQ(find(lib, "b,c")->offset, 1) << "',b,c,' stands in ',a,b,c,'";
    EXPECT_EQ(find(lib, "a,c"), nullptr);
}

TEST_F(Index, TheIndexIsReadAtTheFirstLookUpAndAnnounced) {
    LibraryFileItem* lib = library("symloc A 1 2\n*\n");
    EXPECT_TRUE(lib->getIndexEntries().empty()) << "nothing read before a look-up";
    find(lib, "a");
    find(lib, "nope");
    EXPECT_EQ(op.actions, std::vector<int>{KVE_callBackAction::SearchingLibrary});
    EXPECT_EQ(op.details, std::vector<std::string>{""});
    EXPECT_EQ(op.others, std::vector<fileItem*>{lib});
    lib->releaseIndex();
    EXPECT_TRUE(lib->getIndexEntries().empty());
    EXPECT_NE(find(lib, "a"), nullptr) << "read again after a release";
    EXPECT_EQ(op.actions.size(), 2u);
}

TEST_F(Index, ALibraryWithoutIndexIsReadAtEveryLookUp) {
    LibraryFileItem* lib = library("*symbol A\nbody\n");
    EXPECT_EQ(find(lib, "a"), nullptr);
    EXPECT_EQ(find(lib, "a"), nullptr);
    EXPECT_EQ(op.actions.size(), 2u);
}

TEST_F(Index, AnUnreadableLibraryFindsNothing) {
    LibraryFileItem* lib = library("symloc A 1 2\n*\n");
    remove(dir.host("libs/t.slb").c_str());
    EXPECT_EQ(find(lib, "a"), nullptr);
    EXPECT_TRUE(lib->getIndexEntries().empty());
}

TEST_F(Index, EntriesMadeElsewhereAreNeverFound) {
    LibraryFileItem* lib = library("", "m.lib");
    libraryIndexEntry* model = new libraryIndexEntry;
    model->offset = 5;
    lib->addIndexEntry(model);
    EXPECT_EQ(find(lib, "anything"), nullptr);
    EXPECT_TRUE(op.actions.empty()) << "a filled list is not read";
    EXPECT_EQ(model->owner, lib);
}

TEST_F(Index, ShortAndLongLines) {
    std::string longName(1500, 'n');
    LibraryFileItem* lib = library("symloc\nSYMLOC A 1 2\nsymloc " + longName + " 3 4\n*\n");
    EXPECT_NE(find(lib, "a"), nullptr) << "the keyword without regard to case";
    EXPECT_EQ(find(lib, longName.c_str()), nullptr) << "a line is read in pieces of 1023 bytes";
}

// The map must answer as the walk in file order does, for every name of a
// generated library and for names that are not there.
TEST_F(Index, MapAgreesWithAWalkInFileOrder) {
    std::string content;
    for (int i = 0; i < 300; ++i) {
        content += "symloc N" + std::to_string(i % 97) + ",M" + std::to_string(i) + (i % 5 ? "" : ":P") + " " +
                   std::to_string(i) + " 1\n";
    }
    LibraryFileItem* lib = library(content + "*end\n");
    find(lib, "x");
    for (int i = 0; i < 400; ++i) {
        for (const std::string& name : {"n" + std::to_string(i), "M" + std::to_string(i), std::string("p")}) {
            std::string key = "," + name + ",";
            for (char& c : key) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
            libraryIndexEntry* walked = nullptr;
            for (libraryIndexEntry* e : lib->getIndexEntries())
                if (e->names && strstr(e->names, key.c_str())) {
                    walked = e;
                    break;
                }
            EXPECT_EQ(find(lib, name.c_str()), walked) << name;
        }
    }
}

// --- The index read by blocks against the line loop it replaced --------------

// The index as a loop of fgets into a 1024-byte buffer reads it: kept here
// as the reference for every quirk of that loop (pieces of 1023 bytes, NUL
// bytes, the last line read twice, where the offsets count from). Each
// entry as "names parent offset size block"; then the base offset. Through
// the engine's stream, so that a test can make its reads fail or fall short.
static std::vector<std::string> indexByLines(const std::string& enginePath) {
    std::vector<std::string> result;
    FILE* file = kvFopen(enginePath.c_str(), "rb");
    if (!file) return result;
    char line[1024] = "", name[1024];
    int offset = 0, size = 0;
    bool inIndex = false, ended = false;
    long base = 0;
    while (!feof(file)) {
        if (!fgets(line, sizeof line, file) && ferror(file)) break;
        if (strncasecmp(line, "symloc", 6) != 0) {
            if (!inIndex) continue;
            base = ftell(file) - static_cast<long>(strlen(line));
            ended = true;
            break;
        }
        name[0] = 0;
        char mark = 0;
        if (strlen(line) > 7) readIndexFields(line + 7, name, offset, size, mark);
        inIndex = true;
        char* parent = strchr(name, ':');
        if (parent) *parent++ = 0;
        if (!name[0]) continue;
        std::string names = std::string(",") + name + ",";
        for (char& c : names)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
        result.push_back(names + " " + (parent ? parent : "-") + " " + std::to_string(offset) + " " +
                         std::to_string(size) + " " + (mark == 'b' ? "b" : "-"));
    }
    if (!ended) base = ftell(file);
    fclose(file);
    result.push_back("base " + std::to_string(base));
    return result;
}

class IndexByBlocks : public Index {
protected:
    // Reads content both ways and compares every entry and the base offset.
    void expectSame(const std::string& content, const std::string& what) {
        LibraryFileItem* lib = library(content);
        EXPECT_EQ(readByBlocks(lib), indexByLines(path())) << what;
    }
    std::string path() const { return dir.engine("libs") + "\\t.slb"; }
    // lib's index as indexByLines gives it.
    std::vector<std::string> readByBlocks(LibraryFileItem* lib) {
        find(lib, "x");
        std::vector<std::string> read;
        for (const libraryIndexEntry* e : lib->getIndexEntries())
            read.push_back(std::string(e->names) + " " + (e->parent ? e->parent : "-") + " " +
                           std::to_string(e->offset) + " " + std::to_string(e->size) + " " + (e->isBlock ? "b" : "-"));
        read.push_back("base " + std::to_string(lib->getBaseOffset()));
        lib->releaseIndex();
        return read;
    }
};

TEST_F(IndexByBlocks, CraftedLines) {
    const std::string piece(1023 - 7, 'n'); // "symloc " and this fill one piece
    const struct {
        const char* what;
        std::string content;
    } rows[] = {
        {"empty file", ""},
        {"the keyword alone", "symloc"},
        {"the keyword and a blank", "symloc \n"},
        {"no line feed at the end", "symloc A 1 2\nsymloc B 3 4"},
        {"a line feed at the end", "symloc A 1 2\nsymloc B 3 4\n"},
        {"CR LF", "@INDEX\r\nsymloc A 1 2 b\r\nsymloc B:A 3 4\r\n*symbol A\r\n"},
        {"a piece of exactly 1023 bytes ends the file", "symloc " + piece},
        {"a piece of exactly 1023 bytes, then a line feed", "symloc " + piece + "\nbody\n"},
        {"a 1024-byte line: its last byte is a piece of its own", "symloc " + piece + "x\nbody\n"},
        {"the second piece of a long line is an index line",
         "symloc " + piece + "symloc HIDDEN 5 6\nsymloc C 7 8\n*\n"},
        {"lines of 2047 and 2048 bytes", "symloc " + piece + piece + "abcdefg\nsymloc " + piece + piece +
                                             "abcdefgh\n*\n"},
        {"a NUL inside an index line", std::string("symloc A 1 2\nsymloc B\0junk 3 4\nsymloc C 5 6\n*\n", 40)},
        {"a NUL in the first line behind the index", std::string("symloc A 1 2\nbo\0dy\n", 19)},
        {"a NUL in the keyword", std::string("sym\0oc A 1 2\nsymloc B 3 4\n*\n", 28)},
        {"lines ahead of the index", "* comment\n@INDEX\nSymLoc A 10 20\nsymloc B:A 30 5 b\n*symbol A\n"},
        {"a NUL behind eight digits", std::string("symloc A 12345678\0 9\nsymloc B 00000001 1234567\0\n*\n", 50)},
        {"numbers of eight digits and more, signs, junk",
         "symloc A 00000001\nsymloc B 0000000100 -00000002\nsymloc C +0000001 00000009x\nsymloc D 1 2345678901\n*\n"},
        {"names in every case, commas and colons", "symloc AbC,,dEF,:GhI:j 1 2\nsymloc ,X, 3 4\nsymloc "
                                                   "LONGER_THAN_EIGHT,AND,MORE_THAN_SIXTEEN_BYTES:Z 5 6\n*\n"},
    };
    for (const auto& row : rows) expectSame(row.content, row.what);
}

// Indexes larger than a block, so that lines cross the block boundaries at
// every position, with lines of every length up to past two pieces.
TEST_F(IndexByBlocks, LargeAndRandomIndexes) {
    std::string large = "@INDEX\n";
    for (int i = 0; large.size() < 200000; ++i)
        large += "symloc S" + std::to_string(i) + std::string(static_cast<size_t>(i % 37), 'x') + ",A" +
                 std::to_string(i) + (i % 3 ? ":P" : "") + " " + std::to_string(i * 7) + " " + std::to_string(i % 50) +
                 (i % 4 ? "\n" : " b\n");
    expectSame(large + "*symbol S0\n", "a large index");
    expectSame(large, "a large index that ends the file");

    std::mt19937 random(20261123);
    const char alphabet[] = "symlocSYMLOC 0123456789-+:,b\t\r\n\n\n";
    for (int round = 0; round < 40; ++round) {
        std::string content;
        const size_t lines = 1 + random() % 3000;
        for (size_t n = 0; n < lines; ++n) {
            if (random() % 4) content += random() % 2 ? "symloc " : "SYMLOC\t";
            const size_t length = random() % 5 == 0 ? random() % 2500 : random() % 40;
            for (size_t k = 0; k < length; ++k)
                content += random() % 200 == 0 ? '\0' : alphabet[random() % (sizeof alphabet - 1)];
            content += random() % 10 ? "\n" : "\r\n";
        }
        if (random() % 2) content.pop_back();
        expectSame(content, "random round " + std::to_string(round));
    }
}

// An index line of exactly `length` bytes, line feed included (at least 20).
static std::string lineOfLength(size_t length, int number) {
    const std::string name = "N" + std::to_string(number) + ",", tail = " " + std::to_string(number) + " 7 b\n";
    return "symloc " + name + std::string(length - 7 - name.size() - tail.size(), 'x') + tail;
}

// Index lines up to exactly `position` bytes of content.
static void fillTo(std::string& content, size_t position) {
    for (int n = 0; position - content.size() > 60; ++n) content += lineOfLength(40, n);
    content += lineOfLength(position - content.size(), 99);
}

// Short and long lines that start just before the end of the first 64 KB
// block, and the first line behind the index across it.
TEST_F(IndexByBlocks, LinesAtTheBlockBoundary) {
    for (size_t before : {1, 6, 7, 8, 9, 1022, 1023, 1024, 1500})
        for (size_t length : {30, 1023, 2100}) {
            std::string content = "@INDEX\n";
            fillTo(content, 65536 - before);
            content += lineOfLength(length, 7) + "symloc Q 1 2\n";
            fillTo(content, 2 * 65536 + 5);
            expectSame(content + "*body\n", std::to_string(length) + " bytes at " + std::to_string(before) + " before");
        }
    std::string content;
    fillTo(content, 65536 - 10);
    expectSame(content + "*symbol " + std::string(40, 's') + "\n", "the index ends across the boundary");
}

// A short read: at most 7 bytes a call, so that lines cross every end of
// what was read.
static ssize_t readSeven(int fd, void* buffer, size_t size) { return read(fd, buffer, size < 7 ? size : 7); }

TEST_F(IndexByBlocks, FailedAndShortReads) {
    std::string content = "@INDEX\n";
    fillTo(content, 3 * 65536 + 100);
    LibraryFileItem* lib = library(content + "*body\n");
    // The n-th read fails: both readings stop there alike.
    for (unsigned long n = 1; n <= 5; ++n) {
        kvFaultAt(HostCall::Read, n, EIO);
        const std::vector<std::string> expected = indexByLines(path());
        kvFaultsClear();
        kvFaultAt(HostCall::Read, n, EIO);
        const std::vector<std::string> read = readByBlocks(lib);
        kvFaultsClear();
        EXPECT_EQ(read, expected) << "read " << n << " fails";
    }
    kvHost.read = readSeven;
    const std::vector<std::string> expected = indexByLines(path()), read = readByBlocks(lib);
    kvFaultsClear();
    EXPECT_EQ(read, expected) << "short reads";
    EXPECT_GT(read.size(), 4000u) << "the whole index read";
}

TEST_F(IndexByBlocks, TheEntriesBehindTheIndexAreNotRead) {
    LibraryFileItem* lib = library("@INDEX\nsymloc A 0 4\nsymloc B 4 4\n" + std::string(8 << 20, 'e'));
    kvFaultsClear();
    find(lib, "a");
    EXPECT_EQ(lib->getIndexEntries().size(), 2u);
    EXPECT_EQ(kvHostCallCount(HostCall::Read), 1u) << "one block of 8 MB read";
}
