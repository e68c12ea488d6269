// IFOcopy: construction and destruction, the run, and the way every action
// reaches the client.
//
// Contents:
//   1. The InternalFunctionObject defaults.
//   2. Construction, destruction, execute.
//   3. Reporting: reportAction, reportProblem, sendAction,
//      sendActionWithTarget, the counters.
//   4. abort and the rest of the InternalFunctionObject operations.
//   5. Target names: mapTargetPath, setCurrentNames, unlockAll.
#include "operations/copy.h"

#include <cstdio>
#include <cstring>

#include "workspace/context.h"
#include "workspace/fileitem.h"
#include "workspace/itemindex.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. The InternalFunctionObject defaults
// ---------------------------------------------------------------------------

void InternalFunctionObject::abort() {}
const char* InternalFunctionObject::getAuxiliaryPath() { return nullptr; }
std::list<std::string>* InternalFunctionObject::getLibraryLines() { return nullptr; }
std::list<std::string>* InternalFunctionObject::getModelLibraryPaths() { return nullptr; }
bool InternalFunctionObject::isAborted() { return false; }
void InternalFunctionObject::setAuxiliaryPath(const char*) {}
void InternalFunctionObject::reportAction(const KVE_callBackAction&, const char*, fileItem*) {}
bool InternalFunctionObject::isScanOnly() { return false; }
bool InternalFunctionObject::reportProblem(const KVE_callBackAction&, const char*, fileItem*) { return false; }

bool InternalFunctionObject::isAlreadyNoted(const char* text) {
    return !notedTexts.insert(foldCase(text ? text : "")).second;
}

// ---------------------------------------------------------------------------
// 2. Construction, destruction, execute
// ---------------------------------------------------------------------------

IFOcopy::IFOcopy(callBack* client_, const char* target, copyOptions* options_, DesignWorkspace* workspace)
    : client(client_), designWorkspace(workspace), options(options_) {
    targetDirectory = target ? target : ""; // tidied on assignment
    std::string longName;
    targetDirectory.getLFN(longName);
    if (!targetDirectory.empty()) targetDirectory = pathstring(longName); // copy: no second tidy
    beginAction = KVE_callBackAction::BeginningCopy;
    globalLibAction = KVE_callBackAction::CopyingGlobalLibFile;
    finishAction = KVE_callBackAction::FinishedCopy;
    finishDetail = targetDirectory;
    setFileNumber(0);
    setFileCount(0);
}

IFOcopy::~IFOcopy() {
    if (designWorkspace) {
        designWorkspace->discardScanResults(false);
        designWorkspace->sweepUnreachedItems();
    }
    // The operation is over: a Cancel to the finish action changes nothing.
    aborted = true;
    KVE_callBackStatus ignored;
    sendAction(finishAction, ignored, nullptr, nullptr, finishDetail.c_str());
}

void IFOcopy::execute() {
    if (!designWorkspace) return;
    if (beginAction != KVE_callBackAction::invalid) {
        char level[512] = "";
        if (options) options->localize.getMessageString(level, sizeof level);
        KVE_callBackStatus answer;
        sendAction(beginAction, answer, nullptr, nullptr, level);
        if (aborted) return;
    }
    // Nothing is planned yet, so nothing is locked; the unlocks of the plan
    // end the run.
    unlockAll();
}

// ---------------------------------------------------------------------------
// 3. Reporting
// ---------------------------------------------------------------------------

void IFOcopy::notifyClient() {
    static dummyCallback nobody;
    callBack& to = client ? *client : static_cast<callBack&>(nobody);
    sendCallBackRecord(to, record);
    record.status.validate();
}

void IFOcopy::reportAction(const KVE_callBackAction& action, const char* detail, fileItem* other) {
    currentTarget.getBase(targetNameText);
    currentTarget.getPath(targetDirText);
    if (other) {
        pathstring otherPath(std::string(other->getFullPath())); // a copy: no tidy
        otherNameText = other->getBaseName();
        otherPath.getPath(otherDirText);
    } else {
        otherNameText.clear();
        otherDirText.clear();
    }
    record.action = action;
    record.item = currentItem;
    record.sourceName = sourceNameText.c_str();
    record.sourceDir = sourceDirText.c_str();
    record.targetName = targetNameText.c_str();
    record.targetDir = targetDirText.c_str();
    record.otherName = otherNameText.c_str();
    record.otherDir = otherDirText.c_str();
    record.fileNumber = fileNumber;
    record.fileCount = fileCount;
    record.status = KVE_callBackStatus::Okay;
    record.detail = detail ? detail : "";
    notifyClient();
    if (record.status == KVE_callBackStatus::Cancel) abort();
}

bool IFOcopy::reportProblem(const KVE_callBackAction& action_, const char* detail, fileItem* item) {
    KVE_callBackAction action(action_);
    if (!detail) detail = "";
    if (action == KVE_callBackAction::CannotFindSymbol && isAlreadyNoted(detail)) return false;
    if (action == KVE_callBackAction::invalid) return false;
    std::string name, directory;
    if (item) {
        name = item->getBaseName();
        pathstring(std::string(item->getFullPath())).getPath(directory);
    }
    static const char empty[] = "";
    record.action = action;
    record.item = item;
    record.sourceName = name.c_str();
    record.sourceDir = directory.c_str();
    record.targetName = empty;
    record.targetDir = empty;
    record.otherName = empty;
    record.otherDir = empty;
    record.fileNumber = fileNumber;
    record.fileCount = fileCount;
    record.status = KVE_callBackStatus::Okay;
    record.detail = detail;
    notifyClient();
    // The record must not keep pointers into the locals above.
    record.sourceName = record.sourceDir = empty;
    if (record.status == KVE_callBackStatus::Cancel) {
        abort();
        return true;
    }
    return false;
}

void IFOcopy::sendAction(const KVE_callBackAction& action, KVE_callBackStatus& out, fileItem* item,
                         fileItem* other, const char* detail) {
    fileItem* savedItem = currentItem;
    pathstring savedTarget = currentTarget;
    std::string savedName = sourceNameText, savedDir = sourceDirText;
    currentItem = item;
    if (item) {
        currentTarget = pathstring(std::string(item->getFullPath()));
        mapTargetPath(currentTarget, item);
        sourceNameText = item->getBaseName();
        pathstring(std::string(item->getFullPath())).getPath(sourceDirText);
    } else {
        currentTarget.clear();
        sourceNameText.clear();
        sourceDirText.clear();
    }
    reportAction(action, detail, other);
    out = record.status;
    out.validate();
    currentItem = savedItem;
    currentTarget = savedTarget;
    sourceNameText = savedName;
    sourceDirText = savedDir;
}

void IFOcopy::sendActionWithTarget(const KVE_callBackAction& action, KVE_callBackStatus& out, fileItem* item,
                                   const pathstring& target) {
    fileItem* savedItem = currentItem;
    pathstring savedTarget = currentTarget;
    std::string savedName = sourceNameText, savedDir = sourceDirText;
    currentItem = item;
    if (item) {
        sourceNameText = item->getBaseName();
        pathstring(std::string(item->getFullPath())).getPath(sourceDirText);
    } else {
        sourceNameText.clear();
        sourceDirText.clear();
    }
    currentTarget = target;
    reportAction(action, nullptr, nullptr);
    out = record.status;
    out.validate();
    currentItem = savedItem;
    currentTarget = savedTarget;
    sourceNameText = savedName;
    sourceDirText = savedDir;
}

void IFOcopy::setFileNumber(int number) {
    if (number == fileNumber) return;
    fileNumber = number;
    fileNumberText = std::to_string(number);
}

void IFOcopy::setFileCount(int count) {
    if (count == fileCount) return;
    fileCount = count;
    fileCountText = std::to_string(count);
}

// ---------------------------------------------------------------------------
// 4. abort and the rest
// ---------------------------------------------------------------------------

void IFOcopy::abort() {
    if (aborted) return;
    aborted = true;
    unlockAll();
    pendingItems.clear();
    filesToProcess.clear();
    processedFiles.clear();
}

bool IFOcopy::dependencyFound(pathstring& path, bool, bool) {
    if (currentItem) path.assignRelativeTo(pathstring(std::string(currentItem->getFullPath())).getPath());
    if (designWorkspace) {
        fileItem* item = designWorkspace->addFileItem(path.c_str(), nullptr);
        auto planned = targetMap.find(item);
        if (planned != targetMap.end()) path = planned->second;
    }
    if (currentItem) {
        pathstring directory = path.getPath();
        if (directory.compareEqualQuickly(currentTargetDir) || isSystemLibraryPath(directory.c_str()))
            path = path.getBase();
    }
    return true;
}

const char* IFOcopy::getAuxiliaryPath() { return auxiliaryPath.c_str(); }

void IFOcopy::setAuxiliaryPath(const char* path) {
    auxiliaryPath = path ? path : ""; // tidied on assignment
}

std::list<std::string>* IFOcopy::getLibraryLines() { return nullptr; }
std::list<std::string>* IFOcopy::getModelLibraryPaths() { return nullptr; }

// ---------------------------------------------------------------------------
// 5. Target names
// ---------------------------------------------------------------------------

void IFOcopy::mapTargetPath(pathstring& path, fileItem* item) {
    if (!item) return;
    pathstring target = targetDirectory;
    target.forceEndInSlash();
    if (item->isLocal()) {
        std::string base = designWorkspace ? designWorkspace->getDirectory() : "";
        path.makeRelativeTo(base.c_str());
        path.assignRelativeTo(target);
    } else if (item->isSystem()) {
        pathstring mapped = target;
        mapped.appendComponent(GetNameOfExternalsSubdirectory());
        if (path.hasDriveLetter()) mapped.appendComponent(path.getDriveNoColon());
        std::string directory = path.getDirectory();
        if (!directory.empty()) mapped.appendComponent(directory);
        mapped.appendComponent(path.getBase());
        path = mapped;
    } else {
        path.changePath(target);
    }
}

bool IFOcopy::setCurrentNames(fileItem* item) {
    if (!item) return false;
    sourceNameText = item->getBaseName();
    pathstring(std::string(item->getFullPath())).getPath(sourceDirText);
    auto planned = targetMap.find(item);
    if (planned == targetMap.end()) {
        currentTarget.clear();
        currentTargetDir.clear();
        return false;
    }
    currentTarget = planned->second;
    currentTargetDir = currentTarget.getPath();
    return true;
}

void IFOcopy::unlockAll() {
    KVE_callBackStatus ignored;
    // Copies: a Cancel in between runs abort, which empties the sets.
    const std::set<fileItem*> lists[2] = {filesToProcess, processedFiles};
    for (const std::set<fileItem*>& files : lists) {
        for (fileItem* item : files) {
            setCurrentNames(item);
            pathstring target = currentTarget;
            sendAction(KVE_callBackAction::UnlockSourceFile, ignored, item);
            if (!target.empty()) sendActionWithTarget(KVE_callBackAction::UnlockTargetFile, ignored, item, target);
        }
    }
}
