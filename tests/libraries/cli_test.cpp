// kelvault libs, find and lib on real files: what a person and a script see.
#include "libtest.h"
#include "support/kelvault.h"

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
    // kelvault with the fixed INI file of this test.
    int run(const std::string& arguments, std::string& out) {
        return runKelvault(arguments, out, "KVENG_WINDIR='" + dir.host("win") + "'");
    }
    TempDir dir;
    std::string out;
};

TEST_F(Cli, LibsShowsThePathAndTheLibraries) {
    ASSERT_EQ(run("libs --ini '" + dir.host("ctx.ini") + "'", out), 0);
    EXPECT_NE(out.find("library path:\n  " + dir.host("libs") + "\n"), std::string::npos) << out;
    EXPECT_NE(out.find("symbols           " + dir.host("libs/std.slb")), std::string::npos) << out;
    EXPECT_NE(out.find("packages          " + dir.host("libs/std.plb")), std::string::npos) << out;
    EXPECT_NE(out.find("symbols   missing " + dir.host("gone.slb")), std::string::npos) << out;
    EXPECT_NE(out.find("externals subdirectory: sys_libs"), std::string::npos) << out;

    ASSERT_EQ(run("libs --json --externals ext --ini '" + dir.host("ctx.ini") + "'", out), 0);
    EXPECT_NE(out.find("\"kind\": \"packages\""), std::string::npos) << out;
    EXPECT_NE(out.find("\"exists\": false"), std::string::npos) << out;
    EXPECT_NE(out.find("\"externalsSubdirectory\": \"ext\""), std::string::npos) << out;
}

TEST_F(Cli, FindShowsEachPathTried) {
    std::string ini = " --ini '" + dir.host("ctx.ini") + "'";
    ASSERT_EQ(run("find std --ext .plb --from '" + dir.host("ws") + "'" + ini, out), 0);
    EXPECT_EQ(out, "tried  " + dir.host("ws/std.plb") + "\ntried  " + dir.host("libs/std.plb") + "\nfound  " +
                       dir.host("libs/std.plb") + "\n");
    EXPECT_EQ(run("find none.sch --json" + ini, out), 1) << "not found";
    EXPECT_NE(out.find("\"found\": false"), std::string::npos) << out;
}

TEST_F(Cli, LibListsTheIndexAndFlagsWrongOffsets) {
    ASSERT_EQ(run("lib '" + dir.host("libs/std.slb") + "'", out), 0) << out;
    EXPECT_NE(out.find("2 entries, offsets from byte 75"), std::string::npos) << out;
    EXPECT_NE(out.find("res,r"), std::string::npos) << out;
    EXPECT_NE(out.find("BASE"), std::string::npos) << "the parent as written\n" << out;
    EXPECT_NE(out.find("*symbol B"), std::string::npos) << out;

    writeFile(dir.host("bad.slb"), "symloc A 0 3\nsymloc B 2 3\nsymloc C 9 99\n*a\n*b\n");
    EXPECT_EQ(run("lib --json '" + dir.host("bad.slb") + "'", out), 1);
    EXPECT_NE(out.find("\"problem\": \"no block starts here\""), std::string::npos) << out;
    EXPECT_NE(out.find("\"problem\": \"starts outside the file\""), std::string::npos) << out;
    EXPECT_NE(out.find("\"flagged\": 2"), std::string::npos) << out;
    EXPECT_EQ(run("lib '" + dir.host("none.slb") + "'", out), 2);
}
