// Small helpers of the two codecs: unaligned little-endian loads and the
// length of the common prefix of two byte runs.
#pragma once

#include <cstdint>
#include <cstring>

// The 8 bytes at p as a little-endian number.
inline uint64_t loadLittle64(const unsigned char* p)
{
    uint64_t v;
    std::memcpy(&v, p, sizeof v);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    v = __builtin_bswap64(v);
#endif
    return v;
}

// How many bytes a[from..] and b[from..] have in common, counting from
// `from` up to at most `limit`. Reads no byte at or beyond index `limit`.
inline unsigned commonLength(const unsigned char* a, const unsigned char* b, unsigned from, unsigned limit)
{
    unsigned n = from;
    while (n + 8 <= limit) {
        uint64_t x = loadLittle64(a + n) ^ loadLittle64(b + n);
        if (x) return n + (unsigned)(__builtin_ctzll(x) >> 3);
        n += 8;
    }
    while (n < limit && a[n] == b[n]) ++n;
    return n;
}
