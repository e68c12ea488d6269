// kelvault libs, find and lib on real files: what a person and a script see.
#include "libtest.h"
#include "support/kelvaultruns.h"

class Cli : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(dir.host("win/tarnel91.ini"),
                  "[Part Libs]\nLIB1=std [.slb,.plb]\n[Special Libs]\nLIB1=" + dir.engine("gone.slb") + "\n");
        writeFile(dir.host("ctx.ini"), "[TARNEL]\nLIBPATH=" + dir.engine("libs") + "\n");
        writeFile(dir.host("libs/std.slb"), "@INDEX\nsymloc RES,R:BASE        0       12\nsymloc BASE       12"
                                            "        9 b\n*symbol RES\n*symbol B\n");
        writeFile(dir.host("libs/std.plb"), "symloc P 0 5\n*pack\n");
        writeFile(dir.host("ws/near.sch"), "n");
    }
    std::string environment() const { return "KVENG_WINDIR='" + dir.host("win") + "'"; }
    std::string ini() const { return " --ini '" + dir.host("ctx.ini") + "'"; }
    TempDir dir;
};

TEST_F(Cli, LibsFindAndLib) {
    writeFile(dir.host("bad.slb"), "symloc A 0 3\nsymloc B 2 3\nsymloc C 9 99\n*a\n*b\n");
    expectKelvaultRuns({
        {"libs" + ini(), 0,
         {"library path:\n  " + dir.host("libs") + "\n", "symbols           " + dir.host("libs/std.slb"),
          "packages          " + dir.host("libs/std.plb"), "symbols   missing " + dir.host("gone.slb"),
          "externals subdirectory: sys_libs"}},
        {"libs --json --externals ext" + ini(), 0,
         {"\"kind\": \"packages\"", "\"exists\": false", "\"externalsSubdirectory\": \"ext\""}},
        {"find none.sch --json" + ini(), 1, {"\"found\": false"}}, // not found
        // lib lists the index: several names, the parent as written.
        {"lib '" + dir.host("libs/std.slb") + "'", 0, {"2 entries, offsets from byte 75", "res,r", "BASE", "*symbol B"}},
        // and flags wrong offsets.
        {"lib --json '" + dir.host("bad.slb") + "'", 1,
         {"\"problem\": \"no block starts here\"", "\"problem\": \"starts outside the file\"", "\"flagged\": 2"}},
        {"lib '" + dir.host("none.slb") + "'", 2, {}},
    }, environment());
}

TEST_F(Cli, FindShowsEachPathTried) {
    const std::string out =
        expectKelvaultRuns({{"find std --ext .plb --from '" + dir.host("ws") + "'" + ini(), 0, {}}}, environment());
    EXPECT_EQ(out, "tried  " + dir.host("ws/std.plb") + "\ntried  " + dir.host("libs/std.plb") + "\nfound  " +
                       dir.host("libs/std.plb") + "\n");
}
