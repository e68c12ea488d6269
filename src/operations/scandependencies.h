// IFOscanDependencies: the operation object of a read-only scan.
//
// A stale item builds one on the stack whenever its dependency lists are
// wanted, runs DesignFileItem::scanFile with it, and drops it. Each path
// that the line engine meets becomes an entry in the scanned item's lists:
// dependency finding and path rewriting share one set of parsers.
#pragma once

#include <string>
#include <unordered_map>
#include <utility>

#include "operations/operation.h"
#include "paths/pathstring.h"

class DesignWorkspace;
class DesignFileItem;

class IFOscanDependencies : public InternalFunctionObject {
public:
    // item must be a DesignFileItem of a DesignWorkspace; neither it nor
    // client is owned. client may be null (nothing is sent then).
    IFOscanDependencies(callBack* client, fileItem* item);

    // Does nothing: a scan cannot be stopped from here.
    void abort() override;
    // Makes path absolute against the item's directory, prints the trace
    // "FILE DEPENDENCY FOUND: <path>", and records the file's item as a
    // system dependency (isLibraryDependency) or a dependency. Always true.
    bool dependencyFound(pathstring& path, bool isLibraryDependency, bool skipModelLibraries) override;
    bool isScanOnly() override { return true; }
    bool acceptsItem(fileItem*) override { return true; }
    // Sends action with other as the file concerned and detail as %9.
    void reportAction(const KVE_callBackAction& action, const char* detail, fileItem* other) override;
    // Sends action about item; a CannotFindSymbol once per text. True if
    // the client answered Cancel (the scanner then ends its file).
    bool reportProblem(const KVE_callBackAction& action, const char* detail, fileItem* item) override;

private:
    // Forms the message and sends the record.
    void send();

    callBack* client;
    fileItem* scannedItem;
    callBackRecord record;
    pathstring itemDirectory;
    // Each path met, as given, with the path made absolute and its item.
    // Items do not go while a scan runs, and the object lives for one scan.
    struct pathAnswer {
        pathstring path;
        fileItem* item;  // null when it names none
        bool asGiven;    // path is the path as given (a full path)
    };
    using pathMet = std::unordered_map<std::string, pathAnswer>::value_type;
    std::unordered_map<std::string, pathAnswer> pathsMet;
    // Paths met lately, by a hash of their length and last bytes: a
    // schematic names the same few libraries at every part, and paths of
    // one directory differ at their ends. Nodes of the map stay where they
    // are.
    static const size_t recentCount = 16;
    const pathMet* recent[recentCount] = {};
    static size_t recentSlot(const pathstring& path);
    pathstring unusedPath;
    DesignWorkspace* scanWorkspace;
    std::string nameText, directoryText, otherNameText, otherDirText;
};
