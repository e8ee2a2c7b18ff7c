// What keeping the folder index current costs, over a synthetic home of about
// 100,000 kept folders watched with inotify:
//   - the first (full) crawl and its watches, which is what every change used
//   to cost;
//   - one update after one folder is created or removed (CPU of the whole
//   process, from the
//     end of the half-second batch to the new snapshot);
//   - the CPU of the index over 30 s of churn: a folder created and removed
//   every 0.2 s,
//     on the real clock and timers, as a build tool or a sync client would
//     cause.
//
//   folder_index_update [--tree=DIR] [--churn-seconds=N] [--updates=N]

#include "core/WorkerThread.h"
#include "move/FolderIndex.h"
#include "platform/fake/VirtualClock.h"
#include "platform/linux/InotifyFolderWatcher.h"
#include "platform/linux/SystemClock.h"

#include "bench/BenchArgs.h"

#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace dowsel;

namespace {

double cpuSeconds(int who)
{
    rusage usage{};
    ::getrusage(who, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
        + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// 20 x 50 x 100 kept folders, each project with a pruned node_modules and .git.
void generateTree(const std::string &home)
{
    namespace fs = std::filesystem;
    fs::create_directories(home);
    for (int top = 0; top < 20; ++top) {
        const std::string topPath = home + "/Area " + std::to_string(top);
        ::mkdir(topPath.c_str(), 0755);
        for (int middle = 0; middle < 50; ++middle) {
            const std::string middlePath = topPath + "/project-" + std::to_string(middle);
            ::mkdir(middlePath.c_str(), 0755);
            for (int leaf = 0; leaf < 100; ++leaf)
                ::mkdir((middlePath + "/folder" + std::to_string(leaf)).c_str(), 0755);
            fs::create_directories(middlePath + "/node_modules/pkg/lib");
            fs::create_directories(middlePath + "/.git/objects");
        }
    }
}

template <class Done>
bool waitFor(Done done)
{
    for (int i = 0; i < 2000; ++i) {
        if (done())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

void measureUpdates(const QByteArray &home, int updates)
{
    VirtualClock clock;
    WorkerThread worker{ "IndexBench", true };
    FolderIndex index(home, std::make_unique<InotifyFolderWatcher>(), clock, clock, worker);

    const double crawlStart = cpuSeconds(RUSAGE_SELF);
    const auto wallStart = std::chrono::steady_clock::now();
    index.start();
    worker.drain();
    const double crawlCpu = cpuSeconds(RUSAGE_SELF) - crawlStart;
    const double crawlWall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count();
    std::printf("full crawl + watches: %lld folders, %.0f ms CPU, %.0f ms wall "
                "(what each change cost before)\n",
        static_cast<long long>(index.paths().size()), crawlCpu * 1e3, crawlWall * 1e3);

    std::vector<double> costs;
    const std::string folder = home.toStdString() + "/Area 7/project-3/folder42/new";
    for (int i = 0; i < updates; ++i) {
        const bool create = i % 2 == 0;
        if (create)
            ::mkdir(folder.c_str(), 0755);
        else
            ::rmdir(folder.c_str());
        // The news reach the worker, which opens a half-second batch on the virtual
        // clock.
        if (!waitFor([&] {
                worker.drain();
                return clock.pendingCount() > 0;
            })) {
            std::fprintf(stderr, "no news from the kernel\n");
            return;
        }
        const double before = cpuSeconds(RUSAGE_SELF);
        clock.advance(FolderIndex::batchingInterval);
        worker.drain();
        costs.push_back(cpuSeconds(RUSAGE_SELF) - before);
        if (index.paths().contains(QByteArray::fromStdString(folder)) != create) {
            std::fprintf(stderr, "the update was not applied\n");
            return;
        }
    }
    std::sort(costs.begin(), costs.end());
    double sum = 0;
    for (const double cost : costs)
        sum += cost;
    std::printf("update after one change: %zu updates, mean %.3f ms CPU, median "
                "%.3f ms, max %.3f ms\n",
        costs.size(), sum / double(costs.size()) * 1e3, costs[costs.size() / 2] * 1e3, costs.back() * 1e3);
}

void measureChurn(const QByteArray &home, double seconds)
{
    SystemClock clock;
    BootTimeScheduler scheduler;
    WorkerThread worker{ "IndexBench", true };
    auto index
        = std::make_unique<FolderIndex>(home, std::make_unique<InotifyFolderWatcher>(), clock, scheduler, worker);
    index->start();
    worker.drain();

    const std::string folder = home.toStdString() + "/Area 3/project-9/churn";
    double churnCpu = 0;
    const double before = cpuSeconds(RUSAGE_SELF);
    const auto start = std::chrono::steady_clock::now();
    std::thread churn([&] {
        const double own = cpuSeconds(RUSAGE_THREAD);
        for (int i = 0; std::chrono::steady_clock::now() - start < std::chrono::duration<double>(seconds); ++i) {
            if (i % 2 == 0)
                ::mkdir(folder.c_str(), 0755);
            else
                ::rmdir(folder.c_str());
            std::this_thread::sleep_until(start + std::chrono::milliseconds(200 * (i + 1)));
        }
        churnCpu = cpuSeconds(RUSAGE_THREAD) - own;
    });
    churn.join();
    std::this_thread::sleep_for(std::chrono::seconds(1)); // the last batch
    const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const double indexCpu = cpuSeconds(RUSAGE_SELF) - before - churnCpu;
    std::printf("churn for %.0f s (one folder created or removed every 0.2 s): "
                "index %.3f s CPU, %.2f %% of a core\n",
        seconds, indexCpu, indexCpu / wall * 100);
    scheduler.shutdown();
    index.reset();
    ::rmdir(folder.c_str());
}

} // namespace

int main(int argc, char **argv)
{
    std::string tree;
    std::string churnSeconds = "30";
    std::string updates = "40";
    bench::takeFlag(argc, argv, "--tree", &tree);
    bench::takeFlag(argc, argv, "--churn-seconds", &churnSeconds);
    bench::takeFlag(argc, argv, "--updates", &updates);

    QTemporaryDir temporary;
    if (tree.empty())
        tree = temporary.path().toStdString() + "/home";
    if (!std::filesystem::exists(tree)) {
        std::fprintf(stderr, "generating %s\n", tree.c_str());
        generateTree(tree);
    }
    const QByteArray home = QByteArray::fromStdString(tree);
    measureUpdates(home, std::stoi(updates));
    measureChurn(home, std::stod(churnSeconds));
    return 0;
}
