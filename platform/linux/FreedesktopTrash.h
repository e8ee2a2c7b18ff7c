#pragma once

#include "platform/Trash.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace dowsel {

// The freedesktop.org Trash, as file managers read it. An item on the home volume goes to
// $XDG_DATA_HOME/Trash; an item on another volume goes to that volume's own Trash, never
// across volumes (that would be a copy and a delete). The item itself is moved, link or
// not: nothing is followed, and the user's file is never unlinked.
//
// A file that another program has open is trashed all the same: on Linux a rename does not
// disturb the open descriptor, so the program keeps reading or writing the same file, now
// in the Trash, and the user can restore it from there.
class FreedesktopTrash final : public Trash {
public:
    // `dataHome` holds the home Trash; by default $XDG_DATA_HOME, else ~/.local/share.
    explicit FreedesktopTrash(QByteArray dataHome = defaultDataHome());

    std::optional<QString> moveToTrash(const QByteArray &path) override;
    std::optional<QString> trashItem(const QByteArray &path, TrashEntry *made) override;
    // Path= of the entry's .trashinfo, made absolute again for a volume's own Trash.
    std::optional<QByteArray> originalPath(const TrashEntry &entry) override;
    std::optional<QString> restore(const TrashEntry &entry, const QByteArray &target, bool *clash) override;

    static QByteArray defaultDataHome();

    // A trash folder (holding files/ and info/) and the folder its entries' Path= values are
    // relative to: empty for the home Trash, whose entries carry absolute paths.
    struct Location {
        QByteArray directory;
        QByteArray topdir;
    };
    // The Trash of the volume mounted at `topdir`: $topdir/.Trash/$uid when the volume has an
    // administrator's .Trash (a real directory, not a link, with the sticky bit), else
    // $topdir/.Trash-$uid. Created when missing; null and `error` set when neither is usable.
    static std::optional<Location> topdirTrash(const QByteArray &topdir, QString *error);
    // Moves the item at `absolutePath` into `trash` under a name not yet used there: the
    // .trashinfo file is created exclusively first, then the item is renamed next to it; if
    // the rename fails the info file is removed again. Returns the error, if any.
    static std::optional<QString> moveInto(const Location &trash, const QByteArray &absolutePath,
                                           TrashEntry *made = nullptr);

private:
    std::optional<Location> homeTrash(QString *error) const;

    QByteArray m_dataHome;
};

} // namespace dowsel
