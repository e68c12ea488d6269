// Items of a workspace: their order, refresh after files appear, vanish and
// change, addFileItem, look-ups, selection, and the record-based values.
#include <cstring>

#include "workspace_test.h"

// The workspace's own list, as full paths.
static std::vector<std::string> itemOrder(workspace& ws) {
    std::vector<std::string> paths;
    for (fileItem* item : static_cast<DesignWorkspace&>(ws).getFileItems()) paths.push_back(item->getFullPath());
    return paths;
}

TEST(WorkspaceItems, LocalItemsAreOrderedByNameWithoutRegardToCase) {
    TempDir dir;
    makeFiles(dir, {{"ws/b.txt", ""}, {"ws/A.sch", ""}, {"ws/_x.dat", ""}, {"ws/2.out", ""},
                    {"ws/10.out", ""}, {"ws/a.cir", ""}, {"ws/sub/inner.inc", ""}});
    auto ws = openOrFail(dir.engine("ws"));
    ASSERT_TRUE(ws);
    // Punctuation before digits before letters; subdirectories give nothing.
    EXPECT_EQ(baseNames(ws->getLocalItems()),
              (std::vector<std::string>{"_x.dat", "10.out", "2.out", "a.cir", "A.sch", "b.txt"}));
}

TEST(WorkspaceItems, OrderIsLocalThenSubdirectoryThenExternal) {
    TempDir dir;
    makeFiles(dir, {{"ws/m.sch", ""}, {"ws/z.sch", ""}, {"ws/lib/a.inc", ""}, {"ws/lib/q.inc", ""},
                    {"other/b.lib", ""}, {"other/0.lib", ""}});
    auto ws = openOrFail(dir.engine("ws"));
    ASSERT_TRUE(ws);
    DesignWorkspace& design = static_cast<DesignWorkspace&>(*ws);
    // Added out of order, as scans would meet them.
    for (const char* path : {"other\\b.lib", "ws\\lib\\q.inc", "other\\0.lib", "ws\\lib\\a.inc", "ws\\a.sch"})
        ASSERT_NE(design.addFileItem(dir.engine(path).c_str(), nullptr), nullptr) << path;
    EXPECT_EQ(itemOrder(*ws), (std::vector<std::string>{
                                  dir.engine("ws\\a.sch"), dir.engine("ws\\m.sch"), dir.engine("ws\\z.sch"),
                                  dir.engine("ws\\lib\\a.inc"), dir.engine("ws\\lib\\q.inc"),
                                  dir.engine("other\\0.lib"), dir.engine("other\\b.lib")}));
    EXPECT_TRUE(ws->findItem(dir.engine("ws\\lib\\a.inc").c_str())->isLocalSubdir());
    EXPECT_TRUE(ws->findItem(dir.engine("other\\b.lib").c_str())->isExternal());
    // The missing one is there, with exists false, and ordered like any other.
    fileItem* missing = ws->findItem(dir.engine("ws\\a.sch").c_str());
    ASSERT_NE(missing, nullptr);
    EXPECT_FALSE(missing->exists());
    EXPECT_EQ(std::string(missing->getBaseName()), "a.sch");
    EXPECT_EQ(missing->getFileType().value(), KVE_fileTypeEnum::USER) << "a missing schematic fails its signature";
    // Listings by type ignore locality and existence, in item order.
    EXPECT_EQ(fullPaths(ws->getTypeItems(KVE_fileTypeEnum::INC)),
              (std::vector<std::string>{dir.engine("ws\\lib\\a.inc"), dir.engine("ws\\lib\\q.inc")}));
}

TEST(WorkspaceItems, AddFileItemFindsExistingItemsWithoutRegardToCase) {
    TempDir dir;
    makeFiles(dir, {{"ws/Top.SCH", "*version\n"}, {"ext/Lib.inc", "x"}});
    auto ws = openOrFail(dir.engine("ws"));
    ASSERT_TRUE(ws);
    DesignWorkspace& design = static_cast<DesignWorkspace&>(*ws);
    fileItem* top = ws->findItem(dir.engine("ws\\Top.SCH").c_str());
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(design.addFileItem(dir.engine("ws\\top.sch").c_str(), nullptr), top);
    EXPECT_EQ(design.addFileItem((dir.engine() + "/WS/./TOP.sch").c_str(), nullptr), top) << "tidied first";
    // A new file outside takes the spelling the disk has.
    fileItem* lib = design.addFileItem(dir.engine("EXT\\LIB.INC").c_str(), nullptr);
    ASSERT_NE(lib, nullptr);
    EXPECT_EQ(std::string(lib->getFullPath()), dir.engine("ext\\Lib.inc"));
    EXPECT_TRUE(lib->exists());
    EXPECT_EQ(lib->getSize(), 1);
    EXPECT_EQ(design.addFileItem(dir.engine("ext\\lib.INC").c_str(), nullptr), lib);
    EXPECT_EQ(itemOrder(*ws).size(), 2u);
}

TEST(WorkspaceItems, RefreshAddsNewFilesAndKeepsVanishedOnes) {
    TempDir dir;
    makeFiles(dir, {{"a.sch", "*version 1\n"}, {"b.txt", "#H data\n"}});
    auto ws = openOrFail(dir.engine());
    ASSERT_TRUE(ws);
    fileItem* a = ws->findItem(dir.engine("a.sch").c_str());
    ASSERT_NE(a, nullptr);

    makeFiles(dir, {{"c.cir", "* circuit\n"}});
    EXPECT_EQ(ws->findItem(dir.engine("c.cir").c_str()), nullptr) << "nothing is read before refresh";
    ASSERT_EQ(remove(dir.host("a.sch").c_str()), 0);
    ws->refresh();

    EXPECT_EQ(baseNames(ws->getLocalItems()), (std::vector<std::string>{"a.sch", "b.txt", "c.cir"}));
    EXPECT_EQ(ws->findItem(dir.engine("a.sch").c_str()), a) << "the vanished item is the same object";
    EXPECT_FALSE(a->exists());
    EXPECT_EQ(a->getFileType().value(), KVE_fileTypeEnum::SCH) << "it keeps its old type";
    EXPECT_TRUE(baseNames(ws->getCategoryItems(KVE_fileCategoryEnum::Sketchvane)).empty());
    EXPECT_EQ(baseNames(ws->getTypeItems(KVE_fileTypeEnum::SCH)), std::vector<std::string>{"a.sch"});
    EXPECT_EQ(baseNames(ws->getCategoryItems(KVE_fileCategoryEnum::FileBasedSimulation)),
              std::vector<std::string>{"c.cir"});

    // Back again: the same item exists once more.
    makeFiles(dir, {{"a.sch", "*version 2\n"}});
    ws->refresh();
    EXPECT_TRUE(a->exists());
    EXPECT_EQ(baseNames(ws->getCategoryItems(KVE_fileCategoryEnum::Sketchvane)), std::vector<std::string>{"a.sch"});
    EXPECT_EQ(baseNames(ws->getLocalItems()).size(), 3u);
}

TEST(WorkspaceItems, ChangedFileHasItsTypeDeterminedAgainAfterRefresh) {
    TempDir dir;
    makeFiles(dir, {{"x.sch", "not a schematic\n"}});
    setModificationTime(dir.host("x.sch"), 1000000000);
    auto ws = openOrFail(dir.engine());
    ASSERT_TRUE(ws);
    fileItem* x = ws->findItem(dir.engine("x.sch").c_str());
    ASSERT_NE(x, nullptr);
    EXPECT_EQ(x->getFileType().value(), KVE_fileTypeEnum::USER);
    EXPECT_EQ(baseNames(ws->getCategoryItems(KVE_fileCategoryEnum::UserFiles)), std::vector<std::string>{"x.sch"});

    // Same size, new content and time: the type is stale only once the
    // workspace has seen the new record.
    makeFiles(dir, {{"x.sch", "*VERSION 9.1 ok\n"}});
    setModificationTime(dir.host("x.sch"), 1000000100);
    EXPECT_EQ(x->getFileType().value(), KVE_fileTypeEnum::USER) << "no question touches the disk";
    ws->refresh();
    EXPECT_EQ(baseNames(ws->getCategoryItems(KVE_fileCategoryEnum::Sketchvane)), std::vector<std::string>{"x.sch"});
    EXPECT_TRUE(baseNames(ws->getCategoryItems(KVE_fileCategoryEnum::UserFiles)).empty());
    EXPECT_EQ(x->getFileType().value(), KVE_fileTypeEnum::SCH);
    EXPECT_EQ(x->getCategory().value(), KVE_fileCategoryEnum::Sketchvane);

    // And back, seen first through getTypeItems.
    makeFiles(dir, {{"x.sch", "garbage garbage\n"}});
    setModificationTime(dir.host("x.sch"), 1000000200);
    ws->refresh();
    EXPECT_EQ(baseNames(ws->getTypeItems(KVE_fileTypeEnum::USER)), std::vector<std::string>{"x.sch"});
    EXPECT_TRUE(baseNames(ws->getTypeItems(KVE_fileTypeEnum::SCH)).empty());
}

TEST(WorkspaceItems, LookUpsTidyAndIgnoreCaseButNeedAnAbsolutePath) {
    TempDir dir;
    makeFiles(dir, {{"ws/Board.pca", ""}, {"ws/sub/part.inc", ""}});
    auto ws = openOrFail(dir.engine("ws"));
    ASSERT_TRUE(ws);
    DesignWorkspace& design = static_cast<DesignWorkspace&>(*ws);
    fileItem* board = ws->findItem(dir.engine("ws\\Board.pca").c_str());
    fileItem* part = design.addFileItem(dir.engine("ws\\sub\\part.inc").c_str(), nullptr);
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

TEST(WorkspaceItems, SelectionReachesWhatEachCallPromises) {
    TempDir dir;
    makeFiles(dir, {{"ws/a.sch", ""}, {"ws/b.cir", ""}, {"ws/sub/c.inc", ""}, {"ext/d.lib", ""}});
    auto ws = openOrFail(dir.engine("ws"));
    ASSERT_TRUE(ws);
    DesignWorkspace& design = static_cast<DesignWorkspace&>(*ws);
    design.addFileItem(dir.engine("ws\\sub\\c.inc").c_str(), nullptr);
    design.addFileItem(dir.engine("ext\\d.lib").c_str(), nullptr);

    ws->selectLocalItems();
    EXPECT_EQ(baseNames(ws->getSelectedItems()), (std::vector<std::string>{"a.sch", "b.cir", "c.inc"}));
    ws->selectAllItems();
    EXPECT_EQ(baseNames(ws->getSelectedItems()), (std::vector<std::string>{"a.sch", "b.cir", "c.inc", "d.lib"}));
    EXPECT_EQ(baseNames(ws->getSelectedLocalItems()), (std::vector<std::string>{"a.sch", "b.cir", "c.inc"}));
    fileItemList appended;
    design.appendSelectedItems(appended);
    EXPECT_EQ(appended.size(), 4u);
    ws->deselectAllItems();
    EXPECT_TRUE(baseNames(ws->getSelectedItems()).empty());

    // Without scanned dependencies, a selection with dependencies is the
    // item alone, and the walk's marks are cleared again for the next one.
    fileItem* b = ws->findItem(dir.engine("ws\\b.cir").c_str());
    b->selectWithDependencies(true);
    EXPECT_EQ(baseNames(ws->getSelectedItems()), std::vector<std::string>{"b.cir"});
    b->deselect();
    b->selectWithAllDependencies(false);
    EXPECT_TRUE(b->isSelected()) << "a second walk must not see the marks of the first";
    EXPECT_EQ(static_cast<DesignFileItem*>(b)->getVisitMark(), 0u);
}

TEST(WorkspaceItems, SizeAndTimeComeFromTheFindRecord) {
    TempDir dir;
    makeFiles(dir, {{"ws/five.txt", "12345"}});
    setModificationTime(dir.host("ws/five.txt"), 1600000000);
    auto ws = openOrFail(dir.engine("ws"));
    ASSERT_TRUE(ws);
    fileItem* five = ws->findItem(dir.engine("ws\\five.txt").c_str());
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
    fileItem* huge = static_cast<DesignWorkspace&>(*ws).addFileItem(dir.engine("ws\\huge.dat").c_str(), &record);
    ASSERT_NE(huge, nullptr);
    EXPECT_EQ(huge->getSize(), 4294967297ll);
    EXPECT_TRUE(huge->exists()) << "a given record that is no directory means the file exists";
}

TEST(WorkspaceItems, ItemWithoutDirectoryHasNoNamesAndInvalidLocality) {
    WIN32_FIND_DATA record;
    memset(&record, 0, sizeof record);
    strcpy(record.cFileName, "folder");
    DesignFileItem item(record, "", nullptr);
    EXPECT_STREQ(item.getFullPath(), "");
    EXPECT_STREQ(item.getBaseName(), "");
    EXPECT_EQ(item.getLocality().value(), KVE_Locality::invalid);
    EXPECT_FALSE(item.isLocal() || item.isExternal() || item.isSystem());
}

TEST(WorkspaceItems, NamesThatTidyingChangesAreFoundByTheirTidiedPath) {
    TempDir dir;
    makeFiles(dir, {{"ws/two words.sch", "*version\n"}, {"ws/ lead.txt", "#H\n"}, {"ws/quo\"te.cir", ""},
                    {"ws/tab\tname.net", ""}, {"ws/plain.net", ""}});
    auto ws = openOrFail(dir.engine("ws"));
    ASSERT_TRUE(ws);
    DesignWorkspace& design = static_cast<DesignWorkspace&>(*ws);
    EXPECT_EQ(baseNames(ws->getLocalItems()),
              (std::vector<std::string>{"lead.txt", "plain.net", "quote.cir", "tab name.net", "two words.sch"}));
    for (const char* name : {"two words.sch", " lead.txt", "quo\"te.cir", "tab\tname.net", "plain.net"}) {
        const std::string path = dir.engine("ws") + "\\" + name;
        fileItem* item = ws->findItem(path.c_str());
        ASSERT_NE(item, nullptr) << name;
        EXPECT_EQ(design.addFileItem(path.c_str(), nullptr), item) << name << ": no second item";
    }
    EXPECT_EQ(typeOf(*ws, dir.engine("ws") + "\\two words.sch"), "SCH");
    EXPECT_EQ(baseNames(ws->getLocalItems()).size(), 5u);
}
