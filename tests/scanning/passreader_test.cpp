// The pass reader and what one scan keeps of the disk.
//
//   1. The pass reader hands out the same lines as fgets through
//      readScanLine, and the filtered reader the same lines minus those
//      it passes over: at the edges of its 64 KB blocks, with CR LF and
//      lone CRs there, long lines, NUL bytes and no final line feed.
//      kvFreadBlock, which fills its blocks, gives what fread gives.
//   2. The scan span: the current directory, library searches and missing
//      model indexes are kept only while one scan (or one closure) runs.
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"
#include "platform/platform.h"
#include "scanning/lineengine.h"
#include "scanning/scantest.h"

// --- 1. The pass reader ------------------------------------------------------

namespace {

const size_t block = 1 << 16;

// Every line of path as readScanLine gives it (the fgets reference).
std::vector<std::string> referenceLines(const std::string& path, const char* mode) {
    std::vector<std::string> lines;
    FILE* in = kvFopen(path.c_str(), mode);
    if (!in) return lines;
    char line[scanLineSize];
    while (readScanLine(in, line)) lines.push_back(line);
    fclose(in);
    return lines;
}

// Every line of path as the pass reader gives it; with firsts, only the
// lines it does not pass over, and skipped counts some of the others.
std::vector<std::string> passLines(const std::string& path, const char* mode, const char* firsts, int& skipped) {
    std::vector<std::string> lines;
    skipped = 0;
    FILE* in = kvFopen(path.c_str(), mode);
    if (!in) return lines;
    char line[scanLineSize];
    resetPassReader(in);
    while (firsts ? readPassLineStartingWith(in, line, firsts, skipped) : readPassLine(in, line)) lines.push_back(line);
    resetPassReader(nullptr);
    fclose(in);
    return lines;
}

// Element lines of exactly size bytes.
std::string filler(size_t size) {
    std::string text;
    for (int n = 0; text.size() < size; ++n) text += "R" + std::to_string(n) + " n1 n2 1k\n";
    text.resize(size);
    if (size) text.back() = '\n';
    return text;
}

// Checks that the pass reader agrees with the reference on content, in
// both modes, with and without the first-character filter.
void expectSameLines(const TempDir& dir, const std::string& content, const std::string& label) {
    const std::string path = dir.engine("case.cir");
    writeFile(dir.host("case.cir"), content);
    for (const char* mode : {"rt", "rb"}) {
        const std::vector<std::string> reference = referenceLines(path, mode);
        int skipped = 0;
        EXPECT_EQ(passLines(path, mode, nullptr, skipped), reference) << label << " " << mode;
        for (const char* firsts : {".", "*.", "a"}) {
            std::vector<std::string> wanted;
            for (const std::string& line : reference)
                if (!line.empty() && strchr(firsts, line[0])) wanted.push_back(line);
            EXPECT_EQ(passLines(path, mode, firsts, skipped), wanted) << label << " " << mode << " " << firsts;
            // Only the lines passed one by one are counted; a run passed
            // over by searching for the first character is not.
            EXPECT_LE(static_cast<size_t>(skipped), reference.size() - wanted.size())
                << label << " " << mode << " " << firsts;
        }
    }
}

} // namespace

TEST(PassReader, AgreesWithTheReferenceAtBlockEdges) {
    TempDir dir;
    // Tails placed so that their first byte falls a little before, on and
    // behind the edge of the first and second blocks.
    const std::vector<std::pair<std::string, std::string>> tails = {
        {"crlf", "\r\n.INC a.inc\r\n"},
        {"lone cr", "\rx.LIB b.lib\n"},
        {"cr at end of file", ".END\r"},
        {"cr cr lf", ".A\r\r\n.B\n"},
        {"no final line feed", ".END"},
        {"nul in a line", std::string(".IN\0C a\n.INC b\0\n", 16)},
        {"dot lines", ".\n.\n..\n\n.x"},
    };
    for (size_t edge : {block, 2 * block}) {
        for (const auto& tail : tails) {
            for (int shift = -3; shift <= 3; ++shift) {
                const std::string& tailText = tail.second;
                std::string content = filler(edge - 8) + std::string(8 + shift, 'x');
                content.insert(content.size() - 1, tailText); // the tail straddles the edge
                content += tailText;
                expectSameLines(dir, content, tail.first + " at " + std::to_string(edge) + " " + std::to_string(shift));
            }
        }
    }
}

TEST(PassReader, AgreesWithTheReferenceOnLongLines) {
    TempDir dir;
    const struct {
        const char* label;
        std::string content;
    } rows[] = {
        {"exactly one piece", std::string(1022, 'a') + "\n.INC x\n"},
        {"one over", std::string(1023, 'a') + "\n.INC x\n"},
        {"piece boundary on a dot", std::string(1023, 'a') + ".INC cut\n.INC y\n"},
        {"dots all along", std::string(5000, '.') + "\n"},
        {"longer than a block", std::string(block + 100, 'a') + ".INC z\n.INC w"},
        {"long line across the edge", filler(block - 500) + std::string(3000, 'b') + ".x\r\n.y\n"},
        {"long crlf line", std::string(2046, '.') + "\r\n" + std::string(1022, '.') + "\r\n"},
        {"empty", ""},
        {"only line feeds", std::string(3000, '\n')},
    };
    for (const auto& row : rows) expectSameLines(dir, row.content, row.label);
}

TEST(PassReader, AgreesWithTheReferenceOnRandomText) {
    TempDir dir;
    std::mt19937 rng(20261123);
    const char alphabet[] = {'a', 'b', '.', '*', '\r', '\n', '\0', ' '};
    for (int round = 0; round < 6; ++round) {
        std::string content(3 * block + rng() % 5000, 'a');
        // Runs of one kind of byte make long lines and CR LF pairs likely.
        for (size_t i = 0; i < content.size();) {
            const size_t run = 1 + rng() % (round % 2 ? 40 : 1500);
            const char c = alphabet[rng() % sizeof alphabet];
            for (size_t k = 0; k < run && i < content.size(); ++k, ++i)
                content[i] = c == '\r' && k % 2 ? '\n' : c;
        }
        expectSameLines(dir, content, "round " + std::to_string(round));
    }
}

// Everything kvFreadBlock gives from stream until its end.
static std::string readBlocks(FILE* stream, size_t size) {
    std::string text;
    std::vector<char> buffer(size);
    for (size_t got; (got = kvFreadBlock(stream, buffer.data(), buffer.size())) > 0;) text.append(buffer.data(), got);
    return text;
}

TEST(FreadBlock, GivesWhatFreadGivesAroundOtherReads) {
    TempDir dir;
    std::string content;
    for (int n = 0; n < 20000; ++n) content += n % 7 ? "R1 n1 n2 1k\r\n" : "lone\rcr\n";
    writeFile(dir.host("a.cir"), content);
    const std::string path = dir.engine("a.cir");
    for (const char* mode : {"rt", "rb", "r+t"}) {
        // The reference: fgets of one line, then fread to the end.
        FILE* plain = kvFopen(path.c_str(), mode);
        ASSERT_NE(plain, nullptr);
        char line[100];
        ASSERT_NE(fgets(line, sizeof line, plain), nullptr);
        std::string expected = line;
        std::vector<char> buffer(1 << 17);
        for (size_t got; (got = fread(buffer.data(), 1, buffer.size(), plain)) > 0;) expected.append(buffer.data(), got);
        fclose(plain);

        // The same with blocks: the first comes from the stream's buffer,
        // the others straight from the file.
        FILE* in = kvFopen(path.c_str(), mode);
        ASSERT_NE(in, nullptr);
        ASSERT_NE(fgets(line, sizeof line, in), nullptr);
        std::string text = line + readBlocks(in, 70000);
        EXPECT_EQ(text, expected) << mode;
        EXPECT_TRUE(feof(in)) << mode;
        EXPECT_FALSE(ferror(in)) << mode;
        EXPECT_EQ(ftell(in), static_cast<long>(expected.size())) << mode;
        fclose(in);
    }
}

TEST(FreadBlock, KeepsPositionsAndGivenBackBytes) {
    TempDir dir;
    writeFile(dir.host("a.cir"), std::string(100000, 'a') + "\r\nEND\r\n");
    FILE* in = kvFopen(dir.engine("a.cir").c_str(), "rt");
    ASSERT_NE(in, nullptr);
    std::vector<char> buffer(1 << 16);
    ASSERT_EQ(kvFreadBlock(in, buffer.data(), buffer.size()), buffer.size());
    EXPECT_EQ(ftell(in), 1L << 16) << "the stream counts what was read past its buffer";
    ASSERT_EQ(ungetc('X', in), 'X');
    EXPECT_EQ(readBlocks(in, 1000), "X" + std::string(100000 - (1 << 16), 'a') + "\nEND\n");
    ASSERT_EQ(fseek(in, 99998, SEEK_SET), 0);
    char line[16];
    ASSERT_NE(fgets(line, sizeof line, in), nullptr);
    EXPECT_STREQ(line, "aa\n");
    fclose(in);

    // A stream that is not one of kvFopen's is read as fread reads it.
    char memory[] = "one\r\ntwo";
    FILE* other = fmemopen(memory, strlen(memory), "r");
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(readBlocks(other, 1 << 16), "one\r\ntwo");
    fclose(other);
}

// --- 2. The scan span --------------------------------------------------------

class ScanSpan : public scanFixture {};

static std::string currentDirectory() {
    char buffer[MAX_PATH] = "";
    GetCurrentDirectoryA(MAX_PATH, buffer);
    return buffer;
}

// The full paths of a list of items, with dir's engine path cut off.
static std::vector<std::string> relativePaths(const TempDir& dir, const std::list<fileItem*>& items) {
    std::vector<std::string> paths;
    const std::string root = dir.engine("");
    for (fileItem* item : items) {
        std::string path = item->getFullPath();
        if (path.compare(0, root.size(), root) == 0) path = path.substr(root.size());
        paths.push_back(path);
    }
    return paths;
}

// The file and then the system dependencies of item, as relativePaths.
static std::vector<std::string> allDependencies(const TempDir& dir, DesignFileItem* item) {
    std::vector<std::string> paths = relativePaths(dir, item->getFileDependencies(nullptr));
    for (const std::string& path : relativePaths(dir, item->getSystemDependencies(nullptr))) paths.push_back(path);
    return paths;
}

TEST_F(ScanSpan, TheCurrentDirectoryComesBackAfterScansAndClosures) {
    open({{"top.cir", ".INC sub\\a.cir\n.INC b.cir\n"},
          {"sub/a.cir", ".INC c.cir\n"},
          {"sub/c.cir", "* c\n"},
          {"b.cir", "* b\n"}});
    const std::string before = currentDirectory();
    std::unique_ptr<fileItemList> closure(item("top.cir")->getDependencyClosure(nullptr, 0));
    EXPECT_EQ(relativePaths(dir, *closure), (std::vector<std::string>{"b.cir", "sub\\a.cir", "sub\\c.cir"}));
    EXPECT_EQ(currentDirectory(), before);
    EXPECT_FALSE(scanSpanOpen());

    // A lone scan, and a scan in the directory that is already current.
    touchAndRefresh("sub/a.cir", 1000);
    EXPECT_EQ(names(item("sub/a.cir")->getFileDependencies(nullptr)), std::vector<std::string>{"c.cir"});
    EXPECT_EQ(currentDirectory(), before);
    ASSERT_TRUE(SetCurrentDirectoryA(dir.engine("sub").c_str()));
    const std::string inSub = currentDirectory();
    touchAndRefresh("sub/a.cir", 2000);
    EXPECT_EQ(names(item("sub/a.cir")->getFileDependencies(nullptr)), std::vector<std::string>{"c.cir"});
    EXPECT_EQ(currentDirectory(), inSub);
    SetCurrentDirectoryA(before.c_str());
}

TEST_F(ScanSpan, ALibrarySearchIsKeptForOneScanOnly) {
    LibraryPathScope libraries(dir);
    open({{"top.cir", ".INC a.cir\n.INC b.cir\n.LIB m.lib\n"},
          {"a.cir", ".LIB m.lib\n"},
          {"b.cir", ".LIB m.lib\n.LIB gone.lib\n"},
          {"syslib/m.lib", "* models\n"}});
    std::unique_ptr<fileItemList> closure(item("top.cir")->getDependencyClosure(nullptr, 0));
    EXPECT_EQ(allDependencies(dir, item("a.cir")), std::vector<std::string>{"syslib\\m.lib"});
    EXPECT_EQ(allDependencies(dir, item("b.cir")), (std::vector<std::string>{"gone.lib", "syslib\\m.lib"}))
        << "a library found nowhere is named beside the circuit";

    // A library beside the circuits now comes first in the search; the
    // next closure must see it, and the one that was missing.
    writeFile(dir.host("m.lib"), "* nearer\n");
    writeFile(dir.host("syslib/gone.lib"), "* back\n");
    for (const char* name : {"top.cir", "a.cir", "b.cir"}) touchAndRefresh(name, 3000);
    closure.reset(item("top.cir")->getDependencyClosure(nullptr, 0));
    EXPECT_EQ(allDependencies(dir, item("a.cir")), std::vector<std::string>{"m.lib"});
    EXPECT_EQ(allDependencies(dir, item("b.cir")), (std::vector<std::string>{"m.lib", "syslib\\gone.lib"}));
}

TEST_F(ScanSpan, AModelIndexMissingInOneScanIsSeenInTheNext) {
    // Enough circuits in one directory for the closure to list it.
    open({{"top.cir", ".INC a.cir\n.INC b.cir\n.INC c.cir\n"},
          {"a.cir", "* a\n"},
          {"b.cir", "* b\n"},
          {"c.cir", "* c\n"},
          {"C.MIF", "lib=m.lib,offset=10,size=5\n"}, // found without regard to case
          {"m.lib", "* models\n"},
          {"n.lib", "* models\n"}});
    std::unique_ptr<fileItemList> closure(item("top.cir")->getDependencyClosure(nullptr, 0));
    EXPECT_TRUE(item("a.cir")->getUsedModels().empty());
    EXPECT_TRUE(item("b.cir")->getUsedModels().empty());
    ASSERT_EQ(item("c.cir")->getUsedModels().size(), 1u);
    EXPECT_EQ(item("c.cir")->getUsedModels().front()->entry->offset, 10);

    // Indexes written between two scans, one of them in a case of its own.
    writeFile(dir.host("a.mif"), "lib=n.lib,offset=20,size=5\n");
    writeFile(dir.host("B.Mif"), "lib=n.lib,offset=30,size=5\n");
    for (const char* name : {"top.cir", "a.cir", "b.cir", "c.cir"}) touchAndRefresh(name, 4000);
    closure.reset(item("top.cir")->getDependencyClosure(nullptr, 0));
    ASSERT_EQ(item("a.cir")->getUsedModels().size(), 1u);
    EXPECT_EQ(item("a.cir")->getUsedModels().front()->entry->offset, 20);
    ASSERT_EQ(item("b.cir")->getUsedModels().size(), 1u);
    EXPECT_EQ(item("b.cir")->getUsedModels().front()->entry->offset, 30);
    EXPECT_EQ(names(item("b.cir")->getFileDependencies(nullptr)), std::vector<std::string>{"n.lib"});
}
