// Shortcuts of the platform layer on the way of opening a workspace, against
// what they stand for: kvFopen for reading, which opens a name that is there
// as spelled without asking the disk first (it must give what the case-blind
// search gives, for files, other spellings, missing names and what is no
// file). The order of a listing is tested with the other listings.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/stat.h>

#include "platform/platform.h"
#include "support/tempdir.h"

static std::string firstLine(FILE* f) {
    char line[256] = "";
    if (!fgets(line, sizeof line, f)) return "(nothing)";
    return line;
}

TEST(OpenAsSpelled, FilesOpenByAnySpellingAndReadWhatIsThereNow) {
    TempDir dir;
    writeFile(dir.host("Dir/Design.sch"), "first\r\n");
    for (const char* spelling : {"Dir\\Design.sch", "DIR\\design.SCH", "dir/Design.sch"}) {
        for (const char* mode : {"r", "rb"}) {
            FILE* f = kvFopen(dir.engine(spelling).c_str(), mode);
            ASSERT_NE(f, nullptr) << spelling << " " << mode;
            EXPECT_EQ(firstLine(f), std::string(mode[1] == 'b' ? "first\r\n" : "first\n")) << spelling;
            fclose(f);
        }
    }
    writeFile(dir.host("Dir/Design.sch"), "second\n");
    FILE* f = kvFopen(dir.engine("Dir\\Design.sch").c_str(), "r");
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(firstLine(f), "second\n") << "nothing of the file is kept between opens";
    fclose(f);
}

TEST(OpenAsSpelled, WhatIsNoFileDoesNotOpen) {
    TempDir dir;
    writeFile(dir.host("Dir/file.txt"), "x\n");
    struct Case {
        const char* path;
        DWORD error;
    };
    const Case cases[] = {
        {"Dir", ERROR_ACCESS_DENIED},               // a directory, as spelled
        {"DIR", ERROR_ACCESS_DENIED},               // and by another spelling
        {"Dir\\missing.txt", ERROR_FILE_NOT_FOUND}, // the directory is there
        {"Nodir\\file.txt", ERROR_PATH_NOT_FOUND},  // it is not
        {"Dir\\file.txt\\x", ERROR_PATH_NOT_FOUND}, // a file as a directory
    };
    for (const Case& c : cases) {
        SetLastError(0);
        EXPECT_EQ(kvFopen(dir.engine(c.path).c_str(), "r"), nullptr) << c.path;
        EXPECT_EQ(GetLastError(), c.error) << c.path;
    }
    // A pipe is no file: refused at once, without waiting for a writer.
    ASSERT_EQ(mkfifo(dir.host("Dir/pipe").c_str(), 0644), 0);
    SetLastError(0);
    EXPECT_EQ(kvFopen(dir.engine("Dir\\pipe").c_str(), "r"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}
