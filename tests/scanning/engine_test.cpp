// The line engine and the dependency lists: line handling, the two passes
// and their failure rows, the lists, closures, marks and selections, and
// the hostile files a scan must survive.
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <random>

#include "libraries/libraryitem.h"
#include "scanning/formats.h"
#include "scanning/lineengine.h"
#include "scanning/scantest.h"

// --- findFileNameValue -------------------------------------------------------

TEST(FileNameValue, Table) {
    struct row {
        const char* line;
        const char* value; // null: no value
    };
    const row rows[] = {
        {"x filename=abc", "abc"},
        {"FileName=  abc def", "abc def"},         // value runs to the end
        {"a FILENAME=\"q r\" s", "\"q r\" s"},
        {"filename=", nullptr},                    // empty
        {"filename=   ", ""},                      // blanks: the terminator
        {"i \"a b\" c", "\"a b\" c"},              // the quote belongs to it
        {"I x\"q", "\"q"},
        {"ix \"q", nullptr},                       // not "i "
        {"i noquote", nullptr},
        {"no name here", nullptr},
        {"file name=x", nullptr},
    };
    for (const row& r : rows) {
        char line[scanLineSize];
        strcpy(line, r.line);
        char* value = findFileNameValue(line);
        if (!r.value) {
            EXPECT_EQ(value, nullptr) << r.line;
            continue;
        }
        ASSERT_NE(value, nullptr) << r.line;
        EXPECT_STREQ(value, r.value) << r.line;
        EXPECT_TRUE(value >= line && value <= line + strlen(line)) << "a position inside the line given: " << r.line;
    }
}

// The word of a part line that names its symbol, and the cut to the buffer.
TEST(TakeWord, Table) {
    struct row {
        const char* text;
        int index;
        size_t size;
        const char* word;
    };
    const row rows[] = {
        {"part 12 R_SMD 10 20 h", 2, 64, "R_SMD"},
        {"  \t part\t\t12  R ", 2, 64, "R"},     // runs of blanks and tabs count once
        {"part 12", 2, 64, ""},                   // fewer words
        {"part 12 ", 2, 64, ""},
        {"", 0, 64, ""},
        {"abc", 0, 3, "ab"},                      // cut to the buffer, terminated
        {"abc def", 1, 1, ""},
        {"a\rb c", 0, 64, "a\rb"},              // only blank and tab part words
    };
    for (const row& r : rows) {
        char out[64];
        memset(out, 'x', sizeof out);
        takeWord(r.text, r.index, out, r.size);
        EXPECT_STREQ(out, r.word) << r.text << " word " << r.index;
    }
}

// --- Lines -------------------------------------------------------------------

using Engine = scanFixture;

TEST_F(Engine, LongLineIsRewrittenAsPiecesOf1023) {
    const std::string longLine = "*" + std::string(1499, 'x');
    open({{"m.lib", longLine + "\n.INC \"a.inc\"\n"}});
    EXPECT_EQ(rewrite("m.lib", "out/m.lib"), longLine.substr(0, 1023) + "\n" + longLine.substr(1023) + "\n.INC \"a.inc\"\n");
}

TEST_F(Engine, CrLfAndLoneCarriageReturns) {
    open({{"m.lib", "* one\r\n* two\rgone\n* three\r\r\n.INC x.inc\r\n"}});
    EXPECT_EQ(rewrite("m.lib", "n.lib"), "* one\n* two\n* three\n.INC \"x.inc\"\n");
}

// --- rewriteFile and its failure rows ----------------------------------------

TEST_F(Engine, RewriteOfATypeWithoutReferencesTouchesNothing) {
    open({{"notes.txt", "hello\n"}});
    copyLikeOperation op(dir.engine(), dir.engine(), dir.engine());
    EXPECT_FALSE(item("notes.txt")->rewriteFile(nullptr, pathstring(dir.engine("notes.txt").c_str()),
                                                pathstring(dir.engine("copy.txt").c_str()), op));
    EXPECT_FALSE(fileExists(dir.host("copy.txt")));
}

// Rewrites a's file in place into target, from the test directory as the
// current one; no temporary file may stay behind.
static void rewriteInPlace(const TempDir& dir, DesignFileItem* a, const std::string& target) {
    copyLikeOperation op(dir.engine(), dir.engine(), dir.engine());
    char saved[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, saved);
    SetCurrentDirectoryA(dir.engine().c_str());
    const pathstring path(dir.engine(target).c_str());
    EXPECT_TRUE(a->rewriteFile(nullptr, path, path, op));
    SetCurrentDirectoryA(saved);
    for (const auto& entry : std::filesystem::directory_iterator(dir.host()))
        EXPECT_EQ(entry.path().filename().string().find("_KV_TMP_"), std::string::npos) << entry.path();
}

TEST_F(Engine, InPlaceRewriteReplacesTheSourceAndRemovesItsTemporaryFile) {
    open({{"a.cir", ".INC sub\\x.inc\n.END\n"}});
    rewriteInPlace(dir, item("a.cir"), "a.cir");
    // sub\x.inc does not lie directly in the target: it stays a full path.
    EXPECT_EQ(readFile(dir.host("a.cir")), "* a.cir\n.INC \"" + dir.engine("sub\\x.inc") + "\"\n.END\n");
}

// Kept deliberately: the in-place rewrite of a file that cannot be read
// would otherwise replace the source by an empty file.
TEST_F(Engine, InPlaceRewriteWithAnUnreadableInputLeavesTheSourceUntouched) {
    open({{"a.cir", ".INC x.inc\n"}, {"b.cir", "keep me\n"}});
    DesignFileItem* a = item("a.cir");
    unlink(dir.host("a.cir").c_str()); // the item still believes in it
    rewriteInPlace(dir, a, "b.cir");
    EXPECT_EQ(readFile(dir.host("b.cir")), "keep me\n");
}

TEST_F(Engine, OutputThatCannotBeOpenedIsReportedAndStillCountsAsDone) {
    open({{"a.cir", ".INC x.inc\n"}});
    RecordingOperation op;
    EXPECT_TRUE(item("a.cir")->rewriteFile(nullptr, pathstring(dir.engine("a.cir").c_str()),
                                           pathstring(dir.engine("no/such/dir/a.cir").c_str()), op));
    EXPECT_EQ(op.problems, std::vector<int>{KVE_callBackAction::CannotWriteFile});
    EXPECT_EQ(op.problemDetails, std::vector<std::string>{"(null)"});
    EXPECT_EQ(readFile(dir.host("a.cir")), ".INC x.inc\n");
}

TEST_F(Engine, EveryRewrittenCircuitGetsItsHeaderAndTheCountEndsAtZero) {
    open({{"a.cir", "* a\n"}, {"b.cir", "* b\n"}});
    item("a.cir")->getFileDependencies(nullptr);
    EXPECT_EQ(getScanContext().circuitLineCount, 0) << "after a scan";
    for (const std::string name : {"a.cir", "b.cir", "a.cir"}) {
        EXPECT_EQ(rewrite(name, "out_" + name).substr(0, 8), "* " + name + "\n");
        EXPECT_EQ(getScanContext().circuitLineCount, 0);
    }
}

// --- scanFile and its failure rows -------------------------------------------

TEST_F(Engine, UnreadableFileCountsAsScannedWithNoDependencies) {
    open({{"a.cir", ".INC x.inc\n"}});
    DesignFileItem* a = item("a.cir");
    unlink(dir.host("a.cir").c_str());
    RecordingClient client;
    EXPECT_TRUE(a->getFileDependencies(&client).empty());
    EXPECT_EQ(client.actions(), std::vector<int>{KVE_callBackAction::CannotReadFile});
    EXPECT_TRUE(a->isScanCurrent());
    EXPECT_FALSE(a->getScanStamp().isZero());
    a->getFileDependencies(&client);
    EXPECT_EQ(client.seen.size(), 1u) << "not scanned again until it changes";
}

TEST_F(Engine, EmptyFileGivesEmptyListsAndAStamp) {
    open({{"a.cir", ""}});
    DesignFileItem* a = item("a.cir");
    EXPECT_FALSE(a->hasChildren(1, nullptr)) << "only relation 0 is served";
    EXPECT_TRUE(a->getFileDependencies(nullptr).empty());
    EXPECT_TRUE(a->getSystemDependencies(nullptr).empty());
    EXPECT_TRUE(a->isScanCurrent());
}

TEST_F(Engine, AFileThatChangesBetweenScansIsScannedAgain) {
    open({{"a.cir", ".INC one.inc\n"}});
    DesignFileItem* a = item("a.cir");
    EXPECT_EQ(names(a->getFileDependencies(nullptr)), std::vector<std::string>{"one.inc"});
    writeFile(dir.host("a.cir"), ".INC two.inc\n.INC three.inc\n");
    EXPECT_EQ(names(a->getFileDependencies(nullptr)), std::vector<std::string>{"one.inc"})
        << "the item knows the file by its last reading";
    touchAndRefresh("a.cir", 1500000000);
    EXPECT_EQ(names(a->getFileDependencies(nullptr)), (std::vector<std::string>{"three.inc", "two.inc"}));
}

TEST_F(Engine, HostileFilesGiveAResultAndReturn) {
    std::mt19937 random(7);
    std::string junk;
    for (int i = 0; i < 200000; ++i) junk += static_cast<char>(random());
    std::string nuls = ".INC a.inc";
    nuls += '\0';
    nuls += "\n.INC b\0c.inc\n";
    open({{"junk.cir", junk},
          {"long.cir", ".INC \"" + std::string(5000, 'p') + ".inc\"\n" + std::string(100000, '.') + "\n.INC ok.inc\n"},
          {"nuls.cir", nuls},
          {"junk.do", junk},
          {"junk.dsl", junk},
          {"junk.nlf", junk}});
    for (const char* name : {"junk.cir", "long.cir", "nuls.cir", "junk.do", "junk.dsl", "junk.nlf"}) {
        DesignFileItem* each = item(name);
        each->getFileDependencies(nullptr);
        EXPECT_TRUE(each->isScanCurrent()) << name;
        rewrite(name, std::string("out/") + name);
    }
    // The 5000-character path comes in pieces of 1023: the first piece is
    // the directive, with an unterminated quote.
    std::vector<std::string> longNames = names(item("long.cir")->getFileDependencies(nullptr));
    EXPECT_EQ(longNames.size(), 2u);
    EXPECT_EQ(longNames.front(), "ok.inc");
}

// --- The lists ---------------------------------------------------------------

TEST_F(Engine, ALibraryNamedTwiceIsOneDependencyAndTwoUses) {
    open({{"a.cir", ".LIB m.lib\n.lib M.LIB\n"}, {"m.lib", "* m\n"}});
    DesignFileItem* a = item("a.cir");
    EXPECT_EQ(names(a->getFileDependencies(nullptr)), std::vector<std::string>{"m.lib"});
    ASSERT_EQ(a->getUsedLibraries().size(), 2u);
    EXPECT_EQ(a->getUsedLibraries().front(), a->getUsedLibraries().back()) << "one library item";
    LibraryFileItem* library = a->findUsedLibrary(dir.engine("m.lib").c_str());
    ASSERT_TRUE(library);
    EXPECT_EQ(library->getLibraryKind(), 2);
    EXPECT_EQ(a->findUsedLibrary(dir.engine("x.lib").c_str()), nullptr);
    // A changed file is scanned again; the uses are appended, not replaced.
    touchAndRefresh("a.cir", 1500000000);
    a->getFileDependencies(nullptr);
    EXPECT_EQ(a->getUsedLibraries().size(), 4u);
}

// Records every found path both as a plain and as a system dependency.
class bothWaysOperation : public InternalFunctionObject {
public:
    explicit bothWaysOperation(DesignFileItem* item_) : item(item_) {}
    bool dependencyFound(pathstring& path, bool, bool) override {
        path.assignRelativeTo(item->getDirectoryString());
        fileItem* found = static_cast<DesignWorkspace*>(item->getOwner())->addFileItem(path.c_str(), nullptr);
        item->addSystemDependency(found);
        if (path.getBase() != "sys.inc") item->addDependency(found);
        return true;
    }
    bool acceptsItem(fileItem*) override { return true; }
    DesignFileItem* item;
};

TEST_F(Engine, AFileMetBothWaysStaysAPlainDependency) {
    open({{"a.cir", ".INC both.inc\n.INC sys.inc\n"}});
    DesignFileItem* a = item("a.cir");
    bothWaysOperation op(a);
    a->scanFile(nullptr, op);
    EXPECT_EQ(names(a->getFileDependencies(nullptr)), std::vector<std::string>{"both.inc"});
    EXPECT_EQ(names(a->getSystemDependencies(nullptr)), std::vector<std::string>{"sys.inc"});
    a->addDependency(nullptr);
    a->addSystemDependency(nullptr);
    a->forgetDependencies();
    EXPECT_TRUE(a->getScanStamp().isZero());
    EXPECT_FALSE(a->isScanCurrent());
}

TEST_F(Engine, AppendDependenciesFollowsTheLocalizeChoice) {
    LibraryPathScope libraries(dir);
    // The design lives one level down, so that ..\x.inc is external.
    open({{"design/a.cir", ".INC sub\\s.inc\n.INC l.inc\n.INC ..\\x.inc\n.LIB sys.lib\n"},
          {"design/l.inc", ""},
          {"design/sub/s.inc", ""},
          {"syslib/sys.lib", ""}},
         "design");
    DesignFileItem* a = item("design/a.cir");
    struct row {
        KVE_localizeEnum::eType level;
        std::vector<std::string> names;
    };
    const row rows[] = {
        {KVE_localizeEnum::IncludeNone, {}},
        {KVE_localizeEnum::IncludeLocal, {"l.inc", "s.inc"}},
        {KVE_localizeEnum::IncludeGlobal, {"l.inc", "s.inc", "x.inc"}},
        {KVE_localizeEnum::LocalizeAll, {"l.inc", "s.inc", "x.inc", "sys.lib"}},
    };
    for (const row& r : rows) {
        fileItemList list;
        a->appendDependencies(list, KVE_localizeEnum(r.level), nullptr);
        EXPECT_EQ(names(list), r.names) << "level " << r.level;
    }
}

// --- Closures, marks, selection ----------------------------------------------

TEST_F(Engine, CyclesAndSelfNamingLibrariesEnd) {
    open({{"a.cir", ".INC b.cir\n.INC sub\\c.cir\n"},
          {"b.cir", ".INC a.cir\n.LIB self.lib\n"},
          {"sub/c.cir", ".INC ..\\..\\far.inc\n"},
          {"self.lib", ".LIB self.lib\n.lib \"self.lib\"\n"}});
    DesignFileItem* a = item("a.cir");
    // Depth first, each list in item order (Local before Local_subdir).
    fileItemList* closure = a->getDependencyClosure(nullptr, 0);
    EXPECT_EQ(names(*closure), (std::vector<std::string>{"b.cir", "a.cir", "c.cir", "far.inc", "self.lib"}));
    delete closure;
    fileItemList local;
    a->collectLocalClosure(local, nullptr);
    EXPECT_EQ(names(local), (std::vector<std::string>{"b.cir", "a.cir", "c.cir", "self.lib"}));

    DesignFileItem* self = item("self.lib");
    EXPECT_EQ(names(self->getFileDependencies(nullptr)), std::vector<std::string>{"self.lib"});
    self->setMarks(4);
    EXPECT_EQ(self->getVisitMark(), 4u);
    self->clearMarks(4);
    EXPECT_EQ(self->getVisitMark(), 0u);

    a->setMarks(2);
    for (const char* name : {"a.cir", "b.cir", "self.lib", "sub/c.cir"}) EXPECT_EQ(item(name)->getVisitMark(), 2u) << name;
    a->setMarks(0);
    a->clearMarks(2);
    for (const char* name : {"a.cir", "b.cir", "self.lib", "sub/c.cir"}) EXPECT_EQ(item(name)->getVisitMark(), 0u) << name;
}

TEST_F(Engine, SelectionWithDependencies) {
    // One level down, so that ..\out.inc is external.
    open({{"w/a.cir", ".INC b.inc\n.INC ..\\out.inc\n.INC c.cir\n"},
          {"w/b.inc", ""},
          {"w/c.cir", ".INC d.inc\n"},
          {"w/d.inc", ""},
          {"w/e.inc", ""}},
         "w");
    fileItem* a = item("w/a.cir");
    a->selectWithDependencies(false);
    fileItemList* selected = ws->getSelectedItems();
    EXPECT_EQ(names(*selected), (std::vector<std::string>{"a.cir", "b.inc", "c.cir", "d.inc"}));
    delete selected;
    ws->deselectAllItems();
    a->selectWithAllDependencies(false);
    selected = ws->getSelectedItems();
    EXPECT_EQ(names(*selected), (std::vector<std::string>{"a.cir", "b.inc", "c.cir", "d.inc", "out.inc"}));
    delete selected;
    EXPECT_EQ(item("w/a.cir")->getVisitMark(), 0u) << "the walk closes with clearVisitMarks";
}

TEST_F(Engine, ChildrenQuestions) {
    open({{"a.cir", ".INC b.inc\n"}, {"notes.txt", ".INC b.inc\n"}});
    EXPECT_TRUE(item("a.cir")->hasChildren(0, nullptr)) << "a circuit shows folders";
    EXPECT_FALSE(item("a.cir")->hasChildren(1, nullptr));
    EXPECT_FALSE(item("notes.txt")->hasChildren(0, nullptr));
    fileItemList* none = item("a.cir")->getChildren(nullptr, 2);
    EXPECT_TRUE(none->empty());
    delete none;
    fileItemList* empty = item("a.cir")->getDependencyClosure(nullptr, 1);
    EXPECT_TRUE(empty->empty());
    delete empty;
    fileItem* missing = static_cast<DesignWorkspace*>(ws.get())->addFileItem(dir.engine("gone.cir").c_str(), nullptr);
    EXPECT_FALSE(missing->hasChildren(0, nullptr));
}

// --- The scan's fast path ----------------------------------------------------

// A scan passes over lines by searching for the first character of a
// directive; a rewrite reads every piece. Pieces of long lines, lines that
// straddle the reader's blocks and dots inside lines must come out the same.
TEST_F(Engine, ScanAndRewriteMeetTheSameReferences) {
    std::string text;
    text += std::string(1023, 'x') + ".INC piece2.inc\n";      // a piece that begins with a dot
    text += std::string(2046, 'y') + ".INC piece3.inc\n";      // the third piece of a line
    text += std::string(1022, 'z') + ".INC notapiece.inc\n";   // a dot one short of a piece
    text += "R1 a b 1.5k .INC inside.inc\n";                   // a dot inside a line
    while (text.size() < 65536 - 7) text += "R2 n1 n2 10k\n";
    text.resize(65536 - 7);
    text += "\n.INC straddle.inc\n";                           // across the first block's end
    for (int i = 0; i < 3000; ++i) text += "C" + std::to_string(i) + " n1 0 1.0u\n";
    text += ".LIB last.lib";                                   // no line end at all
    open({{"a.lib", text}});
    DesignFileItem* a = item("a.lib");
    RecordingOperation scanned;
    a->scanFile(nullptr, scanned);
    RecordingOperation rewritten;
    ASSERT_TRUE(a->rewriteFile(nullptr, pathstring(a->getFullPath()), pathstring(dir.engine("b.lib").c_str()),
                               rewritten));
    EXPECT_EQ(scanned.found, rewritten.found);
    EXPECT_EQ(scanned.found, (std::vector<std::string>{"piece2.inc", "piece3.inc", "straddle.inc",
                                                        dir.engine("last.lib")}));
}
