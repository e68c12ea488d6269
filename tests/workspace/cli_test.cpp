// kelvault tree and ls on a real directory: what a person and a script see.
#include "support/kelvault.h"
#include "workspace_test.h"

static void makeDesign(const TempDir& dir) {
    makeFiles(dir, {{"ws/amp.sch", "*version 9.1\n"}, {"ws/amp.net", "n\n"}, {"ws/amp.cir", "* c\n"},
                    {"ws/osc.cir", "* c\n"}, {"ws/board.pca", "p\n"}, {"ws/board.g01", "g\n"},
                    {"ws/odd.g07", "g\n"}, {"ws/notes.xyz", "n\n"}});
}

TEST(KelvaultTree, ShowsCategoriesWithTheirFilesAndTypeNames) {
    TempDir dir;
    makeDesign(dir);
    std::string out;
    // The categories alone; what shows beneath the files is tested with
    // the folders.
    ASSERT_EQ(runKelvault("tree --depth 0 '" + dir.host("ws") + "'", out), 0);
    EXPECT_NE(out.find("|-- Sketchvane (1)\n|   `-- amp.sch  Tarnel Sketchvane Schematic\n"), std::string::npos)
        << out;
    EXPECT_NE(out.find("|-- File Based Simulation (1)\n|   `-- osc.cir  Tarnel Circuit\n"), std::string::npos) << out;
    EXPECT_NE(out.find("odd.g07"), std::string::npos) << "an unclaimed gerber is a miscellaneous file\n" << out;
    EXPECT_EQ(out.find("board.g01"), std::string::npos) << "a claimed gerber is not listed\n" << out;
    EXPECT_EQ(out.find("Vantric"), std::string::npos) << "empty categories stay out\n" << out;
    EXPECT_NE(out.find("(3 more files belong beneath a design file of the same stem)"), std::string::npos) << out;

    ASSERT_EQ(runKelvault("tree --all '" + dir.host("ws") + "'", out), 0);
    EXPECT_NE(out.find("Vantric (0)"), std::string::npos) << out;

    // --json gives the same as data.
    ASSERT_EQ(runKelvault("tree --json '" + dir.host("ws") + "'", out), 0);
    EXPECT_NE(out.find("\"name\": \"Sketchvane\""), std::string::npos) << out;
    EXPECT_NE(out.find("\"type\": \"SCH\""), std::string::npos) << out;
    EXPECT_NE(out.find("\"path\": \"" + dir.host("ws") + "/amp.sch\""), std::string::npos) << out;
    EXPECT_EQ(out.find("\"Vantric\""), std::string::npos) << out;

    // A plain file given as the directory fails, and stays as it was.
    EXPECT_EQ(runKelvault("tree '" + dir.host("ws/notes.xyz") + "'", out), 1);
    EXPECT_EQ(readFile(dir.host("ws/notes.xyz")), "n\n");
}

TEST(KelvaultLs, ListsEveryFileAndFiltersByTypeAndCategory) {
    TempDir dir;
    makeDesign(dir);
    std::string out;
    ASSERT_EQ(runKelvault("ls '" + dir.host("ws") + "'", out), 0);
    for (const char* name : {"amp.cir", "amp.net", "amp.sch", "board.g01", "board.pca", "notes.xyz", "odd.g07"})
        EXPECT_NE(out.find(name), std::string::npos) << name << "\n" << out;
    EXPECT_NE(out.find("amp.sch    SCH"), std::string::npos) << out;

    ASSERT_EQ(runKelvault("ls --type gerber '" + dir.host("ws") + "'", out), 0);
    EXPECT_NE(out.find("board.g01"), std::string::npos) << out;
    EXPECT_NE(out.find("odd.g07"), std::string::npos) << out;
    EXPECT_EQ(out.find("amp.sch"), std::string::npos) << out;

    ASSERT_EQ(runKelvault("ls --category 'Miscellaneous Files' '" + dir.host("ws") + "'", out), 0);
    EXPECT_NE(out.find("odd.g07"), std::string::npos) << out;
    EXPECT_EQ(out.find("board.g01"), std::string::npos) << out;

    ASSERT_EQ(runKelvault("ls --json --type SCH '" + dir.host("ws") + "'", out), 0);
    EXPECT_NE(out.find("\"locality\": \"Local\""), std::string::npos) << out;
    EXPECT_NE(out.find("\"size\": 13"), std::string::npos) << out;

    EXPECT_EQ(runKelvault("ls --type NOSUCH '" + dir.host("ws") + "'", out), 2);
    EXPECT_EQ(runKelvault("ls --category nowhere '" + dir.host("ws") + "'", out), 2);
}
