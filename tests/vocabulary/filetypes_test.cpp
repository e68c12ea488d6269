// Tests of the file type and category vocabularies and of the three tables
// beside them (extensions, subcategories, membership).
//
// Divided into: categories, file types (flags, categories, keys, icons),
// the extension table's shape (where extensions lead is tested on real files
// in tests/workspace), the subcategory table and its look-ups, the
// membership table.
#include <cctype>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "resources/resources.h"
#include "vocabulary/filetypes.h"

#include <gtest/gtest.h>

// --- Categories --------------------------------------------------------------

TEST(Categories, TheFirstThirteenAreTopLevelAndParentTheOthers) {
    EXPECT_FALSE(KVE_fileCategoryEnum(38).topLevel()) << "the invalid row has no parent, yet is not top-level";
    for (int v = 0; v < 38; ++v) EXPECT_EQ(KVE_fileCategoryEnum(v).topLevel(), v <= 12) << v;
    for (int v = 13; v < 38; ++v)
        EXPECT_TRUE(KVE_fileCategoryEnum(KVE_fileCategoryEnum::infoArray[v].parent).topLevel()) << v;
    KVE_fileCategoryEnum out;
    out.setByIndex(500);
    EXPECT_FALSE(out.topLevel());
}

TEST(Categories, MessagesThatDifferFromTheFileString) {
    KVE_fileCategoryEnum e;
    e.setByMessageString("Workspace Dependencies");
    EXPECT_EQ(e.value(), KVE_fileCategoryEnum::LocalDependencies);
    e.setByMessageString("Tarnel Miscellaneous Files");
    EXPECT_EQ(e.value(), KVE_fileCategoryEnum::MiscellaneousFiles);
    e.setByMessageString("Miscellaneous Files");
    EXPECT_EQ(e.value(), KVE_fileCategoryEnum::invalid) << "the file string of row 10 is not its message";
    e.setByMessageString("User Files");
    EXPECT_EQ(e.value(), 11) << "rows 11 and 12 share a message";
}

// --- File types --------------------------------------------------------------

// The three flags, one type of each kind: a design file, a library that
// has dependencies and folders, a library of nothing but symbols, and a
// plain file.
TEST(FileTypes, Flags) {
    struct {
        int type;
        bool dependencies, library, subcategories;
    } rows[] = {{KVE_fileTypeEnum::SCH, true, false, true}, {KVE_fileTypeEnum::LIB, true, true, true},
                {KVE_fileTypeEnum::FLB, false, true, false}, {KVE_fileTypeEnum::USER, false, false, false}};
    for (const auto& r : rows) {
        KVE_fileTypeEnum t(r.type);
        EXPECT_EQ(t.canHaveDependencies(), r.dependencies) << t.getFileString();
        EXPECT_EQ(t.isLibraryFile(), r.library) << t.getFileString();
        EXPECT_EQ(t.canHaveSubcategories(), r.subcategories) << t.getFileString();
    }
}

TEST(FileTypes, OutOfRangeTypeHasNoCategoryNoFlagsNoKey) {
    KVE_fileTypeEnum t(200);
    EXPECT_EQ(t.value(), 136);
    EXPECT_EQ(t.getCategory(), KVE_fileCategoryEnum::invalid);
    EXPECT_FALSE(t.canHaveDependencies() || t.isLibraryFile() || t.canHaveSubcategories());
    EXPECT_EQ(t.getIniFileCommandString(), nullptr);
    KVE_fileTypeEnum raw;
    raw.setByIndex(-7);
    EXPECT_EQ(raw.getCategory(), KVE_fileCategoryEnum::invalid);
    EXPECT_STREQ(raw.getFileString(), "invalid");
}

TEST(FileTypes, CommandKeys) {
    EXPECT_EQ(KVE_fileTypeEnum(0).getIniFileCommandString(), nullptr);
    EXPECT_STREQ(KVE_fileTypeEnum(KVE_fileTypeEnum::SCH).getIniFileCommandString(), "SKETCHVANECMD");
    EXPECT_STREQ(KVE_fileTypeEnum(KVE_fileTypeEnum::LIB).getIniFileCommandString(), "PELLOCMD");
    EXPECT_STREQ(KVE_fileTypeEnum(KVE_fileTypeEnum::MVL).getIniFileCommandString(), "MSGVIEWCMD");
}

TEST(FileTypes, CategoriesOfTypesAreTopLevelOrNone) {
    std::set<int> used;
    for (int v = 0; v < 136; ++v) {
        int c = KVE_fileTypeEnum(v).getCategory();
        EXPECT_TRUE(c == KVE_fileCategoryEnum::invalid || KVE_fileCategoryEnum(c).topLevel()) << v;
        used.insert(c);
    }
    EXPECT_EQ(used.count(KVE_fileCategoryEnum::MiscellaneousFiles), 0u) << "category 10 has no type of its own";
    EXPECT_EQ(KVE_fileTypeEnum(KVE_fileTypeEnum::USER).getCategory(), KVE_fileCategoryEnum::UserFiles);
    EXPECT_EQ(KVE_fileTypeEnum(KVE_fileTypeEnum::SCH).getCategory(), KVE_fileCategoryEnum::Sketchvane);
}

// Whether two icons have the same pixels.
static bool samePixels(void* a, void* b) {
    int wa = 0, ha = 0, wb = 0, hb = 0;
    const uint8_t *pa = nullptr, *pb = nullptr;
    if (!kvGetIconPixels(a, &wa, &ha, &pa) || !kvGetIconPixels(b, &wb, &hb, &pb)) return false;
    return wa == wb && ha == hb && memcmp(pa, pb, static_cast<size_t>(wa) * ha * 4) == 0;
}

static int iconWidth(void* icon) {
    int w = -1;
    kvGetIconPixels(icon, &w, nullptr, nullptr);
    return w;
}

// The three icons of a type or category: 16, 32 and 48 pixels wide, each
// an image of its own that the caller frees.
template <typename Vocabulary>
static void expectThreeIcons(const Vocabulary& e) {
    void* icons[3] = {e.getSmallIcon(), e.getNormalIcon(), e.getLargeIcon()};
    for (int i = 0; i < 3; ++i) EXPECT_EQ(iconWidth(icons[i]), 16 * (i + 1)) << e.getFileString();
    for (void* icon : icons) EXPECT_TRUE(DestroyIcon(icon));
}

TEST(FileTypes, EveryTypeAndCategoryHasAnIconAtThreeSizes) {
    for (int v = 0; v <= 136; ++v) expectThreeIcons(KVE_fileTypeEnum(v));
    for (int v = 0; v <= 38; ++v) expectThreeIcons(KVE_fileCategoryEnum(v));
}

TEST(FileTypes, IconIdZeroMeansTheUserFileIcon) {
    KVE_fileTypeEnum asc(KVE_fileTypeEnum::ASC);
    ASSERT_EQ(KVE_fileTypeEnum::infoArray[asc.value()].iconID, 0);
    KVE_fileTypeEnum user(KVE_fileTypeEnum::USER);
    ASSERT_EQ(KVE_fileTypeEnum::infoArray[user.value()].iconID, 102);
    void* a[3] = {asc.getSmallIcon(), asc.getNormalIcon(), asc.getLargeIcon()};
    void* u[3] = {user.getSmallIcon(), user.getNormalIcon(), user.getLargeIcon()};
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(samePixels(a[i], u[i])) << "size " << i;
        EXPECT_NE(a[i], u[i]) << "every call gives a new image";
        DestroyIcon(a[i]);
        DestroyIcon(u[i]);
    }
    // A different type's icon differs.
    void* sch = KVE_fileTypeEnum(KVE_fileTypeEnum::SCH).getNormalIcon();
    void* usr = user.getNormalIcon();
    EXPECT_FALSE(samePixels(sch, usr));
    DestroyIcon(sch);
    DestroyIcon(usr);
}

// --- The extension table -----------------------------------------------------

TEST(Extensions, TableShape) {
    std::set<int> reached;
    std::set<std::string> patterns;
    for (const fileExtensionRow& row : fileExtensionTable) {
        ASSERT_TRUE(row.type >= 0 && row.type < 136) << row.pattern;
        reached.insert(row.type);
        EXPECT_TRUE(patterns.insert(row.pattern).second) << "pattern " << row.pattern << " twice";
        for (const char* p = row.pattern; *p; ++p)
            EXPECT_TRUE(isupper(static_cast<unsigned char>(*p)) || *p == '#') << row.pattern;
        EXPECT_LE(strlen(row.pattern), 4u) << "longer extensions never reach the table";
    }
    for (int v = 0; v < 136; ++v) {
        bool none = v == 17 || v == 22 || v == 23 || v == 116 || v == 125;
        EXPECT_EQ(reached.count(v) == 0, none) << KVE_fileTypeEnum(v).getFileString();
    }
}

// --- The subcategory table ---------------------------------------------------

TEST(SubCategories, RowsGroupedByTypeThenTheSentinel) {
    const subCategoryRow& sentinel = subCategoryTable[subCategoryTableSize];
    EXPECT_EQ(sentinel.subCategory, 38);
    EXPECT_EQ(sentinel.type, 136);
    EXPECT_EQ(sentinel.flags, 0u);
    std::set<int> finished; // types whose rows have ended
    for (int i = 0; i < subCategoryTableSize; ++i) {
        const subCategoryRow& row = subCategoryTable[i];
        EXPECT_GE(row.subCategory, 16) << i;
        EXPECT_LE(row.subCategory, 37) << i;
        EXPECT_NE(row.subCategory, 34) << "no file shows Dependencies";
        EXPECT_NE(row.subCategory, 36) << "no file shows the model libraries' System Files";
        EXPECT_LE(row.flags, 2u) << i;
        EXPECT_TRUE(KVE_fileTypeEnum(row.type).canHaveSubcategories()) << i;
        if (i > 0 && subCategoryTable[i - 1].type != row.type) finished.insert(subCategoryTable[i - 1].type);
        EXPECT_EQ(finished.count(row.type), 0u) << "each type's rows stand together, row " << i;
    }
}

TEST(SubCategories, ParentTypeIsTheFirstRow) {
    EXPECT_EQ(getParentTypeOfSubCategory(16), KVE_fileTypeEnum::SCH);
    EXPECT_EQ(getParentTypeOfSubCategory(20), KVE_fileTypeEnum::SCH) << "SCH's row comes before PCA's";
    EXPECT_EQ(getParentTypeOfSubCategory(24), KVE_fileTypeEnum::CIR);
    EXPECT_EQ(getParentTypeOfSubCategory(30), KVE_fileTypeEnum::PCA);
    EXPECT_EQ(getParentTypeOfSubCategory(35), KVE_fileTypeEnum::DSL);
    EXPECT_EQ(getParentTypeOfSubCategory(37), KVE_fileTypeEnum::SLB);
    for (int none : {0, 13, 15, 34, 36, 38, -1, 1000})
        EXPECT_EQ(getParentTypeOfSubCategory(none), 136) << none;
}

TEST(SubCategories, SystemAndOutputFolderTests) {
    EXPECT_TRUE(isSystemFileCategory(23, KVE_fileTypeEnum::SCH));
    EXPECT_FALSE(isOutputCategory(23, KVE_fileTypeEnum::SCH));
    EXPECT_TRUE(isOutputCategory(16, KVE_fileTypeEnum::SCH));
    EXPECT_TRUE(isOutputCategory(17, KVE_fileTypeEnum::SCH));
    EXPECT_FALSE(isOutputCategory(18, KVE_fileTypeEnum::SCH)) << "netlists are neither";
    EXPECT_FALSE(isSystemFileCategory(18, KVE_fileTypeEnum::SCH));
    EXPECT_TRUE(isOutputCategory(24, KVE_fileTypeEnum::CIR));
    EXPECT_TRUE(isSystemFileCategory(25, KVE_fileTypeEnum::CIR));
    EXPECT_TRUE(isSystemFileCategory(30, KVE_fileTypeEnum::PCA));
    EXPECT_TRUE(isOutputCategory(28, KVE_fileTypeEnum::PCA));
    EXPECT_FALSE(isOutputCategory(29, KVE_fileTypeEnum::PCA)) << "autorouter control is no output";
    EXPECT_TRUE(isSystemFileCategory(37, KVE_fileTypeEnum::SLB));
    // The row must be the type's own.
    EXPECT_FALSE(isSystemFileCategory(23, KVE_fileTypeEnum::CIR));
    EXPECT_FALSE(isOutputCategory(16, KVE_fileTypeEnum::PCA));
    EXPECT_FALSE(isSystemFileCategory(23, KVE_fileTypeEnum::SCV)) << "SCV has the flag but no rows";
    EXPECT_FALSE(isSystemFileCategory(38, 136)) << "the sentinel is no row";
}

// --- The membership table ----------------------------------------------------

TEST(Membership, RowsOrderedByTypeThenTheSentinel) {
    EXPECT_EQ(membershipTable[membershipTableSize].subCategory, 38);
    EXPECT_EQ(membershipTable[membershipTableSize].type, 136);
    for (int i = 0; i < membershipTableSize; ++i) {
        const subCategoryMemberRow& row = membershipTable[i];
        ASSERT_TRUE(row.type >= 0 && row.type < 136) << i;
        EXPECT_FALSE(row.subCategory >= 19 && row.subCategory <= 22) << "checkpoint and dependency folders have no members";
        if (i > 0) {
            const subCategoryMemberRow& before = membershipTable[i - 1];
            EXPECT_TRUE(before.type < row.type || (before.type == row.type && before.subCategory < row.subCategory))
                << "row " << i;
        }
    }
}

TEST(Membership, NetlistTypes) {
    for (int t : {KVE_fileTypeEnum::EDF, KVE_fileTypeEnum::XNF}) EXPECT_TRUE(isNetlistTypeValue(t)) << t;
    for (int t : {-2, -1, int(KVE_fileTypeEnum::NET), int(KVE_fileTypeEnum::SCH), 136, 140})
        EXPECT_FALSE(isNetlistTypeValue(t)) << t;
}
