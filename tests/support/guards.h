// Test helpers: guards that put process-wide state back at the end of a
// test (an environment variable; the current directory and injected host
// call faults).
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <unistd.h>

#include "platform/hostcalls.h"

// Sets (or, with null, removes) an environment variable for the life of
// the guard.
class EnvGuard {
public:
    EnvGuard(const char* name, const char* value) : name_(name) {
        const char* old = getenv(name);
        had_ = old != nullptr;
        if (had_) old_ = old;
        if (value)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }
    ~EnvGuard() {
        if (had_)
            setenv(name_.c_str(), old_.c_str(), 1);
        else
            unsetenv(name_.c_str());
    }
    EnvGuard(const EnvGuard&) = delete;
    EnvGuard& operator=(const EnvGuard&) = delete;

private:
    std::string name_, old_;
    bool had_;
};

// Restores the process's current directory, and clears faults, at the end.
class CwdGuard {
public:
    CwdGuard() {
        char buffer[4096];
        if (getcwd(buffer, sizeof buffer)) old_ = buffer;
    }
    ~CwdGuard() {
        kvFaultsClear();
        if (!old_.empty() && chdir(old_.c_str()) != 0) ADD_FAILURE() << "cannot return to " << old_;
    }

private:
    std::string old_;
};
