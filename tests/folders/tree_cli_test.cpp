// kelvault tree beneath the files, on real directories: folders with their
// content and nothing for empty ones, dependencies with their locality,
// missing files, cycles, the depth limit, and the JSON form.
#include "support/kelvaultruns.h"
#include "workspace/workspace_test.h"

namespace {

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

TEST(KelvaultTreeFolders, FoldersDependenciesDepthAndJson) {
    TempDir dir;
    makeDesign(dir);
    const std::string ws = " '" + dir.host("ws") + "'";
    const std::string before = readFile(dir.host("ws/models.lib"));
    expectKelvaultRuns({
        // Files show their folders with content only: the schematic's
        // dependency, netlist and simulation folders are empty.
        {"tree" + ws, 0,
         {"|   `-- amp.sch  Tarnel Sketchvane Schematic\n"
          "|       |-- Reports (1)\n"
          "|       |   `-- amp.bom  Tarnel Bill-Of-Materials  [Local]\n"
          "|       `-- System Files (2)\n"
          "|           |-- amp.cir  Tarnel Circuit  [Local]\n"
          "|           `-- amp.net  Tarnel Sketchvane Netlist  [Local]\n",
          "Gerber Output (2)\n", "board.g02  Tarnel Lamineer Gerber files  [Local]\n",
          // Dependencies with their locality, missing files and cycles:
          // tail.lib names models.lib, which named tail.lib, so the walk
          // stops; tail.lib's own entry says it was shown above.
          "Workspace Dependencies (4)\n", "parts.inc  Tarnel Include  [Local]\n",
          "sub/deep.inc  Tarnel Include  [Local_subdir]\n", "External Dependencies (1)\n",
          dir.host("ext/far.inc") + "  Tarnel Include  [External]\n", "gone.inc  Tarnel Include  [Local]  MISSING\n",
          "models.lib  Tarnel Application Model-Library  [Local]  (cycle)\n",
          "-- tail.lib    Tarnel Application Model-Library  (shown above)\n"},
         // No library path, so nothing is a system file.
         {"Simulation Output", "Netlists", "System Dependencies"}},
        // The depth limits the levels beneath each file.
        {"tree --depth 0" + ws, 0, {"amp.sch"}, {"Reports", "[Local]"}},
        {"tree --depth 1" + ws, 0, {"|       |-- Reports (1, not shown)\n", "Workspace Dependencies (4, not shown)\n"},
         {"amp.bom", "parts.inc  Tarnel Include  [Local]"}},
        {"tree --depth 2" + ws, 0, {"parts.inc  Tarnel Include  [Local]\n"}, {"(cycle)"}}, // the cycle lies deeper
        {"tree --depth -1" + ws, 2, {}},
        {"tree --depth x" + ws, 2, {}},
        // JSON nests folders and files; the missing file has no time.
        {"tree --json" + ws, 0,
         {"\"folder\": \"Reports\",\n", "\"value\": 16,\n", "\"path\": \"" + dir.host("ws/amp.bom") + "\"",
          "\"locality\": \"External\"", "\"locality\": \"Local_subdir\"", "\"lastWrite\": null,\n", "\"note\": \"cycle\""}},
        {"tree --json --depth 1" + ws, 0, {"\"count\": 1,\n", "\"truncated\": true"}, {"amp.bom"}},
    });
    // tree leaves the design untouched: a missing dependency is shown, not made.
    EXPECT_EQ(readFile(dir.host("ws/models.lib")), before);
    EXPECT_FALSE(fileExists(dir.host("ws/gone.inc")));
}

TEST(KelvaultTreeFolders, CircuitShowsItsFoldersAndItsDependencies) {
    TempDir dir;
    makeFiles(dir, {{"ws/top.cir", "* top\n.INC \"parts.inc\"\n.LIB \"std.lib\"\n"},
                    {"ws/top.out", "o\n"},
                    {"ws/parts.inc", "* p\n"},
                    {"libs/std.lib", ".MODEL D D\n"},
                    {"windir/tarnel91.ini", ""},
                    {"ctx.ini", "[TARNEL]\nLIBPATH=" + dir.engine("libs") + "\n"}});
    expectKelvaultRuns({
        {"tree --ini '" + dir.host("ctx.ini") + "' '" + dir.host("ws") + "'", 0,
         {"`-- top.cir  Tarnel Circuit\n"
          "|       |-- Output (1)\n"
          "|       |   `-- top.out  Tarnel Output  [Local]\n"
          "|       |-- parts.inc  Tarnel Include  [Local]\n"
          "|       `-- " + dir.host("libs/std.lib") + "  Tarnel Application Model-Library  [System]\n"}},
        // Without the INI file the library is not found on a library path.
        {"tree '" + dir.host("ws") + "'", 0, {"std.lib  Tarnel Application Model-Library  [Local]  MISSING\n"}, {"[System]"}},
    }, "KVENG_WINDIR='" + dir.host("windir") + "'");
}
