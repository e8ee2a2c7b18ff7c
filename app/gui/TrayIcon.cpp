#include "app/gui/TrayIcon.h"

#include "core/Logging.h"

#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QSystemTrayIcon>

namespace dowsel {

namespace {

// A small island with a downward arrow, drawn; for a build without the SVG icon plugin.
QIcon drawnTrayIcon()
{
    QIcon icon;
    for (int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal s = size;
        QPainterPath island;
        island.addRoundedRect(QRectF(s * 0.06, s * 0.18, s * 0.88, s * 0.64), s * 0.3, s * 0.3);
        painter.fillPath(island, QColor(20, 20, 20));
        QPen pen(QColor(120, 220, 140), qMax<qreal>(1.5, s * 0.09), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
        painter.setPen(pen);
        painter.drawLine(QPointF(s * 0.5, s * 0.3), QPointF(s * 0.5, s * 0.66));
        painter.drawPolyline(QPolygonF({QPointF(s * 0.36, s * 0.52), QPointF(s * 0.5, s * 0.66), QPointF(s * 0.64, s * 0.52)}));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

QIcon trayIcon()
{
    // The installed theme's copy first, so that a desktop that recolours symbolic icons can.
    const QIcon embedded(QStringLiteral(":/icons/app.dowsel.Dowsel-symbolic.svg"));
    QIcon icon = QIcon::fromTheme(QStringLiteral("app.dowsel.Dowsel-symbolic"), embedded);
    if (icon.pixmap(22, 22).isNull())
        icon = drawnTrayIcon();
    return icon;
}

QIcon applicationIcon()
{
    const QIcon embedded(QStringLiteral(":/icons/app.dowsel.Dowsel.svg"));
    return QIcon::fromTheme(QStringLiteral("app.dowsel.Dowsel"), embedded);
}

TrayIcon::TrayIcon(QObject *parent) : QObject(parent), m_icon(new QSystemTrayIcon(this)), m_menu(new QMenu)
{
    m_icon->setIcon(trayIcon());
    m_icon->setToolTip(QStringLiteral("Dowsel"));
    m_menu->addAction(tr("Quit Dowsel"), qApp, &QCoreApplication::quit);
    m_icon->setContextMenu(m_menu);
    connect(m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            Q_EMIT activated();
    });
}

TrayIcon::~TrayIcon()
{
    delete m_menu;
}

QRect TrayIcon::geometry() const
{
    return m_icon->geometry();
}

void TrayIcon::show()
{
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        qCWarning(lcApp) << "No system tray found; Dowsel keeps running. Start `dowsel` again to open its window.";
    }
    m_icon->show();
}

} // namespace dowsel
