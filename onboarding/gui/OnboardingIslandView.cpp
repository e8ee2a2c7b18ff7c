#include "onboarding/gui/OnboardingIslandView.h"

#include "core/Session.h"
#include "toast/IslandLayout.h"
#include "toast/gui/DynamicIslandToastView.h"
#include "toast/gui/SurfaceStyle.h"
#include "ui/ShortcutCommandsList.h"

#include <QCoreApplication>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

namespace dowsel {

namespace {

constexpr int sideInset = 28;
constexpr int iconSize = 30;
constexpr double dotSize = 6;
constexpr double dotSpacing = 6;

QLabel *makeLabel(double pixelSize, QFont::Weight weight, const QColor &color, QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setFont(surfacestyle::font(pixelSize, weight));
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
    return label;
}

// Light text on a translucent white pill, or black on white for the primary button.
QPushButton *makeButton(bool primary, QWidget *parent)
{
    auto *button = new QPushButton(parent);
    button->setFont(surfacestyle::font(13, primary ? QFont::DemiBold : QFont::Medium));
    button->setCursor(Qt::PointingHandCursor);
    button->setFocusPolicy(Qt::NoFocus);
    button->setStyleSheet(primary ? QStringLiteral("QPushButton { background: white; color: black; border: none; "
                                                   "border-radius: 13px; padding: 6px 14px; }"
                                                   "QPushButton:disabled { background: rgba(255,255,255,0.55); }")
                                  : QStringLiteral("QPushButton { background: rgba(255,255,255,0.14); color: white; "
                                                   "border: none; border-radius: 13px; padding: 6px 12px; }"));
    return button;
}

QWidget *makeBadge(const SampleBadge &badge, QWidget *parent)
{
    auto *widget = new QWidget(parent);
    auto *layout = new QHBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    QLabel *keycap = makeLabel(11, QFont::Medium, surfacestyle::primary(), widget);
    keycap->setText(badge.keycap);
    keycap->setWordWrap(false);
    keycap->setStyleSheet(QStringLiteral("background: rgba(255,255,255,0.16); border-radius: 5px; padding: 2px 6px;"));
    layout->addWidget(keycap);
    QLabel *label = makeLabel(12, QFont::Normal, surfacestyle::secondary(), widget);
    label->setText(badge.label);
    label->setWordWrap(false);
    layout->addWidget(label);
    return widget;
}

} // namespace

OnboardingIslandView::OnboardingIslandView(QWidget *parent)
    : QWidget(parent),
      m_icon(new QLabel(this)),
      m_title(makeLabel(18, QFont::Bold, surfacestyle::primary(), this)),
      m_body(makeLabel(13, QFont::Normal, surfacestyle::primary(0.75), this)),
      m_extras(new QWidget(this)),
      m_badges(new QWidget(m_extras)),
      m_message(makeLabel(12, QFont::Medium, QColor(255, 196, 92), m_extras)),
      m_buttons(new QWidget(this)),
      m_dots(new StepDots(m_buttons)),
      m_skip(makeButton(false, m_buttons)),
      m_openSettings(makeButton(false, m_buttons)),
      m_primary(makeButton(true, m_buttons))
{
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_TranslucentBackground);
    m_icon->setFixedSize(iconSize, iconSize);
    m_title->setAlignment(Qt::AlignHCenter);
    m_body->setAlignment(Qt::AlignHCenter);
    m_message->setAlignment(Qt::AlignHCenter);

    auto *badges = new QHBoxLayout(m_badges);
    badges->setContentsMargins(0, 0, 0, 0);
    badges->setSpacing(14);
    auto *extras = new QVBoxLayout(m_extras);
    extras->setContentsMargins(0, 0, 0, 0);
    extras->addWidget(m_badges, 0, Qt::AlignHCenter);
    extras->addWidget(m_message);

    auto *buttons = new QHBoxLayout(m_buttons);
    buttons->setContentsMargins(0, 0, 0, 0);
    buttons->setSpacing(8);
    buttons->addWidget(m_dots, 0, Qt::AlignVCenter);
    buttons->addStretch();
    buttons->addWidget(m_skip);
    buttons->addWidget(m_openSettings);
    buttons->addWidget(m_primary);

    auto *layout = new QVBoxLayout(this);
    layout->setSpacing(8);
    layout->addWidget(m_icon, 0, Qt::AlignHCenter);
    layout->addWidget(m_title);
    layout->addWidget(m_body);
    layout->addWidget(m_extras);
    layout->addSpacing(4);
    layout->addWidget(m_buttons);

    const std::array<QWidget *, onboardingAppearItems> items{m_icon, m_title, m_body, m_extras, m_buttons};
    for (std::size_t index = 0; index < items.size(); ++index) {
        m_itemEffects[index] = new QGraphicsOpacityEffect(items[index]);
        items[index]->setGraphicsEffect(m_itemEffects[index]);
    }

    connect(m_primary, &QPushButton::clicked, this, &OnboardingIslandView::primaryClicked);
    connect(m_skip, &QPushButton::clicked, this, &OnboardingIslandView::secondaryClicked);
    connect(m_openSettings, &QPushButton::clicked, this, &OnboardingIslandView::openSettingsClicked);
    setFixedWidth(islandWidth);
}

void OnboardingIslandView::render(const OnboardingContent &content, int shownItems, double topInset)
{
    m_content = content;
    const QIcon icon = QIcon::fromTheme(content.icon);
    m_icon->setPixmap(icon.pixmap(iconSize, iconSize));
    m_title->setText(content.title);
    m_body->setText(content.body);

    QLayout *badgeLayout = m_badges->layout();
    while (QLayoutItem *item = badgeLayout->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const SampleBadge &badge : content.badges) {
        QWidget *widget = makeBadge(badge, m_badges);
        badgeLayout->addWidget(widget);
        widget->show(); // the layout alone would show it only on the next event-loop pass
    }
    m_badges->setVisible(!content.badges.empty());
    if (content.showsCommands && !m_commands) {
        m_commands = new ShortcutCommandsList(currentCommandProgram(), currentSession().desktop,
                                              ShortcutCommandsList::Look::island, m_extras);
        static_cast<QVBoxLayout *>(m_extras->layout())->insertWidget(1, m_commands);
    }
    if (m_commands)
        m_commands->setVisible(content.showsCommands);
    m_message->setText(content.message.value_or(QString()));
    m_message->setVisible(content.message.has_value());
    m_extras->setVisible(!content.badges.empty() || content.message.has_value() || content.showsCommands);

    m_dots->setCurrent(content.stepIndex);
    m_skip->setText(QCoreApplication::translate("Onboarding", "Skip for now"));
    m_skip->setVisible(content.showsSkip);
    m_openSettings->setVisible(content.openSettings.has_value());
    if (content.openSettings)
        m_openSettings->setText(content.openSettings->title);
    m_primary->setText(content.primary.keycap.isEmpty()
            ? content.primary.title
            : content.primary.title + QStringLiteral("  ") + content.primary.keycap);
    m_primary->setEnabled(content.primary.enabled);

    for (int index = 0; index < onboardingAppearItems; ++index)
        setItemShown(index, index < shownItems);
    layout()->setContentsMargins(sideInset, int(topInset) + 14, sideInset, 18);
    // The height the wrapped texts need at the island's own width. (adjustSize() would go by
    // the size hint, whose width for a wrapped label is a guess: with a shorter button row,
    // as in "Shortcuts active", the body lost its last line.)
    layout()->activate();
    const int height = layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(islandWidth)
                                                     : layout()->totalSizeHint().height();
    resize(islandWidth, height);
    update();
}

void OnboardingIslandView::setItemShown(int index, bool shown)
{
    m_itemEffects[std::size_t(index)]->setOpacity(shown ? 1 : 0);
}

QPainterPath OnboardingIslandView::islandOutline() const
{
    return dynamicIslandShape(QRectF(rect()), island::topCornerRadius, island::bottomCornerRadius);
}

void OnboardingIslandView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(islandOutline(), Qt::black);
}

void OnboardingIslandView::keyPressEvent(QKeyEvent *event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && (event->modifiers() & Qt::ShiftModifier)) {
        if (m_primary->isEnabled())
            Q_EMIT primaryClicked();
        event->accept();
        return;
    }
    QWidget::keyPressEvent(event);
}

// MARK: Step dots

StepDots::StepDots(QWidget *parent) : QWidget(parent)
{
}

void StepDots::setCurrent(int current)
{
    if (current == m_current)
        return;
    m_current = current;
    update();
}

QSize StepDots::sizeHint() const
{
    return QSize(int(onboardingStepCount * dotSize + (onboardingStepCount - 1) * dotSpacing), int(dotSize));
}

void StepDots::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double y = (height() - dotSize) / 2;
    for (int index = 0; index < onboardingStepCount; ++index) {
        painter.setBrush(surfacestyle::primary(index == m_current ? 1 : 0.3));
        painter.drawEllipse(QRectF(index * (dotSize + dotSpacing), y, dotSize, dotSize));
    }
}

} // namespace dowsel
