#include "platform/linux/gui/FreedesktopNotifier.h"

#include "core/Logging.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEventLoop>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>
#include <QVariantMap>
#include <QWidget>

namespace dowsel {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString objectPath = QStringLiteral("/org/freedesktop/Notifications");

QDBusMessage notifyCall(const Notice &notice)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, objectPath, service, QStringLiteral("Notify"));
    const bool critical = notice.urgency == Notice::Urgency::critical;
    QVariantMap hints{
        {QStringLiteral("urgency"), QVariant::fromValue<uchar>(critical ? 2 : 1)},
        {QStringLiteral("desktop-entry"), QStringLiteral("dowsel")},
    };
    // app_name, replaces_id, app_icon, summary, body, actions, hints, expire_timeout (0: until
    // the user closes it, for what they must not miss).
    call << QStringLiteral("Dowsel") << uint(0) << QStringLiteral("dowsel") << notice.summary << notice.body
         << QStringList() << hints << int(critical ? 0 : -1);
    return call;
}

} // namespace

FreedesktopNotifier::FreedesktopNotifier(QDBusConnection bus, QObject *parent)
    : QObject(parent), m_bus(std::move(bus))
{
}

FreedesktopNotifier::~FreedesktopNotifier()
{
    delete m_panel;
}

void FreedesktopNotifier::notify(const Notice &notice)
{
    QMetaObject::invokeMethod(this, [this, notice] { send(notice); }, Qt::QueuedConnection);
}

void FreedesktopNotifier::send(const Notice &notice)
{
    qCInfo(lcApp).noquote() << "Notice:" << notice.summary;
    if (!m_bus.isConnected()) {
        showPanel(notice);
        return;
    }
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(notifyCall(notice), 5000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, notice] {
        watcher->deleteLater();
        if (watcher->isError()) {
            qCInfo(lcApp).noquote() << "No notification service (" + watcher->error().message()
                                           + "): showing the notice";
            showPanel(notice);
        }
    });
}

void FreedesktopNotifier::notifyAndWait(const Notice &notice, int timeoutMs)
{
    if (m_bus.isConnected()) {
        const QDBusMessage reply = m_bus.call(notifyCall(notice), QDBus::Block, timeoutMs);
        if (reply.type() == QDBusMessage::ReplyMessage)
            return;
        qCInfo(lcApp).noquote() << "No notification service (" + reply.errorMessage() + "): showing the notice";
    }
    showPanel(notice);
    QEventLoop loop;
    connect(m_panel, &QObject::destroyed, &loop, &QEventLoop::quit);
    loop.exec();
}

void FreedesktopNotifier::showPanel(const Notice &notice)
{
    if (!m_panel) {
        auto *panel = new QWidget(nullptr, Qt::Window | Qt::WindowStaysOnTopHint);
        panel->setAttribute(Qt::WA_DeleteOnClose);
        panel->setWindowTitle(QStringLiteral("Dowsel"));
        panel->setObjectName(QStringLiteral("DowselNoticePanel"));
        auto *layout = new QVBoxLayout(panel);
        m_panelNotices = new QVBoxLayout;
        layout->addLayout(m_panelNotices);
        auto *buttons = new QHBoxLayout;
        buttons->addStretch();
        auto *close = new QPushButton(tr("Close"), panel);
        connect(close, &QPushButton::clicked, panel, &QWidget::close);
        buttons->addWidget(close);
        layout->addLayout(buttons);
        m_panel = panel;
    }
    auto *summary = new QLabel(QStringLiteral("<b>%1</b>").arg(notice.summary.toHtmlEscaped()), m_panel);
    auto *body = new QLabel(notice.body, m_panel);
    body->setTextFormat(Qt::PlainText);
    body->setWordWrap(true);
    body->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_panelNotices->addWidget(summary);
    m_panelNotices->addWidget(body);
    m_panel->setFixedWidth(420);
    m_panel->adjustSize();
    if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        m_panel->move(area.right() - m_panel->width() - 16, area.top() + 16);
    }
    m_panel->show();
    m_panel->raise();
}

} // namespace dowsel
