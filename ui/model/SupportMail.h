#pragma once

#include <QString>
#include <QUrl>

namespace dowsel {

inline constexpr char supportMailbox[] = "support@dowsel.app";

// The version and build the support mail names; "?" where the build does not say.
QString applicationVersionText();
QString applicationBuildText();

// "Debian GNU/Linux 12 (bookworm), Linux 6.1.0-18-amd64", from the os-release text and the
// kernel release. A missing or unreadable PRETTY_NAME reads as "Linux".
QString systemDescription(const QByteArray &osRelease, const QString &kernelRelease);
// The same for this machine: /etc/os-release (else /usr/lib/os-release) and uname -r.
QString currentSystemDescription();

// "[describe what's up here]", a blank line, a separator, then "Dowsel 1.2 (45)" and the system.
QString supportMailBody(const QString &version, const QString &build, const QString &system);
// mailto: the support mailbox, with the subject "Dowsel support" and `body`, percent-encoded.
QUrl supportMailUrl(const QString &body);

} // namespace dowsel
