// Reading an archive: readArchive, one entry, the expansion of one file, and
// listArchive, which reads the same records without writing anything.
//
// An archive is outside input. Every entry is read into fixed buffers, the
// name is checked before anything is made of it (archiveNameIsSafe), no
// path below the target directory runs through a symbolic link, and a file
// is made new before it is written, so that a link planted under its name is
// replaced, not written through. The packed data of an entry are held to
// its packedSize by transferRead, so a damaged stream cannot read into the
// next entry.
//
//   1. Opening and the head
//   2. Entry headers and target paths
//   3. readArchive, readEntry, expandFile
//   4. expandEntry (for files and in memory) and listArchive
#include <cstring>
#include <string>

#include "archive/compressedarchive.h"
#include "archive/explode.h"
#include "platform/platform.h"

ArchiveHead& archiveStaticHead();

// ---------------------------------------------------------------------------
// 1. Opening and the head
// ---------------------------------------------------------------------------

// Opens archivePath into stream and reads its head into the static block.
int CompressedArchive::openForReading(const char* archivePath) {
    stream = kvFopen(archivePath, "rb");
    if (!stream) return fail(archiveArchOpenRError, archivePath);
    unsigned char bytes[archiveHeadSize];
    memset(bytes, 0, sizeof bytes);
    ArchiveHead head;
    size_t got = fread(bytes, 1, sizeof bytes, stream);
    decodeArchiveHead(bytes, head);
    head.id[archiveIdSize - 1] = '\0';  // a text of 36 characters has no end of its own
    if (got < sizeof bytes || (strcmp(head.id, archiveIdWritten) != 0 && strcmp(head.id, archiveIdAccepted) != 0)) {
        fclose(stream);
        stream = nullptr;
        return fail(archiveAHeaderReadError, archiveName);
    }
    archiveStaticHead().entryCount = head.entryCount;
    return 0;
}

// ---------------------------------------------------------------------------
// 2. Entry headers and target paths
// ---------------------------------------------------------------------------

// Reads one header and its name into name (archiveNameBufferSize + 1
// bytes, NUL-terminated whatever the file holds). A short read, or a name
// that does not fit, gives archiveFHeaderReadError for the archive; a name
// that archiveNameIsSafe refuses, the same status for that name.
int CompressedArchive::readEntryHeader(ArchiveEntryHeader& header, char* name) {
    unsigned char bytes[archiveEntryHeaderSize];
    memset(name, 0, archiveNameBufferSize + 1);
    if (fread(bytes, 1, sizeof bytes, stream) != sizeof bytes) return fail(archiveFHeaderReadError, archiveName);
    decodeEntryHeader(bytes, header);
    if (header.nameLength > archiveNameBufferSize) return fail(archiveFHeaderReadError, archiveName);
    if (fread(name, 1, header.nameLength, stream) != header.nameLength)
        return fail(archiveFHeaderReadError, archiveName);
    if (!archiveNameIsSafe(name)) return fail(archiveFHeaderReadError, name);
    return 0;
}

// Refuses (archiveFHeaderReadError, the stored name) a name whose path below
// targetDir meets a symbolic link: each directory on the way, and the entry
// itself where the link shows (a link to a directory, or one that points
// nowhere). A link to a file is replaced by expandFile, never followed.
// exists (out): whether something stands at the entry's own path.
int CompressedArchive::checkTargetPath(const char* targetDir, const char* name, bool& exists) {
    exists = false;
    std::string path = targetDir;
    path += '/';
    for (const char* p = name;; ++p) {
        if (*p == '/' || *p == '\\' || *p == '\0') {
            std::string step = path + std::string(name, p - name);
            DWORD a = GetFileAttributesA(step.c_str());
            if (a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_REPARSE_POINT))
                return fail(archiveFHeaderReadError, name);
            if (a == INVALID_FILE_ATTRIBUTES) return 0;  // nothing there yet, nor below
            if (!*p) {
                exists = true;
                return 0;
            }
        }
    }
}

// ---------------------------------------------------------------------------
// 3. readArchive, readEntry, expandFile
// ---------------------------------------------------------------------------

int CompressedArchive::readArchive(const char* archivePath, const char* targetDir) {
    setArchiveName(archivePath);
    resetEntryCount();
    if (!archivePath) return fail(archiveArchOpenRError, archivePath);
    DWORD attributes = targetDir ? GetFileAttributesA(targetDir) : INVALID_FILE_ATTRIBUTES;
    if (attributes == INVALID_FILE_ATTRIBUTES) return fail(archiveTargetAttribError, targetDir);
    if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) return fail(archiveTargetNotDir, targetDir);

    int status = openForReading(archivePath);
    if (status != 0) return status;
    uint32_t count = archiveStaticHead().entryCount;
    for (uint32_t i = 0; i < count && status == 0; ++i) status = readEntry(targetDir);
    fclose(stream);
    stream = nullptr;
    if (status != 0) return status;
    setErrorName(archiveName);
    return 0;
}

int CompressedArchive::readEntry(const char* targetDir) {
    ArchiveEntryHeader header;
    char name[archiveNameBufferSize + 1];
    int status = readEntryHeader(header, name);
    if (status != 0) return status;
    bool exists = false;
    status = checkTargetPath(targetDir, name, exists);
    if (status != 0) return status;
    std::string path = std::string(targetDir) + "/" + name;

    if (header.attributes & archiveDirectoryBit) {
        if (_access(path.c_str(), 0) != 0 && !CreateDirectoryA(path.c_str(), nullptr))
            return fail(archiveTargetDirError, path.c_str());
    } else {
        status = expandFile(path.c_str(), header, exists);
        if (status != 0) return status;
    }

    // Attributes first, then the time: a read-only file cannot be opened for
    // its time and keeps the time of its restoring.
    SetFileAttributesA(path.c_str(), header.attributes);
    HANDLE h = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                           FILE_FLAG_BACKUP_SEMANTICS | FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h != INVALID_HANDLE_VALUE) {
        FILETIME lastWrite = {header.lastWriteLow, header.lastWriteHigh};
        SetFileTime(h, nullptr, nullptr, &lastWrite);
        CloseHandle(h);
    }
    if (progress)
        progress->entryDone(name, header, archiveEntryHeaderSize + uint64_t(header.nameLength) + header.packedSize);
    return 0;
}

int CompressedArchive::expandFile(const char* path, const ArchiveEntryHeader& header, bool exists) {
    // Made new: an existing file is removed first (a read-only one is not,
    // and then the open fails), and the open is exclusive, so that a link
    // found under this name is never written through.
    if (exists) DeleteFileA(path);
    FILE* target = kvFopen(path, "wb+x");
    if (!target) return fail(archiveTargetOpenError, path);

    uint32_t crc;
    int status = expandEntry(header, target, crc);
    if (status != 0) status = fail(status, path);
    // A write that failed on the way leaves the file short: not restored.
    if (fclose(target) != 0 && status == 0) status = fail(archiveExplodeError, path);
    return status;
}

// ---------------------------------------------------------------------------
// 4. listArchive
// ---------------------------------------------------------------------------

// Runs the packed data of the entry at the stream's position through the
// decompressor into output (null: into nothing); crc receives the CRC of the
// bytes it gave. Returns 0, archiveExplodeError or archiveCrcError, without
// failing the archive; the stream is left behind the entry's data.
int CompressedArchive::expandEntry(const ArchiveEntryHeader& header, FILE* output, uint32_t& crc) {
    ArchiveTransfer transfer;
    transfer.input = stream;
    transfer.output = output;
    transfer.expanding = 1;
    transfer.crc = 0xFFFFFFFFu;
    transfer.count = header.packedSize;
    transfer.owner = this;
    int status = 0;
    if (header.packedSize > 0) {
        ExplodeWork work;
        if (explode(transferRead, transferWrite, &work, &transfer) != 0 || transfer.count > 0)
            status = archiveExplodeError;
    }
    crc = ~transfer.crc;
    if (status == 0 && crc != header.crc) status = archiveCrcError;
    // Whatever the codec left unread of this entry is passed over.
    if (transfer.count > 0) fseek(stream, static_cast<long>(transfer.count), SEEK_CUR);
    return status;
}

int CompressedArchive::listArchive(const char* archivePath, ArchiveEntryVisitor& visitor, bool expand) {
    setArchiveName(archivePath);
    resetEntryCount();
    if (!archivePath) return fail(archiveArchOpenRError, archivePath);
    int status = openForReading(archivePath);
    if (status != 0) return status;
    uint32_t count = archiveStaticHead().entryCount;
    for (uint32_t i = 0; i < count; ++i) {
        ArchiveEntryHeader header;
        char name[archiveNameBufferSize + 1];
        status = readEntryHeader(header, name);
        if (status != 0) break;
        int entryStatus = 0;
        bool isFile = !(header.attributes & archiveDirectoryBit);
        if (expand && isFile) {
            uint32_t crc;
            entryStatus = expandEntry(header, nullptr, crc);
        } else if (header.packedSize > 0 && fseek(stream, static_cast<long>(header.packedSize), SEEK_CUR) != 0) {
            status = fail(archiveFHeaderReadError, archiveName);
            break;
        }
        if (entryStatus != 0) setErrorName(name);
        if (!visitor.entry(name, header, entryStatus)) break;
    }
    fclose(stream);
    stream = nullptr;
    if (status != 0) return status;
    if (!errorName) setErrorName(archiveName);
    return 0;
}
