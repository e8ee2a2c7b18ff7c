// Download tracking on real files: inotify, the monitor's queue, the processor's worker and a
// real SQLite store. Prints files handled per second in a 10,000-file burst, and the delay
// from a download's final rename to its new-file callback at a steady 50 files per second.
// Each runs with the database on disk and on /dev/shm (memory), which separates the store's
// per-insert fsync from the tracking itself.
#include "core/DownloadTracker.h"
#include "core/TrackedFileStore.h"
#include "platform/fake/MemoryPreferences.h"
#include "platform/fake/RecordingTrash.h"
#include "platform/linux/SystemClock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <fcntl.h>
#include <mutex>
#include <thread>
#include <unistd.h>

using namespace dowsel;
using Steady = std::chrono::steady_clock;

namespace {

void writeFile(const QByteArray &path)
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd >= 0) {
        [[maybe_unused]] auto written = ::write(fd, "payload", 7);
        ::close(fd);
    }
}

// One tracking set-up in fresh temporary folders; counts callbacks and stamps each.
class Rig {
public:
    explicit Rig(bool databaseInMemory)
        : m_databaseDir(databaseInMemory ? QStringLiteral("/dev/shm/dowsel-bench-XXXXXX") : QString())
    {
        m_downloads = QFile::encodeName(QDir(m_downloadsDir.path()).absolutePath());
        QString error;
        auto store = TrackedFileStore::open(m_databaseDir.path() + QStringLiteral("/Sivra.sqlite"), m_clock, m_prefs,
                                            m_trash, &error);
        if (!store)
            qFatal("cannot open the store: %s", qPrintable(error));
        m_actor = std::make_unique<TrackedFileActor>(m_storeWorker, std::move(store));
        m_tracker = std::make_unique<DownloadTracker>(m_downloads, *m_actor, m_clock, m_scheduler, [this](RecordId) {
            std::lock_guard lock(m_mutex);
            m_announcedAt.push_back(Steady::now());
            m_changed.notify_all();
        });
        m_tracker->start();
        while (!m_tracker->isWatching())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    QByteArray path(const QByteArray &name) const { return m_downloads + '/' + name; }
    // A folder outside Downloads on the same file system, where a file can be finished and
    // then moved in with one rename.
    QByteArray stagingPath(const QByteArray &name) const { return QFile::encodeName(m_stagingDir.path()) + '/' + name; }

    bool waitForAnnouncements(std::size_t count)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(300), [&] { return m_announcedAt.size() >= count; });
    }
    std::vector<Steady::time_point> announcedAt()
    {
        std::lock_guard lock(m_mutex);
        return m_announcedAt;
    }

private:
    QTemporaryDir m_downloadsDir;
    QTemporaryDir m_stagingDir;
    QTemporaryDir m_databaseDir;
    QByteArray m_downloads;
    SystemClock m_clock;
    BootTimeScheduler m_scheduler;
    MemoryPreferences m_prefs;
    RecordingTrash m_trash;
    WorkerThread m_storeWorker{"bench-store"};
    std::unique_ptr<TrackedFileActor> m_actor;
    std::unique_ptr<DownloadTracker> m_tracker;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Steady::time_point> m_announcedAt;
};

void burst(benchmark::State &state)
{
    constexpr int files = 10'000;
    const bool inMemory = state.range(0) != 0;
    for (auto _ : state) {
        Rig rig(inMemory);
        const auto started = Steady::now();
        for (int i = 0; i < files; ++i)
            writeFile(rig.path("burst-" + QByteArray::number(i) + ".bin"));
        const auto written = Steady::now();
        if (!rig.waitForAnnouncements(files)) {
            state.SkipWithError("not every file was announced");
            return;
        }
        const double seconds = std::chrono::duration<double>(rig.announcedAt().back() - started).count();
        state.SetIterationTime(seconds);
        state.counters["files_per_s"] = files / seconds;
        state.counters["writing_s"] = std::chrono::duration<double>(written - started).count();
    }
}

// range(1) is the gap between downloads in milliseconds. range(2) says where the file is
// written: 0 as a partial download beside its final name in Downloads (x.pdf.crdownload),
// 1 outside Downloads, moved in when complete, 2 in place under its final name as curl and
// wget write (its writer's close is the moment measured; the file is offered after the
// quiet period that follows). The final rename is the moment measured for the other two.
// While events keep coming within the monitor's 0.3 s batching latency, the rename waits
// for its batch: always at 50 files per second, and with a partial file also after a quiet
// spell, since the partial file's own events open a batch. A file moved in after a quiet
// spell goes out at once, which shows the tracking's own delay.
void steadyLatency(benchmark::State &state)
{
    const bool inMemory = state.range(0) != 0;
    const auto interval = std::chrono::milliseconds(state.range(1));
    const bool movedIn = state.range(2) == 1;
    const bool inPlace = state.range(2) == 2;
    const int files = std::max(40, int(10'000 / state.range(1)));
    for (auto _ : state) {
        Rig rig(inMemory);
        std::vector<Steady::time_point> renamedAt;
        auto next = Steady::now();
        for (int i = 0; i < files; ++i) {
            std::this_thread::sleep_until(next);
            next += interval;
            const QByteArray name = "steady-" + QByteArray::number(i) + ".pdf";
            if (inPlace) {
                writeFile(rig.path(name));
                renamedAt.push_back(Steady::now());
                continue;
            }
            const QByteArray partial = movedIn ? rig.stagingPath(name) : rig.path(name + ".crdownload");
            writeFile(partial);
            renamedAt.push_back(Steady::now());
            ::rename(partial.constData(), rig.path(name).constData());
        }
        if (!rig.waitForAnnouncements(size_t(files))) {
            state.SkipWithError("not every file was announced");
            return;
        }
        // Events are handled in order and each file is announced once, so the n-th callback
        // belongs to the n-th file.
        const auto announcedAt = rig.announcedAt();
        std::vector<double> latencies;
        for (int i = 0; i < files; ++i)
            latencies.push_back(
                std::chrono::duration<double, std::milli>(announcedAt[size_t(i)] - renamedAt[size_t(i)]).count());
        std::sort(latencies.begin(), latencies.end());
        state.SetIterationTime(std::chrono::duration<double>(announcedAt.back() - renamedAt.front()).count());
        state.counters["files"] = files;
        state.counters["median_ms"] = latencies[latencies.size() / 2];
        state.counters["p99_ms"] = latencies[latencies.size() * 99 / 100];
        state.counters["max_ms"] = latencies.back();
    }
}

} // namespace

BENCHMARK(burst)
    ->ArgName("db_in_memory")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(steadyLatency)
    ->ArgNames({"db_in_memory", "gap_ms", "moved_in"})
    ->Args({0, 20, 0})
    ->Args({1, 20, 0})
    ->Args({0, 350, 0})
    ->Args({0, 350, 1})
    ->Args({0, 350, 2})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
