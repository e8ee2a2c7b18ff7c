#include "onboarding/gui/OnboardingHintView.h"

#include "toast/gui/SurfaceStyle.h"

#include <QFontMetrics>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace dowsel {

namespace {

QLabel *makeLabel(const QString &text, double pixelSize, QFont::Weight weight, const QColor &color, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setFont(surfacestyle::font(pixelSize, weight));
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
    return label;
}

QPushButton *makeButton(const QString &title, bool flat, QWidget *parent)
{
    auto *button = new QPushButton(title, parent);
    button->setFont(surfacestyle::font(12, QFont::Medium));
    button->setCursor(Qt::PointingHandCursor);
    button->setFocusPolicy(Qt::NoFocus);
    button->setStyleSheet(flat ? QStringLiteral("QPushButton { background: none; border: none; color: "
                                                "rgb(120,180,255); text-align: left; padding: 0; }")
                               : QStringLiteral("QPushButton { background: rgba(255,255,255,0.14); color: white; "
                                                "border: none; border-radius: 11px; padding: 4px 12px; }"));
    return button;
}

} // namespace

OnboardingHintView::OnboardingHintView(const HintContent &content, QWidget *parent)
    : QWidget(parent), m_content(content)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 14, 18, 14);
    layout->setSpacing(8);

    auto *header = new QHBoxLayout;
    header->setSpacing(10);
    auto *icon = new QLabel(this);
    icon->setPixmap(QIcon::fromTheme(content.icon).pixmap(20, 20));
    header->addWidget(icon, 0, Qt::AlignTop);
    header->addWidget(makeLabel(content.headline, 13, QFont::DemiBold, surfacestyle::primary(), this), 1);
    layout->addLayout(header);

    if (!content.rows.empty()) {
        // Every key cap gets the width of the widest, so that the texts line up.
        const QFontMetrics metrics(surfacestyle::font(11, QFont::Medium));
        int keycapColumn = 0;
        for (const HintRow &row : content.rows)
            keycapColumn = std::max(keycapColumn, metrics.horizontalAdvance(row.keycap) + 14);
        auto *rows = new QGridLayout;
        rows->setHorizontalSpacing(10);
        rows->setVerticalSpacing(4);
        int line = 0;
        for (const HintRow &row : content.rows) {
            QLabel *keycap = makeLabel(row.keycap, 11, QFont::Medium, surfacestyle::primary(), this);
            keycap->setWordWrap(false);
            keycap->setAlignment(Qt::AlignCenter);
            keycap->setFixedWidth(keycapColumn);
            keycap->setStyleSheet(QStringLiteral("background: rgba(255,255,255,0.16); border-radius: 5px;"));
            rows->addWidget(keycap, line, 0, Qt::AlignTop);
            rows->addWidget(makeLabel(row.text, 12, QFont::Normal, surfacestyle::primary(0.85), this), line, 1);
            ++line;
            if (line == 1 && !content.settingsLink.isEmpty()) {
                QPushButton *link = makeButton(content.settingsLink, true, this);
                link->setIcon(QIcon::fromTheme(QStringLiteral("configure")));
                connect(link, &QPushButton::clicked, this, &OnboardingHintView::openSettingsClicked);
                rows->addWidget(link, line++, 1, Qt::AlignLeft);
            }
        }
        layout->addLayout(rows);
    }
    if (!content.tip.isEmpty())
        layout->addWidget(makeLabel(content.tip, 11, QFont::Normal, surfacestyle::secondary(), this));
    if (!content.body.isEmpty())
        layout->addWidget(makeLabel(content.body, 12, QFont::Normal, surfacestyle::primary(0.85), this));

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    if (!content.concludedDismissTitle.isEmpty()) {
        QPushButton *dismiss = makeButton(content.concludedDismissTitle, false, this);
        connect(dismiss, &QPushButton::clicked, this, &OnboardingHintView::concludedDismissClicked);
        buttons->addWidget(dismiss);
    }
    QPushButton *done = makeButton(content.doneTitle, false, this);
    connect(done, &QPushButton::clicked, this, &OnboardingHintView::doneClicked);
    buttons->addWidget(done);
    layout->addLayout(buttons);
}

} // namespace dowsel
