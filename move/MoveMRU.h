#pragma once

#include "platform/Preferences.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace dowsel {

// The folders the user recently moved files into, most recent first, without duplicates,
// saved under one preferences key as a list of texts. Main thread only.
//
// Paths are compared as exact bytes. A path that is not valid UTF-8 cannot be written as a
// text: it is remembered for this session but left out of what is saved.
class MoveMRU {
public:
    explicit MoveMRU(Preferences &preferences, QString key = prefkeys::moveDestinations,
                     qsizetype capacity = 20);

    // Reads the saved list; a stored value that is not a list of texts counts as empty.
    void load();
    // Makes `path` the most recent destination and saves.
    void record(const QByteArray &path);
    // The most recent destinations that still are folders, at most `limit`. Vanished ones are
    // dropped from the history, which is then saved.
    QList<QByteArray> suggestions(qsizetype limit);
    const QList<QByteArray> &paths() const { return m_paths; }

private:
    void save();

    Preferences &m_preferences;
    const QString m_key;
    const qsizetype m_capacity;
    QList<QByteArray> m_paths;
};

} // namespace dowsel
