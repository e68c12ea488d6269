// Tests of explode: the results and the order of their tests, streams built
// by hand that only a decoder sees, cut-off and damaged streams, and what its
// call-backs see.
//
// Divided into: failure results, hand-built streams (literals, matches,
// lengths, distances), the end of the input, damaged streams, and the
// call-back contract. The fixed vectors, both ways, are in implode_test.cpp.
#include <string>

#include "codectest.h"

#include <gtest/gtest.h>

namespace {

const unsigned dictionaryBitsAll[] = {4, 5, 6};

// n distinct-looking bytes, as literals, so that any match into them shows
// where it copied from.
Bytes history(size_t n)
{
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) b[i] = static_cast<unsigned char>(i * 7 + i / 256);
    return b;
}

void putLiterals(StreamWriter& w, Bytes& expected, const Bytes& bytes)
{
    for (unsigned char c : bytes) w.literal(c);
    expected.insert(expected.end(), bytes.begin(), bytes.end());
}

// Ends the stream of w with the end mark and expects it to decode to
// `expected` with result 0.
void expectDecodes(StreamWriter& w, const Bytes& expected, const std::string& what = "")
{
    w.endMark();
    CodecRun run = runExplode(w.finish());
    EXPECT_EQ(run.result, 0u) << what;
    EXPECT_TRUE(run.output == expected) << what;
}

}  // namespace

// --- failure results ---------------------------------------------------------

TEST(ExplodeResults, ShortFirstReadIsResult3)
{
    const struct { Bytes stream; unsigned piece; } cases[] = {
        {{}, 0}, {bytesOf({0x00}), 0}, {bytesOf({0x00, 0x06}), 0}, {bytesOf({0x00, 0x06, 0x01}), 0},
        {bytesOf({0x00, 0x06, 0x01, 0xFF}), 0},   // the valid stream of an empty input
        {bytesOf({0x07, 0x09, 0x00, 0x00}), 0},   // tested before the header bytes
        // A good stream, but a read call-back that delivers 4 bytes at a
        // time: the first read counts even if more would follow.
        {bytesOf({0x00, 0x06, 0x82, 0x02, 0xFE, 0x01}), 4},
    };
    for (const auto& c : cases) {
        CodecRun run = runExplode(c.stream, c.piece);
        EXPECT_EQ(run.result, 3u) << c.stream.size() << " bytes";
        EXPECT_TRUE(run.writeSizes.empty()) << "nothing is handed over";
        EXPECT_EQ(run.readWants.size(), 1u);
    }
}

TEST(ExplodeResults, HeaderChecksInOrder)
{
    const struct { int mode, bits; unsigned result; } cases[] = {
        {0, 7, 1}, {0, 3, 1}, {0, 0, 1}, {1, 0xFF, 1},
        {2, 7, 1},   // the dictionary bits are tested before the mode
        {2, 6, 2}, {0xFF, 4, 2}, {3, 5, 2},
        {0, 4, 0}, {1, 5, 0}, {1, 6, 0},
    };
    for (const auto& c : cases) {
        // Behind the header: the end mark and some slack bytes.
        CodecRun run = runExplode(bytesOf({c.mode, c.bits, 0x01, 0xFF, 0x00}));
        EXPECT_EQ(run.result, c.result) << "mode " << c.mode << " bits " << c.bits;
        if (c.result != 0) {
            EXPECT_TRUE(run.writeSizes.empty());
        }
    }
}

TEST(ExplodeResults, CutOffStreamIsResult4AndKeepsWhatItHeld)
{
    // Cuts of large streams in both modes, and every cut of a small one
    // (below 5 bytes the first read is short: result 3).
    const Bytes large = designText(20000, 4), small = bytesOf("R12 N001 N002 4.7k\r\nR13 N001 N002 4.7k\r\n");
    const struct { const Bytes& input; unsigned mode, dictionary; bool everyCut; } cases[] = {
        {large, 0, 2048, false}, {large, 1, 2048, false}, {small, 1, 1024, true}};
    for (const auto& c : cases) {
        Bytes stream = runImplode(c.input, c.mode, c.dictionary).output;
        std::vector<size_t> keeps = {5, 6, 100, stream.size() / 2, stream.size() - 2, stream.size() - 1};
        if (c.everyCut)
            for (size_t keep = 0; keep < stream.size(); ++keep) keeps.push_back(keep);
        for (size_t keep : keeps) {
            if (keep >= stream.size()) continue;
            CodecRun run = runExplode(Bytes(stream.begin(), stream.begin() + keep));
            EXPECT_EQ(run.result, keep < 5 ? 3u : 4u) << "kept " << keep << " of " << stream.size();
            ASSERT_LE(run.output.size(), c.input.size());
            EXPECT_TRUE(std::equal(run.output.begin(), run.output.end(), c.input.begin()))
                << "output is a prefix of the input";
            if (keep >= 5) {
                ASSERT_FALSE(run.writeSizes.empty()) << "the last call is made on result 4 too";
            }
        }
        EXPECT_EQ(runExplode(stream).result, 0u);
    }
}

// --- hand-built streams ------------------------------------------------------

TEST(ExplodeLiterals, EveryByteInBothModes)
{
    Bytes all(256);
    for (unsigned i = 0; i < 256; ++i) all[i] = static_cast<unsigned char>(i);
    for (unsigned mode : {0u, 1u})
        for (unsigned bits : dictionaryBitsAll) {
            StreamWriter w(mode, bits);
            Bytes expected;
            putLiterals(w, expected, all);
            // and backwards, so that each code (in ASCII mode, of every
            // length from 4 to 13 bits) also follows every other length
            putLiterals(w, expected, Bytes(all.rbegin(), all.rend()));
            expectDecodes(w, expected, "mode " + std::to_string(mode) + " bits " + std::to_string(bits));
        }
}

TEST(ExplodeMatches, EveryLengthAndDistanceOfEachDictionary)
{
    // After a history longer than the dictionary: length 2 at every
    // distance up to 256; every length up to 518, including those implode
    // never writes; and the greatest distance, D = (63 << bits) | mask.
    for (unsigned mode : {0u, 1u})
        for (unsigned bits : dictionaryBitsAll) {
            const unsigned greatest = 64u << bits;
            StreamWriter w(mode, bits);
            Bytes expected;
            putLiterals(w, expected, history(greatest + 10));
            for (unsigned distance = 1; distance <= 256; ++distance) {
                w.match(2, distance);
                expandMatch(expected, 2, distance);
            }
            for (unsigned length = 2; length <= 518; ++length) {
                unsigned distance = length == 2 ? 1 + length % 256 : 1 + (length * 37) % greatest;
                w.match(length, distance);
                expandMatch(expected, length, distance);
            }
            w.match(3, greatest);
            expandMatch(expected, 3, greatest);
            w.match(200, greatest - 1);
            expandMatch(expected, 200, greatest - 1);
            expectDecodes(w, expected, "mode " + std::to_string(mode) + " bits " + std::to_string(bits));
        }
}

TEST(ExplodeMatches, LongMatchesAcrossTheOutputBlocks)
{
    // Distance one repeats the last byte; then long overlapping copies that
    // cross the 4096-byte hand-over again and again, at distances below and
    // above the copy's stride.
    StreamWriter w(0, 6);
    w.literal('x');
    w.match(516, 1);
    w.literal('y');
    w.match(3, 1);
    Bytes expected(517, 'x');
    expected.insert(expected.end(), 4, 'y');
    putLiterals(w, expected, history(13));
    for (int i = 0; i < 200; ++i) {
        unsigned length = 300 + (i * 97) % 219;
        unsigned distance = 1 + (i * 131) % (expected.size() < 4096 ? expected.size() : 4096);
        w.match(length, distance);
        expandMatch(expected, length, distance);
        if (i % 17 == 0) putLiterals(w, expected, history(3));
    }
    expectDecodes(w, expected);
}

TEST(ExplodeMatches, ReachingBehindTheOutputReadsZerosOnEveryCall)
{
    // A damaged stream that copies from before its own first byte gets zeros,
    // never bytes of an earlier stream decoded with the same work area.
    static ExplodeWork work;
    Bytes first = runImplode(randomBytes(10000, 8), 0, 4096).output;
    CodecRun ignored;
    CodecIo io{&first, 0, 0, &ignored};
    ASSERT_EQ(explode(testRead, testWrite, &work, &io), 0u);

    StreamWriter w(0, 6);
    w.literal('a');
    w.match(10, 4000);
    w.endMark();
    Bytes stream = w.finish();
    CodecRun run;
    CodecIo io2{&stream, 0, 0, &run};
    EXPECT_EQ(explode(testRead, testWrite, &work, &io2), 0u);
    Bytes expected = bytesOf("a");
    expected.insert(expected.end(), 10, 0);
    EXPECT_EQ(run.output, expected);
}

// --- the end of the input ----------------------------------------------------

TEST(ExplodeEnd, ATokenCountsOnlyWithEightBitsBehindIt)
{
    // Eight binary literals (72 bits) and the end mark (16 bits) fill the 11
    // bytes behind the header exactly, so the end mark's extra bits are the
    // input's last. The decoder keeps eight bits of look-ahead: cut off, the
    // stream gives the tokens that have eight more bits behind them, and no
    // others.
    StreamWriter w(0, 6);
    Bytes text;
    putLiterals(w, text, bytesOf("netlist!"));   // literal k ends at bit 9k
    w.endMark();
    Bytes stream = w.finish();
    ASSERT_EQ(stream.size(), 13u);
    for (size_t keep = 5; keep <= stream.size(); ++keep) {
        size_t bitsBehindHeader = (keep - 2) * 8;
        size_t literals = 0;
        while (literals < 8 && (literals + 1) * 9 + 8 <= bitsBehindHeader) ++literals;
        CodecRun run = runExplode(Bytes(stream.begin(), stream.begin() + keep));
        EXPECT_EQ(run.result, keep == stream.size() ? 0u : 4u) << "kept " << keep;
        EXPECT_EQ(run.output, Bytes(text.begin(), text.begin() + literals)) << "kept " << keep;
    }
    // Data behind the end mark is not read.
    stream.insert(stream.end(), 5000, 0xEE);
    CodecRun run = runExplode(stream);
    EXPECT_EQ(run.result, 0u);
    EXPECT_EQ(run.output, text);
    EXPECT_EQ(run.readWants.size(), 1u) << "the end mark lay in the first block";
}

// --- damaged streams ---------------------------------------------------------

TEST(ExplodeDamaged, FlippedBitsAndArbitraryBytesNeverCrashAndGiveAKnownResult)
{
    Bytes input = designText(30000, 6);
    Bytes stream = runImplode(input, 1, 4096).output;
    for (size_t i = 2; i < stream.size(); i += 97) {
        Bytes bad = stream;
        bad[i] ^= static_cast<unsigned char>(1u << (i % 8));
        CodecRun run = runExplode(bad);
        EXPECT_TRUE(run.result == 0u || run.result == 4u) << "byte " << i << " result " << run.result;
        ASSERT_FALSE(run.writeSizes.empty());
    }
    // Arbitrary bytes behind a valid header.
    for (uint32_t seed = 1; seed <= 200; ++seed) {
        Bytes noise = randomBytes(5 + seed * 37, seed);
        noise[0] = static_cast<unsigned char>(seed % 2);
        noise[1] = static_cast<unsigned char>(4 + seed % 3);
        CodecRun run = runExplode(noise);
        EXPECT_TRUE(run.result == 0u || run.result == 4u) << "seed " << seed;
    }
}

// --- call-backs --------------------------------------------------------------

TEST(ExplodeCallbacks, BlocksOf4096ThenTheRestFromZeroBytesUp)
{
    const struct { size_t size; std::vector<unsigned> calls; } cases[] = {
        {1, {1}},
        {4095, {4095}},
        {4096, {4096, 0}},   // the position reaches 8192 with the last token
        {4097, {4096, 1}},
        {8192, {4096, 4096, 0}},
        {10000, {4096, 4096, 1808}},
    };
    for (const auto& c : cases) {
        Bytes input = randomBytes(c.size, 12);
        CodecRun run = runExplode(runImplode(input, 0, 4096).output);
        EXPECT_EQ(run.result, 0u) << c.size;
        EXPECT_EQ(run.writeSizes, c.calls) << c.size;
        EXPECT_TRUE(run.output == input) << c.size;
    }
}

TEST(ExplodeCallbacks, AlwaysAsksFor2048AndTakesShortReads)
{
    Bytes input = designText(60000, 13);
    Bytes stream = runImplode(input, 0, 4096).output;
    for (unsigned piece : {0u, 5u, 13u, 1000u}) {
        CodecRun run = runExplode(stream, piece);
        EXPECT_EQ(run.result, 0u) << "pieces of " << piece;
        EXPECT_TRUE(run.output == input) << "pieces of " << piece;
        for (unsigned want : run.readWants) EXPECT_EQ(want, 2048u);
    }
}
