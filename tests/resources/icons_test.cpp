// Tests of the icon resources: which ids exist, the sizes, ownership of the
// images, and that a person can tell the icons apart.
#include <cstdint>
#include <cstring>
#include <vector>

#include "resources/resources.h"
#include "workspace/context.h"

#include <gtest/gtest.h>

static HANDLE load(int id, int size, UINT type = IMAGE_ICON) {
    return LoadImageA(moduleHandle, MAKEINTRESOURCEA(id), type, size, size, 0);
}

static std::vector<uint8_t> pixelsOf(HANDLE icon) {
    int w = 0, h = 0;
    const uint8_t* rgba = nullptr;
    if (!kvGetIconPixels(icon, &w, &h, &rgba)) return {};
    return std::vector<uint8_t>(rgba, rgba + static_cast<size_t>(w) * h * 4);
}

TEST(Icons, EveryIdAtThreeSizes) {
    const size_t count = kvIconCount();
    EXPECT_EQ(kvIconId(count), 0) << "past the end";
    for (size_t i = 0; i < count; ++i)
        for (int size : {16, 32, 48}) {
            HANDLE icon = load(kvIconId(i), size);
            ASSERT_NE(icon, nullptr) << kvIconId(i) << " at " << size;
            int w = 0, h = 0;
            const uint8_t* rgba = nullptr;
            ASSERT_TRUE(kvGetIconPixels(icon, &w, &h, &rgba));
            EXPECT_EQ(w, size);
            EXPECT_EQ(h, size);
            // Drawn: a good part of the square is opaque, and not all of it.
            int opaque = 0;
            for (int p = 0; p < w * h; ++p) opaque += rgba[p * 4 + 3] == 255;
            EXPECT_GT(opaque, size * size / 3) << kvIconId(i) << " at " << size;
            EXPECT_LT(opaque, size * size) << kvIconId(i) << " at " << size;
            EXPECT_TRUE(DestroyIcon(icon));
        }
}

TEST(Icons, NothingForOtherIdsTypesSizesOrModules) {
    for (int id : {0, 1, 101, 103, 106, 146, 200, 65535}) EXPECT_EQ(load(id, 32), nullptr) << id;
    for (UINT type : {0u, 2u, 3u}) EXPECT_EQ(load(102, 32, type), nullptr) << type;
    for (int size : {0, 8, 15, 24, 64, -16}) EXPECT_EQ(load(102, size), nullptr) << size;
    EXPECT_EQ(LoadImageA(moduleHandle, MAKEINTRESOURCEA(102), IMAGE_ICON, 16, 32, 0), nullptr);
    EXPECT_EQ(LoadImageA(moduleHandle, "ICON102", IMAGE_ICON, 16, 16, 0), nullptr) << "names are numbers";
    int other = 0;
    EXPECT_EQ(LoadImageA(nullptr, MAKEINTRESOURCEA(102), IMAGE_ICON, 16, 16, 0), nullptr);
    EXPECT_EQ(LoadImageA(&other, MAKEINTRESOURCEA(102), IMAGE_ICON, 16, 16, 0), nullptr);
}

TEST(Icons, OnlyTheLowSixteenBitsOfAnIdCount) {
    HANDLE plain = load(130, 16);
    HANDLE high = load(0x10000 + 130, 16);
    ASSERT_NE(high, nullptr);
    EXPECT_EQ(pixelsOf(plain), pixelsOf(high));
    DestroyIcon(plain);
    DestroyIcon(high);
}

TEST(Icons, EachLoadIsANewImageThatTheCallerFrees) {
    HANDLE a = load(145, 48);
    HANDLE b = load(145, 48);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_NE(a, b);
    EXPECT_EQ(pixelsOf(a), pixelsOf(b));
    EXPECT_TRUE(DestroyIcon(a));
    EXPECT_FALSE(DestroyIcon(a)) << "a freed image is refused";
    int w = 7;
    EXPECT_FALSE(kvGetIconPixels(a, &w, nullptr, nullptr));
    EXPECT_EQ(w, 7) << "outputs untouched";
    EXPECT_FALSE(DestroyIcon(nullptr));
    int stranger = 0;
    EXPECT_FALSE(DestroyIcon(&stranger));
    EXPECT_TRUE(kvGetIconPixels(b, nullptr, nullptr, nullptr));
    EXPECT_TRUE(DestroyIcon(b));
}

// Tell-apart test: at every size, any two icons differ in a good number of
// pixels (not a stray one), so that they differ to the eye.
TEST(Icons, AnyTwoDifferVisibly) {
    const size_t count = kvIconCount();
    for (int size : {16, 32, 48}) {
        std::vector<std::vector<uint8_t>> images;
        for (size_t i = 0; i < count; ++i) {
            HANDLE icon = load(kvIconId(i), size);
            images.push_back(pixelsOf(icon));
            DestroyIcon(icon);
        }
        for (size_t i = 0; i < count; ++i)
            for (size_t j = i + 1; j < count; ++j) {
                int differing = 0;
                for (size_t p = 0; p < images[i].size(); p += 4) {
                    int d = 0;
                    for (int c = 0; c < 4; ++c) d += std::abs(images[i][p + c] - images[j][p + c]);
                    differing += d > 60;
                }
                EXPECT_GE(differing, size * size / 8) << kvIconId(i) << " and " << kvIconId(j) << " at " << size;
            }
    }
}
