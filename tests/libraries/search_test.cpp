// searchPathForFile through real directories: the referring file's
// directory first, then the library path; dots that lead up, default
// extensions with and without a dot, names with a drive, names found only
// on the library path and names found nowhere.
#include "libtest.h"

#include <unistd.h>

#include "libraries/configuration.h"

class Search : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(dir.host("top.txt"), "t");
        writeFile(dir.host("ws/a/b/here.sch"), "h");
        writeFile(dir.host("ws/a/b/both.sch"), "near");
        writeFile(dir.host("ws/x.txt"), "x");
        writeFile(dir.host("lib1/both.sch"), "far");
        writeFile(dir.host("lib1/only.slb"), "o");
        writeFile(dir.host("lib 2/deep.sch"), "d");
        writeFile(dir.host("lib1/folder.sch/keep"), "a directory with a file's name");
        base = dir.engine("ws\\a\\b");
        path = "\"" + dir.engine("lib1") + "\";\"" + dir.engine("lib 2") + "\"";
        char cwd[MAX_PATH];
        GetCurrentDirectoryA(sizeof cwd, cwd);
        current = cwd;
    }
    // The search with this test's directories; result and tried are kept.
    bool search(const char* name, const char* ext = nullptr, const char* from = nullptr, const char* list = nullptr) {
        tried.clear();
        result.clear();
        return searchPathForFile(from ? from : base.c_str(), list ? list : path.c_str(), name, ext, result, &tried);
    }
    TempDir dir;
    std::string base, path, current;
    pathstring result;
    std::list<std::string> tried;
};

TEST_F(Search, TheReferringDirectoryComesFirst) {
    EXPECT_TRUE(search("both.sch"));
    EXPECT_EQ(std::string(result), base + "\\both.sch");
    EXPECT_EQ(tried.size(), 1u);
}

TEST_F(Search, NamesFoundOnlyOnTheLibraryPath) {
    EXPECT_TRUE(search("only.slb"));
    EXPECT_EQ(std::string(result), dir.engine("lib1") + "\\only.slb");
    EXPECT_TRUE(search("DEEP.SCH")) << "the second directory, a quoted one with a blank, any case";
    EXPECT_EQ(std::string(result), dir.engine("lib 2") + "\\DEEP.SCH");
    EXPECT_EQ(tried, (std::list<std::string>{base + "\\DEEP.SCH", dir.engine("lib1") + "\\DEEP.SCH",
                                             dir.engine("lib 2") + "\\DEEP.SCH"}));
}

TEST_F(Search, NamesFoundNowhereComeBackInTheCurrentDirectory) {
    EXPECT_FALSE(search("nowhere", "sch"));
    EXPECT_EQ(std::string(result), current + "\\nowhere.sch");
    EXPECT_EQ(tried.size(), 3u);
    EXPECT_FALSE(search("folder.sch")) << "a directory is not a file";
    EXPECT_FALSE(search("x", nullptr, "", "")) << "no directories at all";
    EXPECT_EQ(std::string(result), current + "\\x");
    EXPECT_TRUE(tried.empty());
}

TEST_F(Search, NullNameLeavesTheResultAlone) {
    result = pathstring("C:\\keep");
    EXPECT_FALSE(searchPathForFile(base.c_str(), path.c_str(), nullptr, ".sch", result));
    EXPECT_EQ(std::string(result), "C:\\keep");
}

TEST_F(Search, DefaultExtensions) {
    EXPECT_TRUE(search("here", ".sch"));
    EXPECT_EQ(std::string(result), base + "\\here.sch");
    EXPECT_TRUE(search("here", "sch")) << "a dot is put in front";
    EXPECT_EQ(std::string(result), base + "\\here.sch");
    EXPECT_FALSE(search("here.txt", ".sch")) << "a name with an extension keeps it";
    EXPECT_EQ(std::string(result), current + "\\here.txt");
    EXPECT_TRUE(search("only", ".slb"));
}

TEST_F(Search, DotsLeadUp) {
    EXPECT_TRUE(search("...\\x.txt")) << "three dots: two levels up";
    EXPECT_EQ(std::string(result), dir.engine("ws") + "\\x.txt");
    EXPECT_TRUE(search("....\\top.txt")) << "four dots: three levels up";
    EXPECT_EQ(std::string(result), dir.engine("top.txt"));
    EXPECT_TRUE(search("..\\..\\x.txt"));
    EXPECT_TRUE(search("../../x.txt")) << "forward slashes";
    EXPECT_TRUE(search(".\\here.sch"));
    EXPECT_TRUE(search("sub\\\\..\\here.sch")) << "doubled separators";
}

TEST_F(Search, NamesWithADriveAreOnlyChecked) {
    EXPECT_FALSE(search("Q:\\nope\\x.txt", ".sch"));
    EXPECT_EQ(std::string(result), "Q:\\nope\\x.txt") << "a drive that does not exist; the list is not walked";
    EXPECT_EQ(tried.size(), 1u);
    std::string absolute = dir.engine("ws\\x.txt");
    EXPECT_TRUE(search(absolute.c_str()));
    EXPECT_EQ(std::string(result), absolute);
    EXPECT_FALSE(search("\\\\server\\share\\x.txt"));
    EXPECT_EQ(std::string(result), "\\\\server\\share\\x.txt");
    EXPECT_FALSE(search(dir.engine("ws\\a").c_str())) << "a directory is not a file";
}

TEST_F(Search, WithoutBaseDirectoryOrPath) {
    CwdGuard guard;
    EXPECT_TRUE(search("only.slb", nullptr, "", path.c_str()));
    EXPECT_TRUE(search("here.sch", nullptr, base.c_str(), ""));
    ASSERT_EQ(chdir(dir.host("ws").c_str()), 0);
    pathstring r;
    EXPECT_FALSE(searchPathForFile(nullptr, nullptr, "x.txt", nullptr, r)) << "the current directory is not searched";
    EXPECT_EQ(std::string(r), dir.engine("ws\\x.txt"));
}
