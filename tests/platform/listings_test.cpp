// The listing cache behind case-blind look-ups: whatever happens to a
// directory, behind the layer's back or through it, the next look-up sees
// the directory as it is now.
//
// Most cases first let the directory's time stamps age past the clock tick
// of the file system, so that its listing is kept and the cache is really
// in play (the readdir count shows it); the changes then come with plain
// POSIX calls, which the layer does not see.
//
//   1. Names appearing and disappearing behind the layer's back
//   2. Renamed directories
//   3. Names equal but for case
//   4. The layer's own changes
//   5. Faults and functions of a test's own
//   6. The bound
#include "platform_test.h"

#include <chrono>
#include <cstdio>
#include <thread>

namespace {


// Waits until the ctime of host directory `dir` lies well in the past, as
// the layer requires before it keeps a listing.
void letAge(const std::string& dir) {
    for (int i = 0; i < 400; ++i) {
        struct stat st;
        ASSERT_EQ(0, stat(dir.c_str(), &st)) << dir;
        struct timespec now;
        clock_gettime(CLOCK_REALTIME, &now);
        const bool coarse = st.st_ctim.tv_nsec == 0 && st.st_mtim.tv_nsec == 0;
        const double age = (now.tv_sec - st.st_ctim.tv_sec) + (now.tv_nsec - st.st_ctim.tv_nsec) / 1e9;
        if (age > (coarse ? 3.5 : 0.25)) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    FAIL() << dir << " keeps changing";
}


void touch(const std::string& host) { writeFile(host, "x"); }

unsigned long readdirs() { return kvHostCallCount(HostCall::Readdir); }

// A test directory; paths are relative to it. Clears the faults before and
// after each test.
class ListingCache : public ::testing::Test {
protected:
    void SetUp() override { kvFaultsClear(); }
    void TearDown() override { kvFaultsClear(); }
    // Lets the test directory and the given ones below it age.
    void age(std::initializer_list<std::string> below = {}) {
        letAge(dir.host());
        for (const std::string& d : below) letAge(dir.host(d));
    }
    bool exists(const std::string& engine) {
        return GetFileAttributesA(dir.engine(engine).c_str()) != INVALID_FILE_ATTRIBUTES;
    }
    std::string hostOf(const std::string& engine) { return ToHostPath(dir.engine(engine).c_str()); }
    TempDir dir;
};

}  // namespace

// --- 1. Names appearing and disappearing -------------------------------------

TEST_F(ListingCache, NamesMadeAndRemovedBehindTheLayerAreSeenAtOnce) {
    for (int i = 0; i < 40; ++i) touch(dir.host("Sub/f" + std::to_string(i) + ".txt"));
    age({"Sub"});

    ASSERT_TRUE(exists("SUB\\F1.TXT"));
    const unsigned long first = readdirs();
    ASSERT_GT(first, 0u);
    EXPECT_TRUE(exists("sub\\F2.TXT"));
    EXPECT_FALSE(exists("sub\\MISSING.TXT"));
    EXPECT_EQ(first, readdirs()) << "the listings were kept";

    touch(dir.host("Sub/New.txt"));
    EXPECT_TRUE(exists("SUB\\NEW.TXT")) << "a name made behind the layer's back";
    EXPECT_EQ(dir.host("Sub/New.txt"), hostOf("sub\\new.TXT"));

    ASSERT_EQ(0, unlink(dir.host("Sub/f3.txt").c_str()));
    expectFails(ERROR_FILE_NOT_FOUND, "a name removed behind the layer's back", [&] { return exists("SUB\\F3.TXT"); });

    // A file replaced by a directory of the same name in another case.
    ASSERT_EQ(0, unlink(dir.host("Sub/f4.txt").c_str()));
    ASSERT_EQ(0, mkdir(dir.host("Sub/F4.TXT").c_str(), 0755));
    touch(dir.host("Sub/F4.TXT/inner"));
    EXPECT_TRUE(exists("sub\\f4.txt\\INNER"));
}

TEST_F(ListingCache, ChangesInTheSameClockTickAreNotMissed) {
    touch(dir.host("Dir/a.txt"));
    // No waiting: every change lands within the tick of the one before.
    for (int i = 0; i < 50; ++i) {
        const std::string name = "n" + std::to_string(i) + ".txt";
        EXPECT_FALSE(exists("DIR\\N" + std::to_string(i) + ".TXT"));
        touch(dir.host("Dir/" + name));
        EXPECT_TRUE(exists("DIR\\N" + std::to_string(i) + ".TXT")) << name;
        ASSERT_EQ(0, unlink(dir.host("Dir/" + name).c_str()));
        EXPECT_FALSE(exists("dir\\n" + std::to_string(i) + ".txt")) << name;
    }
}

// --- 2. Renamed directories --------------------------------------------------

TEST_F(ListingCache, DirectoriesRenamedBehindTheLayer) {
    touch(dir.host("Alpha/x.txt"));
    touch(dir.host("Beta/y.txt"));
    age({"Alpha", "Beta"});
    ASSERT_TRUE(exists("ALPHA\\X.TXT"));
    ASSERT_TRUE(exists("BETA\\Y.TXT"));

    // Alpha goes, Beta takes its name: the same host path, another directory.
    ASSERT_EQ(0, rename(dir.host("Alpha").c_str(), dir.host("Gamma").c_str()));
    ASSERT_EQ(0, rename(dir.host("Beta").c_str(), dir.host("Alpha").c_str()));
    expectFails(ERROR_FILE_NOT_FOUND, "ALPHA\\X.TXT", [&] { return exists("ALPHA\\X.TXT"); });
    EXPECT_TRUE(exists("alpha\\Y.TXT"));
    EXPECT_TRUE(exists("GAMMA\\X.TXT"));
    expectFails(ERROR_PATH_NOT_FOUND, "BETA\\Y.TXT", [&] { return exists("BETA\\Y.TXT"); });
}

TEST_F(ListingCache, DirectoriesRenamedAndRemovedThroughTheLayer) {
    touch(dir.host("Old/Inner/z.txt"));
    age({"Old", "Old/Inner"});
    ASSERT_TRUE(exists("OLD\\INNER\\Z.TXT"));

    ASSERT_TRUE(MoveFileA(dir.engine("old").c_str(), dir.engine("New").c_str()));
    EXPECT_FALSE(exists("OLD\\INNER\\Z.TXT"));
    EXPECT_TRUE(exists("NEW\\INNER\\Z.TXT"));
    EXPECT_EQ(dir.host("New/Inner/z.txt"), hostOf("new\\inner\\Z.TXT"));

    ASSERT_TRUE(DeleteFileA(dir.engine("NEW\\INNER\\Z.TXT").c_str()));
    ASSERT_TRUE(RemoveDirectoryA(dir.engine("NEW\\INNER").c_str()));
    expectFails(ERROR_FILE_NOT_FOUND, "NEW\\INNER", [&] { return exists("NEW\\INNER"); });
    ASSERT_TRUE(CreateDirectoryA(dir.engine("NEW\\INNER").c_str(), nullptr));
    EXPECT_EQ(dir.host("New/INNER"), hostOf("new\\inner"))
        << "made again in the spelling given";
}

// --- 3. Names equal but for case ---------------------------------------------

TEST_F(ListingCache, TheFirstOfNamesEqualButForCaseWinsAsTheyComeAndGo) {
    for (const char* name : {"readme.TXT", "ReadMe.txt", "README.txt"}) touch(dir.host(name));
    touch(dir.host("data"));                // a file ...
    touch(dir.host("DATA/inside.txt"));     // ... and a directory, equal but for case
    age({"DATA"});

    for (int round = 0; round < 2; ++round) {  // from the disk, then from the cache
        EXPECT_EQ(dir.host("README.txt"), hostOf("Readme.Txt")) << round;
        EXPECT_EQ(dir.host("DATA/inside.txt"), hostOf("Data\\INSIDE.TXT")) << round;
        EXPECT_EQ(dir.host("data"), hostOf("data")) << round;
    }
    const unsigned long before = readdirs();
    ASSERT_EQ(0, unlink(dir.host("README.txt").c_str()));
    EXPECT_EQ(dir.host("ReadMe.txt"), hostOf("readme.txt"));
    EXPECT_GT(readdirs(), before) << "the changed directory was read again";
    ASSERT_EQ(0, rename(dir.host("ReadMe.txt").c_str(), dir.host("README.TXT").c_str()));
    EXPECT_EQ(dir.host("README.TXT"), hostOf("readme.txt"));
}

// --- 4. The layer's own changes ----------------------------------------------

TEST_F(ListingCache, FilesMadeAndDeletedThroughTheLayer) {
    touch(dir.host("Lib/one.lib"));
    age({"Lib"});
    EXPECT_FALSE(exists("LIB\\TWO.LIB"));

    FILE* f = kvFopen(dir.engine("LIB\\Two.lib").c_str(), "w");
    ASSERT_NE(nullptr, f);
    fclose(f);
    EXPECT_EQ(dir.host("Lib/Two.lib"), hostOf("lib\\TWO.LIB"));
    f = kvFopen(dir.engine("lib\\two.LIB").c_str(), "w");  // the same file, not a second one
    ASSERT_NE(nullptr, f);
    fclose(f);
    EXPECT_EQ((std::vector<std::string>{"Two.lib", "one.lib"}), hostEntries(dir.host("Lib")));

    ASSERT_TRUE(DeleteFileA(dir.engine("LIB\\ONE.LIB").c_str()));
    EXPECT_FALSE(exists("lib\\one.lib"));
    ASSERT_TRUE(CopyFileA(dir.engine("lib\\two.lib").c_str(), dir.engine("LIB\\Three.LIB").c_str(), TRUE));
    EXPECT_EQ(dir.host("Lib/Three.LIB"), hostOf("lib\\three.lib"));
}

// --- 5. Faults and functions of a test's own ---------------------------------

TEST_F(ListingCache, FaultsReachTheListingEvenOfAKnownDirectory) {
    touch(dir.host("Existing.TXT"));
    age();
    ASSERT_TRUE(exists("EXISTING.txt"));  // kept

    kvFaultAt(HostCall::Readdir, 1, EIO);
    expectFails(ERROR_IO_DEVICE, "existing.txt", [&] { return exists("existing.txt"); });
    EXPECT_EQ(1u, kvFaultsHit());

    // Not knowing which spellings exist, nothing is made.
    kvFaultsClear();
    ASSERT_TRUE(exists("EXISTING.txt"));
    kvFaultAt(HostCall::Opendir, 1, EACCES);
    EXPECT_EQ(nullptr, kvFopen(dir.engine("existing.txt").c_str(), "w"));
    writeFile(dir.host("src.txt"), "new");
    kvFaultAt(HostCall::Readdir, 1, EIO);
    EXPECT_FALSE(CopyFileA(dir.engine("src.txt").c_str(), dir.engine("existing.txt").c_str(), FALSE));
    EXPECT_EQ(static_cast<DWORD>(ERROR_IO_DEVICE), GetLastError());
    EXPECT_EQ((std::vector<std::string>{"Existing.TXT", "src.txt"}), hostEntries(dir.host()));
    EXPECT_EQ("x", readFile(dir.host("Existing.TXT")));
}

static unsigned long ownReaddirs = 0;
static struct dirent* countingReaddir(DIR* d) {
    ++ownReaddirs;
    return kvHostDefaults.readdir(d);
}

TEST_F(ListingCache, AReaddirOfATestsOwnIsAlwaysCalled) {
    touch(dir.host("Name.txt"));
    age();
    ASSERT_TRUE(exists("NAME.TXT"));
    ASSERT_TRUE(exists("name.TXT"));
    ownReaddirs = 0;
    kvHost.readdir = countingReaddir;
    EXPECT_TRUE(exists("NAME.txt"));
    EXPECT_GT(ownReaddirs, 0u) << "the cache does not stand between a test and its own function";
}

// --- 6. The bound ------------------------------------------------------------

TEST_F(ListingCache, ManyDirectoriesStayCorrectPastTheBound) {
    const int count = 300;  // more than the cache keeps
    for (int i = 0; i < count; ++i) touch(dir.host("d" + std::to_string(i) + "/File.txt"));
    age();
    for (int i = 0; i < count; ++i) letAge(dir.host("d" + std::to_string(i)));

    for (int i = 0; i < count; ++i)
        ASSERT_TRUE(exists("D" + std::to_string(i) + "\\FILE.TXT")) << i;
    unsigned long before = readdirs();
    EXPECT_TRUE(exists("D" + std::to_string(count - 1) + "\\file.TXT"));
    EXPECT_EQ(before, readdirs()) << "the most recent directory is kept";
    EXPECT_TRUE(exists("D0\\file.TXT"));
    EXPECT_GT(readdirs(), before) << "the least recent one was dropped";

    touch(dir.host("d1/Other.txt"));
    EXPECT_TRUE(exists("D1\\OTHER.TXT"));
}
