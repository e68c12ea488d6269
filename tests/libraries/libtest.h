// Helpers of the library tests: an operation that records what a library
// tells the client, and the INI environment of one test.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "operations/operation.h"
#include "paths/pathstring.h"
#include "support/guards.h"
#include "support/tempdir.h"
#include "workspace/context.h"

// Records the actions reported to it; everything else as the defaults.
class RecordingOperation : public InternalFunctionObject {
public:
    bool dependencyFound(pathstring&, bool, bool) override { return true; }
    bool acceptsItem(fileItem*) override { return true; }
    void reportAction(const KVE_callBackAction& action, const char* detail, fileItem* other) override {
        actions.push_back(action.value());
        details.push_back(detail ? detail : "(null)");
        others.push_back(other);
    }
    std::vector<int> actions;
    std::vector<std::string> details;
    std::vector<fileItem*> others;
};

// Points KVENG_WINDIR at a directory of the test for the fixed INI file,
// and drops the library configuration before and after the test.
class IniEnvironment {
public:
    explicit IniEnvironment(const std::string& windir) : windir_("KVENG_WINDIR", windir.c_str()) {
        RemoveIniFileContext();
    }
    ~IniEnvironment() { RemoveIniFileContext(); }

private:
    EnvGuard windir_;
};
