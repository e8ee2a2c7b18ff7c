#pragma once

#include "core/TrackedFile.h"

#include <QWidget>

#include <vector>

class QLabel;
class QListWidget;
class QPushButton;

namespace dowsel {

struct BacklogFile;

// The old files left alone in Downloads, each with its size, to pick from: the checked ones
// are made temporary, or moved to the Trash, at once.
class BacklogPage final : public QWidget {
    Q_OBJECT
public:
    explicit BacklogPage(QWidget *parent = nullptr);

    // Shows `files`; a file unchecked before stays unchecked, any other starts checked.
    void setFiles(const std::vector<BacklogFile> &files);
    std::vector<RecordId> checkedIds() const;
    QListWidget &list() { return *m_list; }

Q_SIGNALS:
    void makeTemporaryRequested(const std::vector<RecordId> &ids);
    void trashRequested(const std::vector<RecordId> &ids);

private:
    void updateTotal();

    QListWidget *m_list;
    QLabel *m_total;
    QPushButton *m_makeTemporary;
    QPushButton *m_trash;
};

} // namespace dowsel
