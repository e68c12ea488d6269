// Helpers of the library tests: the INI environment of one test (and the
// recording operation of tests/support).
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "operations/operation.h"
#include "paths/pathstring.h"
#include "support/guards.h"
#include "support/recorders.h"
#include "support/tempdir.h"
#include "workspace/context.h"

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
