#include "ui/model/PopoverLists.h"

#include "core/PosixFiles.h"

#include "app/DownloadsFolder.h"
#include "core/DownloadOrigin.h"
#include "core/TrackedFileStore.h"

#include <QDateTime>
#include <QStringList>

#include <algorithm>
#include <limits>
#include <sys/stat.h>

Q_LOGGING_CATEGORY(lcPopover, "dowsel.popover", QtInfoMsg)

namespace dowsel {

namespace {

QByteArray withoutTrailingSlashes(QByteArray path)
{
    while (path.size() > 1 && path.endsWith('/'))
        path.chop(1);
    return path;
}

QByteArray parentFolderOf(const QByteArray &path)
{
    const qsizetype slash = path.lastIndexOf('/');
    if (slash < 0)
        return {};
    return slash == 0 ? QByteArray("/") : path.left(slash);
}

QString traceEntry(const TrackedFile &file)
{
    return displayText(file.fileName) + "[" + rawValue(file.state) + " marked="
           + optionalDateDescription(file.markedTemporaryAt) + " exp=" + optionalDateDescription(file.expiresAt) + "]";
}

void tracePopoverLists(const std::vector<TrackedFile> &records)
{
    if (!lcPopover().isDebugEnabled())
        return;
    QStringList entries;
    entries.reserve(qsizetype(records.size()));
    for (const TrackedFile &file : records)
        entries.append(traceEntry(file));
    qCDebug(lcPopover).noquote() << "PopoverContentView body: count=" + QString::number(records.size()) + " files=["
                                        + entries.join(QStringLiteral(", ")) + "]";
}

} // namespace

QString dateDescription(Date date)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(date * 1000), Qt::UTC)
        .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"));
}

QString optionalDateDescription(std::optional<Date> date)
{
    return date ? dateDescription(*date) : QStringLiteral("nil");
}

std::vector<TrackedFile> sortedTemporaryFiles(const std::vector<TrackedFile> &records)
{
    std::vector<TrackedFile> temporary;
    std::copy_if(records.begin(), records.end(), std::back_inserter(temporary),
                 [](const TrackedFile &file) { return file.state == FileState::temporary; });
    const auto expiryKey = [](const TrackedFile &file) {
        return file.expiresAt.value_or(std::numeric_limits<Date>::infinity());
    };
    std::stable_sort(temporary.begin(), temporary.end(),
                     [&](const TrackedFile &a, const TrackedFile &b) { return expiryKey(a) < expiryKey(b); });
    return temporary;
}

bool isListedAsIgnored(const TrackedFile &record, const QByteArray &downloadsFolder)
{
    if (record.state != FileState::dismissed)
        return false;
    // Hidden names cover ".DS_Store" and ".localized".
    if (isHiddenName(record.fileName) || isPartialDownloadName(record.fileName))
        return false;
    if (record.filePath.isEmpty())
        return false;
    if (parentFolderOf(record.filePath) != withoutTrailingSlashes(downloadsFolder))
        return false;
    return identityAt(record.filePath) == record.identity();
}

PopoverLists makePopoverLists(std::vector<TrackedFile> records, const QByteArray &downloadsFolder)
{
    tracePopoverLists(records);
    PopoverLists lists;
    lists.recordCount = int(records.size());
    lists.temporaryFiles = sortedTemporaryFiles(records);
    for (TrackedFile &record : records) {
        if (isListedAsIgnored(record, downloadsFolder))
            lists.ignoredFiles.push_back(std::move(record));
    }
    return lists;
}

PopoverLists fetchPopoverLists(TrackedFileStore &store, const QByteArray &downloadsFolder)
{
    PopoverLists lists = makePopoverLists(store.allTrackedFiles(), downloadsFolder);
    for (const auto *list : {&lists.temporaryFiles, &lists.ignoredFiles}) {
        for (const TrackedFile &file : *list) {
            if (QString site = downloadSite(file.filePath); !site.isEmpty())
                lists.sites.emplace(file.id, std::move(site));
        }
    }
    return lists;
}

int keepAll(TrackedFileStore &store, const std::vector<RecordId> &ids)
{
    int unsaved = 0;
    for (RecordId id : ids) {
        if (!store.markDismissed(id))
            ++unsaved;
    }
    return unsaved;
}

} // namespace dowsel
