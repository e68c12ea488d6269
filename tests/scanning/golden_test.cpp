// Golden files of every format: for each, a design tree under
// tests/data/scanning/<format>/input, the expected scan result (scan.txt:
// the references in the order met, the dependency lists, the libraries and
// models recorded, the client's reports and the closure), and the expected
// output of a rewrite through an operation that maps paths as a copy does
// (rewrite.txt). "@ROOT@" stands for the test directory on both sides.
//
// KV_UPDATE_GOLDEN=1 writes the expected files from what the engine does,
// for review of the difference before it is committed.
#include <cstdio>
#include <cstdlib>

#include "scanning/scantest.h"

struct goldenCase {
    const char* format; // directory below tests/data/scanning
    const char* file;   // the design file, below design/
};

static const goldenCase goldenCases[] = {
    {"circuit", "top.cir"}, {"library", "top.lib"},     {"netlist", "top.nlf"},
    {"board", "top.pca"},   {"synthesis", "top.dsl"}, {"router", "top.do"},
    {"symbollibrary", "top.slb"},
    {"schematic", "top.sch"},
};

// Everything written to a temporary stream since it was opened.
static std::string contentOf(FILE* stream) {
    std::string text;
    rewind(stream);
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, stream)) > 0) text.append(buffer, n);
    return text;
}

static void compareOrUpdate(const std::string& expectedFile, const std::string& actual, const std::string& what) {
    const std::string path = testData(expectedFile);
    if (getenv("KV_UPDATE_GOLDEN")) {
        writeFile(path, actual);
        return;
    }
    ASSERT_TRUE(fileExists(path)) << "no golden file " << path;
    EXPECT_EQ(readFile(path), actual) << what << " differs from " << path;
}

class Golden : public ::testing::TestWithParam<goldenCase> {};

TEST_P(Golden, ScanAndRewriteMatchTheGoldenFiles) {
    const goldenCase& c = GetParam();
    TempDir dir;
    const std::string root = dir.engine();
    copyTree(testData(std::string("scanning/") + c.format + "/input"), dir.host(), root);
    LibraryPathScope libraries(dir);
    KVE_Status status;
    std::unique_ptr<workspace> ws(OpenWorkspace(status, dir.engine("design").c_str()));
    ASSERT_TRUE(ws);
    DesignFileItem* item = dynamic_cast<DesignFileItem*>(ws->findItem(dir.engine(std::string("design/") + c.file).c_str()));
    ASSERT_TRUE(item) << c.file;

    // The scan, with the trace of the references caught.
    FILE* trace = tmpfile();
    SetTraceOutput(trace);
    RecordingClient client;
    item->getFileDependencies(&client);
    fileItemList* closure = item->getDependencyClosure(&client, 0);
    SetTraceOutput(nullptr);
    std::string scan = replaceAll(contentOf(trace), root, "@ROOT@");
    fclose(trace);
    scan += describeScan(*item, root);
    for (size_t i = 0; i < client.seen.size(); ++i)
        scan += "report " + std::string(KVE_callBackAction(client.seen[i].action).getFileString()) + " " +
                replaceAll(client.seen[i].detail, root, "@ROOT@") + "\n";
    for (fileItem* each : *closure) scan += "closure " + replaceAll(each->getFullPath(), root, "@ROOT@") + "\n";
    delete closure;
    compareOrUpdate(std::string("scanning/") + c.format + "/scan.txt", scan, "scan result");

    // The rewrite into another directory.
    SetTraceOutput(nullptr);
    const std::string target = dir.engine("target");
    pathstring(target.c_str()).createDirectory();
    copyLikeOperation op(dir.engine("design"), target, dir.engine("design"));
    const pathstring source(item->getFullPath());
    const pathstring targetFile(dir.engine(std::string("target/") + c.file).c_str());
    EXPECT_TRUE(item->rewriteFile(nullptr, source, targetFile, op));
    SetTraceOutput(nullptr);
    const std::string rewritten = replaceAll(readFile(dir.host(std::string("target/") + c.file)), root, "@ROOT@");
    compareOrUpdate(std::string("scanning/") + c.format + "/rewrite.txt", rewritten, "rewritten file");
}

INSTANTIATE_TEST_SUITE_P(Formats, Golden, ::testing::ValuesIn(goldenCases),
                         [](const ::testing::TestParamInfo<goldenCase>& info) { return std::string(info.param.format); });
