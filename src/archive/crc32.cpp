// crc32 (see crc32.h).
//
// Divided into: the tables (constant data) and the routine. The result is
// that of the classic one-byte-at-a-time loop over the 256-entry table,
// crc = table[(crc ^ byte) & 0xFF] ^ (crc >> 8); to keep pace with the
// codecs it takes eight bytes per step through eight derived tables
// ("slicing by eight"), and the bytes that do not fill a step go one at a time.
#include "archive/crc32.h"

#include <cstdint>

#include "archive/codecbits.h"

namespace {

// entry[0] is the published table; entry[k][n] is the value of byte n
// followed by k zero bytes.
struct CrcTables {
    uint32_t entry[8][256];
};

constexpr CrcTables makeCrcTables()
{
    CrcTables t{};
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n;
        for (int bit = 0; bit < 8; ++bit) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        t.entry[0][n] = c;
    }
    for (int k = 1; k < 8; ++k)
        for (uint32_t n = 0; n < 256; ++n) {
            uint32_t c = t.entry[k - 1][n];
            t.entry[k][n] = t.entry[0][c & 0xFF] ^ (c >> 8);
        }
    return t;
}

constexpr CrcTables tables = makeCrcTables();

}  // namespace

unsigned long crc32(const char* buffer, const unsigned int* size, const unsigned long* crc)
{
    const unsigned char* p = reinterpret_cast<const unsigned char*>(buffer);
    unsigned n = *size;
    uint32_t c = static_cast<uint32_t>(*crc);
    const auto& t = tables.entry;
    for (; n >= 8; n -= 8, p += 8) {
        uint64_t v = loadLittle64(p) ^ c;
        c = t[7][v & 0xFF] ^ t[6][(v >> 8) & 0xFF] ^ t[5][(v >> 16) & 0xFF] ^ t[4][(v >> 24) & 0xFF] ^
            t[3][(v >> 32) & 0xFF] ^ t[2][(v >> 40) & 0xFF] ^ t[1][(v >> 48) & 0xFF] ^ t[0][v >> 56];
    }
    for (; n > 0; --n, ++p) c = t[0][(c ^ *p) & 0xFF] ^ (c >> 8);
    return c;
}
