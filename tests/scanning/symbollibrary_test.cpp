// Symbol libraries: the index of a rewritten library read back (every
// offset and size must land on its symbol, whatever the rewrite did to the
// lengths of the lines), the library's own index reader on the result,
// and damaged files, which must give a report and a result, never a hang,
// a crash or a write outside the reserved index fields.
#include <cstring>
#include <sstream>

#include "libraries/libraryitem.h"
#include "operations/scandependencies.h"
#include "scanning/lineengine.h"
#include "scanning/scantest.h"

// Checks that the index of a library text is true for count symbols.
static void expectTrueSymbolIndex(const std::string& text, int count) {
    expectTrueIndex(text, "symloc ", {"*symbol"}, count);
}

// Every symloc line keeps the 18 bytes of its numbers and its line feed.
static void expectIndexLinesWellFormed(const std::string& text) {
    for (long at : lineStarts(text, {"symloc "})) {
        const std::string line = text.substr(at, text.find('\n', at) - at);
        const size_t blank = line.find(' ', 7);
        ASSERT_NE(blank, std::string::npos) << line;
        EXPECT_EQ(line.size() - blank - 1, 17u) << "the numbers keep their width: [" << line << "]";
    }
}

// A library and its neighbours in a workspace, rewritten into target/ with
// the copy's mapping of paths.
class SymbolLibrary : public scanFixture {
protected:
    // Rewrites design/name into target/name; returns the output.
    std::string rewrite(const std::string& name) { return scanFixture::rewrite("design/" + name, "target/" + name, &found); }
    // Scans design/name; the client sees the reports.
    void scan(const std::string& name) {
        DesignFileItem* library = item("design/" + name);
        if (!library) return;
        IFOscanDependencies op(&client, library);
        library->scanFile(&client, op);
    }

    std::vector<std::string> found;
    RecordingClient client;
};

// --- The index read back -----------------------------------------------------

// Lines that change length every way a rewrite changes them: paths that
// get longer (a local subdirectory becomes the target's absolute path) and
// shorter (an absolute path into the design becomes a bare name), carriage
// returns dropped, upper case lowered (same length), views and images.
TEST_F(SymbolLibrary, RewrittenIndexPointsAtEverySymbol) {
    const std::string design = dir.engine("design");
    const std::string body =
        "*symbol RES\r\n"
        "D RESISTOR\r\n"
        "a 0 u 13 0 0 0 filename=sub\\Deep_Schematic.SCH\r\n"
        "*symbol CAP\n"
        "d capacitor\n"
        "a 0 u 13 0 0 0 filename=" + design + "\\flat.sch\n"
        "i 1 2 \"" + design + "\\pic.bmp\"\n"
        "*symbol AMP\n"
        "@VIEWS\n"
        "sim=sub\\amp_sim.sch\n"
        "layout=ignored.sch\n"
        "*symbol EMPTY\n"
        "*symbol LAST\r\n"
        "p 1 0 0\r\n";
    const std::string head = "@INDEX\nsymloc RES 00000000 00000001\nsymloc CAP 00000001 00000001\n"
                             "symloc AMP 00000002 00000001\nsymloc EMPTY 00000003 00000001\n"
                             "symloc LAST 00000004 00000001\n";
    open({{"design/lib.slb", head + body},
          {"design/sub/deep_schematic.sch", "*version\n"},
          {"design/sub/amp_sim.sch", "*version\n"},
          {"design/flat.sch", "*version\n"},
          {"design/pic.bmp", "BM"}},
         "design");
    const std::string out = rewrite("lib.slb");
    expectTrueSymbolIndex(out, 5);
    expectIndexLinesWellFormed(out);
    EXPECT_EQ(indexLines(out, "symloc ")[0].offset, 0) << "the first symbol keeps its declared offset";
    EXPECT_EQ(out.find('\r'), std::string::npos) << "bare line feeds";
    EXPECT_NE(out.find("d resistor\n"), std::string::npos) << "upper case lowered in the body";
    EXPECT_NE(out.find("filename=" + dir.engine("target") + "\\sub\\deep_schematic.sch\n"),
              std::string::npos)
        << "a longer path\n" << out;
    EXPECT_NE(out.find("filename=flat.sch\n"), std::string::npos) << "a shorter path\n" << out;
    EXPECT_NE(out.find("i 1 2 pic.bmp\"\n"), std::string::npos) << "the image keeps its closing quote\n" << out;
    EXPECT_NE(out.find("layout=ignored.sch\n"), std::string::npos) << "one view line only\n" << out;
    EXPECT_EQ(found.size(), 4u) << "deep_schematic, flat, pic, amp_sim";
}

// The first symbol may declare any offset: the others count from it.
TEST_F(SymbolLibrary, OffsetsCountFromTheFirstDeclaredOne) {
    open({{"design/lib.slb", "@INDEX\nsymloc A 00000100 00000000\nsymloc B 00000000 00000000\n"
                             "*symbol A\nd A\n*symbol B\nd B B B\n"}},
         "design");
    const std::string out = rewrite("lib.slb");
    expectTrueSymbolIndex(out, 2);
    const std::vector<indexLine> index = indexLines(out, "symloc ");
    EXPECT_EQ(index[0].offset, 100);
    EXPECT_EQ(index[1].offset, 100 + index[0].size);
}

// The library's own index reader finds the text of every symbol in the
// rewritten file, at its base offset plus the entry's offset.
TEST_F(SymbolLibrary, LibraryReaderFindsEveryRewrittenSymbol) {
    std::string text = "@INDEX\n";
    std::string body;
    const char* names[] = {"alpha", "beta:alpha", "gamma,gam", "delta"};
    for (int k = 0; k < 4; ++k) {
        text += std::string("symloc ") + names[k] + " 00000000 00000000\n";
        std::string name = names[k];
        name = name.substr(0, name.find_first_of(":,"));
        body += "*SYMBOL " + name + "\r\nA 0 U 13 0 0 0 FILENAME=Sub\\" + name + "_view\r\n" +
                std::string(static_cast<size_t>(50 * k), 'x') + "\r\n";
    }
    open({{"design/lib.slb", text + body}}, "design");
    const std::string out = rewrite("lib.slb");
    expectTrueSymbolIndex(out, 4);

    fileItem* added = static_cast<DesignWorkspace*>(ws.get())->addLibraryItem(dir.engine("target/lib.slb").c_str(), nullptr);
    LibraryFileItem* library = dynamic_cast<LibraryFileItem*>(added);
    ASSERT_TRUE(library);
    copyLikeOperation op(dir.engine("target"), dir.engine("target"), dir.engine("target"));
    const char* lookups[] = {"alpha", "beta", "gam", "delta"};
    const char* expected[] = {"alpha", "beta", "gamma", "delta"};
    for (int k = 0; k < 4; ++k) {
        libraryIndexEntry* entry = library->findIndexEntry(lookups[k], op);
        ASSERT_TRUE(entry) << lookups[k];
        const std::string symbolText = out.substr(static_cast<size_t>(library->getBaseOffset() + entry->offset),
                                                  static_cast<size_t>(entry->size));
        const std::string head = std::string("*symbol ") + expected[k] + "\n";
        EXPECT_EQ(symbolText.compare(0, head.size(), head), 0) << lookups[k] << ": [" << symbolText << "]";
        const size_t next = symbolText.find("*symbol", 1);
        EXPECT_EQ(next, std::string::npos) << "one symbol's text only: [" << symbolText << "]";
    }
    libraryIndexEntry* beta = library->findIndexEntry("beta", op);
    ASSERT_TRUE(beta && beta->parent);
    EXPECT_STREQ(beta->parent, "alpha") << "the parent survives the rewrite of the index line";
}

// --- The grammar -------------------------------------------------------------

// A symbol's start that stands inside a line: reported, the text before it
// dropped, and the symbol still indexed.
TEST_F(SymbolLibrary, SymbolInsideALineIsReportedAndIndexed) {
    open({{"design/lib.slb", "@INDEX\nsymloc A 0 0\nsymloc B 0 0\n*symbol A\np 1 0 0 junk*symbol B\nd b\n"}},
         "design");
    scan("lib.slb");
    ASSERT_EQ(client.seen.size(), 1u);
    EXPECT_EQ(client.seen[0].action, KVE_callBackAction::LibraryMayBeCorrupt);
    EXPECT_EQ(client.seen[0].detail, item("design/lib.slb")->getFullPath()) << "the library's full path";
    const std::string out = rewrite("lib.slb");
    EXPECT_EQ(out.find("junk"), std::string::npos) << out;
    expectTrueSymbolIndex(out, 2);
}

// A library without an index: the first symbol's line is taken by the line
// handler and is not written; nothing is patched.
TEST_F(SymbolLibrary, LibraryWithoutIndexPatchesNothing) {
    open({{"design/lib.slb", "*symbol A\nd A\n*symbol B\nd B\n"}}, "design");
    const std::string out = rewrite("lib.slb");
    EXPECT_EQ(out, "d a\n*symbol b\nd b\n");
}

// --- Damaged indexes and hostile files ---------------------------------------

// Declared offsets past the end, zero sizes, lines out of order: the
// numbers are recomputed from the text, so the result is true all the same.
TEST_F(SymbolLibrary, WrongNumbersAreRecomputed) {
    open({{"design/lib.slb", "@INDEX\nsymloc A 00000000 00000000\nsymloc C 99999999 00000000\n"
                             "symloc B 00000005 99999999\n*symbol A\nd a\n*symbol B\nd bb\n*symbol C\nd ccc\n"}},
         "design");
    const std::string out = rewrite("lib.slb");
    expectTrueSymbolIndex(out, 3);
    // Matched by place: the second line (C) describes the second symbol.
    EXPECT_EQ(indexLines(out, "symloc ")[1].name, "C");
}

// More symbols than index lines: the extra ones are not indexed, and the
// last indexed one ends where the next symbol begins.
TEST_F(SymbolLibrary, FewerIndexLinesThanSymbols) {
    open({{"design/lib.slb", "@INDEX\nsymloc A 0 0\n*symbol A\nd a\n*symbol B\nd b\n*symbol C\nd c\n"}}, "design");
    const std::string out = rewrite("lib.slb");
    const std::vector<indexLine> index = indexLines(out, "symloc ");
    const std::vector<long> starts = lineStarts(out, {"*symbol"});
    ASSERT_EQ(index.size(), 1u);
    ASSERT_EQ(starts.size(), 3u);
    EXPECT_EQ(index[0].size, starts[1] - starts[0]);
    EXPECT_NE(out.find("*symbol c\nd c\n"), std::string::npos) << "the symbols themselves are all written";
    expectIndexLinesWellFormed(out);
}

// More index lines than symbols: the unmatched lines point behind the last
// symbol, with size 0; the last symbol still runs to the end.
TEST_F(SymbolLibrary, MoreIndexLinesThanSymbols) {
    open({{"design/lib.slb", "@INDEX\nsymloc A 0 0\nsymloc B 0 0\nsymloc GONE 7 7\nsymloc ALSO 8 8\n"
                             "*symbol A\nd a\n*symbol B\nd b\n"}},
         "design");
    const std::string out = rewrite("lib.slb");
    const std::vector<indexLine> index = indexLines(out, "symloc ");
    const std::vector<long> starts = lineStarts(out, {"*symbol"});
    ASSERT_EQ(index.size(), 4u);
    ASSERT_EQ(starts.size(), 2u);
    EXPECT_EQ(index[1].size, static_cast<long>(out.size()) - starts[1]) << out;
    EXPECT_EQ(starts[0] + index[2].offset - index[0].offset, static_cast<long>(out.size())) << out;
    EXPECT_EQ(index[2].size, 0);
    EXPECT_EQ(index[3].offset, index[2].offset);
    EXPECT_EQ(index[3].size, 0);
}

// An "@" line behind the index ends it, and in a rewrite becomes one more
// index line, which has no symbol.
TEST_F(SymbolLibrary, SectionBehindTheIndexIsOneMoreIndexLine) {
    open({{"design/lib.slb", "@INDEX\nsymloc A 0 0\n@OTHER stuff 1 2\n*symbol A\nd a\n"}}, "design");
    const std::string out = rewrite("lib.slb");
    // The single symbol is not reached through the index: its line is gone
    // and nothing was stepped, so both records are unmatched: the first
    // keeps its declared offset, the second follows it, both empty.
    EXPECT_EQ(out, "@INDEX\nsymloc A        0        0\nsymloc stuff        0        0\n@OTHER stuff 1 2\nd a\n");
}

// A declared first offset too wide for its field is cut to the 18 reserved
// bytes: the next line is never overwritten.
TEST_F(SymbolLibrary, WideNumbersNeverRunIntoTheNextLine) {
    open({{"design/lib.slb", "@INDEX\nsymloc A -2147483648 0\nsymloc B 0 0\n*symbol A\nd a\n*symbol B\nd b\n"}},
         "design");
    const std::string out = rewrite("lib.slb");
    expectIndexLinesWellFormed(out);
    EXPECT_NE(out.find("\nsymloc B "), std::string::npos) << out;
    EXPECT_NE(out.find("\n*symbol a\nd a\n*symbol b\nd b\n"), std::string::npos) << out;
}

// The view section at the top of a library ends at the end of the input
// (the pass must finish); its end at the next section is in the golden
// files.
TEST_F(SymbolLibrary, TopLevelViewsEndAtTheEndOfTheInput) {
    open({{"design/tail.slb", "*version\n@VIEWS\nx=b\n"}}, "design");
    EXPECT_EQ(rewrite("tail.slb"), "*version\nx=b.sch\n");
    scan("tail.slb");
    EXPECT_EQ(names(item("design/tail.slb")->getFileDependencies(nullptr)), std::vector<std::string>{"b.sch"});
}

// A library in a directory of the library path is not followed, and its
// rewrite is empty.
TEST_F(SymbolLibrary, SystemLibraryYieldsNothing) {
    LibraryPathScope libraries(dir);
    open({{"syslib/sys.slb", "@INDEX\nsymloc S 0 0\n*symbol S\na 0 filename=x\n"}});
    DesignFileItem* library = dynamic_cast<DesignFileItem*>(
        static_cast<DesignWorkspace*>(ws.get())->addLibraryItem(dir.engine("syslib/sys.slb").c_str(), nullptr));
    ASSERT_TRUE(library && library->isSystemLibrary());
    IFOscanDependencies scanOp(&client, library);
    library->scanFile(&client, scanOp);
    EXPECT_TRUE(library->getFileDependencies(nullptr).empty());
    copyLikeOperation op(dir.engine("syslib"), dir.engine("out"), dir.engine("syslib"));
    pathstring(dir.engine("out").c_str()).createDirectory();
    EXPECT_TRUE(library->rewriteFile(nullptr, pathstring(library->getFullPath()),
                                     pathstring(dir.engine("out/sys.slb").c_str()), op));
    EXPECT_TRUE(fileExists(dir.host("out/sys.slb")));
    EXPECT_EQ(readFile(dir.host("out/sys.slb")), "");
    EXPECT_TRUE(op.found.empty());
}

// Lines of thousands of characters come in pieces of 1023; each piece is a
// line of its own, and the index stays true over them.
TEST_F(SymbolLibrary, LongLinesKeepTheIndexTrue) {
    const std::string longLine = "d " + std::string(3000, 'Q');
    open({{"design/lib.slb", "@INDEX\nsymloc A 0 0\nsymloc B 0 0\n*symbol A\n" + longLine + "\n*symbol B\n" +
                                 "a 0 filename=" + std::string(1500, 'n') + "\n"}},
         "design");
    const std::string out = rewrite("lib.slb");
    expectTrueSymbolIndex(out, 2);
    EXPECT_NE(out.find(std::string(1021, 'q') + "\n"), std::string::npos) << "cut after 1023 characters";
}

// Bytes of every value, NULs and lone carriage returns included: a result,
// and an index that still has the shape of its reserved lines.
TEST_F(SymbolLibrary, BinaryJunkGivesAResult) {
    std::string junk = "@INDEX\nsymloc A 0 0\nsymloc B 0 0\n*symbol A\n";
    for (int k = 0; k < 4096; ++k) junk += static_cast<char>((k * 7919 + 13) & 0xff);
    junk += "\n*symbol B\nd b\n";
    open({{"design/lib.slb", junk}}, "design");
    scan("lib.slb");
    const std::string out = rewrite("lib.slb");
    ASSERT_FALSE(out.empty());
    expectIndexLinesWellFormed(out);
    EXPECT_EQ(out.compare(out.size() - 14, 14, "*symbol b\nd b\n"), 0);
}

// The records of a rewrite that ended inside its index must not be patched
// into the next library that is rewritten.
TEST_F(SymbolLibrary, RecordsNeverReachAnotherFile) {
    open({{"design/cut.slb", "@INDEX\nsymloc A 0 0\nsymloc B 0 0\n"},
          {"design/plain.slb", "*version\n*symbol X\n" + std::string(200, 'z') + "\n"}},
         "design");
    EXPECT_EQ(rewrite("cut.slb"), "@INDEX\nsymloc A 00000000 00000000\nsymloc B 00000000 00000000\n");
    EXPECT_TRUE(getScanContext().symbolRecords.empty());
    EXPECT_EQ(rewrite("plain.slb"), "*version\n" + std::string(200, 'z') + "\n");
}

// --- The sample workspace ----------------------------------------------------

// The indexes of the hand-written examples must stay true as they are
// edited: every symloc line of a library and every pageloc line of a
// schematic points at its block, counted from the first one's offset.
TEST(Examples, IndexesAreTrue) {
    for (const char* name : {"hier/lib/hierparts.slb", "hier/lib/hierparts.plb", "analog.slb", "analog.plb", "source.slb",
                             "lib/demo.slb", "lib/demo.plb", "lib/marker.slb", "hier/top.sch", "amplifier.sch"}) {
        SCOPED_TRACE(name);
        const std::string text = readFile(testData(std::string("../../examples/") + name));
        const bool schematic = std::string(name).find(".sch") != std::string::npos;
        const std::string keyword = schematic ? "pageloc " : "symloc ";
        ASSERT_FALSE(indexLines(text, keyword).empty());
        // pageloc lines name the page first: their "name" is its number.
        expectTrueIndex(text, keyword, schematic ? std::vector<std::string>{"*page"} : std::vector<std::string>{"*symbol", "*package"});
    }
}
