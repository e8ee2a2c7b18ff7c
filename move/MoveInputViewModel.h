#pragma once

#include "move/FolderMatch.h"

#include <QObject>

#include <functional>
#include <optional>

namespace dowsel {

// What the move input shows and which destination it means: the typed query, the ranked
// matches, the recent destinations and the highlighted row. It performs no file operation;
// the toast controller fills it and does the moves. Main thread only; `changed` is emitted
// after every change of a stored value.
class MoveInputViewModel : public QObject {
    Q_OBJECT
public:
    // Finds the folder inside `parent` that a typed word names: its own name, compared without
    // case or accents; none when there is no such folder.
    using FolderLookup = std::function<std::optional<QByteArray>(const QByteArray &parent, const QString &word)>;

    // What "create" would do with the query: a folder to make, or why none can be made.
    struct NewFolder {
        std::optional<QByteArray> path;
        QString refusal;          // shown instead of a path when there is one
        bool wordsJoined = false; // several words made one name ("old proj")
    };

    // `lookup` defaults to reading the folders on disk.
    explicit MoveInputViewModel(QByteArray homePath, QObject *parent = nullptr, FolderLookup lookup = {});

    const QString &query() const { return m_query; }
    void setQuery(const QString &query);
    const QList<FolderMatch> &results() const { return m_results; }
    void setResults(QList<FolderMatch> results);
    const QList<QByteArray> &mruSuggestions() const { return m_mruSuggestions; }
    void setMruSuggestions(QList<QByteArray> paths);
    qsizetype selectedIndex() const { return m_selectedIndex; }
    void setSelectedIndex(qsizetype index);
    const QByteArray &homePath() const { return m_homePath; }

    // A fresh input: empty query, no matches, the first row highlighted.
    void reset(QList<QByteArray> recentDestinations);

    // A blank query (only spaces and tabs) shows the recent destinations instead of matches.
    bool showsRecent() const;
    // The highlighted destination, if the highlight is on a row.
    std::optional<QByteArray> selectedURL() const;
    // The folder that "create" would make from the query, always inside home:
    // - with "/" in the query, the path as typed below home ("Projects/website"; "~/" and the
    //   home folder's own path in front are allowed);
    // - else, with a highlighted match, in place of the segment where the last words matched
    //   ("doc inv" on Documents/Invoices gives Documents/inv);
    // - else the leading words that name existing folders, level by level, then the other
    //   words joined by a blank as one name ("Work Q3" gives Work/Q3 when Work exists, and
    //   "old proj" gives "old proj" when there is no folder "old").
    // Names "." and "..", names too long, and paths leaving home are refused with the reason.
    NewFolder newFolder() const;
    std::optional<QByteArray> newFolderURL() const { return newFolder().path; }
    // A non-blank query shows the Create row: the new folder, or why there is none.
    bool showsCreateRow() const;

    // The paths of the rows shown, top to bottom.
    QList<QByteArray> rowPaths() const;
    // A row's path below home, as the pieces of its breadcrumb.
    QStringList breadcrumb(const QByteArray &path) const;
    // "~/…" for a path inside home, the path itself otherwise.
    QString displayPath(const QByteArray &path) const;
    // The height of the move panel for the rows and Create row shown, in points.
    int panelHeight() const;

    // Brings the highlight back onto the shown list.
    void clampSelection();
    // Moves the highlight by `delta` rows, stopping at the first and last row.
    void moveSelection(qsizetype delta);

    static constexpr int rowHeight = 32;
    static constexpr int rowSpacing = 2;
    static constexpr int listPadding = 13;
    static constexpr int headerHeight = 52;
    static constexpr int createRowHeight = 28;

Q_SIGNALS:
    void changed();

private:
    bool isInsideHome(const QByteArray &path) const;
    NewFolder computeNewFolder() const;
    void forgetNewFolder() { m_newFolder.reset(); }

    QString m_query;
    QList<FolderMatch> m_results;
    QList<QByteArray> m_mruSuggestions;
    qsizetype m_selectedIndex = 0;
    const QByteArray m_homePath;
    FolderLookup m_lookup;
    mutable std::optional<NewFolder> m_newFolder; // until the query, results or highlight change
};

} // namespace dowsel
