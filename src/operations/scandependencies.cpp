// IFOscanDependencies: construction, the recording of found paths, and the
// two ways a scan speaks to the client.
#include "operations/scandependencies.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/platform.h"

#include "workspace/fileitem.h"
#include "workspace/workspace.h"

IFOscanDependencies::IFOscanDependencies(callBack* client_, fileItem* item)
    : client(client_), scannedItem(item), scanWorkspace(nullptr) {
    if (DesignFileItem* design = dynamic_cast<DesignFileItem*>(item)) {
        itemDirectory = design->getDirectoryString();
        scanWorkspace = dynamic_cast<DesignWorkspace*>(design->getOwner());
    }
    record.action = KVE_callBackAction::invalid;
    record.status = KVE_callBackStatus::Okay;
    static const char empty[] = "";
    record.sourceName = record.sourceDir = record.targetName = record.targetDir = empty;
    record.otherName = record.otherDir = record.detail = empty;
}

void IFOscanDependencies::abort() {}

size_t IFOscanDependencies::recentSlot(const pathstring& path) {
    uint64_t tail = 0;
    const size_t size = path.size();
    memcpy(&tail, path.data() + (size > 8 ? size - 8 : 0), size < 8 ? size : 8);
    return static_cast<size_t>(((tail ^ size) * 0x9E3779B97F4A7C15ull) >> 60) % recentCount;
}

bool IFOscanDependencies::dependencyFound(pathstring& path, bool isLibraryDependency, bool) {
    // A schematic names the same library at every part: the path work and
    // the item's look-up are done once for each path met.
    const size_t slot = recentSlot(path);
    const pathMet* known = recent[slot];
    if (!known || known->first.size() != path.size() || memcmp(known->first.data(), path.data(), path.size()) != 0) {
        auto met = pathsMet.find(path);
        if (met == pathsMet.end()) {
            std::string given(path);
            path.assignRelativeTo(itemDirectory);
            // A path that names no file (an empty reference, made absolute,
            // is the file's own directory) is not one the workspace can take
            // as an item.
            fileItem* item = nullptr;
            if (scanWorkspace && !path.getBase().empty()) item = scanWorkspace->addFileItem(path.c_str(), nullptr);
            const bool asGiven = given == path;
            met = pathsMet.emplace(std::move(given), pathAnswer{path, item, asGiven}).first;
        }
        known = recent[slot] = &*met;
    }
    if (!known->second.asGiven) path = known->second.path;
    kvTrace("FILE DEPENDENCY FOUND: %s\n", path.c_str());
    fileItem* found = known->second.item;
    if (!found) return true;
    DesignFileItem* item = static_cast<DesignFileItem*>(scannedItem);
    if (isLibraryDependency)
        item->addSystemDependency(found);
    else
        item->addDependency(found);
    return true;
}

void IFOscanDependencies::send() {
    if (!client) return;
    sendCallBackRecord(*client, record);
    record.status.validate();
}

void IFOscanDependencies::reportAction(const KVE_callBackAction& action, const char* detail, fileItem* other) {
    static const char empty[] = "";
    record.action = action;
    record.action.validate();
    if (other) {
        nameText = otherNameText = other->getBaseName();
        pathstring(std::string(other->getFullPath())).getPath(directoryText);
        otherDirText = directoryText;
        record.item = other;
    } else {
        nameText.clear();
        directoryText.clear();
        otherNameText.clear();
        otherDirText.clear();
        record.item = nullptr;
    }
    record.sourceName = nameText.c_str();
    record.sourceDir = directoryText.c_str();
    record.otherName = otherNameText.c_str();
    record.otherDir = otherDirText.c_str();
    record.targetName = record.targetDir = empty;
    record.status = KVE_callBackStatus::Okay;
    record.detail = detail ? detail : empty;
    send();
}

bool IFOscanDependencies::reportProblem(const KVE_callBackAction& action_, const char* detail, fileItem* item) {
    KVE_callBackAction action(action_);
    static const char empty[] = "";
    if (!detail) detail = empty;
    if (action == KVE_callBackAction::CannotFindSymbol && isAlreadyNoted(detail)) return false;
    if (action == KVE_callBackAction::invalid) return false;
    if (item) {
        nameText = item->getBaseName();
        pathstring(std::string(item->getFullPath())).getPath(directoryText);
    } else {
        nameText.clear();
        directoryText.clear();
    }
    record.action = action;
    record.item = item;
    record.sourceName = nameText.c_str();
    record.sourceDir = directoryText.c_str();
    record.targetName = record.targetDir = record.otherName = record.otherDir = empty;
    record.status = KVE_callBackStatus::Okay;
    record.detail = detail;
    send();
    // The record must not keep a pointer to the caller's text.
    record.detail = empty;
    if (record.status == KVE_callBackStatus::Cancel) {
        abort();
        return true;
    }
    return false;
}
