// Tests of the library's start-up: the entry point has run before any test,
// and thread notices leave it alone. Attach and detach counts are tested
// with the context they release (tests/context).
#include "resources/resources.h"
#include "workspace/context.h"

#include <gtest/gtest.h>

TEST(StartUp, TheEngineIsAttachedOnceBeforeMain) {
    EXPECT_EQ(moduleHandle, kvEngineModule());
    EXPECT_NE(moduleHandle, nullptr);
    EXPECT_EQ(attachCount, 1);
}

TEST(StartUp, ThreadNoticesChangeNothing) {
    EXPECT_TRUE(engineEntryPoint(nullptr, DLL_THREAD_ATTACH));
    EXPECT_TRUE(engineEntryPoint(nullptr, DLL_THREAD_DETACH));
    EXPECT_EQ(attachCount, 1);
    EXPECT_EQ(moduleHandle, kvEngineModule());
    // Strings still come from the engine.
    char buffer[16];
    EXPECT_EQ(LoadStringA(moduleHandle, 533, buffer, sizeof buffer), 3);
    EXPECT_STREQ(buffer, "sch");
}
