// Symbol and package resolution: where a schematic's symbols are looked
// for, what a scan records of them, and the walks that end on damaged
// libraries.
#include <algorithm>
#include <cstring>
#include <dirent.h>
#include <random>

#include "libraries/configuration.h"
#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"
#include "operations/scandependencies.h"
#include "platform/hostcalls.h"
#include "scanning/formats.h"
#include "scanning/lineengine.h"
#include "scanning/scanmemo.h"
#include "scanning/scantest.h"

// --- Helpers -----------------------------------------------------------------

// A symbol's text whose package is package (none when empty), with the
// views given (lines "name=value").
static std::string symbolText(const std::string& name, const std::string& package, const std::string& views = "") {
    std::string text = "*symbol " + name + "\nd " + name + " symbol\n@type g\n";
    if (!views.empty()) text += "@views\n" + views;
    text += "@attributes\n";
    if (!package.empty()) text += "a 0 sp 11 0 10 20 hcn 100 COMPONENT=" + package + "\n";
    return text + "@pins\np 2 1 0 0 10 0 hln 0 1\n";
}

static std::string packageText(const std::string& name) { return "*package " + name + "\n{" + name + " pads}\n"; }

// A schematic of one page holding lines.
static std::string schematic(const std::string& libraries, const std::string& lines) {
    std::string text = "*version 9.10\n";
    if (!libraries.empty()) text += "@LIBRARIES\n" + libraries;
    return text + "*page 1 0 970 720 iA\n@parts\n" + lines;
}

class Resolution : public scanFixture {
protected:
    void SetUp() override {
        scope.reset(new LibraryPathScope(dir));
        getScanContext().currentSymbolLibrary[0] = '\0';
        getScanContext().lastPartName[0] = '\0';
    }
    void TearDown() override {
        ws.reset();
        scope.reset();
    }
    // Configures part libraries (lines such as "std [.SLB,.PLB]", found on
    // the library path syslib) and loads the configuration again.
    void configure(const std::vector<std::string>& partLibs) {
        std::string ini = "[Part Libs]\n";
        for (size_t i = 0; i < partLibs.size(); ++i) ini += "LIB" + std::to_string(i + 1) + "=" + partLibs[i] + "\n";
        writeFile(dir.host("ini/tarnel91.ini"), ini);
        RemoveIniFileContext();
        SetIniFileContext(dir.engine("ini/context.ini").c_str(), nullptr);
    }
    // The used symbols (or packages) as "name library-base-name".
    static std::vector<std::string> usages(const std::list<libraryUsage*>& list) {
        std::vector<std::string> result;
        for (libraryUsage* usage : list)
            result.push_back(usage->name + " " + (usage->library ? usage->library->getBaseName() : "-"));
        return result;
    }
    static bool holds(const std::vector<std::string>& names, const std::string& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    }
    // Checks names, joined by blanks, against expected unless it is null.
    static void expectJoined(const char* expected, const std::vector<std::string>& names, const char* what) {
        if (!expected) return;
        std::string text;
        for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
        EXPECT_EQ(text, expected) << what;
    }
    LibraryFileItem* libraryItem(const std::string& relative) {
        DesignWorkspace* design = dynamic_cast<DesignWorkspace*>(ws.get());
        return design ? dynamic_cast<LibraryFileItem*>(design->findLibraryItem(dir.engine(relative).c_str())) : nullptr;
    }
    // Scans relative, telling client, and returns the item.
    DesignFileItem* scan(const std::string& relative) {
        DesignFileItem* scanned = item(relative);
        if (scanned) scanned->getFileDependencies(&client);
        return scanned;
    }
    // The details of the CannotFindSymbol reports, in order.
    std::vector<std::string> missing() const {
        std::vector<std::string> reported;
        for (size_t i = 0; i < client.seen.size(); ++i)
            if (client.seen[i].action == KVE_callBackAction::CannotFindSymbol)
                reported.push_back(client.seen[i].detail);
        return reported;
    }

    std::unique_ptr<LibraryPathScope> scope;
    RecordingClient client;
};

// --- What one scan records ---------------------------------------------------

// A schematic design/top.sch scanned against its own libraries and those
// of the configuration, and what the scan must record.
struct resolutionRow {
    const char* what;
    const char* configured;                                   // a part library line, or null
    std::vector<std::pair<std::string, std::string>> system;  // files below syslib/
    std::vector<std::pair<std::string, std::string>> design;  // files below design/
    std::vector<std::string> symbols, packages;               // "NAME library-base-name"
    const char* missing;     // CannotFindSymbol details joined by blanks; null: not checked
    const char* files;       // base names of the file dependencies, joined; null: not checked
    const char* systemFiles; // the same for the system dependencies
    const char* holds;       // a base name among either list; null: none
};

static const std::string kParts = "\"parts\"  [.slb]\n", kPartsAndPackages = "\"parts\"  [.slb,.plb]\n";

static const resolutionRow resolutionRows[] = {
    {"the libraries of the section are searched in their order", nullptr, {},
     {{"top.sch", schematic("\"first\"  [.slb]\n\"second\"  [.slb]\n", "part 1 Q 0 0 h\npart 2 D 0 0 h\n")},
      {"first.slb", libraryText({{"d", symbolText("d", "")}})},
      {"second.slb", libraryText({{"q", symbolText("q", "")}, {"d", symbolText("d", "")}})}},
     {"Q second.slb", "D first.slb"}, {}, "", nullptr, nullptr, nullptr},
    // A library beside the schematic that the schematic does not name.
    {"without a library section only the configuration is searched", "std [.SLB]",
     {{"std.slb", libraryText({{"r", symbolText("r", "")}})}},
     {{"top.sch", schematic("", "part 1 R 10 10 h\n")}, {"stray.slb", libraryText({{"r", symbolText("r", "")}})}},
     {"R std.slb"}, {}, "", "", "std.slb", nullptr},
    // A second name of the same entry is a record of its own.
    {"one record per symbol whatever the case or the number of uses", nullptr, {},
     {{"top.sch", schematic(kParts, "part 1 R 10 10 h\npart 2 R 20 10 h\npart 3 r 30 10 h\npart 4 Res 40 10 h\n")},
      {"parts.slb", libraryText({{"r,res", symbolText("r", "")}})}},
     {"R parts.slb", "Res parts.slb"}, {}, "", "parts.slb", nullptr, nullptr},
    // Once per name, without regard to case; the line may still name a file.
    {"a missing symbol is reported once", nullptr, {},
     {{"top.sch", schematic(kParts, "part 1 GHOST 0 0 h\npart 2 ghost 0 0 h\npart 3 block 0 0 h filename=sub\\block.sch\n")},
      {"parts.slb", libraryText({{"r", symbolText("r", "")}})},
      {"sub/block.sch", "*version 9.10\n"}},
     {}, {}, "GHOST block", nullptr, nullptr, "block.sch"},
    // "r" finds its first entry, which has no parent: the walk ends there.
    {"all parents of a symbol are recorded", nullptr, {},
     {{"top.sch", schematic(kParts, "part 1 R_SMD 0 0 h\n")},
      {"parts.slb", libraryText({{"r_base", symbolText("r_base", "")}, {"r", symbolText("r", "")},
                                 {"r_smd:r", symbolText("r_smd", "")}, {"r:r_base", symbolText("r2", "")}})}},
     {"R_SMD parts.slb", "r parts.slb"}, {}, "", nullptr, nullptr, nullptr},
    {"a chain of three parents is walked to its root", nullptr, {},
     {{"top.sch", schematic(kParts, "part 1 LED_RED 0 0 h\n")},
      {"parts.slb", libraryText({{"led_red:led", symbolText("led_red", "")}, {"led:diode", symbolText("led", "")},
                                 {"diode:twopin", symbolText("diode", "")}, {"twopin", symbolText("twopin", "")}})}},
     {"LED_RED parts.slb", "led parts.slb", "diode parts.slb", "twopin parts.slb"}, {}, "", nullptr, nullptr, nullptr},
    // A loop is no missing parent.
    {"a loop of parents ends", nullptr, {},
     {{"top.sch", schematic(kPartsAndPackages, "part 1 A 0 0 h\npart 2 SELF 0 0 h\n")},
      {"parts.slb", libraryText({{"a:b", symbolText("a", "")}, {"b:c", symbolText("b", "")},
                                 {"c:A", symbolText("c", "")}, {"self:self", symbolText("self", "")}})},
      {"parts.plb", libraryText({{"p1:p2", packageText("p1")}})}},
     {"A parts.slb", "b parts.slb", "c parts.slb", "SELF parts.slb"}, {}, "", nullptr, nullptr, nullptr},
    {"a loop of package parents ends", "std [.PLB]",
     {{"std.plb", libraryText({{"p1:p2", packageText("p1")}, {"p2:p1", packageText("p2")}})}},
     {{"top.sch", schematic("", "a 0 ap 9 0 15 0 hln 100 COMPONENT=P1\n")}},
     {}, {"P1 std.plb", "p2 std.plb"}, "", nullptr, nullptr, nullptr},
    // The symbol stays.
    {"a missing parent is reported and ends the walk", nullptr, {},
     {{"top.sch", schematic(kParts, "part 1 X 0 0 h\n")},
      {"parts.slb", libraryText({{"x:ghost", symbolText("x", "")}, {"y:x", symbolText("y", "")}})}},
     {"X parts.slb"}, {}, "ghost", "parts.slb", nullptr, nullptr},
    {"a missing package parent ends the walk too", "std [.PLB]",
     {{"std.plb", libraryText({{"dip8:dipbase", packageText("dip8")}})}},
     {{"top.sch", schematic("", "a 0 ap 9 0 15 0 hln 100 COMPONENT=DIP8\n")}},
     {}, {"DIP8 std.plb"}, "dipbase", nullptr, nullptr, nullptr},
    // Lower-cased from the symbol's text; the package's parents are
    // recorded under the names their children give.
    {"the package comes from the package library beside the symbol library", nullptr, {},
     {{"top.sch", schematic(kPartsAndPackages, "part 1 U1 0 0 h\npart 2 C 0 0 h\npart 3 U1 0 0 h\n")},
      {"parts.slb", libraryText({{"u1", symbolText("u1", "SO8")}, {"c", "*symbol c\na 0 sp 11 0 10 20 hcn 100 PART=ck05\n"}})},
      {"parts.plb", libraryText({{"so8:SMD", packageText("so8")}, {"smd:pads", packageText("smd")},
                                 {"pads", packageText("pads")}, {"ck05", packageText("ck05")}})}},
     {"U1 parts.slb", "C parts.slb"}, {"so8 parts.plb", "SMD parts.plb", "pads parts.plb", "ck05 parts.plb"}, "",
     nullptr, nullptr, "parts.plb"},
    // The first COMPONENT= of a symbol's text wins over any PART=, in any
    // case and wherever it stands, even inside a longer word.
    {"the package keyword is found in any case, COMPONENT before PART", nullptr, {},
     {{"top.sch", schematic(kPartsAndPackages, "part 1 K 0 0 h\npart 2 M 0 0 h\n")},
      {"parts.slb",
       libraryText({{"k", "*symbol k\na 0 sp 1 0 1 2 hcn 100 PART=ck05\na 0 x 0 0 0 0 hln 100 Component=So8\n"},
                    {"m", "*symbol m\nd a=b\na 0 u 0 0 0 0 hln 100 XPART=Dip\n"}})},
      {"parts.plb",
       libraryText({{"so8", packageText("so8")}, {"ck05", packageText("ck05")}, {"dip", packageText("dip")}})}},
     {"K parts.slb", "M parts.slb"}, {"so8 parts.plb", "dip parts.plb"}, "", nullptr, nullptr, "parts.plb"},
    {"a package beside its symbol with a missing or looping parent", nullptr, {},
     {{"top.sch", schematic(kPartsAndPackages, "part 1 U1 0 0 h\npart 2 U2 0 0 h\npart 3 U1 0 0 h\n")},
      {"parts.slb", libraryText({{"u1", symbolText("u1", "DIP")}, {"u2", symbolText("u2", "LOOP")}})},
      {"parts.plb", libraryText({{"dip:ghost", packageText("dip")}, {"loop:loop", packageText("loop")}})}},
     {"U1 parts.slb", "U2 parts.slb"}, {"dip parts.plb", "loop parts.plb"}, "ghost", nullptr, nullptr, nullptr},
    {"a package found only in the configuration is recorded without a dependency", "std [.PLB]",
     {{"std.plb", libraryText({{"dip8", packageText("dip8")}})}},
     {{"top.sch", schematic("", "a 0 ap 9 0 15 0 hln 100 COMPONENT=DIP8\n")}},
     {}, {"DIP8 std.plb"}, "", "", "", nullptr},
    // COMPONENT= in capitals only, and it wins over a file name on its line.
    {"COMPONENT is seen with its case only and wins over a file name", "std [.PLB]",
     {{"std.plb", libraryText({{"dip8", packageText("dip8")}})}},
     {{"top.sch", schematic("", "a 0 x 0 0 0 0 hln 100 component=DIP8 filename=one.txt\n"
                                "a 0 x 0 0 0 0 hln 100 COMPONENT=DIP8 filename=two.txt\n")}},
     {}, {"DIP8 std.plb"}, "", "one.txt", nullptr, nullptr},
};

class ResolutionRows : public Resolution, public ::testing::WithParamInterface<resolutionRow> {
protected:
    void checkRow(const resolutionRow& row);
};

TEST_P(ResolutionRows, ScanRecordsItsSymbolsPackagesAndReports) { checkRow(GetParam()); }

void ResolutionRows::checkRow(const resolutionRow& row) {
    for (const auto& file : row.system) writeFile(dir.host("syslib/" + file.first), file.second);
    if (row.configured) configure({row.configured});
    std::vector<std::pair<std::string, std::string>> files;
    for (const auto& file : row.design) files.push_back({"design/" + file.first, file.second});
    open(files, "design");
    DesignFileItem* top = scan("design/top.sch");
    ASSERT_TRUE(top);
    EXPECT_EQ(usages(top->getUsedSymbols()), row.symbols);
    EXPECT_EQ(usages(top->getUsedPackages()), row.packages);
    expectJoined(row.missing, missing(), "missing");
    const std::vector<std::string> plain = names(top->getFileDependencies(nullptr));
    const std::vector<std::string> system = names(top->getSystemDependencies(nullptr));
    expectJoined(row.files, plain, "files");
    expectJoined(row.systemFiles, system, "system files");
    if (!row.holds) return;
    EXPECT_TRUE(holds(plain, row.holds) || holds(system, row.holds)) << row.holds;
}

INSTANTIATE_TEST_SUITE_P(Rows, ResolutionRows, ::testing::ValuesIn(resolutionRows),
                         [](const ::testing::TestParamInfo<resolutionRow>& info) { return testName(info.param.what); });

// --- Where symbols are looked for --------------------------------------------

TEST_F(Resolution, ASymbolOfTheFilesOwnLibraryIsNotLookedForInTheConfiguration) {
    writeFile(dir.host("syslib/std.slb"), libraryText({{"r", symbolText("r", "")}}));
    configure({"std [.SLB]"});
    open({{"design/top.sch", schematic(kParts, "part 1 R 10 10 h\n")},
          {"design/parts.slb", libraryText({{"r,res", symbolText("r", "")}})}},
         "design");
    DesignFileItem* top = scan("design/top.sch");
    EXPECT_EQ(usages(top->getUsedSymbols()), std::vector<std::string>{"R parts.slb"});
    EXPECT_TRUE(holds(names(top->getFileDependencies(nullptr)), "parts.slb"));
    EXPECT_FALSE(holds(names(top->getSystemDependencies(nullptr)), "std.slb"));
    LibraryFileItem* configured = getLibraryConfiguration()->getPartLibraries().front();
    ASSERT_EQ(std::string(configured->getBaseName()), "std.slb");
    EXPECT_TRUE(configured->getIndexEntries().empty()) << "the configured library was not even read";
}

TEST_F(Resolution, ACancelAtAMissingSymbolEndsTheFile) {
    open({{"top.sch", schematic("", "part 1 GHOST 0 0 h\na 0 a 0 0 0 0 hln 100 filename=later.txt\n")},
          {"later.txt", "x\n"}});
    client.answerFor = KVE_callBackAction::CannotFindSymbol;
    client.answer = KVE_callBackStatus::Cancel;
    DesignFileItem* top = scan("top.sch");
    EXPECT_EQ(client.actions(), std::vector<int>{KVE_callBackAction::CannotFindSymbol});
    EXPECT_TRUE(top->getFileDependencies(nullptr).empty()) << "nothing after the cancelled line is read";
}

TEST_F(Resolution, APortIsResolvedButHasNoPackageAndNoFile) {
    open({{"top.sch", schematic(kPartsAndPackages, "port 1 GND 0 0 h\nport 2 VCC 0 0 h filename=x.sch\n")},
          {"parts.slb", libraryText({{"gnd", symbolText("gnd", "TP1")}})},
          {"parts.plb", libraryText({{"tp1", packageText("tp1")}})}});
    DesignFileItem* top = scan("top.sch");
    EXPECT_EQ(usages(top->getUsedSymbols()), std::vector<std::string>{"GND parts.slb"});
    EXPECT_TRUE(top->getUsedPackages().empty());
    EXPECT_FALSE(holds(names(top->getFileDependencies(nullptr)), "x.sch")) << "a port line is no file reference";
    EXPECT_EQ(getScanContext().currentSymbolLibrary, std::string()) << "a port leaves the package hint alone";
}

TEST_F(Resolution, ResultsThrownAwayAreFoundAgainByTheNextScan) {
    open({{"top.sch", schematic(kPartsAndPackages, "part 1 R 0 0 h\npart 2 C 0 0 h\npart 3 r 0 0 h\n")},
          {"parts.slb", libraryText({{"r", symbolText("r", "RC05")}, {"c:r", symbolText("c", "RC05")}})},
          {"parts.plb", libraryText({{"rc05", packageText("rc05")}})}});
    DesignFileItem* top = scan("top.sch");
    // C's parent r is R, recorded already.
    const std::vector<std::string> symbols{"R parts.slb", "C parts.slb"};
    ASSERT_EQ(usages(top->getUsedSymbols()), symbols);
    ASSERT_EQ(usages(top->getUsedPackages()), std::vector<std::string>{"rc05 parts.plb"});
    // The usage records go (the libraries' indexes with them); the next
    // question scans again and must not meet the records of before.
    static_cast<DesignWorkspace*>(ws.get())->discardScanResults(false);
    ASSERT_TRUE(top->getUsedSymbols().empty());
    top->getFileDependencies(&client);
    EXPECT_EQ(usages(top->getUsedSymbols()), symbols);
    EXPECT_EQ(usages(top->getUsedPackages()), std::vector<std::string>{"rc05 parts.plb"});
}

// --- Views and packages of a symbol ------------------------------------------

TEST_F(Resolution, TheViewsOfASymbolAreRecordedRelativeToItsLibrary) {
    open({{"design/top.sch", schematic("\"..\\lib\\parts\"  [.slb]\n", "part 1 FILTER 0 0 h\n")},
          {"lib/parts.slb", libraryText({{"filter", symbolText("filter", "", "schematic=filter_impl\nsim=*none\n"
                                                                              "netlist=models\\filter.lib\n")}})},
          {"lib/filter_impl.sch", "*version 9.10\n"},
          {"lib/models/filter.lib", "* models\n"}},
         "design");
    DesignFileItem* top = scan("design/top.sch");
    const std::vector<std::string> files = names(top->getFileDependencies(nullptr));
    EXPECT_TRUE(holds(files, "filter_impl.sch"));
    EXPECT_TRUE(holds(files, "filter.lib"));
    bool registered = false;
    for (fileItem* used : top->getUsedLibraries())
        if (std::string(used->getBaseName()) == "filter.lib") registered = true;
    EXPECT_TRUE(registered) << "a library that a view names is a used library";
    EXPECT_EQ(files.size(), 3u) << "no entry for the *none view";
}

// A scan keeps the libraries it reads open while it lasts (a bounded number
// of them) and closes them all at its end, so that the next scan reads the
// libraries as they are then.
static int openDescriptors() {
    int count = 0;
    if (DIR* d = opendir("/proc/self/fd")) {
        while (readdir(d)) ++count;
        closedir(d);
    }
    return count;
}

TEST_F(Resolution, ManyLibrariesInOneScanAreAllReadAndClosedAfterIt) {
    std::string section, parts;
    std::vector<std::pair<std::string, std::string>> files;
    for (int i = 0; i < 20; ++i) {
        const std::string n = std::to_string(i);
        section += "\"lib" + n + "\"  [.slb]\n";
        // Each symbol is used twice, the second time after the other
        // libraries have pushed its library out of the open ones.
        parts += "part " + n + " S" + n + " 0 0 h\n";
        files.push_back({"lib" + n + ".slb", libraryText({{"s" + n, symbolText("s" + n, "", "schematic=v" + n + "\n")}})});
        files.push_back({"v" + n + ".sch", "*version 9.10\n"});
    }
    files.push_back({"top.sch", schematic(section, parts + parts)});
    open(files);
    const int before = openDescriptors();
    DesignFileItem* top = scan("top.sch");
    EXPECT_EQ(openDescriptors(), before) << "no library stays open after the scan";
    EXPECT_EQ(top->getUsedSymbols().size(), 20u);
    const std::vector<std::string> found = names(top->getFileDependencies(nullptr));
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(holds(found, "v" + std::to_string(i) + ".sch")) << i;

    // The same library changed on disk: the next scan reads the new text.
    writeFile(dir.host("lib0.slb"), libraryText({{"s0", symbolText("s0", "", "schematic=w0\n")}}));
    writeFile(dir.host("w0.sch"), "*version 9.10\n");
    static_cast<DesignWorkspace*>(ws.get())->discardScanResults(false);
    top->getFileDependencies(&client);
    EXPECT_TRUE(holds(names(top->getFileDependencies(nullptr)), "w0.sch"));
}

TEST_F(Resolution, ViewsInCapitalsAreNotFollowed) {
    open({{"top.sch", schematic(kParts, "part 1 F 0 0 h\n")},
          {"parts.slb", libraryText({{"f", "*symbol f\n@VIEWS\nschematic=impl\n"}})},
          {"impl.sch", "*version 9.10\n"}});
    EXPECT_FALSE(holds(names(scan("top.sch")->getFileDependencies(nullptr)), "impl.sch"));
}

// The entry claims more bytes than the file holds.
TEST_F(Resolution, ASymbolEntryThatCannotBeReadIsReported) {
    std::string text = libraryText({{"r", symbolText("r", "")}});
    text.replace(text.find("symloc r 00000000 "), 26, "symloc r 00000000 00099999");
    open({{"top.sch", schematic(kParts, "part 1 R 0 0 h\n")}, {"parts.slb", text}});
    DesignFileItem* top = scan("top.sch");
    EXPECT_EQ(usages(top->getUsedSymbols()), std::vector<std::string>{"R parts.slb"});
    const std::vector<int> actions = client.actions();
    EXPECT_NE(std::find(actions.begin(), actions.end(), static_cast<int>(KVE_callBackAction::ErrorReadingFile)),
              actions.end());
}

// The disk fails while an entry is read where it stands: reported, the
// symbol recorded, its package not, and the next scan reads it again.
TEST_F(Resolution, AnEntryWhoseReadFailsIsReportedAndReadAgainNextTime) {
    open({{"top.sch", schematic(kPartsAndPackages, "part 1 R 0 0 h\npart 2 R 0 0 h\n")},
          {"parts.slb", libraryText({{"r", symbolText("r", "RC05")}})},
          {"parts.plb", libraryText({{"rc05", packageText("rc05")}})}});
    kvHost.pread = [](int, void*, size_t, off_t) -> ssize_t {
        errno = EIO;
        return -1;
    };
    DesignFileItem* top = scan("top.sch");
    kvFaultsClear();
    EXPECT_EQ(usages(top->getUsedSymbols()), std::vector<std::string>{"R parts.slb"});
    EXPECT_TRUE(top->getUsedPackages().empty());
    const std::vector<int> actions = client.actions();
    EXPECT_GE(std::count(actions.begin(), actions.end(),
                         static_cast<int>(KVE_callBackAction::ErrorReadingFile)),
              2)
        << "each use asks again";

    touchAndRefresh("top.sch", 5);
    top->getFileDependencies(&client);
    EXPECT_EQ(usages(top->getUsedPackages()), std::vector<std::string>{"rc05 parts.plb"});
}

// --- COMPONENT= and PART= lines ----------------------------------------------

TEST_F(Resolution, AComponentBeforeAnyPartUsesTheLibraryThatTheLastPassLeft) {
    writeFile(dir.host("syslib/std.slb"), libraryText({{"opamp", symbolText("opamp", "")}}));
    writeFile(dir.host("syslib/std.plb"), libraryText({{"dip8", packageText("dip8")}}));
    configure({"std [.SLB,.PLB]"});
    open({{"a.sch", schematic("", "part 1 OPAMP 0 0 h\n")},
          {"b.sch", "*version 9.10\na 0 ap 9 0 15 0 hln 100 COMPONENT=DIP8\n*page 1\n"}});
    scan("a.sch");
    EXPECT_EQ(std::string(getScanContext().currentSymbolLibrary), dir.engine("syslib\\std.slb"));
    DesignFileItem* b = scan("b.sch");
    EXPECT_EQ(usages(b->getUsedPackages()), std::vector<std::string>{"DIP8 std.plb"});
    EXPECT_EQ(names(b->getFileDependencies(nullptr)), std::vector<std::string>{}) << "std.plb is a system file";
    EXPECT_EQ(names(b->getSystemDependencies(nullptr)), std::vector<std::string>{"std.plb"});
}

TEST_F(Resolution, AnEmptyPartAttributeNamesThePackageOfTheLastPart) {
    writeFile(dir.host("syslib/std.slb"), libraryText({{"lm358", symbolText("lm358", "")}}));
    writeFile(dir.host("syslib/std.plb"), libraryText({{"lm358", packageText("lm358")}}));
    configure({"std [.SLB,.PLB]"});
    open({{"top.sch", schematic("", "part 1 LM358 0 0 h\na 0 sp 0 0 0 10 hlb 100 PART=\n")}});
    DesignFileItem* top = scan("top.sch");
    EXPECT_EQ(usages(top->getUsedPackages()), std::vector<std::string>{"LM358 std.plb"});
    EXPECT_TRUE(holds(names(top->getSystemDependencies(nullptr)), "std.plb"));
    EXPECT_EQ(std::string(getScanContext().lastPartName), "LM358");
}

// --- A fix-up resolves nothing new -------------------------------------------

TEST_F(Resolution, AFixUpLooksNothingUp) {
    const std::string text = schematic(kPartsAndPackages, "part 1 R 10 10 h\nport 2 GND 0 0 h\n"
                                                          "a 0 ap 9 0 15 0 hln 100 COMPONENT=RC05\n");
    open({{"src/top.sch", text},
          {"src/parts.slb", libraryText({{"r", symbolText("r", "RC05")}, {"gnd", symbolText("gnd", "")}})},
          {"src/parts.plb", libraryText({{"rc05", packageText("rc05")}})}},
         "src");
    std::vector<std::string> found;
    EXPECT_EQ(rewrite("src/top.sch", "dst/top.sch", &found), text);
    EXPECT_EQ(found, (std::vector<std::string>{dir.engine("src\\parts.slb"), dir.engine("src\\parts.plb")}))
        << "only the library lines, no symbol and no package";
    ASSERT_TRUE(libraryItem("src/parts.slb"));
    EXPECT_TRUE(libraryItem("src/parts.slb")->getIndexEntries().empty()) << "no index was read";
    EXPECT_TRUE(item("src/top.sch")->getUsedSymbols().empty());
}

TEST_F(Resolution, AFixUpAfterAScanReportsTheRecordedPackage) {
    open({{"src/top.sch", schematic(kPartsAndPackages, "part 1 R 10 10 h\n"
                                                       "a 0 ap 9 0 15 0 hln 100 COMPONENT=RC05\n"
                                                       "a 0 ap 9 0 15 0 hln 100 COMPONENT=NEW\n")},
          {"src/parts.slb", libraryText({{"r", symbolText("r", "RC05")}})},
          {"src/parts.plb", libraryText({{"rc05", packageText("rc05")}, {"new", packageText("new")}})}},
         "src");
    ASSERT_EQ(usages(scan("src/top.sch")->getUsedPackages()), std::vector<std::string>{"rc05 parts.plb"})
        << "recorded under the name the symbol's text gives, lower-cased";
    std::vector<std::string> found;
    rewrite("src/top.sch", "dst/top.sch", &found);
    EXPECT_EQ(found, (std::vector<std::string>{dir.engine("src\\parts.slb"), dir.engine("src\\parts.plb"),
                                               dir.engine("src\\parts.plb")}))
        << "the recorded RC05 names its library; NEW, never scanned, names none";
}

// --- What a scan keeps between the uses of a symbol --------------------------

// The base names of the used libraries, in order, duplicates kept.
static std::vector<std::string> usedLibraryNames(DesignFileItem& item) {
    std::vector<std::string> result;
    for (fileItem* library : item.getUsedLibraries()) result.push_back(library->getBaseName());
    return result;
}

TEST_F(Resolution, EveryUseOfASymbolLeavesItsTracesThoughItsTextIsReadOnce) {
    open({{"top.sch", schematic("\"parts\"  [.slb,.plb]\n",
                                "part 1 R 0 0 h\npart 2 R 0 0 h\npart 3 r 0 0 h\npart 4 C 0 0 h\n")},
          {"parts.slb", libraryText({{"r", symbolText("r", "RC05", "schematic=sub\n")}, {"c", symbolText("c", "CK05")}})},
          {"parts.plb", libraryText({{"rc05", packageText("rc05")}, {"ck05", packageText("ck05")}})},
          {"sub.sch", "*version 9.10\n"}});
    DesignFileItem* top = scan("top.sch");
    // The section registers each library twice (as a found file and as a
    // library); then every part whose package is found beside its symbol
    // registers the package library twice more, the third R as the first.
    std::vector<std::string> expected{"parts.slb", "parts.slb", "parts.plb", "parts.plb"};
    for (int part = 0; part < 4; ++part) expected.insert(expected.end(), {"parts.plb", "parts.plb"});
    EXPECT_EQ(usedLibraryNames(*top), expected);
    EXPECT_EQ(names(top->getFileDependencies(nullptr)), (std::vector<std::string>{"parts.plb", "parts.slb", "sub.sch"}));
    EXPECT_TRUE(top->getSystemDependencies(nullptr).empty()) << "the library named in the section is a plain one";
    EXPECT_EQ(usages(top->getUsedPackages()), (std::vector<std::string>{"rc05 parts.plb", "ck05 parts.plb"}));
}

// Enough symbols that the index of the used symbols grows several times
// while a pass asks it; each name is found again in any case.
TEST_F(Resolution, ManySymbolsAreEachRecordedOnceWhateverTheCase) {
    std::vector<std::pair<std::string, std::string>> entries;
    for (int n = 0; n < 50; ++n) {
        const std::string name = "s" + std::to_string(n);
        entries.push_back({n % 5 == 4 ? name + ":s" + std::to_string(n - 1) : name, symbolText(name, "")});
    }
    // S4 first: its parent is recorded as "s3" before any line names S3.
    std::string lines = "part 0 S4 0 0 h\n";
    for (int n = 0; n < 50; ++n) lines += "part " + std::to_string(n + 1) + " S" + std::to_string(n) + " 0 0 h\n";
    for (int n = 49; n >= 0; --n) lines += "part " + std::to_string(n + 51) + " s" + std::to_string(n) + " 0 0 h\n";
    open({{"top.sch", schematic(kParts, lines)}, {"parts.slb", libraryText(entries)}});
    DesignFileItem* top = scan("top.sch");
    std::vector<std::string> expected{"S4 parts.slb", "s3 parts.slb"};
    for (int n = 0; n < 50; ++n) {
        if (n == 3 || n == 4) continue;
        expected.push_back("S" + std::to_string(n) + " parts.slb"); // a parent is met as the line before
    }
    EXPECT_EQ(usages(top->getUsedSymbols()), expected);
    EXPECT_TRUE(missing().empty());
}

// Part lines of a name met before are made again from what the first line
// kept; the traces must be those of a resolution from scratch. Random
// designs: names in any case, symbols with and without views (one naming a
// library), packages,
// parents, packages missing beside their library, a library without a
// package library, missing symbols and file names behind them.
TEST_F(Resolution, PartLinesMetAgainLeaveTheTracesOfAFullResolution) {
    std::mt19937 random(20261123);
    for (int round = 0; round < 12; ++round) {
        std::vector<std::pair<std::string, std::string>> first, second, packages;
        for (int n = 0; n < 30; ++n) {
            const std::string name = "s" + std::to_string(n);
            const std::string package = random() % 4 ? "p" + std::to_string(random() % 12) : "";
            // A view may name a library, which counts a use at every line.
            const std::string views = random() % 5 ? ""
                                      : random() % 2 ? "schematic=v" + std::to_string(n % 3) + "\n"
                                                     : "schematic=v0\nnetlist=second.slb\n";
            const std::string names = n % 7 == 6 ? name + ":s" + std::to_string(n - 1) : name;
            (n % 2 ? second : first).push_back({names, symbolText(name, package, views)});
        }
        for (int n = 0; n < 10; ++n) packages.push_back({"p" + std::to_string(n), packageText("p" + std::to_string(n))});
        std::string lines;
        for (int k = 0; k < 300; ++k) {
            std::string name = random() % 9 ? "S" + std::to_string(random() % 34) : "GONE" + std::to_string(k % 5);
            if (random() % 2) name[0] = static_cast<char>(tolower(name[0]));
            lines += "part " + std::to_string(k) + " " + name + " 0 0 h" + (random() % 6 ? "" : " filename=f.sch") + "\n";
            if (random() % 3 == 0) lines += "a 0 u 13 0 10 25 hln 100 REFDES=U" + std::to_string(k) + "\n";
        }
        const std::vector<std::pair<std::string, std::string>> files = {
            {"top.sch", schematic("\"first\"  [.slb,.plb]\n\"second\"  [.slb]\n", lines)},
            {"first.slb", libraryText(first)},
            {"first.plb", libraryText(packages)},
            {"second.slb", libraryText(second)},
            {"v0.sch", "*version 9.10\n"}, {"v1.sch", "*version 9.10\n"}, {"v2.sch", "*version 9.10\n"},
            {"f.sch", "*version 9.10\n"}};
        std::vector<std::string> traces[2];
        for (int keep = 0; keep < 2; ++keep) {
            keepRepeatedParts(keep == 1);
            client = RecordingClient();
            open(files);
            DesignFileItem* top = scan("top.sch");
            ASSERT_TRUE(top);
            std::vector<std::string>& t = traces[keep];
            for (const std::string& each : names(top->getFileDependencies(nullptr))) t.push_back("file " + each);
            for (const std::string& each : names(top->getSystemDependencies(nullptr))) t.push_back("system " + each);
            for (const std::string& each : usedLibraryNames(*top)) t.push_back("library " + each);
            for (const std::string& each : usages(top->getUsedSymbols())) t.push_back("symbol " + each);
            for (const std::string& each : usages(top->getUsedPackages())) t.push_back("package " + each);
            for (size_t i = 0; i < client.seen.size(); ++i)
                t.push_back("report " + std::to_string(client.seen[i].action) + " " + client.seen[i].detail);
            t.push_back(std::string("last library ") + getScanContext().currentSymbolLibrary);
        }
        keepRepeatedParts(true);
        EXPECT_EQ(traces[1], traces[0]) << "round " << round;
        EXPECT_GT(traces[0].size(), 20u);
    }
}

TEST_F(Resolution, WhatOneScanKeptIsNotTakenIntoTheNext) {
    // Both packages' names have the same length, so the index stays true
    // when the one replaces the other.
    open({{"top.sch", schematic("\"parts\"  [.slb,.plb]\n", "part 1 R 0 0 h\npart 2 R 0 0 h\n")},
          {"parts.slb", libraryText({{"r", symbolText("r", "RC05", "schematic=one\n")}})},
          {"parts.plb", libraryText({{"rc05", packageText("rc05")}, {"rc06", packageText("rc06")}})},
          {"one.sch", "*version 9.10\n"},
          {"two.sch", "*version 9.10\n"}});
    DesignFileItem* top = scan("top.sch");
    ASSERT_EQ(usages(top->getUsedPackages()), std::vector<std::string>{"rc05 parts.plb"});
    ASSERT_TRUE(holds(names(top->getFileDependencies(nullptr)), "one.sch"));

    // The entry's text changes on disk; the library's index is kept, so the
    // next scan reads the entry at the same place and must see the change.
    writeFile(dir.host("parts.slb"), libraryText({{"r", symbolText("r", "RC06", "schematic=two\n")}}));
    touchAndRefresh("top.sch", 5);
    top->getFileDependencies(&client);
    EXPECT_TRUE(holds(usages(top->getUsedPackages()), "rc06 parts.plb"));
    const std::vector<std::string> found = names(top->getFileDependencies(nullptr));
    EXPECT_TRUE(holds(found, "two.sch"));
    EXPECT_FALSE(holds(found, "one.sch"));
}

TEST_F(Resolution, AnOperationMeetingAPathAgainIsGivenTheSameAnswer) {
    open({{"top.sch", schematic("", "")}, {"lib/parts.plb", libraryText({})}});
    DesignFileItem* top = item("top.sch");
    ASSERT_TRUE(top->getFileDependencies(nullptr).empty()); // scanned: the lists are current now
    IFOscanDependencies op(nullptr, top);
    for (int use = 0; use < 3; ++use) {
        pathstring path("lib\\parts.plb");
        op.dependencyFound(path, false, false);
        EXPECT_EQ(std::string(path), dir.engine("lib\\parts.plb")) << "made absolute at use " << use;
    }
    EXPECT_EQ(names(top->getFileDependencies(nullptr)), std::vector<std::string>{"parts.plb"});
    EXPECT_EQ(usedLibraryNames(*top), (std::vector<std::string>{"parts.plb", "parts.plb", "parts.plb"}));
}
