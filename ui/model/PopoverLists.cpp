#include "ui/model/PopoverLists.h"

#include "core/PosixFiles.h"

#include "app/DownloadsFolder.h"
#include "core/DownloadOrigin.h"
#include "core/TrackedFileStore.h"
#include "platform/Preferences.h"

#include <QDateTime>
#include <QStringList>

#include <algorithm>
#include <fcntl.h>
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

// When an item came: the later of its birth (where the file system keeps one) and its last
// change. A downloader may give a file the server's old date, but its birth is the download.
std::optional<Date> arrivalOf(const QByteArray &path)
{
    struct statx status {};
    if (::statx(AT_FDCWD, path.constData(), AT_SYMLINK_NOFOLLOW, STATX_MTIME | STATX_BTIME, &status) != 0)
        return std::nullopt;
    const auto seconds = [](const struct statx_timestamp &time) { return Date(time.tv_sec) + time.tv_nsec / 1e9; };
    Date since = seconds(status.stx_mtime);
    if (status.stx_mask & STATX_BTIME)
        since = std::max(since, seconds(status.stx_btime));
    return since;
}

// The bytes under a folder, looking at no more than `budget` entries in all.
std::int64_t folderBytes(const QByteArray &folder, int &budget)
{
    std::int64_t total = 0;
    const auto names = listDirectory(folder);
    if (!names)
        return 0;
    for (const QByteArray &name : *names) {
        if (--budget < 0)
            break;
        const QByteArray path = joinPath(folder, name);
        const auto status = statPath(path);
        if (!status)
            continue;
        total += status->isDirectory ? folderBytes(path, budget) : status->size;
    }
    return total;
}

} // namespace

int backlogAgeDays(const Preferences &prefs)
{
    const auto days = prefs.integer(backlogAgeKey);
    return days && *days >= 1 && *days <= 36500 ? int(*days) : defaultBacklogAgeDays;
}

std::vector<BacklogFile> backlogOf(const std::vector<TrackedFile> &ignored, Date cutoff)
{
    std::vector<BacklogFile> backlog;
    for (const TrackedFile &record : ignored) {
        const auto since = arrivalOf(record.filePath);
        if (!since || *since >= cutoff)
            continue;
        const auto status = statPath(record.filePath);
        if (!status)
            continue;
        int budget = 20000;
        const std::int64_t bytes = status->isDirectory ? folderBytes(record.filePath, budget) : status->size;
        backlog.push_back({record, bytes, *since});
    }
    std::stable_sort(backlog.begin(), backlog.end(),
                     [](const BacklogFile &a, const BacklogFile &b) { return a.since < b.since; });
    return backlog;
}

int makeTemporary(TrackedFileStore &store, const std::vector<RecordId> &ids,
                  const std::function<void(RecordId, Date)> &schedule)
{
    int unsaved = 0;
    for (RecordId id : ids) {
        const auto expiry = store.markTemporary(id);
        if (!expiry) {
            ++unsaved;
            continue;
        }
        if (schedule)
            schedule(id, *expiry);
    }
    return unsaved;
}

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

namespace {

// Where the listed files came from, read from their attributes.
void addSites(PopoverLists &lists)
{
    for (const auto *list : {&lists.temporaryFiles, &lists.ignoredFiles}) {
        for (const TrackedFile &file : *list) {
            if (QString site = downloadSite(file.filePath); !site.isEmpty())
                lists.sites.emplace(file.id, std::move(site));
        }
    }
}

} // namespace

PopoverLists fetchPopoverLists(TrackedFileStore &store, const QByteArray &downloadsFolder)
{
    PopoverLists lists = makePopoverLists(store.allTrackedFiles(), downloadsFolder);
    addSites(lists);
    return lists;
}

PopoverLists fetchPopoverLists(TrackedFileStore &store, const QByteArray &downloadsFolder, const PopoverFetch &fetch)
{
    PopoverLists lists = makePopoverLists(store.allTrackedFiles(), downloadsFolder);
    lists.trashedFiles = store.trashedFiles(fetch.now - fetch.trashWindow);
    lists.backlog = backlogOf(lists.ignoredFiles, fetch.now - fetch.backlogAge);
    for (const BacklogFile &file : lists.backlog)
        lists.backlogBytes += file.bytes;
    addSites(lists);
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
