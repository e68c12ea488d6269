// The trace output: the engine's three trace lines go here. Standard output
// at start, as the engine always printed them; a front end may move or
// silence them with SetTraceOutput.
#include <cstdarg>

#include "platform/platform.h"

static FILE** traceSlot() {
    static FILE* out = stdout;
    return &out;
}

void SetTraceOutput(FILE* out) { *traceSlot() = out; }

void kvTrace(const char* format, ...) {
    FILE* out = *traceSlot();
    if (!out) return;
    va_list args;
    va_start(args, format);
    vfprintf(out, format, args);
    va_end(args);
    fflush(out);
}
