// kelvault tree and ls on a real directory: what a person and a script see.
#include "support/kelvaultruns.h"
#include "workspace_test.h"

TEST(KelvaultTreeAndLs, CategoriesFilesTypesAndFilters) {
    TempDir dir;
    makeFiles(dir, {{"ws/amp.sch", "*version 9.1\n"}, {"ws/amp.net", "n\n"}, {"ws/amp.cir", "* c\n"},
                    {"ws/osc.cir", "* c\n"}, {"ws/board.pca", "p\n"}, {"ws/board.g01", "g\n"},
                    {"ws/odd.g07", "g\n"}, {"ws/notes.xyz", "n\n"}});
    const std::string ws = " '" + dir.host("ws") + "'";
    expectKelvaultRuns({
        // The categories alone; what shows beneath the files is tested with
        // the folders. An unclaimed gerber is a miscellaneous file, a claimed
        // one is not listed, and empty categories stay out.
        {"tree --depth 0" + ws, 0,
         {"|-- Sketchvane (1)\n|   `-- amp.sch  Tarnel Sketchvane Schematic\n",
          "|-- File Based Simulation (1)\n|   `-- osc.cir  Tarnel Circuit\n", "odd.g07",
          "(3 more files belong beneath a design file of the same stem)"},
         {"board.g01", "Vantric"}},
        {"tree --all" + ws, 0, {"Vantric (0)"}},
        {"tree --json" + ws, 0,
         {"\"name\": \"Sketchvane\"", "\"type\": \"SCH\"", "\"path\": \"" + dir.host("ws") + "/amp.sch\""},
         {"\"Vantric\""}},
        // A plain file given as the directory fails.
        {"tree '" + dir.host("ws/notes.xyz") + "'", 1, {}},
        {"ls" + ws, 0,
         {"amp.cir", "amp.net", "amp.sch    SCH", "board.g01", "board.pca", "notes.xyz", "odd.g07"}},
        {"ls --type gerber" + ws, 0, {"board.g01", "odd.g07"}, {"amp.sch"}},
        {"ls --category 'Miscellaneous Files'" + ws, 0, {"odd.g07"}, {"board.g01"}},
        {"ls --json --type SCH" + ws, 0, {"\"locality\": \"Local\"", "\"size\": 13"}},
        {"ls --type NOSUCH" + ws, 2, {}},
        {"ls --category nowhere" + ws, 2, {}},
    });
    EXPECT_EQ(readFile(dir.host("ws/notes.xyz")), "n\n") << "the plain file stays as it was";
}
