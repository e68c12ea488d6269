// Text services: comparisons without regard to case, FormatMessageA and
// LocalFree.
//
// _stricmp and its kin compare the bytes lowered to ASCII lower case, as the
// C runtime does in the "C" locale. lstrcmpiA orders as a user expects to
// see names listed (the Windows word sort, reduced to ASCII): punctuation
// before digits before letters, letters without regard to case; it is 0
// exactly when the two texts are equal but for ASCII case.
//
//   1. _stricmp, _strcmpi, _strnicmp, _strlwr, lstrcmpiA
//   2. FormatMessageA, LocalFree
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/internal.h"

// ---------------------------------------------------------------------------
// 1. Comparisons
// ---------------------------------------------------------------------------

// What _stricmp returns for a null argument (errno is then EINVAL).
static const int kCompareError = INT_MAX;

static inline int lowerAscii(unsigned char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; }

int _strnicmp(const char* a, const char* b, size_t count) {
    if (!a || !b) {
        errno = EINVAL;
        return kCompareError;
    }
    for (size_t i = 0; i < count; ++i) {
        int x = lowerAscii(static_cast<unsigned char>(a[i]));
        int y = lowerAscii(static_cast<unsigned char>(b[i]));
        if (x != y) return x - y;
        if (!x) break;
    }
    return 0;
}

int _stricmp(const char* a, const char* b) { return _strnicmp(a, b, SIZE_MAX); }

int _strcmpi(const char* a, const char* b) { return _strnicmp(a, b, SIZE_MAX); }

char* _strlwr(char* text) {
    if (!text) {
        errno = EINVAL;
        return nullptr;
    }
    // Eight bytes at a time: a scan lowers the text of every symbol it
    // reads. A byte is a capital when its low seven bits lie in 'A'..'Z'
    // and its high bit is clear; adding to the seven bits sets bit 7 of
    // each byte for ">= 'A'" and for "> 'Z'" without carries between bytes.
    const size_t length = strlen(text);
    const uint64_t ones = 0x0101010101010101ull, highs = 0x8080808080808080ull;
    size_t i = 0;
    for (; i + 8 <= length; i += 8) {
        uint64_t word;
        memcpy(&word, text + i, 8);
        const uint64_t low = word & ~highs;
        const uint64_t atLeastA = low + (0x80 - 'A') * ones;
        const uint64_t pastZ = low + (0x80 - 'Z' - 1) * ones;
        const uint64_t capitals = atLeastA & ~pastZ & ~word & highs;
        word |= capitals >> 2; // bit 7 to bit 5: 'A' + 0x20 = 'a'
        memcpy(text + i, &word, 8);
    }
    for (; i < length; ++i) text[i] = static_cast<char>(lowerAscii(static_cast<unsigned char>(text[i])));
    return text;
}

// Sort weight of a byte for lstrcmpiA.
static int sortWeight(unsigned char c) {
    if (c >= 'a' && c <= 'z') return 0x300 + (c - 'a');
    if (c >= 'A' && c <= 'Z') return 0x300 + (c - 'A');
    if (c >= '0' && c <= '9') return 0x200 + (c - '0');
    if (c < 0x80) return 0x100 + c;
    return 0x400 + c;
}

int lstrcmpiA(const char* a, const char* b) {
    if (!a || !b) return a == b ? 0 : (a ? 1 : -1);
    const unsigned char* p = reinterpret_cast<const unsigned char*>(a);
    const unsigned char* q = reinterpret_cast<const unsigned char*>(b);
    for (;; ++p, ++q) {
        if (!*p || !*q) return *p ? 1 : (*q ? -1 : 0);
        int x = sortWeight(*p), y = sortWeight(*q);
        if (x != y) return x < y ? -1 : 1;
    }
}

// ---------------------------------------------------------------------------
// 2. FormatMessageA
// ---------------------------------------------------------------------------

// Expands the inserts of `source`: %1 to %9 from `arguments` (a following
// "!...!" printf format is passed over: the inserts are strings),
// %0 ends the text, %n a line feed, %t a tab, %r a carriage return, %% and
// %<other> that character. False if an insert has no argument.
static bool expandInserts(const char* source, const char* const* arguments, std::string& out) {
    for (const char* p = source; *p; ++p) {
        if (*p != '%') {
            out += *p;
            continue;
        }
        char c = *++p;
        if (!c) break;
        if (c >= '1' && c <= '9') {
            if (!arguments) return false;
            const char* insert = arguments[c - '1'];
            if (p[1] == '!') {
                const char* end = strchr(p + 2, '!');
                if (end) p = end;
            }
            out += insert ? insert : "(null)";
        } else if (c == '0') {
            break;
        } else if (c == 'n') {
            out += '\n';
        } else if (c == 't') {
            out += '\t';
        } else if (c == 'r') {
            out += '\r';
        } else {
            out += c;
        }
    }
    return true;
}

DWORD FormatMessageA(DWORD flags, const void* source, DWORD, DWORD, char* buffer, DWORD size,
                     const char* const* arguments) {
    if (!(flags & FORMAT_MESSAGE_FROM_STRING) || (flags & (FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM)) ||
        !source || !buffer) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    std::string text;
    if (flags & FORMAT_MESSAGE_IGNORE_INSERTS) {
        text = static_cast<const char*>(source);
    } else if (!expandInserts(static_cast<const char*>(source),
                              (flags & FORMAT_MESSAGE_ARGUMENT_ARRAY) ? arguments : nullptr, text)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) {
        size_t bytes = std::max<size_t>(text.size() + 1, size);
        char* block = static_cast<char*>(malloc(bytes));
        if (!block) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return 0;
        }
        memcpy(block, text.c_str(), text.size() + 1);
        *reinterpret_cast<char**>(buffer) = block;
        return static_cast<DWORD>(text.size());
    }
    if (text.size() + 1 > size) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    memcpy(buffer, text.c_str(), text.size() + 1);
    return static_cast<DWORD>(text.size());
}

void* LocalFree(void* memory) {
    free(memory);
    return nullptr;
}
