// kelvault symbols, and the used entries that kelvault deps and tree show:
// a schematic with a local symbol and package library pair (with a symbol
// drawn on another), a configured-looking system library through the
// library path, a symbol that no library holds, and the JSON forms.
#include <sys/wait.h>

#include <cstdio>

#include "scanning/scantest.h"
#include "support/kelvault.h"

namespace {

bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// A library text with an index that is true for blocks (keyword: "*symbol"
// or "*package"); names[k] is the index name, bodies[k] the block.
std::string library(const std::vector<std::string>& names, const std::vector<std::string>& bodies) {
    std::string index = "@INDEX\n", text;
    size_t offset = 0;
    for (size_t k = 0; k < names.size(); ++k) {
        char line[256];
        snprintf(line, sizeof line, "symloc %s %08zu %08zu\n", names[k].c_str(), offset, bodies[k].size());
        index += line;
        offset += bodies[k].size();
        text += bodies[k];
    }
    return index + text;
}

// The design: top.sch uses AMP and TRIM (drawn on AMP) from parts.slb, the
// package of TRIM from parts.plb, STD from the system library on the
// library path, and GHOST, which no library holds.
void makeDesign(const TempDir& dir) {
    writeFile(dir.host("ws/top.sch"),
              "*version 9.1\n@LIBRARIES\n\"parts\"  [.slb,.plb]\n\"std\"  [.slb]\n*page 1\n"
              "part 1 AMP 0 0 h\npart 2 TRIM 10 0 h\npart 3 STD 20 0 h\npart 4 GHOST 30 0 h\n");
    writeFile(dir.host("ws/parts.slb"),
              library({"AMP", "TRIM:AMP"}, {"*symbol AMP\nd amplifier\n", "*symbol TRIM\na 0 component=POT3\n"}));
    writeFile(dir.host("ws/parts.plb"), library({"POT3"}, {"*package POT3\nd trimmer\n"}));
    writeFile(dir.host("syslib/std.slb"), library({"STD"}, {"*symbol STD\nd standard\n"}));
    writeFile(dir.host("ini/tarnel91.ini"), "[Part Libs]\n");
    writeFile(dir.host("ini/context.ini"), "[TARNEL]\nLIBPATH=" + dir.engine("syslib") + "\n");
}

} // namespace

TEST(KelvaultSymbols, ListsSymbolsPackagesAndProblems) {
    TempDir dir;
    makeDesign(dir);
    const std::string env = "KVENG_WINDIR='" + dir.host("ini") + "'";
    const std::string ini = " --ini '" + dir.host("ini/context.ini") + "'";
    std::string out;
    ASSERT_EQ(runKelvault("symbols '" + dir.host("ws/top.sch") + "'" + ini, out, env), 0)
        << "problems do not fail the command\n" << out;
    EXPECT_TRUE(holds(out, "symbols (3)\n")) << out;
    EXPECT_TRUE(holds(out, "|-- AMP   " + dir.host("ws/parts.slb") + " [local]\n")) << out;
    EXPECT_TRUE(holds(out, "|-- TRIM  " + dir.host("ws/parts.slb") + " [local]  (on AMP)\n")) << out;
    EXPECT_TRUE(holds(out, "`-- STD   " + dir.host("syslib/std.slb") + " [system]\n")) << out;
    EXPECT_TRUE(holds(out, "packages (1)\n`-- pot3  " + dir.host("ws/parts.plb") + " [local]\n")) << out;
    EXPECT_TRUE(holds(out, "models (0)\n`-- (none)\n")) << out;
    EXPECT_TRUE(holds(out, "problems (1)\n`-- warning: Cannot Find Symbol 'GHOST' in 'top.sch'\n")) << out;
    // The problems come after the entries.
    EXPECT_LT(out.find("symbols ("), out.find("problems (")) << out;

    ASSERT_EQ(runKelvault("symbols --json '" + dir.host("ws/top.sch") + "'" + ini, out, env), 0);
    EXPECT_TRUE(holds(out, "\"name\": \"TRIM\"")) << out;
    EXPECT_TRUE(holds(out, "\"parent\": \"AMP\"")) << out;
    EXPECT_TRUE(holds(out, "\"library\": \"" + dir.host("syslib/std.slb") + "\"")) << out;
    EXPECT_TRUE(holds(out, "\"locality\": \"system\"")) << out;
    EXPECT_TRUE(holds(out, "\"action\": \"CannotFindSymbol\"")) << out;
    EXPECT_TRUE(holds(out, "\"detail\": \"GHOST\"")) << out;
}

TEST(KelvaultSymbols, UsageErrorsAndFilesWithoutSymbols) {
    TempDir dir;
    writeFile(dir.host("a.cir"), "* nothing used\n");
    std::string out;
    EXPECT_EQ(runKelvault("symbols '" + dir.host("a.cir") + "'", out), 0);
    EXPECT_TRUE(holds(out, "symbols (0)\n`-- (none)\n")) << out;
    EXPECT_TRUE(holds(out, "problems (0)\n`-- (none)\n")) << out;
    EXPECT_EQ(runKelvault("symbols '" + dir.host("none.sch") + "'", out), 1) << "a missing file";
    EXPECT_EQ(runKelvault("symbols", out), 2);
    EXPECT_EQ(runKelvault("symbols a b", out), 2);
}

TEST(KelvaultSymbols, DepsAndTreeShowTheUsedEntries) {
    TempDir dir;
    makeDesign(dir);
    const std::string env = "KVENG_WINDIR='" + dir.host("ini") + "'";
    const std::string ini = " --ini '" + dir.host("ini/context.ini") + "'";
    std::string out;
    EXPECT_EQ(runKelvault("deps '" + dir.host("ws/top.sch") + "'" + ini, out, env), 1)
        << "the missing symbol is a problem of the scan";
    EXPECT_TRUE(holds(out, "symbols used (3)\n")) << out;
    EXPECT_TRUE(holds(out, "|-- local    TRIM  " + dir.host("ws/parts.slb") + "  (on AMP)\n")) << out;
    EXPECT_TRUE(holds(out, "packages used (1)\n`-- local    pot3  " + dir.host("ws/parts.plb") + "\n")) << out;
    EXPECT_FALSE(holds(out, "models used")) << "no heading for a kind without entries\n" << out;
    ASSERT_EQ(runKelvault("deps --json '" + dir.host("ws/top.sch") + "'" + ini, out, env), 1);
    EXPECT_TRUE(holds(out, "\"symbols\": [")) << out;
    EXPECT_TRUE(holds(out, "\"models\": []")) << out;

    ASSERT_EQ(runKelvault("tree '" + dir.host("ws") + "'" + ini, out, env), 0);
    EXPECT_TRUE(holds(out, "|-- Symbols used (3)\n")) << out;
    EXPECT_TRUE(holds(out, "TRIM  from parts.slb  [local]  (on AMP)\n")) << out;
    EXPECT_TRUE(holds(out, "STD  from " + dir.host("syslib/std.slb") + "  [system]\n")) << out;
    EXPECT_TRUE(holds(out, "Problems (1)\n")) << out;
    EXPECT_TRUE(holds(out, "warning: Cannot Find Symbol 'GHOST' in 'top.sch'\n")) << out;

    // At the depth limit the folders show their counts only.
    ASSERT_EQ(runKelvault("tree --depth 1 '" + dir.host("ws") + "'" + ini, out, env), 0);
    EXPECT_TRUE(holds(out, "Symbols used (3, not shown)\n")) << out;
    EXPECT_FALSE(holds(out, "(on AMP)")) << out;

    ASSERT_EQ(runKelvault("tree --json '" + dir.host("ws") + "'" + ini, out, env), 0);
    EXPECT_TRUE(holds(out, "\"used\": \"symbol\"")) << out;
    EXPECT_TRUE(holds(out, "\"parent\": \"AMP\"")) << out;
    EXPECT_TRUE(holds(out, "\"action\": \"CannotFindSymbol\"")) << out;
}
