// Benchmark of pathstring on a million realistic paths, against a plain
// std::string copy of the same paths measured in the same run:
//
//   copy        baseline: copy every path into a std::string
//   tidyUp      copy into a pathstring (untidied) and tidyUp(false)
//   equal       compareEqualQuickly of every tidied path with a partner
//               (the same path in other case, a sibling, or another path)
//   ==          std::string operator== on the same pairs, for reference
//
// The paths are what design trees and design texts bring: drive paths with
// mixed case, forward slashes, doubled separators, "." and "..", quotes,
// blanks, UNC names, relative paths. KV_BENCH_PATHS sets the count
// (default 1000000). Each figure is the best of three runs, printed with
// its ratio to the copy.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "benchsupport.h"
#include "paths/pathstring.h"

// A small deterministic generator, so that every run sees the same paths.
static unsigned long long state = 0x9E3779B97F4A7C15ull;
static unsigned next(unsigned range) {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return static_cast<unsigned>(state % range);
}

static std::string makePath() {
    static const char* const drives[] = {"C:", "c:", "D:", "Z:"};
    static const char* const dirs[] = {"Designs", "designs", "Project_Alpha", "PCB", "sim", "lib", "Libraries",
                                       "Board Rev B", "netlists", "out", "Gerber Output", "work", "tarnel91"};
    static const char* const exts[] = {".sch", ".SCH", ".cir", ".lib", ".LIB", ".net", ".pcb", ".txt", ".rpt", ""};
    std::string p;
    unsigned shape = next(20);
    if (shape < 12) {
        p = drives[next(4)];
    } else if (shape < 14) {
        p = "\\\\fileserver\\cad";
    } else if (shape < 16) {
        p = "..";
    }  // else relative
    unsigned depth = 2 + next(6);
    for (unsigned i = 0; i < depth; ++i) {
        unsigned sep = next(20);
        p += sep < 14 ? "\\" : sep < 18 ? "/" : "//";
        unsigned kind = next(30);
        if (kind == 0)
            p += ".";
        else if (kind == 1)
            p += "..";
        else
            p += dirs[next(13)];
        if (next(10) == 0) p += std::to_string(next(100));
    }
    p += "\\";
    p += "file_" + std::to_string(next(10000));
    p += exts[next(10)];
    unsigned dress = next(20);
    if (dress == 0) p = "\"" + p + "\"";
    if (dress == 1) p = "  " + p + " ";
    return p;
}

static std::string otherCase(const std::string& s) {
    std::string r = s;
    for (char& c : r)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
        else if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return r;
}

int main() {
    const char* env = getenv("KV_BENCH_PATHS");
    size_t count = env ? strtoul(env, nullptr, 10) : 1000000;
    printf("generating %zu paths...\n", count);
    std::vector<std::string> texts;
    texts.reserve(count);
    size_t bytes = 0;
    for (size_t i = 0; i < count; ++i) {
        texts.push_back(makePath());
        bytes += texts.back().size();
    }
    printf("average length %.1f characters\n", static_cast<double>(bytes) / static_cast<double>(count));

    // Baseline: a plain copy of every path.
    size_t sink = 0;
    std::vector<std::string> copies(count);
    double copy = bench::bestOf(3, [&] {
        for (size_t i = 0; i < count; ++i) copies[i] = texts[i];
        sink += copies[count / 2].size();
    });

    // tidyUp(false): the same copy, then the tidying.
    std::vector<pathstring> tidied(count);
    double tidy = bench::bestOf(3, [&] {
        for (size_t i = 0; i < count; ++i) {
            tidied[i].assign(texts[i]);  // std::string::assign: no tidying
            tidied[i].tidyUp(false);
        }
        sink += tidied[count / 3].size();
    });

    // Pairs for the comparisons: a quarter equal but for case, a quarter
    // equal, a quarter a sibling (differs at the end), a quarter another
    // path.
    std::vector<pathstring> partners(count);
    for (size_t i = 0; i < count; ++i) {
        switch (i % 4) {
        case 0: partners[i] = pathstring(otherCase(tidied[i])); break;
        case 1: partners[i] = tidied[i]; break;
        case 2: {
            std::string s = tidied[i];
            if (!s.empty()) s.back() = s.back() == 'x' ? 'y' : 'x';
            partners[i] = pathstring(s);
            break;
        }
        default: partners[i] = tidied[(i * 7919) % count]; break;
        }
    }
    size_t equal = 0;
    double quick = bench::bestOf(3, [&] {
        size_t n = 0;
        for (size_t i = 0; i < count; ++i) n += tidied[i].compareEqualQuickly(partners[i]);
        equal = n;
    });
    size_t plainEqual = 0;
    double plain = bench::bestOf(3, [&] {
        size_t n = 0;
        for (size_t i = 0; i < count; ++i)
            n += static_cast<const std::string&>(tidied[i]) == static_cast<const std::string&>(partners[i]);
        plainEqual = n;
    });

    printf("copy     %9.2f ms   (baseline: std::string copy of every path)\n", copy * 1e3);
    bench::report("tidyUp", tidy, "the copy (includes its own copy)", copy);
    bench::report("equal", quick, "the copy", copy);
    bench::report("==", plain, "the copy (std::string ==, case-sensitive)", copy);
    printf("equal/== %.2f   (compareEqualQuickly against std::string ==)\n", quick / plain);
    printf("pairs equal: %zu without case, %zu exactly; checksum %zu\n", equal, plainEqual, sink);
    return 0;
}
