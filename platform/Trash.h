#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace dowsel {

// One item in a Trash: the trash folder (holding files/ and info/) and its name there.
struct TrashEntry {
    QByteArray directory;
    QByteArray name;

    bool isValid() const { return !directory.isEmpty() && !name.isEmpty(); }
    QByteArray itemPath() const { return directory + "/files/" + name; }
    QByteArray infoPath() const { return directory + "/info/" + name + ".trashinfo"; }
    bool operator==(const TrashEntry &) const = default;
};

// Moves files to the desktop Trash, and puts them back. The calls block, so run them on a
// worker, never on the main thread. Each returns nothing on success, else the reason it
// failed.
class Trash {
public:
    virtual ~Trash() = default;
    virtual std::optional<QString> moveToTrash(const QByteArray &path) = 0;
    // The same, and says which entry the item became (left empty where the Trash cannot tell).
    virtual std::optional<QString> trashItem(const QByteArray &path, TrashEntry *made)
    {
        if (made)
            *made = {};
        return moveToTrash(path);
    }
    // The path the entry's item was trashed from, as its information file says; none when the
    // entry is gone (emptied, or restored by another program) or its information unreadable.
    virtual std::optional<QByteArray> originalPath(const TrashEntry &) { return std::nullopt; }
    // Renames the entry's item to `target` (never over an existing item: EEXIST is reported
    // through `clash`), then removes its information file.
    virtual std::optional<QString> restore(const TrashEntry &, const QByteArray &, bool *clash)
    {
        if (clash)
            *clash = false;
        return QStringLiteral("this Trash cannot put items back");
    }
};

} // namespace dowsel
