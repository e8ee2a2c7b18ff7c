#include "ui/PermissionRow.h"

#include "ui/PopoverStyle.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace dowsel {

PermissionRow::PermissionRow(const QString &title, QWidget *parent)
    : QWidget(parent), m_status(new QLabel(this)), m_detail(new QLabel(this)), m_openSettings(new QPushButton(this))
{
    auto *titleLabel = new QLabel(title, this);
    m_detail->setWordWrap(true);
    m_detail->setFont(popoverstyle::captionFont(font()));
    QPalette secondary = m_detail->palette();
    secondary.setColor(QPalette::WindowText, popoverstyle::secondaryText(palette()));
    m_detail->setPalette(secondary);
    m_status->setFixedWidth(16);
    m_status->setAlignment(Qt::AlignTop | Qt::AlignHCenter);

    m_openSettings->setObjectName(QStringLiteral("openSettings"));
    m_openSettings->setText(tr("Open Settings"));
    QFont small = popoverstyle::captionFont(popoverstyle::captionFont(font()));
    m_openSettings->setFont(small);
    connect(m_openSettings, &QPushButton::clicked, this, &PermissionRow::openSettingsClicked);

    auto *texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addWidget(titleLabel);
    texts->addWidget(m_detail);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 2, 0, 2);
    row->setSpacing(8);
    row->addWidget(m_status, 0, Qt::AlignTop);
    row->addLayout(texts, 1);
    row->addWidget(m_openSettings, 0, Qt::AlignVCenter);
    setState(false, QString());
}

void PermissionRow::setState(bool granted, const QString &detail)
{
    m_granted = granted;
    m_detail->setText(detail);
    const qreal ratio = devicePixelRatioF();
    m_status->setPixmap(granted ? popoverstyle::checkCircle(16, popoverstyle::green, true, ratio)
                                : popoverstyle::warningTriangle(16, popoverstyle::orange, ratio));
    m_openSettings->setVisible(!granted && m_actionAvailable);
}

void PermissionRow::setActionTitle(const QString &title)
{
    m_openSettings->setText(title);
}

void PermissionRow::setActionAvailable(bool available)
{
    m_actionAvailable = available;
    m_openSettings->setVisible(!m_granted && m_actionAvailable);
}

QString PermissionRow::detail() const
{
    return m_detail->text();
}

} // namespace dowsel
