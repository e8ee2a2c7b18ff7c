#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

namespace dowsel {

// The harmless Markdown file the action demo drops into Downloads, in the user's language.
QString practiceFileName();
QString practiceFileContents();

// Where the practice file goes in `folder`. The plain name when nothing is there, or when an
// earlier practice file with exactly `contents` is (replacing it loses nothing). Anything
// else at that name, a file the user wrote or edited, a folder or a link, is left alone and
// the next free name is taken: "Dowsel README 2.md", "Dowsel README 3.md", ...
QByteArray practiceFilePath(const QByteArray &folder, const QByteArray &name, const QByteArray &contents);

// Writes `contents` to `path` atomically: a hidden temporary file in the same folder, renamed
// into place. An existing file is replaced only when it already holds exactly `contents`.
// Returns the new file's inode, or nothing after an error, which is printed as
// "createPracticeFile failed: " and the error; then nothing is left behind.
std::optional<std::uint64_t> createPracticeFile(const QByteArray &path, const QByteArray &contents);

// Removes the practice file, but only while it is still the unchanged file we wrote (same
// inode, same bytes): a file the user has touched since is never deleted.
bool removePracticeFile(const QByteArray &path, std::uint64_t inode, const QByteArray &contents);

} // namespace dowsel
