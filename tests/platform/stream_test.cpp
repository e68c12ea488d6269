// Streams: kvFopen's text reading of CR LF files, binary offsets, write
// modes and the spelling of new files, and the failures of opening.
#include "platform_test.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <sys/mman.h>
#include <sys/wait.h>

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

// The file name in dir, written with text, opened to read in binary.
static FILE* openWritten(TempDir& dir, const char* name, const std::string& text) {
    writeFile(dir.host(name), text);
    return kvFopen(dir.engine(name).c_str(), "rb");
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
    FILE* f = openWritten(dir, "lib.slb", "0123456789\r\nabc");
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

// A file of the size of a library: a line of its offset per 32 bytes.
static std::string largeText(size_t size) {
    std::string text;
    char line[40];
    while (text.size() < size) {
        snprintf(line, sizeof line, "%030zu\n", text.size());
        text += line;
    }
    text.resize(size);
    return text;
}

// From the second read at a place, a large file is read through a view of
// it: the same bytes as the file holds, reads that count and fail as host
// reads, and the host's answer wherever the view cannot give it.
TEST(ReadModes, ReadsAtPlacesOfALargeFileGoThroughOneView) {
    TempDir dir;
    const std::string text = largeText(300000);
    FILE* f = openWritten(dir, "big.slb", text);
    ASSERT_NE(nullptr, f);
    kvFaultsClear();
    char bytes[512];
    const size_t places[] = {0, 31, 4095, 4096, 65537, 123457, 299000, text.size() - 512};
    for (size_t place : places) {
        ASSERT_EQ(512u, kvReadAt(f, static_cast<int64_t>(place), bytes, 512)) << place;
        EXPECT_EQ(text.substr(place, 512), std::string(bytes, 512)) << place;
    }
    EXPECT_EQ(1u, kvHostCallCount(HostCall::Map)) << "one view for all reads";
    EXPECT_EQ(8u, kvHostCallCount(HostCall::Read)) << "each read at a place counts as a read";
    EXPECT_EQ(100u, kvReadAt(f, static_cast<int64_t>(text.size() - 100), bytes, 512)) << "fewer at the end";
    EXPECT_EQ(0u, kvReadAt(f, static_cast<int64_t>(text.size() + 5), bytes, 8));
    EXPECT_EQ(0u, kvReadAt(f, -1, bytes, 8)) << "no place before the start";

    kvFaultAt(HostCall::Read, 1, EIO);
    EXPECT_EQ(0u, kvReadAt(f, 1000, bytes, 8)) << "a fault fails a read from the view";
    EXPECT_TRUE(ferror(f));
    kvFaultsClear();
    clearerr(f);

    // Grown since it was viewed: the bytes past the view come from the host.
    FILE* host = fopen(dir.host("big.slb").c_str(), "ab");
    ASSERT_NE(nullptr, host);
    fputs("tail", host);
    fclose(host);
    ASSERT_EQ(4u, kvReadAt(f, static_cast<int64_t>(text.size()), bytes, 8));
    EXPECT_EQ("tail", std::string(bytes, 4));
    fclose(f);

    // A small file, or a view the host refuses: every read goes to the host.
    writeFile(dir.host("small.slb"), text.substr(0, 1000));
    for (const char* name : {"small.slb", "big.slb"}) {
        if (std::string(name) == "big.slb") kvFaultAt(HostCall::Map, 1, ENOMEM);
        f = kvFopen(dir.engine(name).c_str(), "rb");
        ASSERT_NE(nullptr, f);
        for (size_t place : {10, 500, 900}) {
            ASSERT_EQ(64u, kvReadAt(f, static_cast<int64_t>(place), bytes, 64)) << name;
            EXPECT_EQ(text.substr(place, 64), std::string(bytes, 64)) << name;
        }
        fclose(f);
        kvFaultsClear();
    }
}

// Another program may cut a library short while a scan has it in view:
// the reads give what the file now holds, and the process lives on.
TEST(ReadModes, AFileCutShortUnderItsViewReadsAsTheHostSays) {
    TempDir dir;
    const std::string text = largeText(200000);
    FILE* f = openWritten(dir, "cut.slb", text);
    ASSERT_NE(nullptr, f);
    char bytes[256];
    ASSERT_EQ(16u, kvReadAt(f, 0, bytes, 16));
    ASSERT_EQ(16u, kvReadAt(f, 100000, bytes, 16)) << "the view is made here";
    ASSERT_EQ(0, truncate(dir.host("cut.slb").c_str(), 50000));
    EXPECT_EQ(0u, kvReadAt(f, 150000, bytes, 256)) << "past the new end: nothing";
    EXPECT_EQ(100u, kvReadAt(f, 49900, bytes, 256)) << "across it: what is left";
    EXPECT_EQ(text.substr(49900, 100), std::string(bytes, 100));
    ASSERT_EQ(64u, kvReadAt(f, 1000, bytes, 64));
    EXPECT_EQ(text.substr(1000, 64), std::string(bytes, 64));
    EXPECT_FALSE(ferror(f));
    fclose(f);
}

// The guard catches faults of a view's copy only: a program's own read
// past the end of a file it mapped still ends it by a signal, as it would
// without us (SIGBUS; under a sanitizer, whose handler came first, its
// abort).
TEST(ReadModesDeathTest, AFaultOutsideAViewsCopyStillEndsTheProcess) {
    TempDir dir;
    FILE* f = openWritten(dir, "own.bin", largeText(100000));
    ASSERT_NE(nullptr, f);
    char bytes[8];
    kvReadAt(f, 0, bytes, 8);
    kvReadAt(f, 8, bytes, 8); // the guard is installed with this view
    fclose(f);
    const std::string path = dir.host("own.bin");
    EXPECT_EXIT(
        {
            const int fd = open(path.c_str(), O_RDONLY);
            const char* data = static_cast<const char*>(mmap(nullptr, 100000, PROT_READ, MAP_SHARED, fd, 0));
            if (data == MAP_FAILED || truncate(path.c_str(), 10) != 0) _exit(3);
            volatile char c = data[50000];
            (void)c;
            _exit(0);
        },
        [](int status) { return WIFSIGNALED(status); }, "");
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
