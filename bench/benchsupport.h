// What the benchmarks share: clocks and best-of-N timing, files and
// temporary trees on the host, the `cat` and `cp` baselines, the line that
// prints a figure as a ratio to its baseline, and the operation that the
// rewrite benchmarks drive.
//
// The machine is shared and noisy: a benchmark measures its baseline in the
// same run, takes the best of a few runs of each, and prints ratios. The
// helpers of sections 1 to 4 work on the host directly (POSIX), never
// through the engine, so that a baseline costs what the system itself
// costs. Header only: every bench/<name>.cpp is a program of its own.
//
//   1. Clocks and timing
//   2. Files and temporary trees
//   3. Baselines: cat and cp
//   4. Printing a ratio
//   5. A rewrite operation
#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "operations/operation.h"
#include "paths/pathstring.h"

namespace bench {

// ---------------------------------------------------------------------------
// 1. Clocks and timing
// ---------------------------------------------------------------------------

// Wall-clock seconds from a steady clock (only differences mean anything).
inline double wallSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Processor seconds (user and system) used so far by this process and the
// children it has waited for.
inline double cpuSeconds() {
    double total = 0;
    for (int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        struct rusage u;
        getrusage(who, &u);
        total += u.ru_utime.tv_sec + u.ru_utime.tv_usec / 1e6 + u.ru_stime.tv_sec + u.ru_stime.tv_usec / 1e6;
    }
    return total;
}

// Processor seconds used so far by the calling thread.
inline double threadCpuSeconds() {
    struct timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return t.tv_sec + t.tv_nsec * 1e-9;
}

// Wall-clock seconds of one run of work.
inline double timed(const std::function<void()>& work) {
    const double start = wallSeconds();
    work();
    return wallSeconds() - start;
}

// The best wall-clock seconds of `runs` runs of work.
inline double bestOf(int runs, const std::function<void()>& work) {
    double best = 1e30;
    for (int i = 0; i < runs; ++i) {
        const double seconds = timed(work);
        if (seconds < best) best = seconds;
    }
    return best;
}

struct Timing {
    double wall = 1e30, cpu = 1e30;
};

// The best wall-clock and processor seconds of `runs` runs of work, each
// after an untimed `before` (emptying a target directory, say).
inline Timing bestOf(int runs, const std::function<void()>& before, const std::function<void()>& work) {
    Timing best;
    for (int i = 0; i < runs; ++i) {
        before();
        const double cpu = cpuSeconds();
        const double wall = timed(work);
        const double used = cpuSeconds() - cpu;
        if (wall < best.wall) best.wall = wall;
        if (used < best.cpu) best.cpu = used;
    }
    return best;
}

// ---------------------------------------------------------------------------
// 2. Files and temporary trees
// ---------------------------------------------------------------------------

// Writes a host file whole; a benchmark that cannot set up stops.
inline void writeHost(const std::string& path, const std::string& content) {
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0 || write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
        perror(path.c_str());
        exit(1);
    }
    close(fd);
}

// Size of a host file, -1 if it is not there.
inline long long fileSize(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? static_cast<long long>(st.st_size) : -1;
}

// Removes a host directory with everything in it (links are not followed).
inline void removeTree(const std::string& dir) {
    DIR* d = opendir(dir.c_str());
    if (!d) return;
    while (struct dirent* e = readdir(d)) {
        if (!strcmp(e->d_name, ".") || !strcmp(e->d_name, "..")) continue;
        const std::string path = dir + "/" + e->d_name;
        struct stat st;
        if (lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
            removeTree(path);
        else
            unlink(path.c_str());
    }
    closedir(d);
    rmdir(dir.c_str());
}

// A new empty directory under $TMPDIR (else /tmp) named after `name`;
// the benchmark removes it with removeTree when done.
inline std::string makeTempDir(const char* name) {
    const char* tmp = getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/kvbench-" + name + "-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (!mkdtemp(buffer.data())) {
        perror("mkdtemp");
        exit(1);
    }
    return buffer.data();
}

// Runs a shell command; a benchmark whose baseline fails stops.
inline void run(const std::string& command) {
    if (system(command.c_str()) != 0) {
        fprintf(stderr, "failed: %s\n", command.c_str());
        exit(1);
    }
}

// Runs a program with its arguments, without a shell, its standard output
// to /dev/null: what the program costs, process start included, and no
// more. A benchmark whose baseline fails stops.
inline void runProgram(const std::vector<std::string>& arguments) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = 0;
    const int error = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        fprintf(stderr, "failed: %s\n", arguments[0].c_str());
        exit(1);
    }
}

// ---------------------------------------------------------------------------
// 3. Baselines
// ---------------------------------------------------------------------------

// What `cat` of the files to /dev/null does: every byte read with read(2)
// in 64 KB blocks. Returns the bytes read.
inline size_t catFiles(const std::vector<std::string>& paths) {
    static std::vector<char> buffer(1 << 16);
    size_t bytes = 0;
    for (const std::string& path : paths) {
        int fd = open(path.c_str(), O_RDONLY);
        if (fd < 0) continue;
        for (ssize_t n; (n = read(fd, buffer.data(), buffer.size())) > 0;) bytes += static_cast<size_t>(n);
        close(fd);
    }
    return bytes;
}

// What `cp` does for one file: its bytes read and written through user
// space in 64 KB blocks.
inline void copyFile(const std::string& from, const std::string& to) {
    static std::vector<char> buffer(1 << 16);
    int in = open(from.c_str(), O_RDONLY);
    int out = open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0) {
        perror(in < 0 ? from.c_str() : to.c_str());
        exit(1);
    }
    for (ssize_t n; (n = read(in, buffer.data(), buffer.size())) > 0;)
        if (write(out, buffer.data(), n) != n) {
            perror(to.c_str());
            exit(1);
        }
    close(in);
    close(out);
}

// ---------------------------------------------------------------------------
// 4. Printing a ratio
// ---------------------------------------------------------------------------

// One line: the figure, its baseline and their ratio, e.g.
//   scan       52.10 ms   cat                  10.40 ms   ratio 5.01
inline void report(const char* name, double seconds, const char* baselineName, double baseline) {
    printf("%-10s %10.2f ms   %-20s %10.2f ms   ratio %.2f\n", name, seconds * 1e3, baselineName, baseline * 1e3,
           seconds / baseline);
}

// ---------------------------------------------------------------------------
// 5. A rewrite operation
// ---------------------------------------------------------------------------

// Maps every path to its bare name, as a copy does for a neighbour.
class bareNameOperation : public InternalFunctionObject {
public:
    bool dependencyFound(pathstring& path, bool, bool) override {
        path = path.getBase();
        return true;
    }
    bool acceptsItem(fileItem*) override { return true; }
};

}  // namespace bench
