// kelvault ma: the compressed archive file (.MA) at the command line.
//
//   kelvault ma pack DIR|FILE ARCHIVE.MA    write an archive of a tree or one file
//   kelvault ma unpack ARCHIVE.MA DIR       unpack it into DIR (made if missing)
//   kelvault ma list ARCHIVE.MA             its entries, one a line (--json)
//   kelvault ma verify ARCHIVE.MA           expand every file in memory, check its CRC
//
// A failure is told with the message of its action and the name in error;
// the exit status is 0 when all went well, 1 after a reported failure.
// While packing or unpacking a large archive, a progress bar runs on
// standard error when both standard output and standard error are terminals.
//
// Contents:
//   1. Paths, names and messages
//   2. The progress bar
//   3. pack, unpack
//   4. list, verify
//   5. The command
#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

#include "archive/compressedarchive.h"
#include "command.h"
#include "json.h"
#include "platform/platform.h"

// ---------------------------------------------------------------------------
// 1. Paths, names and messages
// ---------------------------------------------------------------------------

// A name kept by the archive, as a person reads it: a path in host form,
// anything else (a stored name) as it is.
static std::string shown(const char* name) {
    if (!name) return "";
    std::string host = ToHostPath(name);
    return host.empty() ? std::string(name) : host;
}

// Tells a failure on standard error: the action's message with the name in
// the %9 position, and the name behind it where the message has none.
static void tellFailure(const CompressedArchive& archive, int status, bool writing) {
    std::string name = shown(archive.errorName);
    callBackRecord record;
    record.action = archiveStatusAction(status, writing);
    record.detail = name.c_str();
    char* message = formCallBackMessage(record);
    std::string text = message ? message : "archive status " + std::to_string(status);
    if (message) LocalFree(message);
    if (!name.empty() && text.find(name) == std::string::npos) text += ": " + name;
    fprintf(stderr, "kelvault: error: %s\n", text.c_str());
}

static std::string timeText(uint32_t low, uint32_t high) {
    FILETIME utc = {low, high}, local;
    SYSTEMTIME t;
    if (!FileTimeToLocalFileTime(&utc, &local) || !FileTimeToSystemTime(&local, &t)) return "?";
    char text[64];
    snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute,
             t.wSecond);
    return text;
}

// The attribute bits as letters: directory, read-only, hidden, system,
// archive, link; '-' for a bit not set.
static std::string attributeText(uint32_t a) {
    std::string s = "------";
    if (a & 0x10) s[0] = 'd';
    if (a & 0x01) s[1] = 'r';
    if (a & 0x02) s[2] = 'h';
    if (a & 0x04) s[3] = 's';
    if (a & 0x20) s[4] = 'a';
    if (a & 0x400) s[5] = 'l';
    return s;
}

// Packed size as a share of the size, "-" where there is nothing to share.
static std::string ratioText(uint32_t packed, uint32_t size) {
    if (size == 0) return "-";
    char text[16];
    snprintf(text, sizeof text, "%.1f%%", 100.0 * packed / size);
    return text;
}

// Bytes of the files below an engine path, as the archive walk sees them
// (links to directories left out); 0 for what cannot be listed.
static uint64_t treeSize(const std::string& path) {
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA((path + "/*").c_str(), &data);
    if (find == INVALID_HANDLE_VALUE) return 0;
    uint64_t total = 0;
    do {
        if (!strcmp(data.cFileName, ".") || !strcmp(data.cFileName, "..")) continue;
        if (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT && data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            continue;
        if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            total += treeSize(path + "\\" + data.cFileName);
        else
            total += data.nFileSizeLow;
    } while (FindNextFileA(find, &data));
    FindClose(find);
    return total;
}

// "1 entry", "2 entries".
static std::string count(uint64_t n, const char* one, const char* many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
}

static uint64_t fileSize(const std::string& path) {
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA(path.c_str(), &data);
    if (find == INVALID_HANDLE_VALUE) return 0;
    FindClose(find);
    return (uint64_t(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

// ---------------------------------------------------------------------------
// 2. The progress bar
// ---------------------------------------------------------------------------

// Counts what the archive reports; draws a bar when asked to.
class ProgressBar : public ArchiveProgress {
public:
    ProgressBar(uint64_t total, bool packing, bool draw) : total_(total), packing_(packing), draw_(draw) {}
    ~ProgressBar() override { finish(); }

    void entryDone(const char*, const ArchiveEntryHeader& header, uint64_t packedBytes) override {
        ++entries_;
        if (!(header.attributes & archiveDirectoryBit)) ++files_;
        unpacked_ += header.unpackedSize;
        packed_ += packedBytes;
        if (!draw_ || total_ == 0) return;
        uint64_t done = packing_ ? unpacked_ : packed_ + archiveHeadSize;
        int percent = static_cast<int>(done >= total_ ? 100 : 100 * done / total_);
        if (percent == shownPercent_) return;
        shownPercent_ = percent;
        const int width = 40;
        int filled = percent * width / 100;
        fprintf(stderr, "\r[%.*s%*s] %3d%%", filled, "########################################", width - filled, "",
                percent);
        fflush(stderr);
    }
    void finish() {
        if (draw_ && shownPercent_ >= 0) fprintf(stderr, "\r%*s\r", 48, "");
        shownPercent_ = -1;
    }

    uint64_t entries_ = 0, files_ = 0, unpacked_ = 0, packed_ = 0;

private:
    uint64_t total_;
    bool packing_, draw_;
    int shownPercent_ = -1;
};

// A bar for archives of several megabytes, on a terminal only.
static bool wantBar(uint64_t total) { return total >= (4u << 20) && isatty(1) && isatty(2); }

// ---------------------------------------------------------------------------
// 3. pack, unpack
// ---------------------------------------------------------------------------

static int pack(const std::string& sourceHost, const std::string& archiveHost) {
    std::string source = ToEnginePath(sourceHost.c_str()), archivePath = ToEnginePath(archiveHost.c_str());
    if (source.empty() || archivePath.empty()) return usageError("cannot name '" + sourceHost + "' or '" + archiveHost + "'");
    DWORD attributes = GetFileAttributesA(source.c_str());
    uint64_t total = attributes == INVALID_FILE_ATTRIBUTES ? 0
                     : attributes & FILE_ATTRIBUTE_DIRECTORY ? treeSize(source)
                                                             : fileSize(source);
    ProgressBar bar(total, true, wantBar(total));
    CompressedArchive archive;
    archive.progress = &bar;
    CompressedArchive::resetEntryCount();
    int status = archive.writeArchive(source.c_str(), archivePath.c_str(), nullptr);
    bar.finish();
    if (status != 0) {
        tellFailure(archive, status, true);
        return ExitErrors;
    }
    uint64_t size = fileSize(archivePath);
    printf("%s: %s (%s), %llu bytes packed into %llu (%s)\n", archiveHost.c_str(),
           count(CompressedArchive::entryCount(), "entry", "entries").c_str(),
           count(bar.files_, "file", "files").c_str(), static_cast<unsigned long long>(bar.unpacked_),
           static_cast<unsigned long long>(size),
           bar.unpacked_ ? ratioText(static_cast<uint32_t>(size * 1000 / bar.unpacked_), 1000).c_str() : "-");
    return ExitDone;
}

static int unpack(const std::string& archiveHost, const std::string& targetHost) {
    std::string archivePath = ToEnginePath(archiveHost.c_str()), target = ToEnginePath(targetHost.c_str());
    if (archivePath.empty() || target.empty()) return usageError("cannot name '" + archiveHost + "' or '" + targetHost + "'");
    // A missing target directory is made, one level, as a person expects.
    if (GetFileAttributesA(target.c_str()) == INVALID_FILE_ATTRIBUTES) CreateDirectoryA(target.c_str(), nullptr);
    uint64_t total = fileSize(archivePath);
    ProgressBar bar(total, false, wantBar(total));
    CompressedArchive archive;
    archive.progress = &bar;
    CompressedArchive::resetEntryCount();
    int status = archive.readArchive(archivePath.c_str(), target.c_str());
    bar.finish();
    if (status != 0) {
        tellFailure(archive, status, false);
        return ExitErrors;
    }
    printf("%s: %s (%s, %llu bytes) unpacked into %s\n", archiveHost.c_str(),
           count(bar.entries_, "entry", "entries").c_str(), count(bar.files_, "file", "files").c_str(),
           static_cast<unsigned long long>(bar.unpacked_), targetHost.c_str());
    return ExitDone;
}

// ---------------------------------------------------------------------------
// 4. list, verify
// ---------------------------------------------------------------------------

class Lister : public ArchiveEntryVisitor {
public:
    Lister(JsonWriter* json, bool verifying) : json_(json), verifying_(verifying) {}

    bool entry(const char* name, const ArchiveEntryHeader& h, int status) override {
        ++entries_;
        bool isFile = !(h.attributes & archiveDirectoryBit);
        if (isFile) ++files_;
        if (status != 0) ++damaged_;
        char crc[16];
        snprintf(crc, sizeof crc, "%08X", h.crc);
        if (json_) {
            json_->beginObject();
            json_->field("name", name);
            json_->field("directory", !isFile);
            json_->field("size", h.unpackedSize);
            json_->field("packedSize", h.packedSize);
            json_->field("time", timeText(h.lastWriteLow, h.lastWriteHigh));
            json_->field("attributes", h.attributes);
            json_->field("crc", std::string(crc));
            if (verifying_) json_->field("ok", status == 0);
            json_->endObject();
        } else if (verifying_) {
            if (status != 0)
                printf("FAILED  %s: %s\n", name,
                       status == archiveCrcError ? "CRC mismatch after decompression" : "error decompressing file");
            else if (isFile)
                printf("ok      %s\n", name);
        } else {
            printf("%s %10u %10u %6s  %s  %s  %s\n", attributeText(h.attributes).c_str(), h.unpackedSize,
                   h.packedSize, ratioText(h.packedSize, h.unpackedSize).c_str(),
                   timeText(h.lastWriteLow, h.lastWriteHigh).c_str(), isFile ? crc : "        ", name);
        }
        return true;
    }

    uint64_t entries_ = 0, files_ = 0, damaged_ = 0;

private:
    JsonWriter* json_;
    bool verifying_;
};

static int listOrVerify(const std::string& archiveHost, bool verifying, bool asJson) {
    std::string archivePath = ToEnginePath(archiveHost.c_str());
    if (archivePath.empty()) return usageError("cannot name '" + archiveHost + "'");
    JsonWriter json(stdout);
    Lister lister(asJson ? &json : nullptr, verifying);
    if (asJson) {
        json.beginObject();
        json.field("archive", archiveHost);
        json.key("entries");
        json.beginArray();
    } else if (!verifying) {
        printf("%-6s %10s %10s %6s  %-19s  %-8s  %s\n", "attrib", "size", "packed", "ratio", "time", "crc", "name");
    }
    CompressedArchive archive;
    CompressedArchive::resetEntryCount();
    int status = archive.listArchive(archivePath.c_str(), lister, verifying);
    if (asJson) {
        json.endArray();
        json.field("ok", status == 0 && lister.damaged_ == 0);
        json.endObject();
        printf("\n");
    }
    if (status != 0) {
        fflush(stdout);
        tellFailure(archive, status, false);
        return ExitErrors;
    }
    if (!asJson && verifying)
        printf("%s, %s checked, %llu damaged\n", count(lister.entries_, "entry", "entries").c_str(),
               count(lister.files_, "file", "files").c_str(), static_cast<unsigned long long>(lister.damaged_));
    return lister.damaged_ ? ExitErrors : ExitDone;
}

// ---------------------------------------------------------------------------
// 5. The command
// ---------------------------------------------------------------------------

static int runMa(const Args& args) {
    const std::vector<std::string>& p = args.positional;
    const std::string& what = p[0];
    bool asJson = args.has("json");
    if (what == "pack" || what == "unpack") {
        if (p.size() != 3) return usageError("usage: kelvault ma " + what + (what == "pack" ? " DIR|FILE ARCHIVE.MA" : " ARCHIVE.MA DIR"));
        if (asJson) return usageError("--json goes with list and verify");
        return what == "pack" ? pack(p[1], p[2]) : unpack(p[1], p[2]);
    }
    if (what == "list" || what == "verify") {
        if (p.size() != 2) return usageError("usage: kelvault ma " + what + " ARCHIVE.MA");
        return listOrVerify(p[1], what == "verify", asJson);
    }
    return usageError("ma: no action '" + what + "' (pack, unpack, list, verify)");
}

KV_COMMAND({"ma", "ma pack DIR|FILE ARCHIVE.MA | unpack ARCHIVE.MA DIR | list ARCHIVE.MA | verify ARCHIVE.MA",
            "write, unpack, list and check compressed archive files (.MA)",
            "pack writes the directory tree DIR (or the single file FILE) into a new archive; an\n"
            "existing archive of that name is replaced. Links to directories are not followed.\n"
            "unpack restores an archive into DIR, which is made if it is missing; entries whose\n"
            "names would land outside DIR, or that would be written through a symbolic link,\n"
            "stop the unpacking. list shows each entry: attributes, size, packed size, ratio,\n"
            "time, CRC and name. verify expands every file in memory and checks its CRC,\n"
            "writing nothing. Exit status: 0 done, 1 failed or damaged, 2 bad usage.",
            {{"json", nullptr, "list and verify: machine-readable output"}},
            2,
            3,
            runMa});
