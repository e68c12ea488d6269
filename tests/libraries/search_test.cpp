// searchPathForFile through real directories: the referring file's
// directory first, then the library path; dots that lead up, default
// extensions with and without a dot, names with a drive, names found only
// on the library path and names found nowhere.
#include "libtest.h"

#include <cstring>
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

// One search and its outcome. In the expected texts "@BASE@" stands for
// the referring directory, "@ROOT@" for the test directory and "@CWD@" for
// the current one.
struct searchRow {
    const char* what;
    const char* name;
    const char* ext;
    const char* from;  // null: the referring directory
    const char* list;  // null: the library path
    bool found;
    const char* result;
    const char* tried; // the paths tried, joined by "|"; null: not checked
};

static const searchRow searchRows[] = {
    {"the referring directory comes first", "both.sch", nullptr, nullptr, nullptr, true, "@BASE@\\both.sch",
     "@BASE@\\both.sch"},
    {"a name found only on the library path", "only.slb", nullptr, nullptr, nullptr, true, "@ROOT@\\lib1\\only.slb", nullptr},
    {"the second directory, a quoted one with a blank, in any case", "DEEP.SCH", nullptr, nullptr, nullptr, true,
     "@ROOT@\\lib 2\\DEEP.SCH", "@BASE@\\DEEP.SCH|@ROOT@\\lib1\\DEEP.SCH|@ROOT@\\lib 2\\DEEP.SCH"},
    {"a name found nowhere comes back in the current directory", "nowhere", "sch", nullptr, nullptr, false,
     "@CWD@\\nowhere.sch", "@BASE@\\nowhere.sch|@ROOT@\\lib1\\nowhere.sch|@ROOT@\\lib 2\\nowhere.sch"},
    {"a directory is not a file", "folder.sch", nullptr, nullptr, nullptr, false, "@CWD@\\folder.sch", nullptr},
    {"no directories at all", "x", nullptr, "", "", false, "@CWD@\\x", ""},
    {"a default extension with a dot", "here", ".sch", nullptr, nullptr, true, "@BASE@\\here.sch", nullptr},
    {"a dot is put in front of a default extension", "here", "sch", nullptr, nullptr, true, "@BASE@\\here.sch", nullptr},
    {"a name with an extension keeps it", "here.txt", ".sch", nullptr, nullptr, false, "@CWD@\\here.txt", nullptr},
    {"a default extension on the library path", "only", ".slb", nullptr, nullptr, true, "@ROOT@\\lib1\\only.slb", nullptr},
    {"three dots: two levels up", "...\\x.txt", nullptr, nullptr, nullptr, true, "@ROOT@\\ws\\x.txt", nullptr},
    {"four dots: three levels up", "....\\top.txt", nullptr, nullptr, nullptr, true, "@ROOT@\\top.txt", nullptr},
    {"two steps up", "..\\..\\x.txt", nullptr, nullptr, nullptr, true, "@ROOT@\\ws\\x.txt", nullptr},
    {"forward slashes", "../../x.txt", nullptr, nullptr, nullptr, true, "@ROOT@\\ws\\x.txt", nullptr},
    {"a dot directory", ".\\here.sch", nullptr, nullptr, nullptr, true, "@BASE@\\here.sch", nullptr},
    {"doubled separators", "sub\\\\..\\here.sch", nullptr, nullptr, nullptr, true, "@BASE@\\here.sch", nullptr},
    {"a drive that does not exist; the list is not walked", "Q:\\nope\\x.txt", ".sch", nullptr, nullptr, false,
     "Q:\\nope\\x.txt", "Q:\\nope\\x.txt"},
    {"an absolute name is only checked", "@ROOT@\\ws\\x.txt", nullptr, nullptr, nullptr, true, "@ROOT@\\ws\\x.txt", nullptr},
    {"a share is only checked", "\\\\server\\share\\x.txt", nullptr, nullptr, nullptr, false, "\\\\server\\share\\x.txt", nullptr},
    {"an absolute directory is not a file", "@ROOT@\\ws\\a", nullptr, nullptr, nullptr, false, nullptr, nullptr},
    {"no referring directory", "only.slb", nullptr, "", nullptr, true, "@ROOT@\\lib1\\only.slb", nullptr},
    {"no library path", "here.sch", nullptr, nullptr, "", true, "@BASE@\\here.sch", nullptr},
};

TEST_F(Search, Table) {
    auto expand = [&](const char* text) {
        if (!text) return std::string("(not checked)");
        std::string expanded = text;
        for (const auto& pair : {std::make_pair("@BASE@", base), std::make_pair("@ROOT@", dir.engine()),
                                 std::make_pair("@CWD@", current)})
            for (size_t at; (at = expanded.find(pair.first)) != std::string::npos;)
                expanded.replace(at, strlen(pair.first), pair.second);
        return expanded;
    };
    for (const searchRow& row : searchRows) {
        SCOPED_TRACE(row.what);
        const std::string name = expand(row.name);
        EXPECT_EQ(search(name.c_str(), row.ext, row.from, row.list), row.found);
        EXPECT_EQ(row.result ? std::string(result) : "(not checked)", expand(row.result));
        std::string paths;
        for (const std::string& each : tried) paths += (paths.empty() ? "" : "|") + each;
        EXPECT_EQ(row.tried ? paths : "(not checked)", expand(row.tried));
    }
}

TEST_F(Search, NullNameLeavesTheResultAlone) {
    result = pathstring("C:\\keep");
    EXPECT_FALSE(searchPathForFile(base.c_str(), path.c_str(), nullptr, ".sch", result));
    EXPECT_EQ(std::string(result), "C:\\keep");
}

TEST_F(Search, WithoutBaseDirectoryOrPath) {
    CwdGuard guard;
    ASSERT_EQ(chdir(dir.host("ws").c_str()), 0);
    pathstring r;
    EXPECT_FALSE(searchPathForFile(nullptr, nullptr, "x.txt", nullptr, r)) << "the current directory is not searched";
    EXPECT_EQ(std::string(r), dir.engine("ws\\x.txt"));
}
