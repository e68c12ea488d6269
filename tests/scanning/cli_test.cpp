// kelvault deps on a real directory: the direct list, the closure with a
// cycle, missing files, JSON and the problems a scan reports.
#include <sys/wait.h>

#include <cstdio>

#include "scanning/scantest.h"
#include "support/kelvault.h"

TEST(KelvaultDeps, DirectAndClosure) {
    TempDir dir;
    writeFile(dir.host("ws/a.cir"), ".INC \"sub/b.cir\"\n.LIB gone.lib\n");
    writeFile(dir.host("ws/sub/b.cir"), ".INC \"../a.cir\"\n.INC ../../far.inc\n");
    writeFile(dir.host("far.inc"), "* far\n");
    std::string out;
    ASSERT_EQ(runKelvault("deps '" + dir.host("ws/a.cir") + "'", out), 0);
    EXPECT_NE(out.find("|-- local    MISSING " + dir.host("ws/gone.lib") + "\n"), std::string::npos) << out;
    EXPECT_NE(out.find("`-- subdir   " + dir.host("ws/sub/b.cir") + "\n"), std::string::npos) << out;
    EXPECT_NE(out.find("2 files, 1 missing"), std::string::npos) << out;
    EXPECT_EQ(out.find("far.inc"), std::string::npos) << "direct only\n" << out;

    ASSERT_EQ(runKelvault("deps --closure '" + dir.host("ws/a.cir") + "'", out), 0);
    EXPECT_NE(out.find("    |-- local    " + dir.host("ws/a.cir") + "  (see above)\n"), std::string::npos) << out;
    EXPECT_NE(out.find("    `-- external " + dir.host("far.inc") + "\n"), std::string::npos) << out;
    EXPECT_NE(out.find("3 files, 1 missing"), std::string::npos) << out;

    ASSERT_EQ(runKelvault("deps --json --closure '" + dir.host("ws/a.cir") + "'", out), 0);
    EXPECT_NE(out.find("\"missing\": 1"), std::string::npos) << out;
    EXPECT_NE(out.find("\"repeated\": true"), std::string::npos) << out;
}

TEST(KelvaultDeps, ProblemsAndBadArguments) {
    TempDir dir;
    writeFile(dir.host("a.cir"), "* a\n");
    writeFile(dir.host("a.mif"), "lib=gone.lib,offset=1,size=2\n");
    std::string out;
    EXPECT_EQ(runKelvault("deps '" + dir.host("a.cir") + "'", out), 1) << "a stale model index is reported";
    EXPECT_NE(out.find("(no dependencies)"), std::string::npos) << out;
    EXPECT_EQ(runKelvault("deps '" + dir.host("nothing.cir") + "'", out), 1);
    EXPECT_EQ(runKelvault("deps", out), 2);
}
