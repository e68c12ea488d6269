// Test helpers: a client and an operation that record what the engine
// tells them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "operations/operation.h"
#include "paths/pathstring.h"
#include "vocabulary/callback.h"

// A client that records every record sent to it and answers `answer` to the
// action answerFor (to every action when answerFor is anyAction). The
// engine must have set the status to Okay before each call.
class RecordingClient : public callBack {
public:
    static const int anyAction = -2;
    struct Seen {
        int action;
        std::string message, sourceName, sourceDir, targetName, targetDir, otherName, otherDir, detail;
        fileItem* item;
    };
    void notify(callBackRecord& r) override {
        auto text = [](const char* p) { return std::string(p ? p : "(null)"); };
        seen.push_back({r.action.value(), text(r.message), text(r.sourceName), text(r.sourceDir), text(r.targetName),
                        text(r.targetDir), text(r.otherName), text(r.otherDir), r.detail ? r.detail : "", r.item});
        EXPECT_EQ(r.status.value(), KVE_callBackStatus::Okay) << "the engine sets Okay before the call";
        if (answerFor == anyAction || r.action.value() == answerFor) r.status = answer;
    }
    std::vector<int> actions() const {
        std::vector<int> out;
        for (const Seen& s : seen) out.push_back(s.action);
        return out;
    }
    std::vector<std::string> details() const {
        std::vector<std::string> out;
        for (const Seen& s : seen) out.push_back(s.detail);
        return out;
    }
    std::vector<Seen> seen;
    int answerFor = -1;
    int answer = KVE_callBackStatus::Okay;
};

// An operation that accepts every item, leaves every path as it is, and
// records the paths, actions and problems reported to it.
class RecordingOperation : public InternalFunctionObject {
public:
    bool dependencyFound(pathstring& path, bool, bool) override {
        found.push_back(path);
        return true;
    }
    bool acceptsItem(fileItem*) override { return true; }
    void reportAction(const KVE_callBackAction& action, const char* detail, fileItem* other) override {
        actions.push_back(action.value());
        details.push_back(detail ? detail : "(null)");
        others.push_back(other);
    }
    bool reportProblem(const KVE_callBackAction& action, const char* detail, fileItem*) override {
        problems.push_back(action.value());
        problemDetails.push_back(detail ? detail : "(null)");
        return false;
    }
    std::vector<std::string> found;
    std::vector<int> actions, problems;
    std::vector<std::string> details, problemDetails;
    std::vector<fileItem*> others;
};
