// Tests of the string table and LoadStringA: buffer boundaries, the texts
// that fix names on disk, and that every id a vocabulary table uses has a
// text.
#include <cstring>
#include <set>
#include <string>

#include "resources/resources.h"
#include "vocabulary/callback.h"
#include "vocabulary/filetypes.h"
#include "workspace/context.h"

#include <gtest/gtest.h>

// "Design File Already Exists": 26 characters.
static const UINT knownId = 303;
static const char knownText[] = "Design File Already Exists";

TEST(LoadString, BufferBoundaries) {
    const int length = static_cast<int>(strlen(knownText));
    char buffer[64];
    struct {
        int size;
        int copied;
    } cases[] = {{length + 10, length}, {length + 1, length}, {length, length - 1},
                 {length - 1, length - 2}, {2, 1}, {1, 0}};
    for (const auto& c : cases) {
        memset(buffer, '#', sizeof buffer);
        int n = LoadStringA(moduleHandle, knownId, buffer, c.size);
        EXPECT_EQ(n, c.copied) << "size " << c.size;
        EXPECT_EQ(strncmp(buffer, knownText, static_cast<size_t>(n)), 0) << "size " << c.size;
        EXPECT_EQ(buffer[n], '\0') << "size " << c.size;
        EXPECT_EQ(buffer[c.size], '#') << "nothing written beyond the buffer, size " << c.size;
    }
    // No room: nothing is written.
    memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(LoadStringA(moduleHandle, knownId, buffer, 0), 0);
    EXPECT_EQ(LoadStringA(moduleHandle, knownId, buffer, -5), 0);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(LoadStringA(moduleHandle, knownId, nullptr, 100), 0);
}

TEST(LoadString, UnknownIdsAndForeignModulesGiveNothing) {
    char buffer[16];
    for (UINT id : {0u, 2u, 24u, 29u, 300u, 309u, 1000u, 1141u, 1144u, 65535u, 0xFFFFFFFFu}) {
        memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(LoadStringA(moduleHandle, id, buffer, sizeof buffer), 0) << id;
        EXPECT_EQ(buffer[0], '\0') << id;
        EXPECT_EQ(buffer[1], '#') << id;
    }
    int other = 0;
    EXPECT_EQ(LoadStringA(nullptr, knownId, buffer, sizeof buffer), 0);
    EXPECT_EQ(LoadStringA(&other, knownId, buffer, sizeof buffer), 0);
    EXPECT_EQ(LoadStringA(kvEngineModule(), knownId, buffer, sizeof buffer), 15);
}

TEST(LoadString, TextsThatNameThingsOnDisk) {
    struct {
        UINT id;
        const char* text;
    } cases[] = {{404, "Checkpoint-Attributes:"}, {405, "CreationTime:"}, {531, "chkpoint"},
                 {532, "dsc"}, {533, "sch"}, {1143, "user.cdf"},
                 {590, "Simulation results not current - model references  not copied"},
                 {592, "DeletingFile"}, {1, "Invalid"}, {534, "Keep Existing"}, {51, "Tarnel Miscellaneous Files"},
                 {1128, "Tarnel silulation model file"}};
    char buffer[512];
    for (const auto& c : cases) {
        EXPECT_EQ(LoadStringA(moduleHandle, c.id, buffer, sizeof buffer), static_cast<int>(strlen(c.text)));
        EXPECT_STREQ(buffer, c.text) << c.id;
    }
}

TEST(StringTable, OrderedUniqueAndNonEmpty) {
    size_t count = 0;
    const kvStringResource* table = kvStringTable(&count);
    ASSERT_GT(count, 300u);
    for (size_t i = 0; i < count; ++i) {
        EXPECT_GT(strlen(table[i].text), 0u) << table[i].id;
        EXPECT_LT(strlen(table[i].text), 512u) << "fits a message buffer: " << table[i].id;
        if (i) {
            EXPECT_LT(table[i - 1].id, table[i].id) << "ordered without repeats at " << table[i].id;
        }
    }
}

// Every message id of every vocabulary table resolves, and every text of
// the table is used by a table or is one of the texts used by number.
TEST(StringTable, EveryIdOfTheTablesResolvesAndNothingIsLeftOver) {
    std::set<UINT> ids;
    for (const auto& r : KVE_Status::infoArray) ids.insert(static_cast<UINT>(r.messageID));
    for (const auto& r : KVE_Locality::infoArray) ids.insert(static_cast<UINT>(r.messageID));
    for (const auto& r : KVE_localizeEnum::infoArray) ids.insert(static_cast<UINT>(r.messageID));
    for (const auto& r : KVE_severityLevel::infoArray) ids.insert(static_cast<UINT>(r.messageID));
    for (const auto& r : KVE_fileCategoryEnum::infoArray) ids.insert(static_cast<UINT>(r.messageID));
    for (const auto& r : KVE_fileTypeEnum::infoArray) ids.insert(static_cast<UINT>(r.messageID));
    for (const auto& r : KVE_callBackStatus::infoArray) ids.insert(static_cast<UINT>(r.messageID));
    for (const auto& r : KVE_callBackAction::infoArray) {
        ids.insert(static_cast<UINT>(r.messageID));
        ids.insert(static_cast<UINT>(r.formatMessageID));
    }
    char buffer[512];
    for (UINT id : ids) EXPECT_GT(LoadStringA(moduleHandle, id, buffer, sizeof buffer), 0) << id;

    const std::set<UINT> byNumber = {404, 405, 531, 532, 533, 1143, 1069, 1106, 1122, 1126, 1127, 1136};
    size_t count = 0;
    const kvStringResource* table = kvStringTable(&count);
    for (size_t i = 0; i < count; ++i)
        EXPECT_TRUE(ids.count(table[i].id) || byNumber.count(table[i].id)) << "unused text " << table[i].id;
    EXPECT_EQ(count, ids.size() + byNumber.size());
}
