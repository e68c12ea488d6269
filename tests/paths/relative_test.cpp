// pathstring relative and absolute forms, and comparisons: assignRelativeTo
// in all six forms, makeRelativeTo, the round trip between them,
// compareExactNames, compareEqualQuickly and isInDirectory.
#include <gtest/gtest.h>

#include <string>

#include "paths/pathstring.h"

static pathstring raw(const char* text) { return pathstring(std::string(text)); }
static const std::string& str(const pathstring& p) { return p; }

// --- assignRelativeTo --------------------------------------------------------

struct RelativeCase {
    const char* text;
    const char* base;
    const char* expected;
};

static const RelativeCase kAssign[] = {
    {"a.txt", "C:\\w", "C:\\w\\a.txt"},
    {"a.txt", "C:\\w\\", "C:\\w\\a.txt"},
    {"\\a.txt", "C:\\w", "C:\\a.txt"},
    {"D:\\a.txt", "C:\\w", "D:\\a.txt"},
    {"D:a.txt", "C:\\w", "D:a.txt"},
    {"C:a.txt", "C:\\w", "C:\\w\\a.txt"},
    {"c:a.txt", "C:\\w", "C:\\w\\a.txt"},
    {"..\\a.txt", "C:\\w\\x", "C:\\w\\a.txt"},
    {"..\\..\\..\\a", "C:\\w", "C:\\..\\..\\a"},
    {".\\sub\\.\\a.txt", "C:\\w", "C:\\w\\sub\\a.txt"},
    {"a/./b", "C:\\w", "C:\\w\\a\\b"},
    {"...\\a", "C:\\w\\x\\y", "C:\\w\\a"},
    {" \"a b.txt\" ", "C:\\w", "C:\\w\\a b.txt "},
    // UNC names stay; a UNC base serves relative paths only.
    {"\\\\srv\\sh\\a", "C:\\w", "\\\\srv\\sh\\a"},
    {"a.txt", "\\\\srv\\sh\\d", "\\\\srv\\sh\\d\\a.txt"},
    {"C:a.txt", "\\\\srv\\sh", "C:a.txt"},
    {"\\a.txt", "\\\\srv\\sh", "\\a.txt"},
    // A base without a drive.
    {"C:a.txt", "w\\x", "C:w\\x\\a.txt"},
    {"\\a.txt", "w\\x", "\\a.txt"},
    {"a.txt", "w\\x", "w\\x\\a.txt"},
    // Empty sides.
    {"a.txt", "", "a.txt"},
    {"", "C:\\w", "C:\\w\\"},
    {"C:", "C:\\w", "C:\\w\\"},
};

TEST(AssignRelative, EveryForm) {
    for (const RelativeCase& c : kAssign) {
        const std::string what = std::string("\"") + c.text + "\" against \"" + c.base + "\"";
        pathstring p(c.text);
        p.assignRelativeTo(c.base);
        EXPECT_EQ(c.expected, str(p)) << what << " (base as C string)";
        pathstring q(c.text);
        q.assignRelativeTo(pathstring(c.base));
        EXPECT_EQ(c.expected, str(q)) << what << " (base as pathstring)";
        pathstring forms[4] = {raw("old"), raw("old"), raw("old"), raw("old")};
        forms[0].assignRelativeTo(c.text, c.base);
        forms[1].assignRelativeTo(c.text, pathstring(c.base));
        forms[2].assignRelativeTo(std::string(c.text), c.base);
        forms[3].assignRelativeTo(std::string(c.text), pathstring(c.base));
        for (int i = 0; i < 4; ++i) EXPECT_EQ(c.expected, str(forms[i])) << what << " (text form " << i << ")";
    }
}

TEST(AssignRelative, UntidiedTextIsTidiedFirst) {
    pathstring p = raw(" sub//a.txt");
    p.assignRelativeTo("C:\\w");
    EXPECT_EQ("C:\\w\\sub\\a.txt", str(p));
    pathstring absolute = raw("C:/x/../y");
    absolute.assignRelativeTo("D:\\w");
    EXPECT_EQ("C:\\y", str(absolute)) << "an absolute path is still tidied";
}

TEST(AssignRelative, BaseMayBeTheObjectItself) {
    pathstring p("C:\\w");
    p.assignRelativeTo("a.txt", p);
    EXPECT_EQ("C:\\w\\a.txt", str(p));
    pathstring q("C:\\w");
    q.assignRelativeTo(std::string("a.txt"), q.c_str());
    EXPECT_EQ("C:\\w\\a.txt", str(q));
}

// --- makeRelativeTo ----------------------------------------------------------

struct MakeRelativeCase {
    const char* path;
    const char* base;
    const char* expected;
    int shared;
};

static const MakeRelativeCase kMakeRelative[] = {
    {"C:\\w\\y\\f.txt", "C:\\w\\x\\", "..\\y\\f.txt", 2},
    {"C:\\w\\x\\f.txt", "C:\\w\\x\\", "f.txt", 3},
    {"D:\\f.txt", "C:\\w\\x\\", "D:\\f.txt", 0},
    {"C:\\W\\X\\f.txt", "c:\\w\\x", "f.txt", 3},
    {"C:\\a\\b\\c\\f", "C:\\x\\y\\z", "..\\..\\..\\a\\b\\c\\f", 1},
    {"C:\\w\\x", "C:\\w\\x", "", 3},
    {"C:\\w\\xy\\f", "C:\\w\\x", "..\\xy\\f", 2},
    {"C:\\w\\f", "C:\\w\\x\\y\\", "..\\..\\f", 2},
    {"C:\\w\\x\\y\\z\\f", "C:\\w", "x\\y\\z\\f", 2},
    {"\\\\srv\\sh\\a\\f", "\\\\srv\\sh\\b", "..\\a\\f", 2},
    {"\\\\srv\\sh\\a\\f", "C:\\w", "\\\\srv\\sh\\a\\f", 0},
    {"C:\\w\\f", "", "C:\\w\\f", 0},
    {"", "C:\\w", "", 0},
};

TEST(MakeRelative, SharedComponentsAndDots) {
    for (const MakeRelativeCase& c : kMakeRelative) {
        pathstring p(c.path);
        int shared = p.makeRelativeTo(c.base);
        EXPECT_EQ(c.expected, str(p)) << "\"" << c.path << "\" relative to \"" << c.base << "\"";
        EXPECT_EQ(c.shared, shared) << "\"" << c.path << "\" relative to \"" << c.base << "\"";
        pathstring q(c.path);
        EXPECT_EQ(c.shared, q.makeRelativeTo(pathstring(c.base)));
        EXPECT_EQ(c.expected, str(q));
    }
}

TEST(MakeRelative, AssignRelativeToUndoesIt) {
    const char* bases[] = {"C:\\w\\x", "C:\\w\\x\\", "C:\\w", "C:\\a\\b\\c\\d", "C:\\"};
    const char* paths[] = {"C:\\w\\x\\f.txt", "C:\\w\\y\\g.sch", "C:\\f", "C:\\a\\b\\c\\d\\e\\f.lib",
                           "C:\\q\\r\\s\\t.x", "c:\\W\\X\\Mixed.Case"};
    for (const char* base : bases)
        for (const char* path : paths) {
            pathstring relative(path);
            ASSERT_GT(relative.makeRelativeTo(base), 0);
            pathstring back(relative);
            back.assignRelativeTo(base);
            EXPECT_TRUE(back.compareEqualQuickly(pathstring(path)))
                << path << " relative to " << base << " is " << relative << ", and back " << back;
        }
}

// --- Comparisons -------------------------------------------------------------

TEST(Compare, ExactNamesIgnoreCase) {
    EXPECT_EQ(0, pathstring("C:\\Dir\\A.SCH").compareExactNames("c:\\dir\\a.sch"));
    EXPECT_LT(pathstring("C:\\a").compareExactNames("C:\\b"), 0);
    EXPECT_GT(pathstring("C:\\b").compareExactNames(pathstring("C:\\A")), 0);
    EXPECT_LT(pathstring("C:\\a").compareExactNames("C:\\a\\b"), 0) << "a prefix sorts first";
    EXPECT_EQ(0, pathstring("C:\\a").compareExactNames("C:/a")) << "the C string form tidies its argument";
    EXPECT_NE(0, pathstring("C:\\a").compareExactNames(raw("C:/a"))) << "no tidying of a pathstring";
}

TEST(Compare, EqualQuickly) {
    EXPECT_TRUE(pathstring("C:\\Dir\\A.SCH").compareEqualQuickly(pathstring("c:\\dir\\a.sch")));
    EXPECT_TRUE(pathstring("").compareEqualQuickly(pathstring("")));
    EXPECT_FALSE(pathstring("C:\\a").compareEqualQuickly(pathstring("C:\\ab")));
    EXPECT_FALSE(pathstring("C:\\ab").compareEqualQuickly(pathstring("C:\\ac")));
    EXPECT_FALSE(pathstring("D:\\ab").compareEqualQuickly(pathstring("C:\\ab"))) << "differ at the start";
    EXPECT_FALSE(raw("C:\\a").compareEqualQuickly(raw("C:/a"))) << "\"/\" and \"\\\" differ untidied";
    EXPECT_TRUE(pathstring("C:\\a").compareEqualQuickly("C:/a")) << "a C string is tidied first";
    EXPECT_FALSE(raw("a\xC4").compareEqualQuickly(raw("a\xE4"))) << "only ASCII letters fold";
    EXPECT_TRUE(raw("[x]@").compareEqualQuickly(raw("[X]@")));
    EXPECT_FALSE(raw("[").compareEqualQuickly(raw("{"))) << "punctuation does not fold";
}

struct InDirectoryCase {
    const char* path;
    const char* directory;
    bool inside;
};

static const InDirectoryCase kInDirectory[] = {
    {"C:\\W\\x.txt", "C:\\w", true},
    {"C:\\w", "C:\\w", true},
    {"C:\\ww\\x.txt", "C:\\w", false},
    {"C:\\w\\x\\y.txt", "C:\\w\\", true},
    {"C:\\w\\x\\y.txt", "C:\\", true},
    {"C:\\w", "C:\\w\\x", false},
    {"D:\\w\\x", "C:\\w", false},
    {"\\\\S\\H\\f", "\\\\s\\h", true},
    {"\\\\s\\h2\\f", "\\\\s\\h", false},
    {"a\\b\\c", "a\\b", true},
    {"a\\bc", "a\\b", false},
    {"C:\\w\\x", "C:w", false},
    {"C:w\\x", "C:w", true},
};

TEST(Compare, IsInDirectory) {
    for (const InDirectoryCase& c : kInDirectory) {
        pathstring p(c.path);
        EXPECT_EQ(c.inside, p.isInDirectory(c.directory)) << "\"" << c.path << "\" in \"" << c.directory << "\"";
        EXPECT_EQ(c.inside, p.isInDirectory(pathstring(c.directory)));
    }
}
