// Helpers of the scanning tests: a design tree on disk with its library
// path, an operation that maps paths the way a copy does, a client that
// records what it is told, and the read-back of a block index.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "operations/operation.h"
#include "paths/pathstring.h"
#include "support/recorders.h"
#include "support/tempdir.h"
#include "vocabulary/callback.h"
#include "workspace/context.h"
#include "workspace/fileitem.h"
#include "workspace/workspace.h"

// Replaces every occurrence of from in text by to.
std::string replaceAll(std::string text, const std::string& from, const std::string& to);

// Copies the tree below hostSource into hostTarget, replacing "@ROOT@" in
// every file by root (the engine path of the test directory).
void copyTree(const std::string& hostSource, const std::string& hostTarget, const std::string& root);

// A library configuration whose library path is the directory syslib of
// dir, with an empty fixed INI file; dropped again at the end.
class LibraryPathScope {
public:
    explicit LibraryPathScope(const TempDir& dir);
    ~LibraryPathScope();

private:
    std::string savedWindir;
    bool hadWindir = false;
};

// An operation of a rewrite that maps paths as a copy at IncludeLocal
// does: a path is made absolute against the file's directory; a file
// below the source directory goes to the same place below the target; a
// file in a system library directory keeps its bare name; any other stays
// where it is. A path that then lies directly in the target directory
// becomes a bare name.
class copyLikeOperation : public InternalFunctionObject {
public:
    copyLikeOperation(const std::string& sourceDirectory, const std::string& targetDirectory,
                      const std::string& fileDirectory);
    bool dependencyFound(pathstring& path, bool isLibraryDependency, bool skipModelLibraries) override;
    bool acceptsItem(fileItem*) override { return true; }
    std::list<std::string>* getModelLibraryPaths() override;

    std::vector<std::string> found;         // paths as reported
    std::vector<std::string> modelLibraries; // given for a default library, if set
    bool giveModelLibraries = false;

private:
    pathstring source, target, directory;
};

// The dependency data of item as text, one line each, paths with root
// replaced by "@ROOT@": "file PATH LOCALITY exists|missing", "system ...",
// "library PATH kind N", "model NAME", "symbol NAME LIBRARY",
// "package NAME LIBRARY".
std::string describeScan(DesignFileItem& item, const std::string& root);

// A test name made of a description: its letters and digits, each word
// capitalised ("a loop ends" -> "ALoopEnds").
std::string testName(const std::string& description);

// The name of a locality value ("Local", "Local_subdir", ...).
std::string localityName(const KVE_Locality& locality);

// A design on disk, opened as a workspace, for the unit tests.
class scanFixture : public ::testing::Test {
protected:
    // Writes files (path, content) below the test directory and opens it,
    // or its subdirectory at.
    void open(const std::vector<std::pair<std::string, std::string>>& files, const std::string& at = "");
    // The item of a file below the test directory; fails the test if none.
    DesignFileItem* item(const std::string& relative);
    // The base names of a list of items.
    static std::vector<std::string> names(const std::list<fileItem*>& items);
    // Reads the directory again after files changed, with a new time on
    // relative so that its stamp changes even within one second.
    void touchAndRefresh(const std::string& relative, long seconds);
    // Rewrites the file from into to (both below the test directory)
    // through a copyLikeOperation from from's directory to to's, which is
    // made first; the rewrite must report success. Returns the output. The
    // paths the operation was told go to found; modelLibraries, when
    // given, stand for a default model library.
    std::string rewrite(const std::string& from, const std::string& to, std::vector<std::string>* found = nullptr,
                        const std::vector<std::string>* modelLibraries = nullptr);

    TempDir dir;
    std::unique_ptr<workspace> ws;
};

// The text of a symbol or package library: an index with one true line per
// entry (names field, offset, size), then the entries' texts.
std::string libraryText(const std::vector<std::pair<std::string, std::string>>& entries);

// One line of a block index, "symloc NAME OFFSET SIZE" or "pageloc PAGE
// OFFSET SIZE": its first field and its numbers.
struct indexLine {
    std::string name;
    long offset = 0, size = 0;
};

// The lines of text that begin with keyword ("symloc ", "pageloc "), in order.
std::vector<indexLine> indexLines(const std::string& text, const std::string& keyword);

// The positions of the lines of text that begin with one of prefixes.
std::vector<long> lineStarts(const std::string& text, const std::vector<std::string>& prefixes);

// Checks that the index of text is true: the k-th keyword line, counted
// from the first one's offset, points at the k-th block (a line beginning
// with one of blocks) and its size runs to the next block, the last to the
// end of the text. count: the number of both, or -1 for "as many as there
// are index lines".
void expectTrueIndex(const std::string& text, const std::string& keyword, const std::vector<std::string>& blocks,
                     int count = -1);
