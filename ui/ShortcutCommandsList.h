#pragma once

#include "app/ShortcutCommands.h"

#include <QWidget>

#include <vector>

class QCheckBox;
class QLabel;
class QPushButton;

namespace dowsel {

// The `dowsel toast` commands the user binds in the desktop's keyboard settings where the
// desktop does not bind Dowsel's shortcuts: where to bind them on this desktop, each command
// line with a button that copies it, and (on the settings page) "I have bound these commands".
class ShortcutCommandsList final : public QWidget {
    Q_OBJECT
public:
    // `page`: the settings page's look, with the confirmation box; `island`: light text on the
    // onboarding's black island, in two columns, without it.
    enum class Look { page, island };

    // `program` starts every command line ("dowsel", or the executable's path); `desktop` is
    // XDG_CURRENT_DESKTOP, for where to bind them.
    ShortcutCommandsList(const QString &program, const QString &desktop, Look look, QWidget *parent = nullptr);

    QStringList commandLines() const;
    QPushButton *copyButton(const QString &action) const;
    QString placeText() const;
    // The confirmation box; null in the island's look.
    QCheckBox *confirmBox() const { return m_confirm; }
    // Ticks the box without telling anyone.
    void setConfirmed(bool confirmed);
    // A line under the box: which commands Dowsel saw arrive from key bindings.
    void setSeen(const QStringList &actions);

Q_SIGNALS:
    void confirmedChanged(bool confirmed);

private:
    void copy(int row);

    struct Row {
        QString action;
        QString line;
        QPushButton *copy;
    };
    std::vector<Row> m_rows;
    QLabel *m_place;
    QCheckBox *m_confirm = nullptr;
    QLabel *m_seen = nullptr;
};

} // namespace dowsel
