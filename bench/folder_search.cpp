// Search speed of the move input: a three-word query over 100,000 and 1,000,000 synthetic
// folder paths, and the cost of preparing a snapshot (done once per index rebuild).
//
//   folder_search [--write=FILE --count=N] [benchmark flags]
//
// --write saves the N paths, one a line, for comparison with fzf (bench/search_vs_fzf.sh).

#include "move/FolderMatch.h"

#include "bench/BenchArgs.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

using namespace dowsel;

namespace {

const QByteArray home = "/home/user";
const QString query = QStringLiteral("doc proj inv");

// Paths two to seven levels below home, from a vocabulary of folder names people use, with
// numbers so that most are distinct; the same list for every run.
QList<QByteArray> syntheticPaths(qsizetype count)
{
    static const char *const words[] = {
        "Documents", "Projects",   "Invoices", "Photos",   "Music",     "Videos",  "Work",    "Clients",   "Archive",
        "Backup",    "src",        "assets",   "Reports",  "Taxes",     "Holiday", "Scans",   "Receipts",  "Drafts",
        "Notes",     "Research",   "Papers",   "Design",   "Exports",   "Old",     "Shared",  "Family",    "Курсы",
        "Études",    "Contracts",  "Personal", "Downloads", "Templates", "Budget", "Meeting", "Screenshots", "Code",
    };
    std::mt19937 random(42);
    QList<QByteArray> paths;
    paths.reserve(count);
    for (qsizetype i = 0; i < count; ++i) {
        QByteArray path = home;
        const int depth = 2 + int(random() % 6);
        for (int level = 0; level < depth; ++level) {
            path += '/';
            path += words[random() % std::size(words)];
            if (random() % 2)
                path += ' ' + QByteArray::number(int(random() % 100));
        }
        paths.append(path);
    }
    return paths;
}

void registerSearch(const char *name, qsizetype count)
{
    benchmark::RegisterBenchmark(name, [count](benchmark::State &state) {
        const FolderPaths paths(syntheticPaths(count));
        qsizetype found = 0;
        for (auto _ : state)
            found = search(query, paths, home, 3).size();
        state.counters["results"] = double(found);
    })->Unit(benchmark::kMillisecond)->UseRealTime();
}

void registerPreparation(const char *name, qsizetype count)
{
    benchmark::RegisterBenchmark(name, [count](benchmark::State &state) {
        const QList<QByteArray> list = syntheticPaths(count);
        for (auto _ : state)
            benchmark::DoNotOptimize(FolderPaths(list).size());
    })->Unit(benchmark::kMillisecond)->UseRealTime();
}

} // namespace

int main(int argc, char **argv)
{
    std::string file;
    std::string count = "100000";
    bench::takeFlag(argc, argv, "--count", &count);
    if (bench::takeFlag(argc, argv, "--write", &file) && !file.empty()) {
        FILE *out = std::fopen(file.c_str(), "w");
        if (!out)
            return 1;
        for (const QByteArray &path : syntheticPaths(std::stoll(count))) {
            std::fwrite(path.constData(), 1, std::size_t(path.size()), out);
            std::fputc('\n', out);
        }
        return std::fclose(out) == 0 ? 0 : 1;
    }

    registerSearch("search/3_words/100k", 100'000);
    registerSearch("search/3_words/1M", 1'000'000);
    registerPreparation("prepare_snapshot/100k", 100'000);
    registerPreparation("prepare_snapshot/1M", 1'000'000);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
