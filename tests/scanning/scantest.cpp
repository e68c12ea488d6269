// Helpers of the scanning tests (scantest.h).
#include "scanning/scantest.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <sstream>

#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"

namespace fs = std::filesystem;

std::string replaceAll(std::string text, const std::string& from, const std::string& to) {
    if (from.empty()) return text;
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

void copyTree(const std::string& hostSource, const std::string& hostTarget, const std::string& root) {
    for (const auto& entry : fs::recursive_directory_iterator(hostSource)) {
        const std::string relative = fs::relative(entry.path(), hostSource).string();
        const std::string target = hostTarget + "/" + relative;
        if (entry.is_directory())
            fs::create_directories(target);
        else if (entry.path().filename() == ".keep")
            fs::create_directories(fs::path(target).parent_path());
        else
            writeFile(target, replaceAll(readFile(entry.path().string()), "@ROOT@", root));
    }
}

LibraryPathScope::LibraryPathScope(const TempDir& dir) {
    if (const char* old = getenv("KVENG_WINDIR")) savedWindir = old, hadWindir = true;
    writeFile(dir.host("ini/tarnel91.ini"), "[Part Libs]\n");
    writeFile(dir.host("ini/context.ini"), "[TARNEL]\nLIBPATH=" + dir.engine("syslib") + "\n");
    fs::create_directories(dir.host("syslib"));
    setenv("KVENG_WINDIR", dir.host("ini").c_str(), 1);
    RemoveIniFileContext();
    SetIniFileContext(dir.engine("ini/context.ini").c_str(), nullptr);
}

LibraryPathScope::~LibraryPathScope() {
    RemoveIniFileContext();
    if (hadWindir)
        setenv("KVENG_WINDIR", savedWindir.c_str(), 1);
    else
        unsetenv("KVENG_WINDIR");
}

copyLikeOperation::copyLikeOperation(const std::string& sourceDirectory, const std::string& targetDirectory,
                                     const std::string& fileDirectory)
    : source(sourceDirectory.c_str()), target(targetDirectory.c_str()), directory(fileDirectory.c_str()) {
    source.forceEndInSlash();
    target.forceEndInSlash();
    directory.forceEndInSlash();
}

bool copyLikeOperation::dependencyFound(pathstring& path, bool, bool) {
    found.push_back(path);
    path.assignRelativeTo(directory);
    pathstring mapped = path;
    if (path.isInDirectory(source)) {
        mapped.makeRelativeTo(source);
        mapped.assignRelativeTo(target);
    } else if (isSystemLibraryPath(path.getPath().c_str())) {
        mapped = path.getBase();
    }
    if (mapped.getPath().compareEqualQuickly(target)) mapped = mapped.getBase();
    path = mapped;
    return true;
}

std::list<std::string>* copyLikeOperation::getModelLibraryPaths() {
    if (!giveModelLibraries) return nullptr;
    return new std::list<std::string>(modelLibraries.begin(), modelLibraries.end());
}

std::string testName(const std::string& description) {
    std::string name;
    bool start = true;
    for (char c : description) {
        if (!isalnum(static_cast<unsigned char>(c))) {
            start = true;
            continue;
        }
        name += start ? static_cast<char>(toupper(static_cast<unsigned char>(c))) : c;
        start = false;
    }
    return name;
}

std::string localityName(const KVE_Locality& locality) {
    switch (locality.value()) {
    case KVE_Locality::Local: return "Local";
    case KVE_Locality::Local_subdir: return "Local_subdir";
    case KVE_Locality::External: return "External";
    case KVE_Locality::System: return "System";
    default: return "invalid";
    }
}

std::string describeScan(DesignFileItem& item, const std::string& root) {
    std::string text;
    auto line = [&](const std::string& kind, fileItem* each) {
        text += kind + " " + replaceAll(each->getFullPath(), root, "@ROOT@") + " " +
                localityName(each->getLocality()) + " " + (each->exists() ? "exists" : "missing") + "\n";
    };
    for (fileItem* each : item.getFileDependencies(nullptr)) line("file", each);
    for (fileItem* each : item.getSystemDependencies(nullptr)) line("system", each);
    for (fileItem* each : item.getUsedLibraries()) {
        LibraryFileItem* library = dynamic_cast<LibraryFileItem*>(each);
        text += "library " + replaceAll(each->getFullPath(), root, "@ROOT@") + " kind " +
                std::to_string(library ? library->getLibraryKind() : -1) + "\n";
    }
    for (libraryUsage* usage : item.getUsedModels()) text += "model " + replaceAll(usage->name, root, "@ROOT@") + "\n";
    auto usageLine = [&](const std::string& kind, libraryUsage* usage) {
        text += kind + " " + usage->name + " " +
                replaceAll(usage->library ? usage->library->getFullPath() : "-", root, "@ROOT@") + "\n";
    };
    for (libraryUsage* usage : item.getUsedSymbols()) usageLine("symbol", usage);
    for (libraryUsage* usage : item.getUsedPackages()) usageLine("package", usage);
    return text;
}

// The trace lines of the engine would drown the test output.
namespace {
struct silentTrace : ::testing::Environment {
    void SetUp() override { SetTraceOutput(nullptr); }
};
const ::testing::Environment* const silence = ::testing::AddGlobalTestEnvironment(new silentTrace);
} // namespace

void scanFixture::open(const std::vector<std::pair<std::string, std::string>>& files, const std::string& at) {
    for (const auto& file : files) writeFile(dir.host(file.first), file.second);
    KVE_Status status;
    ws.reset(OpenWorkspace(status, (at.empty() ? dir.engine() : dir.engine(at)).c_str()));
    ASSERT_TRUE(ws);
}

DesignFileItem* scanFixture::item(const std::string& relative) {
    fileItem* found = ws->findItem(dir.engine(relative).c_str());
    EXPECT_TRUE(found) << "no item for " << relative;
    return dynamic_cast<DesignFileItem*>(found);
}

std::vector<std::string> scanFixture::names(const std::list<fileItem*>& items) {
    std::vector<std::string> result;
    for (fileItem* each : items) result.push_back(each->getBaseName());
    return result;
}

void scanFixture::touchAndRefresh(const std::string& relative, long seconds) {
    struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
    utimensat(AT_FDCWD, dir.host(relative).c_str(), times, 0);
    ws->refresh();
}

std::string scanFixture::rewrite(const std::string& from, const std::string& to, std::vector<std::string>* found,
                                 const std::vector<std::string>* modelLibraries) {
    auto directoryOf = [&](const std::string& path) {
        const size_t slash = path.rfind('/');
        return slash == std::string::npos ? dir.engine() : dir.engine(path.substr(0, slash));
    };
    DesignFileItem* file = item(from);
    if (!file) return "";
    pathstring(directoryOf(to).c_str()).createDirectory();
    copyLikeOperation op(directoryOf(from), directoryOf(to), directoryOf(from));
    if (modelLibraries) op.giveModelLibraries = true, op.modelLibraries = *modelLibraries;
    EXPECT_TRUE(file->rewriteFile(nullptr, pathstring(file->getFullPath()), pathstring(dir.engine(to).c_str()), op))
        << from;
    if (found) *found = op.found;
    return readFile(dir.host(to));
}

std::string libraryText(const std::vector<std::pair<std::string, std::string>>& entries) {
    std::string index = "@INDEX\n", bodies;
    char line[512];
    for (const auto& entry : entries) {
        snprintf(line, sizeof line, "symloc %s %08zu %08zu\n", entry.first.c_str(), bodies.size(), entry.second.size());
        index += line;
        bodies += entry.second;
    }
    return index + bodies;
}

std::vector<indexLine> indexLines(const std::string& text, const std::string& keyword) {
    std::vector<indexLine> lines;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        if (line.compare(0, keyword.size(), keyword) != 0) continue;
        std::istringstream fields(line.substr(keyword.size()));
        indexLine each;
        fields >> each.name >> each.offset >> each.size;
        lines.push_back(each);
    }
    return lines;
}

std::vector<long> lineStarts(const std::string& text, const std::vector<std::string>& prefixes) {
    std::vector<long> starts;
    for (size_t at = 0; at < text.size();) {
        for (const std::string& prefix : prefixes)
            if (text.compare(at, prefix.size(), prefix) == 0) starts.push_back(static_cast<long>(at));
        const size_t lf = text.find('\n', at);
        if (lf == std::string::npos) break;
        at = lf + 1;
    }
    return starts;
}

void expectTrueIndex(const std::string& text, const std::string& keyword, const std::vector<std::string>& blocks,
                     int count) {
    const std::vector<indexLine> index = indexLines(text, keyword);
    const std::vector<long> starts = lineStarts(text, blocks);
    ASSERT_EQ(index.size(), count < 0 ? index.size() : static_cast<size_t>(count)) << text;
    ASSERT_EQ(starts.size(), index.size()) << text;
    for (size_t k = 0; k < index.size(); ++k) {
        const long end = k + 1 < starts.size() ? starts[k + 1] : static_cast<long>(text.size());
        EXPECT_EQ(starts[0] + index[k].offset - index[0].offset, starts[k]) << "offset of " << index[k].name;
        EXPECT_EQ(index[k].size, end - starts[k]) << "size of " << index[k].name;
    }
}
