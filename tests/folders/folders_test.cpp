// Folders beneath design files, on real workspaces: which folders a file
// has, what each holds (members by stem and type, dependencies by
// locality), what a tree is shown, selection through folders, and the
// factory.
#include <algorithm>
#include <cstdio>

#include "libraries/libtest.h"
#include "platform/platform.h"
#include "resources/resources.h"
#include "workspace/subcategory.h"
#include "workspace/workspace.h"
#include "workspace/workspace_test.h"

namespace {

const char schematic[] = "*version 9.1\n";

// Silences the scan's trace lines for the life of a test.
struct QuietTrace {
    QuietTrace() { SetTraceOutput(nullptr); }
    ~QuietTrace() { SetTraceOutput(stdout); }
};

class Folders : public ::testing::Test {
protected:
    // Writes files below ws/ and opens ws as a workspace.
    void open(const fileSet& files) {
        fileSet inWorkspace;
        for (const auto& file : files) inWorkspace.push_back({"ws/" + file.first, file.second});
        makeFiles(dir, inWorkspace);
        ws = openOrFail(dir.engine("ws"));
    }
    DesignFileItem* item(const std::string& name) {
        fileItem* found = ws->findItem(dir.engine("ws/" + name).c_str());
        EXPECT_NE(found, nullptr) << name;
        return dynamic_cast<DesignFileItem*>(found);
    }
    // The folder of value beneath the file name, or null if it has none.
    subCategoryDesignFileItem* folder(const std::string& name, int value) {
        DesignFileItem* parent = item(name);
        if (!parent) return nullptr;
        parent->buildSubCategoryItems();
        for (fileItem* each : parent->getSubCategoryItems())
            if (each->getCategory().value() == value) return dynamic_cast<subCategoryDesignFileItem*>(each);
        return nullptr;
    }
    std::vector<std::string> content(const std::string& name, int value) {
        subCategoryDesignFileItem* f = folder(name, value);
        if (!f) return {"(no folder)"};
        return baseNames(f->getChildren(nullptr, 0));
    }
    DesignWorkspace& design() { return *dynamic_cast<DesignWorkspace*>(ws.get()); }

    QuietTrace quiet;
    TempDir dir;
    std::unique_ptr<workspace> ws;
};

typedef std::vector<std::string> Names;

std::string messageOf(int id) {
    char text[512] = "";
    LoadStringA(moduleHandle, static_cast<UINT>(id), text, sizeof text);
    return text;
}

} // namespace

// --- Member folders ----------------------------------------------------------

TEST_F(Folders, SchematicGathersItsGeneratedFilesByStemAndType) {
    open({{"a.sch", schematic}, {"a.bom", "b"}, {"b.bom", "b"}, {"a.out", "o"}, {"a.cir", "* c\n"},
          {"a.net", "n"}, {"a.edf", "e"}, {"ab.bom", "b"}, {"a.b.bom", "b"}, {"b.sch", schematic}});
    EXPECT_EQ(content("a.sch", KVE_fileCategoryEnum::Reports), Names{"a.bom"});
    EXPECT_EQ(content("a.sch", KVE_fileCategoryEnum::SimulationOutput), Names{"a.out"});
    EXPECT_EQ(content("a.sch", KVE_fileCategoryEnum::Netlists), Names{"a.edf"});
    // The generated circuit and the netlist, in membership-table order.
    EXPECT_EQ(content("a.sch", KVE_fileCategoryEnum::SystemFiles), (Names{"a.cir", "a.edf", "a.net"}));
    EXPECT_EQ(content("b.sch", KVE_fileCategoryEnum::Reports), Names{"b.bom"});
    EXPECT_EQ(content("b.sch", KVE_fileCategoryEnum::SimulationOutput), Names{});
}

TEST_F(Folders, StemComparisonIgnoresCaseButNotTheDirectory) {
    open({{"a.sch", schematic}, {"A.BOM", "b"}, {"sub/a.bom", "b"}});
    // A file in a subdirectory joins the workspace only when something
    // reaches it; even then it lies elsewhere and is no member.
    design().addFileItem(dir.engine("ws/sub/a.bom").c_str(), nullptr);
    EXPECT_EQ(content("a.sch", KVE_fileCategoryEnum::Reports), Names{"A.BOM"});
}

TEST_F(Folders, ContentIsWorkedOutAtEveryQuestion) {
    open({{"a.sch", schematic}});
    subCategoryDesignFileItem* reports = folder("a.sch", KVE_fileCategoryEnum::Reports);
    ASSERT_NE(reports, nullptr);
    EXPECT_FALSE(reports->hasChildren(0, nullptr));

    writeFile(dir.host("ws/a.bom"), "b");
    ws->refresh();
    EXPECT_TRUE(reports->hasChildren(0, nullptr)) << "a new file with the stem shows at once";
    EXPECT_EQ(folder("a.sch", KVE_fileCategoryEnum::Reports), reports) << "folders are made once";

    // A member deleted behind the engine's back still shows: the type
    // listing keeps it, with exists() false.
    remove(dir.host("ws/a.bom").c_str());
    ws->refresh();
    fileItemList* members = reports->getChildren(nullptr, 0);
    ASSERT_EQ(members->size(), 1u);
    EXPECT_FALSE(members->front()->exists());
    delete members;
}

TEST_F(Folders, MembershipFollowsATypeThatChanges) {
    // A .dat file is a data file only when its first byte is 255.
    open({{"a.sch", schematic}, {"a.dat", "\xff\x01" "data"}});
    EXPECT_EQ(content("a.sch", KVE_fileCategoryEnum::SimulationOutput), Names{"a.dat"});
    writeFile(dir.host("ws/a.dat"), "plain text now");
    ws->refresh();
    EXPECT_EQ(content("a.sch", KVE_fileCategoryEnum::SimulationOutput), Names{});
    writeFile(dir.host("ws/a.dat"), "\xff\x02 data again");
    ws->refresh();
    EXPECT_EQ(content("a.sch", KVE_fileCategoryEnum::SimulationOutput), Names{"a.dat"});
}

TEST_F(Folders, NarrowedListingEqualsTheFilteredTypeListing) {
    open({{"a.b.sch", schematic}, {"A.B.BOM", "b"}, {"a.bom", "b"}, {"b.bom", "b"}});
    design().addFileItem(dir.engine("ws/sub/a.b.bom").c_str(), nullptr);
    design().addFileItem(dir.engine("other/A.b.bom").c_str(), nullptr);
    const KVE_fileTypeEnum bom(KVE_fileTypeEnum::BOM);
    Names filtered;
    for (const std::string& path : fullPaths(ws->getTypeItems(bom))) {
        std::string root;
        pathstring(path).getRoot(root);
        if (_stricmp(root.c_str(), "a.b") == 0) filtered.push_back(path);
    }
    EXPECT_EQ(filtered.size(), 3u);
    EXPECT_EQ(fullPaths(design().getTypeItemsWithRoot(bom, "A.b")), filtered);
    // Of those, the folder keeps the one beside the schematic.
    EXPECT_EQ(content("a.b.sch", KVE_fileCategoryEnum::Reports), Names{"A.B.BOM"});
}

TEST_F(Folders, BoardShowsReportsGerberDrillAndRouterFolders) {
    open({{"b.pca", "p"}, {"b.g01", "g"}, {"b.g12", "g"}, {"b.d01", "d"}, {"b.do", "d"}, {"b.drc", "r"},
          {"c.g01", "g"}});
    EXPECT_EQ(content("b.pca", KVE_fileCategoryEnum::GerberOutput), (Names{"b.g01", "b.g12"}));
    EXPECT_EQ(content("b.pca", KVE_fileCategoryEnum::DrillOutput), Names{"b.d01"});
    EXPECT_EQ(content("b.pca", KVE_fileCategoryEnum::AutorouterControl), Names{"b.do"});
    EXPECT_EQ(content("b.pca", KVE_fileCategoryEnum::Reports_26), Names{"b.drc"});
}

// --- The folder's own answers ------------------------------------------------

TEST_F(Folders, FolderStandsWhereItsParentStands) {
    open({{"a.sch", schematic}, {"a.bom", "b"}});
    subCategoryDesignFileItem* reports = folder("a.sch", KVE_fileCategoryEnum::Reports);
    ASSERT_NE(reports, nullptr);
    const std::string name = messageOf(KVE_fileCategoryEnum(KVE_fileCategoryEnum::Reports).getMessageID());
    EXPECT_EQ(name, "Reports");
    EXPECT_EQ(reports->getFullPath(), name);
    EXPECT_EQ(reports->getBaseName(), name);
    EXPECT_EQ(reports->getDescription(), name);
    EXPECT_EQ(reports->getCategory().value(), KVE_fileCategoryEnum::Reports);
    EXPECT_EQ(reports->getFileType().value(), KVE_fileTypeEnum::SUBCAT);
    EXPECT_TRUE(reports->exists());
    EXPECT_TRUE(reports->isSubCategory());
    EXPECT_FALSE(reports->isListed());
    EXPECT_FALSE(reports->isExternal());
    EXPECT_FALSE(reports->isReservedKind());
    EXPECT_EQ(reports->getLocality().value(), KVE_Locality::Local);
    EXPECT_EQ(reports->getParent(), item("a.sch"));
    EXPECT_EQ(reports->getFullPathString(), item("a.sch")->getFullPathString());
    // A relation other than 0 is ignored by a folder.
    EXPECT_EQ(baseNames(reports->getChildren(nullptr, 7)), Names{"a.bom"});
    EXPECT_EQ(baseNames(reports->getDependencyClosure(nullptr, 3)), Names{"a.bom"});
    EXPECT_FALSE(reports->applyToMembers(3, nullptr, nullptr, 0)) << "listing into no list";
    // A folder has no folders of its own.
    EXPECT_TRUE(baseNames(reports->getOutputChildren()).empty());
    EXPECT_TRUE(baseNames(reports->getSystemFileChildren()).empty());
    // Folders are not items of the workspace.
    EXPECT_EQ(ws->findItem("Reports"), nullptr);
    EXPECT_EQ(baseNames(ws->getTypeItems(KVE_fileTypeEnum(KVE_fileTypeEnum::SUBCAT))), Names{});
}

TEST_F(Folders, OutputAndSystemFileFoldersByTheirFlags) {
    open({{"a.sch", schematic}, {"b.pca", "p"}, {"x.cir", "* c\n"}, {"n.txt", "plain"}});
    EXPECT_EQ(baseNames(item("a.sch")->getOutputChildren()), (Names{"Reports", "Simulation Output"}));
    EXPECT_EQ(baseNames(item("a.sch")->getSystemFileChildren()), Names{"System Files"});
    EXPECT_EQ(baseNames(item("b.pca")->getOutputChildren()), (Names{"Reports", "Gerber Output", "Drill Output"}));
    EXPECT_EQ(baseNames(item("x.cir")->getOutputChildren()), Names{"Output"});
    EXPECT_EQ(baseNames(item("x.cir")->getSystemFileChildren()), Names{"System Files"});
    // A file whose type shows no folders has none.
    EXPECT_TRUE(baseNames(item("n.txt")->getOutputChildren()).empty());
    EXPECT_TRUE(item("n.txt")->getSubCategoryItems().empty());
    // Asking again makes no second set.
    item("a.sch")->buildSubCategoryItems();
    EXPECT_EQ(item("a.sch")->getSubCategoryItems().size(), 8u);
}

TEST_F(Folders, SchematicShowsOnlyFoldersWithContentAndItsDependencyFolders) {
    open({{"a.sch", schematic}, {"a.bom", "b"}});
    // A schematic has no references this engine reads yet: the dependency
    // folders show all the same, and turn out empty.
    EXPECT_EQ(baseNames(item("a.sch")->getChildren(nullptr, 0)),
              (Names{"Reports", "Workspace Dependencies", "External Dependencies", "System Dependencies"}));
    subCategoryDesignFileItem* local = folder("a.sch", KVE_fileCategoryEnum::LocalDependencies);
    ASSERT_NE(local, nullptr);
    EXPECT_TRUE(local->hasChildren(0, nullptr));
    EXPECT_TRUE(baseNames(local->getChildren(nullptr, 0)).empty());
    EXPECT_TRUE(local->isReservedKind());
    // The checkpoint folder is there but empty, so it is not shown.
    subCategoryDesignFileItem* checkpoints = folder("a.sch", KVE_fileCategoryEnum::Checkpoints_19);
    ASSERT_NE(checkpoints, nullptr);
    EXPECT_FALSE(checkpoints->hasChildren(0, nullptr));
    EXPECT_TRUE(baseNames(checkpoints->getChildren(nullptr, 0)).empty());
    // A missing schematic shows nothing.
    remove(dir.host("ws/a.sch").c_str());
    ws->refresh();
    EXPECT_TRUE(baseNames(item("a.sch")->getChildren(nullptr, 0)).empty());
}

// --- Dependency folders ------------------------------------------------------

class DependencyFolders : public Folders {
protected:
    DependencyFolders() : env(dir.host("windir")) {}
    // A model library that names a file beside it, one in a subdirectory,
    // one outside the workspace, one on the library path and one that is
    // missing; the library path is set up as a system library directory.
    void SetUp() override {
        writeFile(dir.host("windir/tarnel91.ini"), "");
        writeFile(dir.host("ctx.ini"), "[TARNEL]\nLIBPATH=" + dir.engine("syslib") + "\n");
        writeFile(dir.host("syslib/std.lib"), ".MODEL D D\n");
        writeFile(dir.host("ext/far.inc"), "* far\n");
        SetIniFileContext(dir.engine("ctx.ini").c_str(), nullptr);
        open({{"top.lib", "* top\n.INC \"parts.inc\"\n.INC \"sub\\deep.inc\"\n.INCLUDE \"" + dir.engine("ext/far.inc") +
                              "\"\n.LIB \"std.lib\"\n.INC \"gone.inc\"\n"},
              {"parts.inc", "* p\n"}, {"sub/deep.inc", "* d\n"}, {"top.bom", "b"}});
    }
    IniEnvironment env;
};

TEST_F(DependencyFolders, SplitTheDependenciesByLocality) {
    DesignFileItem* top = item("top.lib");
    ASSERT_NE(top, nullptr);
    EXPECT_FALSE(top->isScanCurrent());
    EXPECT_EQ(baseNames(top->getChildren(nullptr, 0)),
              (Names{"Workspace Dependencies", "External Dependencies", "System Dependencies"}));
    EXPECT_EQ(content("top.lib", KVE_fileCategoryEnum::LocalDependencies), (Names{"gone.inc", "parts.inc", "deep.inc"}));
    EXPECT_TRUE(top->isScanCurrent()) << "the folder scanned its parent";
    EXPECT_EQ(content("top.lib", KVE_fileCategoryEnum::ExternalDependencies), Names{"far.inc"});
    EXPECT_EQ(content("top.lib", KVE_fileCategoryEnum::SystemDependencies), Names{"std.lib"});
    std::unique_ptr<fileItemList> system(
        folder("top.lib", KVE_fileCategoryEnum::SystemDependencies)->getChildren(nullptr, 0));
    ASSERT_EQ(system->size(), 1u);
    EXPECT_EQ(system->front()->getLocality().value(), KVE_Locality::System);
    // A library has no member folders: its same-stem report is nobody's.
    EXPECT_EQ(folder("top.lib", KVE_fileCategoryEnum::Reports), nullptr);
}

TEST_F(DependencyFolders, FollowTheFileWhenItChanges) {
    EXPECT_EQ(content("top.lib", KVE_fileCategoryEnum::ExternalDependencies), Names{"far.inc"});
    writeFile(dir.host("ws/top.lib"), "* top, rewritten without the far include\n.INC \"parts.inc\"\n");
    ws->refresh();
    EXPECT_EQ(content("top.lib", KVE_fileCategoryEnum::ExternalDependencies), Names{});
    EXPECT_EQ(content("top.lib", KVE_fileCategoryEnum::LocalDependencies), Names{"parts.inc"});
    EXPECT_TRUE(folder("top.lib", KVE_fileCategoryEnum::ExternalDependencies)->hasChildren(0, nullptr))
        << "a dependency folder claims content without looking";
}

TEST_F(DependencyFolders, SynthesisFolderHoldsBothListsSystemFirst) {
    DesignFileItem* top = item("top.lib");
    ASSERT_NE(top, nullptr);
    std::unique_ptr<fileItem> made(makeSubCategoryItem(KVE_fileCategoryEnum::Dependencies, top, top->getFindData(),
                                                       top->getFullPath(), ws.get()));
    subCategoryDesignFileItem* all = dynamic_cast<subCategoryDesignFileItem*>(made.get());
    ASSERT_NE(all, nullptr);
    EXPECT_TRUE(all->hasChildren(0, nullptr));
    EXPECT_EQ(baseNames(all->getChildren(nullptr, 0)), (Names{"std.lib", "gone.inc", "parts.inc", "deep.inc", "far.inc"}));
    EXPECT_TRUE(all->isReservedKind());
}

TEST_F(Folders, SynthesisFolderOfAFileWithoutDependenciesIsEmpty) {
    open({{"s.dsl", "-- nothing\n"}});
    DesignFileItem* source = item("s.dsl");
    std::unique_ptr<fileItem> made(makeSubCategoryItem(KVE_fileCategoryEnum::Dependencies, source,
                                                       source->getFindData(), source->getFullPath(), ws.get()));
    EXPECT_FALSE(made->hasChildren(0, nullptr));
    EXPECT_TRUE(baseNames(made->getChildren(nullptr, 0)).empty());
}

TEST_F(Folders, SynthesisSourceShowsItsIncludesAndReports) {
    open({{"s.dsl", "USE 'alu' ;\nINCLUDE 'defs.inc' ;\n"}, {"alu.afb", "a"}, {"defs.inc", "d"}, {"s.rpt", "r"},
          {"s.j1", "j"}});
    EXPECT_EQ(baseNames(item("s.dsl")->getChildren(nullptr, 0)),
              (Names{"Reports", "Device Programming Output", "Workspace Dependencies", "External Dependencies",
                     "System Dependencies"}));
    EXPECT_EQ(content("s.dsl", KVE_fileCategoryEnum::LocalDependencies), (Names{"alu.afb", "defs.inc"}));
    EXPECT_EQ(content("s.dsl", KVE_fileCategoryEnum::DeviceProgrammingOutput), Names{"s.j1"});
}

// --- Selection through folders -----------------------------------------------

TEST_F(Folders, SelectionReachesTheContentOnlyWhenAsked) {
    open({{"a.sch", schematic}, {"a.bom", "b"}, {"a.cir", "* c\n"}});
    subCategoryDesignFileItem* reports = folder("a.sch", KVE_fileCategoryEnum::Reports);
    ASSERT_NE(reports, nullptr);
    reports->select();
    EXPECT_TRUE(reports->isSelected());
    EXPECT_FALSE(item("a.bom")->isSelected()) << "select marks the folder alone";

    design().clearVisitMarks();
    reports->selectRelated(4);
    EXPECT_TRUE(item("a.bom")->isSelected());
    EXPECT_EQ(reports->getVisitMark(), 0u) << "the folder itself gets no visit mark";
    design().clearVisitMarks();

    reports->deselect();
    EXPECT_FALSE(reports->isSelected());
    EXPECT_FALSE(item("a.bom")->isSelected()) << "deselect reaches the members";

    // With flags 0 the members are selected plainly.
    reports->selectRelated(0);
    EXPECT_TRUE(item("a.bom")->isSelected());
    ws->deselectAllItems();

    // Selecting the schematic with its system files takes the generated
    // circuit along, and not the reports.
    item("a.sch")->selectWithDependencies(true);
    EXPECT_TRUE(item("a.sch")->isSelected());
    EXPECT_TRUE(item("a.cir")->isSelected());
    EXPECT_FALSE(item("a.bom")->isSelected());
}

// --- The factory -------------------------------------------------------------

TEST_F(Folders, FactoryMakesOneClassPerValueAndNothingOutside) {
    open({{"a.sch", schematic}});
    DesignFileItem* parent = item("a.sch");
    for (int value : {-1, 0, 15, 38, 1000})
        EXPECT_EQ(makeSubCategoryItem(value, parent, parent->getFindData(), parent->getFullPath(), ws.get()), nullptr)
            << value;
    for (int value = 16; value <= 37; ++value) {
        std::unique_ptr<fileItem> made(
            makeSubCategoryItem(value, parent, parent->getFindData(), parent->getFullPath(), ws.get()));
        ASSERT_NE(made, nullptr) << value;
        EXPECT_EQ(made->getCategory().value(), value);
        EXPECT_EQ(made->getFileType().value(), KVE_fileTypeEnum::SUBCAT);
        EXPECT_EQ(made->getFullPath(), messageOf(KVE_fileCategoryEnum(value).getMessageID())) << value;
        const bool reserved = value == 20 || value == 21 || value == 22 || value == 34 || value == 36 || value == 37;
        EXPECT_EQ(made->isReservedKind(), reserved) << value;
    }
    // Each value has its own class.
    std::vector<std::string> classes;
    for (int value = 16; value <= 37; ++value) {
        std::unique_ptr<fileItem> made(
            makeSubCategoryItem(value, parent, parent->getFindData(), parent->getFullPath(), ws.get()));
        const fileItem& item = *made;
        classes.push_back(typeid(item).name());
    }
    std::sort(classes.begin(), classes.end());
    EXPECT_EQ(std::unique(classes.begin(), classes.end()), classes.end());
}

TEST_F(Folders, FolderWithoutParentAnswersEmpty) {
    open({{"a.sch", schematic}});
    WIN32_FIND_DATA none = {};
    std::unique_ptr<fileItem> orphan(makeSubCategoryItem(KVE_fileCategoryEnum::Reports, nullptr, none, "", ws.get()));
    ASSERT_NE(orphan, nullptr);
    EXPECT_FALSE(orphan->hasChildren(0, nullptr));
    EXPECT_TRUE(baseNames(orphan->getChildren(nullptr, 0)).empty());
    EXPECT_EQ(orphan->getLocality().value(), KVE_Locality::invalid);
}
