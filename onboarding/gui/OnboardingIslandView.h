#pragma once

#include "onboarding/OnboardingContent.h"

#include <QPainterPath>
#include <QWidget>

#include <array>

class QGraphicsOpacityEffect;
class QLabel;
class QPushButton;

namespace dowsel {

class ShortcutCommandsList;
class StepDots;

// The onboarding's content in the black island: header icon, title, body, the step's badges
// or message, the buttons and the step dots. It shows exactly what it is given; the flow
// decides. Shift+Enter presses the primary button while the view has the keyboard.
class OnboardingIslandView : public QWidget {
    Q_OBJECT
public:
    static constexpr int islandWidth = 520;

    explicit OnboardingIslandView(QWidget *parent = nullptr);

    // `shownItems`: how many of the staggered items are in (see onboardingAppearItems).
    void render(const OnboardingContent &content, int shownItems, double topInset);
    const OnboardingContent &content() const { return m_content; }
    // The island's outline in widget coordinates, for the panel's shape.
    QPainterPath islandOutline() const;

    QPushButton *primaryButton() const { return m_primary; }
    // The commands to bind, once a step has shown them; null before.
    ShortcutCommandsList *commandsList() const { return m_commands; }

Q_SIGNALS:
    void primaryClicked();
    void secondaryClicked();
    void openSettingsClicked();

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void setItemShown(int index, bool shown);

    OnboardingContent m_content;
    QLabel *m_icon;
    QLabel *m_title;
    QLabel *m_body;
    QWidget *m_extras;
    QWidget *m_badges;
    QLabel *m_message;
    ShortcutCommandsList *m_commands = nullptr;
    QWidget *m_buttons;
    StepDots *m_dots;
    QPushButton *m_skip;
    QPushButton *m_openSettings;
    QPushButton *m_primary;
    std::array<QGraphicsOpacityEffect *, onboardingAppearItems> m_itemEffects{};
};

// One dot per step, the current one filled.
class StepDots : public QWidget {
    Q_OBJECT
public:
    explicit StepDots(QWidget *parent = nullptr);
    void setCurrent(int current);
    int current() const { return m_current; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int m_current = 0;
};

} // namespace dowsel
