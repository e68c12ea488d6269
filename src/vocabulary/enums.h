// The enumeration framework: every closed vocabulary of the engine as a small
// class that holds one integer and reads a constant table.
//
// An object holds `value`; each class has a constant table, `infoArray`,
// whose rows give a message id (a text of the string table) and a file string
// (the name used in files and on the command line). The last row of every
// table is the invalid row: its value is end(), its message id 1 ("Invalid"),
// its file string "invalid". Any value outside the table means that row.
//
// Contents:
//   1. enumBaseClass: the value and the virtual walk over the members.
//   2. kelvaultDLLenum: adds the message texts from the string table.
//   3. KV_VOCABULARY_MEMBERS and KV_VOCABULARY_DEFINITIONS: the members
//      that every vocabulary class with a plain table shares.
//   4. The four small vocabularies: KVE_Status, KVE_Locality,
//      KVE_localizeEnum, KVE_severityLevel.
// File types and categories are in filetypes.h, the callback vocabulary in
// callback.h.
//
// Each class has a nested eType whose enumerators are the file strings of
// its rows; the invalid row's enumerator is `invalid`.
#pragma once

#include "kv_export.h"

// ---------------------------------------------------------------------------
// 1. enumBaseClass
// ---------------------------------------------------------------------------

class KVENG_API enumBaseClass {
public:
    enumBaseClass() : value_(0) {}
    virtual ~enumBaseClass();

    // The range of the members: begin() is the first value, end() the value
    // of the invalid row. The base has an empty range.
    virtual int begin() const;
    virtual int end() const;
    // The file string of the row; "invalid" outside the table.
    virtual const char* getFileString() const;
    // The row of the object: value if valid, else end().
    virtual int getIndex() const;
    // The message id of the row; 0 in the base.
    virtual int getMessageID() const;
    // Nonzero while value is at least 0 and below end().
    virtual int isValid() const;
    virtual int numValidMembers() const;
    // The first member whose file string equals text without regard to case;
    // the invalid row if none does. Rows that share a file string are reached
    // at the first of them.
    virtual void setByFileString(const char* text);
    // Stores index as the value, unchecked: the object stays out of range
    // until validate() is called.
    virtual void setByIndex(int index);
    virtual void setFirst();
    // The next member; from an invalid value, the invalid row.
    virtual void setNext();
    // Moves an out-of-range value to the invalid row.
    virtual void validate();

    int value() const { return value_; }

    // Comparisons look at the value alone, whatever the class of either side.
    bool operator==(const enumBaseClass& other) const { return value_ == other.value_; }
    bool operator!=(const enumBaseClass& other) const { return value_ != other.value_; }
    bool operator==(int other) const { return value_ == other; }
    bool operator!=(int other) const { return value_ != other; }

    // setNext, then the object itself.
    enumBaseClass& operator++();
    // setNext; returns a plain enumBaseClass holding the value before it.
    enumBaseClass operator++(int);

    // Store, then the virtual validate().
    enumBaseClass& operator=(const enumBaseClass& other);
    enumBaseClass& operator=(const int& other);

protected:
    int value_;

private:
    enumBaseClass(const enumBaseClass& other);
};

// ---------------------------------------------------------------------------
// 2. kelvaultDLLenum
// ---------------------------------------------------------------------------

class KVENG_API kelvaultDLLenum : public enumBaseClass {
public:
    kelvaultDLLenum() {}
    using enumBaseClass::operator=;

    // The message text of the row, from the engine's string table, into
    // buffer (LoadStringA: at most size - 1 characters and a NUL). Returns
    // the length copied; 0 if the id has no text.
    virtual int getMessageString(char* buffer, int size) const;
    // The first member whose message text equals text without regard to
    // case; the invalid row if none does.
    virtual void setByMessageString(const char* text);
};

// ---------------------------------------------------------------------------
// 3. The shared members of a vocabulary class
// ---------------------------------------------------------------------------

// Declares, inside a public section of Class, what every vocabulary class
// whose values are the rows of its table has alike (all but
// KVE_callBackStatus): the table, infoArray, and the fileKeyword; the
// constructors and assignments, which keep the value in range; the
// overrides that read the table; and validate(v), which gives v if it is a
// member and end() otherwise. A default-constructed object holds `initial`.
// Class declares its eType (ending in `invalid`) and its infoStruct (with
// messageID and fileString) before it.
#define KV_VOCABULARY_MEMBERS(Class, initial)                                          \
    static const infoStruct infoArray[invalid + 1];                                    \
    static const char fileKeyword[];                                                   \
    Class() { value_ = initial; }                                                      \
    Class(int v) { value_ = validate(v); }                                             \
    Class(eType v) { value_ = validate(v); }                                           \
    Class(const Class& other) : kelvaultDLLenum() { value_ = validate(other.value_); } \
    Class& operator=(const Class& other) = default;                                    \
    Class& operator=(const int& v) {                                                   \
        value_ = validate(v);                                                          \
        return *this;                                                                  \
    }                                                                                  \
    int end() const override;                                                          \
    const char* getFileString() const override;                                        \
    int getMessageID() const override;                                                 \
    using kelvaultDLLenum::validate;                                                   \
    static int validate(int v)

// Defines, in the class's source, the members of KV_VOCABULARY_MEMBERS
// that read the table: a value outside it reads the invalid row.
#define KV_VOCABULARY_DEFINITIONS(Class)                                                     \
    int Class::validate(int v) { return v >= 0 && v < invalid ? v : invalid; }              \
    int Class::end() const { return invalid; }                                               \
    const char* Class::getFileString() const { return infoArray[validate(value_)].fileString; } \
    int Class::getMessageID() const { return infoArray[validate(value_)].messageID; }

// ---------------------------------------------------------------------------
// 4. The small vocabularies
// ---------------------------------------------------------------------------

// The result of opening a workspace. Default: NoError.
class KVENG_API KVE_Status : public kelvaultDLLenum {
public:
    enum eType {
        NoError,
        DirectoryNotFound,
        DesignFileAlreadyExists,
        DesignFileDoesNotExist,
        CouldNotCreateDirectory,
        InvalidArgument,
        ErrorReadingDirectory,
        NoPathGiven,
        invalid
    };
    struct infoStruct {
        int value;
        int messageID;
        const char* fileString;
    };
    KV_VOCABULARY_MEMBERS(KVE_Status, NoError);
};

// Where a file lies from the workspace's point of view. The order of the
// values is the sort order of items, hence < and >. Default: invalid.
class KVENG_API KVE_Locality : public kelvaultDLLenum {
public:
    enum eType { Local, Local_subdir, External, System, invalid };
    struct infoStruct {
        int value;
        int messageID;
        const char* fileString;
    };
    KV_VOCABULARY_MEMBERS(KVE_Locality, invalid);

    bool operator<(const KVE_Locality& other) const { return value_ < other.value_; }
    bool operator>(const KVE_Locality& other) const { return value_ > other.value_; }
};

// How far an operation follows dependencies. Default: invalid.
class KVENG_API KVE_localizeEnum : public kelvaultDLLenum {
public:
    enum eType { IncludeNone, IncludeLocal, IncludeGlobal, LocalizeAll, invalid };
    struct infoStruct {
        int value;
        int messageID;
        const char* fileString;
    };
    KV_VOCABULARY_MEMBERS(KVE_localizeEnum, invalid);
};

// The weight of a callback action. Default: invalid.
class KVENG_API KVE_severityLevel : public kelvaultDLLenum {
public:
    enum eType { Informational, Warning, Error, CriticalError, invalid };
    struct infoStruct {
        int value;
        int messageID;
        const char* fileString;
    };
    KV_VOCABULARY_MEMBERS(KVE_severityLevel, invalid);
    // Takes the other object's value under this class's range check. Kept
    // in the interface beside the copy assignment.
    KVE_severityLevel& operator=(const KVE_localizeEnum& other) { value_ = validate(other.value()); return *this; }
};
