// Helpers of the codec tests: running implode and explode over byte strings
// through call-backs that record what they see, a bit writer for streams
// built by hand, and generated inputs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "archive/codectables.h"
#include "archive/explode.h"
#include "archive/implode.h"

typedef std::vector<unsigned char> Bytes;

inline Bytes bytesOf(std::initializer_list<int> list)
{
    Bytes b;
    for (int v : list) b.push_back(static_cast<unsigned char>(v));
    return b;
}

inline Bytes bytesOf(const std::string& s) { return Bytes(s.begin(), s.end()); }

// What one codec call did.
struct CodecRun {
    unsigned result = 0;
    Bytes output;                     // everything handed to the write call-back
    std::vector<unsigned> writeSizes; // the size of every write call
    std::vector<unsigned> readWants;  // the size asked for in every read call
};

// Input of a read call-back: delivers `input` in pieces of at most `piece`
// bytes (0: as much as asked), and records the requests.
struct CodecIo {
    const Bytes* input;
    size_t at = 0;
    unsigned piece = 0;
    CodecRun* run;
};

unsigned testRead(char* buffer, unsigned* size, void* context);
void testWrite(char* buffer, unsigned* size, void* context);

// One implode call over `input`; `piece` as in CodecIo. The work area is
// filled with `garbage` first, to show that nothing depends on its contents.
CodecRun runImplode(const Bytes& input, unsigned mode, unsigned dictionary, unsigned piece = 0,
                    unsigned char garbage = 0xA5);
// One explode call over `stream`.
CodecRun runExplode(const Bytes& stream, unsigned piece = 0, unsigned char garbage = 0x5A);

// Writes a stream bit by bit, least significant bit first, as the format
// stores it, from the code tables of codectables.h.
class StreamWriter {
public:
    StreamWriter(unsigned mode, unsigned dictionaryBits);
    void bits(uint32_t value, unsigned count);
    void literal(unsigned char byte);   // in the stream's literal mode
    void lengthToken(unsigned length);  // 2 to 519, first bit included
    void match(unsigned length, unsigned distance);
    void endMark() { lengthToken(endMarkLength); }
    // The stream; the unused bits of the final byte are 0.
    Bytes finish() const;
    size_t bitCount() const { return count_; }

private:
    unsigned mode_;
    unsigned dictionaryBits_;
    Bytes bytes_;
    size_t count_ = 0;   // bits written behind the header
};

// What a stream of literals and matches stands for: appends `length` bytes
// copied from `distance` back, byte by byte; bytes before the start read 0.
void expandMatch(Bytes& out, unsigned length, unsigned distance);

// Generated inputs, the same on every run.
Bytes randomBytes(size_t size, uint32_t seed);
Bytes designText(size_t size, uint32_t seed);     // netlist-like lines
Bytes smallAlphabet(size_t size, unsigned letters, uint32_t seed);
Bytes runsOf(size_t size, uint32_t seed);         // runs of 1 to 40 equal bytes
