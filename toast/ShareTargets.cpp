#include "toast/ShareTargets.h"

#include <QCoreApplication>
#include <QFile>
#include <QStandardPaths>

namespace dowsel {

std::vector<QByteArray> ShareTarget::arguments(const std::vector<QByteArray> &paths) const
{
    std::vector<QByteArray> arguments;
    switch (kind) {
    case Kind::email:
        // xdg-email takes one attachment per option and no "--".
        for (const QByteArray &path : paths) {
            arguments.push_back("--attach");
            arguments.push_back(path);
        }
        break;
    case Kind::bluetooth:
        arguments.push_back("--");
        arguments.insert(arguments.end(), paths.begin(), paths.end());
        break;
    }
    return arguments;
}

QByteArray findExecutableOnPath(const QByteArray &name)
{
    return QFile::encodeName(QStandardPaths::findExecutable(QString::fromLatin1(name)));
}

std::vector<ShareTarget> availableShareTargets(const ExecutableLookup &lookup)
{
    struct Candidate {
        ShareTarget::Kind kind;
        const char *title;
        const char *icon;
        const char *program;
    };
    static constexpr Candidate candidates[] = {
        {ShareTarget::Kind::email, QT_TRANSLATE_NOOP("ShareMenu", "Email"), "mail-message-new", "xdg-email"},
        {ShareTarget::Kind::bluetooth, QT_TRANSLATE_NOOP("ShareMenu", "Bluetooth"), "bluetooth", "bluetooth-sendto"},
    };
    std::vector<ShareTarget> targets;
    for (const Candidate &candidate : candidates) {
        const QByteArray program = lookup(candidate.program);
        if (program.isEmpty())
            continue;
        targets.push_back({candidate.kind, QCoreApplication::translate("ShareMenu", candidate.title),
                           QString::fromLatin1(candidate.icon), program});
    }
    return targets;
}

} // namespace dowsel
