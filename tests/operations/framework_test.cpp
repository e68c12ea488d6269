// The operation framework: the actions an operation sends and in which
// order, the message texts with their placeholders filled, what an answer
// of Cancel does, the once-per-text CannotFindSymbol, abort, and the finish
// action that the destructor always sends.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "operations/archive.h"
#include "operations/copy.h"
#include "operations/move.h"
#include "operations/restore.h"
#include "support/recorders.h"
#include "support/tempdir.h"
#include "workspace/workspace.h"

// Reaches the plan, which later steps fill, to give abort and the unlocks
// files to work on.
class PlannedCopy : public IFOcopy {
public:
    using IFOcopy::IFOcopy;
    void plan(fileItem* item, const char* target) {
        filesToProcess.insert(item);
        targetMap[item] = pathstring(target);
    }
    size_t planned() const { return filesToProcess.size(); }
};

class Framework : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(dir.host("ws/a.sch"), "* schematic\n");
        KVE_Status status;
        ws = static_cast<DesignWorkspace*>(OpenWorkspace(status, dir.engine("ws").c_str()));
        ASSERT_NE(ws, nullptr);
        options.localize = KVE_localizeEnum::IncludeLocal;
        target = dir.engine("out");
    }
    void TearDown() override { delete ws; }
    fileItem* item(const char* name) { return ws->findItem((dir.engine("ws") + "\\" + name).c_str()); }
    // Runs an operation of class Op to destination on workspace w, to its end.
    template <typename Op>
    void run(const std::string& destination, DesignWorkspace* w) {
        Op op(&client, destination.c_str(), &options, w);
        op.execute();
    }

    TempDir dir;
    DesignWorkspace* ws = nullptr;
    copyOptions options;
    std::string target;
    RecordingClient client;
};

typedef std::vector<int> Actions;

TEST_F(Framework, CopySendsBeginAndFinishWithTheirTexts) {
    {
        IFOcopy op(&client, target.c_str(), &options, ws);
        op.execute();
        EXPECT_EQ(client.actions(), Actions{KVE_callBackAction::BeginningCopy}) << "finish waits for the destructor";
    }
    ASSERT_EQ(client.actions(), (Actions{KVE_callBackAction::BeginningCopy, KVE_callBackAction::FinishedCopy}));
    EXPECT_EQ(client.seen[0].message, "Beginning copy operation - 'Include workspace dependencies only'");
    EXPECT_EQ(client.seen[1].message, "Finished copy operation to '" + target + "'");
    EXPECT_EQ(client.seen[1].detail, target);
    EXPECT_EQ(client.seen[1].item, nullptr);
}

TEST_F(Framework, EachOperationHasItsOwnBeginAndFinish) {
    std::string archive = dir.engine("a.ma");
    run<IFOmove>(target, ws);
    run<IFOarchive>(archive, ws);
    run<IFOrestore>(archive, ws);
    EXPECT_EQ(client.actions(), (Actions{KVE_callBackAction::BeginningMove, KVE_callBackAction::FinishedMove,
                                         KVE_callBackAction::BeginningArchive, KVE_callBackAction::FinishedArchive,
                                         KVE_callBackAction::BeginningRestore, KVE_callBackAction::FinishedRestore}));
    ASSERT_EQ(client.seen.size(), 6u);
    EXPECT_EQ(client.seen[1].message, "Finished move operation to '" + target + "'");
    EXPECT_EQ(client.seen[3].message, "Finished archive operation to '" + archive + "'");
    EXPECT_EQ(client.seen[5].message, "Finished restore operation from '" + archive + "'");
}

TEST_F(Framework, CancelAtBeginGivesExactlyTwoActions) {
    client.answerFor = KVE_callBackAction::BeginningCopy;
    client.answer = KVE_callBackStatus::Cancel;
    {
        IFOcopy op(&client, target.c_str(), &options, ws);
        op.execute();
        EXPECT_TRUE(op.isAborted());
    }
    EXPECT_EQ(client.actions(), (Actions{KVE_callBackAction::BeginningCopy, KVE_callBackAction::FinishedCopy}));
}

TEST_F(Framework, CancelToTheFinishChangesNothing) {
    client.answerFor = KVE_callBackAction::FinishedCopy;
    client.answer = KVE_callBackStatus::Cancel;
    {
        PlannedCopy op(&client, target.c_str(), &options, ws);
        op.plan(item("a.sch"), (target + "\\a.sch").c_str());
    }
    EXPECT_EQ(client.actions(), Actions{KVE_callBackAction::FinishedCopy}) << "no unlocks follow a late Cancel";
}

TEST_F(Framework, NullWorkspaceRunsNothingButStillFinishes) {
    run<IFOcopy>(target, nullptr);
    EXPECT_EQ(client.actions(), Actions{KVE_callBackAction::FinishedCopy});
}

TEST_F(Framework, InvalidBeginActionIsNotSent) {
    class Quiet : public IFOcopy {
    public:
        using IFOcopy::IFOcopy;
        void silence() { beginAction = KVE_callBackAction::invalid; }
    };
    {
        Quiet op(&client, target.c_str(), &options, ws);
        op.silence();
        op.execute();
    }
    EXPECT_EQ(client.actions(), Actions{KVE_callBackAction::FinishedCopy});
}

TEST_F(Framework, SendActionFillsThePlaceholdersAndRestoresTheCurrentNames) {
    writeFile(dir.host("ws/b.sch"), "* other\n");
    ws->refresh();
    fileItem* a = item("a.sch");
    fileItem* b = item("b.sch");
    ASSERT_TRUE(a && b);
    std::string wsDir = dir.engine("ws") + "\\";
    {
        PlannedCopy op(&client, target.c_str(), &options, ws);
        op.setFileNumber(3);
        op.setFileCount(7);
        KVE_callBackStatus answer;
        op.sendAction(KVE_callBackAction::CopyingFile, answer, a);
        EXPECT_EQ(answer.value(), KVE_callBackStatus::Okay);
        op.sendAction(KVE_callBackAction::OtherFileGoingHere, answer, a, b);
        op.sendAction(KVE_callBackAction::NumberOfFilesToProcess, answer, nullptr);
        op.sendActionWithTarget(KVE_callBackAction::UnlockTargetFile, answer, a, pathstring("C:\\t\\x.sch"));
    }
    ASSERT_EQ(client.seen.size(), 5u);
    const RecordingClient::Seen& copying = client.seen[0];
    EXPECT_EQ(copying.message, "Copying 'a.sch' to '" + target + "\\'");
    EXPECT_EQ(copying.sourceName, "a.sch");
    EXPECT_EQ(copying.sourceDir, wsDir);
    EXPECT_EQ(copying.targetName, "a.sch") << "a local file keeps its name under the target";
    EXPECT_EQ(copying.item, a);
    EXPECT_EQ(client.seen[1].message,
              "This operation is trying to copy both '" + wsDir + "b.sch' and '" + wsDir + "a.sch' to 'a.sch' in '" +
                  target + "\\'");
    EXPECT_EQ(client.seen[2].message, "Processing file 3 of 7");
    EXPECT_EQ(client.seen[2].sourceName, "") << "no item: names are empty, never null";
    EXPECT_EQ(client.seen[3].message, "Unlocking target file 'x.sch' in 'C:\\t\\'");
    EXPECT_EQ(client.seen[4].sourceName, "") << "the names of one action do not stay for the next";
}

TEST_F(Framework, CannotFindSymbolReachesTheClientOncePerText) {
    fileItem* a = item("a.sch");
    {
        IFOcopy op(&client, target.c_str(), &options, ws);
        EXPECT_FALSE(op.reportProblem(KVE_callBackAction::CannotFindSymbol, "RES10K", a));
        EXPECT_FALSE(op.reportProblem(KVE_callBackAction::CannotFindSymbol, "res10k", a));
        EXPECT_FALSE(op.reportProblem(KVE_callBackAction::CannotFindSymbol, "CAP", a));
        EXPECT_FALSE(op.reportProblem(KVE_callBackAction::CannotFindPackage, "R0805", a));
        EXPECT_FALSE(op.reportProblem(KVE_callBackAction::CannotFindPackage, "R0805", a)) << "only symbols are noted";
        op.clearNotedTexts();
        EXPECT_FALSE(op.reportProblem(KVE_callBackAction::CannotFindSymbol, "res10k", a)) << "a new file";
        EXPECT_FALSE(op.reportProblem(KVE_callBackAction::invalid, "x", a));
    }
    EXPECT_EQ(client.actions(),
              (Actions{KVE_callBackAction::CannotFindSymbol, KVE_callBackAction::CannotFindSymbol,
                       KVE_callBackAction::CannotFindPackage, KVE_callBackAction::CannotFindPackage,
                       KVE_callBackAction::CannotFindSymbol, KVE_callBackAction::FinishedCopy}));
    EXPECT_EQ(client.seen[0].message, "Cannot Find Symbol 'RES10K' in 'a.sch'");
    EXPECT_EQ(client.seen[0].item, a);
    EXPECT_EQ(client.seen[0].targetName, "");
}

TEST_F(Framework, CancelToAProblemAbortsAndUnlocksOnce) {
    fileItem* a = item("a.sch");
    client.answerFor = KVE_callBackAction::CannotFindSymbol;
    client.answer = KVE_callBackStatus::Cancel;
    {
        PlannedCopy op(&client, target.c_str(), &options, ws);
        op.plan(a, (target + "\\a.sch").c_str());
        EXPECT_TRUE(op.reportProblem(KVE_callBackAction::CannotFindSymbol, "X", a));
        EXPECT_TRUE(op.isAborted());
        EXPECT_EQ(op.planned(), 0u) << "abort empties the files to process";
        op.abort();
    }
    EXPECT_EQ(client.actions(),
              (Actions{KVE_callBackAction::CannotFindSymbol, KVE_callBackAction::UnlockSourceFile,
                       KVE_callBackAction::UnlockTargetFile, KVE_callBackAction::FinishedCopy}))
        << "the second abort sends nothing";
    EXPECT_EQ(client.seen[1].message, "Unlocking source file 'a.sch' in '" + dir.engine("ws") + "\\'");
}

TEST_F(Framework, CancelDuringTheUnlocksStopsCleanly) {
    writeFile(dir.host("ws/b.sch"), "* other\n");
    ws->refresh();
    client.answerFor = KVE_callBackAction::UnlockSourceFile;
    client.answer = KVE_callBackStatus::Cancel;
    {
        PlannedCopy op(&client, target.c_str(), &options, ws);
        op.plan(item("a.sch"), (target + "\\a.sch").c_str());
        op.plan(item("b.sch"), (target + "\\b.sch").c_str());
        op.unlockAll();
        EXPECT_TRUE(op.isAborted());
    }
    size_t unlocks = 0;
    for (int a : client.actions()) unlocks += a == KVE_callBackAction::UnlockSourceFile;
    EXPECT_EQ(unlocks, 4u) << "the Cancel's abort sends the unlocks once; the walk it interrupted goes on";
    EXPECT_EQ(client.actions().back(), KVE_callBackAction::FinishedCopy);
}

TEST_F(Framework, NotedTextsIgnoreCase) {
    IFOcopy op(nullptr, target.c_str(), &options, nullptr);
    EXPECT_FALSE(op.isAlreadyNoted("Abc"));
    EXPECT_TRUE(op.isAlreadyNoted("aBC"));
    EXPECT_FALSE(op.isAlreadyNoted("abcd"));
    // Only ASCII letters fold; no text is the empty text.
    EXPECT_FALSE(op.isAlreadyNoted("\xC4x"));
    EXPECT_FALSE(op.isAlreadyNoted("\xE4x"));
    EXPECT_FALSE(op.isAlreadyNoted(nullptr));
    EXPECT_TRUE(op.isAlreadyNoted(""));
    op.clearNotedTexts();
    EXPECT_FALSE(op.isAlreadyNoted("ABC"));
}

TEST_F(Framework, TargetMapping) {
    // Local files keep their place under the target; external ones land in
    // it side by side.
    writeFile(dir.host("ext/lib.slb"), "");
    fileItem* external = ws->addFileItem((dir.engine("ext") + "\\lib.slb").c_str(), nullptr);
    ASSERT_NE(external, nullptr);
    IFOcopy op(nullptr, target.c_str(), &options, ws);
    pathstring local(std::string(item("a.sch")->getFullPath()));
    op.mapTargetPath(local, item("a.sch"));
    EXPECT_EQ(local, target + "\\a.sch");
    pathstring outside(std::string(external->getFullPath()));
    op.mapTargetPath(outside, external);
    EXPECT_EQ(outside, target + "\\lib.slb");
}
