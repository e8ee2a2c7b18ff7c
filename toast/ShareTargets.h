#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <vector>

namespace dowsel {

// One way to share files that this machine offers: a helper program and how it takes files.
struct ShareTarget {
    enum class Kind { email, bluetooth };

    Kind kind = Kind::email;
    QString title;
    QString icon;       // freedesktop icon name
    QByteArray program; // absolute path

    // The argument vector for sending `paths` (absolute). A path can never be read as an
    // option: it starts with "/" and, where the program allows, follows "--".
    std::vector<QByteArray> arguments(const std::vector<QByteArray> &paths) const;
    bool operator==(const ShareTarget &) const = default;
};

// Finds a program by name on PATH; empty when it is not installed.
using ExecutableLookup = std::function<QByteArray(const QByteArray &name)>;
QByteArray findExecutableOnPath(const QByteArray &name);

// The share menu: the targets whose programs are installed, in menu order.
std::vector<ShareTarget> availableShareTargets(const ExecutableLookup &lookup = findExecutableOnPath);

} // namespace dowsel
