// The pieces of the formats that the golden files do not pin down one by
// one: splitting and writing directives, the default model library in a
// fix-up, the model index, and the scan operation's answers.
#include <cstring>

#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"
#include "operations/scandependencies.h"
#include "scanning/formats.h"
#include "scanning/lineengine.h"
#include "scanning/scantest.h"

// --- splitDirective ----------------------------------------------------------

TEST(SplitDirective, Table) {
    struct row {
        const char* text;
        const char* path;
        const char* remainder;
    };
    const row rows[] = {
        {"a.inc", "a.inc", ""},
        {"  a.inc   b\tc ", "a.inc", " b c"},
        {"\"my file.inc\" x", "my file.inc", " x"},
        {"'q.inc' y", "'q.inc'", " y"}, // single quotes are not special
        {"sub/x.inc", "sub\\x.inc", ""}, // the path is tidied
        {"a \"b c\" d", "a", " b c d"},  // quotes go, blanks normalised
        {"", "", ""},
        {"   ", "", "   "}, // no word: the text itself
    };
    for (const row& r : rows) {
        pathstring path;
        std::string remainder;
        splitDirective(r.text, path, remainder);
        EXPECT_EQ(path, r.path) << "[" << r.text << "]";
        EXPECT_EQ(remainder, r.remainder) << "[" << r.text << "]";
    }
}

// --- writeDirective ----------------------------------------------------------

static std::string written(const char* format, const std::string& path, int keywordLength, const char* remainder) {
    FILE* out = tmpfile();
    writeDirective(out, format, path.c_str(), keywordLength, remainder);
    std::string text;
    rewind(out);
    for (int c; (c = fgetc(out)) != EOF;) text += static_cast<char>(c);
    fclose(out);
    return text;
}

TEST(WriteDirective, ShortPathsStayOnOneLine) {
    EXPECT_EQ(written(".INC \"%s\"%s\n", "a.inc", 5, " x y"), ".INC \"a.inc\" x y\n");
    const std::string fits(127, 'p'); // 127 + 5 = 132
    EXPECT_EQ(written(".LIB \"%s\"%s\n", fits, 5, ""), ".LIB \"" + fits + "\"\n");
    EXPECT_EQ(written(".LIB %s%s\n", "", 5, " rest"), " rest\n") << "an empty path writes the remainder";
    writeDirective(nullptr, ".LIB %s%s\n", "x", 5, ""); // no output: nothing happens
}

TEST(WriteDirective, LongPathsGoOverContinuationLines) {
    const std::string oneMore(128, 'p');
    EXPECT_EQ(written(".LIB \"%s\"%s\n", oneMore, 5, " r"),
              ".LIB \"" + oneMore.substr(0, 125) + "\"\n+ \"" + oneMore.substr(125) + "\"  r\n")
        << "the remainder's own blank follows the one of the format";

    std::string long300;
    for (int i = 0; i < 300; ++i) long300 += static_cast<char>('a' + i % 26);
    EXPECT_EQ(written(".LIB \"%s\"%s\n", long300, 5, " r"),
              ".LIB \"" + long300.substr(0, 125) + "\"\n+ \"" + long300.substr(125, 128) + "\"\n+ \"" +
                  long300.substr(253) + "\"  r\n")
        << "125, 128 and the remaining 47 characters";

    // .STMLIB has one slot: the remainder shows only on a last line.
    EXPECT_EQ(written(".STMLIB \"%s\"\n", "s.stl", 8, " dropped"), ".STMLIB \"s.stl\"\n");
    const std::string stm(200, 's');
    EXPECT_EQ(written(".STMLIB \"%s\"\n", stm, 8, " kept"),
              ".STMLIB \"" + stm.substr(0, 122) + "\"\n+ \"" + stm.substr(122) + "\"  kept\n");
}

// --- The default model library in a fix-up -----------------------------------

using Formats = scanFixture;

TEST_F(Formats, DefaultLibraryIsReplacedByTheLocalizedModelLibraries) {
    open({{"a.cir", ".LIB\n.LIB nom.lib keep\n.LIB other.lib\n"}});
    const std::vector<std::string> libraries{"first.lib", "second.lib"};
    std::vector<std::string> found;
    EXPECT_EQ(rewrite("a.cir", "b.cir", &found, &libraries),
              "* a.cir\n.LIB \"first.lib\"\n.LIB \"second.lib\"\n.LIB \"first.lib\"\n.LIB \"second.lib\"\n"
              ".LIB \"other.lib\"\n");
    EXPECT_EQ(found, (std::vector<std::string>{"", "nom.lib", dir.engine("other.lib")}))
        << "the default library is reported under its bare name, others resolved";
}

// --- The model index ---------------------------------------------------------

TEST_F(Formats, ModelIndexMakesUsagesOncePerPlace) {
    open({{"a.cir", "* a\n"},
          {"a.mif", "lib=m.lib,offset=100,size=10\nlib=m.lib,offset=100,size=10\nsize=4,lib=m.lib,offset=7\n"},
          {"m.lib", "* models\n"}});
    DesignFileItem* a = item("a.cir");
    EXPECT_EQ(names(a->getFileDependencies(nullptr)), std::vector<std::string>{"m.lib"});
    ASSERT_EQ(a->getUsedModels().size(), 2u);
    libraryUsage* first = a->getUsedModels().front();
    EXPECT_EQ(first->name, dir.engine("m.lib") + "_100");
    EXPECT_EQ(first->entry->size, 9) << "size less one";
    EXPECT_EQ(first->entry->offset, 100);
    EXPECT_EQ(first->library->getLibraryKind(), 2);
    EXPECT_EQ(first->entry->owner, first->library);
    EXPECT_EQ(findUsage(a->getUsedModels(), first), first);
    libraryUsage other(first->library, nullptr, "elsewhere");
    EXPECT_EQ(findUsage(a->getUsedModels(), &other), nullptr);
}

TEST_F(Formats, EmptyModelIndexAddsNothing) {
    open({{"a.cir", "* a\n"}, {"a.mif", ""}});
    RecordingClient client;
    EXPECT_TRUE(item("a.cir")->getFileDependencies(&client).empty());
    EXPECT_TRUE(item("a.cir")->getUsedModels().empty());
    EXPECT_TRUE(client.actions().empty());
}

TEST_F(Formats, DamagedModelIndexIsReportedOnceWithTheNameSoFar) {
    open({{"a.cir", "* a\n"}, {"a.mif", "lib=m.lib,offset=1,size=2\nlib=half.lib,offset=x\nlib=n.lib,offset=1,size=2\n"},
          {"m.lib", ""}, {"n.lib", ""}});
    RecordingClient client;
    EXPECT_EQ(names(item("a.cir")->getFileDependencies(&client)), std::vector<std::string>{"m.lib"});
    EXPECT_EQ(client.actions(), std::vector<int>{KVE_callBackAction::SimulationMayBeStale});
    EXPECT_EQ(client.details(), std::vector<std::string>{"half.lib"});
}

TEST_F(Formats, MissingLibrariesOfTheIndexAreReportedAndACancelEndsTheFile) {
    open({{"a.cir", "* a\n"}, {"a.mif", "lib=gone1.lib,offset=1,size=2\nlib=gone2.lib,offset=1,size=2\n"}});
    RecordingClient client;
    item("a.cir")->getFileDependencies(&client);
    EXPECT_EQ(client.details(), (std::vector<std::string>{"gone1.lib", "gone2.lib"}));

    RecordingClient cancelling;
    cancelling.answerFor = KVE_callBackAction::SimulationMayBeStale;
    cancelling.answer = KVE_callBackStatus::Cancel;
    touchAndRefresh("a.cir", 1500000000);
    item("a.cir")->getFileDependencies(&cancelling);
    EXPECT_EQ(cancelling.details(), std::vector<std::string>{"gone1.lib"}) << "the scan of the file ends";
}

TEST_F(Formats, ALibraryTheSchematicNamesIsLeftToTheSchematic) {
    open({{"a.cir", "* a\n"}, {"a.sch", "*version 9.1\n"}, {"a.mif", "lib=m.lib,offset=1,size=2\n"}, {"m.lib", ""}});
    DesignFileItem* schematic = item("a.sch");
    ASSERT_EQ(schematic->getFileType().value(), KVE_fileTypeEnum::SCH);
    pathstring library(dir.engine("m.lib").c_str());
    schematic->addUsedLibrary(library);
    DesignFileItem* a = item("a.cir");
    EXPECT_TRUE(a->getFileDependencies(nullptr).empty());
    EXPECT_TRUE(a->getUsedModels().empty());
}

// --- The scan operation ------------------------------------------------------

TEST_F(Formats, ScanOperationRecordsAndReports) {
    open({{"a.cir", "* a\n"}});
    DesignFileItem* a = item("a.cir");
    RecordingClient client;
    IFOscanDependencies op(&client, a);
    EXPECT_TRUE(op.isScanOnly());
    EXPECT_FALSE(op.isAborted());
    EXPECT_EQ(op.getModelLibraryPaths(), nullptr);

    pathstring relative("sub\\x.inc");
    EXPECT_TRUE(op.dependencyFound(relative, false, false));
    EXPECT_EQ(relative, dir.engine("sub\\x.inc")) << "made absolute against the item's directory";
    pathstring system("y.lib");
    op.dependencyFound(system, true, false);
    pathstring nothing("");
    op.dependencyFound(nothing, false, false);
    EXPECT_EQ(names(a->getFileDependencies(nullptr)), std::vector<std::string>{}) << "the lists are the scan's";

    EXPECT_FALSE(op.reportProblem(KVE_callBackAction::CannotFindSymbol, "R1", nullptr));
    EXPECT_FALSE(op.reportProblem(KVE_callBackAction::CannotFindSymbol, "r1", nullptr));
    op.reportAction(KVE_callBackAction::ScanningDependencies, "d", a);
    EXPECT_EQ(client.actions(),
              (std::vector<int>{KVE_callBackAction::CannotFindSymbol, KVE_callBackAction::ScanningDependencies}));
    client.answerFor = KVE_callBackAction::CannotReadFile;
    client.answer = KVE_callBackStatus::Cancel;
    EXPECT_TRUE(op.reportProblem(KVE_callBackAction::CannotReadFile, nullptr, a));
}

TEST_F(Formats, ScanOperationFillsBothLists) {
    open({{"a.cir", "* a\n"}});
    DesignFileItem* a = item("a.cir");
    a->getFileDependencies(nullptr);
    IFOscanDependencies op(nullptr, a);
    pathstring plain("x.inc"), system("y.lib"), nothing("");
    op.dependencyFound(plain, false, false);
    op.dependencyFound(system, true, false);
    op.dependencyFound(nothing, false, false);
    EXPECT_EQ(names(a->getFileDependencies(nullptr)), std::vector<std::string>{"x.inc"});
    EXPECT_EQ(names(a->getSystemDependencies(nullptr)), std::vector<std::string>{"y.lib"});
}

// Paths met again are answered from memory; paths alike in length and
// ending, met in turns, must each keep their own answer.
TEST_F(Formats, ScanOperationTellsPathsAlikeApart) {
    open({{"a.cir", "* a\n"}, {"p\\lib.slb", ""}, {"q\\lib.slb", ""}});
    DesignFileItem* a = item("a.cir");
    a->getFileDependencies(nullptr);
    IFOscanDependencies op(nullptr, a);
    for (int round = 0; round < 3; ++round)
        for (const char* given : {"p\\lib.slb", "q\\lib.slb", "p\\LIB.slb"}) {
            pathstring path(given);
            op.dependencyFound(path, false, false);
            EXPECT_EQ(path, dir.engine(given)) << given << " in round " << round;
        }
    EXPECT_EQ(names(a->getFileDependencies(nullptr)), (std::vector<std::string>{"lib.slb", "lib.slb"}))
        << "one item for each file";
}
