#pragma once

#include <QWidget>

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

    Role role() const { return m_role; }
    bool isOnScreen() const { return isVisible(); }
    // Shows the panel without activating it.
    void orderFront();
    // Keyboard panels: shows, raises over the toast and takes the keyboard.
    void makeKeyAndOrderFront();
    void orderOut();

    // Whether this panel draws with real translucency; without a compositor it is shaped to
    // what it draws instead.
    bool isTranslucent() const { return m_translucent; }

protected:
    void showEvent(QShowEvent *event) override;

private:
    Role m_role;
    bool m_translucent;
};

} // namespace dowsel
