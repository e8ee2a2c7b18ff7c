#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <array>

namespace dowsel {

// Tags live in the freedesktop attribute "user.xdg.tags", a comma-separated list of names
// that file managers such as Dolphin show. Dowsel owns the tags that begin with "Dowsel:"
// (and the older "Sivra:"); every other tag is the user's and keeps its place. Links are
// never followed, and a file system without user attributes makes these calls no-ops: the
// store's record is the truth, the tag only mirrors it.
inline constexpr char tagsAttribute[] = "user.xdg.tags";
inline constexpr char temporaryTag[] = "Dowsel: Temporary";

QByteArrayList readTags(const QByteArray &path);
// An empty list removes the attribute. Failures are ignored.
void writeTags(const QByteArrayList &tags, const QByteArray &path);
bool isDowselTag(const QByteArray &tag);

// Appends the temporary tag unless the file already carries one of Dowsel's tags.
void addTemporaryTag(const QByteArray &path);
// Drops Dowsel's tags and writes only when one was dropped.
void removeTemporaryTag(const QByteArray &path);

// Archives whose extracted folder may take over their expiry.
inline constexpr std::array<const char *, 10> archiveExtensions{"zip", "zipx", "tar", "tgz",  "tbz",
                                                                "tbz2", "txz", "gz",  "bz2", "xz"};

// Lower-cased text after the last dot ("" for "README" or ".zip").
QByteArray pathExtension(const QByteArray &name);
bool isArchiveName(const QByteArray &name);
// The name without its extension, and without ".tar" under it: "photos.tar.gz" -> "photos".
QByteArray archiveBaseName(const QByteArray &archiveName);
// True when `itemName` is what extracting `archiveName` gives: "photos" or a numbered
// second copy "photos 2" for "photos.zip".
bool matchesArchive(const QByteArray &itemName, const QByteArray &archiveName);
// The path without its last component ("/a/b" -> "/a", "/b" -> "/").
QByteArray parentPath(const QByteArray &path);

} // namespace dowsel
