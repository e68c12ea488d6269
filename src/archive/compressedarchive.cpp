// What both directions of the archive share: the static head block, the
// little-endian records, the check of stored names, the mapping of statuses
// to callback actions, the error name, and the two transfer call-backs that
// the codecs call. Writing is in archivewriter.cpp, reading in
// archivereader.cpp.
//
//   1. The head block and the records
//   2. Stored names
//   3. Statuses and actions
//   4. The object
//   5. transferRead, transferWrite
#include "archive/compressedarchive.h"

#include <cstring>
#include <new>

#include "archive/crc32.h"

// ---------------------------------------------------------------------------
// 1. The head block and the records
// ---------------------------------------------------------------------------

const char archiveIdWritten[] = "Tarnel Compressed Archive";
const char archiveIdAccepted[] = "Halvrost Compressed Archive";

// The one head of the process: the writer counts in its entryCount and
// writes it as it stands; the reader stores the count it read into it.
static ArchiveHead staticHead = {"Tarnel Compressed Archive", 10, 0};

void CompressedArchive::resetEntryCount() { staticHead.entryCount = 0; }
uint32_t CompressedArchive::entryCount() { return staticHead.entryCount; }

// Used by the writer and the reader for the static head.
ArchiveHead& archiveStaticHead() { return staticHead; }

static void put32(unsigned char* p, uint32_t v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
    p[2] = static_cast<unsigned char>(v >> 16);
    p[3] = static_cast<unsigned char>(v >> 24);
}
static uint32_t get32(const unsigned char* p) {
    return p[0] | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
           static_cast<uint32_t>(p[3]) << 24;
}

void encodeArchiveHead(const ArchiveHead& head, unsigned char out[archiveHeadSize]) {
    memcpy(out, head.id, archiveIdSize);
    put32(out + 36, head.headMark);
    put32(out + 40, head.entryCount);
}

void decodeArchiveHead(const unsigned char in[archiveHeadSize], ArchiveHead& head) {
    memcpy(head.id, in, archiveIdSize);
    head.headMark = get32(in + 36);
    head.entryCount = get32(in + 40);
}

void encodeEntryHeader(const ArchiveEntryHeader& h, unsigned char out[archiveEntryHeaderSize]) {
    put32(out, h.nameRef);
    out[4] = static_cast<unsigned char>(h.nameLength);
    out[5] = static_cast<unsigned char>(h.nameLength >> 8);
    out[6] = static_cast<unsigned char>(h.zero);
    out[7] = static_cast<unsigned char>(h.zero >> 8);
    put32(out + 8, h.lastWriteLow);
    put32(out + 12, h.lastWriteHigh);
    put32(out + 16, h.attributes);
    put32(out + 20, h.packedSize);
    put32(out + 24, h.unpackedSize);
    put32(out + 28, h.crc);
}

void decodeEntryHeader(const unsigned char in[archiveEntryHeaderSize], ArchiveEntryHeader& h) {
    h.nameRef = get32(in);
    h.nameLength = static_cast<uint16_t>(in[4] | in[5] << 8);
    h.zero = 0;
    h.lastWriteLow = get32(in + 8);
    h.lastWriteHigh = get32(in + 12);
    h.attributes = get32(in + 16);
    h.packedSize = get32(in + 20);
    h.unpackedSize = get32(in + 24);
    h.crc = get32(in + 28);
}

// ---------------------------------------------------------------------------
// 2. Stored names
// ---------------------------------------------------------------------------

static bool isSeparator(char c) { return c == '/' || c == '\\'; }

bool archiveNameIsSafe(const char* name) {
    if (!name || !*name || isSeparator(name[0])) return false;
    if (name[1] == ':') return false;  // a drive, "C:x" as much as "C:\x"
    const char* p = name;
    while (true) {
        const char* end = p;
        bool onlyDots = true;
        while (*end && !isSeparator(*end)) {
            if (*end != '.' && *end != ' ') onlyDots = false;
            ++end;
        }
        // Empty ("a//b", "a/"), or dots and blanks only, which the path rules
        // of the engine reduce to "." or "..".
        if (end == p || onlyDots) return false;
        if (!*end) return true;
        p = end + 1;
    }
}

// ---------------------------------------------------------------------------
// 3. Statuses and actions
// ---------------------------------------------------------------------------

KVE_callBackAction::eType archiveStatusAction(int status, bool writing) {
    typedef KVE_callBackAction A;
    static const A::eType byStatus[22] = {
        A::Arch_SourceOpenError,   A::Arch_TempOpenWError,   A::Arch_ImplodeError,    A::Arch_TargetOpenError,
        A::Arch_ExplodeError,      A::Arch_CrcError,         A::Arch_SourceDirError,  A::Arch_DirIncError,
        A::Arch_SourceAccessError, A::Arch_TempOpenRError,   A::Arch_FileAppendError, A::Arch_AHeaderWriteError,
        A::Arch_AHeaderReadError,  A::Arch_FHeaderWriteError, A::Arch_FHeaderReadError, A::Arch_TargetDirError,
        A::Arch_TargEqSrcError,    A::Arch_ArchOpenWError,   A::Arch_SourceAttribError, A::Arch_TargetAttribError,
        A::Arch_TargetNotDir,      A::Arch_ArchOpenRError,
    };
    if (status == 0) return writing ? A::DoneWritingArchive : A::DoneReadingArchive;
    if (status >= -22 && status <= -1) return byStatus[-status - 1];
    return writing ? A::ErrorWritingFile : A::ErrorReadingFile;
}

// ---------------------------------------------------------------------------
// 4. The object
// ---------------------------------------------------------------------------

CompressedArchive::~CompressedArchive() {
    delete[] errorName;
    delete[] archiveName;
}

static char* copyText(const char* text) {
    if (!text) return nullptr;
    size_t n = strlen(text) + 1;
    char* copy = new (std::nothrow) char[n];
    if (copy) memcpy(copy, text, n);
    return copy;
}

void CompressedArchive::setErrorName(const char* name) {
    delete[] errorName;
    errorName = nullptr;
    errorName = copyText(name);
}

void CompressedArchive::setArchiveName(const char* name) {
    delete[] archiveName;
    archiveName = copyText(name);
    delete[] errorName;
    errorName = nullptr;
}

int CompressedArchive::fail(int status, const char* name) {
    setErrorName(name);
    return status;
}

// ---------------------------------------------------------------------------
// 5. The transfer call-backs
// ---------------------------------------------------------------------------

static uint32_t foldCrc(uint32_t crc, const char* bytes, unsigned int size) {
    unsigned long running = crc;
    return static_cast<uint32_t>(crc32(bytes, &size, &running));
}

unsigned int transferRead(char* buffer, unsigned int* size, void* context) {
    ArchiveTransfer* t = static_cast<ArchiveTransfer*>(context);
    if (t->expanding) {
        if (*size > t->count) *size = static_cast<unsigned int>(t->count);
        t->count -= *size;
    }
    unsigned int got = *size ? static_cast<unsigned int>(fread(buffer, 1, *size, t->input)) : 0;
    *size = got;
    if (!t->expanding) t->crc = foldCrc(t->crc, buffer, got);
    return got;
}

void transferWrite(char* buffer, unsigned int* size, void* context) {
    ArchiveTransfer* t = static_cast<ArchiveTransfer*>(context);
    if (t->output && *size) {
        size_t written = fwrite(buffer, 1, *size, t->output);
        (void)written;  // a short write shows later, as a short temporary file or a CRC mismatch
    }
    if (t->expanding)
        t->crc = foldCrc(t->crc, buffer, *size);
    else
        t->count += *size;
}
