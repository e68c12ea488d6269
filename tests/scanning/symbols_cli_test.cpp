// kelvault symbols, and the used entries that kelvault deps and tree show:
// a schematic with a local symbol and package library pair (with a symbol
// drawn on another), a configured-looking system library through the
// library path, a symbol that no library holds, and the JSON forms.
#include "scanning/scantest.h"
#include "support/kelvaultruns.h"

namespace {

// The design: top.sch uses AMP and TRIM (drawn on AMP) from parts.slb, the
// package of TRIM from parts.plb, STD from the system library on the
// library path, and GHOST, which no library holds.
class KelvaultSymbols : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(dir.host("ws/top.sch"),
                  "*version 9.1\n@LIBRARIES\n\"parts\"  [.slb,.plb]\n\"std\"  [.slb]\n*page 1\n"
                  "part 1 AMP 0 0 h\npart 2 TRIM 10 0 h\npart 3 STD 20 0 h\npart 4 GHOST 30 0 h\n");
        writeFile(dir.host("ws/parts.slb"), libraryText({{"AMP", "*symbol AMP\nd amplifier\n"},
                                                         {"TRIM:AMP", "*symbol TRIM\na 0 component=POT3\n"}}));
        writeFile(dir.host("ws/parts.plb"), libraryText({{"POT3", "*package POT3\nd trimmer\n"}}));
        writeFile(dir.host("syslib/std.slb"), libraryText({{"STD", "*symbol STD\nd standard\n"}}));
        writeFile(dir.host("ini/tarnel91.ini"), "[Part Libs]\n");
        writeFile(dir.host("ini/context.ini"), "[TARNEL]\nLIBPATH=" + dir.engine("syslib") + "\n");
    }
    // Runs the rows with the installation's INI files.
    std::string expectRuns(const std::vector<kelvaultRun>& runs) {
        return expectKelvaultRuns(runs, "KVENG_WINDIR='" + dir.host("ini") + "'");
    }
    std::string top() const { return " '" + dir.host("ws/top.sch") + "' --ini '" + dir.host("ini/context.ini") + "'"; }
    std::string ws() const { return " '" + dir.host("ws") + "' --ini '" + dir.host("ini/context.ini") + "'"; }
    TempDir dir;
};

} // namespace

TEST_F(KelvaultSymbols, ListsSymbolsPackagesAndProblems) {
    // Problems do not fail the command.
    const std::string out = expectRuns({{"symbols" + top(), 0,
         {"symbols (3)\n", "|-- AMP   " + dir.host("ws/parts.slb") + " [local]\n",
          "|-- TRIM  " + dir.host("ws/parts.slb") + " [local]  (on AMP)\n",
          "`-- STD   " + dir.host("syslib/std.slb") + " [system]\n",
          "packages (1)\n`-- pot3  " + dir.host("ws/parts.plb") + " [local]\n", "models (0)\n`-- (none)\n",
          "problems (1)\n`-- warning: Cannot Find Symbol 'GHOST' in 'top.sch'\n"}}});
    EXPECT_LT(out.find("symbols ("), out.find("problems (")) << "the problems come after the entries";
    expectRuns({{"symbols --json" + top(), 0,
                 {"\"name\": \"TRIM\"", "\"parent\": \"AMP\"", "\"library\": \"" + dir.host("syslib/std.slb") + "\"",
                  "\"locality\": \"system\"", "\"action\": \"CannotFindSymbol\"", "\"detail\": \"GHOST\""}}});
}

TEST_F(KelvaultSymbols, UsageErrorsAndFilesWithoutSymbols) {
    writeFile(dir.host("a.cir"), "* nothing used\n");
    expectRuns({
        {"symbols '" + dir.host("a.cir") + "'", 0, {"symbols (0)\n`-- (none)\n", "problems (0)\n`-- (none)\n"}},
        {"symbols '" + dir.host("none.sch") + "'", 1, {}}, // a missing file
        {"symbols", 2, {}},
        {"symbols a b", 2, {}},
    });
}

TEST_F(KelvaultSymbols, DepsAndTreeShowTheUsedEntries) {
    expectRuns({
        // The missing symbol is a problem of the scan; no heading for a kind
        // without entries.
        {"deps" + top(), 1,
         {"symbols used (3)\n", "|-- local    TRIM  " + dir.host("ws/parts.slb") + "  (on AMP)\n",
          "packages used (1)\n`-- local    pot3  " + dir.host("ws/parts.plb") + "\n"},
         {"models used"}},
        {"deps --json" + top(), 1, {"\"symbols\": [", "\"models\": []"}},
        {"tree" + ws(), 0,
         {"|-- Symbols used (3)\n", "TRIM  from parts.slb  [local]  (on AMP)\n",
          "STD  from " + dir.host("syslib/std.slb") + "  [system]\n", "Problems (1)\n",
          "warning: Cannot Find Symbol 'GHOST' in 'top.sch'\n"}},
        // At the depth limit the folders show their counts only.
        {"tree --depth 1" + ws(), 0, {"Symbols used (3, not shown)\n"}, {"(on AMP)"}},
        {"tree --json" + ws(), 0, {"\"used\": \"symbol\"", "\"parent\": \"AMP\"", "\"action\": \"CannotFindSymbol\""}},
    });
}
