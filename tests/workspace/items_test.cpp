// Items of a workspace: their order, refresh after files appear, vanish and
// change, addFileItem, look-ups, selection, and the record-based values.
#include <cstring>

#include "workspace_test.h"

typedef std::vector<std::string> Names;

class WorkspaceItems : public WorkspaceTest {
protected:
    // The workspace's own list, as paths relative to the test directory.
    Names itemOrder() {
        Names paths;
        for (fileItem* item : design().getFileItems()) paths.push_back(item->getFullPath() + dir.engine().size() + 1);
        return paths;
    }
    Names category(int c) { return baseNames(ws->getCategoryItems(c)); }
};

TEST_F(WorkspaceItems, OrderIsByNameWithoutRegardToCaseThenSubdirectoryThenExternal) {
    ASSERT_TRUE(open({{"ws/b.txt", ""}, {"ws/A.sch", ""}, {"ws/_x.dat", ""}, {"ws/2.out", ""}, {"ws/10.out", ""},
                      {"ws/a.cir", ""}, {"ws/z.sch", ""}, {"ws/lib/a.inc", ""}, {"ws/lib/q.inc", ""},
                      {"other/b.lib", ""}, {"other/0.lib", ""}},
                     "ws"));
    // Punctuation before digits before letters; subdirectories give nothing.
    EXPECT_EQ(baseNames(ws->getLocalItems()), (Names{"_x.dat", "10.out", "2.out", "a.cir", "A.sch", "b.txt", "z.sch"}));
    // Added out of order, as scans would meet them.
    for (const char* path : {"other\\b.lib", "ws\\lib\\q.inc", "other\\0.lib", "ws\\lib\\a.inc", "ws\\m.sch"})
        ASSERT_NE(add(path), nullptr) << path;
    EXPECT_EQ(itemOrder(), (Names{"ws\\_x.dat", "ws\\10.out", "ws\\2.out", "ws\\a.cir", "ws\\A.sch", "ws\\b.txt",
                                  "ws\\m.sch", "ws\\z.sch", "ws\\lib\\a.inc", "ws\\lib\\q.inc", "other\\0.lib",
                                  "other\\b.lib"}));
    EXPECT_TRUE(item("ws\\lib\\a.inc")->isLocalSubdir());
    EXPECT_TRUE(item("other\\b.lib")->isExternal());
    // The missing one is there, with exists false, and ordered like any other.
    fileItem* missing = item("ws\\m.sch");
    ASSERT_NE(missing, nullptr);
    EXPECT_FALSE(missing->exists());
    EXPECT_EQ(std::string(missing->getBaseName()), "m.sch");
    EXPECT_EQ(missing->getFileType().value(), KVE_fileTypeEnum::USER) << "a missing schematic fails its signature";
    // Listings by type ignore locality and existence, in item order.
    EXPECT_EQ(fullPaths(ws->getTypeItems(KVE_fileTypeEnum::INC)),
              (Names{dir.engine("ws\\lib\\a.inc"), dir.engine("ws\\lib\\q.inc")}));
}

TEST_F(WorkspaceItems, AddFileItemFindsExistingItemsWithoutRegardToCase) {
    ASSERT_TRUE(open({{"ws/Top.SCH", "*version\n"}, {"ext/Lib.inc", "x"}}, "ws"));
    fileItem* top = item("ws\\Top.SCH");
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(add("ws\\top.sch"), top);
    EXPECT_EQ(design().addFileItem((dir.engine() + "/WS/./TOP.sch").c_str(), nullptr), top) << "tidied first";
    // A new file outside takes the spelling the disk has.
    fileItem* lib = add("EXT\\LIB.INC");
    ASSERT_NE(lib, nullptr);
    EXPECT_EQ(std::string(lib->getFullPath()), dir.engine("ext\\Lib.inc"));
    EXPECT_TRUE(lib->exists());
    EXPECT_EQ(lib->getSize(), 1);
    EXPECT_EQ(add("ext\\lib.INC"), lib);
    EXPECT_EQ(itemOrder().size(), 2u);
}

TEST_F(WorkspaceItems, RefreshAddsNewFilesAndKeepsVanishedOnes) {
    ASSERT_TRUE(open({{"a.sch", "*version 1\n"}, {"b.txt", "#H data\n"}}));
    fileItem* a = item("a.sch");
    ASSERT_NE(a, nullptr);

    makeFiles(dir, {{"c.cir", "* circuit\n"}});
    EXPECT_EQ(item("c.cir"), nullptr) << "nothing is read before refresh";
    ASSERT_EQ(remove(dir.host("a.sch").c_str()), 0);
    ws->refresh();

    EXPECT_EQ(baseNames(ws->getLocalItems()), (Names{"a.sch", "b.txt", "c.cir"}));
    EXPECT_EQ(item("a.sch"), a) << "the vanished item is the same object";
    EXPECT_FALSE(a->exists());
    EXPECT_EQ(a->getFileType().value(), KVE_fileTypeEnum::SCH) << "it keeps its old type";
    EXPECT_TRUE(category(KVE_fileCategoryEnum::Sketchvane).empty());
    EXPECT_EQ(baseNames(ws->getTypeItems(KVE_fileTypeEnum::SCH)), Names{"a.sch"});
    EXPECT_EQ(category(KVE_fileCategoryEnum::FileBasedSimulation), Names{"c.cir"});

    // Back again: the same item exists once more.
    makeFiles(dir, {{"a.sch", "*version 2\n"}});
    ws->refresh();
    EXPECT_TRUE(a->exists());
    EXPECT_EQ(category(KVE_fileCategoryEnum::Sketchvane), Names{"a.sch"});
    EXPECT_EQ(baseNames(ws->getLocalItems()).size(), 3u);
}

TEST_F(WorkspaceItems, ChangedFileHasItsTypeDeterminedAgainAfterRefresh) {
    makeFiles(dir, {{"x.sch", "not a schematic\n"}});
    setModificationTime(dir.host("x.sch"), 1000000000);
    ASSERT_TRUE(open({}));
    fileItem* x = item("x.sch");
    ASSERT_NE(x, nullptr);
    EXPECT_EQ(x->getFileType().value(), KVE_fileTypeEnum::USER);
    EXPECT_EQ(category(KVE_fileCategoryEnum::UserFiles), Names{"x.sch"});

    // Same size, new content and time: the type is stale only once the
    // workspace has seen the new record.
    makeFiles(dir, {{"x.sch", "*VERSION 9.1 ok\n"}});
    setModificationTime(dir.host("x.sch"), 1000000100);
    EXPECT_EQ(x->getFileType().value(), KVE_fileTypeEnum::USER) << "no question touches the disk";
    ws->refresh();
    EXPECT_EQ(category(KVE_fileCategoryEnum::Sketchvane), Names{"x.sch"});
    EXPECT_TRUE(category(KVE_fileCategoryEnum::UserFiles).empty());
    EXPECT_EQ(x->getFileType().value(), KVE_fileTypeEnum::SCH);
    EXPECT_EQ(x->getCategory().value(), KVE_fileCategoryEnum::Sketchvane);

    // And back, seen first through getTypeItems.
    makeFiles(dir, {{"x.sch", "garbage garbage\n"}});
    setModificationTime(dir.host("x.sch"), 1000000200);
    ws->refresh();
    EXPECT_EQ(baseNames(ws->getTypeItems(KVE_fileTypeEnum::USER)), Names{"x.sch"});
    EXPECT_TRUE(baseNames(ws->getTypeItems(KVE_fileTypeEnum::SCH)).empty());
}

TEST_F(WorkspaceItems, LookUpsTidyAndIgnoreCaseButNeedAnAbsolutePath) {
    ASSERT_TRUE(open({{"ws/Board.pca", ""}, {"ws/sub/part.inc", ""}}, "ws"));
    fileItem* board = item("ws\\Board.pca");
    fileItem* part = add("ws\\sub\\part.inc");
    ASSERT_NE(board, nullptr);
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(ws->findItem((dir.engine("WS") + "\\\\x\\..\\BOARD.PCA").c_str()), board);
    EXPECT_EQ(ws->findItem(("\"" + dir.engine("ws") + "/board.pca\"").c_str()), board);
    EXPECT_EQ(ws->findItem("board.pca"), nullptr) << "a relative path is not made absolute";
    EXPECT_EQ(ws->findItem(nullptr), nullptr);
    EXPECT_EQ(ws->findItemRelative("BOARD.pca"), board);
    EXPECT_EQ(ws->findItemRelative("sub\\PART.INC"), part);
    EXPECT_EQ(ws->findItemRelative(".\\sub\\..\\board.pca"), board);
    EXPECT_EQ(ws->findItemRelative("nothing.pca"), nullptr);
    EXPECT_EQ(ws->findCheckPointItem("anything"), nullptr);
}

TEST_F(WorkspaceItems, SelectionReachesWhatEachCallPromises) {
    ASSERT_TRUE(open({{"ws/a.sch", ""}, {"ws/b.cir", ""}, {"ws/sub/c.inc", ""}, {"ext/d.lib", ""}}, "ws"));
    add("ws\\sub\\c.inc");
    add("ext\\d.lib");

    ws->selectLocalItems();
    EXPECT_EQ(baseNames(ws->getSelectedItems()), (Names{"a.sch", "b.cir", "c.inc"}));
    ws->selectAllItems();
    EXPECT_EQ(baseNames(ws->getSelectedItems()), (Names{"a.sch", "b.cir", "c.inc", "d.lib"}));
    EXPECT_EQ(baseNames(ws->getSelectedLocalItems()), (Names{"a.sch", "b.cir", "c.inc"}));
    fileItemList appended;
    design().appendSelectedItems(appended);
    EXPECT_EQ(appended.size(), 4u);
    ws->deselectAllItems();
    EXPECT_TRUE(baseNames(ws->getSelectedItems()).empty());

    // Without scanned dependencies, a selection with dependencies is the
    // item alone, and the walk's marks are cleared again for the next one.
    fileItem* b = item("ws\\b.cir");
    b->selectWithDependencies(true);
    EXPECT_EQ(baseNames(ws->getSelectedItems()), Names{"b.cir"});
    b->deselect();
    b->selectWithAllDependencies(false);
    EXPECT_TRUE(b->isSelected()) << "a second walk must not see the marks of the first";
    EXPECT_EQ(static_cast<DesignFileItem*>(b)->getVisitMark(), 0u);
}

TEST_F(WorkspaceItems, SizeAndTimeComeFromTheFindRecord) {
    makeFiles(dir, {{"ws/five.txt", "12345"}});
    setModificationTime(dir.host("ws/five.txt"), 1600000000);
    ASSERT_TRUE(open({}, "ws"));
    fileItem* five = item("ws\\five.txt");
    ASSERT_NE(five, nullptr);
    EXPECT_EQ(five->getSize(), 5);
    const uint64_t expected = (1600000000ull + 11644473600ull) * 10000000ull;
    const FILETIME& time = five->getLastWriteTime();
    EXPECT_EQ((static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime, expected);
    EXPECT_STREQ(five->getDescription(), "");

    // The high half of the size counts 0xFFFFFFFF, not 2^32.
    WIN32_FIND_DATA record;
    memset(&record, 0, sizeof record);
    strcpy(record.cFileName, "huge.dat");
    record.nFileSizeHigh = 1;
    record.nFileSizeLow = 2;
    fileItem* huge = design().addFileItem(dir.engine("ws\\huge.dat").c_str(), &record);
    ASSERT_NE(huge, nullptr);
    EXPECT_EQ(huge->getSize(), 4294967297ll);
    EXPECT_TRUE(huge->exists()) << "a given record that is no directory means the file exists";

    // An item without a directory has no names and no locality.
    strcpy(record.cFileName, "folder");
    DesignFileItem folder(record, "", nullptr);
    EXPECT_STREQ(folder.getFullPath(), "");
    EXPECT_STREQ(folder.getBaseName(), "");
    EXPECT_EQ(folder.getLocality().value(), KVE_Locality::invalid);
    EXPECT_FALSE(folder.isLocal() || folder.isExternal() || folder.isSystem());
}

TEST_F(WorkspaceItems, NamesThatTidyingChangesAreFoundByTheirTidiedPath) {
    ASSERT_TRUE(open({{"ws/two words.sch", "*version\n"}, {"ws/ lead.txt", "#H\n"}, {"ws/quo\"te.cir", ""},
                      {"ws/tab\tname.net", ""}, {"ws/plain.net", ""}},
                     "ws"));
    const Names listed = {"lead.txt", "plain.net", "quote.cir", "tab name.net", "two words.sch"};
    EXPECT_EQ(baseNames(ws->getLocalItems()), listed);
    for (const char* name : {"two words.sch", " lead.txt", "quo\"te.cir", "tab\tname.net", "plain.net"}) {
        fileItem* found = item(std::string("ws\\") + name);
        ASSERT_NE(found, nullptr) << name;
        EXPECT_EQ(add(std::string("ws\\") + name), found) << name << ": no second item";
    }
    EXPECT_EQ(type("ws\\two words.sch"), "SCH");
    EXPECT_EQ(baseNames(ws->getLocalItems()), listed);
}
