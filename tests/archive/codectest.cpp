// Helpers of the codec tests (see codectest.h).
#include "codectest.h"

#include <cstring>
#include <random>

unsigned testRead(char* buffer, unsigned* size, void* context)
{
    CodecIo* io = static_cast<CodecIo*>(context);
    io->run->readWants.push_back(*size);
    size_t n = *size;
    if (io->piece != 0 && n > io->piece) n = io->piece;
    if (n > io->input->size() - io->at) n = io->input->size() - io->at;
    if (n > 0) std::memcpy(buffer, io->input->data() + io->at, n);
    io->at += n;
    return static_cast<unsigned>(n);
}

void testWrite(char* buffer, unsigned* size, void* context)
{
    CodecIo* io = static_cast<CodecIo*>(context);
    io->run->writeSizes.push_back(*size);
    io->run->output.insert(io->run->output.end(), buffer, buffer + *size);
}

CodecRun runImplode(const Bytes& input, unsigned mode, unsigned dictionary, unsigned piece, unsigned char garbage)
{
    static ImplodeWork work;
    std::memset(&work, garbage, sizeof work);
    CodecRun run;
    CodecIo io{&input, 0, piece, &run};
    run.result = implode(testRead, testWrite, &work, &io, &mode, &dictionary);
    return run;
}

CodecRun runExplode(const Bytes& stream, unsigned piece, unsigned char garbage)
{
    static ExplodeWork work;
    std::memset(&work, garbage, sizeof work);
    CodecRun run;
    CodecIo io{&stream, 0, piece, &run};
    run.result = explode(testRead, testWrite, &work, &io);
    return run;
}

StreamWriter::StreamWriter(unsigned mode, unsigned dictionaryBits)
    : mode_(mode), dictionaryBits_(dictionaryBits)
{
    bytes_.push_back(static_cast<unsigned char>(mode));
    bytes_.push_back(static_cast<unsigned char>(dictionaryBits));
}

void StreamWriter::bits(uint32_t value, unsigned count)
{
    for (unsigned i = 0; i < count; ++i, ++count_) {
        if (count_ % 8 == 0) bytes_.push_back(0);
        if (value >> i & 1) bytes_.back() |= static_cast<unsigned char>(1u << (count_ % 8));
    }
}

void StreamWriter::literal(unsigned char byte)
{
    bits(0, 1);
    if (mode_ == literalModeBinary)
        bits(byte, 8);
    else
        bits(asciiCodes[byte], asciiCodeBits[byte]);
}

void StreamWriter::lengthToken(unsigned length)
{
    unsigned value = length - 2;
    unsigned cls = 15;
    while (lengthBase[cls] > value) --cls;
    bits(1, 1);
    bits(lengthCodes[cls], lengthCodeBits[cls]);
    bits(value - lengthBase[cls], lengthExtraBits[cls]);
}

void StreamWriter::match(unsigned length, unsigned distance)
{
    lengthToken(length);
    unsigned d = distance - 1;
    unsigned lowBits = length == 2 ? 2 : dictionaryBits_;
    unsigned high = d >> lowBits;
    bits(distanceCodes[high], distanceCodeBits[high]);
    bits(d & ((1u << lowBits) - 1), lowBits);
}

Bytes StreamWriter::finish() const { return bytes_; }

void expandMatch(Bytes& out, unsigned length, unsigned distance)
{
    for (unsigned i = 0; i < length; ++i) {
        size_t size = out.size();
        out.push_back(size >= distance ? out[size - distance] : 0);
    }
}

Bytes randomBytes(size_t size, uint32_t seed)
{
    std::mt19937 rng(seed);
    Bytes b(size);
    for (auto& c : b) c = static_cast<unsigned char>(rng());
    return b;
}

Bytes designText(size_t size, uint32_t seed)
{
    static const char* const words[] = {
        "NET ", "VCC ", "GND ", "R", "C", "U", "(wire ", "0.125 ", "pin ", "\n", "  ", "* ",
        ".include \"lib/analog.lib\"\n", "SYMBOL opamp5 ", "X", "= ", "1k ", "10n ", ") ",
    };
    std::mt19937 rng(seed);
    Bytes b;
    b.reserve(size);
    while (b.size() < size) {
        const char* w = words[rng() % (sizeof words / sizeof words[0])];
        for (; *w && b.size() < size; ++w) b.push_back(static_cast<unsigned char>(*w));
        if (rng() % 3 == 0 && b.size() < size) b.push_back(static_cast<unsigned char>('0' + rng() % 10));
    }
    return b;
}

Bytes smallAlphabet(size_t size, unsigned letters, uint32_t seed)
{
    std::mt19937 rng(seed);
    Bytes b(size);
    for (auto& c : b) c = static_cast<unsigned char>('a' + rng() % letters);
    return b;
}

Bytes runsOf(size_t size, uint32_t seed)
{
    std::mt19937 rng(seed);
    Bytes b;
    b.reserve(size);
    while (b.size() < size) {
        unsigned length = 1 + rng() % 40;
        unsigned char c = static_cast<unsigned char>(rng() % 4);
        for (unsigned i = 0; i < length && b.size() < size; ++i) b.push_back(c);
    }
    return b;
}
