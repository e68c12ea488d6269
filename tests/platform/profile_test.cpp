// GetPrivateProfileStringA at its boundaries: buffers of exact fit, one byte
// short and prefilled with a pattern, a sentinel last error set before each
// call, and the INI files that Windows tools write (CR LF, quotes, blanks).
#include "platform_test.h"

#include <cstring>

static const DWORD kSentinel = 0xdeadbeef;

// The file of these tests, written on Windows.
static const char kContent[] =
    "[section1]\r\n"
    "name1=val1\r\n"
    "name2=\"val2\"\r\n"
    "name3\r\n"
    "name4=a\r\n"
    "[section2]\r\n";

class Profile : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(dir_.host("test.ini"), kContent);
        file_ = dir_.engine("test.ini");
        memset(buffer_, 0x55, sizeof buffer_);
        SetLastError(kSentinel);
    }
    // The result and the buffer, for a query with a buffer of `size`.
    DWORD get(const char* section, const char* key, const char* fallback, DWORD size, const char* file = nullptr) {
        memset(buffer_, 0x55, sizeof buffer_);
        SetLastError(kSentinel);
        return GetPrivateProfileStringA(section, key, fallback, buffer_, size, file ? file : file_.c_str());
    }
    // True if the buffer holds `expected` (any bytes, NULs too) and is
    // untouched after it.
    bool holds(const char* expected, size_t length) {
        if (memcmp(buffer_, expected, length) != 0) return false;
        for (size_t i = length; i < sizeof buffer_; ++i)
            if (buffer_[i] != 0x55) return false;
        return true;
    }

    TempDir dir_;
    std::string file_;
    char buffer_[512];
};

// One query of the file of these tests (or of `file`, below the test
// directory) and what it must give: the result, the buffer's bytes up to
// and with the terminating NULs (null: not looked at), and the last error
// (0: not looked at).
struct Query {
    const char *file, *section, *key, *fallback;
    DWORD size, result;
    const char* bytes;
    size_t length;
    DWORD error;
    const char* why;
};

const DWORD kAll = 512;
const DWORD kNone = ERROR_FILE_NOT_FOUND;

static const Query kQueries[] = {
    // Values: any case, the quotes go, cut to size - 1.
    {"", "section1", "name1", "default", kAll, 4, "val1", 5, kSentinel, "a value found leaves the last error alone"},
    {"", "SECTION1", "NAME2", "default", kAll, 4, "val2", 5, 0, "any case; the quotes go"},
    {"", "section1", "name4", "default", kAll, 1, "a", 2, 0, "one character"},
    {"", "section1", "name3", "default", kAll, 7, "default", 8, kNone, "a key without '=' has no value"},
    {"", "section1", "name1", "default", 5, 4, "val1", 5, 0, "exact fit"},
    {"", "section1", "name1", "default", 4, 3, "val", 4, 0, "one byte short: size - 1"},
    {"", "section1", "name1", "default", 1, 0, "", 1, 0, "room for the NUL only"},
    {"", "section1", "name1", "default", 0, 0, "", 0, 0, "no buffer at all"},
    {"", "section1", "name2", "default", 4, 3, "val", 4, 0, "a quoted value cut"},
    // Key lists: keys with a value, each NUL-terminated, and a second NUL.
    {"", "section1", nullptr, "default", kAll, 18, "name1\0name2\0name4\0", 19, kSentinel, "keys"},
    {"", "section1", nullptr, "default", 20, 18, "name1\0name2\0name4\0", 19, 0, "room to spare"},
    {"", "section1", nullptr, "default", 19, 17, "name1\0name2\0name4\0", 19, 0, "exact fit counts as cut: size - 2"},
    {"", "section1", nullptr, "default", 18, 16, "name1\0name2\0name\0", 18, 0, "one byte short"},
    {"", "section1", nullptr, "default", 16, 14, "name1\0name2\0na\0", 16, 0, "a name cut"},
    {"", "section1", nullptr, "default", 2, 0, "\0", 2, 0, "two bytes"},
    {"", "section1", nullptr, "default", 1, 0, "", 1, 0, "one byte"},
    {"", "section2", nullptr, "default", kAll, 7, "default", 8, 0, "a section without keys gives the default"},
    {"", "nosection", nullptr, "default", kAll, 7, "default", 8, 0, "no such section"},
    // Section lists.
    {"", nullptr, "name1", "default", kAll, 18, "section1\0section2\0", 19, kSentinel, "key and default are ignored"},
    {"", nullptr, nullptr, nullptr, 19, 17, "section1\0section2\0", 19, 0, "sections, exact fit"},
    {"", nullptr, nullptr, nullptr, 16, 14, "section1\0secti\0", 16, 0, "not enough room for the last name"},
    {"", nullptr, nullptr, nullptr, 20, 18, "section1\0section2\0", 19, 0, "sections, room to spare"},
    // Defaults.
    {"", "section1", "notakey", "default  ", kAll, 7, "default", 8, kNone, "trailing blanks of the default go"},
    {"", "section1", "notakey", "  default", kAll, 9, "  default", 10, 0, "leading blanks stay"},
    {"", "section1", "notakey", nullptr, kAll, 0, "", 1, 0, "a null default is empty"},
    {"", "section1", "notakey", "default", 4, 3, "def", 4, 0, "a default is cut like a value"},
    {"", "section1", "", "default", kAll, 7, nullptr, 0, 0, "an empty key"},
    {"", "", "name1", "default", kAll, 7, nullptr, 0, 0, "an empty section"},
    {"", "section1", "notakey", "\"default\"", kAll, 9, "\"default\"", 10, 0, "a default keeps its quotes"},
    // A missing file.
    {"none.ini", "section1", "name1", "default", kAll, 7, "default", 8, kNone, "missing file"},
    {"none.ini", nullptr, nullptr, "sentinel", kAll, 8, "sentinel", 9, 0, "a null section on a missing file"},
    {"none.ini", "section1", nullptr, "default", kAll, 7, nullptr, 0, 0, "keys of a missing file"},
    {"nodir\\x.ini", "section1", "name1", "default", kAll, 7, nullptr, 0, 0, "a missing directory"},
};

TEST_F(Profile, QueriesAtTheBoundaries) {
    for (const Query& q : kQueries) {
        std::string file = *q.file ? dir_.engine(q.file) : file_;
        EXPECT_EQ(q.result, get(q.section, q.key, q.fallback, q.size, file.c_str())) << q.why;
        if (q.bytes) {
            EXPECT_TRUE(holds(q.bytes, q.length)) << q.why;
        }
        if (q.error) {
            EXPECT_EQ(q.error, GetLastError()) << q.why;
        }
    }
}

// A file with the quirks a hand-edited INI file brings.
TEST_F(Profile, BlanksQuotesCommentsAndDuplicates) {
    writeFile(dir_.host("odd.ini"),
              "\xEF\xBB\xBF"
              "orphan=before any section\n"
              "  [ Blanks ]  \n"
              "  key  =  value with  inner blanks  \t\n"
              "single='quoted'\n"
              "mixed=\"not stripped'\n"
              "twice=\"\"x\"\"\n"
              "lone=\"\n"
              "empty=\n"
              "semi=a;b ; c\n"
              "; a comment=not a key\n"
              "eq=a=b\n"
              "dup=first\n"
              "DUP=second\n"
              "[broken\n"
              "broken=belongs to Blanks still\n"
              "[blanks]\n"
              "later=in the second section of that name\n");
    std::string f = dir_.engine("odd.ini");
    struct Case {
        const char* key;
        const char* value;
    } cases[] = {
        {"key", "value with  inner blanks"},
        {"single", "quoted"},
        {"mixed", "\"not stripped'"},
        {"twice", "\"x\""},
        {"lone", "\""},
        {"empty", ""},
        {"semi", "a;b ; c"},
        {"eq", "a=b"},
        {"dup", "first"},
        {"broken", "belongs to Blanks still"},
        {"; a comment", "(default)"},
        {"later", "(default)"},
    };
    for (const Case& c : cases) {
        DWORD n = get("blanks", c.key, "(default)", sizeof buffer_, f.c_str());
        EXPECT_EQ(std::string(c.value), std::string(buffer_, n)) << "key " << c.key;
    }
    EXPECT_EQ(9u, get("", "orphan", "(default)", sizeof buffer_, f.c_str())) << "keys before any section are unreachable";
    DWORD n = get(nullptr, nullptr, nullptr, sizeof buffer_, f.c_str());
    EXPECT_EQ(std::string("Blanks\0", 7), std::string(buffer_, n)) << "a section name is listed once";
    n = get("BLANKS", nullptr, nullptr, sizeof buffer_, f.c_str());
    EXPECT_EQ(std::string("key\0single\0mixed\0twice\0lone\0empty\0semi\0eq\0dup\0broken\0", 53),
              std::string(buffer_, n));
    EXPECT_EQ('\0', buffer_[n]);
}

TEST_F(Profile, LineEndsLongValuesAndChangesAsTheyCome) {
    writeFile(dir_.host("ends.ini"), "[a]\rx=1\r[b]\ny=2\r\n[c]\r\n\r\nz=3");
    std::string f = dir_.engine("ends.ini");
    for (auto [section, key, value] : {std::tuple<const char*, const char*, const char*>{"a", "x", "1"},
                                       {"b", "y", "2"},
                                       {"c", "z", "3"}}) {
        DWORD n = get(section, key, "?", sizeof buffer_, f.c_str());
        EXPECT_EQ(std::string(value), std::string(buffer_, n)) << section << "." << key;
    }

    // A value longer than the engine's buffer is cut to it.
    std::string longValue(3000, 'p');
    writeFile(dir_.host("long.ini"), "[TARNEL]\r\nLIBPATH=" + longValue + "\r\n");
    std::vector<char> buffer(1024, 'z');
    DWORD n = GetPrivateProfileStringA("TARNEL", "LIBPATH", "*", buffer.data(), 1024, dir_.engine("long.ini").c_str());
    EXPECT_EQ(1023u, n);
    EXPECT_EQ(longValue.substr(0, 1023), std::string(buffer.data()));

    // The file is read at every call, as it is now.
    writeFile(dir_.host("ends.ini"), "[a]\nx=changed\n");
    n = get("a", "x", "", sizeof buffer_, f.c_str());
    EXPECT_EQ("changed", std::string(buffer_, n));
}

TEST(ProfileLocation, BareNamesAndTheirDirectories) {
    TempDir dir;
    writeFile(dir.host("windir/TARNEL91.INI"), "[TARNEL]\nLIBPATH=from windir\n");
    writeFile(dir.host("xdg/kelvault/tarnel91.ini"), "[TARNEL]\nLIBPATH=from xdg\n");
    writeFile(dir.host("home/.config/kelvault/tarnel91.ini"), "[TARNEL]\nLIBPATH=from home\n");
    writeFile(dir.host("cwd/tarnel91.ini"), "[TARNEL]\nLIBPATH=from cwd\n");
    CwdGuard guard;
    ASSERT_EQ(0, chdir(dir.host("cwd").c_str()));
    EnvGuard home("HOME", dir.host("home").c_str());
    auto libpath = [](const char* file) {
        char buffer[64];
        DWORD n = GetPrivateProfileStringA("TARNEL", "LIBPATH", "*", buffer, sizeof buffer, file);
        return std::string(buffer, n);
    };
    {
        EnvGuard windir("KVENG_WINDIR", dir.host("windir").c_str());
        EnvGuard xdg("XDG_CONFIG_HOME", dir.host("xdg").c_str());
        EXPECT_EQ("from windir", libpath("tarnel91.ini")) << "the name without regard to case";
        EXPECT_EQ("from cwd", libpath(".\\tarnel91.ini")) << "a name with a directory is a path";
    }
    {
        EnvGuard windir("KVENG_WINDIR", nullptr);
        EnvGuard xdg("XDG_CONFIG_HOME", dir.host("xdg").c_str());
        EXPECT_EQ("from xdg", libpath("tarnel91.ini"));
    }
    {
        EnvGuard windir("KVENG_WINDIR", nullptr);
        EnvGuard xdg("XDG_CONFIG_HOME", nullptr);
        EXPECT_EQ("from home", libpath("tarnel91.ini"));
        EXPECT_EQ("*", libpath("other.ini"));
    }
}
