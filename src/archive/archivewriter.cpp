// Writing an archive: writeArchive, the directory walk, one entry, the
// compression of one file into the temporary file, and the append of the
// temporary file to the archive.
//
// The header of a file's entry stands before its packed data, but its
// packedSize and crc are known only when the codec has finished; so each
// file is compressed into the temporary file first and then copied behind
// its header. The head is written first with a count of 0 and once more at
// the end with the true count, so a broken-off archive reads as empty.
//
// Every write is checked, also the ones that a buffered stream reports only
// when it is flushed or closed: an archive that says 0 is on the disk whole.
//
//   1. writeArchive
//   2. writeTree, writeEntry
//   3. compressFile, appendPackedData
#include <cstring>
#include <string>
#include <unistd.h>

#include "archive/compressedarchive.h"
#include "archive/implode.h"
#include "platform/platform.h"

ArchiveHead& archiveStaticHead();

// The temporary file's name behind its directory: one per process, so that
// two processes archiving at the same time never share it.
static std::string tempFileName() { return "/qelvarch" + std::to_string(static_cast<long>(getpid())) + ".tmp"; }

// ---------------------------------------------------------------------------
// 1. writeArchive
// ---------------------------------------------------------------------------

int CompressedArchive::writeArchive(const char* sourcePath, const char* archivePath, const char* tempDir) {
    setArchiveName(archivePath);
    resetEntryCount();
    tempCreated_ = false;
    if (!sourcePath || !archivePath) return fail(archiveSourceAttribError, sourcePath);
    if (_stricmp(sourcePath, archivePath) == 0) return fail(archiveTargEqSrcError, archivePath);

    stream = kvFopen(archivePath, "wb+");
    if (!stream) return fail(archiveArchOpenWError, archivePath);

    std::string tempPath;
    if (tempDir) {
        tempPath = std::string(tempDir) + tempFileName();
    } else {
        char buffer[MAX_PATH] = "";
        DWORD n = GetTempPathA(246, buffer);
        // A directory that does not fit counts as none, as a failure does.
        tempPath = (n > 0 && n < 246 ? std::string(buffer) : std::string()) + tempFileName();
    }

    int status = 0;
    DWORD attributes = GetFileAttributesA(sourcePath);
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        status = fail(archiveSourceAttribError, sourcePath);
    } else {
        unsigned char head[archiveHeadSize];
        encodeArchiveHead(archiveStaticHead(), head);
        if (fwrite(head, 1, sizeof head, stream) != sizeof head) status = fail(archiveAHeaderWriteError, archiveName);

        if (status == 0) {
            if (attributes & FILE_ATTRIBUTE_DIRECTORY)
                status = writeTree(sourcePath, archivePath, "", tempPath.c_str());
            else
                status = writeEntry(sourcePath, "", tempPath.c_str(), nullptr);
        }
        if (status == 0) {
            encodeArchiveHead(archiveStaticHead(), head);
            if (fseek(stream, 0, SEEK_SET) != 0 || fwrite(head, 1, sizeof head, stream) != sizeof head ||
                fflush(stream) != 0)
                status = fail(archiveAHeaderWriteError, archiveName);
        }
        if (tempCreated_) DeleteFileA(tempPath.c_str());
    }
    // A failed close means data that never reached the disk.
    if (fclose(stream) != 0 && status == 0) status = fail(archiveAHeaderWriteError, archiveName);
    stream = nullptr;
    if (status != 0) return status;
    setErrorName(archiveName);
    return 0;
}

// ---------------------------------------------------------------------------
// 2. writeTree, writeEntry
// ---------------------------------------------------------------------------

int CompressedArchive::writeTree(const char* directory, const char* archivePath, const char* prefix,
                                 const char* tempPath) {
    std::string pattern = std::string(directory) + "/*";
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA(pattern.c_str(), &data);
    if (find == INVALID_HANDLE_VALUE) return fail(archiveSourceDirError, directory);

    int status = 0;
    do {
        if (strcmp(data.cFileName, ".") == 0 || strcmp(data.cFileName, "..") == 0) continue;
        // A link to a directory is not followed, and not stored: its target
        // lies elsewhere, in this tree or outside it.
        const DWORD linkedDirectory = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
        if ((data.dwFileAttributes & linkedDirectory) == linkedDirectory) continue;
        std::string fullPath = std::string(directory) + "\\" + data.cFileName;
        // The archive does not hold itself (compared as text, as the walk
        // spells the path).
        if (_stricmp(fullPath.c_str(), archivePath) == 0) continue;

        status = writeEntry(fullPath.c_str(), prefix, tempPath, &data);
        if (status == 0 && (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
            std::string inner = std::string(prefix) + data.cFileName + "/";
            status = writeTree(fullPath.c_str(), archivePath, inner.c_str(), tempPath);
        }
        if (status != 0) {
            FindClose(find);
            return status;
        }
    } while (FindNextFileA(find, &data));

    DWORD error = GetLastError();
    if (error != ERROR_NO_MORE_FILES && error != ERROR_FILE_NOT_FOUND) status = fail(archiveDirIncError, directory);
    FindClose(find);
    return status;
}

// Writes the header and the name of an entry: archiveFHeaderWriteError
// (name: the stored name) if either write falls short. Both are tried.
int CompressedArchive::writeEntryHeader(const ArchiveEntryHeader& header, const char* name) {
    unsigned char bytes[archiveEntryHeaderSize];
    encodeEntryHeader(header, bytes);
    bool whole = fwrite(bytes, 1, sizeof bytes, stream) == sizeof bytes;
    whole = fwrite(name, 1, header.nameLength, stream) == header.nameLength && whole;
    if (!whole || ferror(stream)) return fail(archiveFHeaderWriteError, name);
    return 0;
}

int CompressedArchive::writeEntry(const char* path, const char* prefix, const char* tempPath, const void* findData) {
    ArchiveEntryHeader header;
    memset(&header, 0, sizeof header);

    char fname[_MAX_FNAME], ext[_MAX_EXT];
    _splitpath(path, nullptr, nullptr, fname, ext);
    std::string name = std::string(prefix) + fname + ext;
    // Readers hold a name in 260 bytes; a longer one would make an archive
    // that no reader takes (deep trees on hosts without a path limit).
    if (name.size() + 1 > archiveNameBufferSize) return fail(archiveFHeaderWriteError, name.c_str());
    header.nameRef = 0;  // the writer's memory means nothing in the file
    header.nameLength = static_cast<uint16_t>(name.size() + 1);

    WIN32_FIND_DATAA own;
    const WIN32_FIND_DATAA* data = static_cast<const WIN32_FIND_DATAA*>(findData);
    if (!data) {
        HANDLE find = FindFirstFileA(path, &own);
        if (find == INVALID_HANDLE_VALUE) return fail(archiveSourceAccessError, path);
        FindClose(find);
        data = &own;
    }
    header.lastWriteLow = data->ftLastWriteTime.dwLowDateTime;
    header.lastWriteHigh = data->ftLastWriteTime.dwHighDateTime;
    header.attributes = data->dwFileAttributes;
    header.unpackedSize = data->nFileSizeLow;

    int status;
    if (data->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        status = writeEntryHeader(header, name.c_str());
    } else {
        status = compressFile(path, tempPath, header);
        if (status != 0) return status;
        status = writeEntryHeader(header, name.c_str());
        if (status != 0) return status;
        status = appendPackedData(tempPath, header.packedSize);
    }
    ++archiveStaticHead().entryCount;
    if (status == 0 && progress)
        progress->entryDone(name.c_str(), header,
                            archiveEntryHeaderSize + uint64_t(header.nameLength) + header.packedSize);
    return status;
}

// ---------------------------------------------------------------------------
// 3. compressFile, appendPackedData
// ---------------------------------------------------------------------------

int CompressedArchive::compressFile(const char* path, const char* tempPath, ArchiveEntryHeader& header) {
    FILE* source = kvFopen(path, "rb");
    if (!source) return fail(archiveSourceOpenError, path);
    // The first time in an archive call the file is made new, exclusively,
    // so that nothing planted under its name is written through; after that
    // it is ours and each file overwrites the last.
    FILE* temp;
    if (tempCreated_) {
        temp = kvFopen(tempPath, "wb+");
    } else {
        DeleteFileA(tempPath);
        temp = kvFopen(tempPath, "wb+x");
        tempCreated_ = temp != nullptr;
    }
    if (!temp) {
        fclose(source);
        return fail(archiveTempOpenWError, tempPath);
    }

    header.packedSize = 0;
    ArchiveTransfer transfer;
    transfer.input = source;
    transfer.output = temp;
    transfer.expanding = 0;
    transfer.crc = 0xFFFFFFFFu;
    transfer.count = 0;
    transfer.owner = this;

    int status = 0;
    if (header.unpackedSize != 0) {
        ImplodeWork work;
        const unsigned int literalMode = 0, dictionarySize = 4096;
        if (implode(transferRead, transferWrite, &work, &transfer, &literalMode, &dictionarySize) != 0)
            status = fail(archiveImplodeError, path);
        else if (ferror(source))
            status = fail(archiveImplodeError, path);  // a read failed: the stream holds only a part
        else if (transfer.count > 0xFFFFFFFFu)
            status = fail(archiveImplodeError, path);  // packedSize has 32 bits
    }
    if (status == 0) {
        header.crc = ~transfer.crc;
        header.packedSize = static_cast<uint32_t>(transfer.count);
    }
    fclose(source);
    // A write to the temporary file that failed leaves it short or wrong;
    // the append would copy it as it is.
    if (fclose(temp) != 0 && status == 0) status = fail(archiveFileAppendError, tempPath);
    return status;
}

int CompressedArchive::appendPackedData(const char* tempPath, uint32_t size) {
    FILE* temp = kvFopen(tempPath, "rb");
    if (!temp) return fail(archiveTempOpenRError, tempPath);
    uint32_t remaining = size;
    char buffer[2048];
    while (remaining > 0) {
        size_t want = remaining < sizeof buffer ? remaining : sizeof buffer;
        size_t got = fread(buffer, 1, want, temp);
        size_t written = got ? fwrite(buffer, 1, got, stream) : 0;
        remaining -= static_cast<uint32_t>(written);
        if (written == 0 || written < got) break;
    }
    fclose(temp);
    if (remaining > 0 || ferror(stream)) return fail(archiveFileAppendError, tempPath);
    return 0;
}
