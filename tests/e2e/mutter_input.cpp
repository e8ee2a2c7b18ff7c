// A mouse and a keyboard for end-to-end tests under a headless Mutter (GNOME's compositor),
// which has neither: a session of Mutter's remote-desktop service on the session bus, driven
// by lines on standard input, each answered "ok" on standard output once Mutter took it:
//   click X Y      moves the pointer to X Y of the screen and clicks the left button
//   type TEXT      types letters, digits and spaces
//   key NAME       presses Return, Escape or BackSpace
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QThread>

#include <cstdio>
#include <iostream>
#include <string>

namespace {

constexpr int buttonLeft = 0x110;

void check(const QDBusMessage &reply, const char *what)
{
    if (reply.type() == QDBusMessage::ErrorMessage) {
        std::fprintf(stderr, "mutter_input: %s: %s\n", what, qPrintable(reply.errorMessage()));
        std::exit(1);
    }
}

unsigned keysymOf(const QString &name)
{
    if (name == u"Return")
        return 0xff0d;
    if (name == u"Escape")
        return 0xff1b;
    if (name == u"BackSpace")
        return 0xff08;
    if (name.size() == 1 && name.at(0).unicode() < 0x7f)
        return name.at(0).unicode(); // Latin letters, digits and space are their own keysyms
    std::fprintf(stderr, "mutter_input: no key for \"%s\"\n", qPrintable(name));
    std::exit(2);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    QDBusInterface desktop(QStringLiteral("org.gnome.Mutter.RemoteDesktop"), QStringLiteral("/org/gnome/Mutter/RemoteDesktop"),
                           QStringLiteral("org.gnome.Mutter.RemoteDesktop"), bus);
    const QDBusReply<QDBusObjectPath> created = desktop.call(QStringLiteral("CreateSession"));
    if (!created.isValid()) {
        std::fprintf(stderr, "mutter_input: no remote-desktop session: %s\n", qPrintable(created.error().message()));
        return 1;
    }
    QDBusInterface session(QStringLiteral("org.gnome.Mutter.RemoteDesktop"), created.value().path(),
                           QStringLiteral("org.gnome.Mutter.RemoteDesktop.Session"), bus);
    check(session.call(QStringLiteral("Start")), "Start");
    // The seat has a keyboard only once the session sends a key: the first one would be lost.
    constexpr unsigned shift = 0xffe1;
    for (const bool down : {true, false})
        check(session.call(QStringLiteral("NotifyKeyboardKeysym"), shift, down), "NotifyKeyboardKeysym");
    std::printf("ok\n");
    std::fflush(stdout);

    const auto press = [&session](unsigned keysym) {
        for (const bool down : {true, false}) {
            check(session.call(QStringLiteral("NotifyKeyboardKeysym"), keysym, down), "NotifyKeyboardKeysym");
            QThread::msleep(20);
        }
    };
    std::string line;
    while (std::getline(std::cin, line)) {
        const QString text = QString::fromStdString(line);
        const QString command = text.section(QLatin1Char(' '), 0, 0);
        const QString argument = text.section(QLatin1Char(' '), 1);
        if (command == u"click") {
            // Relative motion only (absolute needs a screen-cast stream): to the corner, then on.
            check(session.call(QStringLiteral("NotifyPointerMotionRelative"), -100000.0, -100000.0), "motion");
            check(session.call(QStringLiteral("NotifyPointerMotionRelative"), argument.section(QLatin1Char(' '), 0, 0).toDouble(),
                               argument.section(QLatin1Char(' '), 1, 1).toDouble()),
                  "motion");
            QThread::msleep(50);
            for (const bool down : {true, false}) {
                check(session.call(QStringLiteral("NotifyPointerButton"), buttonLeft, down), "NotifyPointerButton");
                QThread::msleep(50);
            }
        } else if (command == u"type") {
            for (const QChar c : argument)
                press(keysymOf(QString(c)));
        } else if (command == u"key") {
            press(keysymOf(argument));
        } else {
            std::fprintf(stderr, "mutter_input: unknown command: %s\n", line.c_str());
            return 2;
        }
        std::printf("ok\n");
        std::fflush(stdout);
    }
    return 0;
}
