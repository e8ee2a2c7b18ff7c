#include "move/MoveInputViewModel.h"

#include "core/TrackedFile.h"

#include <algorithm>

namespace dowsel {

namespace {

QStringList wordsOf(const QString &query)
{
    return query.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

// A word becomes one folder name: it must not climb out of, or reach past, its parent.
bool isPlainFolderName(const QString &word)
{
    return word != u"." && word != u".." && !word.contains(QLatin1Char('/')) && !word.contains(QChar(0));
}

} // namespace

MoveInputViewModel::MoveInputViewModel(QByteArray homePath, QObject *parent)
    : QObject(parent), m_homePath(std::move(homePath))
{
}

void MoveInputViewModel::setQuery(const QString &query)
{
    if (query == m_query)
        return;
    m_query = query;
    Q_EMIT changed();
}

void MoveInputViewModel::setResults(QList<FolderMatch> results)
{
    m_results = std::move(results);
    Q_EMIT changed();
}

void MoveInputViewModel::setMruSuggestions(QList<QByteArray> paths)
{
    if (paths == m_mruSuggestions)
        return;
    m_mruSuggestions = std::move(paths);
    Q_EMIT changed();
}

void MoveInputViewModel::setSelectedIndex(qsizetype index)
{
    if (index == m_selectedIndex)
        return;
    m_selectedIndex = index;
    Q_EMIT changed();
}

void MoveInputViewModel::reset(QList<QByteArray> recentDestinations)
{
    setQuery(QString());
    if (!m_results.isEmpty())
        setResults({});
    setSelectedIndex(0);
    setMruSuggestions(std::move(recentDestinations));
}

bool MoveInputViewModel::showsRecent() const
{
    const auto isBlank = [](QChar c) { return c == u' ' || c == u'\t'; };
    return std::all_of(m_query.begin(), m_query.end(), isBlank);
}

std::optional<QByteArray> MoveInputViewModel::selectedURL() const
{
    const QList<QByteArray> rows = rowPaths();
    if (m_selectedIndex < 0 || m_selectedIndex >= rows.size())
        return std::nullopt;
    return rows.at(m_selectedIndex);
}

std::optional<QByteArray> MoveInputViewModel::newFolderURL() const
{
    const QStringList words = wordsOf(m_query);
    if (words.isEmpty() || !std::all_of(words.begin(), words.end(), isPlainFolderName))
        return std::nullopt;

    QByteArray path = m_homePath;
    if (m_selectedIndex >= 0 && m_selectedIndex < m_results.size()) {
        // The new folder takes the place of the segment in which the last word matched.
        const FolderMatch &match = m_results.at(m_selectedIndex);
        const qsizetype parents = std::clamp<qsizetype>(match.lastMatchedSegmentIndex, 0, match.segments.size());
        for (qsizetype index = 0; index < parents; ++index)
            path.append('/').append(match.segments.at(index));
        path.append('/').append(words.last().toUtf8());
    } else {
        for (const QString &word : words)
            path.append('/').append(word.toUtf8());
    }
    if (!isInsideHome(path))
        return std::nullopt;
    return path;
}

bool MoveInputViewModel::showsCreateRow() const
{
    return !showsRecent() && newFolderURL().has_value();
}

QList<QByteArray> MoveInputViewModel::rowPaths() const
{
    if (showsRecent())
        return m_mruSuggestions;
    QList<QByteArray> paths;
    paths.reserve(m_results.size());
    for (const FolderMatch &match : m_results)
        paths.append(match.path);
    return paths;
}

QStringList MoveInputViewModel::breadcrumb(const QByteArray &path) const
{
    const QByteArray prefix = m_homePath + '/';
    const QByteArray relative = path.startsWith(prefix) ? path.sliced(prefix.size()) : path;
    QStringList pieces;
    for (const QByteArray &piece : relative.split('/')) {
        if (!piece.isEmpty())
            pieces.append(displayText(piece));
    }
    return pieces;
}

QString MoveInputViewModel::displayPath(const QByteArray &path) const
{
    const QByteArray prefix = m_homePath + '/';
    if (path.startsWith(prefix))
        return QStringLiteral("~/") + displayText(path.sliced(prefix.size()));
    return displayText(path);
}

int MoveInputViewModel::panelHeight() const
{
    const int rows = int(rowPaths().size());
    int height = headerHeight;
    if (rows > 0)
        height += rows * rowHeight + listPadding + rowSpacing * std::max(0, rows - 1);
    if (showsCreateRow())
        height += createRowHeight;
    return height;
}

void MoveInputViewModel::clampSelection()
{
    const qsizetype count = rowPaths().size();
    if (count == 0)
        setSelectedIndex(0);
    else if (m_selectedIndex >= count)
        setSelectedIndex(count - 1);
    else if (m_selectedIndex < 0)
        setSelectedIndex(0);
}

void MoveInputViewModel::moveSelection(qsizetype delta)
{
    const qsizetype count = rowPaths().size();
    if (count == 0)
        return;
    setSelectedIndex(std::clamp<qsizetype>(m_selectedIndex + delta, 0, count - 1));
}

bool MoveInputViewModel::isInsideHome(const QByteArray &path) const
{
    const QByteArray prefix = m_homePath + '/';
    if (!path.startsWith(prefix) || path.size() == prefix.size())
        return false;
    const QList<QByteArray> pieces = path.sliced(prefix.size()).split('/');
    return std::none_of(pieces.begin(), pieces.end(), [](const QByteArray &piece) {
        return piece.isEmpty() || piece == "." || piece == "..";
    });
}

} // namespace dowsel
