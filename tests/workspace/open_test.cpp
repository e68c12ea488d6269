// Opening a workspace: every status, "tarnel.mdf", created directories,
// the registry of open workspaces, the directory's form, and a process
// that ends with a workspace still open.
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "libraries/configuration.h"
#include "workspace/context.h"
#include "workspace_test.h"

void setModificationTime(const std::string& hostPath, long seconds) {
    struct timeval times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(utimes(hostPath.c_str(), times), 0) << hostPath;
}

TEST(OpenWorkspace, FailuresGiveTheirStatusAndRegisterNothing) {
    TempDir dir;
    makeFiles(dir, {{"plain.txt", "x"}});
    const std::string plain = dir.engine("plain.txt"), below = dir.engine("plain.txt\\below");
    const unsigned before = openWorkspaceCount;
    const struct {
        workspace* (*open)(KVE_Status&, const char*);
        const char* path;
        int status;
    } cases[] = {
        {OpenWorkspace, nullptr, KVE_Status::NoPathGiven},
        {CreateWorkspace, "", KVE_Status::NoPathGiven},
        {OpenWorkspace, plain.c_str(), KVE_Status::DirectoryNotFound},
        // A directory below a plain file cannot be created either.
        {OpenWorkspace, below.c_str(), KVE_Status::DirectoryNotFound},
    };
    for (const auto& c : cases) {
        KVE_Status status(c.status == KVE_Status::NoPathGiven ? KVE_Status::DirectoryNotFound : KVE_Status::NoError);
        EXPECT_EQ(c.open(status, c.path), nullptr) << (c.path ? c.path : "(null)");
        EXPECT_EQ(status.value(), c.status) << (c.path ? c.path : "(null)");
    }
    EXPECT_EQ(openWorkspaceCount, before);
    EXPECT_EQ(openWorkspaces.size(), before);
    EXPECT_EQ(readFile(dir.host("plain.txt")), "x") << "the file must stay as it was";
}

TEST(OpenWorkspace, ExistingDirectoryOpensInLongFormWithTrailingBackslash) {
    TempDir dir;
    makeFiles(dir, {{"Design/a.sch", "*version 1\n"}});
    // Asked in another case and without the trailing separator.
    std::string asked = dir.engine() + "\\DESIGN";
    auto ws = openOrFail(asked);
    ASSERT_TRUE(ws);
    EXPECT_EQ(std::string(ws->getDirectory()), dir.engine("Design") + "\\");
    EXPECT_EQ(baseNames(ws->getLocalItems()), std::vector<std::string>{"a.sch"});
}

TEST(OpenWorkspace, MissingDirectoryIsCreatedAtEveryLevel) {
    TempDir dir;
    const std::string path = dir.engine("one\\two\\three");
    for (auto open : {OpenWorkspace, CreateWorkspace}) {
        KVE_Status status(KVE_Status::NoPathGiven);
        std::unique_ptr<workspace> ws(open(status, path.c_str()));
        ASSERT_TRUE(ws);
        EXPECT_EQ(status.value(), KVE_Status::NoError);
        struct stat info;
        ASSERT_EQ(stat(dir.host("one/two/three").c_str(), &info), 0);
        EXPECT_TRUE(S_ISDIR(info.st_mode));
        EXPECT_TRUE(baseNames(ws->getLocalItems()).empty());
    }
}

TEST(OpenWorkspace, DesignFileNameInAnyCaseOpensItsDirectory) {
    TempDir dir;
    makeFiles(dir, {{"ws/top.sch", "*version 1\n"}, {"ws/tarnel.mdf", "not read"}});
    for (const char* name : {"tarnel.mdf", "TARNEL.MDF", "Tarnel.Mdf"}) {
        auto ws = openOrFail(dir.engine("ws") + "\\" + name);
        ASSERT_TRUE(ws) << name;
        EXPECT_EQ(std::string(ws->getDirectory()), dir.engine("ws") + "\\") << name;
        // The design file is an ordinary entry of type MDF.
        EXPECT_EQ(typeOf(*ws, dir.engine("ws\\tarnel.mdf")), "MDF");
    }
    // Without the file, the name still names the directory, which is made.
    auto fresh = openOrFail(dir.engine("new") + "\\TARNEL.mdf");
    ASSERT_TRUE(fresh);
    EXPECT_EQ(std::string(fresh->getDirectory()), dir.engine("new") + "\\");
    EXPECT_FALSE(fileExists(dir.host("new/TARNEL.mdf"))) << "the design file is never created";
    EXPECT_TRUE(fileExists(dir.host("new")));
}

TEST(OpenWorkspace, RegistryCountsOpenWorkspacesAndSecondOpenIsIndependent) {
    TempDir dir;
    makeFiles(dir, {{"a.sch", "*version\n"}});
    const unsigned before = openWorkspaceCount;
    auto first = openOrFail(dir.engine());
    auto second = openOrFail(dir.engine());
    ASSERT_TRUE(first && second);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(openWorkspaceCount, before + 2);
    EXPECT_EQ(openWorkspaces.back(), second.get());
    first->findItem(dir.engine("a.sch").c_str())->select();
    EXPECT_FALSE(second->findItem(dir.engine("a.sch").c_str())->isSelected());
    first.reset();
    EXPECT_EQ(openWorkspaceCount, before + 1);
    EXPECT_EQ(openWorkspaces.back(), second.get());
    second.reset();
    EXPECT_EQ(openWorkspaceCount, before);
}

// A client that leaves a workspace open while an INI context has opened a
// library workspace, and then ends its process. The library's shutdown
// runs after the static destructors and deletes the library workspace,
// which leaves the registry: the registry must still be there. The client
// is a child process, so that its exit is what the test sees.
TEST(OpenWorkspace, ProcessEndsCleanlyWithWorkspaceLeftOpenUnderIniContext) {
    TempDir dir;
    makeFiles(dir, {{"design/top.sch", "*version 1\n"}, {"libs/marker.slb", ""}, {"windir/tarnel91.ini", ""}});
    writeFile(dir.host("ctx.ini"), "[TARNEL]\nLIBPATH=" + dir.engine("libs") + "\n");
    fflush(nullptr);
    pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        setenv("KVENG_WINDIR", dir.host("windir").c_str(), 1);
        KVE_Status status;
        workspace* leftOpen = OpenWorkspace(status, dir.engine("design").c_str());
        SetIniFileContext(dir.engine("ctx.ini").c_str(), nullptr);
        LibraryConfiguration* libraries = getLibraryConfiguration();
        // 3: the setup did not give an open workspace and a library workspace.
        bool ready = leftOpen && libraries && libraries->getPartLibraries().size() == 1;
        exit(ready ? 0 : 3); // static destructors, then the library's shutdown
    }
    int waited = 0;
    ASSERT_EQ(waitpid(child, &waited, 0), child);
    const bool signalled = WIFSIGNALED(waited);
    ASSERT_FALSE(signalled) << "the client died of signal " << WTERMSIG(waited);
    EXPECT_EQ(WEXITSTATUS(waited), 0);
}
