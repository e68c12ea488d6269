// The callback protocol: how a running operation talks to its client.
//
// The engine tells the client what is happening through callBack::notify
// with a callBackRecord: an action of KVE_callBackAction, a finished
// message, and the names concerned. The client may answer by setting the
// record's status to one of the action's valid responses
// (KVE_callBackStatus); for Rename it also writes the new name and place.
//
// Contents:
//   1. KVE_callBackStatus: the answers, single bits, with a row index.
//   2. KVE_callBackAction: the 75 actions with their messages, severity,
//      valid answers and whether they belong in a message view.
//   3. callBackRecord, callBack, dummyCallback.
//   4. Forming the message of a record and handing the record to a client.
//
// Messages of actions name the record's fields by position:
//   %1 sourceName  %2 sourceDir  %3 targetName  %4 targetDir
//   %5 otherName   %6 otherDir   %7 fileNumber  %8 fileCount  %9 detail
#pragma once

#include "vocabulary/enums.h"

class fileItem;

// ---------------------------------------------------------------------------
// 1. KVE_callBackStatus
// ---------------------------------------------------------------------------

// An answer. Unlike the other vocabularies its values are single bits, so
// that a set of answers is a mask; `index` is the row. The invalid row (index
// 5, value 0) counts as valid for isValid, and setNext stays on it: walk
// the answers with setFirst and setNext until the value is 0 (end()).
class KVENG_API KVE_callBackStatus : public kelvaultDLLenum {
public:
    enum eType { invalid = 0, Okay = 1, Cancel = 2, Keep = 4, Overwrite = 8, Rename = 16 };
    struct infoStruct {
        int value;
        int messageID;
        const char* fileString;
    };
    static const int infoArrayLen = 6;
    static const infoStruct infoArray[infoArrayLen];
    static const char fileKeyword[];

    // Each stores the value and validates it: anything but a single bit of
    // the table becomes the invalid row. The default starts from 0.
    KVE_callBackStatus() : index(invalidIndex) { value_ = 0; validateValue(); }
    KVE_callBackStatus(int v) : index(invalidIndex) { value_ = v; validateValue(); }
    KVE_callBackStatus(eType v) : index(invalidIndex) { value_ = v; validateValue(); }
    KVE_callBackStatus(const KVE_callBackStatus& other) : kelvaultDLLenum(), index(invalidIndex) {
        value_ = other.value_;
        validateValue();
    }
    KVE_callBackStatus& operator=(const KVE_callBackStatus& other) {
        value_ = other.value_;
        validateValue();
        return *this;
    }
    KVE_callBackStatus& operator=(const int& v) {
        value_ = v;
        validateValue();
        return *this;
    }

    using kelvaultDLLenum::operator==;
    bool operator==(const eType& v) const { return value_ == v; }

    int begin() const override; // 1, the value of the first row
    // end() is the inherited 0: the value of the invalid row.
    const char* getFileString() const override; // by index
    int getMessageID() const override;          // by index
    int getIndex() const override;              // index
    int isValid() const override;               // index from 0 to 5
    int numValidMembers() const override;       // 5
    // Takes index as the row, and the row's value (0 outside the table).
    void setByIndex(int row) override;
    void setFirst() override;
    void setNext() override;
    void validate() override;

private:
    enum { invalidIndex = 5 };
    static const int numValidMembersStatic = 5;
    // The row of value v: the row of a single bit of the table, else 5.
    static int determineIndex(int v);
    void validateValue();
    const infoStruct& row() const;

    int index;
};

// ---------------------------------------------------------------------------
// 2. KVE_callBackAction
// ---------------------------------------------------------------------------

class KVENG_API KVE_callBackAction : public kelvaultDLLenum {
public:
    enum eType {
        DeterminingDependencies,
        NumberOfFilesToProcess,
        CopyingFile,
        MovingFile,
        CopyingFileWithRename,
        MovingFileWithRename,
        FileExistsAtDestination,
        OtherFileGoingHere,
        CannotAccessDir,
        CannotWriteFile,
        CannotReadFile,
        CannotMoveFile,
        CannotDeleteFile,
        FilesNotDeletedError,
        FilesNotDeletedCancel,
        LockSourceFile,
        LockTargetFile,
        UnlockSourceFile,
        UnlockTargetFile,
        SearchingLibrary,
        ScanningDependencies,
        GettingLibDependencies,
        LocalizingLibrary,
        BeginningCopy,
        BeginningArchive,
        BeginningMove,
        BeginningRestore,
        WritingArchive,
        ReadingArchive,
        DoneReadingArchive,
        DeletingSourceFiles,
        CannotFindSymbol,
        ErrorReadingFile,
        ErrorWritingFile,
        DeterminingLibSymbols,
        DeletingFile,
        OverwritingFile,
        Finished,
        SimulationStale,
        SimulationMayBeStale,
        DeletingGlobalLibFile,
        CopyingGlobalLibFile,
        DeterminingLibModels,
        FinishedArchive,
        FinishedCopy,
        FinishedMove,
        FinishedRestore,
        DoneWritingArchive,
        MovingGlobalLibFile,
        FilenameTooLong,
        FilenameInvalid,
        CannotFindPackage,
        LibraryMayBeCorrupt,
        Arch_AHeaderReadError,
        Arch_AHeaderWriteError,
        Arch_ArchOpenRError,
        Arch_ArchOpenWError,
        Arch_CrcError,
        Arch_DirIncError,
        Arch_ExplodeError,
        Arch_FHeaderReadError,
        Arch_FHeaderWriteError,
        Arch_FileAppendError,
        Arch_ImplodeError,
        Arch_SourceAccessError,
        Arch_SourceAttribError,
        Arch_SourceDirError,
        Arch_SourceOpenError,
        Arch_TargetAttribError,
        Arch_TargetDirError,
        Arch_TargEqSrcError,
        Arch_TargetNotDir,
        Arch_TargetOpenError,
        Arch_TempOpenRError,
        Arch_TempOpenWError,
        invalid,
    };
    struct infoStruct {
        int value;
        int messageID;            // the short message
        int formatMessageID;      // the full message, with placeholders %1 to %9
        const char* fileString;
        int severity;             // a KVE_severityLevel value
        unsigned validResponses;  // the sum of the KVE_callBackStatus values that make sense
        int sendToMessageViewer;  // 1: the client should also log the message
    };
    KV_VOCABULARY_MEMBERS(KVE_callBackAction, invalid);

    int getFormatMessageID() const;
    // The full message, placeholders unexpanded, into buffer (LoadStringA);
    // returns the length copied.
    int getFormatMessage(char* buffer, int size) const;
    // Stores the severity in level, under level's range check.
    void getSeverityLevel(KVE_severityLevel& level) const;
    unsigned getValidResponses() const;
    int numberOfValidResponses() const;
    // The lowest answer of the mask, or the invalid row for an empty mask.
    void firstValidResponse(KVE_callBackStatus& status) const;
    // The lowest answer of the mask above status, or the invalid row when
    // none is left. From the invalid row (value 0) it starts again at the
    // lowest. List an action's answers with firstValidResponse, then
    // nextValidResponse while the status is not invalid.
    void nextValidResponse(KVE_callBackStatus& status) const;
    bool sendToMessageViewer() const;

private:
    const infoStruct& row() const;
};

// ---------------------------------------------------------------------------
// 3. The record and the client interface
// ---------------------------------------------------------------------------

// What the engine hands to notify. The text pointers are valid during the
// call only. The comments give each field's placeholder in the messages.
struct callBackRecord {
    KVE_callBackAction action;
    const char* message = nullptr;    // the finished message
    fileItem* item = nullptr;         // the item concerned, or null
    const char* sourceName = nullptr; // %1
    const char* sourceDir = nullptr;  // %2
    const char* targetName = nullptr; // %3
    const char* targetDir = nullptr;  // %4
    const char* otherName = nullptr;  // %5: the other file of a collision, or a library
    const char* otherDir = nullptr;   // %6
    int fileNumber = 0;               // %7: the file in progress
    int fileCount = 0;                // %8: the files of the operation
    KVE_callBackStatus status;        // the answer; Okay when notify is called
    const char* detail = nullptr;     // %9: a symbol, a package, an archive, a target
};

// The client's side. notify is called on the thread that runs the
// operation, synchronously; it must not call back into the workspace. It
// may change record.status to one of the action's valid responses, and for
// Rename write targetName and targetDir.
class KVENG_API callBack {
public:
    virtual ~callBack();
    virtual void notify(callBackRecord& record) = 0;
};

// A client that answers nothing, which leaves every answer at Okay. Used
// wherever the engine has no client to ask.
class KVENG_API dummyCallback : public callBack {
public:
    void notify(callBackRecord& record) override;
};

// ---------------------------------------------------------------------------
// 4. Forming messages
// ---------------------------------------------------------------------------

// The full message of record.action with %1 to %9 replaced by the record's
// fields (null texts count as empty, the two numbers as decimal text), in a
// block that the caller frees with LocalFree. Null if the action has no
// message text or the text cannot be formed.
char* formCallBackMessage(const callBackRecord& record);

// Forms the message, points record.message at it, calls client.notify, then
// frees the message and sets record.message back to null. A message that
// cannot be formed is handed on as the empty string. Returns true if the
// client answered Cancel.
bool sendCallBackRecord(callBack& client, callBackRecord& record);
