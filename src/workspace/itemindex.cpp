// The indexes of a workspace's file items (see itemindex.h).
//
// Contents:
//   1. Keys.
//   2. Insertion and removal.
//   3. Type changes and staleness.
#include "workspace/itemindex.h"

// ---------------------------------------------------------------------------
// 1. Keys
// ---------------------------------------------------------------------------

std::string foldCase(const std::string& text) {
    std::string folded(text);
    for (char& c : folded)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return folded;
}

int itemIndex::clampType(int type) {
    return type >= 0 && type < KVE_fileTypeEnum::invalid ? type : KVE_fileTypeEnum::invalid;
}

int itemIndex::clampCategory(int category) {
    return category >= 0 && category < KVE_fileCategoryEnum::invalid ? category : KVE_fileCategoryEnum::invalid;
}

// The stem (getRoot of the full path), folded, then the type as one byte.
std::string itemIndex::stemKey(int type, const std::string& foldedStem) {
    std::string key(foldedStem);
    key.push_back(static_cast<char>(clampType(type)));
    return key;
}

std::string itemIndex::stemKey(int type, DesignFileItem* item) {
    const char* begin;
    const char* end;
    item->fullPath.getRoot(begin, end);
    return stemKey(type, foldCase(std::string(begin, end)));
}

const std::vector<DesignFileItem*>* itemIndex::ofTypeAndStem(int type, const std::string& foldedStem) const {
    if (!stemsIndexed) {
        for (const orderedItems& items : byType)
            for (DesignFileItem* item : items) byTypeAndStem[stemKey(item->fileType.value(), item)].push_back(item);
        stemsIndexed = true;
    }
    auto it = byTypeAndStem.find(stemKey(type, foldedStem));
    return it == byTypeAndStem.end() ? nullptr : &it->second;
}

DesignFileItem* itemIndex::findByPath(const std::string& key) const {
    auto it = byPath.find(key);
    return it == byPath.end() ? nullptr : it->second;
}

// ---------------------------------------------------------------------------
// 2. Insertion and removal
// ---------------------------------------------------------------------------

DesignFileItem* itemIndex::insert(DesignFileItem* item, std::string pathKey) {
    // The list is always in item order, so walking it from the back to the
    // first element that does not sort above the new item ends where the
    // set's upper bound is. A directory listing mostly arrives in order:
    // try the end first.
    std::list<fileItem*>::iterator place = items.end();
    if (!order.empty() && item->compareItems(*order.rbegin()) <= 0) {
        auto above = order.upper_bound(item);
        if (above != order.begin()) {
            DesignFileItem* below = *std::prev(above);
            if (below->compareItems(item) == 0) return below;
        }
        if (above != order.end()) place = (*above)->listPosition;
    }
    order.insert(place == items.end() ? order.end() : order.begin(), item);
    item->listPosition = items.insert(place, item);
    item->index = this;
    if (pathKey.empty()) pathKey = foldCase(item->fullPath);
    byPath.emplace(std::move(pathKey), item);
    addToTypeIndexes(item);
    if (!item->isTypeCurrent()) stale.insert(item);
    return nullptr;
}

void itemIndex::remove(DesignFileItem* item) {
    if (item->index != this) return;
    items.erase(item->listPosition);
    order.erase(item);
    auto it = byPath.find(foldCase(item->fullPath));
    if (it != byPath.end() && it->second == item) byPath.erase(it);
    removeFromTypeIndexes(item, item->fileType.value(), item->category.value());
    stale.erase(item);
    item->index = nullptr;
}

void itemIndex::addToTypeIndexes(DesignFileItem* item) {
    // Most items arrive in order: the hint makes that insertion cheap.
    orderedItems& ofItsType = byType[clampType(item->fileType.value())];
    ofItsType.insert(ofItsType.end(), item);
    orderedItems& ofItsCategory = byCategory[clampCategory(item->category.value())];
    ofItsCategory.insert(ofItsCategory.end(), item);
    if (stemsIndexed) byTypeAndStem[stemKey(item->fileType.value(), item)].push_back(item);
}

void itemIndex::removeFromTypeIndexes(DesignFileItem* item, int type, int category) {
    byType[clampType(type)].erase(item);
    byCategory[clampCategory(category)].erase(item);
    if (!stemsIndexed) return;
    auto it = byTypeAndStem.find(stemKey(type, item));
    if (it == byTypeAndStem.end()) return;
    std::vector<DesignFileItem*>& same = it->second;
    for (size_t i = 0; i < same.size(); ++i) {
        if (same[i] != item) continue;
        same[i] = same.back();
        same.pop_back();
        break;
    }
    if (same.empty()) byTypeAndStem.erase(it);
}

// ---------------------------------------------------------------------------
// 3. Type changes and staleness
// ---------------------------------------------------------------------------

void itemIndex::typeChanged(DesignFileItem* item, int oldType, int oldCategory) {
    removeFromTypeIndexes(item, oldType, oldCategory);
    addToTypeIndexes(item);
}

void itemIndex::recordChanged(DesignFileItem* item) { stale.insert(item); }

void itemIndex::bringTypesUpToDate() {
    if (stale.empty()) return;
    // determineType may call back into typeChanged, never into the stale
    // set, so the set can be walked while it runs.
    std::unordered_set<DesignFileItem*> pending;
    pending.swap(stale);
    for (DesignFileItem* item : pending)
        if (!item->isTypeCurrent()) item->determineType();
}
