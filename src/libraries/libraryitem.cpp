// LibraryFileItem: reading a library's index and finding a name in it.
//
// Format notes. The index is a run of lines at the head of the file:
//
//   symloc <names>[:<parent>] <offset> <size> [b]
//
//   - "symloc" is compared over its 6 characters without regard to case; the
//     rest of the line is read from its 8th character with "%s %d %d %c".
//   - <names>: one word, names with "," between them; ":" and the name of
//     the entry this one derives from ("ako" parent) may follow.
//   - <offset>: decimal, counted from the first byte behind the index (the
//     start of the first line after the last "symloc" line); <size>: bytes.
//     Both come 8 wide in symbol libraries, plain where a reduced library
//     was written.
//   - "b" as the last field marks a block; anything else, or nothing, not.
// Lines ahead of the first "symloc" line are passed over. A line whose
// numbers cannot be read keeps the numbers of the line before. A name field
// that starts with ":" gives no entry but does start the index. A file that
// ends with an index line and a line feed has its last line read twice
// (the read at the end leaves the buffer as it was), so the last entry
// stands twice; a look-up meets the first copy.
//
// Contents:
//   1. Construction and destruction.
//   2. Reading the index; the table of names.
//   3. Look-up, release.
#include "libraries/libraryitem.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <new>

#include "operations/operation.h"
#include "paths/pathstring.h"
#include "workspace/context.h"

// ---------------------------------------------------------------------------
// 1. Construction and destruction
// ---------------------------------------------------------------------------

LibraryFileItem::LibraryFileItem(const WIN32_FIND_DATA& found, const char* directory, workspace* owner)
    : DesignFileItem(found, directory, owner), libraryWorkspace(owner) {}

LibraryFileItem::~LibraryFileItem() {
    releaseIndex();
    std::vector<libraryIndexEntry*>().swap(indexEntries);
}

bool LibraryFileItem::isSystemLibrary() { return isSystem(); }

// ---------------------------------------------------------------------------
// 2. Reading the index
// ---------------------------------------------------------------------------

static const char indexKeyword[] = "symloc";
static const size_t lineSize = 1024;

static bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// A byte that ends a field: a blank, or the end of the line.
static bool isFieldEnd(char c) { return static_cast<unsigned char>(c) <= ' ' && (c == '\0' || isBlank(c)); }

// The bytes of a name field by table, for the pass over an index's names:
// those that end the names (the field's end, or ":" before a parent), and
// each byte lowered as _strlwr lowers (ASCII letters only).
static const struct nameByteTables {
    bool stops[256];
    char lower[256];
    nameByteTables() {
        for (int c = 0; c < 256; ++c) {
            stops[c] = c == ':' || isFieldEnd(static_cast<char>(c));
            lower[c] = static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
        }
    }
} nameBytes;

static const char* skipBlanks(const char* p) {
    while (isBlank(*p)) ++p;
    return p;
}

// One decimal number at p, as the C library's scanf reads "%d": an optional
// sign and digits, beyond the range of a long held at its bound, then cut
// to int. Null, with number untouched, when there is no digit.
static const char* readNumber(const char* p, int& number) {
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    if (*p < '0' || *p > '9') return nullptr;
    unsigned long long value = 0;
    const unsigned long long bound = negative ? 1ULL + LONG_MAX : LONG_MAX;
    // Eighteen digits cannot pass the bound; from there on each is checked.
    for (int digits = 0; digits < 18 && *p >= '0' && *p <= '9'; ++digits, ++p)
        value = value * 10 + static_cast<unsigned>(*p - '0');
    const unsigned long long tenth = bound / 10, last = bound % 10;
    for (; *p >= '0' && *p <= '9'; ++p) {
        const unsigned digit = static_cast<unsigned>(*p - '0');
        // Once at the bound, the value stays there.
        value = value > tenth || (value == tenth && digit > last) ? bound : value * 10 + digit;
    }
    const long full = negative ? (value == bound ? LONG_MIN : -static_cast<long>(value)) : static_cast<long>(value);
    number = static_cast<int>(full);
    return p;
}

// The digits that lead the eight bytes at p, all at once: how many there
// are (count) and the number they write. A byte is a digit when, with '0'
// taken out by exclusive or, it is below 10; bit 7 of each byte marks that
// without a carry between bytes. The digits, moved to the top of the word
// behind zeros, are summed in pairs, fours and eights.
static uint32_t leadingDigits(const char* p, size_t& count) {
    const uint64_t eachByte = 0x0101010101010101ull, highBits = 0x8080808080808080ull;
    uint64_t word;
    memcpy(&word, p, 8);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    word = __builtin_bswap64(word); // the first byte lowest, as below
#endif
    const uint64_t values = word ^ ('0' * eachByte);
    const uint64_t digits = ~((values & ~highBits) + (0x80 - 10) * eachByte) & ~values & highBits;
    const uint64_t others = ~digits & highBits;
    count = others ? static_cast<size_t>(__builtin_ctzll(others) / 8) : 8;
    if (!count) return 0;
    uint64_t v = count == 8 ? values : values << (8 * (8 - count));
    v = (v * 10 + (v >> 8)) & 0x00FF00FF00FF00FFull;
    v = (v * 100 + (v >> 16)) & 0x0000FFFF0000FFFFull;
    v = (v * 10000 + (v >> 32)) & 0xFFFFFFFFull;
    return static_cast<uint32_t>(v);
}

// readNumber, quicker for a number of up to eight digits without a sign,
// as indexes write them, where nine bytes can be read at p (end is the
// first byte that cannot). Inlined: the index reader calls it twice a line.
static inline __attribute__((always_inline)) const char* readNumber(const char* p, const char* end, int& number) {
    if (end - p >= 9) {
        size_t count;
        const uint32_t value = leadingDigits(p, count);
        if (count && (count < 8 || p[8] < '0' || p[8] > '9')) {
            number = static_cast<int>(value); // eight digits fit an int
            return p + count;
        }
    }
    return readNumber(p, number);
}

// The fields behind the name: "%d %d %c" at p, where end is the first
// byte that cannot be read (the text ends at a NUL before it).
static void readIndexNumbersAt(const char* p, const char* end, int& offset, int& size, char& mark) {
    // As symbol libraries write them, a blank and eight digits twice: both
    // words read, and no byte looked at alone.
    size_t first = 0, second = 0;
    if (end - p >= 19 && p[0] == ' ' && p[9] == ' ') {
        const uint32_t a = leadingDigits(p + 1, first), b = leadingDigits(p + 10, second);
        if (first == 8 && second == 8 && (p[18] < '0' || p[18] > '9')) {
            offset = static_cast<int>(a);
            size = static_cast<int>(b);
            p = skipBlanks(p + 18);
            if (*p) mark = *p;
            return;
        }
    }
    if (!(p = readNumber(skipBlanks(p), end, offset))) return;
    if (!(p = readNumber(skipBlanks(p), end, size))) return;
    p = skipBlanks(p);
    if (*p) mark = *p;
}

// By hand rather than by sscanf. The index reader takes the name field in
// a pass of its own (generateIndexList) and the numbers as here; this is
// the whole line's reading, against which that pass is checked.
void readIndexFields(const char* text, char* name, int& offset, int& size, char& mark) {
    const char* start = skipBlanks(text);
    if (!*start) return; // no field: everything as it was
    const char* p = start;
    while (!isFieldEnd(*p)) ++p;
    const size_t length = std::min(static_cast<size_t>(p - start), lineSize - 1);
    memcpy(name, start, length);
    name[length] = '\0';
    readIndexNumbersAt(start + length, text + strlen(text) + 1, offset, size, mark);
}

// The lines of a file exactly as a loop of fgets into a buffer of lineSize
// bytes and feof gives them, read by large blocks: an index has tens of
// thousands of lines, and a call of the stream per line cost more than the
// parsing. A line is at most lineSize - 1 bytes, so a longer one comes in
// pieces; NUL bytes are copied as they are. The end of the file is seen
// as fgets sees it: only by a read that meets it, so a file that ends with
// a line feed gives one more failed read, which leaves the buffer alone.
namespace {
class indexLines {
public:
    explicit indexLines(FILE* file_) : file(file_), block(blockSize) {}

    // The next line into line, terminated. False at the end of the file or
    // on a read error, with line untouched (but for an error mid-line).
    bool next(char* line) {
        size_t length = 0;
        while (length < lineSize - 1) {
            if (start == end && !fill()) break;
            const size_t room = std::min(end - start, lineSize - 1 - length);
            const char* from = block.data() + start;
            const char* feed = static_cast<const char*>(memchr(from, '\n', room));
            const size_t take = feed ? static_cast<size_t>(feed - from) + 1 : room;
            memcpy(line + length, from, take);
            length += take;
            start += take;
            position += static_cast<long>(take);
            if (feed) break;
        }
        if (length == 0 || error) return false;
        line[length] = '\0';
        return true;
    }
    bool atEnd() const { return ended; }
    bool failed() const { return error; }
    // The offset of the first byte not yet given out.
    long tell() const { return position; }

private:
    static const size_t blockSize = 64 * 1024;

    bool fill() {
        if (ended || error) return false;
        start = 0;
        end = kvFreadBlock(file, block.data(), block.size());
        if (end == 0) {
            if (ferror(file))
                error = true;
            else
                ended = true;
        }
        return end > 0;
    }

    FILE* file;
    std::vector<char> block;
    size_t start = 0, end = 0;
    long position = 0;
    bool ended = false, error = false;
};
} // namespace

// The keyword of an index line, without regard to case. line has room for
// more than the keyword. Setting the 0x20 bit folds a letter's case and
// makes no other byte into a letter of the keyword, so one compare does.
static bool isIndexLine(const char* line) {
    static const char fold[8] = {0x20, 0x20, 0x20, 0x20, 0x20, 0x20, 0, 0};
    uint64_t head = 0, keyword = 0, bits = 0;
    memcpy(&head, line, 6);
    memcpy(&keyword, indexKeyword, 6);
    memcpy(&bits, fold, 8); // the bytes in the order of the others, on any host
    return (head | bits) == keyword;
}

void LibraryFileItem::generateIndexList() {
    const char* path = getFullPath();
    FILE* file = kvFopen(path, "rb");
    kvTrace("LibraryFileItem::generateIndexList() for %s\n", path);
    if (!file) return;
    indexLines lines(file);
    struct pendingName {
        std::string_view name;
        uint32_t hash;
        libraryIndexEntry* entry;
    };
    std::vector<pendingName> pending;
    // Room for a name per 64 bytes of the file, up to a million: memory
    // that is reserved but never written costs nothing, and a large index
    // would otherwise be copied at every doubling.
    pending.reserve(static_cast<size_t>(std::max<int64_t>(0, std::min<int64_t>(getSize() / 64, int64_t(1) << 20))));
    char line[lineSize] = "";
    int offset = 0, size = 0;
    bool inIndex = false;
    bool ended = false;
    while (!lines.atEnd()) {
        // At the end the read fails and leaves line as it was: the last line
        // is parsed once more, as the format notes say.
        if (!lines.next(line) && lines.failed()) break;
        // The line buffer is whole, and a shorter line differs at its
        // terminator.
        if (!isIndexLine(line)) {
            if (!inIndex) continue;
            // The start of this line: what the offsets count from.
            baseOffset = static_cast<int32_t>(lines.tell()) - static_cast<int32_t>(strlen(line));
            ended = true;
            break;
        }
        char mark = 0;
        inIndex = true;
        // The fields start behind "symloc" and one separator. The name field
        // is read in one pass: its names (up to the first ":") lowered (as
        // _strlwr: ASCII letters only) into lowered and hashed while the
        // bytes pass, then the parent as written, up to a blank.
        if (!line[6] || !line[7]) continue;
        const char* field = skipBlanks(line + 7);
        if (!*field) continue; // no field: no entry, the numbers as they were
        char lowered[lineSize];
        uint32_t hash = nameTable::hashOf("");
        bool comma = false;
        size_t length = 0;
        for (;; ++length) {
            const unsigned char c = static_cast<unsigned char>(field[length]);
            if (nameBytes.stops[c]) break;
            const char low = nameBytes.lower[c];
            lowered[length] = low;
            hash = nameTable::hashOn(hash, low);
            comma |= low == ',';
        }
        size_t fieldLength = length;
        while (!isFieldEnd(field[fieldLength])) ++fieldLength;
        readIndexNumbersAt(field + fieldLength, line + sizeof line, offset, size, mark);
        // names[:parent]; no names, no entry.
        if (length == 0) continue;
        const bool hasParent = fieldLength > length;
        const size_t parentSize = hasParent ? fieldLength - length : 0; // with its terminator
        // The entry, then ",name," in lower case, then the parent.
        char* block = static_cast<char*>(fromPool(sizeof(libraryIndexEntry) + length + 3 + parentSize));
        if (!block) break;
        libraryIndexEntry* entry = new (block) libraryIndexEntry;
        entry->pooled = true;
        char* names = block + sizeof(libraryIndexEntry);
        entry->names = names;
        names[0] = ',';
        memcpy(names + 1, lowered, length);
        // Each single name between two commas goes to the map with its hash
        // (empty names too, as a walk would meet them); the map takes them
        // all behind the loop, at its final size. Mostly there is one, whose
        // hash the pass took.
        if (!comma) {
            pending.push_back({std::string_view(names + 1, length), hash, entry});
        } else {
            size_t nameStart = 1;
            for (size_t i = 1; i <= length + 1; ++i) {
                if (i <= length && names[i] != ',') continue;
                const std::string_view name(names + nameStart, i - nameStart);
                pending.push_back({name, nameTable::hashOf(name), entry});
                nameStart = i + 1;
            }
        }
        names[length + 1] = ',';
        names[length + 2] = '\0';
        if (hasParent) {
            entry->parent = names + length + 3;
            memcpy(entry->parent, field + length + 1, parentSize - 1);
            entry->parent[parentSize - 1] = '\0';
        }
        entry->offset = offset;
        entry->size = size;
        entry->isBlock = mark == 'b';
        entry->owner = this;
        indexEntries.push_back(entry);
    }
    if (!ended) baseOffset = static_cast<int32_t>(lines.tell());
    fclose(file);
    firstEntryOfName.reserve(pending.size());
    for (const pendingName& each : pending) firstEntryOfName.add(each.name, each.hash, each.entry);
}

void* LibraryFileItem::fromPool(size_t size) {
    const size_t blockSize = 64 * 1024;
    const size_t align = alignof(libraryIndexEntry);
    size = (size + align - 1) / align * align;
    if (size > poolLeft) {
        const size_t want = size > blockSize ? size : blockSize;
        std::unique_ptr<char[]> block(new (std::nothrow) char[want]);
        if (!block) return nullptr;
        pool.push_back(std::move(block));
        poolLeft = want;
        poolUsedEnd = pool.back().get();
    }
    void* result = poolUsedEnd;
    poolUsedEnd += size;
    poolLeft -= size;
    return result;
}

// The name table: linear probing; a slot without an entry is empty.

void LibraryFileItem::nameTable::clear() {
    std::vector<slot>().swap(slots);
    held = 0;
}

uint32_t LibraryFileItem::nameTable::hashOf(std::string_view name) {
    uint32_t hash = 2166136261u; // FNV-1a
    for (char c : name) hash = hashOn(hash, c);
    return hash;
}

void LibraryFileItem::nameTable::grow(size_t capacity) {
    std::vector<slot> old;
    old.swap(slots);
    slots.resize(capacity);
    const size_t mask = capacity - 1;
    for (const slot& each : old) {
        if (!each.entry) continue;
        size_t i = each.hash & mask;
        while (slots[i].entry) i = (i + 1) & mask;
        slots[i] = each;
    }
}

void LibraryFileItem::nameTable::reserve(size_t names) {
    size_t capacity = slots.empty() ? 16 : slots.size();
    while ((held + names) * 4 > capacity * 3) capacity *= 2;
    if (capacity != slots.size()) grow(capacity);
}

void LibraryFileItem::nameTable::add(std::string_view name, uint32_t hash, libraryIndexEntry* entry) {
    // name stands in entry's names; one that a slot cannot place is not
    // entered (none read from an index is).
    const uintptr_t at = reinterpret_cast<uintptr_t>(name.data()), names = reinterpret_cast<uintptr_t>(entry->names);
    if (!entry->names || at < names || at - names > UINT16_MAX || name.size() > UINT16_MAX) return;
    const size_t offset = at - names;
    reserve(1);
    const size_t mask = slots.size() - 1;
    size_t i = hash & mask;
    for (; slots[i].entry; i = (i + 1) & mask)
        if (slots[i].hash == hash && slots[i].length == name.size() &&
            memcmp(slots[i].name(), name.data(), name.size()) == 0)
            return; // the first entry of the name keeps it
    slots[i].entry = entry;
    slots[i].hash = hash;
    slots[i].length = static_cast<uint16_t>(name.size());
    slots[i].offset = static_cast<uint16_t>(offset);
    ++held;
}

libraryIndexEntry* LibraryFileItem::nameTable::find(std::string_view name, uint32_t hash) const {
    if (slots.empty()) return nullptr;
    const size_t mask = slots.size() - 1;
    for (size_t i = hash & mask; slots[i].entry; i = (i + 1) & mask)
        if (slots[i].hash == hash && slots[i].length == name.size() &&
            memcmp(slots[i].name(), name.data(), name.size()) == 0)
            return slots[i].entry;
    return nullptr;
}

// Enters each single name of entry into the map, unless an
// earlier entry holds it already.
void LibraryFileItem::indexNames(libraryIndexEntry* entry) {
    const char* names = entry->names;
    if (!names) return;
    // names is ",a,b,": every name stands between two commas.
    const char* start = names + 1;
    for (const char* comma; (comma = strchr(start, ',')) != nullptr; start = comma + 1) {
        const std::string_view name(start, static_cast<size_t>(comma - start));
        firstEntryOfName.add(name, nameTable::hashOf(name), entry);
    }
}

void LibraryFileItem::addIndexEntry(libraryIndexEntry* entry) {
    if (!entry) return;
    entry->owner = this;
    indexEntries.push_back(entry);
    indexNames(entry);
}

// ---------------------------------------------------------------------------
// 3. Look-up, release
// ---------------------------------------------------------------------------

// The first entry whose names hold key as a substring.
libraryIndexEntry* LibraryFileItem::linearSearch(const char* key) const {
    for (libraryIndexEntry* entry : indexEntries)
        if (entry->names && strstr(entry->names, key)) return entry;
    return nullptr;
}

LibraryFileItem::lookUpKey::lookUpKey(const char* name) {
    static_assert(sizeof text == lineSize, "a key holds a line's name");
    if (!name) name = "";
    const size_t take = std::min(strlen(name), sizeof text - 2);
    text[0] = ',';
    memcpy(text + 1, name, take);
    length = take + 1;
    if (length < sizeof text - 1) text[length++] = ',';
    text[length] = '\0';
    _strlwr(text);
    // A key of one name between its two commas matches a whole name of an
    // entry, which the map answers. A name that holds a comma itself, or
    // one cut short by the buffer, can match across names: those take the
    // walk in file order.
    plain = length >= 2 && text[length - 1] == ',' && !memchr(text + 1, ',', length - 2);
    hash = plain ? nameTable::hashOf(std::string_view(text + 1, length - 2)) : 0;
}

libraryIndexEntry* LibraryFileItem::findIndexEntry(const char* name, InternalFunctionObject& op) {
    return findIndexEntry(lookUpKey(name), op);
}

libraryIndexEntry* LibraryFileItem::findIndexEntry(const lookUpKey& key, InternalFunctionObject& op) {
    if (indexEntries.empty()) {
        op.reportAction(KVE_callBackAction::SearchingLibrary, "", this);
        generateIndexList();
    }
    if (!key.plain) return linearSearch(key.text);
    return firstEntryOfName.find(std::string_view(key.text + 1, key.length - 2), key.hash);
}

static uint64_t releases = 0;

uint64_t LibraryFileItem::indexReleases() { return releases; }

void LibraryFileItem::releaseIndex() {
    if (!indexEntries.empty()) ++releases;
    for (libraryIndexEntry* entry : indexEntries) {
        if (entry->pooled) continue;
        delete[] entry->names;
        delete[] entry->parent;
        delete entry;
    }
    pool.clear();
    poolLeft = 0;
    indexEntries.clear();
    firstEntryOfName.clear();
}
