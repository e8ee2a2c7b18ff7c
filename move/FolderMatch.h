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
    qsizetype lastSegmentWordCount = 1;     // how many of the last words matched in that segment
};

// The words of a query: its pieces between blanks and "/".
QStringList queryWords(const QString &query);

// Orders matches best first: higher score, then the shorter path, then by the path's bytes.
bool isBetterMatch(double score, const QByteArray &path, double otherScore, const QByteArray &otherPath);

// Scores every folder of `paths` against the words of `query` and returns the best `limit`,
// best first (see isBetterMatch). Each word must match, as a subsequence of its folded
// characters (lower case, accents off), a later path component than the word before it;
// when no path component is left for it, a word may instead continue in the component of the
// word before it ("old proj" finds "Old Projects"). Large snapshots are split across the
// processor's cores.
QList<FolderMatch> search(const QString &query, const FolderPaths &paths, const QByteArray &homePath,
                          qsizetype limit);

// Scores one folder against tokens; none when the path cannot hold all of them. `prefix` (the home folder with a trailing "/") is cut from the path's front.
std::optional<FolderMatch> score(const QByteArray &path, const QStringList &tokens, const QByteArray &prefix);

// Lifts recent destinations: the match found at index k of `history` (most recent first)
// gains max(0, 4 - 0.3 k). Then sorts again, best first.
QList<FolderMatch> rankDestinations(QList<FolderMatch> matches, const QList<QByteArray> &history);

} // namespace dowsel
