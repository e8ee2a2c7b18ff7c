#include "move/FolderMatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace dowsel;

namespace {

const QByteArray home = "/Users/u";
const QByteArray prefix = "/Users/u/";

double scoreOf(const QByteArray &relative, const QStringList &tokens)
{
    const auto match = score(prefix + relative, tokens, prefix);
    EXPECT_TRUE(match) << relative.constData();
    return match ? match->score : 0;
}

QList<QByteArray> pathsOf(const QList<FolderMatch> &matches)
{
    QList<QByteArray> paths;
    for (const FolderMatch &match : matches)
        paths.append(match.path);
    return paths;
}

FolderPaths under(const QList<QByteArray> &relativePaths)
{
    QList<QByteArray> paths;
    for (const QByteArray &relative : relativePaths)
        paths.append(prefix + relative);
    return FolderPaths(paths);
}

TEST(FolderMatch, WorkedScores)
{
    const QStringList proj{QStringLiteral("proj")};
    EXPECT_NEAR(scoreOf("Documents/Projects", proj), 8.8, 1e-9);
    EXPECT_NEAR(scoreOf("Projects", proj), 9.5, 1e-9);
    EXPECT_NEAR(scoreOf("Documents/proj", proj), 12.0, 1e-9);
    EXPECT_NEAR(scoreOf("Pictures/Old Projects", proj), 6.6, 1e-9);

    const QStringList docProj{QStringLiteral("doc"), QStringLiteral("proj")};
    EXPECT_NEAR(scoreOf("Documents/Projects", docProj), 15.4, 1e-9);
    EXPECT_NEAR(scoreOf("Documents/Work/Projects", docProj), 14.7, 1e-9);
    EXPECT_FALSE(score(prefix + "Projects", docProj, prefix));
}

TEST(FolderMatch, ScoreKeepsSegmentsInTheirCaseAndTheSegmentOfTheLastWord)
{
    const auto match = score(prefix + "Documents/Invoices/2024", {QStringLiteral("doc"), QStringLiteral("inv")}, prefix);
    ASSERT_TRUE(match);
    EXPECT_EQ(match->segments, (QList<QByteArray>{"Documents", "Invoices", "2024"}));
    EXPECT_EQ(match->lastMatchedSegmentIndex, 1);
    // Not the folder itself: no bonus for the last segment, and three segments cost 0.9.
    EXPECT_LT(match->score, score(prefix + "Documents/Invoices", {QStringLiteral("doc"), QStringLiteral("inv")},
                                  prefix)->score);
}

TEST(FolderMatch, WordsMatchInPathOrder)
{
    const FolderPaths paths = under({"Documents/Projects"});
    EXPECT_TRUE(search(QStringLiteral("proj doc"), paths, home, 3).isEmpty());
    EXPECT_EQ(pathsOf(search(QStringLiteral("doc proj"), paths, home, 3)), QList<QByteArray>{prefix + "Documents/Projects"});
    EXPECT_EQ(pathsOf(search(QStringLiteral("Documents/proj"), paths, home, 3)),
              QList<QByteArray>{prefix + "Documents/Projects"});
    EXPECT_EQ(queryWords(QStringLiteral(" Projects/website\tnew ")), (QStringList{"Projects", "website", "new"}));
}

// Where no later segment is left for a word, it may continue in the segment of the word
// before it; the group scores as one token of its words would in that segment.
TEST(FolderMatch, SeveralWordsInsideOneSegment)
{
    const auto oldProj = score(prefix + "Old Projects", {QStringLiteral("old"), QStringLiteral("proj")}, prefix);
    ASSERT_TRUE(oldProj);
    EXPECT_NEAR(oldProj->score, 13.45, 1e-9);
    EXPECT_EQ(oldProj->lastMatchedSegmentIndex, 0);
    EXPECT_EQ(oldProj->lastSegmentWordCount, 2);

    // The whole name typed: the exact-segment bonus, no length penalty.
    EXPECT_NEAR(scoreOf("Pictures/Vacation 2023", {QStringLiteral("vacation"), QStringLiteral("2023")}), 23.5, 1e-9);

    const auto album = score(prefix + "Music/Artist 3/Album A",
                             {QStringLiteral("mus"), QStringLiteral("art"), QStringLiteral("3")}, prefix);
    ASSERT_TRUE(album);
    EXPECT_NEAR(album->score, 12.8, 1e-9);
    EXPECT_EQ(album->lastMatchedSegmentIndex, 1);
    EXPECT_EQ(album->lastSegmentWordCount, 2);

    // One word per segment, where the path allows it, is the placement that counts.
    const auto separate = score(prefix + "Old/Projects", {QStringLiteral("old"), QStringLiteral("proj")}, prefix);
    ASSERT_TRUE(separate);
    EXPECT_NEAR(separate->score, 18.7, 1e-9);
    EXPECT_EQ(separate->lastSegmentWordCount, 1);

    // Inside one segment the words keep their order, and letters are not used twice.
    EXPECT_FALSE(score(prefix + "Old Projects", {QStringLiteral("proj"), QStringLiteral("old")}, prefix));
    EXPECT_FALSE(score(prefix + "Old Projects", {QStringLiteral("old"), QStringLiteral("old")}, prefix));

    const FolderPaths paths = under({"Old Projects", "Pictures/Vacation 2023", "Music/Artist 3/Album A", "Music"});
    EXPECT_EQ(pathsOf(search(QStringLiteral("old proj"), paths, home, 3)), QList<QByteArray>{prefix + "Old Projects"});
    EXPECT_EQ(pathsOf(search(QStringLiteral("vacation 2023"), paths, home, 3)),
              QList<QByteArray>{prefix + "Pictures/Vacation 2023"});
    EXPECT_EQ(pathsOf(search(QStringLiteral("mus art 3"), paths, home, 3)),
              QList<QByteArray>{prefix + "Music/Artist 3/Album A"});
}

TEST(FolderMatch, BlankQueriesFindNothing)
{
    const FolderPaths paths = under({"Documents", " ", "a b"});
    EXPECT_TRUE(search(QString(), paths, home, 3).isEmpty());
    EXPECT_TRUE(search(QStringLiteral(" \t \n\u00a0"), paths, home, 3).isEmpty());
    EXPECT_TRUE(search(QStringLiteral("doc"), paths, home, 0).isEmpty());
    EXPECT_TRUE(search(QStringLiteral("doc"), FolderPaths(), home, 3).isEmpty());
}

TEST(FolderMatch, NeitherCaseNorAccentsMatter)
{
    const FolderPaths paths = under({"Résumés", "École", "e\u0301te\u0301", "Øresund", "Курсы"});
    EXPECT_EQ(pathsOf(search(QStringLiteral("resumes"), paths, home, 3)), QList<QByteArray>{prefix + "Résumés"});
    EXPECT_EQ(pathsOf(search(QStringLiteral("ecole"), paths, home, 3)), QList<QByteArray>{prefix + "École"});
    EXPECT_EQ(pathsOf(search(QStringLiteral("ÉCOLE"), paths, home, 3)), QList<QByteArray>{prefix + "École"});
    // Precomposed and decomposed accents are the same letter.
    EXPECT_EQ(pathsOf(search(QStringLiteral("été"), paths, home, 3)), QList<QByteArray>{prefix + "e\u0301te\u0301"});
    EXPECT_EQ(pathsOf(search(QStringLiteral("oresund"), paths, home, 3)), QList<QByteArray>{prefix + "Øresund"});
    EXPECT_EQ(pathsOf(search(QStringLiteral("КУР"), paths, home, 3)), QList<QByteArray>{prefix + "Курсы"});
    // A folded name scores as the plain one would.
    EXPECT_EQ(scoreOf("Résumés", {QStringLiteral("resumes")}), scoreOf("resumes", {QStringLiteral("resumes")}));
}

TEST(FolderMatch, KeepsExactBytesOfPathsThatAreNotUtf8)
{
    const QByteArray odd = prefix + "Proj\xff\xfe/Invoices";
    const QList<FolderMatch> found = search(QStringLiteral("proj inv"), FolderPaths({odd}), home, 3);
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].path, odd);
    EXPECT_EQ(found[0].segments.first(), QByteArray("Proj\xff\xfe"));
}

TEST(FolderMatch, EqualScoresGoShorterPathFirstThenAlphabetically)
{
    const QList<QByteArray> folders = {"Zed/Notes", "Abc/Notes", "Ab/Notes", "Notes", "Aa/Notes"};
    QList<QByteArray> reversed(folders.rbegin(), folders.rend());
    const QList<QByteArray> expected{prefix + "Notes", prefix + "Aa/Notes", prefix + "Ab/Notes"};
    EXPECT_EQ(pathsOf(search(QStringLiteral("notes"), under(folders), home, 3)), expected);
    EXPECT_EQ(pathsOf(search(QStringLiteral("notes"), under(reversed), home, 3)), expected);
    EXPECT_EQ(pathsOf(search(QStringLiteral("notes"), under(folders), home, 5)).last(), prefix + "Zed/Notes");
}

TEST(FolderMatch, PathsOutsideHomeAreScoredOverAllTheirComponents)
{
    const auto outside = score("/media/disk/Projects", {QStringLiteral("proj")}, prefix);
    ASSERT_TRUE(outside);
    EXPECT_EQ(outside->segments, (QList<QByteArray>{"media", "disk", "Projects"}));
    EXPECT_NEAR(outside->score, scoreOf("a/b/Projects", {QStringLiteral("proj")}), 1e-9);
}

TEST(FolderMatch, HistoryReordersTheBestButNeverAdmitsOthers)
{
    const FolderPaths paths = under({"Notes", "A/Notes", "B/Notes", "C/Notes"});
    const QList<FolderMatch> found = search(QStringLiteral("notes"), paths, home, 3);
    const QList<FolderMatch> ranked =
        rankDestinations(found, {prefix + "C/Notes", prefix + "X", prefix + "B/Notes"});
    // B/Notes is third in the history: +3.4 lifts it above Notes (+0.3 over B/Notes without it).
    EXPECT_EQ(pathsOf(ranked), (QList<QByteArray>{prefix + "B/Notes", prefix + "Notes", prefix + "A/Notes"}));
    EXPECT_NEAR(ranked[0].score, found[2].score + 3.4, 1e-9);

    // Entries past index 13 no longer add anything.
    QList<QByteArray> longHistory(14, QByteArray("/elsewhere"));
    longHistory.append(prefix + "B/Notes");
    EXPECT_EQ(pathsOf(rankDestinations(found, longHistory)), pathsOf(found));
}

// The fast search (prefilter, threads, partial sort) must give what scoring every path and
// sorting stably gives.
TEST(FolderMatch, SearchAgreesWithScoringEveryPath)
{
    const std::vector<QByteArray> words = {"Documents", "Projects", "Invoices", "été", "Photos",  "Work",
                                           "Client",    "src",      "Q3",       "Ärger", "Backup", "Proj\xff", "Ete 2", "Old Projects"};
    std::mt19937 random(7);
    QList<QByteArray> paths;
    for (int i = 0; i < 80'000; ++i) {
        QByteArray path = i % 97 == 0 ? QByteArray("/mnt/other") : home;
        const int depth = 1 + int(random() % 4);
        for (int level = 0; level < depth; ++level)
            path += '/' + words[random() % words.size()] + QByteArray::number(int(random() % 3));
        paths.append(path);
    }
    const FolderPaths snapshot(paths);
    for (const QString &query : {QStringLiteral("doc proj"), QStringLiteral("ÄR q3"), QStringLiteral("w c s"),
                                QStringLiteral("proj\ufffd"), QStringLiteral("zzz"), QStringLiteral("ete 1 2"),
                                QStringLiteral("p r o j")}) {
        const QStringList tokens = queryWords(query);
        QList<FolderMatch> expected;
        for (const QByteArray &path : paths) {
            if (auto match = score(path, tokens, prefix))
                expected.append(*match);
        }
        std::sort(expected.begin(), expected.end(), [](const FolderMatch &a, const FolderMatch &b) {
            return isBetterMatch(a.score, a.path, b.score, b.path);
        });
        expected = expected.mid(0, 10);

        const QList<FolderMatch> found = search(query, snapshot, home, 10);
        ASSERT_EQ(found.size(), expected.size()) << query.toStdString();
        for (qsizetype i = 0; i < found.size(); ++i) {
            EXPECT_EQ(found[i].path, expected[i].path) << query.toStdString() << " rank " << i;
            EXPECT_EQ(found[i].score, expected[i].score);
            EXPECT_EQ(found[i].lastMatchedSegmentIndex, expected[i].lastMatchedSegmentIndex);
            EXPECT_EQ(found[i].lastSegmentWordCount, expected[i].lastSegmentWordCount);
        }
    }
}

} // namespace
