// pathstring canonical form: tidyUp(false) from one table of texts as they
// reach the engine (blanks, tabs, quotes, mixed and doubled separators, dot
// directories, runs of dots, drives, UNC names), that tidying twice changes
// nothing more, which constructors tidy, and the editing members.
#include <gtest/gtest.h>

#include <string>

#include "paths/pathstring.h"

static pathstring raw(const char* text) { return pathstring(std::string(text)); }
static const std::string& str(const pathstring& p) { return p; }

struct TidyCase {
    const char* input;
    const char* expected;
};

static const TidyCase kTidy[] = {
    // Blanks: gone at the start, around separators and before a colon; kept
    // inside names and at the end; tabs and newlines become blanks.
    {" a / b ", "a\\b "},
    {"a  b", "a  b"},
    {"\tC:\\a\tb\\ c", "C:\\a b\\c"},
    {"C: \\ x", "C:\\x"},
    {"a :b", "a:b"},
    {"a\\b\n", "a\\b "},
    {" \t\r\n", ""},
    {"C:\\My Designs \\ board .sch", "C:\\My Designs\\board .sch"},
    // Quotes go wherever they stand.
    {"name\"with\"quotes", "namewithquotes"},
    {"\"", ""},
    {"\" C:\\a b\\c \"", "C:\\a b\\c "},
    // Separators: "/" becomes "\", runs collapse, a leading pair stays.
    {"C:/a//b", "C:\\a\\b"},
    {"C:\\\\a\\/\\b\\\\", "C:\\a\\b\\"},
    {"//server/share", "\\\\server\\share"},
    {"\\\\\\server\\\\share", "\\\\server\\share"},
    {"/\\server/share", "\\\\server\\share"},
    {"a/ /b", "a\\b"},
    {"\\ \\x", "\\\\x"},
    {"\\", "\\"},
    {"", ""},
    // Dot directories.
    {"a\\.\\b", "a\\b"},
    {"a\\..\\b", "b"},
    {"a\\..", ""},
    {".", ""},
    {"..", ".."},
    {".\\a", "a"},
    {"..\\a\\..\\b", "..\\b"},
    {"a\\b\\..\\..\\..\\c", "..\\c"},
    {"x\\.\\.\\.", "x"},
    {"C:\\x\\.\\", "C:\\x\\"},
    {".a\\..\\b", "b"},
    {"a..\\b", "a..\\b"},
    {". \\x", "x"},
    {"a\\ .. \\b", "b"},
    {"a\\.. ", "a\\.. "},
    // On a drive: the drive is never cancelled, ".." above the root stays.
    {"C:\\..\\x", "C:\\..\\x"},
    {"C:\\a\\..\\..\\x", "C:\\..\\x"},
    {"C:..\\x", "C:..\\x"},
    {"C:a\\..\\b", "C:b"},
    // The last component cancelled: its separator and the one before go,
    // so the drive loses its root.
    {"C:\\a\\..", "C:"},
    {"\\a\\..", ""},
    // Runs of dots: n dots are n-1 levels up.
    {"...\\x", "..\\..\\x"},
    {"....\\x", "..\\..\\..\\x"},
    {"a\\...", ".."},
    {"a\\b\\...\\x", "x"},
    {"C:\\dir\\...", "C:\\.."},
    {"C:\\a\\b\\c\\....\\x", "C:\\x"},
    // UNC: server and share are never cancelled.
    {"\\\\server\\share\\..\\x", "\\\\server\\share\\..\\x"},
    {"\\\\server\\share\\a\\..\\x", "\\\\server\\share\\x"},
    {"//server/share/a/../../b", "\\\\server\\share\\..\\b"},
};

TEST(Tidy, CanonicalForm) {
    for (const TidyCase& c : kTidy) {
        pathstring p = raw(c.input);
        p.tidyUp(false);
        EXPECT_EQ(c.expected, str(p)) << "tidyUp(false) of \"" << c.input << "\"";
    }
}

TEST(Tidy, TwiceIsOnce) {
    for (const TidyCase& c : kTidy) {
        pathstring p(c.input);
        pathstring again = p;
        again.tidyUp(false);
        EXPECT_EQ(str(p), str(again)) << "tidying \"" << c.input << "\" again";
    }
}

// The dot walk counts components and looks for a drive letter once, at the
// start. A cancelled ".." that brings "b:" to the front gives the text a
// drive letter in mid-walk, so the walk does not reach the last component;
// a second tidy does. Kept as it is: every tidied path of the engine is
// made the same way, and paths with a colon inside are not real file names.
TEST(Tidy, DriveLetterMadeInMidWalkIsNotIdempotent) {
    struct {
        const char* input;
        const char* once;
        const char* twice;
    } cases[] = {
        {"a\\..\\b:x\\..", "b:x\\..", "b:"},
        {"\\.\\:.", "\\:.", "\\:"},
        {"CC:\\..\\x:....", "x:....", "x:..\\..\\.."},
    };
    for (const auto& c : cases) {
        pathstring p(c.input);
        EXPECT_EQ(c.once, str(p)) << c.input;
        p.tidyUp(false);
        EXPECT_EQ(c.twice, str(p)) << c.input << " tidied again";
    }
}

TEST(Tidy, ConstructorsAndAssignments) {
    const char* text = " C:/a/./b ";
    const std::string expected = "C:\\a\\b ";
    EXPECT_EQ(expected, str(pathstring(text))) << "from a C string";
    EXPECT_EQ(expected, str(pathstring(text, 10))) << "from a C string and length";
    EXPECT_EQ("C:\\a", str(pathstring(text, 5))) << "the length cuts before tidying";
    EXPECT_EQ(expected, str(pathstring(text, text + 10))) << "from a range";
    pathstring untidied = raw(text);
    EXPECT_EQ(text, str(untidied)) << "from a std::string: as it is";
    EXPECT_EQ("a\\b", str(pathstring(untidied, 4, 5))) << "part of a pathstring: tidied";
    EXPECT_TRUE(pathstring(untidied, 100).empty()) << "a position past the end: empty, no exception";
    pathstring copy(untidied);
    EXPECT_EQ(text, str(copy)) << "copy: as it is";
    pathstring assigned;
    assigned = untidied;
    EXPECT_EQ(text, str(assigned)) << "copy assignment: as it is";
    assigned = text;
    EXPECT_EQ(expected, str(assigned)) << "assignment of a C string: tidied";
    assigned = std::string(text);
    EXPECT_EQ(expected, str(assigned)) << "assignment of a std::string: tidied";
    assigned = static_cast<const char*>(nullptr);
    EXPECT_TRUE(assigned.empty()) << "a null C string is the empty path";
    EXPECT_TRUE(pathstring(static_cast<const char*>(nullptr)).empty());
    assigned = "x";
    assigned.clear();
    EXPECT_TRUE(assigned.empty());
    pathstring fromAllocator{std::allocator<char>()};
    EXPECT_TRUE(fromAllocator.empty());
}

TEST(Tidy, LengthsAroundTheBufferSize) {
    // tidyUp(false) has no buffer: long paths are tidied like short ones.
    for (size_t length : {258u, 259u, 260u, 261u, 1000u}) {
        std::string name(length - 3, 'n');
        pathstring p(("C:/" + name).c_str());
        EXPECT_EQ("C:\\" + name, str(p)) << "length " << length;
        pathstring q(("C:\\" + name + "\\..\\x").c_str());
        EXPECT_EQ("C:\\x", str(q)) << "length " << length;
    }
}

// --- Editing members ---------------------------------------------------------

enum Edit { Append, EndInSlash, DotIfNoExt, ChangeExt, ChangePath };

struct EditCase {
    Edit edit;
    const char* input;
    const char* argument; // Append, ChangeExt and ChangePath
    const char* expected;
};

static const EditCase kEdits[] = {
    // appendComponent: one separator between, the argument tidied, dot
    // directories left alone.
    {Append, "", "name", "\\name"},
    {Append, "C:\\a", "b", "C:\\a\\b"},
    {Append, "C:\\a\\", "b", "C:\\a\\b"},
    {Append, "C:\\a", "\\b", "C:\\a\\b"},
    {Append, "C:\\a", " b/c", "C:\\a\\b\\c"},
    {Append, "C:\\a", "..\\b", "C:\\a\\..\\b"},
    {Append, "C:\\a", "", "C:\\a\\"},
    {Append, "\\\\srv", "share", "\\\\srv\\share"},
    // forceEndInSlash: a trailing blank gives way to the separator.
    {EndInSlash, "C:\\a", "", "C:\\a\\"},
    {EndInSlash, "C:\\a\\", "", "C:\\a\\"},
    {EndInSlash, "", "", "\\"},
    {EndInSlash, "C:\\a ", "", "C:\\a\\"},
    {EndInSlash, "C:", "", "C:\\"},
    {EndInSlash, "a/", "", "a\\"},
    // forceDotIfNoExt: only the last component counts.
    {DotIfNoExt, "f", "", "f."},
    {DotIfNoExt, "f.txt", "", "f.txt"},
    {DotIfNoExt, "C:\\d\\", "", "C:\\d\\"},
    {DotIfNoExt, "", "", ""},
    {DotIfNoExt, "d.x\\f", "", "d.x\\f."},
    {DotIfNoExt, "f.", "", "f."},
    // changeExt: the argument's last extension, with or without its dot.
    {ChangeExt, "C:\\d\\f.txt", "sch", "C:\\d\\f.sch"},
    {ChangeExt, "C:\\d\\f.txt", ".sch", "C:\\d\\f.sch"},
    {ChangeExt, "C:\\d\\f.txt", "C:\\other\\x.sch", "C:\\d\\f.sch"},
    {ChangeExt, "C:\\d\\f.txt", "a.b.c", "C:\\d\\f.c"},
    {ChangeExt, "C:\\d\\f.txt", "", "C:\\d\\f"},
    {ChangeExt, "C:\\d\\f.txt", ".", "C:\\d\\f"}, // "." tidies to nothing
    {ChangeExt, "C:\\d.x\\f", "sch", "C:\\d.x\\f.sch"},
    {ChangeExt, "C:\\d.x\\f", "", "C:\\d.x\\f"},
    {ChangeExt, "f.", "sch", "f.sch"},
    {ChangeExt, "f.tar.gz", "zip", "f.tar.zip"},
    {ChangeExt, "", "sch", ".sch"},
    // changePath: the argument up to its last separator.
    {ChangePath, "C:\\a\\f.txt", "D:\\x\\", "D:\\x\\f.txt"},
    {ChangePath, "C:\\a\\f.txt", "D:\\x\\y.sch", "D:\\x\\f.txt"},
    {ChangePath, "C:\\a\\f.txt", "D:\\x", "D:\\f.txt"}, // D:\x names a file x in D:\ .
    {ChangePath, "C:\\a\\f.txt", "noslash", "f.txt"},
    {ChangePath, "C:\\a\\f.txt", "", "f.txt"},
    {ChangePath, "f.txt", "C:\\w\\", "C:\\w\\f.txt"},
    {ChangePath, "C:\\a\\", "D:\\x\\", "D:\\x\\"},
    {ChangePath, "C:\\a\\f.txt", "\\\\srv\\sh\\d\\", "\\\\srv\\sh\\d\\f.txt"},
};

// Runs one edit; the members that take text run once with a C string and
// once with a std::string or pathstring, which must agree.
static std::string edited(const EditCase& c, bool second) {
    pathstring p = raw(c.input);
    switch (c.edit) {
    case Append:
        if (second) p.appendComponent(std::string(c.argument));
        else p.appendComponent(c.argument);
        break;
    case EndInSlash: p.forceEndInSlash(); break;
    case DotIfNoExt: p.forceDotIfNoExt(); break;
    case ChangeExt:
        if (second) p.changeExt(pathstring(c.argument));
        else p.changeExt(c.argument);
        break;
    case ChangePath:
        if (second) p.changePath(pathstring(c.argument));
        else p.changePath(c.argument);
        break;
    }
    return str(p);
}

TEST(Edit, EditingMembers) {
    static const char* const names[] = {"appendComponent", "forceEndInSlash", "forceDotIfNoExt", "changeExt",
                                        "changePath"};
    for (const EditCase& c : kEdits)
        for (bool second : {false, true})
            EXPECT_EQ(c.expected, edited(c, second))
                << names[c.edit] << "(\"" << c.argument << "\") of \"" << c.input << "\""
                << (second ? " (std::string or pathstring argument)" : "");
    pathstring self("C:\\a\\f.txt");
    self.changePath(self);
    EXPECT_EQ("C:\\a\\f.txt", str(self)) << "changePath to its own directory";
}
