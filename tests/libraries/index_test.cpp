// Reading a library's index and finding names in it: several names, parents,
// block marks, names inside longer names, unparsable numbers, the doubled
// last entry, where the offsets count from, and that a look-up through the
// name map answers exactly as a walk of the entries in file order.
#include "libtest.h"

#include <cstring>

#include "libraries/libraryitem.h"
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
