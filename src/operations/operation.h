// The interface between a running operation and the code it drives.
//
// Every long action on a design (copy, move, archive, restore, a scan) is a
// function object that lives on the stack of the workspace call. The same
// object is handed to every scanner and rewriter and to the library
// writers: through InternalFunctionObject they learn the new place of a
// file and reach the client.
//
// Contents:
//   1. copyOptions: what the client asks of an operation.
//   2. InternalFunctionObject: the channel, with the noted-texts memory that
//      keeps a missing symbol from being reported twice for one file.
#pragma once

#include <list>
#include <string>
#include <unordered_set>

#include "vocabulary/callback.h"
#include "vocabulary/enums.h"

class fileItem;
class pathstring;

// ---------------------------------------------------------------------------
// 1. copyOptions
// ---------------------------------------------------------------------------

// Owned by the client and read throughout an operation.
struct copyOptions {
    // How far the operation follows dependencies.
    KVE_localizeEnum localize;
    // Files of the checkpoints of a selected local item join the operation.
    bool includeCheckPoints = false;
    // Members of the output and report folders of a selected local item
    // join the operation.
    bool includeSecondaryFiles = false;
};

// ---------------------------------------------------------------------------
// 2. InternalFunctionObject
// ---------------------------------------------------------------------------

// Operation objects live on the stack and are always destroyed as what they
// are, so the destructor is not virtual.
class InternalFunctionObject {
public:
    InternalFunctionObject() = default;
    InternalFunctionObject(const InternalFunctionObject&) = delete;
    InternalFunctionObject& operator=(const InternalFunctionObject&) = delete;

    // Ends the operation now. Does nothing here.
    virtual void abort();
    // A scanner met path in the current file. The operation may replace
    // path by the text to write instead. Returns true to go on.
    virtual bool dependencyFound(pathstring& path, bool isLibraryDependency, bool skipModelLibraries) = 0;
    // True if text was noted before (without regard to case); otherwise
    // notes it and returns false.
    virtual bool isAlreadyNoted(const char* text);
    // A path kept for the client; null here.
    virtual const char* getAuxiliaryPath();
    // Lines to add to a schematic's library section, or null. The caller
    // owns the list.
    virtual std::list<std::string>* getLibraryLines();
    // Model library paths to add to a circuit file, or null. The caller
    // owns the list.
    virtual std::list<std::string>* getModelLibraryPaths();
    // Whether abort has run; false here.
    virtual bool isAborted();
    // Keeps a path; nothing here.
    virtual void setAuxiliaryPath(const char* path);
    // True in every operation; nothing in the engine asks.
    virtual bool acceptsItem(fileItem* item) = 0;
    // Sends action to the client with the current state of the operation,
    // detail as %9 and other as the file in conflict. Nothing here.
    virtual void reportAction(const KVE_callBackAction& action, const char* detail, fileItem* other);
    // True only for a scan, which records rather than rewrites.
    virtual bool isScanOnly();
    // Sends action about item (a problem such as a missing symbol, named by
    // detail). Returns true if the client's answer aborted the operation.
    // False here.
    virtual bool reportProblem(const KVE_callBackAction& action, const char* detail, fileItem* item);

    // Forgets every noted text (before each file of a plan).
    void clearNotedTexts() { notedTexts.clear(); }

protected:
    ~InternalFunctionObject() = default;

    // Folded to ASCII lower case: a schematic may note thousands of names.
    std::unordered_set<std::string> notedTexts;
};
