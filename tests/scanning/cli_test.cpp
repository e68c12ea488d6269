// kelvault deps on a real directory: the direct list, the closure with a
// cycle, missing files, JSON and the problems a scan reports.
#include "scanning/scantest.h"
#include "support/kelvaultruns.h"

TEST(KelvaultDeps, DirectAndClosure) {
    TempDir dir;
    writeFile(dir.host("ws/a.cir"), ".INC \"sub/b.cir\"\n.LIB gone.lib\n");
    writeFile(dir.host("ws/sub/b.cir"), ".INC \"../a.cir\"\n.INC ../../far.inc\n");
    writeFile(dir.host("far.inc"), "* far\n");
    const std::string a = " '" + dir.host("ws/a.cir") + "'";
    expectKelvaultRuns({
        {"deps" + a, 0,
         {"|-- local    MISSING " + dir.host("ws/gone.lib") + "\n", "`-- subdir   " + dir.host("ws/sub/b.cir") + "\n",
          "2 files, 1 missing"},
         {"far.inc"}}, // direct only
        {"deps --closure" + a, 0,
         {"    |-- local    " + dir.host("ws/a.cir") + "  (see above)\n", "    `-- external " + dir.host("far.inc") + "\n",
          "3 files, 1 missing"}},
        {"deps --json --closure" + a, 0, {"\"missing\": 1", "\"repeated\": true"}},
    });
}

TEST(KelvaultDeps, ProblemsAndBadArguments) {
    TempDir dir;
    writeFile(dir.host("a.cir"), "* a\n");
    writeFile(dir.host("a.mif"), "lib=gone.lib,offset=1,size=2\n");
    expectKelvaultRuns({
        {"deps '" + dir.host("a.cir") + "'", 1, {"(no dependencies)"}}, // a stale model index is reported
        {"deps '" + dir.host("nothing.cir") + "'", 1, {}},
        {"deps", 2, {}},
    });
}
