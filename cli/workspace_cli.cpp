// Helpers of the workspace commands: opening, texts, paths, times.
#include "workspace_cli.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "json.h"
#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"
#include "workspace/context.h"

std::unique_ptr<workspace> openWorkspaceForCommand(const std::string& hostDirectory) {
    const std::string host = hostDirectory.empty() ? "." : hostDirectory;
    const std::string engine = ToEnginePath(host.c_str());
    KVE_Status status;
    workspace* opened = OpenWorkspace(status, engine.c_str());
    if (!opened) {
        fprintf(stderr, "kelvault: cannot open %s as a workspace: %s\n", host.c_str(), messageText(status).c_str());
        return nullptr;
    }
    return std::unique_ptr<workspace>(opened);
}

std::string messageText(const kelvaultDLLenum& value) {
    char buffer[512] = "";
    value.getMessageString(buffer, sizeof buffer);
    return buffer;
}

std::string hostPathOf(const char* enginePath) {
    std::string host = ToHostPath(enginePath);
    return host.empty() ? std::string(enginePath) : host;
}

std::string localTimeText(const FILETIME& time) {
    FILETIME local;
    SYSTEMTIME parts;
    if (!FileTimeToLocalFileTime(&time, &local) || !FileTimeToSystemTime(&local, &parts)) return "-";
    char text[32];
    snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u", parts.wYear, parts.wMonth, parts.wDay, parts.wHour,
             parts.wMinute);
    return text;
}

int parseCategoryName(const std::string& text) {
    char* end = nullptr;
    long number = strtol(text.c_str(), &end, 10);
    if (!text.empty() && !*end) {
        KVE_fileCategoryEnum c(static_cast<int>(number));
        return c.isValid() && c.value() == number ? c.value() : -1;
    }
    KVE_fileCategoryEnum c;
    c.setByFileString(text.c_str());
    if (c.isValid()) return c.value();
    c.setByMessageString(text.c_str());
    return c.isValid() ? c.value() : -1;
}

std::string localityOfPath(const char* enginePath, workspace& ws) {
    const pathstring path(enginePath);
    const pathstring directory = path.getPath();
    pathstring root(std::string(ws.getDirectory()));
    root.forceEndInSlash();
    // In the order in which an item's locality is decided.
    if (directory.compareEqualQuickly(root)) return "local";
    if (isSystemLibraryPath(directory.c_str())) return "system";
    if (directory.isInDirectory(root)) return "subdir";
    return "external";
}

// A name for the model of size bytes at offset in the library at
// enginePath: its first line when that is a directive (".MODEL Q1 NPN",
// ".SUBCKT AMP ..."), cut to 72 characters; else "at offset N (M bytes)".
static std::string modelName(const char* enginePath, long offset, long size) {
    std::string text = "at offset " + std::to_string(offset) + " (" + std::to_string(size) + " bytes)";
    FILE* file = fopen(ToHostPath(enginePath).c_str(), "rb");
    if (!file) return text;
    char line[1024];
    if (offset >= 0 && fseek(file, offset, SEEK_SET) == 0 && fgets(line, sizeof line, file) && line[0] == '.') {
        std::string first(line);
        text = first.substr(0, std::min(first.find_first_of("\r\n"), static_cast<size_t>(72)));
    }
    fclose(file);
    return text;
}

std::vector<usedEntry> usedEntriesOf(DesignFileItem& item, workspace& ws) {
    std::vector<usedEntry> entries;
    // Thousands of entries come from a few libraries: each library's host
    // path and locality are found once (each asks the disk).
    std::map<const LibraryFileItem*, std::pair<std::string, std::string>> libraries;
    const std::pair<const char*, const std::list<libraryUsage*>*> lists[] = {
        {"symbol", &item.getUsedSymbols()}, {"package", &item.getUsedPackages()}, {"model", &item.getUsedModels()}};
    for (const auto& list : lists) {
        for (const libraryUsage* usage : *list.second) {
            usedEntry entry;
            entry.kind = list.first;
            entry.name = usage->name;
            if (usage->library) {
                auto known = libraries.find(usage->library);
                if (known == libraries.end()) {
                    const char* path = usage->library->getFullPath();
                    known = libraries.emplace(usage->library, std::make_pair(hostPathOf(path), localityOfPath(path, ws)))
                                .first;
                }
                entry.library = known->second.first;
                entry.locality = known->second.second;
            }
            if (usage->entry && usage->entry->parent) entry.parent = usage->entry->parent;
            // A model has no name of its own in the index: its first line
            // tells a person which one it is.
            if (entry.kind == std::string("model") && usage->library && usage->entry)
                entry.name = modelName(usage->library->getFullPath(),
                                       usage->library->getBaseOffset() + usage->entry->offset, usage->entry->size);
            entries.push_back(entry);
        }
    }
    return entries;
}

void problemCollector::notify(callBackRecord& record) {
    KVE_severityLevel level;
    record.action.getSeverityLevel(level);
    if (level.value() < KVE_severityLevel::Warning || level.value() == KVE_severityLevel::invalid) return;
    const std::string message = record.message ? record.message : "";
    if (!seen.insert(message).second) return;
    scanProblem problem;
    problem.action = record.action.getFileString();
    problem.severity = level.value() == KVE_severityLevel::Warning ? "warning" : "error";
    problem.detail = record.detail ? record.detail : "";
    problem.message = message;
    problems.push_back(problem);
}

const char* const usedEntryKinds[3] = {"symbol", "package", "model"};

std::vector<const usedEntry*> usedEntriesOfKind(const std::vector<usedEntry>& entries, const char* kind,
                                                size_t* nameWidth) {
    std::vector<const usedEntry*> chosen;
    size_t width = 0;
    for (const usedEntry& entry : entries)
        if (entry.kind == kind) {
            chosen.push_back(&entry);
            width = std::max(width, entry.name.size());
        }
    if (nameWidth) *nameWidth = width;
    return chosen;
}

void printUsedEntries(const std::vector<usedEntry>& entries, const char* kind, const char* headingEnd,
                      usedEntryLayout layout) {
    size_t width = 0;
    const std::vector<const usedEntry*> shown = usedEntriesOfKind(entries, kind, &width);
    const bool localityFirst = layout == usedEntryLayout::LocalityFirst;
    if (shown.empty() && localityFirst) return;
    printf("%ss%s (%zu)\n", kind, headingEnd, shown.size());
    if (shown.empty()) printf("`-- (none)\n");
    for (size_t i = 0; i < shown.size(); ++i) {
        const usedEntry& entry = *shown[i];
        const std::string library = entry.library.empty() ? "(no library)" : entry.library;
        const std::string parent = entry.parent.empty() ? "" : "  (on " + entry.parent + ")";
        const char* branch = i + 1 == shown.size() ? "`--" : "|--";
        const int column = static_cast<int>(width);
        if (localityFirst)
            printf("%s %-8s %-*s  %s%s\n", branch, entry.locality.c_str(), column, entry.name.c_str(), library.c_str(),
                   parent.c_str());
        else
            printf("%s %-*s  %s [%s]%s\n", branch, column, entry.name.c_str(), library.c_str(), entry.locality.c_str(),
                   parent.c_str());
    }
}

void writeUsedEntries(JsonWriter& j, const std::vector<usedEntry>& entries, const char* kind) {
    j.beginArray();
    for (const usedEntry* entry : usedEntriesOfKind(entries, kind)) {
        j.beginObject();
        j.field("name", entry->name);
        if (entry->library.empty())
            j.field("library", static_cast<const char*>(nullptr));
        else
            j.field("library", entry->library);
        j.field("locality", entry->locality);
        if (entry->parent.empty())
            j.field("parent", static_cast<const char*>(nullptr));
        else
            j.field("parent", entry->parent);
        j.endObject();
    }
    j.endArray();
}

void writeUsedEntryMembers(JsonWriter& j, const std::vector<usedEntry>& entries) {
    for (const char* kind : usedEntryKinds) {
        j.key(std::string(kind) + "s");
        writeUsedEntries(j, entries, kind);
    }
}

DesignFileItem* openDesignFileForCommand(const std::string& hostFile, std::unique_ptr<workspace>& ws) {
    pathstring path(ToEnginePath(hostFile.c_str()).c_str());
    if (!path.existsFile()) {
        fprintf(stderr, "kelvault: %s: no such file\n", hostFile.c_str());
        return nullptr;
    }
    ws = openWorkspaceForCommand(ToHostPath(path.getPath().c_str()));
    if (!ws) return nullptr;
    DesignFileItem* item = dynamic_cast<DesignFileItem*>(ws->findItem(path.c_str()));
    if (!item) fprintf(stderr, "kelvault: %s is not a file of its directory's workspace\n", hostFile.c_str());
    return item;
}
