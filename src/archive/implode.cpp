// implode: the compressor (see implode.h for the contract, codectables.h for
// the stream format).
//
// Divided into: the token tables (constant data), the work area's layout, bit
// output, the pair-hash index of a block, findMatch, and implode itself with
// its block scheme and token choice.
//
// The strategy is fixed to the byte, so every step below is part of the
// output: the index and its phases decide which earlier positions are
// candidates, findMatch decides length and distance (the longest match, the
// nearest one on equal length, but the oldest one that reaches the full 516),
// and the token choice decides between literal and match with its lazy test.
// What is free is how fast each step runs: bits go out through a 64-bit
// accumulator, bytes are compared eight at a time, runs of one hash are
// indexed without a memory update per position, and the first look at a
// position's hash run, which settles most positions of data with few
// repeats, is branch-free and inlined into the token loop. Any change here
// must keep the reference streams of tests/data/archive and the streams of
// bench_codec's peer.
#include "archive/implode.h"

#include <cstdint>
#include <cstring>
#include <new>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "archive/codecbits.h"
#include "archive/codectables.h"

namespace {

// --- token tables ---------------------------------------------------------------
//
// One entry per token number: 0 to 255 the literals, L + 254 the match length
// L (2 to 519), 773 the end mark. An entry is the token's whole code, first
// bit included, in its low 24 bits, and the number of its bits in the top 8.

constexpr unsigned tokenCount = 774;
constexpr unsigned endMarkToken = endMarkLength + 254;

struct TokenTable {
    uint32_t entry[tokenCount];
};

constexpr TokenTable makeTokenTable(bool ascii)
{
    TokenTable t{};
    for (unsigned b = 0; b < 256; ++b) {
        // A literal: the bit 0, then the byte or its ASCII code.
        unsigned bits = ascii ? asciiCodeBits[b] + 1u : 9u;
        unsigned code = ascii ? asciiCodes[b] * 2u : b * 2u;
        t.entry[b] = code | bits << 24;
    }
    unsigned token = 256;
    for (unsigned cls = 0; cls < 16; ++cls) {
        for (unsigned extra = 0; extra < (1u << lengthExtraBits[cls]); ++extra) {
            // A length: the bit 1, the class code, the extra bits.
            unsigned bits = lengthCodeBits[cls] + lengthExtraBits[cls] + 1u;
            unsigned code = extra << (lengthCodeBits[cls] + 1u) | lengthCodes[cls] * 2u | 1u;
            t.entry[token++] = code | bits << 24;
        }
    }
    return t;
}

constexpr TokenTable binaryTokens = makeTokenTable(false);
constexpr TokenTable asciiTokens = makeTokenTable(true);

// --- the work area --------------------------------------------------------------

constexpr unsigned blockSize = 4096;          // input read per block
constexpr unsigned lookAhead = maxMatchLength; // bytes kept back at a block's end
constexpr unsigned hashCount = 2304;          // pair hash 4 * b0 + 5 * b1 is 0 to 2295
constexpr unsigned windowSize = lookAhead + 4096 + blockSize;
constexpr unsigned outputBlock = 2048;
constexpr unsigned plainScanEnd = 10;         // a match above this starts the long search

struct ImplodeState {
    unsigned dictionarySize;

    // The failure function of the bytes at the searched position, for the
    // long search: entry k is the length of the longest proper border of the
    // first k bytes; entry 0 is 0xFFFF.
    uint16_t failureTable[maxMatchLength + 2];

    // The index of one block: pairPositions holds the indexed positions sorted
    // by pair hash, ascending within a hash; pairStart[h] is where the
    // positions of hash h begin that findMatch still wants.
    uint16_t pairStart[hashCount];
    uint16_t* pairPositions;

    unsigned char outputBuffer[outputBlock + 16];

    // The window (dictionary, look-ahead and block), and directly behind it
    // the storage of pairPositions. The order is part of the strategy: near
    // the end of the input, with a 4096-byte dictionary, a match compares up
    // to 516 bytes past the last position and so past the window, into the
    // first entries of the current index, and the pair hash of the last
    // position reads the first byte behind the window. Those bytes thus decide
    // between candidates, and they are the same on every run: the window is
    // cleared at the start of each call, and the index is rebuilt from it.
    // (findMatch may look at up to seven entries behind the last one.)
    alignas(8) unsigned char window[windowSize + (windowSize + 8) * sizeof(uint16_t)];
};

static_assert(sizeof(ImplodeState) <= implodeWorkSize, "implode state exceeds its work area");
static_assert(alignof(ImplodeState) <= alignof(ImplodeWork), "implode work area is under-aligned");

// --- bit output -----------------------------------------------------------------
//
// Bits collect in a 64-bit accumulator from its low end and go to
// outputBuffer four bytes at a time. A full block of 2048 bytes is handed over
// only once a further byte exists, so that the last call always has at least
// one byte.

struct BitOutput {
    unsigned char* buffer;
    uint64_t bits;
    unsigned count;      // valid bits in `bits`, below 32 between calls
    unsigned position;   // bytes in buffer
    CodecWriteFn write;
    void* context;

    // Appends the low n bits of value, n up to 32.
    inline void put(uint32_t value, unsigned n)
    {
        bits |= (uint64_t)value << count;
        count += n;
        if (count >= 32) {
            unsigned char* p = buffer + position;
            p[0] = (unsigned char)bits;
            p[1] = (unsigned char)(bits >> 8);
            p[2] = (unsigned char)(bits >> 16);
            p[3] = (unsigned char)(bits >> 24);
            position += 4;
            bits >>= 32;
            count -= 32;
            if (position > outputBlock) handOverBlock();
        }
    }

    inline void putToken(uint32_t entry) { put(entry & 0xFFFFFF, entry >> 24); }

    void handOverBlock()
    {
        unsigned size = outputBlock;
        write((char*)buffer, &size, context);
        position -= outputBlock;
        std::memmove(buffer, buffer + outputBlock, position);
    }

    // Hands over the rest, the byte in progress included.
    void finish()
    {
        while (count > 0) {
            buffer[position++] = (unsigned char)bits;
            bits >>= 8;
            count = count > 8 ? count - 8 : 0;
        }
        if (position > outputBlock) handOverBlock();
        unsigned size = position;
        write((char*)buffer, &size, context);
    }
};

// --- the index ------------------------------------------------------------------

inline unsigned pairHash(const unsigned char* w, unsigned position)
{
    return 4u * w[position] + 5u * w[position + 1];
}

// Sorts the positions first..last (both included) by pair hash, with a
// counting sort, into pairPositions, and sets pairStart to the start of each
// hash's run. A run of positions with one hash (zeros, blanks) is counted in
// a register, not by one memory update per position.
void indexPositions(ImplodeState* s, unsigned first, unsigned last)
{
    uint16_t* start = s->pairStart;
    uint16_t* positions = s->pairPositions;
    const unsigned char* w = s->window;
    std::memset(start, 0, sizeof s->pairStart);
    unsigned runHash = pairHash(w, first);
    unsigned run = 0;
    for (unsigned i = first; i <= last; ++i) {
        unsigned h = pairHash(w, i);
        if (h != runHash) {
            start[runHash] = (uint16_t)(start[runHash] + run);
            runHash = h;
            run = 0;
        }
        ++run;
    }
    start[runHash] = (uint16_t)(start[runHash] + run);
    unsigned sum = 0;
    for (unsigned h = 0; h < hashCount; ++h) {
        sum += start[h];
        start[h] = (uint16_t)sum;
    }
    // From the last position down, so that each run ends up ascending. The
    // hash of the last position may read the first byte behind the window,
    // which this loop overwrites: it is taken before the first store.
    runHash = pairHash(w, last);
    unsigned at = start[runHash];
    for (unsigned i = last + 1; i-- > first;) {
        unsigned h = pairHash(w, i);
        if (h != runHash) {
            start[runHash] = (uint16_t)at;
            runHash = h;
            at = start[h];
        }
        positions[--at] = (uint16_t)i;
    }
    start[runHash] = (uint16_t)at;
}

// --- findMatch ------------------------------------------------------------------

// Extends the failure table from entry `from` + 1 up to entry `to`.
void extendFailure(uint16_t* failure, const unsigned char* here, unsigned from, unsigned to)
{
    for (unsigned k = from; k < to; ++k) {
        unsigned j = failure[k];
        while (j != 0xFFFF && here[j] != here[k]) j = failure[j];
        failure[k + 1] = (uint16_t)(j + 1);
    }
}

// findMatch, past its quick test: the search along the hash run of
// `position` from `index` on (see findMatch).
__attribute__((noinline)) unsigned searchRun(ImplodeState* s, unsigned position, unsigned hash, unsigned index,
                                             unsigned* distance)
{
    const unsigned char* w = s->window;
    const unsigned char* here = w + position;
    const uint16_t* list = s->pairPositions;
    const unsigned oldest = position - s->dictionarySize + 1;
    const unsigned end = position - 1;
    while (list[index] < oldest) ++index;
    s->pairStart[hash] = (uint16_t)index;
    unsigned candidate = list[index];
    if (candidate >= end) return 0;

    // Plain scan. Equal pair hash and equal first byte make the second byte
    // equal too. A candidate becomes the match when its length is not below
    // the best so far, so that at the end the match is the longest, and the
    // last (nearest) of the longest: the greatest of length << 16 | position,
    // as positions ascend. Taken so, the scan has no branch on each
    // candidate's outcome. Lengths below 8 come from one comparison of 8
    // bytes; only a candidate of 8 or more is compared further, and the first
    // above 10 ends the scan.
    const uint64_t head = loadLittle64(here);
    uint32_t bestKey = 0;
    unsigned best, bestAt;
    for (;;) {
        const unsigned char* there = w + candidate;
        const uint64_t diff = loadLittle64(there) ^ head;
        unsigned length;
        if (__builtin_expect(diff != 0, 1)) {
            length = (unsigned)__builtin_ctzll(diff) >> 3;
        } else {
            length = commonLength(there, here, 8, maxMatchLength);
            if (length > plainScanEnd) {
                best = length;
                bestAt = candidate;
                break;
            }
        }
        const uint32_t key = length << 16 | candidate;
        bestKey = key > bestKey ? key : bestKey;
        candidate = list[++index];
        if (candidate >= end) {
            best = bestKey >> 16;
            if (best < minMatchLength) return 0;
            *distance = position - (bestKey & 0xFFFF) - 1;
            return best;
        }
    }

    // Long search, behind the candidate that brought more than 10 bytes.
    if (best < maxMatchLength) {
        uint16_t* failure = s->failureTable;
        failure[0] = 0xFFFF;
        failure[1] = 0;
        extendFailure(failure, here, 1, best);
        // The last candidate compared in full and its length: the window from
        // scanAt up to the scan point scanAt + scanLength equals the first
        // scanLength bytes at position.
        unsigned scanAt = bestAt;
        unsigned scanLength = best;
        for (candidate = list[++index]; candidate < end; candidate = list[++index]) {
            unsigned border = failure[scanLength];
            if (border == 0xFFFF) border = 0;
            unsigned scanPoint = scanAt + scanLength;
            // Starting inside the last match but not at a border of it, the
            // candidate differs from `position` before the scan point.
            if (candidate + border < scanPoint) continue;
            unsigned from = candidate + border == scanPoint ? border : 0;
            const unsigned char* there = w + candidate;
            if (there[best - 1] != here[best - 1]) continue;
            if (from < 2) {
                if (there[0] != here[0]) continue;
                from = 2;
            }
            unsigned length = commonLength(there, here, from, maxMatchLength);
            scanAt = candidate;
            scanLength = length;
            if (length >= best) {
                bestAt = candidate;
                if (length > best) {
                    extendFailure(failure, here, best, length);
                    best = length;
                    if (best == maxMatchLength) break;
                }
            }
        }
    }
    *distance = position - bestAt - 1;
    return best;
}

// The longest match at `position` among the indexed earlier positions whose
// distance is 2 to dictionary size - 1: its length (0, or 2 to 516), and in
// *distance its D (distance - 1), which is left alone on 0. On equal length
// the nearer candidate wins, except that the first one found with the full
// 516 ends the search. Drops the positions that have left the dictionary from
// the head of the position's hash run.
//
// Candidates come oldest first. The plain scan compares each in full until
// one brings more than 10 bytes; the long search then uses the failure table
// of the bytes matched so far to skip the candidates that lie inside the last
// compared match and cannot reach the best length, and to go on behind the
// bytes that are known to match.
//
// The quick test is inlined into the token loop; the search is not.
__attribute__((always_inline)) inline unsigned findMatch(ImplodeState* s, unsigned position, unsigned* distance)
{
    const unsigned char* w = s->window;
    const uint16_t* list = s->pairPositions;
    const unsigned hash = pairHash(w, position);
    unsigned index = s->pairStart[hash];
#if defined(__SSE2__)
    // Most positions of data with few repeats have no candidate with their
    // first byte. The first eight entries of the run settle most of them at
    // once: those before the dictionary are skipped, those from distance 1 on
    // end the candidates, and the first bytes of the rest are compared,
    // without a branch per entry. Window positions are below 2^15, so signed
    // 16-bit comparisons do; entries behind `position` (the run's last that
    // matters) are never read as positions.
    const unsigned oldest = position - s->dictionarySize + 1;
    const unsigned end = position - 1;
    const __m128i e = _mm_loadu_si128(reinterpret_cast<const __m128i*>(list + index));
    const unsigned older = (unsigned)_mm_movemask_epi8(_mm_cmplt_epi16(e, _mm_set1_epi16((short)oldest)));
    const unsigned stop = (unsigned)_mm_movemask_epi8(_mm_cmpgt_epi16(e, _mm_set1_epi16((short)(end - 1))));
    const unsigned skip = (unsigned)__builtin_ctz(~older) >> 1;          // 0 to 8
    const unsigned live = (unsigned)__builtin_ctz(stop | 0x10000) >> 1;  // the first entry from `end` on
    if (live < 8 && live - skip <= 4) {
        // Up to four candidates: compare their first bytes.
        index += skip;
        s->pairStart[hash] = (uint16_t)index;
        const unsigned count = live - skip;
        const unsigned first = w[position];
        unsigned hit = 0;
#define KV_LANE(j)                                                      \
    {                                                                   \
        unsigned on = (j) < count;                                      \
        unsigned c = (unsigned)list[index + (j)] & (0u - on);           \
        hit |= on & (unsigned)(w[c] == first);                          \
    }
        KV_LANE(0) KV_LANE(1) KV_LANE(2) KV_LANE(3)
#undef KV_LANE
        if (!hit) return 0;
    }
#endif
    return searchRun(s, position, hash, index, distance);
}

}  // namespace

// --- implode --------------------------------------------------------------------

unsigned int implode(CodecReadFn readCallback, CodecWriteFn writeCallback, ImplodeWork* work,
                     void* context, const unsigned int* literalMode, const unsigned int* dictionarySize)
{
    unsigned dictionaryBits;
    switch (*dictionarySize) {
    case 1024: dictionaryBits = 4; break;
    case 2048: dictionaryBits = 5; break;
    case 4096: dictionaryBits = 6; break;
    default: return implodeBadDictionarySize;
    }
    if (*literalMode != literalModeBinary && *literalMode != literalModeAscii) return implodeBadLiteralMode;

    ImplodeState* s = new (work->bytes) ImplodeState;
    const unsigned dictionary = *dictionarySize;
    s->dictionarySize = dictionary;
    s->pairPositions = new (s->window + windowSize) uint16_t[windowSize];
    std::memset(s->window, 0, windowSize);
    const uint32_t* tokens = *literalMode == literalModeAscii ? asciiTokens.entry : binaryTokens.entry;
    unsigned char* w = s->window;

    BitOutput out{s->outputBuffer, 0, 0, 0, writeCallback, context};
    out.put(*literalMode | dictionaryBits << 8, 16);

    // Window layout: the dictionary and the look-ahead lie below `fill`, the
    // block is read to `fill`. After a block everything moves down by 4096.
    const unsigned fill = lookAhead + dictionary;
    unsigned p = fill;
    unsigned phase = 0;
    bool atEnd = false;
    for (;;) {
        unsigned got = 0;
        while (got < blockSize) {
            unsigned want = blockSize - got;
            unsigned n = readCallback((char*)w + fill + got, &want, context);
            if (n == 0) {
                atEnd = true;
                break;
            }
            got += n < blockSize - got ? n : blockSize - got;
        }
        if (atEnd && got == 0 && phase == 0) break;   // empty input: the end mark alone

        // Without the end of the input, the last 516 bytes of the block stay
        // back as look-ahead for the matches before the limit.
        const unsigned limit = dictionary + got + (atEnd ? lookAhead : 0);
        unsigned first;
        if (phase == 0) {
            first = p;
            phase = dictionary == 4096 ? 1 : 2;
        } else if (phase == 1) {
            // The data of the first block began 516 above position 0.
            first = p - dictionary + lookAhead;
            phase = 2;
        } else {
            first = p - dictionary;
        }
        indexPositions(s, first, limit);

        unsigned distance = 0;
        while (p < limit) {
            unsigned length = findMatch(s, p, &distance);
            if (length == 0) {
                out.putToken(tokens[w[p++]]);
                continue;
            }
            for (;;) {
                bool use = false;
                if (length == 2 && distance >= 256) {
                    // literal
                } else if (atEnd && p + length > limit) {
                    length = limit - p;
                    use = length > 2 || (length == 2 && distance < 256);
                } else if (length >= 8 || p + 1 >= limit) {
                    use = true;
                } else {
                    // Lazy test: is the match one byte on worth a literal here?
                    unsigned keptLength = length;
                    unsigned keptDistance = distance;
                    unsigned next = findMatch(s, p + 1, &distance);
                    if (keptLength >= next || (keptLength + 1 >= next && keptDistance < 129)) {
                        length = keptLength;
                        distance = keptDistance;
                        use = true;
                    } else {
                        out.putToken(tokens[w[p++]]);
                        length = next;
                        continue;
                    }
                }
                if (!use) {
                    out.putToken(tokens[w[p++]]);
                    break;
                }
                // The match: length token, distance code of the high part,
                // low bits; at most 16 + 8 + 6 bits, so one put.
                uint32_t entry = tokens[length + 254];
                unsigned lowBits = length == 2 ? 2 : dictionaryBits;
                unsigned high = distance >> lowBits;
                unsigned lengthBits = entry >> 24;
                unsigned codeBits = distanceCodeBits[high];
                uint32_t value = (entry & 0xFFFFFF) | (uint32_t)distanceCodes[high] << lengthBits |
                                 (uint32_t)(distance & ((1u << lowBits) - 1)) << (lengthBits + codeBits);
                out.put(value, lengthBits + codeBits + lowBits);
                p += length;
                break;
            }
        }
        if (atEnd) break;
        p -= blockSize;
        std::memmove(w, w + blockSize, dictionary + lookAhead);
    }
    out.putToken(tokens[endMarkToken]);
    out.finish();
    return implodeDone;
}
