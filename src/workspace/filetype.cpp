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
//   1. The extension look-up (the table, grouped by pattern once).
//   2. The signature test.
//   3. determineType and the staleness check.
//   4. isListed.
//   5. The flag tests and folder listings.
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

// The rows of the extension table whose pattern equals extension without
// regard to case, in table order. The table is searched for every file of
// a workspace, so its rows are grouped by folded pattern once.
static const std::vector<const fileExtensionRow*>& rowsOfExtension(const char* extension) {
    static const std::unordered_map<std::string, std::vector<const fileExtensionRow*>> rows = [] {
        std::unordered_map<std::string, std::vector<const fileExtensionRow*>> map;
        for (const fileExtensionRow& row : fileExtensionTable) map[foldCase(row.pattern)].push_back(&row);
        return map;
    }();
    static const std::vector<const fileExtensionRow*> none;
    auto it = rows.find(foldCase(extension));
    return it == rows.end() ? none : it->second;
}

// ---------------------------------------------------------------------------
// 2. The signature test
// ---------------------------------------------------------------------------

// Whether the file at path passes signature ("KIND,OFFSET,LENGTH,PATTERN").
// ASC: the first LENGTH characters of the first line, from OFFSET, equal
// PATTERN without regard to case. BIN: the byte at OFFSET, as a signed char
// widened to 32 bits, equals the hexadecimal number after "0x" in PATTERN;
// only that one byte is compared. A file that does not open fails.
static bool passesSignature(const char* path, const char* signature) {
    char kind[64] = "", pattern[256] = "";
    int offset = 0, length = 0;
    if (sscanf(signature, "%63[^,],%d,%d,%255s", kind, &offset, &length, pattern) != 4) return false;
    if (offset < 0 || length <= 0 || length > 1000 || offset > 1000) return false;

    if (_stricmp(kind, "BIN") != 0) {
        FILE* file = kvFopen(path, "r");
        if (!file) return false;
        char line[1024] = "";
        bool passes = false;
        if (fgets(line, length + 1, file)) {
            char copy[1024] = "";
            if (static_cast<size_t>(offset) <= strlen(line)) strncpy(copy, line + offset, static_cast<size_t>(length));
            copy[length] = '\0';
            passes = _stricmp(copy, pattern) == 0;
        }
        fclose(file);
        return passes;
    }

    FILE* file = kvFopen(path, "rb");
    if (!file) return false;
    unsigned char bytes[1024] = {0};
    size_t got = fread(bytes, 1, static_cast<size_t>(length), file);
    (void)got; // a short file leaves zeros; only the byte at offset counts
    fclose(file);
    if (_strnicmp(pattern, "0x", 2) != 0) return false;
    char format[16];
    snprintf(format, sizeof format, "%%%dX", 2 * length);
    unsigned number = 0;
    if (sscanf(pattern + 2, format, &number) != 1) return false;
    const int32_t byte = static_cast<signed char>(bytes[offset]);
    return static_cast<int32_t>(number) == byte;
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
        for (const fileExtensionRow* row : rowsOfExtension(extension)) {
            if (row->signature &&
                !(fileExists && getSize() > 0 && passesSignature(fullPath.c_str(), row->signature)))
                continue;
            if (row->type >= 0 && row->type < KVE_fileTypeEnum::invalid) type = row->type;
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
