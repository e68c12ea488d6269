// What the workspace commands of kelvault share: opening a directory given
// on the command line, and the texts a person reads for the engine's values.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "vocabulary/callback.h"
#include "workspace/fileitem.h"
#include "workspace/workspace.h"

// Opens hostDirectory (relative to the current directory; "." if empty)
// as a workspace. On failure prints "kelvault: cannot open ..." with the
// status's message on stderr and returns null.
std::unique_ptr<workspace> openWorkspaceForCommand(const std::string& hostDirectory);

// The message text of a vocabulary value ("Tarnel Sketchvane Schematic").
std::string messageText(const kelvaultDLLenum& value);

// A host path for an engine path, for showing to a person; the engine path
// itself if it has no host form.
std::string hostPathOf(const char* enginePath);

// The last write time of item in local time, "YYYY-MM-DD HH:MM".
std::string localTimeText(const FILETIME& time);

// A category named by value, file string or message text, without regard
// to case; -1 if none is.
int parseCategoryName(const std::string& text);

// The locality of a file at enginePath as a design in ws sees it, in the
// words of kelvault deps: "local" (in the workspace directory), "system"
// (in a directory of the library path), "subdir" (below the workspace),
// "external" (elsewhere).
std::string localityOfPath(const char* enginePath, workspace& ws);

// One library entry that a design file uses: a symbol, a package or a
// model, with the library it comes from.
struct usedEntry {
    std::string kind;     // "symbol", "package" or "model"
    std::string name;     // as the design asked for it
    std::string library;  // host path of the library; empty if unknown
    std::string locality; // of the library, as localityOfPath gives it
    std::string parent;   // the entry it is derived from; empty if none
};

// The symbols, packages and models that item's scan recorded, in that
// order and in the order met. Call after a scan (getFileDependencies).
std::vector<usedEntry> usedEntriesOf(DesignFileItem& item, workspace& ws);

// The kinds of used entries, in the order the commands show them:
// "symbol", "package", "model".
extern const char* const usedEntryKinds[3];

// The entries of kind, in the order met. nameWidth, when given, gets the
// length of the longest name among them.
std::vector<const usedEntry*> usedEntriesOfKind(const std::vector<usedEntry>& entries, const char* kind,
                                                size_t* nameWidth = nullptr);

// How printUsedEntries lays out its lines.
enum class usedEntryLayout {
    LocalityFirst, // "|-- local    NAME  LIBRARY  (on PARENT)"; no heading when there are none
    LocalityAfter, // "|-- NAME  LIBRARY [local]  (on PARENT)"; "`-- (none)" when there are none
};

// Prints the entries of kind as a small tree under the heading
// "KINDs<headingEnd> (N)", names in one column, "(no library)" where the
// library is unknown, and the entry a symbol is drawn on as "(on PARENT)".
void printUsedEntries(const std::vector<usedEntry>& entries, const char* kind, const char* headingEnd,
                      usedEntryLayout layout);

// The entries of kind as a JSON array of objects with name, library,
// locality and parent (null where unknown or none).
class JsonWriter;
void writeUsedEntries(JsonWriter& j, const std::vector<usedEntry>& entries, const char* kind);

// The members "symbols", "packages" and "models" of the JSON object being
// written, each an array as writeUsedEntries writes it.
void writeUsedEntryMembers(JsonWriter& j, const std::vector<usedEntry>& entries);

// The design file that a command names by its host path: its directory is
// opened as a workspace (into ws) and the file's item returned. On failure
// prints why on stderr and returns null.
DesignFileItem* openDesignFileForCommand(const std::string& hostFile, std::unique_ptr<workspace>& ws);

// A problem that a scan told its client.
struct scanProblem {
    std::string action;   // file string of the action ("CannotFindSymbol")
    std::string severity; // "warning", "error"
    std::string detail;
    std::string message;
};

// A client that keeps the warnings and errors a scan reports, each message
// once; informational actions (a library being searched) are passed over.
class problemCollector : public callBack {
public:
    void notify(callBackRecord& record) override;
    std::vector<scanProblem> problems;

private:
    std::set<std::string> seen;
};
