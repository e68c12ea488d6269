// kelvault types: the file type table as a person reads it.
//
// One line per file type: its value, its file string, its category, its
// flags spelled out, the INI key of the tool that opens it, the extensions
// (with signatures) that lead to it, and its name. --category narrows the
// list, --categories shows the category table instead, --json gives either
// as JSON, and --icon-sheet writes every icon at its three sizes into a
// picture (binary PPM) for a person to look at.
//
// Contents:
//   1. Reading the tables: texts, flags, extension patterns, signatures.
//   2. The type listing (text and JSON).
//   3. The category listing (text and JSON).
//   4. The icon sheet.
//   5. The command.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "command.h"
#include "json.h"
#include "resources/resources.h"
#include "vocabulary/filetypes.h"
#include "workspace/context.h"

// ---------------------------------------------------------------------------
// 1. Reading the tables
// ---------------------------------------------------------------------------

static std::string messageOf(const kelvaultDLLenum& e) {
    char buffer[512];
    e.getMessageString(buffer, sizeof buffer);
    return buffer;
}

static std::string flagsText(const KVE_fileTypeEnum& t) {
    std::string text;
    auto add = [&text](bool on, const char* name) {
        if (!on) return;
        if (!text.empty()) text += ",";
        text += name;
    };
    add(t.canHaveDependencies(), "deps");
    add(t.isLibraryFile(), "library");
    add(t.canHaveSubcategories(), "folders");
    return text;
}

struct signatureParts {
    bool ok = false;
    std::string kind;
    int offset = 0;
    int length = 0;
    std::string pattern;
};

static signatureParts splitSignature(const char* signature) {
    signatureParts s;
    char kind[16] = "", pattern[64] = "";
    if (signature && sscanf(signature, "%15[^,],%d,%d,%63s", kind, &s.offset, &s.length, pattern) == 4) {
        s.ok = true;
        s.kind = kind;
        s.pattern = pattern;
    }
    return s;
}

// What a signature asks of a file, in a few words.
static std::string describeSignature(const char* signature) {
    signatureParts s = splitSignature(signature);
    if (!s.ok) return std::string("?") + (signature ? signature : "");
    char text[128];
    if (s.kind == "BIN") {
        // The file's byte at the offset, as a signed char widened to 32 bits,
        // is compared with the number: only 0xFFFFFF80 to 0x7F can match.
        unsigned long number = strtoul(s.pattern.c_str() + (s.pattern.size() > 2 ? 2 : 0), nullptr, 16);
        int32_t wanted = static_cast<int32_t>(static_cast<uint32_t>(number));
        if (wanted >= -128 && wanted <= 127)
            snprintf(text, sizeof text, "byte %d = 0x%02X", s.offset, static_cast<unsigned>(wanted) & 0xFF);
        else
            snprintf(text, sizeof text, "byte %d = %s (never)", s.offset, s.pattern.c_str());
    } else {
        snprintf(text, sizeof text, "text at %d \"%s\"", s.offset, s.pattern.c_str());
    }
    return text;
}

static std::vector<const fileExtensionRow*> extensionsOf(int type) {
    std::vector<const fileExtensionRow*> rows;
    for (const fileExtensionRow& row : fileExtensionTable)
        if (row.type == type) rows.push_back(&row);
    return rows;
}

static std::string extensionsText(int type) {
    std::string text;
    for (const fileExtensionRow* row : extensionsOf(type)) {
        if (!text.empty()) text += " ";
        text += row->pattern;
        if (row->signature) text += " [" + describeSignature(row->signature) + "]";
    }
    return text;
}

// Types listed for a category: for a group, the types whose category it
// is; for a folder, the types that the membership table gathers into it.
static bool typeShownIn(int type, int category) {
    KVE_fileCategoryEnum c(category);
    if (c.topLevel() || category == KVE_fileCategoryEnum::invalid)
        return KVE_fileTypeEnum(type).getCategory() == category;
    for (const subCategoryMemberRow* row = membershipTable; row->subCategory != KVE_fileCategoryEnum::invalid; ++row)
        if (row->subCategory == category && row->type == type) return true;
    return false;
}

// A category named by value, file string or message (without regard to
// case); "none" is the invalid row, the category of types that have none.
// -1 if the text names no category.
static int parseCategory(const std::string& text) {
    if (text == "none") return KVE_fileCategoryEnum::invalid;
    char* end = nullptr;
    long number = strtol(text.c_str(), &end, 10);
    if (!text.empty() && !*end) {
        KVE_fileCategoryEnum c(static_cast<int>(number));
        return c.isValid() && c.value() == number ? c.value() : -1;
    }
    KVE_fileCategoryEnum c;
    c.setByFileString(text.c_str());
    if (c.isValid()) return c.value();
    c.setByMessageString(text.c_str());
    return c.isValid() ? c.value() : -1;
}

// ---------------------------------------------------------------------------
// 2. Types
// ---------------------------------------------------------------------------

struct typeLine {
    std::string value, fileString, category, flags, editor, extensions, name;
};

static std::string orDash(const std::string& text) { return text.empty() ? "-" : text; }

static void printTypesText(const std::vector<int>& types) {
    std::vector<typeLine> lines;
    lines.push_back({"VALUE", "TYPE", "CATEGORY", "FLAGS", "EDITOR KEY", "EXTENSIONS", "NAME"});
    for (int v : types) {
        KVE_fileTypeEnum t(v);
        KVE_fileCategoryEnum c(t.getCategory());
        typeLine l;
        l.value = std::to_string(v);
        l.fileString = t.getFileString();
        l.category = c.isValid() ? messageOf(c) : "-";
        l.flags = orDash(flagsText(t));
        l.editor = orDash(t.getIniFileCommandString() ? t.getIniFileCommandString() : "");
        l.extensions = orDash(extensionsText(v));
        l.name = messageOf(t);
        lines.push_back(l);
    }
    size_t w[6] = {0, 0, 0, 0, 0, 0};
    for (const typeLine& l : lines) {
        const std::string* cells[6] = {&l.value, &l.fileString, &l.category, &l.flags, &l.editor, &l.extensions};
        for (int i = 0; i < 6; ++i) w[i] = std::max(w[i], cells[i]->size());
    }
    for (const typeLine& l : lines)
        printf("%*s  %-*s  %-*s  %-*s  %-*s  %-*s  %s\n", static_cast<int>(w[0]), l.value.c_str(),
               static_cast<int>(w[1]), l.fileString.c_str(), static_cast<int>(w[2]), l.category.c_str(),
               static_cast<int>(w[3]), l.flags.c_str(), static_cast<int>(w[4]), l.editor.c_str(),
               static_cast<int>(w[5]), l.extensions.c_str(), l.name.c_str());
    printf("\n%zu file types. A '#' in an extension stands for a digit; a bracketed test must\n"
           "pass on the file's first bytes. A file that nothing claims is USER. A type\n"
           "without a category shows under Miscellaneous Files unless a file of the same\n"
           "stem claims it into one of its folders.\n",
           types.size());
}

static void printTypesJson(const std::vector<int>& types) {
    JsonWriter j(stdout);
    j.beginArray();
    for (int v : types) {
        KVE_fileTypeEnum t(v);
        KVE_fileCategoryEnum c(t.getCategory());
        j.beginObject();
        j.field("value", v);
        j.field("fileString", t.getFileString());
        j.field("name", messageOf(t));
        j.field("messageId", t.getMessageID());
        j.key("category");
        if (c.isValid()) {
            j.beginObject();
            j.field("value", c.value());
            j.field("fileString", c.getFileString());
            j.field("name", messageOf(c));
            j.endObject();
        } else {
            j.null();
        }
        j.key("flags");
        j.beginObject();
        j.field("dependencies", t.canHaveDependencies());
        j.field("library", t.isLibraryFile());
        j.field("folders", t.canHaveSubcategories());
        j.endObject();
        j.field("iconId", KVE_fileTypeEnum::infoArray[v].iconID ? KVE_fileTypeEnum::infoArray[v].iconID : 102);
        j.key("editorKey");
        j.value(t.getIniFileCommandString()); // null where there is none
        j.key("extensions");
        j.beginArray();
        for (const fileExtensionRow* row : extensionsOf(v)) {
            j.beginObject();
            j.field("pattern", row->pattern);
            j.key("signature");
            j.value(row->signature);
            j.endObject();
        }
        j.endArray();
        j.endObject();
    }
    j.endArray();
    printf("\n");
}

// ---------------------------------------------------------------------------
// 3. Categories
// ---------------------------------------------------------------------------

static std::string membersText(int category) {
    std::string text;
    for (const subCategoryMemberRow* row = membershipTable; row->subCategory != KVE_fileCategoryEnum::invalid; ++row)
        if (row->subCategory == category) {
            if (!text.empty()) text += " ";
            text += KVE_fileTypeEnum(row->type).getFileString();
        }
    return text;
}

// The types whose files show folder category, in the order of the
// subcategory table.
static std::string showingTypesText(int category) {
    std::string text;
    for (const subCategoryRow* row = subCategoryTable; row->subCategory != KVE_fileCategoryEnum::invalid; ++row)
        if (row->subCategory == category) {
            if (!text.empty()) text += " ";
            text += KVE_fileTypeEnum(row->type).getFileString();
        }
    return text;
}

static void printCategories(bool json) {
    JsonWriter j(stdout);
    if (json) j.beginArray();
    std::vector<std::vector<std::string>> rows;
    rows.push_back({"VALUE", "FILE STRING", "NAME", "FOLDER OF", "MEMBERS"});
    for (KVE_fileCategoryEnum c(0); c.isValid(); c.setNext()) {
        const KVE_fileCategoryEnum::infoStruct& info = KVE_fileCategoryEnum::infoArray[c.value()];
        int parentType = getParentTypeOfSubCategory(c.value());
        std::string under = c.topLevel() ? "top level" : showingTypesText(c.value());
        if (under.empty()) under = "no file";
        if (json) {
            j.beginObject();
            j.field("value", c.value());
            j.field("fileString", c.getFileString());
            j.field("name", messageOf(c));
            j.field("topLevel", c.topLevel());
            j.key("parent");
            if (info.parent == KVE_fileCategoryEnum::invalid) j.null(); else j.value(info.parent);
            // The types whose files show this folder; the first of them
            // claims the members.
            j.key("folderOf");
            j.beginArray();
            for (const subCategoryRow* row = subCategoryTable; row->subCategory != KVE_fileCategoryEnum::invalid; ++row)
                if (row->subCategory == c.value()) j.value(KVE_fileTypeEnum(row->type).getFileString());
            j.endArray();
            j.key("claimedBy");
            if (parentType == KVE_fileTypeEnum::invalid) j.null(); else j.value(KVE_fileTypeEnum(parentType).getFileString());
            j.field("iconId", info.iconID ? info.iconID : 134);
            j.key("members");
            j.beginArray();
            for (const subCategoryMemberRow* row = membershipTable; row->subCategory != KVE_fileCategoryEnum::invalid; ++row)
                if (row->subCategory == c.value()) j.value(KVE_fileTypeEnum(row->type).getFileString());
            j.endArray();
            j.endObject();
        } else {
            rows.push_back({std::to_string(c.value()), c.getFileString(), messageOf(c), under, orDash(membersText(c.value()))});
        }
    }
    if (json) {
        j.endArray();
        printf("\n");
        return;
    }
    size_t w[4] = {0, 0, 0, 0};
    for (const auto& r : rows)
        for (int i = 0; i < 4; ++i) w[i] = std::max(w[i], r[i].size());
    for (const auto& r : rows)
        printf("%*s  %-*s  %-*s  %-*s  %s\n", static_cast<int>(w[0]), r[0].c_str(), static_cast<int>(w[1]),
               r[1].c_str(), static_cast<int>(w[2]), r[2].c_str(), static_cast<int>(w[3]), r[3].c_str(),
               r[4].c_str());
}

// ---------------------------------------------------------------------------
// 4. The icon sheet
// ---------------------------------------------------------------------------

// Digits of 3 by 5 pixels for the ids on the sheet, left column in bit 2.
static const uint8_t sheetDigits[10][5] = {
    {7, 5, 5, 5, 7}, {2, 6, 2, 2, 7}, {7, 1, 7, 4, 7}, {7, 1, 7, 1, 7}, {5, 5, 7, 1, 1},
    {7, 4, 7, 1, 7}, {7, 4, 7, 5, 7}, {7, 1, 2, 2, 2}, {7, 5, 7, 5, 7}, {7, 5, 7, 1, 7},
};

// Writes every icon at 16, 32 and 48 pixels, with its id, on a grey ground.
static int writeIconSheet(const std::string& path) {
    const size_t count = kvIconCount();
    const int cellW = 140, cellH = 60, columns = 5;
    const int rows = static_cast<int>((count + columns - 1) / columns);
    const int width = cellW * columns, height = cellH * rows;
    std::vector<uint8_t> rgb(static_cast<size_t>(width) * height * 3, 200);
    auto put = [&](int x, int y, uint8_t r, uint8_t g, uint8_t b) {
        uint8_t* p = &rgb[(static_cast<size_t>(y) * width + x) * 3];
        p[0] = r, p[1] = g, p[2] = b;
    };
    for (size_t i = 0; i < count; ++i) {
        int cx = static_cast<int>(i % columns) * cellW, cy = static_cast<int>(i / columns) * cellH;
        std::string digits = std::to_string(kvIconId(i));
        for (size_t d = 0; d < digits.size(); ++d)
            for (int row = 0; row < 5; ++row)
                for (int col = 0; col < 3; ++col)
                    if (sheetDigits[digits[d] - '0'][row] & (4 >> col))
                        for (int k = 0; k < 4; ++k)
                            put(cx + 4 + static_cast<int>(d) * 8 + col * 2 + k % 2, cy + 22 + row * 2 + k / 2, 0, 0, 0);
        int x = cx + 30;
        for (int size : {16, 32, 48}) {
            HANDLE icon = LoadImageA(moduleHandle, MAKEINTRESOURCEA(kvIconId(i)), IMAGE_ICON, size, size, 0);
            int w = 0, h = 0;
            const uint8_t* px = nullptr;
            if (icon && kvGetIconPixels(icon, &w, &h, &px)) {
                int top = cy + (cellH - h) / 2;
                for (int y = 0; y < h; ++y)
                    for (int xx = 0; xx < w; ++xx) {
                        const uint8_t* p = px + (static_cast<size_t>(y) * w + xx) * 4;
                        uint8_t* q = &rgb[(static_cast<size_t>(top + y) * width + x + xx) * 3];
                        for (int c = 0; c < 3; ++c) q[c] = static_cast<uint8_t>((p[c] * p[3] + q[c] * (255 - p[3])) / 255);
                    }
            }
            if (icon) DestroyIcon(icon);
            x += size + 6;
        }
    }
    FILE* out = fopen(path.c_str(), "wb");
    if (!out) {
        fprintf(stderr, "kelvault: cannot write '%s'\n", path.c_str());
        return ExitErrors;
    }
    fprintf(out, "P6\n%d %d\n255\n", width, height);
    bool ok = fwrite(rgb.data(), 1, rgb.size(), out) == rgb.size();
    ok = fclose(out) == 0 && ok;
    if (!ok) {
        fprintf(stderr, "kelvault: error writing '%s'\n", path.c_str());
        return ExitErrors;
    }
    printf("%zu icons written to %s (%d x %d pixels)\n", count, path.c_str(), width, height);
    return ExitDone;
}

// ---------------------------------------------------------------------------
// 5. The command
// ---------------------------------------------------------------------------

static int runTypes(const Args& args) {
    if (args.has("icon-sheet")) return writeIconSheet(args.get("icon-sheet"));
    if (args.has("categories")) {
        printCategories(args.has("json"));
        return ExitDone;
    }
    std::vector<int> types;
    int category = -2;
    if (args.has("category")) {
        category = parseCategory(args.get("category"));
        if (category < 0)
            return usageError("no category '" + args.get("category") +
                              "'; 'kelvault types --categories' lists them (value, file string or name)");
    }
    for (KVE_fileTypeEnum t(0); t.isValid(); t.setNext())
        if (category == -2 || typeShownIn(t.value(), category)) types.push_back(t.value());
    if (category != -2 && !args.has("json")) {
        KVE_fileCategoryEnum c(category);
        if (!c.isValid())
            printf("Types without a category of their own:\n\n");
        else if (c.topLevel())
            printf("Types of category %d, %s:\n\n", category, messageOf(c).c_str());
        else
            printf("Types gathered into folder %d, %s, of %s files:\n\n", category, messageOf(c).c_str(),
                   showingTypesText(category).c_str());
    }
    if (args.has("json"))
        printTypesJson(types);
    else
        printTypesText(types);
    return ExitDone;
}

KV_COMMAND({"types", "types [--json] [--category C] [--categories] [--icon-sheet FILE]",
            "the file type table: names, categories, flags, extensions",
            "Lists every file type the engine knows: its value and file string, its\n"
            "category, its flags (deps: it can refer to other files and is scanned;\n"
            "library: it is a library; folders: it shows folders beneath it), the INI\n"
            "key of the tool that opens it, the extensions that lead to it (a '#' is a\n"
            "digit; a bracketed test must pass on the file's first bytes), and its name.\n"
            "--category C lists the types of a category, or those gathered into a\n"
            "folder; C is a value, a file string or a name ('none': no category).",
            {{"json", nullptr, "machine-readable output"},
             {"category", "C", "only the types of category C (value, file string or name)"},
             {"categories", nullptr, "the category table instead: folders, parents, members"},
             {"icon-sheet", "FILE", "write every icon at 16, 32 and 48 pixels into FILE (binary PPM)"}},
            0, 0, runTypes});
