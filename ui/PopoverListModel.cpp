#include "ui/PopoverListModel.h"

#include "core/ByteCount.h"

#include <algorithm>

namespace dowsel {

PopoverListModel::PopoverListModel(QObject *parent) : QAbstractListModel(parent) {}

void PopoverListModel::setLists(PopoverLists lists, Date now)
{
    beginResetModel();
    m_lists = std::move(lists);
    m_now = now;
    updateCountdowns();
    rebuildRows();
    endResetModel();
}

void PopoverListModel::setNow(Date now)
{
    m_now = now;
    updateCountdowns();
    if (m_lists.temporaryFiles.empty())
        return;
    // The temporary rows follow their header at the top.
    const int last = int(m_lists.temporaryFiles.size());
    Q_EMIT dataChanged(index(1), index(last), {CountdownTextRole, CountdownToneRole});
}

void PopoverListModel::setIgnoredExpanded(bool expanded)
{
    if (expanded == m_ignoredExpanded)
        return;
    const int ignoredRows = ignoredCount();
    const auto header = std::find_if(m_rows.begin(), m_rows.end(),
                                     [](const Row &row) { return row.kind == RowKind::ignoredHeader; });
    int firstFileRow = int(header - m_rows.begin()) + 1;
    if (firstFileRow < int(m_rows.size()) && m_rows[std::size_t(firstFileRow)].kind == RowKind::backlog)
        ++firstFileRow;
    const bool changesRows = ignoredRows > 0 && header != m_rows.end();
    const int headerRow = int(header - m_rows.begin());
    if (changesRows) {
        if (expanded)
            beginInsertRows(QModelIndex(), firstFileRow, firstFileRow + ignoredRows - 1);
        else
            beginRemoveRows(QModelIndex(), firstFileRow, firstFileRow + ignoredRows - 1);
    }
    m_ignoredExpanded = expanded;
    rebuildRows();
    if (changesRows) {
        if (expanded)
            endInsertRows();
        else
            endRemoveRows();
        const QModelIndex headerIndex = index(headerRow);
        Q_EMIT dataChanged(headerIndex, headerIndex, {ExpandedRole});
    }
}

void PopoverListModel::rebuildRows()
{
    m_rows.clear();
    m_rows.reserve(m_lists.temporaryFiles.size() + m_lists.ignoredFiles.size() + m_lists.trashedFiles.size() + 4);
    if (!m_lists.temporaryFiles.empty()) {
        m_rows.push_back({RowKind::temporaryHeader, -1});
        for (int i = 0; i < int(m_lists.temporaryFiles.size()); ++i)
            m_rows.push_back({RowKind::temporaryFile, i});
    }
    if (!m_lists.trashedFiles.empty()) {
        m_rows.push_back({RowKind::trashedHeader, -1});
        for (int i = 0; i < int(m_lists.trashedFiles.size()); ++i)
            m_rows.push_back({RowKind::trashedFile, i});
    }
    if (!m_lists.ignoredFiles.empty()) {
        m_rows.push_back({RowKind::ignoredHeader, -1});
        if (!m_lists.backlog.empty())
            m_rows.push_back({RowKind::backlog, -1});
        if (m_ignoredExpanded) {
            for (int i = 0; i < int(m_lists.ignoredFiles.size()); ++i)
                m_rows.push_back({RowKind::ignoredFile, i});
        }
    }
}

void PopoverListModel::updateCountdowns()
{
    m_countdowns.clear();
    m_countdowns.reserve(m_lists.temporaryFiles.size());
    for (const TrackedFile &file : m_lists.temporaryFiles)
        m_countdowns.push_back(countdownContent(file.markedTemporaryAt, file.expiresAt, m_now));
}

PopoverListModel::RowKind PopoverListModel::kindAt(int row) const
{
    return m_rows.at(std::size_t(row)).kind;
}

const TrackedFile *PopoverListModel::fileAt(int row) const
{
    if (row < 0 || row >= int(m_rows.size()))
        return nullptr;
    const Row &entry = m_rows[std::size_t(row)];
    switch (entry.kind) {
    case RowKind::temporaryFile:
        return &m_lists.temporaryFiles[std::size_t(entry.fileIndex)];
    case RowKind::ignoredFile:
        return &m_lists.ignoredFiles[std::size_t(entry.fileIndex)];
    case RowKind::temporaryHeader:
    case RowKind::ignoredHeader:
    case RowKind::trashedHeader:
    case RowKind::trashedFile:
    case RowKind::backlog:
        break;
    }
    return nullptr;
}

const TrackedFileStore::TrashedFile *PopoverListModel::trashedAt(int row) const
{
    if (row < 0 || row >= int(m_rows.size()) || m_rows[std::size_t(row)].kind != RowKind::trashedFile)
        return nullptr;
    return &m_lists.trashedFiles[std::size_t(m_rows[std::size_t(row)].fileIndex)];
}

std::vector<RecordId> PopoverListModel::temporaryIds() const
{
    std::vector<RecordId> ids;
    ids.reserve(m_lists.temporaryFiles.size());
    for (const TrackedFile &file : m_lists.temporaryFiles)
        ids.push_back(file.id);
    return ids;
}

int PopoverListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant PopoverListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= int(m_rows.size()))
        return {};
    const Row &row = m_rows[std::size_t(index.row())];
    if (role == KindRole)
        return int(row.kind);

    switch (row.kind) {
    case RowKind::temporaryHeader:
        if (role == Qt::DisplayRole)
            return tr("Temporary — auto-delete");
        return {};
    case RowKind::ignoredHeader:
        if (role == Qt::DisplayRole)
            return tr("Ignored / already there");
        if (role == IgnoredCountRole)
            return ignoredCount();
        if (role == ExpandedRole)
            return m_ignoredExpanded;
        return {};
    case RowKind::trashedHeader:
        if (role == Qt::DisplayRole)
            return tr("Recently moved to the Trash");
        return {};
    case RowKind::backlog:
        if (role == BacklogTextRole) {
            return tr("%n file(s) older than %1 days", nullptr, int(m_lists.backlog.size())).arg(m_backlogAgeDays)
                + QStringLiteral(" · ") + formatByteCount(m_lists.backlogBytes);
        }
        return {};
    case RowKind::trashedFile: {
        const auto &trashed = m_lists.trashedFiles[std::size_t(row.fileIndex)];
        switch (role) {
        case Qt::DisplayRole:
            return displayText(fileNameOf(trashed.originalPath));
        case SizeLabelRole:
            return formatByteCount(trashed.fileSize);
        case FilePathRole:
            return trashed.entry.itemPath();
        default:
            return {};
        }
    }
    case RowKind::temporaryFile:
    case RowKind::ignoredFile:
        break;
    }

    const TrackedFile &file = *fileAt(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return displayText(file.fileName);
    case RecordIdRole:
        return qint64(file.id);
    case SizeLabelRole:
        return file.sizeLabel();
    case FolderLikeRole:
        return file.isFolderLike();
    case FilePathRole:
        return file.filePath;
    case SiteRole: {
        const auto site = m_lists.sites.find(file.id);
        return site == m_lists.sites.end() ? QString() : site->second;
    }
    default:
        break;
    }
    if (row.kind == RowKind::temporaryFile && role == InUseRole)
        return std::find(m_lists.inUse.begin(), m_lists.inUse.end(), file.id) != m_lists.inUse.end();
    // Past its expiry, but a program holds it: the pill says why it is still here.
    if (row.kind == RowKind::temporaryFile && role == CountdownTextRole && data(index, InUseRole).toBool())
        return tr("in use");
    if (row.kind == RowKind::temporaryFile) {
        const auto &countdown = m_countdowns[std::size_t(row.fileIndex)];
        if (countdown && role == CountdownTextRole)
            return countdown->text;
        if (countdown && role == CountdownToneRole)
            return int(countdown->tone);
    }
    return {};
}

} // namespace dowsel
