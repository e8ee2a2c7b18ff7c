#include "ui/PopoverListModel.h"

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
    const int headerRow = m_lists.temporaryFiles.empty() ? 0 : int(m_lists.temporaryFiles.size()) + 1;
    if (ignoredRows > 0) {
        if (expanded)
            beginInsertRows(QModelIndex(), headerRow + 1, headerRow + ignoredRows);
        else
            beginRemoveRows(QModelIndex(), headerRow + 1, headerRow + ignoredRows);
    }
    m_ignoredExpanded = expanded;
    rebuildRows();
    if (ignoredRows > 0) {
        if (expanded)
            endInsertRows();
        else
            endRemoveRows();
        const QModelIndex header = index(headerRow);
        Q_EMIT dataChanged(header, header, {ExpandedRole});
    }
}

void PopoverListModel::rebuildRows()
{
    m_rows.clear();
    m_rows.reserve(m_lists.temporaryFiles.size() + m_lists.ignoredFiles.size() + 2);
    if (!m_lists.temporaryFiles.empty()) {
        m_rows.push_back({RowKind::temporaryHeader, -1});
        for (int i = 0; i < int(m_lists.temporaryFiles.size()); ++i)
            m_rows.push_back({RowKind::temporaryFile, i});
    }
    if (!m_lists.ignoredFiles.empty()) {
        m_rows.push_back({RowKind::ignoredHeader, -1});
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
        break;
    }
    return nullptr;
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
