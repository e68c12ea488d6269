// Helpers of the workspace commands: opening, texts, paths, times.
#include "workspace_cli.h"

#include <cstdio>
#include <cstdlib>

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
