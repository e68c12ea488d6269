// kelvault ma at the command line: a design tree through pack, list, verify
// and unpack; exit statuses; a failure told with its message and name.
// Runs the kelvault of the build (skipped where it has not been built).
#include "container_test.h"

#include "support/kelvault.h"

struct CliRun {
    int status;
    std::string out; // standard output and standard error
};

static CliRun kelvault(const std::string& arguments) {
    CliRun r;
    r.status = runKelvault(arguments, r.out, "", true);
    return r;
}

class MaCommand : public ArchiveTest {
protected:
    void SetUp() override {
        ArchiveTest::SetUp();
        if (!fileExists(std::string(KV_BINARY_DIR) + "/kelvault")) GTEST_SKIP() << "kelvault is not built";
    }
};

TEST_F(MaCommand, ADesignTreeRoundTrips) {
    TempDir dir;
    std::string d = dir.host("Design Work");  // a blank in the path
    writeFile(d + "/top.sch", patternBytes(50000, 21, true));
    writeFile(d + "/lib/parts.slb", patternBytes(20000, 22, true));
    writeFile(d + "/sim/run.dat", patternBytes(30000, 23));
    writeFile(d + "/sim/empty.log", "");
    fs::create_directories(d + "/reports");
    std::string q = "'" + d + "'", ma = "'" + dir.host("w.ma") + "'";

    CliRun pack = kelvault("ma pack " + q + " " + ma);
    EXPECT_EQ(0, pack.status) << pack.out;
    EXPECT_NE(std::string::npos, pack.out.find("7 entries (4 files)")) << pack.out;

    CliRun list = kelvault("ma list " + ma);
    EXPECT_EQ(0, list.status) << list.out;
    EXPECT_NE(std::string::npos, list.out.find("lib/parts.slb")) << list.out;
    char crc[16];
    snprintf(crc, sizeof crc, "%08X", crcOf(patternBytes(50000, 21, true)));
    EXPECT_NE(std::string::npos, list.out.find(crc)) << "the CRC of top.sch\n" << list.out;

    CliRun json = kelvault("ma list --json " + ma);
    EXPECT_EQ(0, json.status);
    EXPECT_NE(std::string::npos, json.out.find("\"name\": \"sim/run.dat\"")) << json.out;

    CliRun verify = kelvault("ma verify " + ma);
    EXPECT_EQ(0, verify.status) << verify.out;
    EXPECT_NE(std::string::npos, verify.out.find("7 entries, 4 files checked, 0 damaged")) << verify.out;

    CliRun unpack = kelvault("ma unpack " + ma + " '" + dir.host("new place") + "'");
    EXPECT_EQ(0, unpack.status) << unpack.out;
    EXPECT_EQ(treeOf(d), treeOf(dir.host("new place"))) << "made the missing target and restored the tree";
}

TEST_F(MaCommand, FailuresAreToldWithTheirMessageAndName) {
    TempDir dir;
    RawEntry bad = fileEntry("bad.cir", patternBytes(5000, 24, true));
    bad.crc = 7;
    writeFile(dir.host("bad.ma"), archiveBytes({bad}));

    CliRun verify = kelvault("ma verify '" + dir.host("bad.ma") + "'");
    EXPECT_EQ(1, verify.status) << verify.out;
    EXPECT_NE(std::string::npos, verify.out.find("FAILED  bad.cir")) << verify.out;
    EXPECT_FALSE(fileExists(dir.host("bad.cir"))) << "verify writes nothing";

    CliRun unpack = kelvault("ma unpack '" + dir.host("bad.ma") + "' '" + dir.host("out") + "'");
    EXPECT_EQ(1, unpack.status);
    EXPECT_NE(std::string::npos,
              unpack.out.find("CRC mismatch after decompression in '" + dir.host("out/bad.cir") + "'"))
        << unpack.out;

    CliRun missing = kelvault("ma list '" + dir.host("none.ma") + "'");
    EXPECT_EQ(1, missing.status);
    EXPECT_NE(std::string::npos, missing.out.find("Error opening archive file '" + dir.host("none.ma") + "' to read"))
        << missing.out;

    EXPECT_EQ(2, kelvault("ma").status);
    EXPECT_EQ(2, kelvault("ma explode x.ma").status);
    EXPECT_EQ(2, kelvault("ma pack onlyone").status);
}
