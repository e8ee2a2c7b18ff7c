#include "ui/ShortcutCommandsList.h"

#include <QCheckBox>
#include <QClipboard>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace dowsel {

namespace {

void setTextColor(QWidget *widget, const QColor &color)
{
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, color);
    palette.setColor(QPalette::Text, color);
    palette.setColor(QPalette::ButtonText, color);
    widget->setPalette(palette);
}

QString copyTitle()
{
    return ShortcutCommandsList::tr("Copy");
}

} // namespace

ShortcutCommandsList::ShortcutCommandsList(const QString &program, const QString &desktop, Look look, QWidget *parent)
    : QWidget(parent), m_place(new QLabel(commandBindingPlace(desktop), this))
{
    const bool island = look == Look::island;
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    m_place->setObjectName(QStringLiteral("bindingPlace"));
    m_place->setWordWrap(true);
    m_place->setTextFormat(Qt::PlainText);
    if (island) {
        setTextColor(m_place, QColor(255, 255, 255, 190));
        m_place->setAlignment(Qt::AlignHCenter);
    }
    layout->addWidget(m_place);

    auto *grid = new QGridLayout;
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(island ? 3 : 4);
    QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (island)
        mono.setPixelSize(11);
    const std::vector<ToastCommand> commands = toastCommands();
    const int perColumn = island ? int(commands.size() + 1) / 2 : int(commands.size());
    for (int i = 0; i < int(commands.size()); ++i) {
        const ToastCommand &command = commands[size_t(i)];
        const QString line = toastCommandLine(program, command);
        auto *label = new QLabel(this);
        label->setObjectName(QStringLiteral("command-") + command.action);
        label->setFont(mono);
        label->setTextFormat(Qt::PlainText);
        // A long program path gives way on the left: the action always shows, and the tooltip
        // and the copy hold the whole line.
        label->setText(QFontMetrics(mono).elidedText(line, Qt::ElideLeft, island ? 150 : 230));
        label->setToolTip(line + QLatin1Char('\n')
                          + (command.usualKeys.isEmpty()
                                 ? command.description
                                 : tr("%1 — for example on %2").arg(command.description, command.usualKeys)));
        auto *button = new QPushButton(copyTitle(), this);
        button->setObjectName(QStringLiteral("copy-") + command.action);
        button->setCursor(Qt::PointingHandCursor);
        button->setAccessibleName(tr("Copy “%1”").arg(line));
        // Wide enough for "Copied" too, so the row does not jump.
        const QFontMetrics metrics(button->font());
        button->setMinimumWidth(std::max(metrics.horizontalAdvance(copyTitle()), metrics.horizontalAdvance(tr("Copied")))
                                + (island ? 20 : 24));
        if (island) {
            setTextColor(label, Qt::white);
            button->setFocusPolicy(Qt::NoFocus);
            button->setStyleSheet(QStringLiteral("QPushButton { background: rgba(255,255,255,0.14); color: white; "
                                                 "border: none; border-radius: 8px; padding: 1px 8px; }"));
        }
        const int row = i % perColumn;
        const int column = (i / perColumn) * 2;
        grid->addWidget(label, row, column);
        grid->addWidget(button, row, column + 1);
        m_rows.push_back({command.action, line, button});
        connect(button, &QPushButton::clicked, this, [this, i] { copy(i); });
    }
    layout->addLayout(grid);

    if (!island) {
        m_confirm = new QCheckBox(tr("I have bound these commands"), this);
        m_confirm->setObjectName(QStringLiteral("commandsBound"));
        connect(m_confirm, &QCheckBox::toggled, this, &ShortcutCommandsList::confirmedChanged);
        layout->addWidget(m_confirm);
        m_seen = new QLabel(this);
        m_seen->setObjectName(QStringLiteral("commandsSeen"));
        m_seen->setWordWrap(true);
        m_seen->hide();
        layout->addWidget(m_seen);
    }
}

QStringList ShortcutCommandsList::commandLines() const
{
    QStringList lines;
    for (const Row &row : m_rows)
        lines << row.line;
    return lines;
}

QPushButton *ShortcutCommandsList::copyButton(const QString &action) const
{
    for (const Row &row : m_rows) {
        if (row.action == action)
            return row.copy;
    }
    return nullptr;
}

QString ShortcutCommandsList::placeText() const
{
    return m_place->text();
}

void ShortcutCommandsList::setConfirmed(bool confirmed)
{
    if (!m_confirm)
        return;
    const QSignalBlocker blocker(m_confirm);
    m_confirm->setChecked(confirmed);
}

void ShortcutCommandsList::setSeen(const QStringList &actions)
{
    if (!m_seen)
        return;
    QStringList commands;
    for (const QString &action : actions)
        commands << QStringLiteral("“dowsel toast %1”").arg(action);
    m_seen->setText(commands.isEmpty() ? QString()
                                       : tr("Dowsel has seen %1 arrive from outside a terminal, as from a key "
                                            "binding.")
                                             .arg(commands.join(QStringLiteral(", "))));
    m_seen->setVisible(!commands.isEmpty());
}

void ShortcutCommandsList::copy(int index)
{
    const Row &copied = m_rows[size_t(index)];
    QGuiApplication::clipboard()->setText(copied.line);
    for (const Row &row : m_rows)
        row.copy->setText(row.copy == copied.copy ? tr("Copied") : copyTitle());
}

} // namespace dowsel
