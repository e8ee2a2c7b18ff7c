#include "platform/linux/gui/PortalKeyGrabber.h"

#include "core/Logging.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>

#include <algorithm>

namespace dowsel {

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString registryInterface = QStringLiteral("org.freedesktop.host.portal.Registry");

// One entry of the portal's a(sa{sv}) shortcut lists.
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

using PortalShortcuts = QList<PortalShortcut>;

QDBusArgument &operator<<(QDBusArgument &argument, const PortalShortcut &shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, PortalShortcut &shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

constexpr unsigned superShift = SuperModifier | ShiftModifier;

// What the desktop's shortcut settings list for each shortcut.
const std::map<QString, const char *> &descriptions()
{
    static const std::map<QString, const char *> texts{
        {QStringLiteral("keep"), QT_TRANSLATE_NOOP("PortalKeyGrabber", "Keep the new download as a temporary file")},
        {QStringLiteral("keep-for"), QT_TRANSLATE_NOOP("PortalKeyGrabber", "Type how long to keep the new download")},
        {QStringLiteral("share"), QT_TRANSLATE_NOOP("PortalKeyGrabber", "Share the new download")},
        {QStringLiteral("copy"), QT_TRANSLATE_NOOP("PortalKeyGrabber", "Copy the new download")},
        {QStringLiteral("open"), QT_TRANSLATE_NOOP("PortalKeyGrabber", "Open the new download")},
        {QStringLiteral("move"), QT_TRANSLATE_NOOP("PortalKeyGrabber", "Move the new download to a folder")},
        {QStringLiteral("more"), QT_TRANSLATE_NOOP("PortalKeyGrabber", "More actions for the new download")},
        {QStringLiteral("delete"), QT_TRANSLATE_NOOP("PortalKeyGrabber", "Move the new download to the Trash")},
        {QStringLiteral("trash-copy"),
         QT_TRANSLATE_NOOP("PortalKeyGrabber", "Move the new download to the Trash when it is a copy")},
        {QStringLiteral("dismiss"), QT_TRANSLATE_NOOP("PortalKeyGrabber", "Close the toast and leave the download alone")},
    };
    return texts;
}

// The a(sa{sv}) list a portal's answer or signal carries; empty when it carries none.
PortalShortcuts shortcutsIn(const QVariant &value)
{
    PortalShortcuts list;
    if (value.canConvert<QDBusArgument>())
        value.value<QDBusArgument>() >> list;
    return list;
}

// Whether a listed shortcut has keys: the portal sends "trigger_description" empty for one
// that has none yet.
bool hasKeys(const PortalShortcut &shortcut)
{
    const QVariant trigger = shortcut.properties.value(QStringLiteral("trigger_description"));
    return !trigger.isValid() || !trigger.toString().isEmpty();
}

} // namespace

} // namespace dowsel

Q_DECLARE_METATYPE(dowsel::PortalShortcut)

namespace dowsel {

const std::map<QString, std::pair<KeyCombination, QString>> &PortalKeyGrabber::shortcuts()
{
    // Escape alone would be taken from every application for good: dismissing asks for
    // Super+Shift+Escape instead, and stands for the toast's Escape.
    static const std::map<QString, std::pair<KeyCombination, QString>> table{
        {QStringLiteral("keep"), {{ShortcutKey::T, superShift}, QStringLiteral("LOGO+SHIFT+t")}},
        {QStringLiteral("keep-for"), {{ShortcutKey::T, superShift | AltModifier}, QStringLiteral("LOGO+SHIFT+ALT+t")}},
        {QStringLiteral("share"), {{ShortcutKey::S, superShift}, QStringLiteral("LOGO+SHIFT+s")}},
        {QStringLiteral("copy"), {{ShortcutKey::C, superShift}, QStringLiteral("LOGO+SHIFT+c")}},
        {QStringLiteral("open"), {{ShortcutKey::O, superShift}, QStringLiteral("LOGO+SHIFT+o")}},
        {QStringLiteral("move"), {{ShortcutKey::M, superShift}, QStringLiteral("LOGO+SHIFT+m")}},
        {QStringLiteral("more"), {{ShortcutKey::Period, superShift}, QStringLiteral("LOGO+SHIFT+period")}},
        {QStringLiteral("delete"), {{ShortcutKey::Backspace, superShift}, QStringLiteral("LOGO+SHIFT+BackSpace")}},
        {QStringLiteral("trash-copy"),
         {{ShortcutKey::Backspace, superShift | AltModifier}, QStringLiteral("LOGO+SHIFT+ALT+BackSpace")}},
        {QStringLiteral("dismiss"), {{ShortcutKey::Escape, NoModifier}, QStringLiteral("LOGO+SHIFT+Escape")}},
    };
    return table;
}

PortalKeyGrabber::PortalKeyGrabber(QDBusConnection bus, QObject *parent) : QObject(parent), m_bus(std::move(bus))
{
    // The Activated slot takes an object path: its type must be known by name to connect it.
    qRegisterMetaType<QDBusObjectPath>();
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<PortalShortcuts>();
}

QString PortalKeyGrabber::requestPath(const QString &token) const
{
    QString sender = m_bus.baseService();
    sender.remove(0, sender.startsWith(QLatin1Char(':')) ? 1 : 0);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return portalPath + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
}

bool PortalKeyGrabber::awaitResponse(const QString &token, const char *slot)
{
    // Subscribed before the call, so that a quick answer is not missed.
    m_pendingRequest = requestPath(token);
    return m_bus.connect(portalService, m_pendingRequest, requestInterface, QStringLiteral("Response"), this, slot);
}

void PortalKeyGrabber::call(const QString &method, const QVariantList &arguments, const QString &token, const char *slot,
                            std::function<void(const QString &)> onError)
{
    if (!onError)
        onError = [this](const QString &error) { finish(State::missing, error); };
    if (!awaitResponse(token, slot)) {
        onError(m_bus.lastError().message());
        return;
    }
    QDBusMessage message = QDBusMessage::createMethodCall(portalService, portalPath, shortcutsInterface, method);
    message.setArguments(arguments);
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, slot, onError] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError()) {
            m_bus.disconnect(portalService, m_pendingRequest, requestInterface, QStringLiteral("Response"), this, slot);
            onError(reply.error().message());
            return;
        }
        // Older portals name the request themselves: follow that one too.
        const QString handed = reply.value().path();
        if (handed != m_pendingRequest) {
            m_pendingRequest = handed;
            m_bus.connect(portalService, handed, requestInterface, QStringLiteral("Response"), this, slot);
        }
    });
}

void PortalKeyGrabber::start()
{
    if (m_state != State::idle)
        return;
    m_state = State::connecting;
    if (!m_bus.isConnected()) {
        finish(State::missing, QStringLiteral("no session bus"));
        return;
    }
    if (!m_bus.connect(portalService, portalPath, shortcutsInterface, QStringLiteral("Activated"), this,
                       SLOT(onActivated(QDBusObjectPath, QString, qulonglong, QVariantMap)))) {
        qCInfo(lcShortcuts).noquote() << "portal: cannot follow Activated: " + m_bus.lastError().message();
    }
    m_bus.connect(portalService, portalPath, shortcutsInterface, QStringLiteral("ShortcutsChanged"), this,
                  SLOT(onShortcutsChanged(QDBusMessage)));
    registerApp();
}

void PortalKeyGrabber::registerApp()
{
    // The desktop files the shortcuts under the application they belong to. A program not
    // started from its desktop entry has no name the portal can see unless it says which it
    // is, before any other call; portals older than 1.19 have no registry and answer an error.
    const QString appId = QGuiApplication::desktopFileName();
    if (appId.isEmpty()) {
        createSession();
        return;
    }
    QDBusMessage message = QDBusMessage::createMethodCall(portalService, portalPath, registryInterface, QStringLiteral("Register"));
    message << appId << QVariantMap();
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, appId] {
        watcher->deleteLater();
        if (watcher->isError())
            qCDebug(lcShortcuts).noquote() << "portal: no registry for " + appId + ": " + watcher->error().message();
        createSession();
    });
}

void PortalKeyGrabber::createSession()
{
    const QString token = QStringLiteral("dowsel_session");
    call(QStringLiteral("CreateSession"),
         {QVariantMap{{QStringLiteral("handle_token"), token}, {QStringLiteral("session_handle_token"), token}}}, token,
         SLOT(onCreateSessionResponse(uint, QVariantMap)));
}

void PortalKeyGrabber::onCreateSessionResponse(uint response, const QVariantMap &results)
{
    m_bus.disconnect(portalService, m_pendingRequest, requestInterface, QStringLiteral("Response"), this,
                     SLOT(onCreateSessionResponse(uint, QVariantMap)));
    // A string by the documentation; some portals send an object path.
    const QVariant handle = results.value(QStringLiteral("session_handle"));
    m_session = handle.canConvert<QDBusObjectPath>() && handle.userType() == qMetaTypeId<QDBusObjectPath>()
                    ? handle.value<QDBusObjectPath>().path()
                    : handle.toString();
    if (response != 0 || m_session.isEmpty()) {
        finish(State::declined, QStringLiteral("the desktop refused a shortcuts session"));
        return;
    }
    // The desktop keeps what an earlier start bound: binding again would ask the user again.
    const QString token = QStringLiteral("dowsel_list");
    call(QStringLiteral("ListShortcuts"),
         {QVariant::fromValue(QDBusObjectPath(m_session)), QVariantMap{{QStringLiteral("handle_token"), token}}}, token,
         SLOT(onListResponse(uint, QVariantMap)), [this](const QString &error) {
             qCDebug(lcShortcuts).noquote() << "portal: ListShortcuts failed: " + error;
             bind();
         });
}

void PortalKeyGrabber::onListResponse(uint response, const QVariantMap &results)
{
    m_bus.disconnect(portalService, m_pendingRequest, requestInterface, QStringLiteral("Response"), this,
                     SLOT(onListResponse(uint, QVariantMap)));
    const PortalShortcuts listed = shortcutsIn(results.value(QStringLiteral("shortcuts")));
    const bool allKnown = response == 0 && std::all_of(shortcuts().begin(), shortcuts().end(), [&listed](const auto &entry) {
        return std::any_of(listed.begin(), listed.end(), [&entry](const PortalShortcut &s) { return s.id == entry.first; });
    });
    if (!allKnown) {
        bind();
        return;
    }
    qCInfo(lcShortcuts) << "portal: the desktop kept the shortcuts of an earlier start";
    if (std::any_of(listed.begin(), listed.end(), hasKeys))
        finish(State::bound);
    else
        finish(State::unassigned, QStringLiteral("the desktop has not assigned keys to the shortcuts yet"));
}

void PortalKeyGrabber::bind()
{
    PortalShortcuts list;
    for (const auto &[id, binding] : shortcuts()) {
        list.append({id,
                     {{QStringLiteral("description"), QCoreApplication::translate("PortalKeyGrabber", descriptions().at(id))},
                      {QStringLiteral("preferred_trigger"), binding.second}}});
    }
    const QString token = QStringLiteral("dowsel_bind");
    call(QStringLiteral("BindShortcuts"),
         {QVariant::fromValue(QDBusObjectPath(m_session)), QVariant::fromValue(list), QString(),
          QVariantMap{{QStringLiteral("handle_token"), token}}},
         token, SLOT(onBindResponse(uint, QVariantMap)));
}

void PortalKeyGrabber::onBindResponse(uint response, const QVariantMap &results)
{
    m_bus.disconnect(portalService, m_pendingRequest, requestInterface, QStringLiteral("Response"), this,
                     SLOT(onBindResponse(uint, QVariantMap)));
    const PortalShortcuts bound = shortcutsIn(results.value(QStringLiteral("shortcuts")));
    if (response != 0) {
        finish(State::declined, QStringLiteral("the shortcuts were not bound"));
        return;
    }
    // A success with no shortcuts: the desktop keeps them, with no keys yet.
    if (bound.isEmpty()) {
        finish(State::unassigned, QStringLiteral("the desktop has not assigned keys to the shortcuts yet"));
        return;
    }
    finish(State::bound);
}

void PortalKeyGrabber::onShortcutsChanged(const QDBusMessage &message)
{
    const QList<QVariant> arguments = message.arguments();
    if (arguments.size() < 2 || arguments.at(0).value<QDBusObjectPath>().path() != m_session)
        return;
    if (m_state != State::bound && m_state != State::unassigned)
        return;
    if (shortcutsIn(arguments.at(1)).isEmpty())
        setState(State::unassigned, QStringLiteral("the desktop has not assigned keys to the shortcuts yet"));
    else
        setState(State::bound, {});
}

void PortalKeyGrabber::finish(State state, const QString &detail)
{
    if (m_state != State::idle && m_state != State::connecting)
        return;
    setState(state, detail);
}

void PortalKeyGrabber::setState(State state, const QString &detail)
{
    if (state == m_state && detail == m_detail)
        return;
    qCInfo(lcShortcuts).noquote() << QStringLiteral("portal: %1 %2")
                                         .arg(state == State::bound ? QStringLiteral("shortcuts bound") : QStringLiteral("no shortcuts:"), detail);
    m_state = state;
    m_detail = detail;
    if (onAvailabilityChanged)
        onAvailabilityChanged();
}

std::vector<KeyCombination> PortalKeyGrabber::grab(const std::vector<KeyCombination> &combinations)
{
    m_active = combinations;
    return {};
}

void PortalKeyGrabber::ungrabAll()
{
    m_active.clear();
}

void PortalKeyGrabber::onActivated(const QDBusObjectPath &session, const QString &shortcutId, qulonglong,
                                   const QVariantMap &options)
{
    qCDebug(lcShortcuts).noquote() << "portal: Activated " + shortcutId;
    if (m_state != State::bound || session.path() != m_session)
        return;
    const auto found = shortcuts().find(shortcutId);
    if (found == shortcuts().end())
        return;
    const KeyCombination combination = found->second.first;
    if (std::find(m_active.begin(), m_active.end(), combination) == m_active.end() || !onPressed)
        return;
    onPressed(combination, options.value(QStringLiteral("activation_token")).toString());
}

} // namespace dowsel
