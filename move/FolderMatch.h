#pragma once

#include "move/FolderPaths.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace dowsel {

// One destination folder found for what the user typed into the move input.
struct FolderMatch {
    QByteArray path;                        // exactly as the folder index gave it
    double score = 0;                       // higher is better; may be negative
    qsizetype lastMatchedSegmentIndex = 0;  // the segment in which the last word matched
    QList<QByteArray> segments;             // path components below home, in their own case
};

// Scores every folder of `paths` against the words of `query` and returns the best `limit`,
// best first; equal scores keep the order of `paths`. Each word must match, as a subsequence
// of its lower-cased characters, a later path component than the word before it. Large
// snapshots are split across the processor's cores.
QList<FolderMatch> search(const QString &query, const FolderPaths &paths, const QByteArray &homePath,
                          qsizetype limit);

// Scores one folder against already lower-cased tokens; none when the path cannot hold all
// of them. `prefix` (the home folder with a trailing "/") is cut from the path's front.
std::optional<FolderMatch> score(const QByteArray &path, const QStringList &tokens, const QByteArray &prefix);

// Lifts recent destinations: the match found at index k of `history` (most recent first)
// gains max(0, 4 - 0.3 k). Then sorts again, best first, keeping the order of equal scores.
QList<FolderMatch> rankDestinations(QList<FolderMatch> matches, const QList<QByteArray> &history);

} // namespace dowsel
