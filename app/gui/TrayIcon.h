#pragma once

#include <QIcon>
#include <QObject>
#include <QRect>

class QSystemTrayIcon;
class QMenu;

namespace dowsel {

// The symbolic icon of the tray (app.dowsel.Dowsel-symbolic) and the application's icon,
// from the icon theme, else embedded.
QIcon trayIcon();
QIcon applicationIcon();

// The icon in the panel's tray. With no tray host it says so in the log and the app keeps
// running; a second `dowsel` then reaches the popover.
class TrayIcon final : public QObject {
    Q_OBJECT
public:
    explicit TrayIcon(QObject *parent = nullptr);
    ~TrayIcon() override;
    void show();
    // Where the icon is on screen; empty when the tray host does not say.
    QRect geometry() const;

Q_SIGNALS:
    void activated();

private:
    QSystemTrayIcon *m_icon;
    QMenu *m_menu;
};

} // namespace dowsel
