// Test helpers: a fresh temporary directory per test, and small file tools.
//
// Tests work on real files in their own directory, never in the source tree.
// These helpers use the host file system directly: they set up and inspect
// what the engine is then asked about.
#pragma once

#include <string>
#include <vector>

class TempDir {
public:
    TempDir();                      // creates a fresh directory under $TMPDIR or /tmp
    ~TempDir();                     // removes it with all it holds (read-only files too)
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& host() const { return host_; }   // host path, no trailing slash
    std::string host(const std::string& relative) const; // host path of a file inside
    std::string engine() const;                          // engine path (Z:\...)
    std::string engine(const std::string& relative) const;

private:
    std::string host_;
};

// Writes bytes to a host file, creating missing directories.
void writeFile(const std::string& hostPath, const std::string& content);
// Reads a whole host file; empty if it cannot be read.
std::string readFile(const std::string& hostPath);
bool fileExists(const std::string& hostPath);
// A host file's modification time in seconds; -1 if it cannot be read.
long long hostMtime(const std::string& hostPath);
// Deterministic bytes: text-like when text, else noise.
std::string patternBytes(size_t size, unsigned seed, bool text = false);
// A path of tests/data/ in host form.
std::string testData(const std::string& relative);
