// Streams: kvFopen's text reading of CR LF files, binary offsets, write
// modes and the spelling of new files, and the failures of opening.
#include "platform_test.h"

#include <algorithm>
#include <cstring>

// Everything a stream yields, read in chunks of `chunk` bytes.
static std::string readAll(FILE* f, size_t chunk) {
    std::string out;
    std::vector<char> buffer(chunk);
    size_t n;
    while ((n = fread(buffer.data(), 1, chunk, f)) > 0) out.append(buffer.data(), n);
    return out;
}

// Windows text mode: CR LF becomes LF, any other CR stays.
static std::string textOf(const std::string& raw) {
    std::string out;
    for (size_t i = 0; i < raw.size(); ++i)
        if (!(raw[i] == '\r' && i + 1 < raw.size() && raw[i + 1] == '\n')) out += raw[i];
    return out;
}

static std::string readThrough(const std::string& engine, const char* mode, size_t chunk = 4096) {
    FILE* f = kvFopen(engine.c_str(), mode);
    if (!f) return "<no stream>";
    std::string out = readAll(f, chunk);
    fclose(f);
    return out;
}

TEST(TextMode, CrLfReadsAsLfAndLoneCarriageReturnsStay) {
    TempDir dir;
    writeFile(dir.host("win.cir"), "* title\r\n.include \"a.lib\"\r\n\r\n.end\r\n");
    FILE* f = kvFopen(dir.engine("WIN.CIR").c_str(), "r");
    ASSERT_NE(nullptr, f);
    char line[1024];
    std::vector<std::string> lines;
    while (fgets(line, sizeof line, f)) lines.push_back(line);
    fclose(f);
    EXPECT_EQ((std::vector<std::string>{"* title\n", ".include \"a.lib\"\n", "\n", ".end\n"}), lines);
    const struct { const char *mode, *raw, *text; } rows[] = {
        {"rt", "* title\r\n.include \"a.lib\"\r\n\r\n.end\r\n", "* title\n.include \"a.lib\"\n\n.end\n"},
        // A CR before CR LF, after LF, and at the end of the file stays.
        {"r", "one\rtwo\r\r\nthree\n\rfour\r", "one\rtwo\r\nthree\n\rfour\r"},
        {"r", "\r", "\r"},
        {"r", "", ""},
    };
    for (const auto& r : rows) {
        writeFile(dir.host("t.txt"), r.raw);
        EXPECT_EQ(r.text, readThrough(dir.engine("t.txt"), r.mode)) << r.raw;
    }
}

// Random text of `count` pieces: CR LF, a lone CR, a lone LF or a letter.
static std::string crLfMix(int count, unsigned seed) {
    std::string raw;
    for (int i = 0; i < count; ++i) {
        seed = seed * 1103515245u + 12345u;
        unsigned r = (seed >> 16) % 6;
        raw += r == 0 ? "\r\n" : r == 1 ? "\r" : r == 2 ? "\n" : std::string(1, static_cast<char>('a' + r));
    }
    return raw + "\r\n\r";
}

TEST(TextMode, CrLfAcrossEveryBufferBoundary) {
    TempDir dir;
    // CR LF pairs straddling the layer's 64 KiB read-ahead and glibc's
    // buffer, at several offsets, plus a random mix of CR and LF.
    std::string raw;
    for (size_t target : {4095u, 8191u, 65535u, 65538u, 131071u}) {
        raw.append(target - raw.size(), 'x');
        raw += "\r\n";
    }
    raw += crLfMix(200000, 7);
    writeFile(dir.host("big.txt"), raw);
    std::string expected = textOf(raw);
    for (size_t chunk : {1u, 7u, 4096u, 70000u})
        EXPECT_EQ(expected, readThrough(dir.engine("big.txt"), "r", chunk)) << "read in chunks of " << chunk;
    EXPECT_EQ(raw, readThrough(dir.engine("big.txt"), "rb")) << "binary keeps every byte";
}

// Host reads that return a few bytes at a time, so that a CR LF pair is
// split between two reads at every place; and a read that fails half way.
static size_t shortReadSize = 1;
static ssize_t shortRead(int fd, void* buffer, size_t size) {
    return kvHostDefaults.read(fd, buffer, std::min(size, shortReadSize));
}

TEST(TextMode, ShortReadsOfTheHostSplitCrLfAnywhere) {
    TempDir dir;
    std::string raw = crLfMix(20000, 11);
    writeFile(dir.host("short.txt"), raw);
    const std::string expected = textOf(raw);
    for (size_t piece : {1u, 2u, 3u, 5u, 4099u}) {
        kvFaultsClear();
        shortReadSize = piece;
        kvHost.read = shortRead;
        for (size_t chunk : {1u, 4096u, 70000u})
            EXPECT_EQ(expected, readThrough(dir.engine("short.txt"), "r", chunk))
                << "host reads of " << piece << ", chunks of " << chunk;
    }
    kvFaultsClear();

    // A read that fails after some text was delivered: what came is right,
    // and the stream reports the error.
    FILE* f = kvFopen(dir.engine("short.txt").c_str(), "r");
    ASSERT_NE(nullptr, f);
    shortReadSize = 1000;
    kvHost.read = shortRead;
    kvFaultAt(HostCall::Read, 3, EIO, 0);
    std::string got = readAll(f, 100000);
    EXPECT_TRUE(ferror(f));
    EXPECT_EQ(expected.substr(0, got.size()), got);
    EXPECT_LT(got.size(), expected.size());
    fclose(f);
    kvFaultsClear();
}

TEST(ReadModes, PositionsCountCharactersInTextAndBytesInBinary) {
    TempDir dir;
    writeFile(dir.host("t.txt"), "ab\r\ncd\r\nef");
    const struct {
        const char *mode, *first, *second;
        long afterFirst, end;
        const char* atFive;  // what follows byte offset 5 (binary only)
    } rows[] = {
        {"r", "ab\n", "cd\n", 3, 8, nullptr},
        {"rb", "ab\r\n", "cd\r\n", 4, 10, "d\r\n"},  // the CR stays in binary mode
    };
    for (const auto& r : rows) {
        FILE* f = kvFopen(dir.engine("T.TXT").c_str(), r.mode);
        ASSERT_NE(nullptr, f) << r.mode;
        char line[64];
        ASSERT_NE(nullptr, fgets(line, sizeof line, f));
        EXPECT_STREQ(r.first, line) << r.mode;
        long mark = ftell(f);
        EXPECT_EQ(r.afterFirst, mark) << r.mode;
        ASSERT_NE(nullptr, fgets(line, sizeof line, f));
        EXPECT_STREQ(r.second, line) << r.mode;
        ASSERT_EQ(0, fseek(f, mark, SEEK_SET));
        ASSERT_NE(nullptr, fgets(line, sizeof line, f));
        EXPECT_STREQ(r.second, line) << r.mode << ": back to a position that ftell gave";
        ASSERT_EQ(0, fseek(f, 0, SEEK_END));
        EXPECT_EQ(r.end, ftell(f)) << r.mode << ": the length as read";
        rewind(f);
        ASSERT_NE(nullptr, fgets(line, sizeof line, f));
        EXPECT_STREQ(r.first, line) << r.mode;
        if (r.atFive) {
            ASSERT_EQ(0, fseek(f, 5, SEEK_SET));
            ASSERT_NE(nullptr, fgets(line, sizeof line, f));
            EXPECT_STREQ(r.atFive, line) << r.mode;
        }
        fclose(f);
    }
}

// Reads at a place leave the stream where it was; past the end they give
// what is there; a failing host read sets the stream's error flag.
TEST(ReadModes, ReadAtAPlaceOfABinaryStream) {
    TempDir dir;
    writeFile(dir.host("lib.slb"), "0123456789\r\nabc");
    FILE* f = kvFopen(dir.engine("lib.slb").c_str(), "rb");
    ASSERT_NE(nullptr, f);
    char line[64];
    ASSERT_NE(nullptr, fgets(line, 4, f));
    char bytes[16] = "";
    EXPECT_EQ(4u, kvReadAt(f, 8, bytes, 4));
    EXPECT_EQ(std::string("89\r\n"), std::string(bytes, 4));
    EXPECT_EQ(2u, kvReadAt(f, 13, bytes, 8)) << "fewer at the end of the file";
    EXPECT_EQ(0u, kvReadAt(f, 99, bytes, 8));
    EXPECT_FALSE(ferror(f));
    ASSERT_NE(nullptr, fgets(line, sizeof line, f));
    EXPECT_STREQ("3456789\r\n", line) << "the stream read on from where it stood";

    kvFaultAt(HostCall::Read, 1, EIO);
    EXPECT_EQ(0u, kvReadAt(f, 0, bytes, 4));
    EXPECT_TRUE(ferror(f));
    kvFaultsClear();
    fclose(f);

    // A text stream is sought and read as characters.
    f = kvFopen(dir.engine("lib.slb").c_str(), "r");
    ASSERT_NE(nullptr, f);
    EXPECT_EQ(3u, kvReadAt(f, 10, bytes, 3));
    EXPECT_EQ(std::string("\nab"), std::string(bytes, 3));
    fclose(f);
}

TEST(WriteModes, ReadWriteRewindAndPatch) {
    TempDir dir;
    std::string path = dir.engine("archive.ma");
    FILE* f = kvFopen(path.c_str(), "wb+");
    ASSERT_NE(nullptr, f);
    ASSERT_EQ(4u, fwrite("HEAD", 1, 4, f));
    ASSERT_EQ(6u, fwrite("\nbody\n", 1, 6, f));
    EXPECT_EQ(10, ftell(f)) << "the position of a written binary stream";
    rewind(f);
    ASSERT_EQ(4u, fwrite("head", 1, 4, f)) << "the head written again";
    rewind(f);
    EXPECT_EQ("head\nbody\n", readAll(f, 3));
    ASSERT_EQ(0, fclose(f));
    EXPECT_EQ("head\nbody\n", readFile(dir.host("archive.ma")));

    f = kvFopen(path.c_str(), "a");
    ASSERT_NE(nullptr, f);
    fputs("more\n", f);
    ASSERT_EQ(0, fclose(f));
    f = kvFopen(dir.engine("ARCHIVE.MA").c_str(), "wt");
    ASSERT_NE(nullptr, f);
    fputs("text\nlines\n", f);
    ASSERT_EQ(0, fclose(f));
    EXPECT_EQ("text\nlines\n", readFile(dir.host("archive.ma"))) << "text mode writes LF as it is, into the same file";
    EXPECT_EQ((std::vector<std::string>{"archive.ma"}), hostEntries(dir.host()));

    f = kvFopen(path.c_str(), "r+");
    ASSERT_NE(nullptr, f);
    ASSERT_EQ(0, fseek(f, 5, SEEK_SET));
    fputs("LINES", f);
    ASSERT_EQ(0, fclose(f));
    EXPECT_EQ("text\nLINES\n", readFile(dir.host("archive.ma")));
}

TEST(OpenFailures, ErrnoAndLastError) {
    TempDir dir;
    writeFile(dir.host("sub/f.txt"), "x");
    SetLastError(0);
    EXPECT_EQ(nullptr, kvFopen(dir.engine("sub\\none.txt").c_str(), "r"));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
    EXPECT_EQ(nullptr, kvFopen(dir.engine("nodir\\f.txt").c_str(), "w"));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(static_cast<DWORD>(ERROR_PATH_NOT_FOUND), GetLastError());
    EXPECT_EQ(nullptr, kvFopen(dir.engine("sub").c_str(), "r"));
    EXPECT_EQ(EACCES, errno) << "a directory";
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
    EXPECT_EQ(nullptr, kvFopen(dir.engine("sub\\f.txt").c_str(), "q"));
    EXPECT_EQ(EINVAL, errno) << "no such mode";
    EXPECT_EQ(nullptr, kvFopen(dir.engine("sub\\F.TXT").c_str(), "wx"));
    EXPECT_EQ(EEXIST, errno);
    EXPECT_EQ("x", readFile(dir.host("sub/f.txt")));
}
