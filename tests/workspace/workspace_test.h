// Helpers of the workspace tests: build a workspace on disk from a compact
// description, open it, and read listings as names; a fixture that holds
// the test directory and the workspace opened on it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/tempdir.h"
#include "workspace/workspace.h"

// A file to write: path relative to the test directory, and its content.
typedef std::vector<std::pair<std::string, std::string>> fileSet;

// Writes every file of files below dir.
inline void makeFiles(const TempDir& dir, const fileSet& files) {
    for (const auto& file : files) writeFile(dir.host(file.first), file.second);
}

// Opens dir (an engine path) and expects NoError.
inline std::unique_ptr<workspace> openOrFail(const std::string& enginePath) {
    KVE_Status status;
    workspace* opened = OpenWorkspace(status, enginePath.c_str());
    EXPECT_EQ(status.value(), KVE_Status::NoError) << "opening " << enginePath;
    return std::unique_ptr<workspace>(opened);
}

// The base names of a listing, in order; deletes the list.
inline std::vector<std::string> baseNames(fileItemList* list) {
    std::vector<std::string> names;
    for (fileItem* item : *list) names.push_back(item->getBaseName());
    delete list;
    return names;
}

// The full paths of a listing, in order; deletes the list.
inline std::vector<std::string> fullPaths(fileItemList* list) {
    std::vector<std::string> paths;
    for (fileItem* item : *list) paths.push_back(item->getFullPath());
    delete list;
    return paths;
}

// The file string of the type of a file's item ("SCH", "USER", ...), or
// "none" if the workspace has no item for it.
inline std::string typeOf(workspace& ws, const std::string& enginePath) {
    fileItem* item = ws.findItem(enginePath.c_str());
    return item ? item->getFileType().getFileString() : "none";
}

// Checks the item list of ws: strictly in item order, each item found again
// by its path in upper case, and each listing by type equal to the list
// filtered by that type, in list order. Returns the items as "name:TYPE".
inline std::vector<std::string> checkedItems(DesignWorkspace& ws, const std::string& when = "") {
    std::vector<std::string> names;
    DesignFileItem* previous = nullptr;
    for (fileItem* each : ws.getFileItems()) {
        DesignFileItem* item = static_cast<DesignFileItem*>(each);
        if (previous) {
            EXPECT_LT(previous->compareItems(item), 0)
                << previous->getFullPath() << " / " << item->getFullPath() << when;
        }
        std::string upper = item->getFullPath();
        std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
        EXPECT_EQ(ws.findItem(upper.c_str()), item) << upper << when;
        names.push_back(std::string(item->getBaseName()) + ":" + item->getFileType().getFileString());
        previous = item;
    }
    for (int type = 0; type <= KVE_fileTypeEnum::invalid; ++type) {
        std::vector<std::string> filtered;
        for (fileItem* item : ws.getFileItems())
            if (item->getFileType() == type) filtered.push_back(item->getFullPath());
        EXPECT_EQ(fullPaths(ws.getTypeItems(type)), filtered) << "type " << type << when;
    }
    return names;
}

// Sets the last write time of a host file, in seconds since 1970.
void setModificationTime(const std::string& hostPath, long seconds);

// A test directory and a workspace opened on it. Paths are relative to the
// test directory, in engine form ("ws\\a.sch").
class WorkspaceTest : public ::testing::Test {
protected:
    // Writes `files`, opens the directory `relative` ("" for the test
    // directory itself) and expects NoError; false if nothing was opened.
    bool open(const fileSet& files, const std::string& relative = "") {
        makeFiles(dir, files);
        ws = openOrFail(relative.empty() ? dir.engine() : dir.engine(relative));
        return ws != nullptr;
    }
    DesignWorkspace& design() { return static_cast<DesignWorkspace&>(*ws); }
    fileItem* item(const std::string& relative) { return ws->findItem(dir.engine(relative).c_str()); }
    // Adds a file met outside a listing, as a scan does.
    fileItem* add(const std::string& relative) { return design().addFileItem(dir.engine(relative).c_str(), nullptr); }
    std::string type(const std::string& relative) { return typeOf(*ws, dir.engine(relative)); }

    TempDir dir;
    std::unique_ptr<workspace> ws;
};
