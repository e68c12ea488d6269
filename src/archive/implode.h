// implode: the compressor of the archive's stream format (codectables.h).
//
// The compression strategy is fixed, so that the same input, literal mode and
// dictionary size give the same stream byte for byte on every build: the
// archive's packed data do not depend on who wrote them.
#pragma once

#include "archive/codec.h"

// The caller's work area: all the memory a call uses. Its contents mean
// nothing before or after a call, and two calls with two work areas may run
// at the same time.
inline constexpr unsigned implodeWorkSize = 36312;
struct ImplodeWork {
    alignas(8) unsigned char bytes[implodeWorkSize];
};

enum ImplodeResult : unsigned {
    implodeDone = 0,                // the whole stream went to the write call-back
    implodeBadDictionarySize = 1,   // *dictionarySize is not 1024, 2048 or 4096
    implodeBadLiteralMode = 2,      // *literalMode is neither 0 (binary) nor 1 (ASCII)
};

// Compresses everything that readCallback delivers, until it returns 0, into
// one stream handed to writeCallback. The parameters are checked first, the
// dictionary size before the mode, and a bad one fails before anything is
// read or written. Neither *literalMode nor *dictionarySize is changed.
//
// readCallback is asked for at most 4096 bytes at a time. writeCallback gets
// the stream in blocks of exactly 2048 bytes but for the last, which has the
// rest, from 1 byte up. Read and write failures are not seen: a read
// call-back that reports the end of its input ends the stream with a valid
// end mark.
unsigned int implode(CodecReadFn readCallback, CodecWriteFn writeCallback, ImplodeWork* work,
                     void* context, const unsigned int* literalMode, const unsigned int* dictionarySize);
