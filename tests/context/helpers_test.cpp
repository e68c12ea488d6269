// The context's helpers: the externals subdirectory name, profile reading,
// TokenList, parseListEntry and removeDirectoryTree with each answer of its
// confirmation.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "libraries/configuration.h"
#include "resources/resources.h"
#include "support/guards.h"
#include "support/tempdir.h"
#include "workspace/context.h"

// --- The externals subdirectory ----------------------------------------------

TEST(Externals, DefaultUntilANameIsSetAndAfterEmptyOrNull) {
    EXPECT_STREQ(GetNameOfExternalsSubdirectory(), "sys_libs") << "before any set";
    SetNameOfExternalsSubdirectory("extern");
    EXPECT_STREQ(GetNameOfExternalsSubdirectory(), "extern");
    SetNameOfExternalsSubdirectory("");
    EXPECT_STREQ(GetNameOfExternalsSubdirectory(), "sys_libs") << "after an empty name";
    SetNameOfExternalsSubdirectory("other");
    SetNameOfExternalsSubdirectory(nullptr);
    EXPECT_STREQ(GetNameOfExternalsSubdirectory(), "sys_libs") << "after null";
}

TEST(Externals, StoresACopyOfTheName) {
    char name[] = "mine";
    SetNameOfExternalsSubdirectory(name);
    name[0] = 'X';
    EXPECT_STREQ(GetNameOfExternalsSubdirectory(), "mine");
    SetNameOfExternalsSubdirectory(nullptr);
}

// --- Start-up and shutdown ---------------------------------------------------

TEST(EntryPoint, OnlyTheLastDetachReleasesTheContext) {
    ASSERT_EQ(attachCount, 1) << "the library's load ran the entry point once";
    EXPECT_NE(moduleHandle, nullptr);
    EXPECT_EQ(moduleHandle, kvEngineModule());
    EXPECT_TRUE(engineEntryPoint(nullptr, DLL_THREAD_ATTACH)) << "thread notices change nothing";
    EXPECT_EQ(attachCount, 1);
    EXPECT_TRUE(engineEntryPoint(moduleHandle, DLL_PROCESS_ATTACH));
    EXPECT_EQ(attachCount, 2);
    SetNameOfExternalsSubdirectory("ext");
    SetIniFileContext("none.ini", nullptr);
    ASSERT_NE(getLibraryConfiguration(), nullptr);

    EXPECT_TRUE(engineEntryPoint(moduleHandle, DLL_THREAD_ATTACH));
    EXPECT_TRUE(engineEntryPoint(moduleHandle, DLL_THREAD_DETACH));
    EXPECT_TRUE(engineEntryPoint(moduleHandle, DLL_PROCESS_DETACH));
    EXPECT_EQ(attachCount, 1);
    EXPECT_NE(getLibraryConfiguration(), nullptr) << "not the last detach";
    EXPECT_STREQ(GetNameOfExternalsSubdirectory(), "ext");

    EXPECT_TRUE(engineEntryPoint(moduleHandle, DLL_PROCESS_DETACH));
    EXPECT_EQ(attachCount, 0);
    EXPECT_EQ(getLibraryConfiguration(), nullptr) << "the last detach drops the configuration";
    EXPECT_STREQ(GetNameOfExternalsSubdirectory(), "sys_libs");
    EXPECT_STREQ(GetIniFileContext(), "none.ini") << "the name is kept";
    engineEntryPoint(moduleHandle, DLL_PROCESS_ATTACH);
}

// --- Profiles ----------------------------------------------------------------

class ReadProfile : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(dir.host("ctx.ini"), "[TARNEL]\nLIBPATH=c:\\a;c:\\b\n[Other]\nK1=1\nK2=2\n");
        ini = dir.engine("ctx.ini");
    }
    TempDir dir;
    EnvGuard windir{"KVENG_WINDIR", dir.host().c_str()};
    std::string ini;
    char buffer[256];
};

TEST_F(ReadProfile, ValueOfAKey) {
    int n = readProfileString("TARNEL", "LIBPATH", "*", buffer, sizeof buffer, ini.c_str());
    EXPECT_STREQ(buffer, "c:\\a;c:\\b");
    EXPECT_EQ(n, 9);
    readProfileString("TARNEL", "NOPE", "*", buffer, sizeof buffer, ini.c_str());
    EXPECT_STREQ(buffer, "*") << "the default for a missing key";
}

TEST_F(ReadProfile, NullSectionListsSectionsAndMissingFileGivesTheSentinel) {
    int n = readProfileString(nullptr, "ignored", "ignored", buffer, sizeof buffer, ini.c_str());
    EXPECT_EQ(std::string(buffer, static_cast<size_t>(n)), std::string("TARNEL\0Other\0", 13));
    std::string missing = dir.engine("none.ini");
    n = readProfileString(nullptr, nullptr, nullptr, buffer, sizeof buffer, missing.c_str());
    EXPECT_STREQ(buffer, profileSentinel);
    EXPECT_EQ(n, static_cast<int>(strlen(profileSentinel)));
}

TEST_F(ReadProfile, NullKeyListsKeys) {
    memset(buffer, 'x', sizeof buffer);
    int n = readProfileString("Other", nullptr, "", buffer, sizeof buffer, ini.c_str());
    EXPECT_EQ(std::string(buffer, static_cast<size_t>(n)), std::string("K1\0K2\0", 6));
    memset(buffer, 'x', sizeof buffer);
    readProfileString("Missing", nullptr, "", buffer, sizeof buffer, ini.c_str());
    EXPECT_EQ(buffer[0], 0) << "an empty list for a missing section";
}

TEST_F(ReadProfile, NullFileMeansTheFixedFileInTheWindowsDirectory) {
    EXPECT_EQ(getDefaultIniFile(), "tarnel91.ini");
    writeFile(dir.host("tarnel91.ini"), "[Part Libs]\nLIB1=STD [.SLB]\n");
    readProfileString("Part Libs", "LIB1", "*", buffer, sizeof buffer, nullptr);
    EXPECT_STREQ(buffer, "STD [.SLB]");
}

// --- TokenList ---------------------------------------------------------------

static std::vector<std::string> tokens(const char* text, const char* separators, char quote, bool skipEmpty) {
    TokenList list(text, separators, quote, skipEmpty);
    std::vector<std::string> out;
    for (int i = 0; i < list.count(); ++i) out.push_back(list[i]);
    return out;
}

typedef std::vector<std::string> Strings;

TEST(TokenListTest, Splitting) {
    struct Case {
        const char* text;
        const char* separators;
        char quote;
        bool skipEmpty;
        Strings expected;
    } cases[] = {
        {"a;b;c", ";", '"', true, {"a", "b", "c"}},
        {"a;;b;", ";", '"', true, {"a", "b"}},
        {"a;;b;", ";", '"', false, {"a", "", "b", ""}},
        {";a", ";", '"', false, {"", "a"}},
        {"\"c:\\x;y\";d", ";", '"', true, {"\"c:\\x;y\"", "d"}},
        {"\"open;to end", ";", '"', true, {"\"open;to end"}},
        {"a b\tc", " \t", 0, true, {"a", "b", "c"}},
        {"", ";", '"', false, {}},
        {"abc", "", '"', false, {}},
        {nullptr, ";", '"', false, {}},
        {";;;", ";", '"', true, {}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(tokens(c.text, c.separators, c.quote, c.skipEmpty), c.expected)
            << "text '" << (c.text ? c.text : "(null)") << "' skipEmpty " << c.skipEmpty;
}

TEST(TokenListTest, IndexOutsideGivesEmpty) {
    TokenList list("a;b", ";", 0, true);
    EXPECT_EQ(list.count(), 2);
    EXPECT_EQ(list.get(2), "");
    EXPECT_EQ(list.get(-1), "");
}

// --- parseListEntry ----------------------------------------------------------

TEST(ParseListEntry, Forms) {
    struct Case {
        const char* text;
        const char* first;
        const char* second;
    } cases[] = {
        {"lib [.slb, .plb]", "lib.slb", "lib.plb"},
        {"lib [.slb]", "lib.slb", "(untouched)"},
        {"lib .slb,.plb", "lib.slb", "lib.plb"},
        {"lib [ , .plb ]", "(untouched)", "lib.plb"},
        {"lib", "lib", "(untouched)"},
        {"lib []", "lib []", "(untouched)"},
        {"\"my lib\" [a,b]", "\"my lib\"a", "\"my lib\"b"},
        {"x [.a,.b,.c] tail", "x.a", "x.b"},
    };
    for (const Case& c : cases) {
        std::string first = "(untouched)", second = "(untouched)";
        EXPECT_EQ(parseListEntry(c.text, first, second), 0);
        EXPECT_EQ(first, c.first) << "first of '" << c.text << "'";
        EXPECT_EQ(second, c.second) << "second of '" << c.text << "'";
    }
}

// --- removeDirectoryTree -----------------------------------------------------

// A confirmation that answers from a script and records the questions.
static std::vector<std::string> questions;
static std::vector<int> script;
static int scripted(const char* path) {
    questions.push_back(path);
    if (script.empty()) return DeleteYes;
    int answer = script.front();
    script.erase(script.begin());
    return answer;
}

class RemoveTree : public ::testing::Test {
protected:
    void SetUp() override {
        resetDeleteAnswer();
        questions.clear();
        script.clear();
        writeFile(dir.host("t/a.txt"), "a");
        writeFile(dir.host("t/b.txt"), "b");
        writeFile(dir.host("t/sub/c.txt"), "c");
        tree = dir.engine("t");
    }
    void TearDown() override { resetDeleteAnswer(); }
    static std::string base(const std::string& path) { return path.substr(path.rfind('\\') + 1); }
    TempDir dir;
    std::string tree;
};

// The files of the tree still there.
static Strings filesLeft(const TempDir& dir) {
    Strings left;
    for (const char* file : {"t/a.txt", "t/b.txt", "t/sub/c.txt"})
        if (fileExists(dir.host(file))) left.push_back(file);
    return left;
}

TEST_F(RemoveTree, AnswersDecideWhatGoes) {
    const Strings all = {"t/a.txt", "t/b.txt", "t/sub/c.txt"};
    const struct {
        bool confirm;
        std::vector<int> answers; // then yes to every further question
        unsigned result;
        Strings asked;            // base names, in order
        Strings left;
    } cases[] = {
        {false, {}, 0u, {}, {}},
        {true, {}, 0u, {"t", "a.txt", "b.txt", "sub", "c.txt"}, {}},
        {true, {DeleteYes, DeleteYesToAll}, 0u, {"t", "a.txt"}, {}},
        {true, {DeleteNo}, 0u, {"t"}, all},
        // After a "no" to a file the subdirectory is neither asked about nor
        // touched, and the directory cannot go.
        {true, {DeleteYes, DeleteYes, DeleteNo}, REMOVE_TREE_FAILED, {"t", "a.txt", "b.txt"}, {"t/b.txt", "t/sub/c.txt"}},
        {true, {DeleteYes, DeleteCancel}, REMOVE_TREE_FAILED, {"t", "a.txt"}, all},
    };
    for (const auto& c : cases) {
        TempDir each;
        for (const std::string& file : all) writeFile(each.host(file), "x");
        resetDeleteAnswer();
        questions.clear();
        script = c.answers;
        std::string what = "answers given: " + std::to_string(c.answers.size());
        EXPECT_EQ(removeDirectoryTree(each.engine("t"), c.confirm ? scripted : nullptr), c.result) << what;
        Strings asked;
        for (const std::string& q : questions) asked.push_back(base(q));
        EXPECT_EQ(asked, c.asked) << what;
        EXPECT_EQ(filesLeft(each), c.left) << what;
        EXPECT_EQ(fileExists(each.host("t")), !c.left.empty()) << what;
    }
}

TEST_F(RemoveTree, NoToTheDirectoryIsRememberedForTheNextCall) {
    script = {DeleteNo};
    EXPECT_EQ(removeDirectoryTree(tree, scripted), 0u);
    questions.clear();
    EXPECT_EQ(removeDirectoryTree(tree, scripted), 0u);
    EXPECT_TRUE(questions.empty());
    EXPECT_TRUE(fileExists(dir.host("t/a.txt")));
}

TEST_F(RemoveTree, ReadOnlyFileFailsAndStops) {
    chmod(dir.host("t/a.txt").c_str(), 0444);
    EXPECT_EQ(removeDirectoryTree(tree, nullptr), REMOVE_TREE_FAILED);
    EXPECT_TRUE(fileExists(dir.host("t/a.txt")));
    EXPECT_TRUE(fileExists(dir.host("t/b.txt"))) << "the walk stops at the first failure";
}

TEST_F(RemoveTree, MissingDirectoryFails) {
    EXPECT_EQ(removeDirectoryTree(dir.engine("none"), nullptr), REMOVE_TREE_FAILED);
}

TEST_F(RemoveTree, LinkToADirectoryGoesAsALink) {
    writeFile(dir.host("keep/precious.txt"), "x");
    ASSERT_EQ(symlink(dir.host("keep").c_str(), dir.host("t/link").c_str()), 0);
    EXPECT_EQ(removeDirectoryTree(tree, nullptr), 0u);
    EXPECT_FALSE(fileExists(dir.host("t")));
    EXPECT_TRUE(fileExists(dir.host("keep/precious.txt")));
}
