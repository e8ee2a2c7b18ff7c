#include "move/MoveInputViewModel.h"

#include "core/TrackedFile.h"

#include <algorithm>

#include <dirent.h>
#include <sys/stat.h>

namespace dowsel {

namespace {

constexpr qsizetype longestName = 255; // bytes, as Linux file systems allow

QStringList wordsOf(const QString &query)
{
    return query.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

std::optional<QByteArray> folderOnDisk(const QByteArray &parent, const QString &word)
{
    DIR *dir = ::opendir(parent.constData());
    if (!dir)
        return std::nullopt;
    const QByteArray exact = word.toUtf8();
    const std::u32string wanted = folded(word);
    std::optional<QByteArray> found;
    while (const dirent *entry = ::readdir(dir)) {
        const QByteArray name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        if (name != exact && (found || folded(QString::fromUtf8(name)) != wanted))
            continue;
        struct stat status;
        if (::stat((parent + '/' + name).constData(), &status) != 0 || !S_ISDIR(status.st_mode))
            continue;
        found = name;
        if (name == exact)
            break;
    }
    ::closedir(dir);
    return found;
}

} // namespace

MoveInputViewModel::MoveInputViewModel(QByteArray homePath, QObject *parent, FolderLookup lookup)
    : QObject(parent), m_homePath(std::move(homePath)), m_lookup(lookup ? std::move(lookup) : folderOnDisk)
{
}

void MoveInputViewModel::setQuery(const QString &query)
{
    if (query == m_query)
        return;
    m_query = query;
    forgetNewFolder();
    Q_EMIT changed();
}

void MoveInputViewModel::setResults(QList<FolderMatch> results)
{
    m_results = std::move(results);
    forgetNewFolder();
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
    forgetNewFolder();
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

MoveInputViewModel::NewFolder MoveInputViewModel::newFolder() const
{
    if (!m_newFolder)
        m_newFolder = computeNewFolder();
    return *m_newFolder;
}

MoveInputViewModel::NewFolder MoveInputViewModel::computeNewFolder() const
{
    NewFolder result;
    const auto refuse = [&result](const QString &reason) {
        result.refusal = reason;
        return result;
    };
    if (queryWords(m_query).isEmpty())
        return result;
    QList<QByteArray> levels; // below home
    QByteArray name;
    if (m_query.contains(QLatin1Char('/'))) {
        QString rest = m_query.trimmed();
        if (rest == u"~" || rest.startsWith(QStringLiteral("~/"))) {
            rest = rest.mid(1);
        } else if (rest.startsWith(QLatin1Char('/'))) {
            const QByteArray typed = rest.toUtf8();
            if (typed != m_homePath && !typed.startsWith(m_homePath + '/'))
                return refuse(tr("Only folders inside your home folder can be created"));
            rest = QString::fromUtf8(typed.sliced(m_homePath.size()));
        }
        for (const QString &piece : rest.split(QLatin1Char('/'))) {
            const QString simplified = piece.simplified();
            if (!simplified.isEmpty())
                levels.append(simplified.toUtf8());
        }
        if (levels.isEmpty())
            return result;
        name = levels.takeLast();
    } else {
        const QStringList words = wordsOf(m_query);
        if (words.isEmpty())
            return result;
        if (m_selectedIndex >= 0 && m_selectedIndex < m_results.size()) {
            // The new folder takes the place of the segment in which the last words matched.
            const FolderMatch &match = m_results.at(m_selectedIndex);
            const qsizetype parents = std::clamp<qsizetype>(match.lastMatchedSegmentIndex, 0, match.segments.size());
            levels = match.segments.mid(0, parents);
            const qsizetype count = std::clamp<qsizetype>(match.lastSegmentWordCount, 1, words.size());
            name = words.mid(words.size() - count).join(QLatin1Char(' ')).toUtf8();
        } else {
            // Leading words that name existing folders are levels; the rest is one name.
            QByteArray parent = m_homePath;
            qsizetype used = 0;
            for (; used + 1 < words.size(); ++used) {
                const std::optional<QByteArray> existing = m_lookup(parent, words.at(used));
                if (!existing)
                    break;
                levels.append(*existing);
                parent += '/' + *existing;
            }
            name = words.mid(used).join(QLatin1Char(' ')).toUtf8();
            result.wordsJoined = words.size() - used > 1;
        }
    }
    for (const QByteArray &piece : std::as_const(levels) + QList<QByteArray>{name}) {
        if (piece == "." || piece == "..")
            return refuse(tr("\".\" and \"..\" are not folder names"));
        if (piece.size() > longestName)
            return refuse(tr("A folder name can be at most 255 bytes long"));
        if (piece.contains('\0'))
            return refuse(tr("A folder name cannot hold a null character"));
    }
    QByteArray path = m_homePath;
    for (const QByteArray &piece : std::as_const(levels))
        path.append('/').append(piece);
    path.append('/').append(name);
    if (!isInsideHome(path))
        return refuse(tr("Only folders inside your home folder can be created"));
    result.path = path;
    return result;
}

bool MoveInputViewModel::showsCreateRow() const
{
    if (showsRecent())
        return false;
    const NewFolder folder = newFolder();
    return folder.path || !folder.refusal.isEmpty();
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
