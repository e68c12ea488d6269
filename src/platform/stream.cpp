// kvFopen: an engine path opened as a C stream.
//
// The stream is a glibc cookie stream (fopencookie) over a file descriptor,
// so that every read, write, seek and close goes through the host call
// table, where a test can make it fail. glibc buffers as for any FILE, so a
// read of the host reaches the disk once per buffer, not per fgets.
//
// Modes are those of the Windows C runtime: "r", "w", "a", with "+", and
// "b" or "t" (text is the default). A text stream opened for reading only
// ("r", "rt") reads CR LF as LF, as Windows text mode does; a CR that is
// not followed by LF stays. Its positions (ftell, fseek) count characters as
// they are read; seeking in it re-reads from the start when it goes back.
// Every other stream is binary underneath: its positions are byte offsets
// of the file, and line feeds are written as they are.
//
// fclose fails (EOF, errno set) if the close fails or if any write of the
// stream failed before, so that a caller who checks only fclose learns that
// the file is not what was written.
//
// A stream that only reads or only writes has a buffer of 64 KB; text is
// read from the host straight into it and translated in place.
// kvFreadBlock reads a stream that only reads past that buffer, straight
// into the caller's, while the buffer holds nothing: a reader that keeps a
// buffer of its own (the line engine's) then has each byte copied once.
//
//   1. Modes
//   2. The cookie: binary and text reading, writing, seeking, closing
//   3. kvFopen
//   4. kvFreadBlock, kvReadAt
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <unordered_map>
#include <vector>

#include "platform/hostcalls.h"
#include "platform/internal.h"

// ---------------------------------------------------------------------------
// 1. Modes
// ---------------------------------------------------------------------------

struct StreamMode {
    int flags = 0;         // open(2) flags
    bool reading = false;  // may read
    bool writing = false;  // may write
    bool text = false;     // text mode (the default)
    const char* cookieMode = "r";
};

static bool parseMode(const char* mode, StreamMode& out) {
    if (!mode) return false;
    bool plus = false, binary = false, textGiven = false, exclusive = false;
    for (const char* p = mode + 1; *p; ++p) {
        if (*p == '+') plus = true;
        else if (*p == 'b') binary = true;
        else if (*p == 't') textGiven = true;
        else if (*p == 'x') exclusive = true;
        else if (*p == ',') break;  // ",ccs=..." and the like are ignored
    }
    out.text = !binary;
    (void)textGiven;
    switch (mode[0]) {
    case 'r':
        out.flags = plus ? O_RDWR : O_RDONLY;
        out.reading = true;
        out.writing = plus;
        out.cookieMode = plus ? "r+" : "r";
        break;
    case 'w':
        out.flags = (plus ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC | (exclusive ? O_EXCL : 0);
        out.reading = plus;
        out.writing = true;
        out.cookieMode = plus ? "w+" : "w";
        break;
    case 'a':
        out.flags = (plus ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
        out.reading = plus;
        out.writing = true;
        out.cookieMode = plus ? "a+" : "a";
        break;
    default:
        return false;
    }
    return true;
}

// ---------------------------------------------------------------------------
// 2. The cookie
// ---------------------------------------------------------------------------

// The read-ahead of a text stream, made when first needed: most text is
// read straight into the stream's buffer (readTextDirect).
static const size_t kRawSize = 1 << 16;
// The buffer of a stream that only reads or only writes.
static const size_t kStreamBufferSize = 1 << 16;

struct StreamCookie {
    int fd = -1;
    FILE* stream = nullptr;  // the stream it serves
    bool readOnly = false;   // opened to read only
    bool translate = false;  // CR LF to LF on reading
    // Text reading: raw bytes read ahead, and where the reader stands.
    std::vector<char> raw;
    size_t rawPosition = 0, rawLength = 0;
    bool rawEnd = false;     // the file has no more bytes
    int64_t position = 0;    // characters delivered so far
    int writeError = 0;      // the first write that failed: fclose reports it
    // The stream's own buffer, for a stream that only reads or only writes
    // (glibc would choose 8 KB). It lives as long as the cookie: fclose no longer reads
    // it once it has called cookieClose.
    std::unique_ptr<char[]> streamBuffer;  // not cleared: glibc fills it
    // Reads at a place (kvReadAt): how many so far, and the view of the
    // file that serves them from the second on (see there).
    unsigned placeReads = 0;
    FileView view;
};

// Reads raw bytes into the cookie's buffer, keeping `keep` bytes from its
// position. Returns the count read, 0 at the end, -1 on error.
static ssize_t refill(StreamCookie* c, size_t keep) {
    if (c->raw.empty()) c->raw.resize(kRawSize);
    memmove(c->raw.data(), c->raw.data() + c->rawPosition, keep);
    c->rawPosition = 0;
    c->rawLength = keep;
    ssize_t n = hostRead(c->fd, c->raw.data() + keep, c->raw.size() - keep);
    if (n > 0) c->rawLength += static_cast<size_t>(n);
    if (n == 0) c->rawEnd = true;
    return n;
}

// Reads straight into `out` (at most `size` bytes), turning CR LF into LF
// there; a CR that ends what was read is held back in the cookie's buffer
// until its next byte is known. Returns the characters delivered (0 at the
// end of the file, or when only a CR was read), -1 on error.
static ssize_t readTextDirect(StreamCookie* c, char* out, size_t size) {
    ssize_t n = hostRead(c->fd, out, size);
    if (n <= 0) {
        if (n == 0) c->rawEnd = true;
        return n;
    }
    char* end = out + n;
    char* cr = static_cast<char*>(memchr(out, '\r', static_cast<size_t>(n)));
    if (!cr) return n;
    char* to = cr;
    for (const char* from = cr; from < end;) {
        if (*from == '\r') {
            if (from + 1 == end) {
                if (c->raw.empty()) c->raw.resize(kRawSize);
                c->raw[0] = '\r';
                c->rawPosition = 0;
                c->rawLength = 1;
                break;
            }
            if (from[1] == '\n') {
                ++from;  // drop the CR
                continue;
            }
        }
        *to++ = *from++;
    }
    return to - out;
}

// Delivers up to `size` characters of text: CR LF becomes LF. Where the
// cookie holds nothing and much is asked, the host's bytes go straight to
// the caller rather than through the cookie's buffer.
static ssize_t readText(StreamCookie* c, char* out, size_t size) {
    size_t delivered = 0;
    while (delivered < size) {
        size_t available = c->rawLength - c->rawPosition;
        if (available == 0 && !c->rawEnd && size - delivered >= 4096) {
            ssize_t n = readTextDirect(c, out + delivered, size - delivered);
            if (n < 0) {
                if (delivered > 0) break;  // the error comes back on the next call
                return -1;
            }
            delivered += static_cast<size_t>(n);
            continue;
        }
        if (available == 0 || (available == 1 && c->raw[c->rawPosition] == '\r' && !c->rawEnd)) {
            // Out of bytes, or a CR whose next byte is not here yet.
            if (c->rawEnd && available == 0) break;
            ssize_t n = refill(c, available);
            if (n < 0) {
                if (delivered > 0) break;  // the error comes back on the next call
                return -1;
            }
            continue;
        }
        const char* from = c->raw.data() + c->rawPosition;
        size_t span = std::min(available, size - delivered);
        const char* cr = static_cast<const char*>(memchr(from, '\r', span));
        if (!cr) {
            memcpy(out + delivered, from, span);
            delivered += span;
            c->rawPosition += span;
            continue;
        }
        size_t plain = static_cast<size_t>(cr - from);
        memcpy(out + delivered, from, plain);
        delivered += plain;
        c->rawPosition += plain;
        if (c->rawPosition + 1 >= c->rawLength && !c->rawEnd) continue;  // decide after a refill
        if (c->rawPosition + 1 < c->rawLength && c->raw[c->rawPosition + 1] == '\n') ++c->rawPosition;  // drop the CR
        out[delivered++] = c->raw[c->rawPosition++];
    }
    c->position += static_cast<int64_t>(delivered);
    return static_cast<ssize_t>(delivered);
}

static ssize_t cookieRead(void* cookie, char* buffer, size_t size) {
    StreamCookie* c = static_cast<StreamCookie*>(cookie);
    if (c->translate) return readText(c, buffer, size);
    return hostRead(c->fd, buffer, size);
}

static ssize_t cookieWrite(void* cookie, const char* buffer, size_t size) {
    StreamCookie* c = static_cast<StreamCookie*>(cookie);
    size_t done = 0;
    while (done < size) {
        ssize_t n = hostWrite(c->fd, buffer + done, size - done);
        if (n <= 0) {
            if (n == 0) errno = EIO;
            if (!c->writeError) c->writeError = errno;
            // glibc takes a short count as the failure of this write.
            return static_cast<ssize_t>(done);
        }
        done += static_cast<size_t>(n);
    }
    return static_cast<ssize_t>(done);
}

// Moves a text stream to character `target`, reading from the start if it
// lies behind. Stops at the end of the file.
static int seekText(StreamCookie* c, int64_t target) {
    if (target < c->position) {
        if (hostLseek(c->fd, 0, SEEK_SET) < 0) return -1;
        c->rawPosition = c->rawLength = 0;
        c->rawEnd = false;
        c->position = 0;
    }
    char scratch[4096];
    while (c->position < target) {
        size_t want = static_cast<size_t>(std::min<int64_t>(target - c->position, sizeof scratch));
        ssize_t n = readText(c, scratch, want);
        if (n < 0) return -1;
        if (n == 0) break;
    }
    return 0;
}

static int cookieSeek(void* cookie, off64_t* offset, int whence) {
    StreamCookie* c = static_cast<StreamCookie*>(cookie);
    if (!c->translate) {
        off_t result = hostLseek(c->fd, *offset, whence);
        if (result < 0) return -1;
        *offset = result;
        return 0;
    }
    int64_t target;
    if (whence == SEEK_SET) {
        target = *offset;
    } else if (whence == SEEK_CUR) {
        target = c->position + *offset;
    } else if (whence == SEEK_END) {
        if (seekText(c, INT64_MAX) != 0) return -1;
        target = c->position + *offset;
    } else {
        errno = EINVAL;
        return -1;
    }
    if (target < 0) {
        errno = EINVAL;
        return -1;
    }
    if (target != c->position && seekText(c, target) != 0) return -1;
    *offset = c->position;
    return 0;
}

// The cookies of the open streams, by stream, for kvFreadBlock.
static std::unordered_map<FILE*, StreamCookie*>& openStreams() {
    static auto* streams = new std::unordered_map<FILE*, StreamCookie*>;  // never destroyed: usable during exit
    return *streams;
}

// Fails if the close fails, and also if any write of the stream failed, so
// that fclose tells the caller that the file is not what was written.
static int cookieClose(void* cookie) {
    StreamCookie* c = static_cast<StreamCookie*>(cookie);
    openStreams().erase(c->stream);
    kvUnmapView(c->view);
    int result = hostClose(c->fd);
    int error = result == 0 ? c->writeError : errno;
    delete c;
    if (error == 0) return 0;
    errno = error;
    return -1;
}

// ---------------------------------------------------------------------------
// 3. kvFopen
// ---------------------------------------------------------------------------

// A stream over fd, opened in mode m; null (fd closed) if none can be made.
static FILE* streamOver(int fd, const StreamMode& m) {
    StreamCookie* c = new StreamCookie;
    c->fd = fd;
    c->translate = m.text && m.reading && !m.writing;
    cookie_io_functions_t functions;
    functions.read = cookieRead;
    functions.write = cookieWrite;
    functions.seek = cookieSeek;
    functions.close = cookieClose;
    FILE* stream = fopencookie(c, m.cookieMode, functions);
    if (!stream) {
        int error = errno;
        hostCloseQuietly(fd);
        delete c;
        kvSetErrno(error);
        return nullptr;
    }
    c->stream = stream;
    c->readOnly = m.reading && !m.writing;
    openStreams()[stream] = c;
    // A stream that only reads or only writes moves the file in large
    // blocks: fewer calls of the host, and text goes from the host to the
    // stream's buffer in one copy.
    if (m.reading != m.writing) {
        c->streamBuffer.reset(new char[kStreamBufferSize]);
        setvbuf(stream, c->streamBuffer.get(), _IOFBF, kStreamBufferSize);
    }
    return stream;
}

// Opening for reading: a file that is there as spelled is opened at once
// and checked through its descriptor, so that the path is walked once
// rather than once for a stat and again for the open. Sets settled to
// whether that settled it (stream or error); false leaves the case-blind
// search to the caller: the name is not there as spelled.
static FILE* openAsSpelled(const char* path, const StreamMode& m, bool& settled) {
    settled = false;
    EnginePath parsed;
    if (!kvParsePath(path, parsed) || parsed.parts.empty()) return nullptr;
    const std::string host = kvHostPathAsSpelled(parsed);
    if (host.empty()) return nullptr;
    int fd = hostOpen(host.c_str(), m.flags | O_NONBLOCK, 0);
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR) return nullptr;
        settled = true;
        kvSetErrno(errno);
        return nullptr;
    }
    settled = true;
    struct statx st;
    if (hostStat(fd, "", AT_EMPTY_PATH, KV_STATX_MASK, &st) != 0) {
        int error = errno;
        hostCloseQuietly(fd);
        kvSetErrno(error);
        return nullptr;
    }
    // Directories, devices and pipes do not open as files.
    if (!S_ISREG(st.stx_mode)) {
        hostCloseQuietly(fd);
        kvSetError(EACCES, ERROR_ACCESS_DENIED);
        return nullptr;
    }
    return streamOver(fd, m);
}

FILE* kvFopen(const char* path, const char* mode) {
    StreamMode m;
    if (!path || !parseMode(mode, m)) {
        kvSetError(EINVAL, ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (!m.writing) {
        bool settled;
        FILE* stream = openAsSpelled(path, m, settled);
        if (settled) return stream;
    }
    HostFile f = kvResolve(path);
    if (f.found()) {
        if (m.flags & O_EXCL) {
            kvSetError(EEXIST, ERROR_FILE_EXISTS);
            return nullptr;
        }
        struct statx target;
        if (!kvStatTarget(f, target)) {
            kvSetErrno(errno);
            return nullptr;
        }
        // Directories, devices and pipes do not open as files; a read-only
        // file does not open for writing.
        if (!S_ISREG(target.stx_mode) || (m.writing && kvModeReadOnly(target.stx_mode))) {
            kvSetError(EACCES, ERROR_ACCESS_DENIED);
            return nullptr;
        }
    } else if (f.status != HostFile::LastMissing || !(m.flags & O_CREAT)) {
        f.fail();
        return nullptr;
    }
    int fd = hostOpen(f.host.c_str(), m.flags | O_NONBLOCK, 0666);
    if (fd < 0) {
        kvSetError(errno, errno == ENOENT && !f.found() ? f.win32 : kvWin32FromErrno(errno));
        return nullptr;
    }
    return streamOver(fd, m);
}

// ---------------------------------------------------------------------------
// 4. kvFreadBlock
// ---------------------------------------------------------------------------

size_t kvFreadBlock(FILE* stream, char* buffer, size_t size) {
    auto known = openStreams().find(stream);
    StreamCookie* c = known == openStreams().end() ? nullptr : known->second;
    // Past glibc's buffer only when it holds nothing, not even a byte given
    // back by ungetc (which keeps an area of its own once used).
    if (!c || !c->readOnly || size == 0 || stream->_IO_read_ptr != stream->_IO_read_end || stream->_IO_save_base)
        return fread(buffer, 1, size, stream);
    const ssize_t n = c->translate ? readText(c, buffer, size) : hostRead(c->fd, buffer, size);
    // glibc's idea of the file position is no longer true: it must ask the
    // cookie (ftell, fseek) rather than count.
    stream->_offset = -1;
    if (n < 0) {
        stream->_flags |= _IO_ERR_SEEN;
        return 0;
    }
    if (n == 0) stream->_flags |= _IO_EOF_SEEN;
    return static_cast<size_t>(n);
}

// A read at a place of a binary stream that only reads is one host call
// that leaves the stream where it was: a scan reads a few hundred bytes at
// each of thousands of places of a library, and a seek and a refill of the
// stream's buffer for each cost three times as much.
//
// From the second read at a place on, a file of viewMinimum bytes or more
// is read through a view of the whole file instead: a copy from the
// system's cache of the file, without a system call, costs a tenth of a
// pread. Each such read still counts as a read of the host call table, and
// fails when a fault says so. A read that reaches past the view (the file
// may have grown) goes to the host, and so does every read once the file
// has been found cut shorter than its view.
static const size_t viewMinimum = 64 * 1024;

static const FileView* viewOf(StreamCookie* c) {
    if (c->view.data) return &c->view;
    if (c->placeReads >= 2 || ++c->placeReads < 2) return nullptr; // mapped once at most
    struct statx status;
    if (hostStat(c->fd, "", AT_EMPTY_PATH, STATX_SIZE, &status) != 0 || status.stx_size < viewMinimum ||
        status.stx_size > SIZE_MAX)
        return nullptr;
    return kvMapView(c->fd, static_cast<size_t>(status.stx_size), c->view) ? &c->view : nullptr;
}

size_t kvReadAt(FILE* stream, int64_t offset, char* buffer, size_t size) {
    auto known = openStreams().find(stream);
    StreamCookie* c = known == openStreams().end() ? nullptr : known->second;
    if (!c || !c->readOnly || c->translate) {
        if (fseeko(stream, static_cast<off_t>(offset), SEEK_SET) != 0) return 0;
        return fread(buffer, 1, size, stream);
    }
    const FileView* view = viewOf(c);
    if (view && offset >= 0 && static_cast<uint64_t>(offset) <= view->size && size <= view->size - offset) {
        if (kvHostCallFails(HostCall::Read)) {
            stream->_flags |= _IO_ERR_SEEN;
            return 0;
        }
        if (kvCopyFromView(*view, static_cast<size_t>(offset), buffer, size)) return size;
        kvUnmapView(c->view); // the file is shorter now: ask the host what it holds
    }
    size_t got = 0;
    while (got < size) {
        const ssize_t n = hostPread(c->fd, buffer + got, size - got, static_cast<off_t>(offset) + static_cast<off_t>(got));
        if (n < 0) {
            stream->_flags |= _IO_ERR_SEEN;
            break;
        }
        if (n == 0) break;
        got += static_cast<size_t>(n);
    }
    return got;
}
