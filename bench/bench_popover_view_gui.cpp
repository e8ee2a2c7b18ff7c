// The main thread's share of showing 10,000 files in the popover: handing a fresh read to the
// list model, laying the whole list out in one pass and painting one screenful, and a countdown tick over
// 5,000 temporary rows. Runs on the offscreen platform.
#include "platform/fake/MemoryPreferences.h"
#include "ui/PopoverItemDelegate.h"
#include "ui/PopoverListModel.h"

#include <QApplication>
#include <QListView>
#include <QPixmap>

#include <benchmark/benchmark.h>

using namespace dowsel;

namespace {

constexpr int fileCount = 10'000;
constexpr Date now = 1'800'000'000.0;

PopoverLists tenThousandFiles()
{
    PopoverLists lists;
    for (int i = 0; i < fileCount; ++i) {
        TrackedFile file;
        file.id = i + 1;
        file.fileName = "download " + QByteArray::number(i) + (i % 3 ? ".pdf" : ".zip");
        file.filePath = "/home/u/Downloads/" + file.fileName;
        file.fileSize = 1000 + i;
        if (i % 2 == 0) {
            file.state = FileState::temporary;
            file.markedTemporaryAt = now;
            file.expiresAt = now + 60.0 * i;
            lists.temporaryFiles.push_back(file);
        } else {
            file.state = FileState::dismissed;
            lists.ignoredFiles.push_back(file);
        }
    }
    lists.recordCount = fileCount;
    return lists;
}

struct View {
    MemoryPreferences prefs;
    PopoverListModel model;
    PopoverItemDelegate delegate{prefs};
    QListView list;

    View()
    {
        list.setModel(&model);
        list.setItemDelegate(&delegate);
        list.resize(360, 396);
        list.show();
    }
};

void BM_ApplyLayoutAndPaint10kFiles(benchmark::State &state)
{
    View view;
    const PopoverLists lists = tenThousandFiles();
    for (auto _ : state) {
        view.model.setLists(lists, now);
        view.model.setIgnoredExpanded(true);
        view.list.doItemsLayout();
        const QPixmap frame = view.list.viewport()->grab();
        benchmark::DoNotOptimize(frame.cacheKey());
        view.model.setIgnoredExpanded(false);
    }
}
BENCHMARK(BM_ApplyLayoutAndPaint10kFiles)->Unit(benchmark::kMillisecond);

void BM_CountdownTickOver5kRows(benchmark::State &state)
{
    View view;
    view.model.setLists(tenThousandFiles(), now);
    Date tick = now;
    for (auto _ : state) {
        tick += 10;
        view.model.setNow(tick);
        const QPixmap frame = view.list.viewport()->grab();
        benchmark::DoNotOptimize(frame.cacheKey());
    }
}
BENCHMARK(BM_CountdownTickOver5kRows)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
