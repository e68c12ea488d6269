// The enumeration framework and the four small vocabularies.
//
// Contents:
//   1. enumBaseClass: the walk over the members by the virtual range.
//   2. kelvaultDLLenum: message texts by id.
//   3. The tables and row look-ups of KVE_Status, KVE_Locality,
//      KVE_localizeEnum and KVE_severityLevel.
#include "vocabulary/enums.h"

#include <cstring>
#include <vector>

#include "platform/platform.h"
#include "resources/resources.h"
#include "workspace/context.h"

// ---------------------------------------------------------------------------
// 1. enumBaseClass
// ---------------------------------------------------------------------------

enumBaseClass::~enumBaseClass() {}

enumBaseClass::enumBaseClass(const enumBaseClass& other) : value_(other.value_) {}

int enumBaseClass::begin() const { return 0; }
int enumBaseClass::end() const { return 0; }
const char* enumBaseClass::getFileString() const { return "invalid"; }
int enumBaseClass::getIndex() const { return isValid() ? value_ : end(); }
int enumBaseClass::getMessageID() const { return 0; }
int enumBaseClass::isValid() const { return value_ >= 0 && value_ < end(); }
int enumBaseClass::numValidMembers() const { return end(); }

void enumBaseClass::setByFileString(const char* text) {
    const int last = end();
    setFirst();
    while (value_ != last) {
        if (text && _strcmpi(text, getFileString()) == 0) return;
        setNext();
    }
}

void enumBaseClass::setByIndex(int index) { value_ = index; }
void enumBaseClass::setFirst() { value_ = begin(); }

void enumBaseClass::setNext() {
    if (isValid())
        ++value_;
    else
        value_ = end();
}

void enumBaseClass::validate() {
    if (!isValid()) value_ = end();
}

enumBaseClass& enumBaseClass::operator++() {
    setNext();
    return *this;
}

enumBaseClass enumBaseClass::operator++(int) {
    enumBaseClass old;
    old.value_ = value_;
    setNext();
    return old;
}

enumBaseClass& enumBaseClass::operator=(const enumBaseClass& other) {
    value_ = other.value_;
    validate();
    return *this;
}

enumBaseClass& enumBaseClass::operator=(const int& other) {
    value_ = other;
    validate();
    return *this;
}

// ---------------------------------------------------------------------------
// 2. kelvaultDLLenum
// ---------------------------------------------------------------------------

int kelvaultDLLenum::getMessageString(char* buffer, int size) const {
    return LoadStringA(moduleHandle, static_cast<UINT>(getMessageID()), buffer, size);
}

void kelvaultDLLenum::setByMessageString(const char* text) {
    if (!text) text = "";
    // Two characters more than the text: a longer message is then cut to a
    // text that still differs from it.
    const int length = static_cast<int>(strlen(text));
    std::vector<char> buffer(static_cast<size_t>(length) + 4, '\0');
    const int last = end();
    setFirst();
    // The invalid row also stops the walk: for the response vocabulary it
    // counts as valid, and its setNext stays on it.
    while (isValid() && value_ != last) {
        buffer[0] = '\0';
        getMessageString(buffer.data(), length + 2);
        if (_strcmpi(buffer.data(), text) == 0) return;
        setNext();
    }
    validate();
}

// ---------------------------------------------------------------------------
// 3. The small vocabularies
// ---------------------------------------------------------------------------

// --- KVE_Status ---

const KVE_Status::infoStruct KVE_Status::infoArray[] = {
    {0, 301, "NoError"},
    {1, 302, "DirectoryNotFound"},
    {2, 303, "DesignFileAlreadyExists"},
    {3, 304, "DesignFileDoesNotExist"},
    {4, 305, "CouldNotCreateDirectory"},
    {5, 306, "InvalidArgument"},
    {6, 307, "ErrorReadingDirectory"},
    {7, 308, "NoPathGiven"},
    {8, 1, "invalid"},
};
const char KVE_Status::fileKeyword[] = "status";

KV_VOCABULARY_DEFINITIONS(KVE_Status)

// --- KVE_Locality ---

const KVE_Locality::infoStruct KVE_Locality::infoArray[] = {
    {0, 539, "Local"},
    {1, 540, "Local_subdir"},
    {2, 541, "External"},
    {3, 542, "System"},
    {4, 1, "invalid"},
};
const char KVE_Locality::fileKeyword[] = "Locality";

KV_VOCABULARY_DEFINITIONS(KVE_Locality)

// --- KVE_localizeEnum ---

const KVE_localizeEnum::infoStruct KVE_localizeEnum::infoArray[] = {
    {0, 400, "IncludeNone"},
    {1, 401, "IncludeLocal"},
    {2, 402, "IncludeGlobal"},
    {3, 403, "LocalizeAll"},
    {4, 1, "invalid"},
};
const char KVE_localizeEnum::fileKeyword[] = "localize";

KV_VOCABULARY_DEFINITIONS(KVE_localizeEnum)

// --- KVE_severityLevel ---

const KVE_severityLevel::infoStruct KVE_severityLevel::infoArray[] = {
    {0, 552, "Informational"},
    {1, 553, "Warning"},
    {2, 554, "Error"},
    {3, 555, "CriticalError"},
    {4, 1, "invalid"},
};
const char KVE_severityLevel::fileKeyword[] = "severity";

KV_VOCABULARY_DEFINITIONS(KVE_severityLevel)
