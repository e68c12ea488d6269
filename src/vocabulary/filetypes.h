// File types and categories: what the engine knows about the files of the
// tool family.
//
// Every file of a workspace gets one row of the file type table: what the
// file is called, in which category it shows, whether it can refer to other
// files, whether it is a library, whether it shows folders beneath it, its
// icon, and the INI key of the tool that opens it. Categories are the
// top-level groups of the tree (values 0 to 12) and the folders shown
// beneath a file or a group (13 to 37).
//
// Contents:
//   1. KVE_fileCategoryEnum: 38 categories and the invalid row (38).
//   2. KVE_fileTypeEnum: 136 types and the invalid row (136).
//   3. The extension table: how a file's extension (and signature) leads to
//      a type.
//   4. The subcategory table: which folders a file of a type shows, in
//      order, and which of them hold system files or output.
//   5. The membership table: which types are gathered into a folder.
//   6. Look-ups over the tables.
//
// Naming of the nested eType enumerators. They are the file strings of the
// rows, made into C++ names by these rules:
//   - blanks are dropped ("File Based Simulation" -> FileBasedSimulation);
//   - a file string that begins with a digit gets a leading underscore
//     ("1OP" -> _1OP);
//   - where several category rows share a file string, the first row keeps
//     the name and each later one gets "_" and its value (UserFiles and
//     UserFiles_12, Reports, Reports_26 and Reports_31, ...).
// The invalid row's enumerator is `invalid`.
#pragma once

#include "vocabulary/enums.h"

// ---------------------------------------------------------------------------
// 1. Categories
// ---------------------------------------------------------------------------

class KVENG_API KVE_fileCategoryEnum : public kelvaultDLLenum {
public:
    enum eType {
        Sketchvane, // 0
        FileBasedSimulation, // 1
        SimulationStimuli, // 2
        Lamineer, // 3
        Fusek, // 4
        ModelLibraries, // 5
        SymbolLibraries, // 6
        FootprintLibraries, // 7
        PadstackLibraries, // 8
        Vantric, // 9
        MiscellaneousFiles, // 10
        UserFiles, // 11
        UserFiles_12, // 12
        Checkpoints, // 13
        DependencyFiles, // 14
        SystemLibraryFiles, // 15
        Reports, // 16
        SimulationOutput, // 17
        Netlists, // 18
        Checkpoints_19, // 19
        LocalDependencies, // 20
        ExternalDependencies, // 21
        SystemDependencies, // 22
        SystemFiles, // 23
        Output, // 24
        SystemFiles_25, // 25
        Reports_26, // 26
        GerberOutput, // 27
        DrillOutput, // 28
        AutorouterControl, // 29
        SystemFiles_30, // 30
        Reports_31, // 31
        DeviceProgrammingOutput, // 32
        PhysicalImplementation, // 33
        Dependencies, // 34
        SystemFiles_35, // 35
        SystemFiles_36, // 36
        SystemFiles_37, // 37
        invalid, // 38
    };
    struct infoStruct {
        int value;
        int messageID;
        const char* fileString;
        int parent; // a category value; 38 (invalid) for a top-level category
        int iconID;
    };
    KV_VOCABULARY_MEMBERS(KVE_fileCategoryEnum, invalid);

    // A valid row without a parent: a group at the top of the tree.
    bool topLevel() const;
    // A new image of the category's icon at 16, 32 or 48 pixels square;
    // the caller frees it with DestroyIcon.
    void* getSmallIcon() const;
    void* getNormalIcon() const;
    void* getLargeIcon() const;

private:
    void* getIcon(int size) const;
};

// ---------------------------------------------------------------------------
// 2. File types
// ---------------------------------------------------------------------------

class KVENG_API KVE_fileTypeEnum : public kelvaultDLLenum {
public:
    enum eType {
        _1OP, ADF, AFB, ALS, ALT, APR, ASC, ATR, AVL, BCO,
        BLG, BNL, BOM, BST, CAT, CCO, CCT, CDF, CDI, CIR,
        CMD, CNL, CHKPT, CSD, CST, CUR, DAT, DBF, DBX, DID,
        DLG, DMP, DO, DOC, DRC, DRILL, DSC, DSL, DXF, EDF,
        ERR, FB, FLB, FLG, FLV, FPD, FPR, GERBER, GLG, HDR,
        INC, IND, INF, INI, JEDEC, JOB, JRN, LIB, LOC, LOG,
        MA, MDF, MIF, MOD, MSG, MVL, NCD, NET, NLF, NPI,
        NPR, OLG, OOT, OPT, BRK, OUT, PAD, PAR, PBA, PCA,
        PCR, PCV, PDF, PDT, PDX, PI, PKG, PLB, PLN, PMD,
        PMP, PNT, POT, PRB, PRO, PSL, RAMROM, RDC, RDM, RDN,
        RDP, RDS, RIN, RPT, RTE, RUL, SCH, SCV, SI, SIF,
        SLB, SNF, STA, STL, STS, SUB, SUBCAT, SYM, TAN, TDF,
        TPT, TV, TXT, UCR, UPL, USER, WRE, XMP, XNF, XNT,
        XPK, XRF, XRV, XTF, YMP, YPK, invalid,
    };
    // Bits of infoStruct::flags.
    enum {
        dependenciesFlag = 1,  // the file may refer to other files: it is scanned
        libraryFlag = 2,       // the file is a library
        subcategoriesFlag = 4, // the file shows folders beneath it
    };
    struct infoStruct {
        int value;
        int messageID;
        const char* fileString;     // the usual extension in capitals, or a family name
        int category;               // a category value; 38 (invalid) for none
        unsigned flags;
        int iconID;                 // 0: the icon of a user file
        const char* iniCommandKey;  // INI key of the tool that opens the file, or null
    };
    KV_VOCABULARY_MEMBERS(KVE_fileTypeEnum, invalid);

    KVE_fileCategoryEnum::eType getCategory() const;
    bool canHaveDependencies() const;
    bool isLibraryFile() const;
    bool canHaveSubcategories() const;
    // A new image of the type's icon at 16, 32 or 48 pixels square; the
    // caller frees it with DestroyIcon.
    void* getSmallIcon() const;
    void* getNormalIcon() const;
    void* getLargeIcon() const;
    // The INI key that names the command of the tool that opens such a
    // file; null where there is none. The engine only hands it on.
    const char* getIniFileCommandString() const;

private:
    const infoStruct& row() const;
    void* getIcon(int size) const;
};

// ---------------------------------------------------------------------------
// 3. The extension table
// ---------------------------------------------------------------------------

// One way to a type. The extension of a file, with every digit turned into
// "#", is compared with pattern without regard to case, row by row from the
// first. A row with a signature leads to its type only if the file's first
// bytes pass the signature test.
//
// A signature is "KIND,OFFSET,LENGTH,PATTERN" (read with "%[^,],%d,%d,%s"):
// "ASC" compares LENGTH characters of the first line from OFFSET with
// PATTERN without regard to case; "BIN" compares the byte at OFFSET with
// the hexadecimal number after "0x" in PATTERN.
struct fileExtensionRow {
    int type;
    const char* pattern;
    const char* signature; // null: the extension alone decides
};
enum { fileExtensionTableSize = 135 };
extern const fileExtensionRow fileExtensionTable[fileExtensionTableSize];

// ---------------------------------------------------------------------------
// 4. The subcategory table
// ---------------------------------------------------------------------------

// Bits of subCategoryRow::flags.
enum {
    systemFilesFolder = 1, // the folder holds the file's system files
    outputFolder = 2,      // the folder holds output or reports
};

// One folder that files of a type show beneath them. The rows of one type
// stand together, in the order in which the folders are shown. The first
// row of a subcategory names the type of file that can claim its members.
struct subCategoryRow {
    int subCategory; // a category value
    int type;        // a file type value
    unsigned flags;
};
enum { subCategoryTableSize = 41 };
// subCategoryTableSize rows, then the sentinel row {38, 136, 0}.
extern const subCategoryRow subCategoryTable[subCategoryTableSize + 1];

// ---------------------------------------------------------------------------
// 5. The membership table
// ---------------------------------------------------------------------------

// A type whose files are gathered into a folder: a file of that type with
// the same stem as a file of the folder's parent type belongs under it.
// Ordered by type, then by subcategory.
struct subCategoryMemberRow {
    int subCategory;
    int type;
};
enum { membershipTableSize = 111 };
// membershipTableSize rows, then the sentinel row {38, 136}.
extern const subCategoryMemberRow membershipTable[membershipTableSize + 1];

// ---------------------------------------------------------------------------
// 6. Look-ups
// ---------------------------------------------------------------------------

// The type of the first subcategory-table row of subCategory: the type of
// file that shows that folder. 136 (invalid) if no row has it.
int getParentTypeOfSubCategory(int subCategory);

// Whether the subcategory table has the row (category, type) and that row
// marks a folder of system files (isSystemFileCategory) or of output and
// reports (isOutputCategory). False without such a row.
bool isSystemFileCategory(int category, int type);
bool isOutputCategory(int category, int type);

// Whether files of type are netlists: the membership table gathers them
// into the Netlists folder (18) of a schematic.
bool isNetlistTypeValue(int type);
