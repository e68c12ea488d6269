// The library configuration from real INI files: the library path, the
// marker library, gaps in the numbered keys, special libraries that do not
// exist, kinds decided by the path, the reload on a second
// SetIniFileContext, and the context's answers isPartLib and
// isSystemLibraryPath.
#include "libtest.h"

#include "libraries/configuration.h"
#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"
#include "workspace/workspace.h"

class Configuration : public ::testing::Test {
protected:
    Configuration() : env(dir.host("windir")) {}
    void SetUp() override {
        writeFile(dir.host("windir/tarnel91.ini"), "");
        writeFile(dir.host("libs/std.slb"), "symloc RES 0 10\n*symbol res\n");
        writeFile(dir.host("libs/std.plb"), "symloc R0805 0 10\n*package r0805\n");
        writeFile(dir.host("more lib/extra.slb"), "symloc RES 0 1\nsymloc OPAMP 1 1\n*\n");
        libs = dir.engine("libs");
        more = dir.engine("more lib");
        ini = dir.engine("ctx.ini");
    }
    void context(const std::string& content) { writeFile(dir.host("ctx.ini"), content); }
    void fixed(const std::string& content) { writeFile(dir.host("windir/tarnel91.ini"), content); }
    LibraryConfiguration& configuration() {
        LibraryConfiguration* c = getLibraryConfiguration();
        EXPECT_NE(c, nullptr);
        return *c;
    }
    std::vector<std::string> partPaths() {
        std::vector<std::string> paths;
        for (LibraryFileItem* item : configuration().getPartLibraries()) paths.push_back(item->getFullPath());
        return paths;
    }

    TempDir dir;
    IniEnvironment env;
    std::string libs, more, ini;
};

typedef std::vector<std::string> Paths;

TEST_F(Configuration, WithoutLibpathNothingIsConfigured) {
    context("[TARNEL]\nOTHER=1\n");
    fixed("[Part Libs]\nLIB1=STD [.SLB]\n[Special Libs]\nLIB1=" + libs + "\\std.slb\n");
    SetIniFileContext(ini.c_str(), nullptr);
    EXPECT_STREQ(GetIniFileContext(), ini.c_str());
    EXPECT_STREQ(configuration().getSearchPath(), "");
    EXPECT_TRUE(configuration().getPartLibraries().empty());
    EXPECT_TRUE(configuration().getSpecialLibraries().empty()) << "the load ends at the missing LIBPATH";
    EXPECT_FALSE(configuration().isLoaded());
    EXPECT_FALSE(isPartLib((libs + "\\std.slb").c_str()));
    EXPECT_FALSE(isSystemLibraryPath((libs + "\\").c_str()));
}

TEST_F(Configuration, LibraryPathIsNormalisedAndQuoted) {
    context("[TARNEL]\nLIBPATH=" + libs + ";;\"" + more + "\";" + libs + "/sub//x\n");
    SetIniFileContext(ini.c_str(), nullptr);
    EXPECT_EQ(std::string(configuration().getSearchPath()),
              "\"" + libs + "\";\"" + more + "\";\"" + libs + "\\sub\\x\"");
}

TEST_F(Configuration, MarkerLibraryComesFirstWhenFound) {
    context("[TARNEL]\nLIBPATH=" + libs + "\n");
    SetIniFileContext(ini.c_str(), nullptr);
    EXPECT_TRUE(configuration().getPartLibraries().empty()) << "no marker.slb on the path";
    RemoveIniFileContext();
    writeFile(dir.host("libs/Marker.SLB"), "");
    fixed("[Part Libs]\nLIB1=STD [.SLB]\n");
    SetIniFileContext(ini.c_str(), nullptr);
    Paths paths = partPaths();
    ASSERT_EQ(paths.size(), 2u);
    EXPECT_EQ(paths[0], libs + "\\Marker.SLB") << "the name as spelled on disk";
    EXPECT_EQ(paths[1], libs + "\\std.slb");
}

TEST_F(Configuration, LibraryLinesAndTheFirstGap) {
    context("[TARNEL]\nLIBPATH=" + libs + ";" + more + "\n");
    fixed("[Part Libs]\nLIB1=std [.Slb, .PLB]\nLIB2=extra .slb\nLIB4=nothere [.slb]\n"
          "[Special Libs]\nLIB1=x\n");
    SetIniFileContext(ini.c_str(), nullptr);
    EXPECT_EQ(partPaths(), (Paths{libs + "\\std.slb", libs + "\\std.plb", more + "\\extra.slb"}));
    RemoveIniFileContext();
    fixed("[Part Libs]\nLIB1=std [.plb]\nLIB3=extra [.slb]\nLIB4=stem\n");
    SetIniFileContext(ini.c_str(), nullptr);
    EXPECT_EQ(partPaths(), Paths{libs + "\\std.plb"}) << "LIB3 is never read after the gap at LIB2";
    EXPECT_FALSE(configuration().hasSpecialLibraries());
}

TEST_F(Configuration, KindsComeFromTheWholePath) {
    EXPECT_EQ(libraryKindOfPath("C:\\a\\x.SLB"), LibraryKindSymbols);
    EXPECT_EQ(libraryKindOfPath("C:\\a\\x.plb"), LibraryKindPackages);
    EXPECT_EQ(libraryKindOfPath("C:\\a\\x.lib"), LibraryKindModels);
    EXPECT_EQ(libraryKindOfPath("C:\\a\\x.flb"), LibraryKindFootprints);
    EXPECT_EQ(libraryKindOfPath("C:\\a\\x.sch"), LibraryKindNone);
    EXPECT_EQ(libraryKindOfPath("C:\\d.lib\\x.plb"), LibraryKindPackages) << ".plb is tested before .lib";
    EXPECT_EQ(libraryKindOfPath("C:\\d.slb\\x.plb"), LibraryKindSymbols) << "the directory decides";

    writeFile(dir.host("pk.slb/pk.plb"), "symloc P 0 1\n*\n");
    std::string odd = dir.engine("pk.slb");
    context("[TARNEL]\nLIBPATH=" + odd + "\n");
    fixed("[Part Libs]\nLIB1=pk [.plb]\n");
    SetIniFileContext(ini.c_str(), nullptr);
    ASSERT_EQ(configuration().getPartLibraries().size(), 1u);
    EXPECT_EQ(configuration().getPartLibraries().front()->getLibraryKind(), LibraryKindSymbols);
    RecordingOperation op;
    EXPECT_EQ(configuration().findConfiguredPackage("p", op), nullptr) << "never searched for packages";
}

TEST_F(Configuration, SpecialLibrariesAreConfiguredEvenWhenMissing) {
    context("[TARNEL]\nLIBPATH=" + libs + "\n");
    fixed("[Special Libs]\nLIB1=" + libs + "\\std.plb\nLIB2=\nLIB3=" + libs + "\\gone.slb\n");
    SetIniFileContext(ini.c_str(), nullptr);
    EXPECT_TRUE(configuration().hasSpecialLibraries());
    const std::list<LibraryFileItem*>& special = configuration().getSpecialLibraries();
    ASSERT_EQ(special.size(), 2u) << "an empty value names nothing";
    EXPECT_TRUE(special.front()->exists());
    EXPECT_EQ(special.front()->getLibraryKind(), LibraryKindSymbols) << "kind 1 whatever the name says";
    EXPECT_FALSE(special.back()->exists());
    EXPECT_EQ(std::string(special.back()->getFullPath()), libs + "\\gone.slb");
    EXPECT_FALSE(isPartLib((libs + "\\std.plb").c_str())) << "special libraries are not part libraries";
}

TEST_F(Configuration, PartLibAndSystemLibraryPathAnswers) {
    EXPECT_FALSE(isPartLib((libs + "\\std.slb").c_str())) << "before SetIniFileContext";
    context("[TARNEL]\nLIBPATH=" + libs + ";\"" + more + "\"\n");
    fixed("[Part Libs]\nLIB1=std [.slb]\n");
    SetIniFileContext(ini.c_str(), nullptr);
    std::string lib = libs + "\\std.slb";
    EXPECT_TRUE(isPartLib(lib.c_str()));
    for (char& c : lib) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    EXPECT_TRUE(isPartLib(lib.c_str())) << "without regard to case";
    EXPECT_TRUE(isPartLib(static_cast<const fileItem*>(configuration().getPartLibraries().front())));
    EXPECT_FALSE(isPartLib((libs + "\\std.plb").c_str()));

    EXPECT_TRUE(isSystemLibraryPath((libs + "\\").c_str()));
    EXPECT_TRUE(isSystemLibraryPath((more + "\\").c_str())) << "a quoted directory with a blank";
    EXPECT_FALSE(isSystemLibraryPath(libs.c_str())) << "without its trailing backslash";
    EXPECT_FALSE(isSystemLibraryPath((libs + "\\sub\\").c_str())) << "a subdirectory does not count";
    std::string upper = libs + "\\";
    for (char& c : upper) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    EXPECT_TRUE(isSystemLibraryPath(upper.c_str()));

    RemoveIniFileContext();
    EXPECT_FALSE(isPartLib((libs + "\\std.slb").c_str()));
    EXPECT_FALSE(isSystemLibraryPath((libs + "\\").c_str()));
    EXPECT_STREQ(GetIniFileContext(), ini.c_str()) << "the name stays";
}

static int keyCalls = 0;
static int countKey() { return ++keyCalls; }

TEST_F(Configuration, SecondSetReloads) {
    keyCalls = 0;
    context("[TARNEL]\nLIBPATH=" + libs + "\n");
    fixed("[Part Libs]\nLIB1=std [.slb]\n");
    SetIniFileContext(ini.c_str(), countKey);
    EXPECT_EQ(keyCalls, 1) << "getKey after the load";
    EXPECT_EQ(partPaths().size(), 1u);

    fixed("[Part Libs]\nLIB1=std [.slb]\nLIB2=std [.plb]\n");
    SetIniFileContext(ini.c_str(), nullptr);
    EXPECT_EQ(keyCalls, 2) << "the stored getKey is kept";
    EXPECT_EQ(partPaths(), (Paths{libs + "\\std.slb", libs + "\\std.slb", libs + "\\std.plb"}))
        << "a reload adds behind what was there";

    // An empty name keeps the context's name but empties the configuration's:
    // the reload runs and finds no LIBPATH, and the next name given is then
    // stored without a load, as the libraries are loaded already.
    SetIniFileContext("", nullptr);
    EXPECT_STREQ(GetIniFileContext(), ini.c_str()) << "an empty name keeps the stored one";
    EXPECT_STREQ(configuration().getIniFile(), "");
    EXPECT_EQ(keyCalls, 3) << "the reload ran";
    EXPECT_EQ(partPaths().size(), 3u) << "and changed nothing";

    std::string other = dir.engine("other.ini");
    writeFile(dir.host("other.ini"), "[TARNEL]\nLIBPATH=" + more + "\n");
    SetIniFileContext(other.c_str(), nullptr);
    EXPECT_STREQ(GetIniFileContext(), other.c_str());
    EXPECT_STREQ(configuration().getIniFile(), other.c_str());
    EXPECT_EQ(keyCalls, 3) << "no load after an empty name";
    EXPECT_EQ(std::string(configuration().getSearchPath()), "\"" + libs + "\"");

    RemoveIniFileContext();
    SetIniFileContext(nullptr, nullptr);
    EXPECT_EQ(std::string(configuration().getSearchPath()), "") << "a new configuration, with no name to read";
    EXPECT_STREQ(GetIniFileContext(), other.c_str());
}

TEST_F(Configuration, SearchingConfiguredLibraries) {
    context("[TARNEL]\nLIBPATH=" + more + ";" + libs + "\n");
    fixed("[Part Libs]\nLIB1=extra [.slb]\nLIB2=std [.slb,.plb]\n");
    SetIniFileContext(ini.c_str(), nullptr);
    RecordingOperation op;
    libraryUsage* res = configuration().findConfiguredSymbol("res", op);
    ASSERT_NE(res, nullptr);
    EXPECT_EQ(std::string(res->library->getFullPath()), more + "\\extra.slb") << "the first library in order";
    EXPECT_EQ(res->entry->owner, res->library);
    EXPECT_EQ(res->name, "res");
    delete res;
    libraryUsage* pkg = configuration().findConfiguredPackage("R0805", op);
    ASSERT_NE(pkg, nullptr);
    EXPECT_EQ(std::string(pkg->library->getFullPath()), libs + "\\std.plb");
    delete pkg;
    EXPECT_EQ(configuration().findConfiguredSymbol("R0805", op), nullptr) << "symbols only in symbol libraries";
}

TEST_F(Configuration, LookingAlongTheLibraryPath) {
    context("[TARNEL]\nLIBPATH=" + more + ";" + libs + "\n");
    SetIniFileContext(ini.c_str(), nullptr);
    char found[MAX_PATH];
    EXPECT_TRUE(configuration().existsOnLibraryPath("std.plb", found));
    EXPECT_EQ(std::string(found), libs + "\\std.plb");
    EXPECT_FALSE(configuration().existsOnLibraryPath("none.slb", found));
    EXPECT_EQ(std::string(found), libs + "\\none.slb") << "the last path tried";
    std::string absolute = libs + "\\std.slb";
    EXPECT_TRUE(configuration().existsOnLibraryPath(absolute.c_str(), found));
    EXPECT_STREQ(found, "") << "a name with a directory leaves foundPath empty";

    DesignWorkspace* workspace = nullptr;
    EXPECT_TRUE(configuration().findOnLibraryPath("EXTRA.SLB", found, &workspace));
    ASSERT_NE(workspace, nullptr);
    EXPECT_EQ(std::string(workspace->getDirectory()), more + "\\");
    EXPECT_EQ(configuration().getLibraryWorkspace(more.c_str()), workspace) << "one workspace per directory";
    EXPECT_TRUE(configuration().findOnLibraryPath(absolute.c_str(), found, &workspace));
    EXPECT_EQ(std::string(found), absolute);
    EXPECT_EQ(std::string(workspace->getDirectory()), libs + "\\");
}
