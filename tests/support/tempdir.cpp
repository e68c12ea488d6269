// Test helpers: see tempdir.h.
#include "support/tempdir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/platform.h"

namespace fs = std::filesystem;

TempDir::TempDir() {
    const char* base = getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/kvtest-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (!mkdtemp(buffer.data())) throw std::runtime_error("mkdtemp failed");
    host_ = fs::canonical(buffer.data()).string();
}

TempDir::~TempDir() {
    std::error_code ec;
    // Read-only files and directories must not keep the tree alive.
    for (auto it = fs::recursive_directory_iterator(host_, fs::directory_options::skip_permission_denied, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        if (!it->is_symlink()) fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
    }
    fs::remove_all(host_, ec);
}

std::string TempDir::host(const std::string& relative) const { return host_ + "/" + relative; }
std::string TempDir::engine() const { return ToEnginePath(host_.c_str()); }
std::string TempDir::engine(const std::string& relative) const {
    std::string r = relative;
    for (char& c : r)
        if (c == '/') c = '\\';
    return engine() + "\\" + r;
}

void writeFile(const std::string& hostPath, const std::string& content) {
    fs::path p(hostPath);
    if (p.has_parent_path()) fs::create_directories(p.parent_path());
    std::ofstream out(hostPath, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!out) throw std::runtime_error("cannot write " + hostPath);
}

std::string readFile(const std::string& hostPath) {
    std::ifstream in(hostPath, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

bool fileExists(const std::string& hostPath) {
    std::error_code ec;
    return fs::exists(fs::symlink_status(hostPath, ec));
}

long long hostMtime(const std::string& hostPath) {
    struct stat st;
    return stat(hostPath.c_str(), &st) == 0 ? static_cast<long long>(st.st_mtim.tv_sec) : -1;
}

std::string patternBytes(size_t size, unsigned seed, bool text) {
    static const char* words[] = {"NET ", "U1 ", "R12 ", "VCC ", "GND ", "PIN ", "1.25 ", "\n", "* ", "CAP "};
    std::string s;
    s.reserve(size);
    while (s.size() < size) {
        seed = seed * 1103515245u + 12345u;
        if (text)
            s += words[(seed >> 16) % 10];
        else
            s += static_cast<char>(seed >> 16);
    }
    s.resize(size);
    return s;
}

std::string testData(const std::string& relative) { return std::string(KV_TEST_DATA) + "/" + relative; }
