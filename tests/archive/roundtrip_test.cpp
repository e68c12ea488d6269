// Round trips through implode and explode: generated inputs of many kinds
// and sizes, and inputs shaped for the match search, in both literal modes
// and with all three dictionary sizes.
//
// Sizes sit at and around the boundaries of the codecs' blocks: 516 (the
// look-ahead), 2048 (an output block of implode), 4096 (an input block of
// implode and an output block of explode), 4096 + 516, and their multiples,
// and a few megabytes.
#include <string>

#include "codectest.h"

#include <gtest/gtest.h>

namespace {

struct Kind {
    const char* name;
    Bytes (*make)(size_t size, uint32_t seed);
};

const Kind kinds[] = {
    {"random", [](size_t n, uint32_t s) { return randomBytes(n, s); }},
    {"text", [](size_t n, uint32_t s) { return designText(n, s); }},
    {"two letters", [](size_t n, uint32_t s) { return smallAlphabet(n, 2, s); }},
    {"runs", [](size_t n, uint32_t s) { return runsOf(n, s); }},
    {"zeros", [](size_t n, uint32_t) { return Bytes(n, 0); }},
    {"one value", [](size_t n, uint32_t) { return Bytes(n, 0xFF); }},
};

// Compresses and expands `input` in every mode and dictionary size, and
// checks that the result is the input. An empty input gives the stream of
// 4 bytes that explode refuses.
void roundTrip(const Bytes& input, const std::string& what)
{
    for (unsigned mode : {0u, 1u})
        for (unsigned dictionary : {1024u, 2048u, 4096u}) {
            CodecRun packed = runImplode(input, mode, dictionary);
            ASSERT_EQ(packed.result, 0u);
            CodecRun back = runExplode(packed.output);
            if (input.empty()) {
                EXPECT_EQ(packed.output.size(), 4u);
                EXPECT_EQ(back.result, 3u);
                continue;
            }
            ASSERT_EQ(back.result, 0u) << what << " mode " << mode << " dictionary " << dictionary;
            ASSERT_TRUE(back.output == input) << what << " mode " << mode << " dictionary " << dictionary;
        }
}

}  // namespace

TEST(RoundTrip, SizesAroundTheBlockBoundaries)
{
    const size_t sizes[] = {
        0, 1, 2, 3, 8, 515, 516, 517, 1023, 1024, 1025, 2047, 2048, 2049, 4095, 4096, 4097,
        4611, 4612, 4613, 6143, 6144, 6145, 8191, 8192, 8193, 8708, 12287, 12288, 12289,
        16384, 16385, 20480 + 516, 40959, 40960, 40961,
    };
    uint32_t seed = 1;
    for (const Kind& kind : kinds)
        for (size_t size : sizes) {
            SCOPED_TRACE(std::string(kind.name) + ", " + std::to_string(size) + " bytes");
            roundTrip(kind.make(size, seed++), kind.name);
            if (HasFatalFailure()) return;
        }
}

TEST(RoundTrip, ShapedInputs)
{
    std::vector<std::pair<std::string, Bytes>> inputs;
    // A block of random bytes repeated at distances just inside and just
    // outside each dictionary, so that the longest usable distance decides.
    for (size_t gap : {1021u, 1022u, 1023u, 1024u, 1025u, 2045u, 2047u, 2048u, 4093u, 4095u, 4096u, 4097u}) {
        Bytes block = randomBytes(600, static_cast<uint32_t>(gap)), input = block;
        Bytes filler = randomBytes(gap - 600, 99);
        input.insert(input.end(), filler.begin(), filler.end());
        input.insert(input.end(), block.begin(), block.end());
        inputs.emplace_back("repeat at gap " + std::to_string(gap), input);
    }
    // Long matches with many candidates: the search's long phase.
    for (unsigned period = 1; period <= 12; ++period) {
        Bytes input(30000);
        for (size_t i = 0; i < input.size(); ++i)
            input[i] = static_cast<unsigned char>('a' + i % period + (i % 1009 == 0 ? 9 : 0));
        inputs.emplace_back("period " + std::to_string(period), input);
    }
    // A second half that repeats the first but stops early: the match at
    // its start reaches past the end and must be shortened, never run on
    // into what the window held beyond the data.
    Bytes cut = designText(3000, 11), head(cut.begin(), cut.begin() + 700);
    cut.insert(cut.end(), head.begin(), head.end());
    inputs.emplace_back("repeat cut off by the end", cut);
    // Some megabytes.
    Bytes large = designText(2 << 20, 31);
    Bytes noise = randomBytes(1 << 20, 32);
    large.insert(large.end(), noise.begin(), noise.end());
    large.insert(large.end(), 300000, 0);
    inputs.emplace_back("text, random, zeros", large);
    for (const auto& input : inputs) {
        SCOPED_TRACE(input.first);
        roundTrip(input.second, input.first);
    }
}
