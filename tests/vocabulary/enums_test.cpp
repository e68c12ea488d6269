// Tests of the enumeration framework, over every vocabulary class that keeps
// the ordinary rules (values 0 to end() - 1, then the invalid row), and of
// the four small vocabularies.
//
// Divided into: the shared rules (typed tests over all ordinary classes),
// then the small classes' own cases: defaults, look-up by file string and
// by message, increments, comparisons, assignment.
#include <climits>
#include <cstring>
#include <string>
#include <strings.h>

#include "vocabulary/callback.h"
#include "vocabulary/enums.h"
#include "vocabulary/filetypes.h"

#include <gtest/gtest.h>

// --- Shared rules ------------------------------------------------------------

template <typename T>
class OrdinaryEnum : public ::testing::Test {};

using OrdinaryClasses = ::testing::Types<KVE_Status, KVE_Locality, KVE_localizeEnum, KVE_severityLevel,
                                         KVE_fileCategoryEnum, KVE_fileTypeEnum, KVE_callBackAction>;
TYPED_TEST_SUITE(OrdinaryEnum, OrdinaryClasses);

TYPED_TEST(OrdinaryEnum, TableRowsHoldTheirOwnValueAndEndOnTheInvalidRow) {
    const int end = TypeParam::invalid;
    const int rows = static_cast<int>(sizeof(TypeParam::infoArray) / sizeof(TypeParam::infoArray[0]));
    ASSERT_EQ(rows, end + 1) << "one row per member and the invalid row";
    for (int i = 0; i < rows; ++i) EXPECT_EQ(TypeParam::infoArray[i].value, i) << "row " << i;
    EXPECT_STREQ(TypeParam::infoArray[end].fileString, "invalid");
    EXPECT_EQ(TypeParam::infoArray[end].messageID, 1);
    for (int i = 0; i < end; ++i) {
        EXPECT_STRNE(TypeParam::infoArray[i].fileString, "invalid") << "row " << i;
        EXPECT_NE(TypeParam::infoArray[i].messageID, 1) << "row " << i;
    }
}

TYPED_TEST(OrdinaryEnum, OutOfRangeValuesMeanTheInvalidRow) {
    const int end = TypeParam::invalid;
    for (int v : {-1, end, end + 1, INT_MAX, INT_MIN}) {
        TypeParam e(v);
        EXPECT_EQ(e.value(), end) << "constructed from " << v;
        EXPECT_STREQ(e.getFileString(), "invalid");
        EXPECT_EQ(e.getMessageID(), 1);
        EXPECT_FALSE(e.isValid());
        EXPECT_EQ(e.getIndex(), end);
        TypeParam assigned(0);
        assigned = v;
        EXPECT_EQ(assigned.value(), end) << "assigned " << v;
    }
}

TYPED_TEST(OrdinaryEnum, SetByIndexIsUncheckedUntilValidated) {
    const int end = TypeParam::invalid;
    TypeParam e(0);
    e.setByIndex(end + 5);
    EXPECT_EQ(e.value(), end + 5) << "stored as given";
    EXPECT_FALSE(e.isValid());
    EXPECT_STREQ(e.getFileString(), "invalid") << "yet read through the invalid row";
    EXPECT_EQ(e.getMessageID(), 1);
    EXPECT_EQ(e.getIndex(), end);
    e.validate();
    EXPECT_EQ(e.value(), end);
    e.setByIndex(-3);
    e.setNext();
    EXPECT_EQ(e.value(), end) << "setNext from out of range goes to the invalid row";
}

TYPED_TEST(OrdinaryEnum, WalkVisitsEveryMemberOnce) {
    TypeParam e;
    int count = 0;
    for (e.setFirst(); e.isValid(); e.setNext()) {
        EXPECT_EQ(e.value(), count);
        EXPECT_EQ(e.getIndex(), count);
        ++count;
    }
    EXPECT_EQ(count, e.numValidMembers());
    EXPECT_EQ(count, static_cast<int>(TypeParam::invalid));
    EXPECT_EQ(e.value(), e.end());
    e.setNext();
    EXPECT_EQ(e.value(), e.end()) << "the invalid row stays";
}

TYPED_TEST(OrdinaryEnum, EveryFileStringFindsItsFirstRowWithoutRegardToCase) {
    for (int i = 0; i < TypeParam::invalid; ++i) {
        std::string text = TypeParam::infoArray[i].fileString;
        int first = 0;
        while (strcasecmp(TypeParam::infoArray[first].fileString, text.c_str()) != 0) ++first;
        for (char& c : text) c = static_cast<char>(i % 2 ? toupper(c) : tolower(c));
        TypeParam e;
        e.setByFileString(text.c_str());
        EXPECT_EQ(e.value(), first) << "'" << text << "'";
    }
    TypeParam e(0);
    e.setByFileString("invalid");
    EXPECT_EQ(e.value(), e.end());
    e = 0;
    e.setByFileString("no such member");
    EXPECT_EQ(e.value(), e.end());
    e = 0;
    e.setByFileString(nullptr);
    EXPECT_EQ(e.value(), e.end());
}

TYPED_TEST(OrdinaryEnum, EveryMessageFindsItsFirstRow) {
    char text[512], other[512];
    for (int i = 0; i < TypeParam::invalid; ++i) {
        TypeParam row(i);
        ASSERT_GT(row.getMessageString(text, sizeof text), 0) << "row " << i << " has a text";
        int first = 0;
        for (;; ++first) {
            TypeParam candidate(first);
            candidate.getMessageString(other, sizeof other);
            if (strcasecmp(other, text) == 0) break;
        }
        TypeParam e;
        e.setByMessageString(text);
        EXPECT_EQ(e.value(), first) << "'" << text << "'";
    }
}

TYPED_TEST(OrdinaryEnum, CopiesKeepTheValue) {
    TypeParam a(1);
    TypeParam b(a);
    EXPECT_EQ(b.value(), 1);
    TypeParam c;
    c = a;
    EXPECT_EQ(c.value(), 1);
    // Assignment through the base validates by the target's virtual range.
    TypeParam d(0);
    enumBaseClass& base = d;
    base = 1000000;
    EXPECT_EQ(d.value(), d.end());
}

// --- The small vocabularies --------------------------------------------------

TEST(SmallEnums, DefaultsAreNoErrorForStatusAndInvalidForTheOthers) {
    EXPECT_EQ(KVE_Status().value(), KVE_Status::NoError);
    EXPECT_EQ(KVE_Locality().value(), KVE_Locality::invalid);
    EXPECT_EQ(KVE_localizeEnum().value(), KVE_localizeEnum::invalid);
    EXPECT_EQ(KVE_severityLevel().value(), KVE_severityLevel::invalid);
    EXPECT_EQ(KVE_fileTypeEnum().value(), KVE_fileTypeEnum::invalid);
    EXPECT_EQ(KVE_fileCategoryEnum().value(), KVE_fileCategoryEnum::invalid);
    EXPECT_EQ(KVE_callBackAction().value(), KVE_callBackAction::invalid);
}

// Any case is tried for every class above; what is left is that a prefix
// or an extension of a file string or a message is no match.
TEST(SmallEnums, LookUpsByTextNeedTheWholeText) {
    KVE_Locality l(KVE_Locality::Local);
    l.setByFileString("Loca");
    EXPECT_EQ(l.value(), KVE_Locality::invalid);
    l.setByFileString("Localx");
    EXPECT_EQ(l.value(), KVE_Locality::invalid);
    l.setByMessageString("in a SUBDIRECTORY of the workspace");
    EXPECT_EQ(l.value(), KVE_Locality::Local_subdir);
    // "Local to workspace" is row 0: a prefix of it, or a longer text that
    // begins with it, must not pass.
    const char* const texts[] = {"Local to", "Local to workspace!", "Local to workspace and more", "", nullptr};
    for (const char* text : texts) {
        l = KVE_Locality::Local;
        l.setByMessageString(text);
        EXPECT_EQ(l.value(), KVE_Locality::invalid) << (text ? text : "null");
    }
    KVE_localizeEnum z;
    z.setByMessageString("Include all dependencies and localize libraries");
    EXPECT_EQ(z.value(), KVE_localizeEnum::LocalizeAll);
    // The invalid row's own text leaves the object on the invalid row.
    z.setByMessageString("Invalid");
    EXPECT_EQ(z.value(), KVE_localizeEnum::invalid);
}

TEST(SmallEnums, Increments) {
    KVE_Locality l(KVE_Locality::System);
    enumBaseClass old = l++;
    EXPECT_EQ(old.value(), KVE_Locality::System) << "post-increment returns the last member";
    EXPECT_EQ(l.value(), l.end()) << "and leaves the object on end()";
    EXPECT_EQ((l++).value(), l.end());
    EXPECT_EQ(l.value(), l.end());
    KVE_localizeEnum z(KVE_localizeEnum::IncludeNone);
    enumBaseClass& same = ++z;
    EXPECT_EQ(&same, &z) << "pre-increment returns the object";
    EXPECT_EQ(z.value(), KVE_localizeEnum::IncludeLocal);
}

TEST(SmallEnums, ComparisonsIgnoreTheClassAndLocalityOrderIsTheValueOrder) {
    KVE_Locality l(2);
    KVE_localizeEnum z(2);
    EXPECT_TRUE(l == z);
    EXPECT_FALSE(l != z);
    EXPECT_TRUE(l == 2);
    EXPECT_TRUE(l != 3);
    EXPECT_TRUE(l == KVE_Locality::External);
    KVE_severityLevel s(1);
    EXPECT_TRUE(s != l);
    KVE_Locality local(KVE_Locality::Local), system(KVE_Locality::System), bad(99);
    EXPECT_TRUE(local < system);
    EXPECT_FALSE(system < local);
    EXPECT_TRUE(system > local);
    EXPECT_TRUE(bad > system) << "the invalid row sorts last";
}

TEST(SmallEnums, SeverityTakesALocalizeValueUnderItsOwnRangeCheck) {
    KVE_severityLevel s;
    s = KVE_localizeEnum(KVE_localizeEnum::LocalizeAll);
    EXPECT_EQ(s.value(), 3);
    s = KVE_localizeEnum(KVE_localizeEnum::IncludeNone);
    EXPECT_EQ(s.value(), 0);
    s = KVE_localizeEnum(); // the invalid row, 4, is the severity's invalid row too
    EXPECT_EQ(s.value(), KVE_severityLevel::invalid);
}

TEST(SmallEnums, MessagesOfTheStatusTable) {
    char buffer[64];
    KVE_Status s(KVE_Status::DesignFileAlreadyExists);
    EXPECT_EQ(s.getMessageString(buffer, sizeof buffer), 26);
    EXPECT_STREQ(buffer, "Design File Already Exists");
    // Cut to the buffer, as LoadStringA cuts.
    EXPECT_EQ(s.getMessageString(buffer, 7), 6);
    EXPECT_STREQ(buffer, "Design");
    KVE_Status bad(42);
    EXPECT_EQ(bad.getMessageString(buffer, sizeof buffer), 7);
    EXPECT_STREQ(buffer, "Invalid");
}
