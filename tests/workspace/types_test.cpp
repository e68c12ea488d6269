// Type detection on real files (every signature and digit rule), the
// category listings with claiming and Miscellaneous Files, isListed, and
// the flag tests.
#include <cerrno>

#include "platform/hostcalls.h"
#include "workspace_test.h"

struct typeCase {
    const char* name;
    std::string content;
    const char* type;
};

// Writes every case into one workspace and checks each file's type.
static void expectTypes(const std::vector<typeCase>& cases) {
    TempDir dir;
    for (const typeCase& c : cases) writeFile(dir.host(c.name), c.content);
    auto ws = openOrFail(dir.engine());
    ASSERT_TRUE(ws);
    for (const typeCase& c : cases)
        EXPECT_EQ(typeOf(*ws, dir.engine(c.name)), c.type) << c.name << " holding \"" << c.content << "\"";
}

TEST(TypeDetection, ByNameAndSignature) {
    expectTypes({
        // Digits in the extension stand for '#'.
        {"design.d01", "", "DRILL"},   {"design.G12", "", "GERBER"}, {"fuse.j3", "", "JEDEC"},
        {"fuse.J33", "", "JEDEC"},     {"rom.r1", "", "RAMROM"},     {"rom.r12", "", "RAMROM"},
        {"rom.r123", "", "RAMROM"},    {"x.2op", "", "1OP"},         {"y.9OP", "", "1OP"},
        {"x.d1", "", "USER"},          {"x.g1", "", "USER"},         {"x.j333", "", "USER"},
        {"x.r1234", "", "USER"},       {"x.ramrom", "", "USER"},
        // Names without a short extension are user files.
        {"noext", "", "USER"}, {"x.chkpt", "", "USER"}, {"x.", "", "USER"}, {"a.b.netlist", "", "USER"},
        {"a.netlist.net", "", "NET"}, {".cir", "* hidden\n", "CIR"}, {"MiXeD.Cir", "", "CIR"},
        // Text signatures compare the first line without regard to case.
        {"good.sch", "*version 9.1 12\n@LIBRARIES\n", "SCH"},
        {"upper.SCH", "*VERSION\n", "SCH"},
        {"crlf.sch", "*Version 3\r\n", "SCH"},
        {"short.sch", "*ve", "USER"},
        {"other.sch", "version 9\n", "USER"},
        {"late.sch", "\n*version\n", "USER"},
        {"data.txt", "#H header\n", "TXT"},
        {"lower.txt", "#h\n", "TXT"},
        {"plain.txt", "hello\n", "USER"},
        {"wave.csd", "#H csdf\n", "TXT"},
        {"nosig.csd", "#C\n", "USER"},
        {"doc.doc", "FKDocument v2\n", "DOC"},
        {"word.doc", "\xD0\xCF\x11\xE0 binary", "USER"},
        {"short.doc", "FKDoc\n", "USER"},
        {"ap.adf", "*APERTURE list\n", "ADF"},
        {"noap.adf", "D10 C 0.01\n", "USER"},
        // Binary signatures compare only the first byte.
        {"wave.dat", std::string("\xFF\x00\x00\x00rest", 8), "DAT"},
        {"one.dat", "\xFF", "DAT"},
        {"ff-then-text.dat", "\xFFhello", "DAT"},
        {"text.dat", "1 2 3\n", "USER"},
        {"data.cat", "\xFF\xFF\xFF\xFF", "CAT"},
        {"list.cat", "a b c", "USER"},
        // Empty files have the plain row's type; a signature fails.
        {"e.cir", "", "CIR"}, {"e.lib", "", "LIB"}, {"e.slb", "", "SLB"}, {"e.mdf", "", "MDF"},
        {"e.txt", "", "USER"}, {"e.sch", "", "USER"}, {"zero.dat", "", "USER"},
    });
}

typedef std::vector<std::string> Names;

class CategoryListings : public WorkspaceTest {
protected:
    Names category(int c) { return baseNames(ws->getCategoryItems(c)); }
};

TEST_F(CategoryListings, UnreadableFileFailsItsSignatureAndQuestionsStayOffTheDisk) {
    makeFiles(dir, {{"top.sch", "*version 1\n"}, {"top.cir", "* c\n"}, {"top.net", ""}});
    setModificationTime(dir.host("top.sch"), 1000000000);
    ASSERT_TRUE(open({}));
    fileItem* top = item("top.sch");
    ASSERT_EQ(top->getFileType().value(), KVE_fileTypeEnum::SCH);

    // Questions and listings answer from the records alone.
    kvFaultsClear();
    for (KVE_fileCategoryEnum c(0); c.topLevel(); c.setNext()) delete ws->getCategoryItems(c);
    delete ws->getTypeItems(KVE_fileTypeEnum::SCH);
    EXPECT_EQ(kvHostCallCount(HostCall::Any), 0u) << "no listing may touch the disk before a refresh";

    // A changed schematic that cannot be opened fails its signature.
    setModificationTime(dir.host("top.sch"), 1000000500);
    ws->refresh();
    kvFaultAt(HostCall::Open, 1, EACCES, 0);
    EXPECT_EQ(top->getFileType().value(), KVE_fileTypeEnum::USER);
    kvFaultsClear();
    EXPECT_EQ(top->getFileType().value(), KVE_fileTypeEnum::USER) << "determined once per change";
}

TEST_F(CategoryListings, CircuitBesideASchematicIsShownBeneathItNotListed) {
    ASSERT_TRUE(open({{"amp.sch", "*version\n"}, {"AMP.CIR", "* from the schematic\n"}, {"osc.cir", "* alone\n"}}));
    EXPECT_FALSE(item("amp.cir")->isListed());
    EXPECT_TRUE(item("osc.cir")->isListed());
    EXPECT_TRUE(item("amp.sch")->isListed());
    EXPECT_EQ(category(KVE_fileCategoryEnum::FileBasedSimulation), Names{"osc.cir"});
    EXPECT_EQ(baseNames(ws->getTypeItems(KVE_fileTypeEnum::CIR)), (Names{"AMP.CIR", "osc.cir"}));

    // The schematic goes: after a refresh the circuit is listed again.
    ASSERT_EQ(remove(dir.host("amp.sch").c_str()), 0);
    ws->refresh();
    EXPECT_EQ(category(KVE_fileCategoryEnum::FileBasedSimulation), (Names{"AMP.CIR", "osc.cir"}));
}

TEST_F(CategoryListings, MiscellaneousFilesShowsUnclaimedFilesWithoutCategory) {
    ASSERT_TRUE(open({
        {"amp.sch", "*version\n"},
        {"amp.net", "netlist\n"},  // Netlists of amp.sch: claimed
        {"AMP.bom", "bom\n"},      // Reports of amp.sch: claimed
        {"amp.out", "out\n"},      // Simulation Output of amp.sch: claimed
        {"lone.net", "netlist\n"}, // no parent
        {"osc.cir", "* c\n"},
        {"osc.out", "out\n"},      // Output of osc.cir: claimed
        {"osc.1op", ""},           // System Files of osc.cir: claimed
        {"board.pca", ""},
        {"board.g01", ""},         // Gerber Output of board.pca
        {"board.d02", ""},         // Drill Output of board.pca
        {"other.g01", ""},         // no board of that stem
        {"notes.xyz", ""},         // a user file has a category of its own
        {"readme.rdm", ""},        // no category, no folder
        {"gone.sch", "x\n"},
    }));
    EXPECT_EQ(category(KVE_fileCategoryEnum::MiscellaneousFiles), (Names{"lone.net", "other.g01", "readme.rdm"}));
    EXPECT_EQ(category(KVE_fileCategoryEnum::UserFiles), (Names{"gone.sch", "notes.xyz"}));
    EXPECT_EQ(category(KVE_fileCategoryEnum::Lamineer), Names{"board.pca"});

    // A parent that vanishes no longer claims; a vanished file without
    // category stays in Miscellaneous Files, which does not test existence.
    ASSERT_EQ(remove(dir.host("board.pca").c_str()), 0);
    ASSERT_EQ(remove(dir.host("readme.rdm").c_str()), 0);
    ws->refresh();
    EXPECT_EQ(category(KVE_fileCategoryEnum::MiscellaneousFiles),
              (Names{"board.d02", "board.g01", "lone.net", "other.g01", "readme.rdm"}));
    EXPECT_TRUE(category(KVE_fileCategoryEnum::Lamineer).empty());
}

TEST_F(CategoryListings, OnlyLocalItemsAreShownAndNonLocalParentsDoNotClaim) {
    ASSERT_TRUE(open({{"ws/top.net", ""}, {"ws/sub/top.sch", "*version\n"}, {"ws/sub/deep.sch", "*version\n"},
                      {"ext/x.sch", "*version\n"}},
                     "ws"));
    for (const char* path : {"ws\\sub\\top.sch", "ws\\sub\\deep.sch", "ext\\x.sch"}) add(path);
    EXPECT_TRUE(category(KVE_fileCategoryEnum::Sketchvane).empty());
    EXPECT_EQ(baseNames(ws->getTypeItems(KVE_fileTypeEnum::SCH)).size(), 3u);
    EXPECT_EQ(category(KVE_fileCategoryEnum::MiscellaneousFiles), Names{"top.net"});
}

// The folder tests of an item ask the table with the item's own type (the
// table's answers are the vocabulary tests').
TEST_F(CategoryListings, FlagTestsAndNetlistTypes) {
    ASSERT_TRUE(open({{"a.sch", "*version\n"}, {"a.edf", ""}, {"a.net", ""}, {"a.pca", ""}}));
    fileItem* sch = item("a.sch");
    fileItem* pca = item("a.pca");
    EXPECT_TRUE(sch->isSystemFileCategory(KVE_fileCategoryEnum::SystemFiles));
    EXPECT_FALSE(sch->isSystemFileCategory(KVE_fileCategoryEnum::Reports));
    EXPECT_TRUE(sch->isOutputCategory(KVE_fileCategoryEnum::Reports));
    EXPECT_FALSE(sch->isOutputCategory(KVE_fileCategoryEnum::GerberOutput)) << "a board's folder";
    EXPECT_TRUE(pca->isOutputCategory(KVE_fileCategoryEnum::GerberOutput));
    EXPECT_TRUE(isNetlistType(item("a.edf")));
    EXPECT_FALSE(isNetlistType(item("a.net"))) << "NET is a system file, not a netlist";
    EXPECT_FALSE(isNetlistType(sch));
    EXPECT_FALSE(isNetlistType(nullptr));
}
