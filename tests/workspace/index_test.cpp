// The indexes of a workspace give exactly what the plain walks of its item
// list give. The reference walks here follow the list as the listings are
// described: every item in order, asked for its type, category, locality,
// existence and listing, and the claiming rule by a walk of getTypeItems.
#include <random>

#include "workspace_test.h"

// The reference walk of getTypeItems.
static std::vector<fileItem*> walkTypeItems(DesignWorkspace& ws, int type) {
    std::vector<fileItem*> found;
    for (fileItem* item : ws.getFileItems())
        if (item->getFileType() == type) found.push_back(item);
    return found;
}

static std::string stemOf(fileItem* item) {
    std::string root;
    pathstring(std::string(item->getFullPath())).getRoot(root);
    return root;
}

static bool walkIsClaimed(DesignWorkspace& ws, fileItem* item) {
    for (int row = 0; row < membershipTableSize; ++row) {
        if (membershipTable[row].type != item->getFileType().value()) continue;
        int parentType = getParentTypeOfSubCategory(membershipTable[row].subCategory);
        for (fileItem* parent : walkTypeItems(ws, parentType))
            if (parent->getLocality() == KVE_Locality::Local && parent->exists() &&
                _stricmp(stemOf(parent).c_str(), stemOf(item).c_str()) == 0)
                return true;
    }
    return false;
}

// The reference walk of getCategoryItems.
static std::vector<fileItem*> walkCategoryItems(DesignWorkspace& ws, int category) {
    std::vector<fileItem*> found;
    for (fileItem* item : ws.getFileItems())
        if (item->getCategory() == category && item->getLocality() == KVE_Locality::Local && item->exists() &&
            item->isListed())
            found.push_back(item);
    if (category == KVE_fileCategoryEnum::MiscellaneousFiles)
        for (fileItem* item : ws.getFileItems())
            if (item->getLocality() == KVE_Locality::Local &&
                KVE_fileTypeEnum(item->getFileType().value()).getCategory() == KVE_fileCategoryEnum::invalid &&
                !walkIsClaimed(ws, item))
                found.push_back(item);
    return found;
}

static std::vector<fileItem*> asVector(fileItemList* list) {
    std::vector<fileItem*> items(list->begin(), list->end());
    delete list;
    return items;
}

// Every listing of ws against its reference walk, and the list's order.
static void expectIndexesMatchWalks(DesignWorkspace& ws, const char* when) {
    for (int category = 0; category <= KVE_fileCategoryEnum::invalid; ++category)
        EXPECT_EQ(asVector(ws.getCategoryItems(category)), walkCategoryItems(ws, category))
            << "category " << category << " " << when;
    checkedItems(ws, std::string(" ") + when);
}

TEST(WorkspaceIndexes, ListingsEqualThePlainWalksThroughChanges) {
    std::mt19937 random(20261122);
    const std::vector<std::string> stems = {"amp", "Amp", "osc", "board", "cpu", "io", "_x", "1st", "mem", "top"};
    const std::vector<std::string> extensions = {"sch", "SCH", "cir", "net", "bom", "out", "1op", "pca", "g01", "d02",
                                                 "dsl", "jed", "j1",  "r12", "txt", "dat", "edf", "log", "xyz", "rdm",
                                                 "doc", "slb", "plb", "lib", "inc", "mif", "",    "csd", "mdf", "asc"};
    auto content = [&random](const std::string& ext) -> std::string {
        switch (random() % 3) {
        case 0: return "";
        case 1: return ext == "dat" ? "\xFF data" : ext == "doc" ? "FKDocument" : "*version 1\n";
        default: return "#H plain text\n";
        }
    };
    TempDir dir;
    std::vector<std::string> names;
    for (int i = 0; i < 260; ++i) {
        std::string name = stems[random() % stems.size()] + std::to_string(random() % 4);
        if (random() % 5 == 0) name = stems[random() % stems.size()];
        std::string ext = extensions[random() % extensions.size()];
        if (!ext.empty()) name += "." + ext;
        names.push_back(name);
        writeFile(dir.host("ws/" + name), content(ext));
    }
    for (int i = 0; i < 40; ++i) writeFile(dir.host("ws/sub/s" + std::to_string(i) + ".inc"), "x");
    auto opened = openOrFail(dir.engine("ws"));
    ASSERT_TRUE(opened);
    DesignWorkspace& ws = static_cast<DesignWorkspace&>(*opened);
    expectIndexesMatchWalks(ws, "after open");
    // The mix must exercise both sides of the claiming rule.
    int claimed = 0, unclaimed = 0;
    for (fileItem* item : ws.getFileItems())
        if (item->getCategory() == KVE_fileCategoryEnum::invalid) ++(walkIsClaimed(ws, item) ? claimed : unclaimed);
    EXPECT_GT(claimed, 5);
    EXPECT_GT(unclaimed, 5);

    // Files met outside the directory, in random order, some missing.
    for (int i = 39; i >= 0; i -= 3) ws.addFileItem(dir.engine("ws\\sub\\s" + std::to_string(i) + ".inc").c_str(), nullptr);
    for (int i = 0; i < 20; ++i)
        ws.addFileItem(dir.engine("ext\\" + names[random() % names.size()]).c_str(), nullptr);
    expectIndexesMatchWalks(ws, "after adding outside files");

    // Change, remove and add files, then refresh.
    for (int i = 0; i < 60; ++i) {
        const std::string& name = names[random() % names.size()];
        if (random() % 2)
            remove(dir.host("ws/" + name).c_str());
        else
            writeFile(dir.host("ws/" + name), content(name.substr(name.find('.') + 1)) + "changed");
    }
    writeFile(dir.host("ws/new.sch"), "*version 2\n");
    writeFile(dir.host("ws/new.net"), "");
    opened->refresh();
    expectIndexesMatchWalks(ws, "after refresh");
}
