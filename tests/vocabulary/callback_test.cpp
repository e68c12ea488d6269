// Tests of the callback vocabulary: the answers and their odd indexing, the
// actions and their response masks, and the forming and sending of a
// message.
//
// Divided into: KVE_callBackStatus, KVE_callBackAction, forming messages,
// sending a record to a client.
#include <cstring>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "support/recorders.h"
#include "vocabulary/callback.h"

#include <gtest/gtest.h>

// --- KVE_callBackStatus ------------------------------------------------------

// A single bit finds its row; anything else is the invalid row, which
// counts as valid here.
TEST(CallBackStatus, SingleBitsFindTheirRowsAndAnythingElseTheInvalidRow) {
    const char* names[] = {"Okay", "Cancel", "Keep", "Overwrite", "Rename"};
    for (int i = 0; i < 5; ++i) {
        KVE_callBackStatus s(1 << i);
        EXPECT_EQ(s.value(), 1 << i);
        EXPECT_EQ(s.getIndex(), i);
        EXPECT_STREQ(s.getFileString(), names[i]);
    }
    for (int v : {0, -1, -16, 3, 5, 6, 24, 31, 32, 64, 1 << 30, INT32_MIN}) {
        KVE_callBackStatus s(v);
        EXPECT_EQ(s.value(), 0) << v;
        EXPECT_EQ(s.getIndex(), 5) << v;
        EXPECT_STREQ(s.getFileString(), "invalid") << v;
        EXPECT_EQ(s.getMessageID(), 1) << v;
        EXPECT_TRUE(s.isValid()) << v;
    }
    KVE_callBackStatus byDefault;
    EXPECT_EQ(byDefault.value(), 0);
    EXPECT_EQ(byDefault.getIndex(), 5);
}

TEST(CallBackStatus, WalkEndsOnTheInvalidRowAndStaysThere) {
    KVE_callBackStatus s;
    s.setFirst();
    EXPECT_EQ(s.value(), KVE_callBackStatus::Okay);
    EXPECT_EQ(s.getIndex(), 0);
    for (int i = 0; i < 4; ++i) s.setNext();
    EXPECT_EQ(s.value(), KVE_callBackStatus::Rename);
    s.setNext();
    EXPECT_EQ(s.value(), 0);
    EXPECT_EQ(s.getIndex(), 5);
    s.setNext();
    EXPECT_EQ(s.value(), 0);
    EXPECT_EQ(s.getIndex(), 5);
    EXPECT_EQ(s.numValidMembers(), 5);
    EXPECT_EQ(s.begin(), 1) << "the value of the first row";
    EXPECT_EQ(s.end(), 0);
    // The way a client walks the answers: until the value is end().
    int count = 0;
    for (s.setFirst(); s.value() != s.end(); s.setNext()) ++count;
    EXPECT_EQ(count, 5);
}

TEST(CallBackStatus, SetByIndexTakesTheRowsValue) {
    KVE_callBackStatus s;
    s.setByIndex(2);
    EXPECT_EQ(s.value(), KVE_callBackStatus::Keep);
    EXPECT_STREQ(s.getFileString(), "Keep");
    s.setByIndex(5);
    EXPECT_EQ(s.value(), 0);
    // Outside the table: kept as given, read as the invalid row, never
    // beyond the table.
    s.setByIndex(9);
    EXPECT_EQ(s.getIndex(), 9);
    EXPECT_EQ(s.value(), 0);
    EXPECT_STREQ(s.getFileString(), "invalid");
    EXPECT_EQ(s.getMessageID(), 1);
    EXPECT_FALSE(s.isValid());
    s.setNext();
    EXPECT_EQ(s.getIndex(), 5);
    s.setByIndex(-1);
    EXPECT_STREQ(s.getFileString(), "invalid");
    s.validate();
    EXPECT_EQ(s.getIndex(), 5);
}

TEST(CallBackStatus, AssignmentAndCopiesRevalidate) {
    KVE_callBackStatus s(KVE_callBackStatus::Cancel);
    KVE_callBackStatus copy(s);
    EXPECT_EQ(copy.getIndex(), 1);
    s = 16;
    EXPECT_EQ(s.getIndex(), 4);
    s = 12;
    EXPECT_EQ(s.value(), 0);
    EXPECT_EQ(s.getIndex(), 5);
    KVE_callBackStatus odd;
    odd.setByIndex(9);
    copy = odd;
    EXPECT_EQ(copy.getIndex(), 5) << "the copy is validated, not taken row for row";
    enumBaseClass& base = copy;
    base = 4;
    EXPECT_EQ(copy.getIndex(), 2) << "assignment through the base finds the row";
    EXPECT_TRUE(copy == KVE_callBackStatus::Keep);
    EXPECT_TRUE(copy == 4);
}

TEST(CallBackStatus, LookUpByTextEndsEvenWithoutAMatch) {
    KVE_callBackStatus s;
    s.setByFileString("RENAME");
    EXPECT_EQ(s.value(), 16);
    s.setByFileString("maybe");
    EXPECT_EQ(s.value(), 0);
    s.setByMessageString("keep existing");
    EXPECT_EQ(s.value(), KVE_callBackStatus::Keep);
    s.setByMessageString("Keep");
    EXPECT_EQ(s.value(), 0) << "the message of Keep is \"Keep Existing\"";
    EXPECT_EQ(s.getIndex(), 5);
}

// --- KVE_callBackAction ------------------------------------------------------

// The answers of an action, as a client lists its buttons.
static std::vector<int> responsesOf(const KVE_callBackAction& a) {
    std::vector<int> out;
    KVE_callBackStatus s(KVE_callBackStatus::Okay);
    a.firstValidResponse(s);
    while (s.value() != KVE_callBackStatus::invalid && out.size() < 10) {
        out.push_back(s.value());
        a.nextValidResponse(s);
    }
    return out;
}

TEST(CallBackAction, TheInvalidRowOffersNothing) {
    KVE_callBackAction a(75);
    EXPECT_EQ(a.getValidResponses(), 0u);
    EXPECT_EQ(a.numberOfValidResponses(), 0);
    KVE_callBackStatus s(KVE_callBackStatus::Rename);
    a.firstValidResponse(s);
    EXPECT_EQ(s.value(), 0);
    EXPECT_EQ(s.getIndex(), 5);
    EXPECT_FALSE(a.sendToMessageViewer());
    KVE_severityLevel level(0);
    a.getSeverityLevel(level);
    EXPECT_EQ(level.value(), KVE_severityLevel::invalid);
}

TEST(CallBackAction, EveryMaskListsItsBitsInOrder) {
    for (int v = 0; v <= 75; ++v) {
        KVE_callBackAction a(v);
        unsigned mask = a.getValidResponses();
        std::vector<int> expected;
        for (int bit = 1; bit <= 16; bit <<= 1)
            if (mask & static_cast<unsigned>(bit)) expected.push_back(bit);
        EXPECT_EQ(responsesOf(a), expected) << a.getFileString();
        EXPECT_EQ(a.numberOfValidResponses(), static_cast<int>(expected.size()));
    }
    EXPECT_EQ(KVE_callBackAction(KVE_callBackAction::FileExistsAtDestination).getValidResponses(), 30u)
        << "Cancel, Keep, Overwrite, Rename";
}

TEST(CallBackAction, NextFromTheInvalidRowStartsAgain) {
    KVE_callBackAction a(KVE_callBackAction::LockTargetFile); // 23: Okay, Cancel, Keep, Rename
    KVE_callBackStatus s;
    a.nextValidResponse(s);
    EXPECT_EQ(s.value(), KVE_callBackStatus::Okay);
    s = KVE_callBackStatus::Keep;
    a.nextValidResponse(s);
    EXPECT_EQ(s.value(), KVE_callBackStatus::Rename) << "Overwrite is skipped";
    s = KVE_callBackStatus::Overwrite; // not in the mask: the next one above it
    a.nextValidResponse(s);
    EXPECT_EQ(s.value(), KVE_callBackStatus::Rename);
    a.nextValidResponse(s);
    EXPECT_EQ(s.value(), 0);
}

TEST(CallBackAction, SeverityAndViewer) {
    KVE_severityLevel level;
    KVE_callBackAction(KVE_callBackAction::CopyingFile).getSeverityLevel(level);
    EXPECT_EQ(level.value(), KVE_severityLevel::Informational);
    KVE_callBackAction(KVE_callBackAction::OtherFileGoingHere).getSeverityLevel(level);
    EXPECT_EQ(level.value(), KVE_severityLevel::Warning);
    KVE_callBackAction(KVE_callBackAction::Arch_CrcError).getSeverityLevel(level);
    EXPECT_EQ(level.value(), KVE_severityLevel::Error);
    EXPECT_FALSE(KVE_callBackAction(KVE_callBackAction::CopyingFile).sendToMessageViewer());
    EXPECT_TRUE(KVE_callBackAction(KVE_callBackAction::BeginningCopy).sendToMessageViewer());
    EXPECT_TRUE(KVE_callBackAction(KVE_callBackAction::FileExistsAtDestination).sendToMessageViewer());
}

TEST(CallBackAction, FormatMessageKeepsItsPlaceholders) {
    char buffer[512];
    KVE_callBackAction a(KVE_callBackAction::OtherFileGoingHere);
    EXPECT_EQ(a.getFormatMessageID(), 530);
    int n = a.getFormatMessage(buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "This operation is trying to copy both '%6%5' and '%2%1' to '%3' in '%4'");
    EXPECT_EQ(n, static_cast<int>(strlen(buffer)));
    a.getMessageString(buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "Name collision with another file being processed.");
}

TEST(CallBackAction, FullMessagesUseOnlyPlaceholdersOneToNine) {
    char buffer[512];
    for (int v = 0; v <= 75; ++v) {
        KVE_callBackAction a(v);
        ASSERT_GT(a.getFormatMessage(buffer, sizeof buffer), 0) << v;
        for (const char* p = strchr(buffer, '%'); p; p = strchr(p + 1, '%'))
            EXPECT_TRUE(p[1] >= '1' && p[1] <= '9') << a.getFileString() << ": " << buffer;
    }
}

// --- Forming messages --------------------------------------------------------

static callBackRecord fullRecord(int action) {
    callBackRecord r;
    r.action = action;
    r.sourceName = "src.sch";
    r.sourceDir = "Z:\\a\\";
    r.targetName = "dst.sch";
    r.targetDir = "Z:\\b\\";
    r.otherName = "other.sch";
    r.otherDir = "Z:\\c\\";
    r.fileNumber = 3;
    r.fileCount = 12;
    r.detail = "U1";
    return r;
}

static std::string formed(const callBackRecord& r) {
    char* message = formCallBackMessage(r);
    if (!message) return "<null>";
    std::string text = message;
    LocalFree(message);
    return text;
}

TEST(FormingMessages, Table) {
    callBackRecord empty;
    empty.fileNumber = -1;
    empty.fileCount = 2147483647;
    callBackRecord percent = fullRecord(KVE_callBackAction::CopyingFile);
    percent.sourceName = "100%1 %%.sch";
    percent.targetDir = "%4";
    auto with = [](callBackRecord r, int action) {
        r.action = action;
        return r;
    };
    const struct {
        callBackRecord record;
        const char* expected;
    } rows[] = {
        // Between them these actions name %1 to %9.
        {fullRecord(KVE_callBackAction::OtherFileGoingHere),
         "This operation is trying to copy both 'Z:\\c\\other.sch' and 'Z:\\a\\src.sch' to 'dst.sch' in 'Z:\\b\\'"},
        {fullRecord(KVE_callBackAction::NumberOfFilesToProcess), "Processing file 3 of 12"},
        {fullRecord(KVE_callBackAction::CannotFindSymbol), "Cannot Find Symbol 'U1' in 'src.sch'"},
        {fullRecord(KVE_callBackAction::CopyingFileWithRename), "Copying 'src.sch' to 'Z:\\b\\' as 'dst.sch'"},
        {fullRecord(KVE_callBackAction::SearchingLibrary), "Searching Library 'other.sch'"},
        // Missing fields are empty, numbers decimal.
        {with(empty, KVE_callBackAction::OtherFileGoingHere), "This operation is trying to copy both '' and '' to '' in ''"},
        {with(empty, KVE_callBackAction::NumberOfFilesToProcess), "Processing file -1 of 2147483647"},
        {with(empty, KVE_callBackAction::BeginningCopy), "Beginning copy operation - ''"},
        // Texts in the fields are not expanded again.
        {percent, "Copying '100%1 %%.sch' to '%4'"},
        // Messages without placeholders stand as they are.
        {fullRecord(KVE_callBackAction::SimulationMayBeStale),
         "Simulation results not current - model references to 'U1' not copied"},
        {fullRecord(KVE_callBackAction::BeginningRestore), "Beginning restore operation"},
        {fullRecord(KVE_callBackAction::invalid), "Invalid"},
    };
    for (const auto& row : rows) EXPECT_EQ(formed(row.record), row.expected) << row.record.action.getFileString();
}

// --- Sending a record --------------------------------------------------------

TEST(SendingRecords, ClientSeesTheMessageAndAnswers) {
    RecordingClient client;
    callBackRecord r = fullRecord(KVE_callBackAction::FileExistsAtDestination);
    r.status = KVE_callBackStatus::Okay;
    client.answerFor = RecordingClient::anyAction;
    client.answer = KVE_callBackStatus::Overwrite;
    EXPECT_FALSE(sendCallBackRecord(client, r));
    ASSERT_EQ(client.seen.size(), 1u);
    EXPECT_EQ(client.seen[0].message, "A file named 'dst.sch' already exists in 'Z:\\b\\'.");
    EXPECT_EQ(r.status.value(), KVE_callBackStatus::Overwrite);
    EXPECT_EQ(r.message, nullptr) << "the message lives during the call only";

    r.status = KVE_callBackStatus::Okay;
    client.answer = KVE_callBackStatus::Cancel;
    EXPECT_TRUE(sendCallBackRecord(client, r)) << "Cancel is reported";
}

TEST(SendingRecords, DummyCallbackLeavesOkay) {
    dummyCallback quiet;
    callBackRecord r = fullRecord(KVE_callBackAction::LockTargetFile);
    r.status = KVE_callBackStatus::Okay;
    EXPECT_FALSE(sendCallBackRecord(quiet, r));
    EXPECT_EQ(r.status.value(), KVE_callBackStatus::Okay);
}
