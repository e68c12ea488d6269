// The common interface of the two stream codecs (implode.h, explode.h).
//
// Both codecs are pure stream transformers: they reach their input and output
// only through two call-backs with a context pointer, keep all their state in
// a work area that the caller owns, and allocate nothing. A call runs one
// whole stream; the work area means nothing before or after it.
//
// This header holds the call-back types; each codec's header holds its work
// area, its result codes and the sizes of the blocks its call-backs see.
#pragma once

// Asks for input. `*size` holds the number of bytes wanted; the call-back
// stores up to that many bytes at `buffer` and returns how many it stored,
// 0 at the end of the input. It may deliver fewer than asked at any time.
typedef unsigned int (*CodecReadFn)(char* buffer, unsigned int* size, void* context);

// Hands over output: the `*size` bytes at `buffer`. The buffer belongs to the
// codec and is valid only during the call; the call-back must not change it.
typedef void (*CodecWriteFn)(char* buffer, unsigned int* size, void* context);
