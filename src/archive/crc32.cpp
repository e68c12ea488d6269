// crc32 (see crc32.h): one byte at a time through the 256-entry table.
// Temporary stand-in of the archive branch.
#include "archive/crc32.h"

#include <cstdint>

namespace {
struct CrcTable {
    uint32_t entry[256];
};
constexpr CrcTable makeCrcTable() {
    CrcTable t{};
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        t.entry[n] = c;
    }
    return t;
}
constexpr CrcTable crcTable = makeCrcTable();
}  // namespace

unsigned long crc32(const char* buffer, const unsigned int* size, const unsigned long* crc) {
    uint32_t c = static_cast<uint32_t>(*crc);
    const unsigned char* p = reinterpret_cast<const unsigned char*>(buffer);
    for (unsigned int i = 0; i < *size; ++i) c = crcTable.entry[(c ^ p[i]) & 0xFF] ^ (c >> 8);
    return c;
}
