// Tests of the library's start-up: the entry point has run before any test,
// and its count of process attachments follows attach and detach.
#include "resources/resources.h"
#include "workspace/context.h"

#include <gtest/gtest.h>

TEST(StartUp, TheEngineIsAttachedOnceBeforeMain) {
    EXPECT_EQ(moduleHandle, kvEngineModule());
    EXPECT_NE(moduleHandle, nullptr);
    EXPECT_EQ(attachCount, 1);
}

TEST(StartUp, AttachAndDetachCount) {
    HMODULE before = moduleHandle;
    EXPECT_TRUE(engineEntryPoint(kvEngineModule(), DLL_PROCESS_ATTACH));
    EXPECT_EQ(attachCount, 2);
    EXPECT_TRUE(engineEntryPoint(kvEngineModule(), DLL_PROCESS_DETACH));
    EXPECT_EQ(attachCount, 1);
    EXPECT_EQ(moduleHandle, before);
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
