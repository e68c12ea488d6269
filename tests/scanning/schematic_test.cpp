// Schematics: the library line splitter, the sections in a rewrite, the
// page index read back from rewritten files, and damaged input.
#include <cstdio>
#include <cstring>
#include <random>

#include "libraries/libraryitem.h"
#include "scanning/formats.h"
#include "scanning/lineengine.h"
#include "scanning/scantest.h"

// --- splitLibraryLine --------------------------------------------------------

TEST(LibraryLine, Splitting) {
    struct row {
        const char* line;
        const char* symbols;
        const char* packages;
    };
    const row rows[] = {
        {"\"parts\"  [.slb,.plb]", "parts.slb", "parts.plb"},
        {"\"parts\"  [.slb]", "parts.slb", ""},
        {"\"parts\"  [,.plb]", "", "parts.plb"},
        {"\"my parts\"  [ .slb , .plb ]", "my parts.slb", "my parts.plb"}, // quotes protect, parts stripped
        {"\"C:\\lib\\std\"  [.SLB,.PLB]", "C:\\lib\\std.SLB", "C:\\lib\\std.PLB"},
        {"parts .slb,.plb", "parts.slb", "parts.plb"},          // no "[": the text behind the first word
        {"\"parts\"  [.slb,.plb,.flb]", "parts.slb", "parts.plb"}, // a third place is not looked at
        {"\"parts\"  [.slb", "parts.slb", ""},                  // no "]": to the end of the line
        {"parts.slb", "parts.slb", ""},                         // one word: the whole line
        {"\"parts\"  []", "\"parts\"  []", ""},                 // brackets are no word
        {"\"parts\" \"\"", "\"parts\" \"\"", ""},               // an empty second word
        {"\"parts\"  [ , ]", "", ""},                           // neither
    };
    for (const row& r : rows) {
        const libraryLine split = splitLibraryLine(r.line);
        EXPECT_EQ(split.symbols, r.symbols) << r.line;
        EXPECT_EQ(split.packages, r.packages) << r.line;
    }
}

// --- Rewrites ----------------------------------------------------------------

// The first line of every schematic: the file type is known by it.
static const std::string head = "*version 9.10\n";

class Schematic : public scanFixture {
protected:
    void SetUp() override {
        scope.reset(new LibraryPathScope(dir));
        getScanContext().currentSymbolLibrary[0] = '\0';
    }
    void TearDown() override {
        ws.reset();
        scope.reset();
    }
    // Rewrites src/<name> into dst/<name> as a copy would; returns the output.
    std::string rewrite(const std::string& name, std::vector<std::string>* found = nullptr) {
        return scanFixture::rewrite("src/" + name, "dst/" + name, found);
    }
    std::unique_ptr<LibraryPathScope> scope;
};

// The start of page n of text ("*page " lines in order).
static long pageStart(const std::string& text, int n) { return lineStarts(text, {"*page "}).at(n - 1); }

// Checks the page index of a rewritten schematic: each pageloc line is 30
// bytes and names its page in order, the first keeps firstDeclared, and
// every record points at its page and runs to the next (the last to the
// end of the file).
static void expectPageIndex(const std::string& text, int firstDeclared, int pages) {
    const std::vector<indexLine> index = indexLines(text, "pageloc ");
    ASSERT_EQ(index.size(), static_cast<size_t>(pages));
    for (int i = 0; i < pages; ++i) EXPECT_EQ(index[i].name, std::to_string(i + 1));
    EXPECT_EQ(index[0].offset, firstDeclared);
    expectTrueIndex(text, "pageloc ", {"*page "}, pages);
    for (long at : lineStarts(text, {"pageloc "})) EXPECT_EQ(text.find('\n', at) - at + 1, 30u) << "a pageloc line is 30 bytes";
}

// A schematic of pages, with references whose paths change length when a
// copy maps them.
static std::string pagedSchematic(int pages, const std::string& lineEnd) {
    std::string text = "*version 9.10 3318411421" + lineEnd + "@INDEX" + lineEnd;
    for (int i = 1; i <= pages; ++i)
        text += "pageloc " + std::to_string(i) + " " + (i == 1 ? "250" : "0") + " 12" + lineEnd; // not yet true
    text += "@attributes" + lineEnd + "a 0 s 0:13 0 0 0 hln 100 PAGEDEF=A" + lineEnd;
    for (int i = 1; i <= pages; ++i) {
        text += "*page " + std::to_string(i) + " 0 970 720 iA" + lineEnd;
        text += "Title: sheet " + std::to_string(i) + lineEnd;
        text += "a 0 sp 13 0 0 10 hcn 100 filename=..\\outside\\block" + std::to_string(i) + ".sch" + lineEnd;
        text += "a 0 sp 13 0 0 10 hcn 100 filename=" + std::string(i % 2 ? "sub\\deep\\n.sch" : "\"local.sch\"") + lineEnd;
        for (int w = 0; w < i * 3; ++w) text += "w 4 0 " + std::to_string(w * 10) + " 90 160 90" + lineEnd;
    }
    return text;
}

TEST_F(Schematic, RewrittenPageIndexPointsAtEachPage) {
    // Paths that change length, line feeds alone or after carriage returns
    // (which go), and an autosave, which is a schematic too.
    const struct {
        const char* name;
        int pages;
        const char* lineEnd;
    } rows[] = {{"top.sch", 5, "\n"}, {"crlf.sch", 3, "\r\n"}, {"top.scv", 2, "\n"}};
    std::vector<std::pair<std::string, std::string>> files{{"src/local.sch", "x\n"}};
    for (const auto& row : rows) files.push_back({std::string("src/") + row.name, pagedSchematic(row.pages, row.lineEnd)});
    open(files, "src");
    ASSERT_EQ(item("src/top.scv")->getFileType().value(), KVE_fileTypeEnum::SCV);
    for (const auto& row : rows) {
        const std::string out = rewrite(row.name);
        EXPECT_NE(out.find(dir.engine("outside\\block1.sch")), std::string::npos) << "paths changed length";
        EXPECT_EQ(out.find('\r'), std::string::npos) << row.name;
        expectPageIndex(out, 250, row.pages);
    }
}

TEST_F(Schematic, PagesWithoutIndexLinesAreNotIndexed) {
    std::string text = pagedSchematic(3, "\n");
    // Only page 1 keeps its line.
    for (int page : {2, 3}) text.erase(text.find("pageloc " + std::to_string(page)), 15);
    open({{"src/top.sch", text}}, "src");
    const std::string out = rewrite("top.sch");
    const std::vector<indexLine> entries = indexLines(out, "pageloc ");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].offset, 250);
    EXPECT_EQ(entries[0].size, static_cast<long>(out.size()) - pageStart(out, 1))
        << "the one record is also the last: it runs to the end of the file";
}

TEST_F(Schematic, AnIndexOutOfOrderKeepsTheFileIntact) {
    std::string text = pagedSchematic(3, "\n");
    const size_t at = text.find("pageloc 1");
    text.replace(at, text.find("@attributes") - at, "pageloc 3 0 12\npageloc 1 250 12\npageloc 2 0 12\n");
    open({{"src/top.sch", text}, {"src/local.sch", "x\n"}}, "src");
    const std::string out = rewrite("top.sch");
    const std::vector<indexLine> entries = indexLines(out, "pageloc ");
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].name, "3");
    // Pages 1 and 2 still chain; page 3 comes before its predecessor in the
    // walk and so cannot.
    const long first = pageStart(out, 2) - pageStart(out, 1);
    EXPECT_EQ(entries[1].offset, 250);
    EXPECT_EQ(entries[1].size, first);
    EXPECT_EQ(entries[2].offset, 250 + first);
    EXPECT_EQ(entries[0].offset, 0);
    EXPECT_EQ(entries[0].size, 12) << "page 3 gets no size: no page follows it";
    EXPECT_EQ(entries[2].size, static_cast<long>(out.size()) - pageStart(out, 2)) << "the last record runs to the end";
    EXPECT_NE(out.find("*page 3 0 970 720 iA\nTitle: sheet 3\n"), std::string::npos);
}

// --- Rewrites of single sections, and of damaged indexes ---------------------

// One schematic src/top.sch (after the head line), the files beside it,
// and its rewrite into dst/ by a copy ("@ROOT@" stands for the test
// directory) with the number of references the operation was told.
struct rewriteRow {
    const char* what;
    std::string text;
    std::vector<std::string> beside; // empty files below the test directory
    std::string expected;
    int found; // -1: not counted
};

static const rewriteRow rewriteRows[] = {
    {"index lines that do not parse are reserved and keep zero; the last one's size runs from 0 to the end",
     "@INDEX\npageloc\npageloc x y z\n\n*page 1\nabc\n", {},
     "@INDEX\npageloc   0        0        0\npageloc   0        0        0\npageloc   0        0      123\n*page 1\nabc\n", -1},
    {"numbers too wide for their field are cut at thirty bytes, line feed included",
     "@INDEX\npageloc 1 2000000000 1\npageloc 2 0 0\n*page 1\n*page 2\n", {},
     "@INDEX\npageloc   1 2000000000        pageloc   2 2000000008        *page 1\n*page 2\n", -1},
    {"view lines keep their name up to the last equals sign, and are not searched",
     "@VIEWS\nschematic=impl\nsim=a=b.sch\nno view here\nlayout=..\\board\\top.brd\n*page 1\n", {"src/impl.sch"},
     "@VIEWS\nschematic=impl.SCH\nsim=a=b.sch\nlayout=@ROOT@\\board\\top.brd\n*page 1\n", 3},
    // A continuation after another line is copied; .INCLUDE gives the end of
    // its keyword to the path.
    {"analysis directives are rebuilt and continuations stand alone",
     "@ANALYSIS\n.lib \"models.lib\"\n+ more.lib\n.OPTIONS ITL4=40\n+ extra.lib\n.STMLIB stim.stl\n"
     ".INCLUDE defs.inc\n.inc x.inc trailing words\n*page 1\n", {"src/models.lib"},
     "@ANALYSIS\n.LIB models.lib\n.LIB  more.lib\n.OPTIONS ITL4=40\n+ extra.lib\n.STMLIB stim.stl\n"
     ".INC UDE defs.inc\n.INC x.inc trailing words\n*page 1\n", 5},
    {"file names keep their quotes or lack of them",
     "a 0 a 0 0 0 0 hln 100 FileName=\"sub\\x.txt\"\na 0 a 0 0 0 0 hln 100 filename=y\ni 10 20 \"logo.bmp\"\n*page 1\n",
     {"src/sub/x.txt"},
     "a 0 a 0 0 0 0 hln 100 FileName=\"@ROOT@\\dst\\sub\\x.txt\"\na 0 a 0 0 0 0 hln 100 filename=y.sch\n"
     "i 10 20 \"logo.bmp\"\n*page 1\n", -1},
    {"library lines are rebuilt from the mapped paths; the empty line goes, a line naming nothing stays",
     "@LIBRARIES\n\"parts\"  [.slb,.plb]\n\n\"..\\shared\\ic\"  [.slb]\n\"pads\"  [,.plb]\n\"parts\"  [ , ]\n*page 1\n",
     {"src/parts.slb", "src/parts.plb", "shared/ic.slb", "src/pads.plb"},
     "@LIBRARIES\n\"parts\"  [.slb,.plb]\n\"@ROOT@\\shared\\ic\"  [.slb]\n\"pads\"  [,.plb]\n\"parts\"  [ , ]\n*page 1\n", 4},
};

TEST_F(Schematic, SectionsAndIndexesInARewrite) {
    for (const rewriteRow& row : rewriteRows) {
        SCOPED_TRACE(row.what);
        ws.reset();
        for (const std::string& file : row.beside) writeFile(dir.host(file), "");
        open({{"src/top.sch", head + row.text}}, "src");
        std::vector<std::string> found;
        EXPECT_EQ(rewrite("top.sch", &found), head + replaceAll(row.expected, "@ROOT@", dir.engine()));
        EXPECT_EQ(row.found < 0 ? -1 : static_cast<int>(found.size()), row.found) << testing::PrintToString(found);
    }
}

TEST_F(Schematic, ASchematicEndingInsideASectionPatchesNothingHereOrInTheNextFile) {
    open({{"src/a.sch", head + "@INDEX\npageloc 1 100 10\npageloc 2 0 0\n"},
          {"src/b.sch", head + "*page 1\nsome text that is long enough to be patched over\n"},
          {"src/views.sch", head + "@INDEX\npageloc 1 0 0\n*page 1\n@VIEWS\nschematic=x.sch\n"},
          {"src/libraries.sch", head + "@INDEX\npageloc 1 0 0\n*page 1\n@LIBRARIES\n\"parts\"  [.slb]\n"},
          {"src/analysis.sch", head + "@INDEX\npageloc 1 0 0\n*page 1\n@ANALYSIS\n.OP\n"}},
         "src");
    EXPECT_EQ(rewrite("a.sch"), head + "@INDEX\npageloc 000 00000000 00000000\npageloc 000 00000000 00000000\n");
    EXPECT_EQ(rewrite("b.sch"), head + "*page 1\nsome text that is long enough to be patched over\n")
        << "nothing of a's index lands in b";
    for (const char* name : {"views.sch", "libraries.sch", "analysis.sch"})
        EXPECT_EQ(rewrite(name).substr(14, 37), "@INDEX\npageloc 000 00000000 00000000\n") << name;
}

TEST_F(Schematic, AnalysisAtTheEndAddsNoLibrariesButBeforeAPageItDoes) {
    open({{"src/a.sch", head + "@ANALYSIS\n.OP\n*page 1\n"}, {"src/b.sch", head + "@ANALYSIS\n.OP\n"}}, "src");
    const std::vector<std::string> local{"local.lib"};
    EXPECT_EQ(scanFixture::rewrite("src/a.sch", "dst/a.sch", nullptr, &local), head + "@ANALYSIS\n.OP\n.LIB local.lib\n*page 1\n");
    EXPECT_EQ(scanFixture::rewrite("src/b.sch", "dst/b.sch", nullptr, &local), head + "@ANALYSIS\n.OP\n");
}

// --- Damaged and hostile input -----------------------------------------------

TEST_F(Schematic, ALineOfThousandsOfCharactersComesOutInPieces) {
    const std::string huge = "a 0 a 0 0 0 0 hln 100 filename=" + std::string(5000, 'n') + ".sch";
    open({{"src/top.sch", head + "*page 1\n" + huge + "\npart 1 " + std::string(3000, 'R') + " 0 0 h\n"}}, "src");
    RecordingClient client;
    DesignFileItem* top = item("src/top.sch");
    top->getFileDependencies(&client);
    EXPECT_EQ(top->getFileDependencies(nullptr).size(), 1u) << "the first piece names a file";
    const std::string out = rewrite("top.sch");
    size_t lines = 0;
    for (char c : out) lines += c == '\n';
    EXPECT_EQ(lines, 2u + 5u + 3u) << "5036 and 3013 characters in pieces of 1023";
}

TEST_F(Schematic, BinaryJunkGivesAResult) {
    std::mt19937 random(20261122);
    const char* fragments[] = {"@INDEX\n", "pageloc 1 5 5\n", "*page ", "part 1 ", "port ", "COMPONENT=", "PART=",
                               "filename=", "@VIEWS\n", "@LIBRARIES\n", "@ANALYSIS\n", "+", "\r", "\n", "=", "\""};
    for (int round = 0; round < 40; ++round) {
        std::string junk = head; // a schematic by its first line, junk after it
        const int pieces = 50 + static_cast<int>(random() % 200);
        for (int i = 0; i < pieces; ++i) {
            if (random() % 3 == 0) {
                junk += fragments[random() % (sizeof fragments / sizeof *fragments)];
            } else {
                const int n = 1 + static_cast<int>(random() % 40);
                for (int k = 0; k < n; ++k) junk += static_cast<char>(random() % 256);
            }
        }
        SCOPED_TRACE("round " + std::to_string(round));
        ws.reset();
        open({{"src/top.sch", junk}, {"src/parts.slb", "@INDEX\nsymloc r:r 00000000 00000020\n*symbol r\nCOMPONENT=r\n"}},
             "src");
        DesignFileItem* top = item("src/top.sch");
        RecordingClient client;
        top->getFileDependencies(&client);
        ASSERT_EQ(top->getFileType().value(), KVE_fileTypeEnum::SCH);
        EXPECT_TRUE(top->isScanCurrent());
        remove(dir.host("dst/top.sch").c_str());
        rewrite("top.sch");
        EXPECT_TRUE(fileExists(dir.host("dst/top.sch")));
        getScanContext().currentSymbolLibrary[0] = '\0';
    }
}
