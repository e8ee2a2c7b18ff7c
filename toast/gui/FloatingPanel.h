#pragma once

#include <QWidget>

#include <functional>

namespace dowsel {

// A frameless window that floats above ordinary and full-screen windows on every desktop
// and never takes the keyboard by being shown. The toast and the hint only ever show
// something; the move input, the time input, the More menu and the share anchor take the
// keyboard, but only when the controller asks for it after activating the app.
class FloatingPanel : public QWidget {
    Q_OBJECT
public:
    enum class Role { display, keyboard };

    FloatingPanel(Role role, QSize initialSize, QWidget *parent = nullptr);

    // Keyboard panels made from now on stay out of the window manager's hands, like the
    // toast, and take the keyboard by being shown: for compositors that give an unmanaged
    // window the keyboard when it appears and would centre a managed one.
    // Asked each time a keyboard panel is made: the window manager may come up after Dowsel.
    static void setKeyboardPanelsUnmanaged(std::function<bool()> unmanaged);

    Role role() const { return m_role; }
    bool isOnScreen() const { return isVisible(); }
    // Shows the panel without activating it.
    void orderFront();
    // Keyboard panels: shows, raises over the toast and takes the keyboard, with the
    // activation token the panel was opened with the first time.
    void makeKeyAndOrderFront();

    // What the desktop handed over with the key or command that opens this panel, so that it
    // may take the focus: an xdg-activation token or an X11 startup ID. Set before the panel
    // is first shown; empty without one.
    void setActivationToken(const QString &token) { m_activationToken = token; }
    const QString &activationToken() const { return m_activationToken; }
    void orderOut();

    // Whether this panel draws with real translucency; without a compositor it is shaped to
    // what it draws instead.
    bool isTranslucent() const { return m_translucent; }
    // Out of the window manager's hands (X11 override-redirect).
    bool isUnmanaged() const { return m_unmanaged; }

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    FloatingPanel(Role role, bool unmanaged, QSize initialSize, QWidget *parent);
    void grabKeyboardWhenViewable();

    Role m_role;
    bool m_unmanaged;
    // Unmanaged keyboard panels: attempts left at grabbing the keyboard once shown.
    int m_grabAttempts = 0;
    bool m_translucent;
    QString m_activationToken;
    bool m_activationTokenUsed = false;
};

} // namespace dowsel
