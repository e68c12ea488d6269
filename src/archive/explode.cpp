// explode: the decompressor (see explode.h for the contract, codectables.h for
// the stream format).
//
// Divided into: the decoding tables (constant data), the work area's layout,
// and explode itself: the header, the bit reader and its end-of-input rule,
// the token loop and the output window.
//
// Format notes, for the reader. The header is checked on the first read: at
// least 5 bytes, then byte 1 (dictionary bits 4 to 6), then byte 0 (literal
// mode 0 or 1). Behind it every symbol is a prefix code whose bits come
// least significant first, so the next symbol always sits in the low bits of
// the bit buffer and is found by one table look-up on them:
//
//   first bit 0   literal: binary mode, the next 8 bits are the byte; ASCII
//                 mode, a code of 4 to 13 bits (asciiLiteral, by 13 bits).
//   first bit 1   length class code of 2 to 7 bits (lengthToken, by 8 bits),
//                 its extra bits; length 519 is the end mark. Then the
//                 distance high part, a code of 2 to 8 bits (distanceHigh, by
//                 8 bits), and the low bits: 2 for length 2, else the
//                 dictionary bits. The distance is (high << low bits | low) + 1.
//
// End of input. The stream is read as if through a bit buffer that must
// always hold 8 bits beyond the symbol being read: a token is taken only if at
// least 8 bits of input follow it, and the end mark only if its own 16 bits
// are there. A token that fails this ends the stream with explodeTruncated,
// and is not produced. (A valid stream has the end mark behind every token,
// so the rule never refuses one.)
#include "archive/explode.h"

#include <cstdint>
#include <cstring>
#include <new>

#include "archive/codecbits.h"
#include "archive/codectables.h"

namespace {

// --- decoding tables ------------------------------------------------------------

struct DecodeTables {
    // By the 8 bits behind a token's first bit: the length class as
    // (base + 2) | extra bits << 16 | code bits << 24.
    uint32_t lengthToken[256];
    // By the low 8 bits: the distance high part | its code bits << 8.
    uint16_t distanceHigh[256];
    // By the low 13 bits: the ASCII literal byte | its code bits << 8.
    uint16_t asciiLiteral[1u << 13];
};

// Stores `value` at every index whose low `bits` bits are `code`.
template <typename T, unsigned N>
constexpr void fillCode(T (&table)[N], unsigned code, unsigned bits, T value)
{
    for (unsigned i = code; i < N; i += 1u << bits) table[i] = value;
}

constexpr DecodeTables makeDecodeTables()
{
    DecodeTables t{};
    for (unsigned cls = 0; cls < 16; ++cls) {
        uint32_t entry = (lengthBase[cls] + 2u) | (uint32_t)lengthExtraBits[cls] << 16 |
                         (uint32_t)lengthCodeBits[cls] << 24;
        fillCode(t.lengthToken, lengthCodes[cls], lengthCodeBits[cls], entry);
    }
    for (unsigned high = 0; high < 64; ++high)
        fillCode(t.distanceHigh, distanceCodes[high], distanceCodeBits[high],
                 (uint16_t)(high | distanceCodeBits[high] << 8));
    for (unsigned b = 0; b < 256; ++b)
        fillCode(t.asciiLiteral, asciiCodes[b], asciiCodeBits[b], (uint16_t)(b | asciiCodeBits[b] << 8));
    return t;
}

constexpr DecodeTables tables = makeDecodeTables();

// --- the work area --------------------------------------------------------------

constexpr unsigned historySize = 4096;   // output begins here; below it, the history
constexpr unsigned flushAt = 8192;       // a full block of output lies at 4096 to 8191
constexpr unsigned longestCopy = endMarkLength - 1;
constexpr unsigned copySlack = 8;        // copies move 8 bytes at a time
constexpr unsigned inputBlock = 2048;
// A token takes at most 1 + 7 + 8 + 8 + 6 bits, and 8 more must follow it.
constexpr unsigned tokenReserve = 30 + 8;

struct ExplodeState {
    unsigned char window[flushAt + longestCopy + copySlack];
    unsigned char inputBuffer[inputBlock];
};

static_assert(sizeof(ExplodeState) <= explodeWorkSize, "explode state exceeds its work area");

}  // namespace

unsigned int explode(CodecReadFn readCallback, CodecWriteFn writeCallback, ExplodeWork* work, void* context)
{
    ExplodeState* s = new (work->bytes) ExplodeState;
    unsigned char* in = s->inputBuffer;
    unsigned want = inputBlock;
    unsigned count = readCallback((char*)in, &want, context);
    if (count > inputBlock) count = inputBlock;
    if (count < 5) return explodeShortStart;
    const unsigned literalMode = in[0];
    const unsigned dictionaryBits = in[1];
    if (dictionaryBits < minDictionaryBits || dictionaryBits > maxDictionaryBits) return explodeBadDictionary;
    if (literalMode != literalModeBinary && literalMode != literalModeAscii) return explodeBadLiteralMode;

    unsigned char* w = s->window;
    std::memset(w, 0, historySize);

    // The bit buffer: `have` valid bits from the low end. Bits above them are
    // either 0 or the true bits of the input that follows.
    uint64_t bits = 0;
    unsigned have = 0;
    unsigned at = 2;          // next byte of inputBuffer to load
    bool inputEnded = false;  // the read call-back returned 0
    unsigned pos = historySize;
    unsigned result = explodeDone;

    for (;;) {
        while (have < tokenReserve) {
            if (count - at >= 8) {
                bits |= loadLittle64(in + at) << have;
                unsigned take = (63 - have) >> 3;
                at += take;
                have += take * 8;
                break;
            }
            while (have <= 56 && at < count) {
                bits |= (uint64_t)in[at++] << have;
                have += 8;
            }
            if (have >= tokenReserve || inputEnded) break;
            want = inputBlock;
            unsigned n = readCallback((char*)in, &want, context);
            count = n < inputBlock ? n : inputBlock;
            at = 0;
            if (n == 0) inputEnded = true;
        }
        // From here on `have` < tokenReserve only at the end of the input,
        // where the rule of the Format notes decides.

        if ((bits & 1) == 0) {
            unsigned byte;
            unsigned n;
            if (literalMode == literalModeBinary) {
                byte = (unsigned)(bits >> 1) & 0xFF;
                n = 9;
            } else {
                unsigned entry = tables.asciiLiteral[(bits >> 1) & 0x1FFF];
                byte = entry & 0xFF;
                n = 1 + (entry >> 8);
            }
            if (n + 8 > have) {
                result = explodeTruncated;
                break;
            }
            bits >>= n;
            have -= n;
            w[pos++] = (unsigned char)byte;
        } else {
            uint32_t entry = tables.lengthToken[(bits >> 1) & 0xFF];
            unsigned n = 1 + (entry >> 24);
            unsigned extraBits = (entry >> 16) & 0xF;
            unsigned length = (entry & 0x3FF) + ((unsigned)(bits >> n) & ((1u << extraBits) - 1));
            n += extraBits;
            if (length == endMarkLength) {
                if (n > have) result = explodeTruncated;
                break;
            }
            unsigned high = tables.distanceHigh[(bits >> n) & 0xFF];
            n += high >> 8;
            unsigned lowBits = length == 2 ? 2 : dictionaryBits;
            unsigned distance = ((high & 0xFF) << lowBits | ((unsigned)(bits >> n) & ((1u << lowBits) - 1))) + 1;
            n += lowBits;
            if (n + 8 > have) {
                result = explodeTruncated;
                break;
            }
            bits >>= n;
            have -= n;

            // Ascending copy, so that a distance below the length repeats
            // what is being written. The greatest distance, 4096, reaches
            // position 0 at the lowest.
            unsigned char* to = w + pos;
            const unsigned char* from = to - distance;
            if (distance >= 8) {
                for (unsigned i = 0; i < length; i += 8) std::memcpy(to + i, from + i, 8);
            } else if (distance == 1) {
                std::memset(to, from[0], length);
            } else {
                for (unsigned i = 0; i < length; ++i) to[i] = from[i];
            }
            pos += length;
        }

        if (pos >= flushAt) {
            unsigned size = flushAt - historySize;
            writeCallback((char*)w + historySize, &size, context);
            std::memmove(w, w + historySize, pos - historySize);
            pos -= historySize;
        }
    }

    unsigned size = pos - historySize;
    writeCallback((char*)w + historySize, &size, context);
    return result;
}
