// The reading of an index line's fields: it must give exactly what the C
// library's scanf gives for "%1023s %d %d %c", since the index format is
// defined by that read. The C library is the oracle here, on lines a damaged
// or hand-edited library brings and on random ones.
#include <climits>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "libraries/libraryitem.h"

namespace {

struct fields {
    char name[1024];
    int offset, size;
    char mark;
};

// Both readers start from the same outputs, as generateIndexList's do: the
// numbers of the line before, an empty name and no mark.
void expectSameAsScanf(const std::string& text) {
    fields mine, theirs;
    for (fields* f : {&mine, &theirs}) {
        memset(f->name, 0, sizeof f->name);
        f->offset = 111;
        f->size = 222;
        f->mark = 0;
    }
    readIndexFields(text.c_str(), mine.name, mine.offset, mine.size, mine.mark);
    sscanf(text.c_str(), "%1023s %d %d %c", theirs.name, &theirs.offset, &theirs.size, &theirs.mark);
    EXPECT_STREQ(mine.name, theirs.name) << '"' << text << '"';
    EXPECT_EQ(mine.offset, theirs.offset) << '"' << text << '"';
    EXPECT_EQ(mine.size, theirs.size) << '"' << text << '"';
    EXPECT_EQ(mine.mark, theirs.mark) << '"' << text << '"';
}

TEST(IndexFields, LinesOfRealAndDamagedLibraries) {
    const char* lines[] = {
        "r1206 00000000 00000123\n",
        "r1206:res 00000010 00000020 b\n",
        "a,b,c:base 12 34 x\r\n",
        "  \t name   7\t 8   \n", // blanks of every kind between fields
        "name 00000012\n",        // no size: keeps the one before
        "name\n",                 // no numbers at all
        "name x12 5\n",           // a number that is not one
        "name 12x 5\n",           // digits with junk behind
        "name -5 +7 b\n",         // signs
        "name - 7\n",             // a sign alone
        "name +\n",
        "name 2147483647 2147483648\n",           // around the int's end
        "name -2147483648 -2147483649\n",
        "name 99999999999 -99999999999\n",        // beyond int, within long
        "name 9223372036854775807 9223372036854775808\n", // around the long's end
        "name -9223372036854775808 -99999999999999999999999\n",
        "name 12345678 -87654321 b\n", // eight digits, as libraries write them
        "name 1234567 123456789\n",    // one fewer and one more
        "name 12345678 123456789\n",   // eight, then nine
        "name 12345678 1234567x\n",
        "name 12345678  12345678\n",   // two blanks between
        "name 12345678 12345678b",     // a mark behind the digits, at the end
        "name 00000000 00000000",
        "name 09090909 +99999999\n",
        "name 1 2 \n",            // nothing after the size but blanks
        "name 1 2 bb\n",          // the mark is one character
        "",
        "   \n",
        "\v\f name\v1\f2\vq",
        "n\x80\xff 1 2 \xe9\n",   // high bytes are not blanks
    };
    for (const char* line : lines) expectSameAsScanf(line);
    // A name longer than the field's 1023 characters is cut there, and the
    // rest of it is where the offset is looked for.
    expectSameAsScanf(std::string(1030, 'n') + " 1 2 b");
    expectSameAsScanf(std::string(1023, 'n') + "9 1 2 b");
}

TEST(IndexFields, RandomLinesOfIndexCharacters) {
    // Characters that matter to the read, with everything else standing in
    // for a name character.
    const char alphabet[] = " \t\r\n\v-+0123456789bB:,x\x80";
    std::mt19937 random(20261123);
    for (int round = 0; round < 20000; ++round) {
        std::string line(random() % 40, ' ');
        for (char& c : line) c = alphabet[random() % (sizeof alphabet - 1)];
        expectSameAsScanf(line);
        if (HasFailure()) return;
    }
}

} // namespace
