// Fuzz target: arbitrary bytes as a compressed stream for explode, checked
// against a plain reference decoder written here from the stream format.
//
// The first input byte chooses how the read call-back delivers the stream
// (all that is asked, or pieces of 5 to 259 bytes); the rest is the stream.
// The work area is allocated at its exact size, so AddressSanitizer sees any
// access outside it. Checked: the result is 0 to 4, it and the output equal
// the reference decoder's, every read asks for 2048 bytes, output comes in
// blocks of 4096 with a last one of 0 to 4096 bytes, and nothing is handed
// over when the header is refused.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "archive/codectables.h"
#include "archive/explode.h"

namespace {

const size_t maxInput = 65536;

struct Feed {
    const uint8_t* data;
    size_t size;
    size_t at;
    unsigned piece;
    std::vector<uint8_t> output;
    std::vector<unsigned> writes;
};

unsigned readFeed(char* buffer, unsigned* size, void* context)
{
    Feed* f = static_cast<Feed*>(context);
    if (*size != 2048) abort();
    size_t n = *size;
    if (f->piece && n > f->piece) n = f->piece;
    if (n > f->size - f->at) n = f->size - f->at;
    memcpy(buffer, f->data + f->at, n);
    f->at += n;
    return (unsigned)n;
}

void writeFeed(char* buffer, unsigned* size, void* context)
{
    Feed* f = static_cast<Feed*>(context);
    f->writes.push_back(*size);
    f->output.insert(f->output.end(), buffer, buffer + *size);
}

// The reference: reads the stream bit by bit. A token counts only if eight
// bits of input follow it; the end mark only needs its own sixteen bits.
struct Reference {
    const uint8_t* s;
    size_t bitsAvailable;
    size_t at = 0;   // bits consumed behind the header

    // The n bits from bit k on (n up to 16), as 0 beyond the input.
    unsigned peek(size_t k, unsigned n) const
    {
        uint32_t v = 0;
        for (size_t byte = k / 8, i = 0; i < 3; ++i, ++byte)
            if (byte * 8 < bitsAvailable) v |= (uint32_t)s[2 + byte] << (8 * i);
        return (v >> (k % 8)) & ((1u << n) - 1);
    }
    unsigned take(unsigned n, size_t& k) const
    {
        unsigned v = peek(k, n);
        k += n;
        return v;
    }
    // The symbol whose code starts at bit k; moves k behind it.
    template <typename Code, typename Bits>
    unsigned decode(const Code* codes, const Bits* bits, unsigned count, size_t& k) const
    {
        unsigned next = peek(k, 13);
        for (unsigned sym = 0; sym < count; ++sym)
            if ((next & ((1u << bits[sym]) - 1)) == codes[sym]) {
                k += bits[sym];
                return sym;
            }
        abort();   // the codes are complete
    }
};

unsigned referenceExplode(const uint8_t* s, size_t n, unsigned firstRead, std::vector<uint8_t>& out)
{
    if (firstRead < 5) return 3;
    if (s[1] < 4 || s[1] > 6) return 1;
    if (s[0] > 1) return 2;
    const unsigned mode = s[0], dictionaryBits = s[1];
    Reference r{s, (n - 2) * 8};
    for (;;) {
        size_t k = r.at;
        if (r.take(1, k) == 0) {
            unsigned byte = mode == 0 ? r.take(8, k) : r.decode(asciiCodes, asciiCodeBits, 256, k);
            if (k + 8 > r.bitsAvailable) return 4;
            out.push_back((uint8_t)byte);
            r.at = k;
            continue;
        }
        unsigned cls = r.decode(lengthCodes, lengthCodeBits, 16, k);
        unsigned length = lengthBase[cls] + r.take(lengthExtraBits[cls], k) + 2;
        if (length == endMarkLength) return k <= r.bitsAvailable ? 0 : 4;
        unsigned high = r.decode(distanceCodes, distanceCodeBits, 64, k);
        unsigned lowBits = length == 2 ? 2 : dictionaryBits;
        unsigned distance = (high << lowBits | r.take(lowBits, k)) + 1;
        if (k + 8 > r.bitsAvailable) return 4;
        for (unsigned i = 0; i < length; ++i) out.push_back(out.size() >= distance ? out[out.size() - distance] : 0);
        r.at = k;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > maxInput) return 0;
    const unsigned piece = data[0] & 1 ? 0 : 5u + data[0];
    Feed feed{data + 1, size - 1, 0, piece, {}, {}};
    ExplodeWork* work = static_cast<ExplodeWork*>(malloc(sizeof(ExplodeWork)));
    memset(work, data[0], sizeof *work);
    unsigned result = explode(readFeed, writeFeed, work, &feed);
    free(work);

    if (result > 4) abort();
    std::vector<uint8_t> expected;
    size_t firstRead = feed.size < 2048 ? feed.size : 2048;
    if (piece && firstRead > piece) firstRead = piece;
    unsigned want = referenceExplode(feed.data, feed.size, (unsigned)firstRead, expected);
    if (result != want) {
        fprintf(stderr, "result %u, reference %u\n", result, want);
        abort();
    }
    if (feed.output != expected) {
        fprintf(stderr, "output of %zu bytes, reference %zu\n", feed.output.size(), expected.size());
        abort();
    }
    if (result >= 1 && result <= 3) {
        if (!feed.writes.empty()) abort();
    } else {
        if (feed.writes.empty()) abort();
        for (size_t i = 0; i + 1 < feed.writes.size(); ++i)
            if (feed.writes[i] != 4096) abort();
        if (feed.writes.back() > 4096) abort();
    }
    return 0;
}
