#pragma once

#include "ui/model/Countdown.h"
#include "ui/model/PopoverLists.h"

#include <QAbstractListModel>

#include <optional>
#include <vector>

namespace dowsel {

// The popover's lists as one flat, virtualised list: the temporary section's header and
// rows, the section of what Dowsel recently moved to the Trash, then the ignored section's
// header, its backlog row when old files are there and, when expanded, its rows. A section
// with no files has no header either.
class PopoverListModel final : public QAbstractListModel {
    Q_OBJECT
public:
    enum class RowKind {
        temporaryHeader,
        temporaryFile,
        ignoredHeader,
        ignoredFile,
        trashedHeader,
        trashedFile,
        backlog,
    };
    enum Role {
        KindRole = Qt::UserRole + 1, // RowKind as int
        RecordIdRole,
        SizeLabelRole,
        CountdownTextRole,  // temporary rows with an expiry
        CountdownToneRole,  // CountdownTone as int
        IgnoredCountRole,   // ignored header
        ExpandedRole,       // ignored header
        FolderLikeRole,
        FilePathRole, // QByteArray, the exact bytes of the path
        InUseRole,    // temporary rows: a program holds the file, so its expiry waits
        BacklogTextRole, // backlog row: "4 files older than 30 days · 1.2 GB"
        SiteRole,     // where the file was downloaded from, or empty
    };

    explicit PopoverListModel(QObject *parent = nullptr);

    void setLists(PopoverLists lists, Date now);
    // A countdown tick: every countdown is worked out again for `now`.
    void setNow(Date now);
    void setIgnoredExpanded(bool expanded);
    bool isIgnoredExpanded() const { return m_ignoredExpanded; }

    bool isEmpty() const { return m_lists.isEmpty(); }
    RowKind kindAt(int row) const;
    // The record behind a file row, null for headers.
    const TrackedFile *fileAt(int row) const;
    std::vector<RecordId> temporaryIds() const;
    int ignoredCount() const { return int(m_lists.ignoredFiles.size()); }
    // The Trash entry behind a row of the Trash section, null for other rows.
    const TrackedFileStore::TrashedFile *trashedAt(int row) const;
    const PopoverLists &lists() const { return m_lists; }
    void setBacklogAgeDays(int days) { m_backlogAgeDays = days; }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

private:
    struct Row {
        RowKind kind;
        int fileIndex; // into the section's list; -1 for headers
    };
    void rebuildRows();
    void updateCountdowns();

    PopoverLists m_lists;
    std::vector<Row> m_rows;
    std::vector<std::optional<CountdownContent>> m_countdowns; // per temporary file
    Date m_now = 0;
    bool m_ignoredExpanded = false;
    int m_backlogAgeDays = defaultBacklogAgeDays;
};

} // namespace dowsel
