// Helpers of the archive container tests: archives built byte by byte,
// archives taken apart, and trees compared on the host.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "archive/compressedarchive.h"
#include "archive/crc32.h"
#include "codectest.h"
#include "platform/hostcalls.h"
#include "platform/platform.h"
#include "support/tempdir.h"

namespace fs = std::filesystem;

inline uint32_t le32(const std::string& bytes, size_t at) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(bytes.data()) + at;
    return p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24;
}
inline void putLe32(std::string& bytes, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<char>(v >> (8 * i));
}
inline std::string le32Bytes(uint32_t v) {
    std::string s(4, '\0');
    putLe32(s, 0, v);
    return s;
}

inline uint32_t crcOf(const std::string& data) {
    unsigned long c = 0xFFFFFFFFul;
    unsigned int size = static_cast<unsigned int>(data.size());
    if (size) c = crc32(data.data(), &size, &c);
    return ~static_cast<uint32_t>(c);
}

// The implode stream of data as the archive stores it (binary, 4096).
inline std::string packed(const std::string& data) {
    Bytes stream = runImplode(bytesOf(data), 0, 4096).output;
    return std::string(stream.begin(), stream.end());
}

// One entry of a hand-built archive.
struct RawEntry {
    std::string name;              // without its NUL
    uint32_t attributes = 0x20;
    std::string content;           // a file's bytes
    uint32_t time[2] = {0x256D4000u, 0x01BF53EBu};  // 2000-01-01 00:00 UTC
    int nameLength = -1;           // -1: the name's length with the NUL
    int64_t packedSize = -1;       // -1: the size of the packed data
    int64_t crc = -1;              // -1: the content's CRC
    std::string data;              // packed data; filled from content if empty
};

// A file entry and a directory entry, every other field as written.
inline RawEntry fileEntry(const std::string& name, const std::string& content) {
    RawEntry e;
    e.name = name;
    e.content = content;
    return e;
}
inline RawEntry directoryEntry(const std::string& name) {
    RawEntry e;
    e.name = name;
    e.attributes = 0x10;
    return e;
}

inline std::string entryBytes(RawEntry e) {
    bool dir = (e.attributes & 0x10) != 0;
    if (!dir && e.data.empty() && !e.content.empty()) e.data = packed(e.content);
    std::string name = e.name + std::string(1, '\0');
    std::string h(32, '\0');
    putLe32(h, 0, 0xDEADBEEF);  // nameRef: readers ignore it
    uint32_t length = e.nameLength < 0 ? static_cast<uint32_t>(name.size()) : static_cast<uint32_t>(e.nameLength);
    h[4] = static_cast<char>(length);
    h[5] = static_cast<char>(length >> 8);
    putLe32(h, 8, e.time[0]);
    putLe32(h, 12, e.time[1]);
    putLe32(h, 16, e.attributes);
    putLe32(h, 20, e.packedSize < 0 ? static_cast<uint32_t>(e.data.size()) : static_cast<uint32_t>(e.packedSize));
    putLe32(h, 24, static_cast<uint32_t>(e.content.size()));
    putLe32(h, 28, e.crc < 0 ? (dir ? 0 : crcOf(e.content)) : static_cast<uint32_t>(e.crc));
    std::string bytes = h + name.substr(0, std::min<size_t>(name.size(), length)) + e.data;
    if (length > name.size()) bytes.insert(32 + name.size(), std::string(length - name.size(), 'x'));
    return bytes;
}

inline std::string headBytes(uint32_t count, const std::string& id = "Tarnel Compressed Archive") {
    std::string head(44, '\0');
    memcpy(&head[0], id.data(), std::min<size_t>(id.size(), 36));
    putLe32(head, 36, 10);
    putLe32(head, 40, count);
    return head;
}

inline std::string archiveBytes(const std::vector<RawEntry>& entries, int64_t count = -1) {
    std::string bytes = headBytes(count < 0 ? static_cast<uint32_t>(entries.size()) : static_cast<uint32_t>(count));
    for (const RawEntry& e : entries) bytes += entryBytes(e);
    return bytes;
}

// One entry as found in an archive file.
struct ParsedEntry {
    size_t offset;
    std::string name;
    uint32_t nameRef, nameLength, zero, timeLow, timeHigh, attributes, packedSize, unpackedSize, crc;
    std::string data;
};

// Takes an archive apart; stops at the first entry that does not fit.
inline std::vector<ParsedEntry> parseArchive(const std::string& bytes) {
    std::vector<ParsedEntry> entries;
    size_t at = 44;
    while (at + 32 <= bytes.size()) {
        ParsedEntry e;
        e.offset = at;
        e.nameRef = le32(bytes, at);
        e.nameLength = le32(bytes, at + 4) & 0xFFFF;
        e.zero = le32(bytes, at + 4) >> 16;
        e.timeLow = le32(bytes, at + 8);
        e.timeHigh = le32(bytes, at + 12);
        e.attributes = le32(bytes, at + 16);
        e.packedSize = le32(bytes, at + 20);
        e.unpackedSize = le32(bytes, at + 24);
        e.crc = le32(bytes, at + 28);
        at += 32;
        if (at + e.nameLength + e.packedSize > bytes.size() || e.nameLength == 0) break;
        e.name = std::string(bytes.data() + at, e.nameLength - 1);
        at += e.nameLength;
        e.data = bytes.substr(at, e.packedSize);
        at += e.packedSize;
        entries.push_back(e);
    }
    return entries;
}

// The names of the entries of an archive file, in order.
inline std::vector<std::string> entryNames(const std::string& host) {
    std::vector<std::string> names;
    for (const ParsedEntry& e : parseArchive(readFile(host))) names.push_back(e.name);
    return names;
}

// Everything below a host directory: relative path -> "D" for a directory,
// "F:" + content for a file, "L:" + target for a link.
inline std::map<std::string, std::string> treeOf(const std::string& host) {
    std::map<std::string, std::string> tree;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(host, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec)) {
        std::string rel = fs::relative(it->path(), host).string();
        if (it->is_symlink())
            tree[rel] = "L:" + fs::read_symlink(it->path()).string();
        else if (it->is_directory())
            tree[rel] = "D";
        else
            tree[rel] = "F:" + readFile(it->path().string());
    }
    return tree;
}

inline bool hostReadOnly(const std::string& host) {
    struct stat st;
    return stat(host.c_str(), &st) == 0 && !(st.st_mode & S_IWUSR);
}

// Runs writeArchive the way the archive operation does.
inline int packTree(const std::string& source, const std::string& archive, const char* tempDir = nullptr,
                    CompressedArchive* use = nullptr) {
    CompressedArchive own;
    CompressedArchive& a = use ? *use : own;
    CompressedArchive::resetEntryCount();
    return a.writeArchive(source.c_str(), archive.c_str(), tempDir);
}

inline int unpackTo(const std::string& archive, const std::string& target, CompressedArchive* use = nullptr) {
    CompressedArchive own;
    CompressedArchive& a = use ? *use : own;
    CompressedArchive::resetEntryCount();
    return a.readArchive(archive.c_str(), target.c_str());
}

// Clears the host call faults before and after each test.
class ArchiveTest : public ::testing::Test {
protected:
    void SetUp() override { kvFaultsClear(); }
    void TearDown() override { kvFaultsClear(); }
};
