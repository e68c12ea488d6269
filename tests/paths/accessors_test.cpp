// pathstring accessors and structure: one table of paths with every part
// they cut into, checked in all three forms (range, string, by value), and
// a table of components by index.
#include <gtest/gtest.h>

#include <string>

#include "paths/pathstring.h"

// A pathstring holding text exactly as given (the std::string constructor
// does not tidy).
static pathstring raw(const char* text) { return pathstring(std::string(text)); }

// --- The parts of a path -----------------------------------------------------

struct PartsCase {
    const char* input;
    const char* drive;
    const char* driveNoColon;
    const char* directory;
    const char* path;
    const char* pathNoSlash;
    const char* base;
    const char* root;
    const char* ext;
    const char* extNoDot;
    const char* nameNoExt;
    const char* uncShare;
    int components;
    bool drive_;
    bool unc;
};

static const PartsCase kParts[] = {
    // input                       drive driveNC directory          path                 pathNoSlash         base          root        ext      extNoDot nameNoExt                 unc            n  drv   unc
    {"C:\\dir\\sub\\name.ext",     "C:", "C",  "\\dir\\sub\\",      "C:\\dir\\sub\\",    "C:\\dir\\sub",     "name.ext",   "name",     ".ext",  "ext",  "C:\\dir\\sub\\name",     "",            4, true,  false},
    {"name",                       "",   "",   "",                  "",                  "",                 "name",       "name",     "",      "",     "name",                   "",            1, false, false},
    {"dir.d\\name",                "",   "",   "dir.d\\",           "dir.d\\",           "dir.d",            "name",       "name",     "",      "",     "dir.d\\name",            "",            2, false, false},
    {"name.",                      "",   "",   "",                  "",                  "",                 "name.",      "name",     ".",     "",     "name",                   "",            1, false, false},
    {"C:",                         "C:", "C",  "",                  "",                  "",                 "",           "",         "",      "",     "C:",                     "",            1, true,  false},
    {"X",                          "",   "",   "",                  "",                  "",                 "X",          "X",        "",      "",     "X",                      "",            1, false, false},
    {"1:y",                        "1:", "1",  "",                  "",                  "",                 "y",          "y",        "",      "",     "1:y",                    "",            2, true,  false},
    {"C:name",                     "C:", "C",  "",                  "",                  "",                 "name",       "name",     "",      "",     "C:name",                 "",            2, true,  false},
    {"C:\\x",                      "C:", "C",  "\\",                "C:\\",              "C:",               "x",          "x",        "",      "",     "C:\\x",                  "",            2, true,  false},
    {"C:\\",                       "C:", "C",  "\\",                "C:\\",              "C:",               "",           "",         "",      "",     "C:\\",                   "",            1, true,  false},
    {"\\x",                        "",   "",   "\\",                "\\",                "",                 "x",          "x",        "",      "",     "\\x",                    "",            1, false, false},
    {"\\",                         "",   "",   "\\",                "\\",                "",                 "",           "",         "",      "",     "\\",                     "",            0, false, false},
    {"",                           "",   "",   "",                  "",                  "",                 "",           "",         "",      "",     "",                       "",            0, false, false},
    {"a\\b\\",                     "",   "",   "a\\b\\",            "a\\b\\",            "a\\b",             "",           "",         "",      "",     "a\\b\\",                 "",            2, false, false},
    {".cfg",                       "",   "",   "",                  "",                  "",                 ".cfg",       "",         ".cfg",  "cfg",  "",                       "",            1, false, false},
    {"a.b\\c",                     "",   "",   "a.b\\",             "a.b\\",             "a.b",              "c",          "c",        "",      "",     "a.b\\c",                 "",            2, false, false},
    {"..",                         "",   "",   "",                  "",                  "",                 "..",         ".",        ".",     "",     ".",                      "",            1, false, false},
    {"C:\\dir.v2\\file.tar.gz",    "C:", "C",  "\\dir.v2\\",        "C:\\dir.v2\\",      "C:\\dir.v2",       "file.tar.gz","file.tar", ".gz",   "gz",   "C:\\dir.v2\\file.tar",   "",            3, true,  false},
    {"C:\\a b\\c d.t x",           "C:", "C",  "\\a b\\",           "C:\\a b\\",         "C:\\a b",          "c d.t x",    "c d",      ".t x",  "t x",  "C:\\a b\\c d",           "",            3, true,  false},
    {"a/b.c/d",                    "",   "",   "a/b.c/",            "a/b.c/",            "a/b.c",            "d",          "d",        "",      "",     "a/b.c/d",                "",            3, false, false},
    {"\\\\server\\share\\dir",     "",   "",   "\\\\server\\share\\", "\\\\server\\share\\", "\\\\server\\share", "dir",   "dir",      "",      "",     "\\\\server\\share\\dir", "\\\\server\\share", 3, false, true},
    {"\\\\s\\x\\y",                "",   "",   "\\\\s\\x\\",        "\\\\s\\x\\",        "\\\\s\\x",         "y",          "y",        "",      "",     "\\\\s\\x\\y",            "\\\\s\\x",    3, false, true},
    {"\\\\server",                 "",   "",   "\\\\",              "\\\\",              "\\",               "server",     "server",   "",      "",     "\\\\server",             "",            1, false, true},
    {"\\\\\\\\server\\s",          "",   "",   "\\\\\\\\server\\",  "\\\\\\\\server\\",  "\\\\\\\\server",   "s",          "s",        "",      "",     "\\\\\\\\server\\s",      "\\\\\\\\server\\s", 2, false, true},
    {"//server/share",             "",   "",   "//server/",         "//server/",         "//server",         "share",      "share",    "",      "",     "//server/share",         "",            2, false, false},
    {"\\\\",                       "",   "",   "\\\\",              "\\\\",              "\\",               "",           "",         "",      "",     "\\\\",                   "",            0, false, false},
    {"C:\\x.y\\",                  "C:", "C",  "\\x.y\\",           "C:\\x.y\\",         "C:\\x.y",          "",           "",         "",      "",     "C:\\x.y\\",              "",            2, true,  false},
};

// Checks one accessor in its three forms against expected.
template <typename Range, typename Into, typename Value>
static void checkForms(const pathstring& p, const char* name, const char* expected, Range range, Into into,
                       Value value) {
    const char* b = nullptr;
    const char* e = nullptr;
    (p.*range)(b, e);
    ASSERT_TRUE(b >= p.data() && b <= e && e <= p.data() + p.size())
        << name << " of \"" << p << "\": the range lies inside the string";
    EXPECT_EQ(expected, std::string(b, e)) << name << " (range) of \"" << p << "\"";
    std::string out = "previous content";
    (p.*into)(out);
    EXPECT_EQ(expected, out) << name << " (into a string) of \"" << p << "\"";
    pathstring byValue = (p.*value)();
    EXPECT_EQ(expected, static_cast<const std::string&>(byValue)) << name << " (by value) of \"" << p << "\"";
}

#define CHECK_ACCESSOR(p, name, expected)                                                             \
    checkForms(p, #name, expected, static_cast<void (pathstring::*)(const char*&, const char*&) const>( \
                                       &pathstring::name),                                           \
               static_cast<void (pathstring::*)(std::string&) const>(&pathstring::name),             \
               static_cast<pathstring (pathstring::*)() const>(&pathstring::name))

TEST(PathParts, EveryAccessorInEveryForm) {
    for (const PartsCase& c : kParts) {
        pathstring p = raw(c.input);
        CHECK_ACCESSOR(p, getDrive, c.drive);
        CHECK_ACCESSOR(p, getDriveNoColon, c.driveNoColon);
        CHECK_ACCESSOR(p, getDirectory, c.directory);
        CHECK_ACCESSOR(p, getPath, c.path);
        CHECK_ACCESSOR(p, getPathNoSlash, c.pathNoSlash);
        CHECK_ACCESSOR(p, getBase, c.base);
        CHECK_ACCESSOR(p, getRoot, c.root);
        CHECK_ACCESSOR(p, getExt, c.ext);
        CHECK_ACCESSOR(p, getExtNoDot, c.extNoDot);
        CHECK_ACCESSOR(p, getNameNoExt, c.nameNoExt);
        CHECK_ACCESSOR(p, getUNCShareName, c.uncShare);
        EXPECT_EQ(c.components, p.getNumberOfComponents()) << "components of \"" << c.input << "\"";
        EXPECT_EQ(c.drive_, p.hasDriveLetter()) << "drive letter of \"" << c.input << "\"";
        EXPECT_EQ(c.unc, p.isUNCname()) << "UNC name: \"" << c.input << "\"";
        EXPECT_EQ(std::string(c.input), static_cast<const std::string&>(p)) << "accessors change nothing";
    }
}

TEST(PathParts, IntoTheStringItself) {
    pathstring p = raw("C:\\dir\\name.ext");
    p.getBase(p);
    EXPECT_EQ("name.ext", static_cast<const std::string&>(p)) << "getBase into the same object";
    pathstring q = raw("C:\\dir\\name.ext");
    q.getPathComponent(1, q);
    EXPECT_EQ("dir", static_cast<const std::string&>(q)) << "getPathComponent into the same object";
}

TEST(PathParts, EmptyRangesLieAtTheDocumentedPlace) {
    pathstring p = raw("C:\\dir\\name");
    const char* b;
    const char* e;
    p.getExt(b, e);
    EXPECT_TRUE(b == e && e == p.data() + p.size()) << "no extension: empty at the end";
    p.getUNCShareName(b, e);
    EXPECT_TRUE(b == e && e == p.data() + p.size()) << "not UNC: empty at the end";
    pathstring q = raw("name");
    q.getPath(b, e);
    EXPECT_TRUE(b == e && b == q.data()) << "no separator: path empty at the start";
    q.getDrive(b, e);
    EXPECT_TRUE(b == e && b == q.data()) << "no drive: empty at the start";
    pathstring r = raw("C:name");
    r.getDirectory(b, e);
    EXPECT_TRUE(b == e && b == r.data() + 2) << "no separator after the drive: directory empty after it";
}

// --- Components by index -----------------------------------------------------

struct ComponentCase {
    const char* input;
    int index;
    const char* expected;
    bool atEnd;  // an empty range is expected at the end of the string
};

static const ComponentCase kComponents[] = {
    {"C:\\dir\\sub\\name.ext", 0, "C:", false},
    {"C:\\dir\\sub\\name.ext", 1, "dir", false},
    {"C:\\dir\\sub\\name.ext", 2, "sub", false},
    {"C:\\dir\\sub\\name.ext", 3, "name.ext", false},
    {"C:\\dir\\sub\\name.ext", 4, "", true},
    {"a\\b", 0, "a", false},
    {"a\\b", 1, "b", false},
    {"a\\b", 5, "", true},
    {"a\\b", -1, "", true},
    {"", 0, "", true},
    {"\\\\server\\share\\dir", 0, "server", false},
    {"\\\\server\\share\\dir", 1, "share", false},
    {"\\\\server\\share\\dir", 2, "dir", false},
    {"\\\\server\\share\\dir", 3, "", true},
    {"C:", 0, "C:", false},
    {"C:", 1, "", true},
    {"C:\\", 1, "", true},
    {"C:x", 1, "x", false},
    {"1:y", 0, "1:", false},
    {"1:y", 1, "y", false},
    {"/x/y", 0, "x", false},
    {"/x/y", 1, "y", false},
    {"a\\b\\", 1, "b", false},
    {"a\\b\\", 2, "", true},
    // Doubled separators after the first component are not skipped.
    {"a\\\\b", 1, "", false},
    {"a\\\\b", 2, "b", false},
    {"\\", 0, "", true},
};

TEST(PathComponents, ByIndex) {
    for (const ComponentCase& c : kComponents) {
        pathstring p = raw(c.input);
        const char* b;
        const char* e;
        p.getPathComponent(c.index, b, e);
        EXPECT_EQ(c.expected, std::string(b, e)) << "component " << c.index << " of \"" << c.input << "\"";
        if (c.atEnd) {
            EXPECT_EQ(p.data() + p.size(), b) << "component " << c.index << " of \"" << c.input << "\" at the end";
        }
        std::string out;
        p.getPathComponent(c.index, out);
        EXPECT_EQ(c.expected, out);
        EXPECT_EQ(c.expected, static_cast<const std::string&>(p.getPathComponent(c.index)));
    }
}

TEST(PathComponents, EveryComponentCountedIsReachable) {
    for (const PartsCase& c : kParts) {
        pathstring p = raw(c.input);
        int n = p.getNumberOfComponents();
        // Tidied paths have no empty component between the first and last.
        pathstring tidied(c.input);
        int m = tidied.getNumberOfComponents();
        for (int i = 0; i < m; ++i)
            EXPECT_FALSE(tidied.getPathComponent(i).empty())
                << "component " << i << " of " << m << " of tidied \"" << tidied << "\"";
        EXPECT_TRUE(p.getPathComponent(n).empty()) << "nothing past the last component of \"" << c.input << "\"";
    }
}
