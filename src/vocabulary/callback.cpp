// The callback protocol: the answer and action tables, the do-nothing
// client, and message forming.
//
// Contents:
//   1. KVE_callBackStatus.
//   2. KVE_callBackAction: the table and the response masks.
//   3. callBack, dummyCallback.
//   4. Forming messages.
#include "vocabulary/callback.h"

#include <cstdio>

#include "platform/platform.h"
#include "resources/resources.h"
#include "workspace/context.h"

// ---------------------------------------------------------------------------
// 1. KVE_callBackStatus
// ---------------------------------------------------------------------------

// index = row; value, message id, file string
const KVE_callBackStatus::infoStruct KVE_callBackStatus::infoArray[KVE_callBackStatus::infoArrayLen] = {
    {1, 502, "Okay"},
    {2, 501, "Cancel"},
    {4, 534, "Keep"},
    {8, 503, "Overwrite"},
    {16, 504, "Rename"},
    {0, 1, "invalid"},
};
const char KVE_callBackStatus::fileKeyword[] = "callBackStatus";

int KVE_callBackStatus::determineIndex(int v) {
    if (v < 1) return invalidIndex;
    int row = 0;
    for (int bit = 1; bit != v && row < invalidIndex; bit <<= 1) ++row;
    return row;
}

void KVE_callBackStatus::validateValue() {
    index = determineIndex(value_);
    value_ = infoArray[index].value;
}

// An index outside the table (only setByIndex makes one) reads the invalid
// row, never beyond the table.
const KVE_callBackStatus::infoStruct& KVE_callBackStatus::row() const {
    return infoArray[index >= 0 && index < infoArrayLen ? index : invalidIndex];
}

int KVE_callBackStatus::begin() const { return Okay; }
const char* KVE_callBackStatus::getFileString() const { return row().fileString; }
int KVE_callBackStatus::getMessageID() const { return row().messageID; }
int KVE_callBackStatus::getIndex() const { return index; }
int KVE_callBackStatus::isValid() const { return index >= 0 && index <= invalidIndex; }
int KVE_callBackStatus::numValidMembers() const { return numValidMembersStatic; }

void KVE_callBackStatus::setByIndex(int row) {
    index = row;
    value_ = this->row().value;
}

void KVE_callBackStatus::setFirst() {
    index = 0;
    value_ = infoArray[0].value;
}

void KVE_callBackStatus::setNext() {
    if (index >= 0 && index < invalidIndex)
        ++index;
    else
        index = invalidIndex;
    value_ = infoArray[index].value;
}

void KVE_callBackStatus::validate() { validateValue(); }

// ---------------------------------------------------------------------------
// 2. KVE_callBackAction
// ---------------------------------------------------------------------------

// value, short message id, full message id, file string, severity, valid
// responses (1 Okay, 2 Cancel, 4 Keep, 8 Overwrite, 16 Rename), to the
// message viewer
const KVE_callBackAction::infoStruct KVE_callBackAction::infoArray[] = {
    {0, 512, 525, "DeterminingDependencies", 0, 3, 0},
    {1, 516, 529, "NumberOfFilesToProcess", 0, 3, 0},
    {2, 510, 523, "CopyingFile", 0, 3, 0},
    {3, 514, 527, "MovingFile", 0, 3, 0},
    {4, 511, 524, "CopyingFileWithRename", 0, 3, 0},
    {5, 515, 528, "MovingFileWithRename", 0, 3, 0},
    {6, 513, 526, "FileExistsAtDestination", 1, 30, 1},
    {7, 517, 530, "OtherFileGoingHere", 1, 22, 1},
    {8, 505, 518, "CannotAccessDir", 2, 3, 1},
    {9, 509, 522, "CannotWriteFile", 2, 3, 1},
    {10, 508, 521, "CannotReadFile", 2, 3, 1},
    {11, 507, 520, "CannotMoveFile", 2, 3, 1},
    {12, 506, 519, "CannotDeleteFile", 2, 3, 1},
    {13, 535, 536, "FilesNotDeletedError", 1, 1, 1},
    {14, 537, 538, "FilesNotDeletedCancel", 1, 1, 1},
    {15, 543, 544, "LockSourceFile", 0, 7, 0},
    {16, 545, 546, "LockTargetFile", 0, 23, 0},
    {17, 547, 548, "UnlockSourceFile", 0, 1, 0},
    {18, 549, 550, "UnlockTargetFile", 0, 1, 0},
    {19, 551, 600, "SearchingLibrary", 0, 1, 0},
    {20, 556, 559, "ScanningDependencies", 0, 1, 0},
    {21, 557, 560, "GettingLibDependencies", 0, 1, 0},
    {22, 558, 561, "LocalizingLibrary", 0, 1, 0},
    {23, 562, 568, "BeginningCopy", 0, 1, 1},
    {24, 563, 569, "BeginningArchive", 0, 1, 1},
    {25, 584, 586, "BeginningMove", 0, 1, 1},
    {26, 585, 587, "BeginningRestore", 0, 1, 1},
    {27, 564, 570, "WritingArchive", 0, 1, 0},
    {28, 565, 571, "ReadingArchive", 0, 1, 0},
    {29, 566, 572, "DoneReadingArchive", 0, 1, 0},
    {30, 567, 573, "DeletingSourceFiles", 0, 1, 0},
    {31, 576, 575, "CannotFindSymbol", 1, 1, 1},
    {32, 578, 577, "ErrorReadingFile", 2, 1, 1},
    {33, 580, 579, "ErrorWritingFile", 2, 1, 1},
    {34, 582, 583, "DeterminingLibSymbols", 0, 1, 0},
    {35, 592, 594, "DeletingFile", 0, 1, 0},
    {36, 593, 595, "OverwritingFile", 0, 1, 0},
    {37, 574, 581, "Finished", 0, 1, 1},
    {38, 588, 589, "SimulationStale", 1, 1, 1},
    {39, 590, 591, "SimulationMayBeStale", 1, 1, 1},
    {40, 596, 597, "DeletingGlobalLibFile", 0, 7, 0},
    {41, 598, 599, "CopyingGlobalLibFile", 0, 7, 0},
    {42, 601, 602, "DeterminingLibModels", 0, 1, 0},
    {43, 603, 607, "FinishedArchive", 0, 1, 1},
    {44, 604, 608, "FinishedCopy", 0, 1, 1},
    {45, 605, 609, "FinishedMove", 0, 1, 1},
    {46, 606, 610, "FinishedRestore", 0, 1, 1},
    {47, 611, 612, "DoneWritingArchive", 0, 1, 0},
    {48, 613, 614, "MovingGlobalLibFile", 0, 7, 0},
    {49, 615, 616, "FilenameTooLong", 1, 22, 1},
    {50, 617, 618, "FilenameInvalid", 1, 22, 1},
    {51, 619, 620, "CannotFindPackage", 1, 1, 1},
    {52, 621, 622, "LibraryMayBeCorrupt", 1, 1, 1},
    {53, 623, 624, "Arch_AHeaderReadError", 2, 1, 1},
    {54, 625, 626, "Arch_AHeaderWriteError", 2, 1, 1},
    {55, 627, 628, "Arch_ArchOpenRError", 2, 1, 1},
    {56, 629, 630, "Arch_ArchOpenWError", 2, 1, 1},
    {57, 631, 632, "Arch_CrcError", 2, 1, 1},
    {58, 633, 634, "Arch_DirIncError", 2, 1, 1},
    {59, 635, 636, "Arch_ExplodeError", 2, 1, 1},
    {60, 637, 638, "Arch_FHeaderReadError", 2, 1, 1},
    {61, 639, 640, "Arch_FHeaderWriteError", 2, 1, 1},
    {62, 641, 642, "Arch_FileAppendError", 2, 1, 1},
    {63, 643, 644, "Arch_ImplodeError", 2, 1, 1},
    {64, 645, 646, "Arch_SourceAccessError", 2, 1, 1},
    {65, 647, 648, "Arch_SourceAttribError", 2, 1, 1},
    {66, 649, 650, "Arch_SourceDirError", 2, 1, 1},
    {67, 651, 652, "Arch_SourceOpenError", 2, 1, 1},
    {68, 653, 654, "Arch_TargetAttribError", 2, 1, 1},
    {69, 655, 656, "Arch_TargetDirError", 2, 1, 1},
    {70, 657, 658, "Arch_TargEqSrcError", 2, 1, 1},
    {71, 659, 660, "Arch_TargetNotDir", 2, 1, 1},
    {72, 661, 662, "Arch_TargetOpenError", 2, 1, 1},
    {73, 663, 664, "Arch_TempOpenRError", 2, 1, 1},
    {74, 665, 666, "Arch_TempOpenWError", 2, 1, 1},
    {75, 1, 1, "invalid", 4, 0, 0},
};
const char KVE_callBackAction::fileKeyword[] = "callBackAction";

KV_VOCABULARY_DEFINITIONS(KVE_callBackAction)
const KVE_callBackAction::infoStruct& KVE_callBackAction::row() const { return infoArray[validate(value_)]; }
int KVE_callBackAction::getFormatMessageID() const { return row().formatMessageID; }

int KVE_callBackAction::getFormatMessage(char* buffer, int size) const {
    return LoadStringA(moduleHandle, static_cast<UINT>(getFormatMessageID()), buffer, size);
}

void KVE_callBackAction::getSeverityLevel(KVE_severityLevel& level) const { level = row().severity; }
unsigned KVE_callBackAction::getValidResponses() const { return row().validResponses; }

int KVE_callBackAction::numberOfValidResponses() const {
    int count = 0;
    for (unsigned mask = getValidResponses(); mask; mask &= mask - 1) ++count;
    return count;
}

// The lowest bit of mask at or above position, as a status; the invalid
// row if there is none.
static void lowestResponseFrom(unsigned mask, int position, KVE_callBackStatus& status) {
    status = KVE_callBackStatus::invalid;
    for (int bit = position; bit < 32; ++bit)
        if (mask & (1u << bit)) {
            status = static_cast<int>(1u << bit);
            return;
        }
}

void KVE_callBackAction::firstValidResponse(KVE_callBackStatus& status) const {
    lowestResponseFrom(getValidResponses(), 0, status);
}

void KVE_callBackAction::nextValidResponse(KVE_callBackStatus& status) const {
    int position = 0;
    for (unsigned v = static_cast<unsigned>(status.value()); v; v >>= 1) ++position;
    lowestResponseFrom(getValidResponses(), position, status);
}

bool KVE_callBackAction::sendToMessageViewer() const { return (row().sendToMessageViewer & 1) != 0; }

// ---------------------------------------------------------------------------
// 3. Clients
// ---------------------------------------------------------------------------

callBack::~callBack() {}

void dummyCallback::notify(callBackRecord&) {}

// ---------------------------------------------------------------------------
// 4. Forming messages
// ---------------------------------------------------------------------------

char* formCallBackMessage(const callBackRecord& record) {
    char format[512];
    if (record.action.getFormatMessage(format, sizeof format) == 0) return nullptr;
    char number[16], count[16];
    snprintf(number, sizeof number, "%d", record.fileNumber);
    snprintf(count, sizeof count, "%d", record.fileCount);
    static const char empty[] = "";
    const char* arguments[9] = {
        record.sourceName ? record.sourceName : empty,
        record.sourceDir ? record.sourceDir : empty,
        record.targetName ? record.targetName : empty,
        record.targetDir ? record.targetDir : empty,
        record.otherName ? record.otherName : empty,
        record.otherDir ? record.otherDir : empty,
        number,
        count,
        record.detail ? record.detail : empty,
    };
    char* message = nullptr;
    const DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY;
    if (FormatMessageA(flags, format, 0, 0, reinterpret_cast<char*>(&message), 0, arguments) == 0) {
        if (message) LocalFree(message);
        return nullptr;
    }
    return message;
}

bool sendCallBackRecord(callBack& client, callBackRecord& record) {
    char* message = formCallBackMessage(record);
    record.message = message ? message : "";
    client.notify(record);
    record.message = nullptr;
    if (message) LocalFree(message);
    return record.status == KVE_callBackStatus::Cancel;
}
