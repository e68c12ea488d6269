// The indexes of a workspace's file items (see itemindex.h).
//
// Contents:
//   1. Keys.
//   2. The path table.
//   3. Insertion and removal.
//   4. Type changes and staleness.
#include <algorithm>
#include <cstring>
#include <iterator>

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

static inline unsigned char lowerAscii(unsigned char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; }

// FNV-1a over the bytes folded to lower case; value() mixes the state so
// that its low bits, which pick the slot, depend on every byte.
void foldedHash::add(const char* text, size_t length) {
    uint64_t h = state;
    for (size_t i = 0; i < length; ++i) {
        h ^= lowerAscii(static_cast<unsigned char>(text[i]));
        h *= 1099511628211ull;
    }
    state = h;
}

uint64_t foldedHash::value() const {
    uint64_t h = state;
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdull;
    h ^= h >> 33;
    return h;
}

pathKey pathKey::of(const std::string& path) {
    pathKey key;
    key.head = path.data();
    key.headLength = path.size();
    foldedHash hash;
    hash.add(key.head, key.headLength);
    key.hash = hash.value();
    return key;
}

pathKey pathKey::of(const std::string& directory, const foldedHash& directoryHash, const char* name) {
    pathKey key;
    key.head = directory.data();
    key.headLength = directory.size();
    key.tail = name;
    key.tailLength = strlen(name);
    foldedHash hash(directoryHash);
    hash.add(key.tail, key.tailLength);
    key.hash = hash.value();
    return key;
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

// ---------------------------------------------------------------------------
// 2. The path table
// ---------------------------------------------------------------------------

DesignFileItem* itemIndex::findByPath(const pathKey& key) const {
    if (pathSlots.empty()) return nullptr;
    const size_t mask = pathSlots.size() - 1;
    const size_t length = key.headLength + key.tailLength;
    // The table is never full, so the probe ends at an empty slot.
    for (size_t i = key.hash & mask;; i = (i + 1) & mask) {
        const pathSlot& slot = pathSlots[i];
        if (!slot.item) {
            if (slot.hash == 0) return nullptr;
            continue;
        }
        if (slot.hash != key.hash) continue;
        const std::string& path = slot.item->fullPath;
        if (path.size() == length && equalIgnoringCase(path.data(), key.head, key.headLength) &&
            equalIgnoringCase(path.data() + key.headLength, key.tail, key.tailLength))
            return slot.item;
    }
}

void itemIndex::addPath(DesignFileItem* item, uint64_t hash) {
    if ((pathsUsed + pathsRemoved + 1) * 10 > pathSlots.size() * 7) growPaths();
    const size_t mask = pathSlots.size() - 1;
    const std::string& path = item->fullPath;
    size_t free = pathSlots.size();
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        pathSlot& slot = pathSlots[i];
        if (!slot.item) {
            if (slot.hash == 1) {
                if (free == pathSlots.size()) free = i;
                continue;
            }
            if (free == pathSlots.size()) free = i;
            break;
        }
        // A path indexed already keeps its first item.
        if (slot.hash == hash && slot.item->fullPath.size() == path.size() &&
            equalIgnoringCase(slot.item->fullPath.data(), path.data(), path.size()))
            return;
    }
    if (pathSlots[free].hash == 1) --pathsRemoved;
    pathSlots[free] = pathSlot{hash, item};
    ++pathsUsed;
}

void itemIndex::removePath(DesignFileItem* item) {
    if (pathSlots.empty()) return;
    const size_t mask = pathSlots.size() - 1;
    for (size_t i = pathKey::of(item->fullPath).hash & mask;; i = (i + 1) & mask) {
        pathSlot& slot = pathSlots[i];
        if (slot.item == item) {
            slot = pathSlot{1, nullptr};
            --pathsUsed;
            ++pathsRemoved;
            return;
        }
        if (!slot.item && slot.hash == 0) return;
    }
}

// Doubles the table (or more), leaving out the removed slots: at most
// half full afterwards.
void itemIndex::growPaths() {
    size_t size = 16;
    while (size < (pathsUsed + 1) * 2) size *= 2;
    std::vector<pathSlot> old(size, pathSlot{0, nullptr});
    old.swap(pathSlots);
    pathsRemoved = 0;
    const size_t mask = size - 1;
    for (const pathSlot& slot : old) {
        if (!slot.item) continue;
        size_t i = slot.hash & mask;
        while (pathSlots[i].item) i = (i + 1) & mask;
        pathSlots[i] = slot;
    }
}

// ---------------------------------------------------------------------------
// 3. Insertion and removal
// ---------------------------------------------------------------------------

// Puts item into v at its place in item order; at the end, mostly.
static void placeInOrder(orderedItems& v, DesignFileItem* item) {
    if (v.empty() || v.back()->compareItems(item) < 0)
        v.push_back(item);
    else
        v.insert(std::upper_bound(v.begin(), v.end(), item, itemOrder()), item);
}

// Takes item out of v, if it is there.
static void takeOut(orderedItems& v, DesignFileItem* item) {
    auto it = std::lower_bound(v.begin(), v.end(), item, itemOrder());
    if (it == v.end() || *it != item) it = std::find(v.begin(), v.end(), item);
    if (it != v.end()) v.erase(it);
}

DesignFileItem* itemIndex::insert(DesignFileItem* item, const uint64_t* pathHash) {
    // The list is always in item order, as is the vector beside it: an item
    // that sorts after the last one is appended; another goes before the
    // first that sorts above it, unless an equal one is there.
    std::list<fileItem*>::iterator place = items.end();
    const int againstLast = order.empty() ? 1 : item->compareItems(order.back());
    if (againstLast == 0) return order.back();
    if (againstLast < 0 && batching) {
        item->listPosition = items.end();
        item->index = this;
        heldBack.push_back(item);
        addPath(item, pathHash ? *pathHash : pathKey::of(item->fullPath).hash);
        if (!item->isTypeCurrent()) stale.insert(item);
        return nullptr;
    }
    if (againstLast < 0) {
        auto above = std::upper_bound(order.begin(), order.end(), item, itemOrder());
        if (above != order.begin()) {
            DesignFileItem* below = *std::prev(above);
            if (below->compareItems(item) == 0) return below;
        }
        place = (*above)->listPosition;
        order.insert(above, item);
    } else {
        order.push_back(item);
    }
    item->listPosition = items.insert(place, item);
    item->index = this;
    addPath(item, pathHash ? *pathHash : pathKey::of(item->fullPath).hash);
    addToTypeIndexes(item);
    if (!item->isTypeCurrent()) stale.insert(item);
    return nullptr;
}

// Merges late, in item order, into v. Each late item is placed by a
// galloping search from the place of the one before, so that the items of
// v between two places are mostly not looked at. Returns, for each late
// item, the item of v that came to follow it, or null for none.
static std::vector<DesignFileItem*> mergeLate(orderedItems& v, const std::vector<DesignFileItem*>& late) {
    const itemOrder less;
    std::vector<size_t> places(late.size());
    size_t from = 0;
    for (size_t k = 0; k < late.size(); ++k) {
        // Everything before low sorts at or below late[k]; v[high], if there,
        // is the first probe found above it.
        size_t low = from, high = from, step = 1;
        while (high < v.size() && !less(late[k], v[high])) {
            low = high + 1;
            high = from + step;
            step *= 2;
        }
        if (high > v.size()) high = v.size();
        places[k] = static_cast<size_t>(std::upper_bound(v.begin() + low, v.begin() + high, late[k], less) - v.begin());
        from = places[k];
    }
    std::vector<DesignFileItem*> followers(late.size());
    orderedItems merged;
    merged.reserve(v.size() + late.size());
    size_t copied = 0;
    for (size_t k = 0; k < late.size(); ++k) {
        followers[k] = places[k] < v.size() ? v[places[k]] : nullptr;
        merged.insert(merged.end(), v.begin() + copied, v.begin() + places[k]);
        copied = places[k];
        merged.push_back(late[k]);
    }
    merged.insert(merged.end(), v.begin() + copied, v.end());
    v.swap(merged);
    return followers;
}

void itemIndex::endBatch() {
    batching = false;
    if (heldBack.empty()) return;
    std::vector<DesignFileItem*> late;
    late.swap(heldBack);
    std::sort(late.begin(), late.end(), itemOrder());

    // The order and the list: from the last late item back, each goes
    // before the item that follows it (a late one already placed, or one
    // that was in the list).
    const std::vector<DesignFileItem*> followers = mergeLate(order, late);
    for (size_t k = late.size(); k-- > 0;) {
        std::list<fileItem*>::iterator next = items.end();
        if (k + 1 < late.size() && followers[k + 1] == followers[k])
            next = late[k + 1]->listPosition;
        else if (followers[k])
            next = followers[k]->listPosition;
        late[k]->listPosition = items.insert(next, late[k]);
    }

    // The type and category vectors take the late items of each.
    std::vector<std::vector<DesignFileItem*>> ofType(KVE_fileTypeEnum::invalid + 1);
    std::vector<std::vector<DesignFileItem*>> ofCategory(KVE_fileCategoryEnum::invalid + 1);
    for (DesignFileItem* item : late) {
        ofType[clampType(item->fileType.value())].push_back(item);
        ofCategory[clampCategory(item->category.value())].push_back(item);
        addToStems(item);
    }
    for (size_t t = 0; t < ofType.size(); ++t)
        if (!ofType[t].empty()) mergeLate(byType[t], ofType[t]);
    for (size_t c = 0; c < ofCategory.size(); ++c)
        if (!ofCategory[c].empty()) mergeLate(byCategory[c], ofCategory[c]);
}

void itemIndex::remove(DesignFileItem* item) {
    if (item->index != this) return;
    if (isHeldBack(item)) {
        auto it = std::find(heldBack.begin(), heldBack.end(), item);
        if (it != heldBack.end()) heldBack.erase(it);
        removePath(item);
        stale.erase(item);
        item->index = nullptr;
        return;
    }
    items.erase(item->listPosition);
    takeOut(order, item);
    removePath(item);
    removeFromTypeIndexes(item, item->fileType.value(), item->category.value());
    stale.erase(item);
    item->index = nullptr;
}

void itemIndex::addToTypeIndexes(DesignFileItem* item) {
    placeInOrder(byType[clampType(item->fileType.value())], item);
    placeInOrder(byCategory[clampCategory(item->category.value())], item);
    addToStems(item);
}

void itemIndex::addToStems(DesignFileItem* item) {
    if (stemsIndexed) byTypeAndStem[stemKey(item->fileType.value(), item)].push_back(item);
}

void itemIndex::removeFromTypeIndexes(DesignFileItem* item, int type, int category) {
    takeOut(byType[clampType(type)], item);
    takeOut(byCategory[clampCategory(category)], item);
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
// 4. Type changes and staleness
// ---------------------------------------------------------------------------

void itemIndex::typeChanged(DesignFileItem* item, int oldType, int oldCategory) {
    if (isHeldBack(item)) return; // endBatch files it under its type then
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
