#pragma once

#include "move/FolderMatch.h"

#include <QObject>

#include <optional>

namespace dowsel {

// What the move input shows and which destination it means: the typed query, the ranked
// matches, the recent destinations and the highlighted row. It performs no file operation;
// the toast controller fills it and does the moves. Main thread only; `changed` is emitted
// after every change of a stored value.
class MoveInputViewModel : public QObject {
    Q_OBJECT
public:
    explicit MoveInputViewModel(QByteArray homePath, QObject *parent = nullptr);

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
    // The folder that "create" would make from the query's words, always inside home. None
    // without words, or when a word is "." or ".." or holds a "/".
    std::optional<QByteArray> newFolderURL() const;
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

    QString m_query;
    QList<FolderMatch> m_results;
    QList<QByteArray> m_mruSuggestions;
    qsizetype m_selectedIndex = 0;
    const QByteArray m_homePath;
};

} // namespace dowsel
