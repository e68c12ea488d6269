// The shortcuts of opening a workspace against what the plain list gives:
// entries that a directory listing delivers out of item order (held back
// while the directory is read, then merged in), the path table's look-ups
// without regard to case, and items taken out again.
#include "workspace_test.h"

TEST(OpenShortcuts, EntriesOutOfListingOrderTakeTheirPlace) {
    TempDir dir;
    // The listing sorts "_" after the letters and digits, the items before
    // them: every "_" name below arrives late and must go far back.
    fileSet files;
    for (int i = 0; i < 30; ++i) {
        const std::string n = std::to_string(i);
        files.push_back({"ws/d" + n + ".sch", "*version 9\n"});
        files.push_back({"ws/d" + n + "_old.sch", "*version 8\n"});
        files.push_back({"ws/d" + n + "a.txt", "#H text\n"});
        files.push_back({"ws/d" + n + "[1].log", "log\n"});
        files.push_back({"ws/_" + n + ".net", "net\n"});
    }
    makeFiles(dir, files);
    auto opened = openOrFail(dir.engine("ws"));
    ASSERT_TRUE(opened);
    DesignWorkspace& ws = static_cast<DesignWorkspace&>(*opened);
    std::vector<std::string> names = checkedItems(ws);
    ASSERT_EQ(names.size(), files.size());
    EXPECT_EQ(names.front(), "_0.net:NET");
    // After the 30 "_" names, punctuation before digits before letters.
    const std::vector<std::string> d0(names.begin() + 30, names.begin() + 35);
    EXPECT_EQ(d0, (std::vector<std::string>{"d0.sch:SCH", "d0[1].log:LOG", "d0_old.sch:SCH", "d0a.txt:TXT",
                                            "d1.sch:SCH"}));
    EXPECT_EQ(baseNames(ws.getTypeItems(KVE_fileTypeEnum::SCH)).size(), 60u);

    // More late names while the workspace is open: a refresh merges them
    // among the items it has, and a second one changes nothing.
    for (int i = 0; i < 30; i += 3) writeFile(dir.host("ws/d" + std::to_string(i) + "_new.sch"), "*version 9\n");
    writeFile(dir.host("ws/__first.sch"), "*version 9\n");
    opened->refresh();
    names = checkedItems(ws);
    EXPECT_EQ(names.size(), files.size() + 11);
    EXPECT_EQ(names.front(), "__first.sch:SCH");
    opened->refresh();
    EXPECT_EQ(checkedItems(ws), names);
}

TEST(OpenShortcuts, NamesEqualButForCaseMakeOneItem) {
    TempDir dir;
    // Two entries on a host that tells case apart; the workspace does not,
    // so the second joins the first item (and gives it its record).
    writeFile(dir.host("ws/Top.sch"), "*version 9\n");
    writeFile(dir.host("ws/TOP.SCH"), "*version 9 and more\n");
    writeFile(dir.host("ws/top_x.sch"), "*version 9\n");
    auto opened = openOrFail(dir.engine("ws"));
    ASSERT_TRUE(opened);
    DesignWorkspace& ws = static_cast<DesignWorkspace&>(*opened);
    std::vector<std::string> names = checkedItems(ws);
    ASSERT_EQ(names.size(), 2u);
    fileItem* top = ws.findItem(dir.engine("ws\\top.sch").c_str());
    ASSERT_NE(top, nullptr);
    EXPECT_TRUE(top->exists());
    EXPECT_EQ(ws.findItem(dir.engine("ws\\tOp.ScH").c_str()), top);
    EXPECT_EQ(ws.findItem(dir.engine("ws\\top.sc").c_str()), nullptr) << "a prefix is no match";
    EXPECT_EQ(ws.findItem(dir.engine("ws\\top.sch2").c_str()), nullptr);
    EXPECT_EQ(ws.addFileItem(dir.engine("ws\\TOP.sch").c_str(), nullptr), top);
}

TEST(OpenShortcuts, ItemsTakenOutAreNotFoundAndOthersStay) {
    TempDir dir;
    fileSet files;
    for (int i = 0; i < 200; ++i) files.push_back({"ws/f" + std::to_string(i) + ".sch", "*version 9\n"});
    makeFiles(dir, files);
    auto opened = openOrFail(dir.engine("ws"));
    ASSERT_TRUE(opened);
    DesignWorkspace& ws = static_cast<DesignWorkspace&>(*opened);
    // Take out every other item: the path table keeps finding the rest past
    // the removed slots, and an item added again takes a slot anew.
    std::vector<fileItem*> taken;
    for (int i = 0; i < 200; i += 2) {
        fileItem* item = ws.findItem(dir.engine("ws\\f" + std::to_string(i) + ".sch").c_str());
        ASSERT_NE(item, nullptr);
        ws.unlinkFileItem(item);
        taken.push_back(item);
    }
    for (int i = 0; i < 200; ++i) {
        fileItem* item = ws.findItem(dir.engine("ws\\F" + std::to_string(i) + ".SCH").c_str());
        EXPECT_EQ(item == nullptr, i % 2 == 0) << i;
    }
    EXPECT_EQ(baseNames(ws.getTypeItems(KVE_fileTypeEnum::SCH)).size(), 100u);
    for (fileItem* item : taken) delete item;
    opened->refresh();
    EXPECT_EQ(checkedItems(ws).size(), 200u);
}

// An item's names are its directory tidied, the name appended as a path
// component, and the two parts of that again; the item forms them without
// tidying where that changes nothing, and must come out the same.
TEST(OpenShortcuts, ItemNamesAreThoseOfAppendingTheName) {
    const char* directories[] = {"Z:\\ws\\",    "Z:\\ws",          "z:/a b/ c /",  "Z:\\a\\..\\b\\.\\",
                                 "Z:\\x...\\", "\\\\srv\\share\\d", "Z:\\\"q\"\\ ", "Z:\\"};
    const char* names[] = {"top.sch", "a b.sch", "...", ".hidden", "x.", " lead", "tail ", "q\"x", "d1_old.g01", "\xE9t\xE9.sch"};
    for (const char* directory : directories) {
        for (const char* name : names) {
            WIN32_FIND_DATA record{};
            strncpy(record.cFileName, name, sizeof record.cFileName - 1);
            DesignFileItem item(record, directory, nullptr);
            pathstring expected(directory); // tidied on assignment
            expected.tidyUp(false);
            expected.appendComponent(name);
            std::string base, path;
            expected.getBase(base);
            expected.getPath(path);
            EXPECT_EQ(std::string(item.getFullPath()), std::string(expected)) << directory << " + " << name;
            EXPECT_EQ(std::string(item.getBaseName()), base) << directory << " + " << name;
            EXPECT_EQ(std::string(item.getDirectoryString()), path) << directory << " + " << name;
        }
    }
}
