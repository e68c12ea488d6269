// The workspace side of operations: the four starts (current directory,
// begin and finish, the options of a restore), the library items of a
// workspace, the discarding of cached scan results with one and with two
// workspaces open, and the sweep that deletes exactly the items no Local
// item reaches.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <unistd.h>
#include <vector>

#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"
#include "operations/copy.h"
#include "support/guards.h"
#include "support/recorders.h"
#include "support/tempdir.h"
#include "workspace/context.h"
#include "workspace/workspace.h"

// The scans that fill an item's lists come later; the tests reach the lists
// as a scan does, through a derived class.
struct ItemLists : DesignFileItem {
    static std::list<fileItem*>& dependencies(fileItem* i) { return asDesign(i)->*&ItemLists::fileDependencies; }
    static std::list<fileItem*>& system(fileItem* i) { return asDesign(i)->*&ItemLists::systemDependencies; }
    static std::vector<fileItem*>& libraries(fileItem* i) { return asDesign(i)->*&ItemLists::usedLibraries; }
    static std::list<libraryUsage*>& symbols(fileItem* i) { return asDesign(i)->*&ItemLists::usedSymbols; }
    static std::list<libraryUsage*>& models(fileItem* i) { return asDesign(i)->*&ItemLists::usedModels; }
    static fileStamp& scanned(fileItem* i) { return asDesign(i)->*&ItemLists::scanStamp; }
    static DesignFileItem* asDesign(fileItem* i) { return static_cast<DesignFileItem*>(i); }
};

class Starts : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(dir.host("ws/a.sch"), "a");
        writeFile(dir.host("ws/b.sch"), "b");
        writeFile(dir.host("ext/e1.cir"), "1");
        writeFile(dir.host("ext/e2.cir"), "2");
        writeFile(dir.host("ext/e3.cir"), "3");
        writeFile(dir.host("libs/l1.slb"), "symloc R 0 1\n*\n");
        writeFile(dir.host("libs/l2.slb"), "symloc C 0 1\n*\n");
        ws = open("ws");
        options.localize = KVE_localizeEnum::IncludeNone;
    }
    void TearDown() override { delete ws; }
    DesignWorkspace* open(const char* name) {
        KVE_Status status;
        return static_cast<DesignWorkspace*>(OpenWorkspace(status, dir.engine(name).c_str()));
    }
    fileItem* local(const char* name) { return ws->findItem((dir.engine("ws") + "\\" + name).c_str()); }
    fileItem* external(const char* name) { return ws->addFileItem(dir.engine(name).c_str(), nullptr); }
    LibraryFileItem* library(DesignWorkspace* w, const char* name) {
        return static_cast<LibraryFileItem*>(w->addLibraryItem(dir.engine(name).c_str(), nullptr));
    }
    std::vector<std::string> names(const std::list<fileItem*>& items) {
        std::vector<std::string> out;
        for (fileItem* i : items) out.push_back(i->getBaseName());
        std::sort(out.begin(), out.end());
        return out;
    }

    TempDir dir;
    DesignWorkspace* ws = nullptr;
    copyOptions options;
    RecordingClient client;
    CwdGuard cwdGuard; // each start changes the current directory
};

typedef std::vector<int> Actions;
typedef std::vector<std::string> Names;

TEST_F(Starts, EachStartSetsTheCurrentDirectoryAndRunsItsOperation) {
    std::string target = dir.engine("out");
    struct Case {
        void (DesignWorkspace::*start)(callBack*, const char*, copyOptions*);
        int begin, finish;
    } cases[] = {
        {&DesignWorkspace::copyDesign, KVE_callBackAction::BeginningCopy, KVE_callBackAction::FinishedCopy},
        {&DesignWorkspace::moveDesign, KVE_callBackAction::BeginningMove, KVE_callBackAction::FinishedMove},
        {&DesignWorkspace::archiveDesign, KVE_callBackAction::BeginningArchive, KVE_callBackAction::FinishedArchive},
        {&DesignWorkspace::restoreDesign, KVE_callBackAction::BeginningRestore, KVE_callBackAction::FinishedRestore},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(chdir(dir.host().c_str()), 0);
        client.seen.clear();
        (ws->*c.start)(&client, target.c_str(), &options);
        EXPECT_EQ(client.actions(), (Actions{c.begin, c.finish}));
        char cwd[MAX_PATH];
        GetCurrentDirectoryA(sizeof cwd, cwd);
        EXPECT_EQ(std::string(cwd), dir.engine("ws")) << "the process stays in the workspace directory";
    }
}

TEST_F(Starts, RestoreOverwritesTheClientsOptions) {
    options.includeCheckPoints = false;
    options.includeSecondaryFiles = false;
    ws->restoreDesign(&client, dir.engine("a.ma").c_str(), &options);
    EXPECT_EQ(options.localize.value(), KVE_localizeEnum::IncludeLocal);
    EXPECT_TRUE(options.includeCheckPoints);
    EXPECT_TRUE(options.includeSecondaryFiles);
    copyOptions untouched;
    untouched.localize = KVE_localizeEnum::LocalizeAll;
    ws->copyDesign(&client, dir.engine("out").c_str(), &untouched);
    EXPECT_EQ(untouched.localize.value(), KVE_localizeEnum::LocalizeAll) << "a copy leaves them alone";
}

TEST_F(Starts, LibraryItems) {
    LibraryFileItem* l1 = library(ws, "libs\\l1.slb");
    ASSERT_NE(l1, nullptr);
    EXPECT_TRUE(l1->exists());
    EXPECT_EQ(library(ws, "LIBS\\L1.SLB"), l1) << "the same file, another case";
    EXPECT_EQ(ws->findLibraryItem(dir.engine("libs\\L1.slb").c_str()), l1);
    EXPECT_EQ(ws->findItem(l1->getFullPath()), nullptr) << "library items are a list of their own";
    LibraryFileItem* gone = library(ws, "libs\\gone.slb");
    EXPECT_FALSE(gone->exists());
    EXPECT_EQ(std::string(gone->getBaseName()), "gone.slb");
    EXPECT_EQ(ws->getLibraryItems().back(), gone) << "appended in order of first use";
    EXPECT_TRUE(l1->isExternal());
    EXPECT_EQ(l1->isSystemLibrary(), l1->isSystem());
    EXPECT_EQ(ws->findLibraryItem(dir.engine("libs\\none.slb").c_str()), nullptr);
}

TEST_F(Starts, SweepDeletesExactlyTheUnreachedItems) {
    fileItem* a = local("a.sch");
    fileItem* e1 = external("ext\\e1.cir");
    fileItem* e2 = external("ext\\e2.cir");
    fileItem* e3 = external("ext\\e3.cir");
    LibraryFileItem* l1 = library(ws, "libs\\l1.slb");
    LibraryFileItem* l2 = library(ws, "libs\\l2.slb");
    ASSERT_TRUE(a && e1 && e2 && e3 && l1 && l2);
    ItemLists::dependencies(a).push_back(e1);
    ItemLists::system(e1).push_back(a); // a cycle back to the root
    ItemLists::libraries(e1).push_back(l1);
    ItemLists::dependencies(e2).push_back(e3); // e2 and e3 hang on nothing Local
    ItemLists::libraries(e3).push_back(l2);

    ws->copyDesign(&client, dir.engine("out").c_str(), &options);

    EXPECT_EQ(names(ws->getFileItems()), (Names{"a.sch", "b.sch", "e1.cir"}));
    EXPECT_EQ(names(ws->getLibraryItems()), Names{"l1.slb"});
    EXPECT_EQ(ws->findItem(dir.engine("ext\\e2.cir").c_str()), nullptr) << "the index forgets them too";
    for (fileItem* i : ws->getFileItems())
        EXPECT_EQ(ItemLists::asDesign(i)->getVisitMark(), 0u) << "marks cleared after the sweep: " << i->getBaseName();
    EXPECT_EQ(ItemLists::asDesign(l1)->getVisitMark(), 0u);
}

TEST_F(Starts, DiscardingScanResultsReleasesIndexesOnlyWithOneWorkspaceOpen) {
    fileItem* a = local("a.sch");
    LibraryFileItem* l1 = library(ws, "libs\\l1.slb");
    RecordingOperation op;
    auto use = [&] {
        libraryIndexEntry* entry = l1->findIndexEntry("r", op);
        ASSERT_NE(entry, nullptr);
        ItemLists::symbols(a).push_back(new libraryUsage(l1, entry, "r"));
        ItemLists::models(a).push_back(new libraryUsage(l1, entry, "m"));
        ItemLists::scanned(a).sizeLow = 1;
        ItemLists::dependencies(a).push_back(local("b.sch"));
    };

    use();
    DesignWorkspace* second = open("ws2");
    ASSERT_EQ(openWorkspaceCount, 2u);
    ws->discardScanResults(false);
    EXPECT_TRUE(ItemLists::symbols(a).empty());
    EXPECT_TRUE(ItemLists::models(a).empty());
    EXPECT_TRUE(ItemLists::scanned(a).isZero());
    EXPECT_FALSE(l1->getIndexEntries().empty()) << "two workspaces open: the index stays";
    EXPECT_EQ(ItemLists::dependencies(a).size(), 1u) << "dependencies stay without alsoDependencies";
    delete second;

    ItemLists::dependencies(a).clear();
    use();
    ws->discardScanResults(true);
    EXPECT_TRUE(l1->getIndexEntries().empty()) << "one workspace open: the index goes";
    EXPECT_TRUE(ItemLists::dependencies(a).empty());
    EXPECT_TRUE(ItemLists::scanned(a).isZero());
}

TEST_F(Starts, DependenciesAreForgottenOnAReloadOfTheIniContext) {
    fileItem* a = local("a.sch");
    ItemLists::dependencies(a).push_back(local("b.sch"));
    ItemLists::scanned(a).sizeLow = 1;
    SetIniFileContext(dir.engine("none.ini").c_str(), nullptr);
    EXPECT_EQ(ItemLists::dependencies(a).size(), 1u) << "the first set makes the configuration only";
    SetIniFileContext(dir.engine("none.ini").c_str(), nullptr);
    EXPECT_TRUE(ItemLists::dependencies(a).empty()) << "a reload discards every workspace's scans";
    EXPECT_TRUE(ItemLists::scanned(a).isZero());
    RemoveIniFileContext();
}

TEST_F(Starts, ItemsOnTheLibraryPathAreSystem) {
    writeFile(dir.host("ctx.ini"), "[TARNEL]\nLIBPATH=" + dir.engine("libs") + "\n");
    writeFile(dir.host("libs/sub/deep.slb"), "");
    SetIniFileContext(dir.engine("ctx.ini").c_str(), nullptr);
    fileItem* onPath = external("libs\\l2.slb");
    fileItem* below = external("libs\\sub\\deep.slb");
    EXPECT_TRUE(onPath->isSystem());
    EXPECT_TRUE(onPath->isSystemLibrary());
    EXPECT_TRUE(below->isExternal()) << "a subdirectory of a library directory is not one";
    RemoveIniFileContext();
    fileItem* later = external("libs\\l1.slb");
    EXPECT_TRUE(later->isExternal()) << "without a configuration nothing is System";
    EXPECT_TRUE(onPath->isSystem()) << "an item keeps the locality it got";
}
