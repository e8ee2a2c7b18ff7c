// Figures for the toast: rebuilding the view items on every refresh, and moving a large
// download across file systems (tmpfs to disk) with the flushed, all-or-nothing copy.
#include "toast/FileMover.h"
#include "toast/ToastEntry.h"

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

using namespace dowsel;

namespace {

void BM_MakeToastFileItems(benchmark::State &state)
{
    std::vector<ToastEntry> entries;
    for (int i = 0; i < state.range(0); ++i)
        entries.push_back({i, "download " + QByteArray::number(i) + ".pdf", "/home/me/Downloads/file.pdf", 1'234'567});
    for (auto _ : state)
        benchmark::DoNotOptimize(makeToastFileItems(entries));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_MakeToastFileItems)->Arg(1)->Arg(10)->Arg(100);

bool writeBytes(const QByteArray &path, std::int64_t size)
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    const QByteArray chunk(1 << 20, 'x');
    bool ok = true;
    for (std::int64_t written = 0; ok && written < size; written += chunk.size())
        ok = ::write(fd, chunk.constData(), size_t(chunk.size())) == chunk.size();
    ::close(fd);
    return ok;
}

void BM_MoveAcrossDevices(benchmark::State &state)
{
    QTemporaryDir source(QStringLiteral("/dev/shm/dowsel-bench-XXXXXX"));
    QTemporaryDir destination;
    if (!source.isValid() || !destination.isValid()) {
        state.SkipWithError("needs /dev/shm");
        return;
    }
    const std::int64_t size = state.range(0) << 20;
    const QByteArray from = QFile::encodeName(source.path()) + "/big.bin";
    const QByteArray folder = QFile::encodeName(destination.path());
    std::int64_t reports = 0;
    for (auto _ : state) {
        state.PauseTiming();
        if (!writeBytes(from, size)) {
            state.SkipWithError("cannot write the source");
            return;
        }
        state.ResumeTiming();
        const MoveResult result = moveAcrossDevices(from, folder, [&](const QByteArray &, std::int64_t, std::int64_t) {
            ++reports;
            return true;
        });
        state.PauseTiming();
        if (!result.moved()) {
            state.SkipWithError(result.error.toStdString().c_str());
            return;
        }
        ::unlink(result.target.constData());
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * size);
    state.counters["progressReports"] = benchmark::Counter(double(reports), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_MoveAcrossDevices)->Arg(64)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

BENCHMARK_MAIN();
