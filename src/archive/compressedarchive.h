// The compressed archive file (type MA): its layout, and CompressedArchive,
// the object through which an archive is written and read.
//
// An archive holds one directory tree, or one single file, every file
// compressed on its own by implode (binary literals, 4096-byte dictionary).
// The container reports one negative status and keeps the name that the
// status is about; the archive and restore operations turn that pair into a
// callback action (archiveStatusAction).
//
// Format notes. Every number is little-endian, whatever the host:
//
//   offset 0   ArchiveHead, 44 bytes
//                0  36  id: NUL-terminated text, NUL-padded. Written:
//                       "Tarnel Compressed Archive"; also read:
//                       "Halvrost Compressed Archive"
//               36   4  headMark: 10, never looked at
//               40   4  entryCount: directories and files together
//   offset 44  the entries, one after the other, no padding, no end mark:
//              ArchiveEntryHeader, 32 bytes
//                0   4  nameRef: meaningless, readers ignore it (written 0)
//                4   2  nameLength: bytes of the name, its NUL included
//                6   2  zero
//                8   4  lastWriteLow   } FILETIME of the entry
//               12   4  lastWriteHigh  }
//               16   4  attributes: Win32 bits; 0x10 makes a directory
//               20   4  packedSize: bytes of packed data after the name
//               24   4  unpackedSize: low 32 bits of the file size
//               28   4  crc: CRC-32 of the unpacked bytes (0: none)
//              the name: path below the archived directory, "/" between
//                levels, NUL-terminated, at most 260 bytes in all
//              the packed data: one whole implode stream; none for a
//                directory or an empty file
//
// Entries come depth first in listing order, a directory before its
// contents; the reader never creates a parent directory by itself.
//
// Contents:
//   1. Statuses and their callback actions
//   2. The on-disk records
//   3. CompressedArchive
#pragma once

#include <cstdint>
#include <cstdio>

#include "vocabulary/callback.h"

// ---------------------------------------------------------------------------
// 1. Statuses
// ---------------------------------------------------------------------------

// The results of writeArchive and readArchive: 0 or one of these. The
// comment names what errorName then holds.
enum ArchiveStatus : int {
    archiveDone = 0,
    archiveSourceOpenError = -1,     // source file
    archiveTempOpenWError = -2,      // temporary file
    archiveImplodeError = -3,        // source file
    archiveTargetOpenError = -4,     // target file
    archiveExplodeError = -5,        // target file (listArchive: stored name)
    archiveCrcError = -6,            // target file (listArchive: stored name)
    archiveSourceDirError = -7,      // directory
    archiveDirIncError = -8,         // directory
    archiveSourceAccessError = -9,   // source file
    archiveTempOpenRError = -10,     // temporary file
    archiveFileAppendError = -11,    // temporary file
    archiveAHeaderWriteError = -12,  // archive
    archiveAHeaderReadError = -13,   // archive
    archiveFHeaderWriteError = -14,  // stored entry name
    archiveFHeaderReadError = -15,   // archive; the stored name for a refused name
    archiveTargetDirError = -16,     // target directory
    archiveTargEqSrcError = -17,     // archive
    archiveArchOpenWError = -18,     // archive
    archiveSourceAttribError = -19,  // source path
    archiveTargetAttribError = -20,  // target directory
    archiveTargetNotDir = -21,       // target directory
    archiveArchOpenRError = -22,     // archive
};

// The action that reports a status, with errorName in the %9 position:
// -1 to -22 their Arch_ rows; 0 DoneWritingArchive or DoneReadingArchive;
// anything else ErrorWritingFile or ErrorReadingFile. `writing` tells the
// archive operation (writeArchive) from the restore (readArchive).
KVE_callBackAction::eType archiveStatusAction(int status, bool writing);

// ---------------------------------------------------------------------------
// 2. The on-disk records, in host form. encode/decode convert to and from
// the little-endian bytes of the file.
// ---------------------------------------------------------------------------

inline constexpr unsigned archiveHeadSize = 44;
inline constexpr unsigned archiveIdSize = 36;
inline constexpr unsigned archiveEntryHeaderSize = 32;
inline constexpr unsigned archiveNameBufferSize = 260;  // the longest name, NUL included
inline constexpr uint32_t archiveDirectoryBit = 0x10;

extern const char archiveIdWritten[];   // "Tarnel Compressed Archive"
extern const char archiveIdAccepted[];  // "Halvrost Compressed Archive"

struct ArchiveHead {
    char id[archiveIdSize];
    uint32_t headMark;
    uint32_t entryCount;
};

struct ArchiveEntryHeader {
    uint32_t nameRef;
    uint16_t nameLength;  // with the NUL
    uint16_t zero;
    uint32_t lastWriteLow;
    uint32_t lastWriteHigh;
    uint32_t attributes;
    uint32_t packedSize;
    uint32_t unpackedSize;
    uint32_t crc;
};

void encodeArchiveHead(const ArchiveHead& head, unsigned char out[archiveHeadSize]);
void decodeArchiveHead(const unsigned char in[archiveHeadSize], ArchiveHead& head);
void encodeEntryHeader(const ArchiveEntryHeader& header, unsigned char out[archiveEntryHeaderSize]);
// nameLength is taken to 16 bits; the two bytes behind it are not looked at.
void decodeEntryHeader(const unsigned char in[archiveEntryHeaderSize], ArchiveEntryHeader& header);

// True if a stored name may be written below a target directory: not empty,
// not absolute ("/", "\"), no drive ("C:"), no empty component and no
// component made only of dots and blanks ("..", ".", ". ."), with "/" and
// "\" both taken as separators. Every name the writer makes passes.
bool archiveNameIsSafe(const char* name);

// ---------------------------------------------------------------------------
// 3. CompressedArchive
// ---------------------------------------------------------------------------

// Told after each entry has been written or read, for a progress display.
// packedBytes counts the entry's bytes in the archive (header, name, data).
class ArchiveProgress {
public:
    virtual ~ArchiveProgress() = default;
    virtual void entryDone(const char* storedName, const ArchiveEntryHeader& header, uint64_t packedBytes) = 0;
};

// Visits the entries of an archive in listArchive. status is 0, or, when
// the data were checked, archiveExplodeError or archiveCrcError for this
// entry. Returning false stops the listing (listArchive then returns 0).
class ArchiveEntryVisitor {
public:
    virtual ~ArchiveEntryVisitor() = default;
    virtual bool entry(const char* storedName, const ArchiveEntryHeader& header, int status) = 0;
};

struct ArchiveTransfer;

// One archive call at a time: the head block that counts the entries is
// one static block of the engine, and the temporary file has one name per
// process ("/qelvarch" + process id + ".tmp" in the temporary directory).
//
// The object starts with its members null and frees errorName and
// archiveName when it goes; a caller that frees either itself sets it to
// null.
class CompressedArchive {
public:
    FILE* stream = nullptr;       // the open archive, during a call
    char* errorName = nullptr;    // what the last status is about; the archive after success
    char* archiveName = nullptr;  // the archive of the last call
    ArchiveProgress* progress = nullptr;  // told of each entry, if set

    CompressedArchive() = default;
    ~CompressedArchive();
    CompressedArchive(const CompressedArchive&) = delete;
    CompressedArchive& operator=(const CompressedArchive&) = delete;

    // Writes the directory tree or the single file sourcePath into a new
    // archivePath (replaced if it exists). tempDir names the directory of the
    // temporary file; null takes GetTempPathA. A link to a directory found in
    // the tree is not archived. Returns 0 or a negative status; on a failure
    // the archive stays as far as it came, with an entry count of 0.
    int writeArchive(const char* sourcePath, const char* archivePath, const char* tempDir);
    // Unpacks archivePath into the existing directory targetDir. Every entry
    // before a failing one stays restored; a failing file stays as far as it
    // was expanded. An entry whose name archiveNameIsSafe refuses, or whose
    // path below targetDir runs through a symbolic link, stops the reading
    // with archiveFHeaderReadError and nothing written for it. Returns 0 or a
    // negative status.
    int readArchive(const char* archivePath, const char* targetDir);
    // Reads archivePath without writing anything: hands every entry to
    // visitor in order, and with `expand` runs each file's data through the
    // decompressor and the CRC check in memory. A damaged entry is reported
    // to the visitor and the listing goes on. Returns 0, or the status that
    // made it stop (-22, -13, -15), with errorName set.
    int listArchive(const char* archivePath, ArchiveEntryVisitor& visitor, bool expand);

    // Frees errorName and stores a copy of name (null if no memory).
    void setErrorName(const char* name);
    // Sets the entry count of the static head to 0. writeArchive and
    // readArchive do so themselves too.
    static void resetEntryCount();
    // The entry count of the static head: written or read by the last call.
    static uint32_t entryCount();

private:
    int fail(int status, const char* name);
    void setArchiveName(const char* name);

    // Writing (archivewriter.cpp)
    int writeTree(const char* directory, const char* archivePath, const char* prefix, const char* tempPath);
    int writeEntry(const char* path, const char* prefix, const char* tempPath, const void* findData);
    int compressFile(const char* path, const char* tempPath, ArchiveEntryHeader& header);
    int appendPackedData(const char* tempPath, uint32_t size);
    int writeEntryHeader(const ArchiveEntryHeader& header, const char* name);
    bool tempCreated_ = false;

    // Reading (archivereader.cpp)
    int openForReading(const char* archivePath);
    int readEntryHeader(ArchiveEntryHeader& header, char* name);
    int readEntry(const char* targetDir);
    int expandFile(const char* path, const ArchiveEntryHeader& header, bool exists);
    int expandEntry(const ArchiveEntryHeader& header, FILE* output, uint32_t& crc);
    int checkTargetPath(const char* targetDir, const char* name, bool& exists);
};

// The short-lived record of one file's compression or expansion; the
// codecs' call-backs take it as their context.
struct ArchiveTransfer {
    FILE* input = nullptr;   // compressing: the source; expanding: the archive
    FILE* output = nullptr;  // compressing: the temporary file; expanding: the target (null: none)
    int expanding = 0;
    uint32_t crc = 0xFFFFFFFFu;
    uint64_t count = 0;      // compressing: bytes written so far; expanding: packed bytes left
    CompressedArchive* owner = nullptr;
};

// The codecs' read call-back: expanding, holds the request to `count`
// first; compressing, folds the bytes read into crc. Returns the bytes read.
unsigned int transferRead(char* buffer, unsigned int* size, void* context);
// The codecs' write call-back: writes without looking at the result;
// expanding, folds the bytes into crc; compressing, adds them to count.
void transferWrite(char* buffer, unsigned int* size, void* context);
