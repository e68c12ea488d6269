// Tests of crc32: the published check values, the running value across
// blocks, and agreement with the one-byte-at-a-time definition.
#include <cstring>
#include <string>

#include "archive/crc32.h"
#include "codectest.h"

#include <gtest/gtest.h>

namespace {

// The whole CRC-32 of `data`, with the start and end steps that the
// archive does, in blocks of `block` bytes.
unsigned long fileCrc(const Bytes& data, size_t block)
{
    unsigned long crc = 0xFFFFFFFFul;
    for (size_t at = 0; at < data.size(); at += block) {
        unsigned size = static_cast<unsigned>(data.size() - at < block ? data.size() - at : block);
        crc = crc32(reinterpret_cast<const char*>(data.data() + at), &size, &crc);
    }
    return crc ^ 0xFFFFFFFFul;
}

// The definition: bit by bit over the reflected polynomial.
unsigned long bitwiseCrc(const Bytes& data)
{
    uint32_t c = 0xFFFFFFFFu;
    for (unsigned char b : data) {
        c ^= b;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
    }
    return c ^ 0xFFFFFFFFu;
}

}  // namespace

TEST(Crc32, PublishedCheckValues)
{
    EXPECT_EQ(fileCrc(bytesOf("123456789"), 4096), 0xCBF43926ul);
    EXPECT_EQ(fileCrc({}, 4096), 0ul) << "no bytes";
    EXPECT_EQ(fileCrc(bytesOf("The quick brown fox jumps over the lazy dog"), 4096), 0x414FA339ul);
    EXPECT_EQ(fileCrc(Bytes(32, 0), 4096), 0x190A55ADul);
    EXPECT_EQ(fileCrc(Bytes(32, 0xFF), 4096), 0xFF6CAB0Bul);
}

TEST(Crc32, ArgumentsAreNotChangedAndOnlyTheLow32BitsCount)
{
    const char text[] = "design";
    unsigned size = 0;
    unsigned long crc = 0x12345678ul;
    EXPECT_EQ(crc32(text, &size, &crc), 0x12345678ul) << "size 0 keeps the value";
    size = 6;
    unsigned long plain = crc32(text, &size, &crc);
    EXPECT_NE(plain, crc);
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(crc, 0x12345678ul);
    unsigned long wide = 0xABCD000012345678ul & ~0ul;
    EXPECT_EQ(crc32(text, &size, &wide), plain);
    EXPECT_LE(plain, 0xFFFFFFFFul);
}

TEST(Crc32, AgreesWithTheDefinitionForAnyBlocking)
{
    for (size_t size : {size_t(1), size_t(7), size_t(8), size_t(9), size_t(63), size_t(4096), size_t(100003)}) {
        Bytes data = randomBytes(size, static_cast<uint32_t>(size));
        unsigned long expected = bitwiseCrc(data);
        for (size_t block : {size_t(1), size_t(3), size_t(8), size_t(13), size_t(4096)})
            EXPECT_EQ(fileCrc(data, block), expected) << size << " bytes in blocks of " << block;
    }
}
