#include "toast/gui/SurfacePanel.h"

#include "toast/gui/SurfaceStyle.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>

namespace dowsel {

SurfacePanel::SurfacePanel(Role role, QSize initialSize)
    : FloatingPanel(role, initialSize), m_fade(this, "windowOpacity")
{
    connect(&m_fade, &QPropertyAnimation::finished, this, [this] {
        orderOut();
        deleteLater();
    });
}

void SurfacePanel::setContent(QWidget *content)
{
    delete m_content;
    m_content = content;
    content->setParent(this);
    content->setGeometry(rect());
    content->show();
    setFocusProxy(content);
    content->setFocus();
    for (QLineEdit *field : content->findChildren<QLineEdit *>())
        field->installEventFilter(this);
    if (auto *field = qobject_cast<QLineEdit *>(content))
        field->installEventFilter(this);
}

// A toast shortcut pressed while a text field has the keyboard (Super+Shift+T in the move
// input) is no text: it must not type its letter into the query.
bool SurfacePanel::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->modifiers() & Qt::MetaModifier) {
            event->accept();
            return event->type() == QEvent::KeyPress;
        }
    }
    return FloatingPanel::eventFilter(watched, event);
}

void SurfacePanel::fadeOutAndDelete()
{
    if (m_fade.state() == QAbstractAnimation::Running)
        return;
    if (!isVisible()) {
        deleteLater();
        return;
    }
    m_fade.setDuration(qRound(fadeOutSeconds * 1000));
    m_fade.setStartValue(windowOpacity());
    m_fade.setEndValue(0.0);
    m_fade.start();
}

void SurfacePanel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(surfacestyle::primary(0.12), 0.5));
    painter.setBrush(surfacestyle::panelBackground());
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.25, 0.25, -0.25, -0.25), surfacestyle::cornerRadius,
                            surfacestyle::cornerRadius);
}

void SurfacePanel::resizeEvent(QResizeEvent *event)
{
    FloatingPanel::resizeEvent(event);
    if (m_content)
        m_content->setGeometry(rect());
    if (!isTranslucent()) {
        QPainterPath outline;
        outline.addRoundedRect(QRectF(rect()), surfacestyle::cornerRadius, surfacestyle::cornerRadius);
        setMask(QRegion(outline.toFillPolygon().toPolygon()));
    }
}

} // namespace dowsel
