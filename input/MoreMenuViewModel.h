#pragma once

#include <QObject>
#include <QString>

#include <optional>
#include <vector>

namespace dowsel {

struct MoreMenuItem {
    enum class Action { open, shareAndDelete, copyAndDelete, delete_ };

    int id = 0;
    Action action = Action::open;
    QString icon;    // freedesktop icon name
    QString title;
    QString keycap;
    bool isDestructive = false;
};

// The More menu of a toast: four fixed rows and a keyboard selection. Main thread only.
class MoreMenuViewModel final : public QObject {
    Q_OBJECT
public:
    explicit MoreMenuViewModel(QObject *parent = nullptr);

    const std::vector<MoreMenuItem> &items() const { return m_items; }
    int selectedIndex() const { return m_selectedIndex; }
    // Notifies only when the value changes.
    void setSelectedIndex(int index);
    // Clamped to the rows, no wrap-around.
    void moveSelection(int by);
    std::optional<MoreMenuItem::Action> selectedAction() const;

Q_SIGNALS:
    void selectedIndexChanged(int index);

private:
    std::vector<MoreMenuItem> m_items;
    int m_selectedIndex = 0;
};

} // namespace dowsel
