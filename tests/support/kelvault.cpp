// Test helper: see kelvault.h.
#include "support/kelvault.h"

#include <cstdio>
#include <sys/wait.h>

int runKelvault(const std::string& arguments, std::string& out, const std::string& environment, bool withErrors) {
    const std::string command = environment + " " + std::string(KV_BINARY_DIR) + "/kelvault " + arguments +
                                (withErrors ? " 2>&1" : " 2>/dev/null");
    out.clear();
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return -1;
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
    const int status = pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
