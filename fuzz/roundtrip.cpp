// Fuzz target: arbitrary bytes through implode and back through explode.
//
// The first input byte chooses the literal mode (bit 0), the dictionary size
// (bits 1 and 2: 1024, 2048, 4096, 4096) and the pieces in which the read
// call-back delivers the data (bits 3 to 7: all that is asked, or 1 to 31
// times 131 bytes); the rest is the data. Both work areas are allocated at
// their exact sizes and filled with the selector byte first. Checked: both
// results are 0, the data comes back unchanged, implode asks for 1 to 4096
// bytes and hands over blocks of 2048 with a last one of 1 to 2048 bytes,
// and the stream does not depend on the pieces of the input.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "archive/explode.h"
#include "archive/implode.h"

namespace {

const size_t maxInput = 65536;

struct Pipe {
    const uint8_t* data;
    size_t size;
    size_t at;
    unsigned piece;
    unsigned maxWant;
    std::vector<uint8_t> output;
    std::vector<unsigned> writes;
};

unsigned readPipe(char* buffer, unsigned* size, void* context)
{
    Pipe* p = static_cast<Pipe*>(context);
    if (*size == 0 || *size > p->maxWant) abort();
    size_t n = *size;
    if (p->piece && n > p->piece) n = p->piece;
    if (n > p->size - p->at) n = p->size - p->at;
    memcpy(buffer, p->data + p->at, n);
    p->at += n;
    return (unsigned)n;
}

void writePipe(char* buffer, unsigned* size, void* context)
{
    Pipe* p = static_cast<Pipe*>(context);
    p->writes.push_back(*size);
    p->output.insert(p->output.end(), buffer, buffer + *size);
}

std::vector<uint8_t> pack(const uint8_t* data, size_t size, unsigned mode, unsigned dictionary, unsigned piece,
                          uint8_t fill)
{
    ImplodeWork* work = static_cast<ImplodeWork*>(malloc(sizeof(ImplodeWork)));
    memset(work, fill, sizeof *work);
    Pipe pipe{data, size, 0, piece, 4096, {}, {}};
    if (implode(readPipe, writePipe, work, &pipe, &mode, &dictionary) != 0) abort();
    free(work);
    if (pipe.writes.empty()) abort();
    for (size_t i = 0; i + 1 < pipe.writes.size(); ++i)
        if (pipe.writes[i] != 2048) abort();
    if (pipe.writes.back() < 1 || pipe.writes.back() > 2048) abort();
    return pipe.output;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > maxInput) return 0;
    const unsigned mode = data[0] & 1;
    const unsigned dictionary = 1024u << ((data[0] >> 1) & 3) > 4096 ? 4096 : 1024u << ((data[0] >> 1) & 3);
    const unsigned piece = (data[0] >> 3) * 131;
    const uint8_t* input = data + 1;
    const size_t length = size - 1;

    std::vector<uint8_t> stream = pack(input, length, mode, dictionary, piece, data[0]);
    if (piece != 0 && pack(input, length, mode, dictionary, 0, (uint8_t)~data[0]) != stream) {
        fprintf(stderr, "the stream depends on how the input arrives\n");
        abort();
    }
    if (length == 0) return 0;   // the stream of no data is shorter than explode takes

    ExplodeWork* work = static_cast<ExplodeWork*>(malloc(sizeof(ExplodeWork)));
    memset(work, data[0], sizeof *work);
    Pipe pipe{stream.data(), stream.size(), 0, 0, 2048, {}, {}};
    unsigned result = explode(readPipe, writePipe, work, &pipe);
    free(work);
    if (result != 0) {
        fprintf(stderr, "explode result %u\n", result);
        abort();
    }
    if (pipe.output.size() != length || memcmp(pipe.output.data(), input, length) != 0) {
        fprintf(stderr, "round trip changed the data\n");
        abort();
    }
    return 0;
}
