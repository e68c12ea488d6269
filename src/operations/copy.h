// IFOcopy: the copy of a design, and the working base of the move, archive
// and restore operations.
//
// The object is built on the stack of DesignWorkspace::copyDesign, runs
// execute once and is destroyed; its destructor sends the closing action,
// after a Cancel too. Every action goes out through reportAction with the
// one callBackRecord embedded here, its message formed from the string
// table with %1 to %9 filled from the current names.
//
// Contents:
//   1. Construction, destruction, execute.
//   2. The InternalFunctionObject operations.
//   3. Sending actions: sendAction, sendActionWithTarget, the counters.
//   4. Target names: mapTargetPath, setCurrentNames, unlockAll.
#pragma once

#include <list>
#include <map>
#include <set>
#include <string>

#include "operations/operation.h"
#include "paths/pathstring.h"

class DesignWorkspace;

class IFOcopy : public InternalFunctionObject {
public:
    // client may be a dummyCallback, workspace null (then execute does
    // nothing). target becomes the tidied, long-name target directory.
    // Neither the client nor the options nor the workspace are owned.
    IFOcopy(callBack* client, const char* target, copyOptions* options, DesignWorkspace* workspace);
    // Discards the workspace's scan results, sweeps the items no local item
    // reaches any more, and sends the finish action (whatever the answer).
    ~IFOcopy();

    // --- 1. the run --------------------------------------------------------
    // Sends the begin action (unless it is `invalid`), naming the level of
    // the options. With no workspace nothing is sent. The plan and the copy
    // of the files join here; until they do, the run ends after the begin
    // action with the unlocks of an empty plan.
    virtual void execute();

    // --- 2. InternalFunctionObject ----------------------------------------
    // Sends the unlocks of every planned file (once), then empties the plan's
    // queues. Later calls do nothing.
    void abort() override;
    // Makes a relative path absolute against the current file's directory,
    // gives it its planned target, and shortens the names of neighbours and
    // of system libraries to their base names.
    bool dependencyFound(pathstring& path, bool isLibraryDependency, bool skipModelLibraries) override;
    const char* getAuxiliaryPath() override;
    std::list<std::string>* getLibraryLines() override;
    std::list<std::string>* getModelLibraryPaths() override;
    bool isAborted() override { return aborted; }
    void setAuxiliaryPath(const char* path) override;
    bool acceptsItem(fileItem*) override { return true; }
    void reportAction(const KVE_callBackAction& action, const char* detail, fileItem* other) override;
    // A CannotFindSymbol already reported for the current file (by its
    // text, without regard to case) is not sent again. Returns true if the
    // client answered Cancel.
    bool reportProblem(const KVE_callBackAction& action, const char* detail, fileItem* item) override;

    // --- 3. sending actions -----------------------------------------------
    // Sends action about item (null: no file), with other as the file in
    // conflict and detail as %9; the current item and names are restored
    // afterwards. out receives the answer.
    void sendAction(const KVE_callBackAction& action, KVE_callBackStatus& out, fileItem* item,
                    fileItem* other = nullptr, const char* detail = nullptr);
    // The same with an explicit target path and no mapping.
    void sendActionWithTarget(const KVE_callBackAction& action, KVE_callBackStatus& out, fileItem* item,
                              const pathstring& target);
    // %7 and %8 of the messages.
    void setFileNumber(int number);
    void setFileCount(int count);
    int getFileNumber() const { return fileNumber; }
    int getFileCount() const { return fileCount; }

    // --- 4. target names --------------------------------------------------
    // Turns item's source path into its target path: local files keep their
    // place under the target directory, system files go below the externals
    // subdirectory by drive and directory, other external files side by
    // side into the target directory.
    void mapTargetPath(pathstring& path, fileItem* item);
    // Source names of item, and its planned target if it has one (true).
    bool setCurrentNames(fileItem* item);
    // Sends UnlockSourceFile (and UnlockTargetFile where there is a target)
    // for every file to process and every file processed.
    void unlockAll();

    const pathstring& getTargetDirectory() const { return targetDirectory; }
    const KVE_callBackAction& getBeginAction() const { return beginAction; }
    const KVE_callBackAction& getFinishAction() const { return finishAction; }

protected:
    pathstring targetDirectory;
    callBack* client;
    DesignWorkspace* designWorkspace;
    copyOptions* options;
    KVE_callBackAction beginAction;
    KVE_callBackAction globalLibAction;
    KVE_callBackAction finishAction;
    pathstring finishDetail;
    fileItem* currentItem = nullptr;
    pathstring currentTarget;
    pathstring currentTargetDir;
    callBackRecord record;
    std::string sourceDirText, sourceNameText, targetNameText, targetDirText, otherNameText, otherDirText;
    pathstring auxiliaryPath;
    bool aborted = false;
    bool rootHasLibraryUse = false;
    int fileNumber = -1;
    int fileCount = -1;
    std::string fileNumberText, fileCountText;

    // The plan: where each file goes, and which files the copy takes.
    std::map<fileItem*, pathstring> targetMap;
    std::set<fileItem*> pendingItems;
    std::set<fileItem*> seenItems;
    std::set<fileItem*> filesToProcess;
    std::set<fileItem*> processedFiles;

private:
    // Forms the message of the record, hands it to the client, and aborts
    // on Cancel.
    void notifyClient();
};
