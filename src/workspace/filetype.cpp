// The type of a file item, and what rests on it: whether a category shows
// the item, the two flag tests over the folder table, and the folder
// listings by flag.
//
// A file's type comes from its extension (at most 4 characters after the
// last dot, digits standing for "#") looked up in the extension table, in
// table order; a row with a signature leads to its type only if the file
// exists, is not empty and its first bytes pass the signature test. What
// finds no row is a user file. The type is determined again whenever the
// item's find record no longer matches the one it was determined from.
//
// Contents:
//   1. The extension look-up (the table grouped by pattern and its
//      signatures read, once).
//   2. The signature test.
//   3. determineType and the staleness check.
//   4. isListed.
//   5. The flag tests and folder listings.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "resources/resources.h"
#include "workspace/context.h"
#include "workspace/fileitem.h"
#include "workspace/itemindex.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. The extension look-up
// ---------------------------------------------------------------------------

// A signature as read from its text ("KIND,OFFSET,LENGTH,PATTERN", read
// with "%[^,],%d,%d,%s"): ASC compares LENGTH characters of the first line
// from OFFSET with PATTERN without regard to case; BIN compares the byte at
// OFFSET, as a signed char widened to 32 bits, with the hexadecimal number
// after "0x" in PATTERN, read with the format "%<2 * LENGTH>X".
struct signatureTest {
    bool readable = false; // the text has all four fields, within bounds
    bool binary = false;
    int offset = 0;
    int length = 0;
    char pattern[256] = "";
    bool hasNumber = false; // BIN: the pattern begins with 0x and has a number
    int32_t number = 0;
};

static signatureTest readSignature(const char* text) {
    signatureTest test;
    char kind[64] = "";
    if (sscanf(text, "%63[^,],%d,%d,%255s", kind, &test.offset, &test.length, test.pattern) != 4) return test;
    // The table asks far less; the bounds keep every buffer below safe.
    if (test.offset < 0 || test.length <= 0 || test.offset + test.length > 1000) return test;
    test.readable = true;
    test.binary = _stricmp(kind, "BIN") == 0;
    if (test.binary && _strnicmp(test.pattern, "0x", 2) == 0) {
        char format[16];
        snprintf(format, sizeof format, "%%%dX", 2 * test.length);
        unsigned number = 0;
        if (sscanf(test.pattern + 2, format, &number) == 1) {
            test.hasNumber = true;
            test.number = static_cast<int32_t>(number);
        }
    }
    return test;
}

// One row of the extension table, with its signature read.
struct extensionChoice {
    int type;
    bool hasSignature;
    signatureTest signature;
};

// A text of at most 8 characters folded to lower case and packed into one
// number (no character is 0, so texts of different lengths differ); false
// for a longer text, which no extension of a file name equals.
static bool extensionKey(const char* text, uint64_t& key) {
    key = 0;
    for (size_t i = 0; text[i]; ++i) {
        if (i == 8) return false;
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c >= 'A' && c <= 'Z') c = static_cast<unsigned char>(c + 32);
        key = key << 8 | c;
    }
    return true;
}

// The rows of the extension table whose pattern equals extension without
// regard to case, in table order. The table is searched for every file of
// a workspace, so its rows are grouped by folded pattern, and their
// signatures read, once.
static const std::vector<extensionChoice>& rowsOfExtension(const char* extension) {
    static const std::unordered_map<uint64_t, std::vector<extensionChoice>> rows = [] {
        std::unordered_map<uint64_t, std::vector<extensionChoice>> map;
        for (const fileExtensionRow& row : fileExtensionTable) {
            uint64_t key;
            if (!extensionKey(row.pattern, key)) continue;
            extensionChoice choice{row.type, row.signature != nullptr, {}};
            if (row.signature) choice.signature = readSignature(row.signature);
            map[key].push_back(choice);
        }
        return map;
    }();
    static const std::vector<extensionChoice> none;
    uint64_t key;
    if (!extensionKey(extension, key)) return none;
    auto it = rows.find(key);
    return it == rows.end() ? none : it->second;
}

// ---------------------------------------------------------------------------
// 2. The signature test
// ---------------------------------------------------------------------------

// Whether the file at path passes test. A file that does not open fails;
// for BIN only the one byte at the offset is compared.
static bool passesSignature(const char* path, const signatureTest& test) {
    if (!test.readable) return false;
    if (!test.binary) {
        FILE* file = kvFopen(path, "r");
        if (!file) return false;
        char line[1024];
        bool passes = false;
        if (fgets(line, test.length + 1, file)) {
            char copy[1024];
            copy[0] = '\0';
            if (static_cast<size_t>(test.offset) <= strlen(line))
                strncpy(copy, line + test.offset, static_cast<size_t>(test.length));
            copy[test.length] = '\0';
            passes = _stricmp(copy, test.pattern) == 0;
        }
        fclose(file);
        return passes;
    }

    FILE* file = kvFopen(path, "rb");
    if (!file) return false;
    unsigned char bytes[1024];
    memset(bytes, 0, static_cast<size_t>(test.offset + test.length) + 1);
    size_t got = fread(bytes, 1, static_cast<size_t>(test.length), file);
    (void)got; // a short file leaves zeros; only the byte at offset counts
    fclose(file);
    if (!test.hasNumber) return false;
    return test.number == static_cast<int32_t>(static_cast<signed char>(bytes[test.offset]));
}

// ---------------------------------------------------------------------------
// 3. determineType
// ---------------------------------------------------------------------------

void DesignFileItem::determineType() {
    const int oldType = fileType.value();
    const int oldCategory = category.value();

    int type = KVE_fileTypeEnum::USER;
    char extension[8] = "";
    const char* dot = strrchr(found.cFileName, '.');
    if (dot && strlen(dot + 1) <= 4) {
        strcpy(extension, dot + 1);
        type = KVE_fileTypeEnum::invalid;
        for (char* c = extension; *c; ++c)
            if (*c >= '0' && *c <= '9') *c = '#';
    }

    if (type == KVE_fileTypeEnum::invalid) {
        for (const extensionChoice& row : rowsOfExtension(extension)) {
            if (row.hasSignature &&
                !(fileExists && getSize() > 0 && passesSignature(fullPath.c_str(), row.signature)))
                continue;
            if (row.type >= 0 && row.type < KVE_fileTypeEnum::invalid) type = row.type;
            break;
        }
        if (type == KVE_fileTypeEnum::invalid) type = KVE_fileTypeEnum::USER;
    }

    fileType = type;
    category = fileType.getCategory();
    typeStamp = fileStamp::of(found);

    if (index && (oldType != fileType.value() || oldCategory != category.value()))
        index->typeChanged(this, oldType, oldCategory);
}

const KVE_fileCategoryEnum& DesignFileItem::getCategory() {
    if (!isTypeCurrent()) determineType();
    return category;
}

const KVE_fileTypeEnum& DesignFileItem::getFileType() {
    if (!isTypeCurrent()) determineType();
    return fileType;
}

// ---------------------------------------------------------------------------
// 4. isListed
// ---------------------------------------------------------------------------

// A circuit generated from a schematic of the same stem is shown beneath
// that schematic, not in its category.
bool DesignFileItem::isListed() {
    if (getFileType() != KVE_fileTypeEnum::CIR) return true;
    if (!owner) return true;
    char schematicExtension[32] = "";
    LoadStringA(moduleHandle, 533, schematicExtension, sizeof schematicExtension);
    pathstring schematic(fullPath);
    schematic.changeExt(schematicExtension);
    fileItem* item = owner->findItem(schematic.c_str());
    return !(item && item->exists());
}

// ---------------------------------------------------------------------------
// 5. Flag tests and folder listings
// ---------------------------------------------------------------------------

bool DesignFileItem::isSystemFileCategory(const KVE_fileCategoryEnum& folder) {
    return ::isSystemFileCategory(folder.value(), getFileType().value());
}

bool DesignFileItem::isOutputCategory(const KVE_fileCategoryEnum& folder) {
    return ::isOutputCategory(folder.value(), getFileType().value());
}

fileItemList* DesignFileItem::getSystemFileChildren() {
    fileItemList* list = new fileItemList;
    if (getFileType().canHaveSubcategories()) {
        buildSubCategoryItems();
        for (fileItem* folder : subCategoryItems)
            if (isSystemFileCategory(folder->getCategory())) list->push_back(folder);
    }
    return list;
}

fileItemList* DesignFileItem::getOutputChildren() {
    fileItemList* list = new fileItemList;
    if (getFileType().canHaveSubcategories()) {
        buildSubCategoryItems();
        for (fileItem* folder : subCategoryItems)
            if (isOutputCategory(folder->getCategory())) list->push_back(folder);
    }
    return list;
}
