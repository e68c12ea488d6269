// kelvault tree beneath the files, on real directories: folders with their
// content and nothing for empty ones, dependencies with their locality,
// missing files, cycles, the depth limit, and the JSON form.
#include <cstdio>
#include <sys/wait.h>

#include "support/kelvault.h"
#include "workspace/workspace_test.h"

namespace {

bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// A schematic with its generated files, a board with its outputs, and a
// model library that names files beside it, below it, outside the
// workspace, and one that is missing, with a second library that names
// the first again.
void makeDesign(const TempDir& dir) {
    makeFiles(dir, {{"ws/amp.sch", "*version 9.1\n"},
                    {"ws/amp.bom", "b\n"},
                    {"ws/amp.cir", "* c\n"},
                    {"ws/amp.net", "n\n"},
                    {"ws/board.pca", "p\n"},
                    {"ws/board.g01", "g\n"},
                    {"ws/board.g02", "g\n"},
                    {"ws/models.lib", ".INC \"parts.inc\"\n.INC \"sub\\deep.inc\"\n.INC \"" + dir.engine("ext/far.inc") +
                                          "\"\n.INC \"gone.inc\"\n.LIB \"tail.lib\"\n"},
                    {"ws/tail.lib", ".LIB \"models.lib\"\n"},
                    {"ws/parts.inc", "* p\n"},
                    {"ws/sub/deep.inc", "* d\n"},
                    {"ext/far.inc", "* f\n"}});
}

} // namespace

TEST(KelvaultTreeFolders, FilesShowTheirFoldersWithContentOnly) {
    TempDir dir;
    makeDesign(dir);
    std::string out;
    ASSERT_EQ(runKelvault("tree '" + dir.host("ws") + "'", out), 0);
    EXPECT_TRUE(holds(out, "|   `-- amp.sch  Tarnel Sketchvane Schematic\n"
                           "|       |-- Reports (1)\n"
                           "|       |   `-- amp.bom  Tarnel Bill-Of-Materials  [Local]\n"
                           "|       `-- System Files (2)\n"
                           "|           |-- amp.cir  Tarnel Circuit  [Local]\n"
                           "|           `-- amp.net  Tarnel Sketchvane Netlist  [Local]\n"))
        << out;
    // The schematic's dependency folders and its netlist and simulation
    // folders are empty, so they do not show.
    EXPECT_FALSE(holds(out, "Simulation Output")) << out;
    EXPECT_FALSE(holds(out, "Netlists")) << out;
    EXPECT_TRUE(holds(out, "Gerber Output (2)\n")) << out;
    EXPECT_TRUE(holds(out, "board.g02  Tarnel Lamineer Gerber files  [Local]\n")) << out;
}

TEST(KelvaultTreeFolders, DependenciesShowWithLocalityMissingFilesAndCycles) {
    TempDir dir;
    makeDesign(dir);
    std::string out;
    ASSERT_EQ(runKelvault("tree '" + dir.host("ws") + "'", out), 0);
    EXPECT_TRUE(holds(out, "Workspace Dependencies (4)\n")) << out;
    EXPECT_TRUE(holds(out, "parts.inc  Tarnel Include  [Local]\n")) << out;
    EXPECT_TRUE(holds(out, "sub/deep.inc  Tarnel Include  [Local_subdir]\n")) << out;
    EXPECT_TRUE(holds(out, "External Dependencies (1)\n")) << out;
    EXPECT_TRUE(holds(out, dir.host("ext/far.inc") + "  Tarnel Include  [External]\n")) << out;
    EXPECT_TRUE(holds(out, "gone.inc  Tarnel Include  [Local]  MISSING\n")) << out;
    // tail.lib names models.lib, which named tail.lib: the walk stops.
    EXPECT_TRUE(holds(out, "models.lib  Tarnel Application Model-Library  [Local]  (cycle)\n")) << out;
    // tail.lib was opened beneath models.lib; its own entry says so.
    EXPECT_TRUE(holds(out, "`-- tail.lib    Tarnel Application Model-Library  (shown above)\n") ||
                holds(out, "|-- tail.lib    Tarnel Application Model-Library  (shown above)\n"))
        << out;
    EXPECT_FALSE(holds(out, "System Dependencies")) << "no library path, so nothing is a system file\n" << out;
}

TEST(KelvaultTreeFolders, DepthLimitsTheLevelsBeneathEachFile) {
    TempDir dir;
    makeDesign(dir);
    std::string out;
    ASSERT_EQ(runKelvault("tree --depth 0 '" + dir.host("ws") + "'", out), 0);
    EXPECT_TRUE(holds(out, "amp.sch")) << out;
    EXPECT_FALSE(holds(out, "Reports")) << out;
    EXPECT_FALSE(holds(out, "[Local]")) << out;

    ASSERT_EQ(runKelvault("tree --depth 1 '" + dir.host("ws") + "'", out), 0);
    EXPECT_TRUE(holds(out, "|       |-- Reports (1, not shown)\n")) << out;
    EXPECT_TRUE(holds(out, "Workspace Dependencies (4, not shown)\n")) << out;
    EXPECT_FALSE(holds(out, "amp.bom")) << out;
    EXPECT_FALSE(holds(out, "parts.inc  Tarnel Include  [Local]")) << out;

    ASSERT_EQ(runKelvault("tree --depth 2 '" + dir.host("ws") + "'", out), 0);
    EXPECT_TRUE(holds(out, "parts.inc  Tarnel Include  [Local]\n")) << out;
    EXPECT_FALSE(holds(out, "(cycle)")) << "the cycle lies deeper\n" << out;

    EXPECT_EQ(runKelvault("tree --depth -1 '" + dir.host("ws") + "'", out), 2);
    EXPECT_EQ(runKelvault("tree --depth x '" + dir.host("ws") + "'", out), 2);
}

TEST(KelvaultTreeFolders, JsonNestsFoldersAndFiles) {
    TempDir dir;
    makeDesign(dir);
    std::string out;
    ASSERT_EQ(runKelvault("tree --json '" + dir.host("ws") + "'", out), 0);
    EXPECT_TRUE(holds(out, "\"folder\": \"Reports\",\n")) << out;
    EXPECT_TRUE(holds(out, "\"value\": 16,\n")) << out;
    EXPECT_TRUE(holds(out, "\"path\": \"" + dir.host("ws/amp.bom") + "\"")) << out;
    EXPECT_TRUE(holds(out, "\"locality\": \"External\"")) << out;
    EXPECT_TRUE(holds(out, "\"locality\": \"Local_subdir\"")) << out;
    EXPECT_TRUE(holds(out, "\"lastWrite\": null,\n")) << "the missing file has no time\n" << out;
    EXPECT_TRUE(holds(out, "\"note\": \"cycle\"")) << out;

    ASSERT_EQ(runKelvault("tree --json --depth 1 '" + dir.host("ws") + "'", out), 0);
    EXPECT_TRUE(holds(out, "\"count\": 1,\n")) << out;
    EXPECT_TRUE(holds(out, "\"truncated\": true")) << out;
    EXPECT_FALSE(holds(out, "amp.bom")) << out;
}

TEST(KelvaultTreeFolders, TreeLeavesTheDesignUntouched) {
    TempDir dir;
    makeDesign(dir);
    const std::string before = readFile(dir.host("ws/models.lib"));
    std::string out;
    ASSERT_EQ(runKelvault("tree '" + dir.host("ws") + "'", out), 0);
    EXPECT_EQ(readFile(dir.host("ws/models.lib")), before);
    EXPECT_FALSE(fileExists(dir.host("ws/gone.inc"))) << "a missing dependency is shown, not made";
}

TEST(KelvaultTreeFolders, CircuitShowsItsFoldersAndItsDependencies) {
    TempDir dir;
    makeFiles(dir, {{"ws/top.cir", "* top\n.INC \"parts.inc\"\n.LIB \"std.lib\"\n"},
                    {"ws/top.out", "o\n"},
                    {"ws/parts.inc", "* p\n"},
                    {"libs/std.lib", ".MODEL D D\n"},
                    {"windir/tarnel91.ini", ""},
                    {"ctx.ini", "[TARNEL]\nLIBPATH=" + dir.engine("libs") + "\n"}});
    std::string out;
    const std::string environment = "KVENG_WINDIR='" + dir.host("windir") + "'";
    ASSERT_EQ(runKelvault("tree --ini '" + dir.host("ctx.ini") + "' '" + dir.host("ws") + "'", out, environment), 0);
    EXPECT_TRUE(holds(out, "`-- top.cir  Tarnel Circuit\n"
                           "|       |-- Output (1)\n"
                           "|       |   `-- top.out  Tarnel Output  [Local]\n"
                           "|       |-- parts.inc  Tarnel Include  [Local]\n"
                           "|       `-- " +
                               dir.host("libs/std.lib") + "  Tarnel Application Model-Library  [System]\n"))
        << out;

    // Without the INI file the library is not found on a library path.
    ASSERT_EQ(runKelvault("tree '" + dir.host("ws") + "'", out, environment), 0);
    EXPECT_FALSE(holds(out, "[System]")) << out;
    EXPECT_TRUE(holds(out, "std.lib  Tarnel Application Model-Library  [Local]  MISSING\n")) << out;
}
