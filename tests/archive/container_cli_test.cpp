// kelvault ma at the command line: a design tree through pack, list, verify
// and unpack; exit statuses; a failure told with its message and name.
#include "container_test.h"

#include "support/kelvaultruns.h"

TEST_F(ArchiveTest, MaCommandRoundTripsADesignTree) {
    TempDir dir;
    std::string d = dir.host("Design Work");  // a blank in the path
    writeFile(d + "/top.sch", patternBytes(50000, 21, true));
    writeFile(d + "/lib/parts.slb", patternBytes(20000, 22, true));
    writeFile(d + "/sim/run.dat", patternBytes(30000, 23));
    writeFile(d + "/sim/empty.log", "");
    fs::create_directories(d + "/reports");
    std::string q = "'" + d + "'", ma = "'" + dir.host("w.ma") + "'";
    char crc[16];
    snprintf(crc, sizeof crc, "%08X", crcOf(patternBytes(50000, 21, true)));
    expectKelvaultRuns({
        {"ma pack " + q + " " + ma, 0, {"7 entries (4 files)"}},
        {"ma list " + ma, 0, {"lib/parts.slb", crc}},  // the CRC of top.sch
        {"ma list --json " + ma, 0, {"\"name\": \"sim/run.dat\""}},
        {"ma verify " + ma, 0, {"7 entries, 4 files checked, 0 damaged"}},
        {"ma unpack " + ma + " '" + dir.host("new place") + "'", 0, {}},
    }, "", true);
    EXPECT_EQ(treeOf(d), treeOf(dir.host("new place"))) << "made the missing target and restored the tree";
}

TEST_F(ArchiveTest, MaCommandTellsFailuresWithTheirMessageAndName) {
    TempDir dir;
    RawEntry bad = fileEntry("bad.cir", patternBytes(5000, 24, true));
    bad.crc = 7;
    writeFile(dir.host("bad.ma"), archiveBytes({bad}));
    expectKelvaultRuns({
        {"ma verify '" + dir.host("bad.ma") + "'", 1, {"FAILED  bad.cir"}},
        {"ma unpack '" + dir.host("bad.ma") + "' '" + dir.host("out") + "'", 1,
         {"CRC mismatch after decompression in '" + dir.host("out/bad.cir") + "'"}},
        {"ma list '" + dir.host("none.ma") + "'", 1, {"Error opening archive file '" + dir.host("none.ma") + "' to read"}},
        {"ma", 2, {}},
        {"ma explode x.ma", 2, {}},
        {"ma pack onlyone", 2, {}},
    }, "", true);
    EXPECT_FALSE(fileExists(dir.host("bad.cir"))) << "verify writes nothing";
}
