#pragma once

#include <QByteArray>
#include <QString>

namespace dowsel {

// Where a download came from, as browsers and downloaders record it in the file's extended
// attributes: Chromium, `wget --xattr` and `curl --xattr` write the address of the file in
// `user.xdg.origin.url` and the page that linked to it in `user.xdg.referrer.url`.
inline constexpr char originUrlAttribute[] = "user.xdg.origin.url";
inline constexpr char referrerUrlAttribute[] = "user.xdg.referrer.url";

// The site of an address, for showing: its host in lower case without a leading "www.", as
// "github.com". Empty unless the address is http, https or ftp with a host; user names,
// passwords, ports, paths, queries and fragments never show.
QString siteOfUrl(const QByteArray &url);

// The site a file came from: the origin's, else the referrer's; empty when neither attribute
// holds a web address, when the file system keeps no extended attributes, or when the file
// is gone. Two small reads; any thread.
QString downloadSite(const QByteArray &path);

} // namespace dowsel
