// explode: the decompressor of the archive's stream format (codectables.h).
//
// It reads every valid stream of the format, in both literal modes and with
// all three dictionary sizes, also those that implode never writes (length-2
// matches up to D 255, distance 1, lengths 517 and 518).
#pragma once

#include "archive/codec.h"

// The caller's work area: all the memory a call uses. Its contents mean
// nothing before or after a call, and two calls with two work areas may run
// at the same time.
inline constexpr unsigned explodeWorkSize = 12596;
struct ExplodeWork {
    alignas(8) unsigned char bytes[explodeWorkSize];
};

// Tested in this order: explodeShortStart, explodeBadDictionary,
// explodeBadLiteralMode.
enum ExplodeResult : unsigned {
    explodeDone = 0,             // the end mark was read and all output delivered
    explodeBadDictionary = 1,    // the stream's second byte is not 4, 5 or 6
    explodeBadLiteralMode = 2,   // the stream's first byte is neither 0 nor 1
    explodeShortStart = 3,       // the first read delivered fewer than 5 bytes
    explodeTruncated = 4,        // the input ended before the end mark
};

// Expands one stream read through readCallback and hands the bytes to
// writeCallback. readCallback is always asked for 2048 bytes. writeCallback
// gets blocks of 4096 bytes but for the last, which has the rest, from 0
// bytes up; once the header has been accepted, that last call is made in
// every case, also on explodeTruncated, so output delivered before a failure
// stays delivered. Input read behind the end mark is left unused.
//
// A distance is not checked against what has been produced: a damaged stream
// that reaches behind its own output reads zeros (the history is cleared at
// the start of each call, never bytes of an earlier stream); the caller's CRC
// catches that.
unsigned int explode(CodecReadFn readCallback, CodecWriteFn writeCallback, ExplodeWork* work, void* context);
