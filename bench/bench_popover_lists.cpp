// The popover's read of the store at 10,000 records: what runs on the store's worker each
// time the popover opens or the store changes while it is open. Half the records are
// temporary (sorted by expiry), half dismissed files still in Downloads (each one lstat'ed).
// Prints the time of the pure list building and of the whole read through a real SQLite store.
#include "core/PosixFiles.h"
#include "core/TrackedFileStore.h"
#include "platform/fake/MemoryPreferences.h"
#include "platform/fake/RecordingTrash.h"
#include "platform/fake/VirtualClock.h"
#include "ui/model/PopoverLists.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

using namespace dowsel;

namespace {

constexpr int recordCount = 10'000;

// Real empty files in a temporary Downloads folder, with their records.
struct Downloads {
    QTemporaryDir dir;
    QByteArray folder;
    VirtualClock clock;
    MemoryPreferences prefs;
    RecordingTrash trash;
    std::unique_ptr<TrackedFileStore> store;

    Downloads()
    {
        folder = QFile::encodeName(dir.path()) + "/Downloads";
        ::mkdir(folder.constData(), 0755);
        QString error;
        store = TrackedFileStore::open(dir.path() + QStringLiteral("/Sivra.sqlite"), clock, prefs, trash, &error);
        std::vector<DownloadFileSnapshot> existing;
        std::mt19937 random(7);
        std::uniform_real_distribution<Seconds> duration(60, 7 * 86400);
        for (int i = 0; i < recordCount; ++i) {
            const QByteArray name = "download " + QByteArray::number(i) + ".pdf";
            const QByteArray path = folder + '/' + name;
            const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
            ::close(fd);
            const FileIdentity identity = identityAt(path).value_or(FileIdentity{});
            if (i % 2 == 0)
                store->markTemporary(store->insertNew(identity, path, name, 0), duration(random));
            else
                existing.push_back({identity, path, name, 0});
        }
        store->dismissExisting(existing);
    }
};

Downloads &downloads()
{
    static Downloads instance;
    return instance;
}

void BM_MakeListsFrom10kRecords(benchmark::State &state)
{
    const std::vector<TrackedFile> records = downloads().store->allTrackedFiles();
    std::size_t listed = 0;
    for (auto _ : state) {
        const PopoverLists lists = makePopoverLists(records, downloads().folder);
        listed = lists.temporaryFiles.size() + lists.ignoredFiles.size();
        benchmark::DoNotOptimize(listed);
    }
    state.counters["listed"] = double(listed);
}
BENCHMARK(BM_MakeListsFrom10kRecords)->Unit(benchmark::kMillisecond);

void BM_FetchListsFromStoreWith10kRecords(benchmark::State &state)
{
    for (auto _ : state) {
        const PopoverLists lists = fetchPopoverLists(*downloads().store, downloads().folder);
        benchmark::DoNotOptimize(lists.recordCount);
    }
}
BENCHMARK(BM_FetchListsFromStoreWith10kRecords)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
