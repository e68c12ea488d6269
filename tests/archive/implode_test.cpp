// Tests of implode: the streams it must write to the byte, its parameter
// checks, and what its call-backs see.
//
// Divided into: the code tables, fixed streams (small vectors both ways,
// and the reference files), parameters, the call-back contract, and
// independence of how the input arrives and of the work area's old
// contents.
#include <string>

#include "codectest.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

namespace {

// The sum of 2^-bits over a code, as a fraction of 2^13: a complete prefix
// code gives exactly 2^13, so that every bit pattern reads as a symbol.
template <typename Bits>
unsigned kraftSum(const Bits* bits, unsigned count)
{
    unsigned sum = 0;
    for (unsigned i = 0; i < count; ++i) sum += 1u << (13 - bits[i]);
    return sum;
}

// True if no code of the table is a prefix of another (least significant
// bit first).
template <typename Code, typename Bits>
bool prefixFree(const Code* codes, const Bits* bits, unsigned count)
{
    for (unsigned a = 0; a < count; ++a)
        for (unsigned b = 0; b < count; ++b) {
            if (a == b || bits[a] > bits[b]) continue;
            if ((codes[b] & ((1u << bits[a]) - 1)) == codes[a]) return false;
        }
    return true;
}

Bytes referenceFile(const std::string& name) { return bytesOf(readFile(testData("archive/" + name))); }

}  // namespace

// --- the code tables ---------------------------------------------------------

// The entries themselves are pinned by the reference streams below: the
// mixed file holds every byte value, imploded in both modes.
TEST(CodeTables, AreCompletePrefixCodes)
{
    EXPECT_EQ(kraftSum(lengthCodeBits, 16), 1u << 13) << "length classes";
    EXPECT_TRUE(prefixFree(lengthCodes, lengthCodeBits, 16));
    EXPECT_EQ(kraftSum(distanceCodeBits, 64), 1u << 13) << "distance high parts";
    EXPECT_TRUE(prefixFree(distanceCodes, distanceCodeBits, 64));
    EXPECT_EQ(kraftSum(asciiCodeBits, 256), 1u << 13) << "ASCII literals";
    EXPECT_TRUE(prefixFree(asciiCodes, asciiCodeBits, 256));
}

// --- fixed streams -----------------------------------------------------------

TEST(ImplodeStreams, SmallVectorsBothWays)
{
    // Worked out bit by bit, least significant bit first: a literal is 0
    // and the byte (binary) or its code (ASCII); the end mark is 1, length
    // class 15 (0000000) and 8 extra bits of 1.
    const struct { const char* what; unsigned mode; Bytes input, stream; } cases[] = {
        {"empty input", 0, {}, bytesOf({0x00, 0x06, 0x01, 0xFF})},
        {"one byte", 0, bytesOf("A"), bytesOf({0x00, 0x06, 0x82, 0x02, 0xFE, 0x01})},
        {"two literals, then length 38 at distance 2 (distance 1 is never found)", 0, Bytes(40, 0x61),
         bytesOf({0x00, 0x06, 0xC2, 0x84, 0x85, 0xFD, 0x20, 0xE0, 0x1F})},
        {"'e' in ASCII mode: 5 bits 0x1B", 1, bytesOf("e"), bytesOf({0x01, 0x06, 0x76, 0xC0, 0x3F})},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(runImplode(c.input, c.mode, 4096).output, c.stream) << c.what;
        CodecRun back = runExplode(c.stream);
        EXPECT_EQ(back.result, c.input.empty() ? 3u : 0u) << c.what << ": explode refuses a stream of 4 bytes";
        EXPECT_EQ(back.output, c.input) << c.what;
    }
}

TEST(ImplodeStreams, ReferenceFilesToTheByte)
{
    for (const char* name : {"amp_stage.cir", "mixed.bin"}) {
        Bytes input = referenceFile(name);
        ASSERT_FALSE(input.empty()) << name;
        for (unsigned mode : {0u, 1u})
            for (unsigned dictionary : {1024u, 2048u, 4096u}) {
                std::string stream = std::string(name) + (mode ? ".ascii" : ".binary") +
                                     std::to_string(dictionary) + ".imp";
                Bytes expected = referenceFile(stream);
                ASSERT_FALSE(expected.empty()) << stream;
                EXPECT_TRUE(runImplode(input, mode, dictionary).output == expected) << stream;
                CodecRun back = runExplode(expected);
                EXPECT_EQ(back.result, 0u) << stream;
                EXPECT_TRUE(back.output == input) << stream;
            }
    }
}

// --- parameters --------------------------------------------------------------

TEST(ImplodeParameters, BadValuesFailBeforeAnyCall)
{
    const struct { unsigned mode, dictionary, result; } cases[] = {
        {0, 0, 1}, {0, 512, 1}, {0, 4095, 1}, {0, 8192, 1}, {1, 1000, 1},
        {2, 4096, 2}, {0xFFFFFFFF, 1024, 2},
        {2, 8192, 1},   // the dictionary size is tested first
    };
    for (const auto& c : cases) {
        CodecRun run = runImplode(bytesOf("data"), c.mode, c.dictionary);
        EXPECT_EQ(run.result, c.result) << "mode " << c.mode << " dictionary " << c.dictionary;
        EXPECT_TRUE(run.readWants.empty());
        EXPECT_TRUE(run.writeSizes.empty());
    }
}

TEST(ImplodeParameters, AreNotChanged)
{
    static ImplodeWork work;
    Bytes input = bytesOf("abc");
    CodecRun run;
    CodecIo io{&input, 0, 0, &run};
    unsigned mode = 1, dictionary = 2048;
    EXPECT_EQ(implode(testRead, testWrite, &work, &io, &mode, &dictionary), 0u);
    EXPECT_EQ(mode, 1u);
    EXPECT_EQ(dictionary, 2048u);
}

// --- call-backs --------------------------------------------------------------

// Every write call but the last hands over 2048 bytes and the last 1 to
// 2048; every read asks for 1 to 4096 bytes, the first for 4096.
static void expectCallSizes(const CodecRun& run, const std::string& what)
{
    ASSERT_FALSE(run.writeSizes.empty()) << what;
    for (size_t i = 0; i + 1 < run.writeSizes.size(); ++i) EXPECT_EQ(run.writeSizes[i], 2048u) << what << " call " << i;
    EXPECT_GE(run.writeSizes.back(), 1u) << what;
    EXPECT_LE(run.writeSizes.back(), 2048u) << what;
    ASSERT_FALSE(run.readWants.empty()) << what;
    EXPECT_EQ(run.readWants.front(), 4096u) << what;
    for (unsigned want : run.readWants) {
        EXPECT_GE(want, 1u) << what;
        EXPECT_LE(want, 4096u) << what;
    }
}

TEST(ImplodeCallbacks, WritesWholeBlocksOf2048ThenTheRestAndReadsAtMost4096)
{
    for (size_t size : {size_t(1), size_t(5000), size_t(100000), size_t(300000)})
        expectCallSizes(runImplode(randomBytes(size, 3), 0, 4096), std::to_string(size) + " bytes");
    expectCallSizes(runImplode(randomBytes(50000, 9), 1, 1024), "ASCII, 1024");
    // A stream ending on a block boundary still ends with a non-empty call.
    // Random bytes in binary mode cost 9 bits each; look for inputs whose
    // stream is an exact multiple of 2048 bytes, or one byte more.
    int found = 0;
    for (size_t size = 1800; size < 2000 && found < 2; ++size) {
        CodecRun run = runImplode(randomBytes(size, 5), 0, 4096);
        if (run.output.size() % 2048 > 1) continue;
        ++found;
        expectCallSizes(run, "stream of " + std::to_string(run.output.size()) + " bytes");
    }
    EXPECT_GT(found, 0) << "no input of the range hit a block boundary";
}

TEST(ImplodeCallbacks, OutputDependsNeitherOnHowTheInputArrivesNorOnTheWorkArea)
{
    // Text, and sizes whose last block reaches the very end of the window,
    // where the search looks past the data.
    const Bytes inputs[] = {designText(70000, 21), smallAlphabet(4095, 2, 17), smallAlphabet(4096 + 4095, 2, 17),
                            smallAlphabet(12287, 2, 17)};
    for (const Bytes& input : inputs)
        for (unsigned dictionary : {1024u, 2048u, 4096u}) {
            std::string what = std::to_string(input.size()) + " bytes, dictionary " + std::to_string(dictionary);
            Bytes zeroed = runImplode(input, 0, dictionary, 0, 0x00).output;
            for (unsigned char garbage : {0xFF, 0x61})
                EXPECT_TRUE(runImplode(input, 0, dictionary, 0, garbage).output == zeroed) << what;
            for (unsigned piece : {1u, 7u, 516u, 2048u, 4095u})
                EXPECT_TRUE(runImplode(input, 0, dictionary, piece).output == zeroed) << what << ", by " << piece;
        }
}
