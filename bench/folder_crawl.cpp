// Crawl speed of the folder index over a synthetic home folder of about 200,000 folders, of
// which a quarter sit in node_modules, .git and other trees the crawler must prune.
//
//   folder_crawl [--tree=DIR] [--generate-only | --list] [benchmark flags]
//
// --tree reuses (or creates) the tree at DIR instead of a temporary one; --generate-only
// stops after creating it; --list crawls once and prints the kept folders, one a line, for
// comparison with fd and find (bench/crawl_vs_fd.sh).

#include "move/FolderCrawler.h"

#include <QByteArray>
#include <QTemporaryDir>

#include "bench/BenchArgs.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

using namespace dowsel;

namespace {

void makeFolder(const std::string &path)
{
    std::filesystem::create_directory(path);
}

void touch(const std::string &path)
{
    std::ofstream(path) << "x";
}

// 20 x 50 x 150 kept folders; in each of the 1,000 middle folders a node_modules tree of 41
// folders and a .git tree of 10; some hidden and Library trees at the top.
void generateTree(const std::string &home)
{
    std::filesystem::create_directories(home);
    for (const char *hidden : {"/.cache", "/.config", "/Library"}) {
        makeFolder(home + hidden);
        for (int i = 0; i < 100; ++i)
            makeFolder(home + hidden + "/sub" + std::to_string(i));
    }
    for (int top = 0; top < 20; ++top) {
        const std::string topPath = home + "/Area " + std::to_string(top);
        makeFolder(topPath);
        for (int middle = 0; middle < 50; ++middle) {
            const std::string middlePath = topPath + "/project-" + std::to_string(middle);
            makeFolder(middlePath);
            touch(middlePath + "/README.md");
            for (int leaf = 0; leaf < 150; ++leaf)
                makeFolder(middlePath + "/folder" + std::to_string(leaf));
            makeFolder(middlePath + "/node_modules");
            for (int package = 0; package < 20; ++package) {
                const std::string packagePath = middlePath + "/node_modules/pkg" + std::to_string(package);
                makeFolder(packagePath);
                makeFolder(packagePath + "/lib");
                touch(packagePath + "/package.json");
            }
            makeFolder(middlePath + "/.git");
            makeFolder(middlePath + "/.git/objects");
            for (int object = 0; object < 8; ++object)
                makeFolder(middlePath + "/.git/objects/0" + std::to_string(object));
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    std::string tree;
    bench::takeFlag(argc, argv, "--tree", &tree);
    const bool generateOnly = bench::takeFlag(argc, argv, "--generate-only");
    const bool list = bench::takeFlag(argc, argv, "--list");

    QTemporaryDir temporary;
    if (tree.empty())
        tree = temporary.path().toStdString() + "/home";
    if (!std::filesystem::exists(tree)) {
        std::fprintf(stderr, "generating %s\n", tree.c_str());
        generateTree(tree);
    }
    if (generateOnly)
        return 0;

    const QByteArray home = QByteArray::fromStdString(tree);
    if (list) {
        for (const FolderEntry &folder : crawlFolders(home)) {
            std::fwrite(folder.path.constData(), 1, std::size_t(folder.path.size()), stdout);
            std::fputc('\n', stdout);
        }
        return 0;
    }

    benchmark::RegisterBenchmark("crawl/home_200k", [home](benchmark::State &state) {
        std::size_t folders = 0;
        for (auto _ : state)
            folders = crawlFolders(home).size();
        state.counters["kept_folders"] = double(folders);
    })->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
