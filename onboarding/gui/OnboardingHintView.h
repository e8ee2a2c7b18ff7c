#pragma once

#include "onboarding/OnboardingContent.h"

#include <QWidget>

namespace dowsel {

// The practice hint under the toast: what the phase says, the shortcut rows with their key
// caps in one column, the link to the expiry setting and the buttons.
class OnboardingHintView : public QWidget {
    Q_OBJECT
public:
    explicit OnboardingHintView(const HintContent &content, QWidget *parent = nullptr);

    const HintContent &content() const { return m_content; }

Q_SIGNALS:
    void openSettingsClicked();
    void doneClicked();
    void concludedDismissClicked();

private:
    HintContent m_content;
};

} // namespace dowsel
