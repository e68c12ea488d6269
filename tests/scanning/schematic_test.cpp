// Schematics: the library line splitter, the sections in a rewrite, the
// page index read back from rewritten files, and damaged input.
#include <cstring>
#include <random>

#include "libraries/libraryitem.h"
#include "scanning/formats.h"
#include "scanning/lineengine.h"
#include "scanning/scantest.h"

// ---------------------------------------------------------------------------
// splitLibraryLine
// ---------------------------------------------------------------------------

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

// ---------------------------------------------------------------------------
// Rewrites
// ---------------------------------------------------------------------------

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
    // Rewrites src/<name> into dst/<name> as a copy would and returns the
    // output. op's references are kept in found.
    std::string rewrite(const std::string& name, std::vector<std::string>* found = nullptr) {
        DesignFileItem* file = item("src/" + name);
        if (!file) return "";
        pathstring(dir.engine("dst").c_str()).createDirectory();
        copyLikeOperation op(dir.engine("src"), dir.engine("dst"), dir.engine("src"));
        EXPECT_TRUE(file->rewriteFile(nullptr, pathstring(file->getFullPath()),
                                      pathstring(dir.engine("dst/" + name).c_str()), op));
        if (found) *found = op.found;
        return readFile(dir.host("dst/" + name));
    }
    std::unique_ptr<LibraryPathScope> scope;
};

// One pageloc line of a rewritten file, and where the page it names
// begins in the output.
struct pageEntry {
    int page, offset, size;
};

// The pageloc lines of text, each checked to be exactly 30 bytes.
static std::vector<pageEntry> pageIndex(const std::string& text) {
    std::vector<pageEntry> entries;
    for (size_t at = text.find("pageloc "); at != std::string::npos; at = text.find("pageloc ", at + 1)) {
        if (at > 0 && text[at - 1] != '\n') continue;
        EXPECT_EQ(text.find('\n', at) - at + 1, 30u) << "a pageloc line is 30 bytes";
        pageEntry entry{};
        EXPECT_EQ(sscanf(text.c_str() + at, "pageloc %d %d %d", &entry.page, &entry.offset, &entry.size), 3);
        entries.push_back(entry);
    }
    return entries;
}

// The output position of the line "*page N" of text, or npos.
static size_t pageStart(const std::string& text, int n) {
    const std::string wanted = "*page " + std::to_string(n);
    for (size_t at = 0; at < text.size();) {
        if (text.compare(at, wanted.size(), wanted) == 0 &&
            (at + wanted.size() == text.size() || text[at + wanted.size()] == ' ' || text[at + wanted.size()] == '\n'))
            return at;
        const size_t lf = text.find('\n', at);
        if (lf == std::string::npos) break;
        at = lf + 1;
    }
    return std::string::npos;
}

// Checks that each entry of the index of text points at its page: the
// first page's declared offset stands for the first page's line, later
// offsets count on from there, and each size reaches to the next page (the
// last to the end of the file).
static void expectIndexMatchesPages(const std::string& text, int firstDeclared, int pages) {
    const std::vector<pageEntry> entries = pageIndex(text);
    ASSERT_EQ(entries.size(), static_cast<size_t>(pages));
    const size_t first = pageStart(text, 1);
    ASSERT_NE(first, std::string::npos);
    for (int i = 0; i < pages; ++i) {
        const pageEntry& entry = entries[i];
        EXPECT_EQ(entry.page, i + 1);
        const size_t start = pageStart(text, i + 1);
        ASSERT_NE(start, std::string::npos) << "page " << i + 1;
        const size_t end = i + 1 < pages ? pageStart(text, i + 2) : text.size();
        EXPECT_EQ(entry.offset, firstDeclared + static_cast<int>(start - first)) << "offset of page " << i + 1;
        EXPECT_EQ(entry.size, static_cast<int>(end - start)) << "size of page " << i + 1;
        // Read back: the declared place, taken from the first page's, is
        // the page's line, and its size ends just before the next one.
        const std::string page = text.substr(first + (entry.offset - firstDeclared), entry.size);
        EXPECT_EQ(page.compare(0, 6, "*page "), 0) << "page " << i + 1;
        EXPECT_EQ(page.back(), '\n');
    }
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
    open({{"src/top.sch", pagedSchematic(5, "\n")}, {"src/local.sch", "x\n"}}, "src");
    const std::string out = rewrite("top.sch");
    ASSERT_FALSE(out.empty());
    EXPECT_NE(out.find(dir.engine("outside\\block1.sch")), std::string::npos) << "paths changed length";
    expectIndexMatchesPages(out, 250, 5);
}

TEST_F(Schematic, CarriageReturnsGoAndTheIndexCountsTheBareLineFeeds) {
    const std::string source = pagedSchematic(3, "\r\n");
    open({{"src/top.sch", source}, {"src/local.sch", "x\n"}}, "src");
    const std::string out = rewrite("top.sch");
    EXPECT_EQ(out.find('\r'), std::string::npos);
    expectIndexMatchesPages(out, 250, 3);
}

TEST_F(Schematic, AnAutosaveIsHandledAsASchematic) {
    open({{"src/top.scv", pagedSchematic(2, "\n")}}, "src");
    ASSERT_EQ(item("src/top.scv")->getFileType().value(), KVE_fileTypeEnum::SCV);
    expectIndexMatchesPages(rewrite("top.scv"), 250, 2);
}

TEST_F(Schematic, PagesWithoutIndexLinesAreNotIndexed) {
    std::string text = pagedSchematic(3, "\n");
    // Only page 1 keeps its line.
    for (int page : {2, 3}) text.erase(text.find("pageloc " + std::to_string(page)), 15);
    open({{"src/top.sch", text}}, "src");
    const std::string out = rewrite("top.sch");
    const std::vector<pageEntry> entries = pageIndex(out);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].offset, 250);
    EXPECT_EQ(entries[0].size, static_cast<int>(out.size() - pageStart(out, 1)))
        << "the one record is also the last: it runs to the end of the file";
}

TEST_F(Schematic, AnIndexOutOfOrderKeepsTheFileIntact) {
    std::string text = pagedSchematic(3, "\n");
    const size_t at = text.find("pageloc 1");
    const std::string lines = text.substr(at, text.find("@attributes") - at);
    text.replace(at, lines.size(), "pageloc 3 0 12\npageloc 1 250 12\npageloc 2 0 12\n");
    open({{"src/top.sch", text}, {"src/local.sch", "x\n"}}, "src");
    const std::string out = rewrite("top.sch");
    const std::vector<pageEntry> entries = pageIndex(out);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].page, 3);
    // Pages 1 and 2 still chain; page 3 comes before its predecessor in the
    // walk and so cannot.
    EXPECT_EQ(entries[1].offset, 250);
    EXPECT_EQ(entries[1].size, static_cast<int>(pageStart(out, 2) - pageStart(out, 1)));
    EXPECT_EQ(entries[2].offset, 250 + static_cast<int>(pageStart(out, 2) - pageStart(out, 1)));
    EXPECT_EQ(entries[0].offset, 0);
    EXPECT_EQ(entries[0].size, 12) << "page 3 gets no size: no page follows it";
    EXPECT_EQ(entries[2].size, static_cast<int>(out.size() - pageStart(out, 2))) << "the last record runs to the end";
    EXPECT_NE(out.find("*page 3 0 970 720 iA\nTitle: sheet 3\n"), std::string::npos);
}

TEST_F(Schematic, IndexLinesThatDoNotParseAreReservedAndKeepZero) {
    open({{"src/top.sch", head + "@INDEX\npageloc\npageloc x y z\n\n*page 1\nabc\n"}}, "src");
    const std::string out = rewrite("top.sch");
    EXPECT_EQ(out, head + "@INDEX\npageloc   0        0        0\npageloc   0        0        0\n"
                          "pageloc   0        0      123\n*page 1\nabc\n")
        << "no record is page 1; the last one's size runs from 0 to the end";
}

TEST_F(Schematic, NumbersTooWideForTheirFieldAreCutAtThirtyBytes) {
    open({{"src/top.sch", head + "@INDEX\npageloc 1 2000000000 1\npageloc 2 0 0\n*page 1\n*page 2\n"}}, "src");
    const std::string out = rewrite("top.sch");
    ASSERT_GE(out.size(), 82u);
    EXPECT_EQ(out.substr(21, 30), "pageloc   1 2000000000        ") << "the line is cut, its line feed included";
    EXPECT_EQ(out.substr(51, 30), "pageloc   2 2000000008        ");
    EXPECT_EQ(out.substr(81), "*page 1\n*page 2\n");
}

TEST_F(Schematic, ASchematicEndingInsideTheIndexIsNotPatchedNorIsTheNextFile) {
    open({{"src/a.sch", "*version 9.10\n@INDEX\npageloc 1 100 10\npageloc 2 0 0\n"},
          {"src/b.sch", "*version 9.10\n*page 1\nsome text that is long enough to be patched over\n"}},
         "src");
    EXPECT_EQ(rewrite("a.sch"), "*version 9.10\n@INDEX\npageloc 000 00000000 00000000\npageloc 000 00000000 00000000\n");
    EXPECT_EQ(rewrite("b.sch"), "*version 9.10\n*page 1\nsome text that is long enough to be patched over\n")
        << "nothing of a's index lands in b";
}

TEST_F(Schematic, ASchematicEndingInsideViewsOrLibrariesIsNotPatched) {
    open({{"src/a.sch", head + "@INDEX\npageloc 1 0 0\n*page 1\n@VIEWS\nschematic=x.sch\n"},
          {"src/b.sch", head + "@INDEX\npageloc 1 0 0\n*page 1\n@LIBRARIES\n\"parts\"  [.slb]\n"},
          {"src/c.sch", head + "@INDEX\npageloc 1 0 0\n*page 1\n@ANALYSIS\n.OP\n"}},
         "src");
    for (const char* name : {"a.sch", "b.sch", "c.sch"})
        EXPECT_EQ(rewrite(name).substr(14, 37), "@INDEX\npageloc 000 00000000 00000000\n") << name;
}

// ---------------------------------------------------------------------------
// Sections in a rewrite
// ---------------------------------------------------------------------------

TEST_F(Schematic, ViewLinesKeepTheirNameUpToTheLastEqualsSign) {
    open({{"src/top.sch", head + "@VIEWS\nschematic=impl\nsim=a=b.sch\nno view here\nlayout=..\\board\\top.brd\n*page 1\n"},
          {"src/impl.sch", ""}},
         "src");
    std::vector<std::string> found;
    const std::string out = rewrite("top.sch", &found);
    EXPECT_EQ(out, head + "@VIEWS\nschematic=impl.SCH\nsim=a=b.sch\nlayout=" + dir.engine("board\\top.brd") + "\n*page 1\n");
    EXPECT_EQ(found, (std::vector<std::string>{"impl.SCH", "b.sch", "..\\board\\top.brd"})) << "no search";
}

TEST_F(Schematic, AnalysisDirectivesAreRebuiltAndContinuationsStandAlone) {
    open({{"src/top.sch", head + "@ANALYSIS\n.lib \"models.lib\"\n+ more.lib\n.OPTIONS ITL4=40\n+ extra.lib\n"
                          ".STMLIB stim.stl\n.INCLUDE defs.inc\n.inc x.inc trailing words\n*page 1\n"},
          {"src/models.lib", ""}},
         "src");
    std::vector<std::string> found;
    const std::string out = rewrite("top.sch", &found);
    EXPECT_EQ(out, head + "@ANALYSIS\n.LIB models.lib\n.LIB  more.lib\n.OPTIONS ITL4=40\n+ extra.lib\n.STMLIB stim.stl\n"
                   ".INC UDE defs.inc\n.INC x.inc trailing words\n*page 1\n")
        << "a continuation after another line is copied; .INCLUDE gives the end of its keyword to the path";
    EXPECT_EQ(found.size(), 5u);
}

TEST_F(Schematic, AnalysisAtTheEndAddsNoLibrariesButBeforeAPageItDoes) {
    open({{"src/a.sch", head + "@ANALYSIS\n.OP\n*page 1\n"}, {"src/b.sch", head + "@ANALYSIS\n.OP\n"}}, "src");
    for (const char* name : {"a.sch", "b.sch"}) {
        DesignFileItem* file = item(std::string("src/") + name);
        pathstring(dir.engine("dst").c_str()).createDirectory();
        copyLikeOperation op(dir.engine("src"), dir.engine("dst"), dir.engine("src"));
        op.giveModelLibraries = true;
        op.modelLibraries = {"local.lib"};
        ASSERT_TRUE(file->rewriteFile(nullptr, pathstring(file->getFullPath()),
                                      pathstring(dir.engine(std::string("dst/") + name).c_str()), op));
    }
    EXPECT_EQ(readFile(dir.host("dst/a.sch")), head + "@ANALYSIS\n.OP\n.LIB local.lib\n*page 1\n");
    EXPECT_EQ(readFile(dir.host("dst/b.sch")), head + "@ANALYSIS\n.OP\n");
}

TEST_F(Schematic, FileNamesKeepTheirQuotesOrLackOfThem) {
    open({{"src/top.sch", head + "a 0 a 0 0 0 0 hln 100 FileName=\"sub\\x.txt\"\na 0 a 0 0 0 0 hln 100 filename=y\n"
                          "i 10 20 \"logo.bmp\"\n*page 1\n"},
          {"src/sub/x.txt", ""}},
         "src");
    EXPECT_EQ(rewrite("top.sch"), head + "a 0 a 0 0 0 0 hln 100 FileName=\"" + dir.engine("dst\\sub\\x.txt") +
                                      "\"\na 0 a 0 0 0 0 hln 100 filename=y.sch\ni 10 20 \"logo.bmp\"\n*page 1\n");
}

TEST_F(Schematic, LibraryLinesAreRebuiltFromTheMappedPaths) {
    open({{"src/top.sch", head + "@LIBRARIES\n\"parts\"  [.slb,.plb]\n\n\"..\\shared\\ic\"  [.slb]\n\"pads\"  [,.plb]\n"
                          "\"parts\"  [ , ]\n*page 1\n"},
          {"src/parts.slb", ""}, {"src/parts.plb", ""}, {"shared/ic.slb", ""}, {"src/pads.plb", ""}},
         "src");
    std::vector<std::string> found;
    const std::string out = rewrite("top.sch", &found);
    EXPECT_EQ(out, head + "@LIBRARIES\n\"parts\"  [.slb,.plb]\n\"" + dir.engine("shared\\ic") +
                       "\"  [.slb]\n\"pads\"  [,.plb]\n\"parts\"  [ , ]\n*page 1\n")
        << "the empty line goes; a line naming nothing stays";
    EXPECT_EQ(found.size(), 4u);
}

// ---------------------------------------------------------------------------
// Damaged and hostile input
// ---------------------------------------------------------------------------

TEST_F(Schematic, ALineOfThousandsOfCharactersComesOutInPieces) {
    const std::string huge = "a 0 a 0 0 0 0 hln 100 filename=" + std::string(5000, 'n') + ".sch";
    open({{"src/top.sch", head + "*page 1\n" + huge + "\npart 1 " + std::string(3000, 'R') + " 0 0 h\n"}}, "src");
    recordingClient client;
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
        TempDir local;
        writeFile(local.host("src/top.sch"), junk);
        writeFile(local.host("src/parts.slb"), "@INDEX\nsymloc r:r 00000000 00000020\n*symbol r\nCOMPONENT=r\n");
        KVE_Status status;
        std::unique_ptr<workspace> junkWorkspace(OpenWorkspace(status, local.engine("src").c_str()));
        ASSERT_TRUE(junkWorkspace);
        DesignFileItem* top = dynamic_cast<DesignFileItem*>(junkWorkspace->findItem(local.engine("src/top.sch").c_str()));
        ASSERT_TRUE(top);
        recordingClient client;
        top->getFileDependencies(&client);
        ASSERT_EQ(top->getFileType().value(), KVE_fileTypeEnum::SCH);
        EXPECT_TRUE(top->isScanCurrent()) << "round " << round;
        pathstring(local.engine("dst").c_str()).createDirectory();
        copyLikeOperation op(local.engine("src"), local.engine("dst"), local.engine("src"));
        EXPECT_TRUE(top->rewriteFile(nullptr, pathstring(top->getFullPath()),
                                     pathstring(local.engine("dst/top.sch").c_str()), op));
        EXPECT_TRUE(fileExists(local.host("dst/top.sch"))) << "round " << round;
        getScanContext().currentSymbolLibrary[0] = '\0';
    }
}
