#include "app/LoginItem.h"

#include "platform/Preferences.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace dowsel {

namespace {

// The string-value escapes of a desktop entry, undone: \s \n \t \r \\.
QString unescapeString(const QString &value)
{
    QString result;
    result.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] != u'\\' || i + 1 == value.size()) {
            result += value[i];
            continue;
        }
        const QChar next = value[++i];
        if (next == u's')
            result += u' ';
        else if (next == u'n')
            result += u'\n';
        else if (next == u't')
            result += u'\t';
        else if (next == u'r')
            result += u'\r';
        else if (next == u'\\')
            result += u'\\';
        else
            result += QLatin1Char('\\') + next;
    }
    return result;
}

// The keys of the [Desktop Entry] group, later lines winning. Localised keys are kept as
// written ("Name[es]").
QHash<QString, QString> desktopEntryKeys(const QByteArray &contents)
{
    QHash<QString, QString> keys;
    bool inGroup = false;
    for (const QByteArray &rawLine : contents.split('\n')) {
        const QString line = QString::fromUtf8(rawLine).trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        if (line.startsWith(u'[')) {
            inGroup = line == u"[Desktop Entry]";
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (!inGroup || equals <= 0)
            continue;
        keys.insert(line.left(equals).trimmed(), line.mid(equals + 1).trimmed());
    }
    return keys;
}

bool isTrue(const QString &value)
{
    return value.compare(u"true", Qt::CaseInsensitive) == 0;
}

bool isFalse(const QString &value)
{
    return value.compare(u"false", Qt::CaseInsensitive) == 0;
}

} // namespace

QString desktopExecValue(const QString &programPath)
{
    QString quoted;
    quoted.reserve(programPath.size() + 8);
    quoted += u'"';
    for (QChar c : programPath) {
        // Quoting level: a backslash before each of the four reserved characters.
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        quoted += c;
    }
    quoted += u'"';

    // String level, applied before the quoting when the entry is read: every backslash
    // doubled, control characters written as escapes; then "%" doubled for the field codes.
    QString value;
    value.reserve(quoted.size() * 2);
    for (QChar c : quoted) {
        if (c == u'\\')
            value += QStringLiteral("\\\\");
        else if (c == u'\n')
            value += QStringLiteral("\\n");
        else if (c == u'\t')
            value += QStringLiteral("\\t");
        else if (c == u'\r')
            value += QStringLiteral("\\r");
        else if (c == u'%')
            value += QStringLiteral("%%");
        else
            value += c;
    }
    return value;
}

QString desktopExecProgram(const QString &execValue)
{
    const QString value = unescapeString(execValue);
    QString program;
    qsizetype i = 0;
    if (value.startsWith(u'"')) {
        for (i = 1; i < value.size(); ++i) {
            const QChar c = value[i];
            if (c == u'"')
                break;
            if (c == u'\\' && i + 1 < value.size())
                program += value[++i];
            else
                program += c;
        }
        if (i >= value.size())
            return {}; // no closing quote
    } else {
        program = value.section(u' ', 0, 0);
    }
    return program.replace(QStringLiteral("%%"), QStringLiteral("%"));
}

LoginItem::LoginItem(Preferences &preferences, QString executablePath, QString entryPath)
    : m_prefs(preferences), m_executablePath(std::move(executablePath)), m_entryPath(std::move(entryPath))
{
}

QString LoginItem::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
           + QStringLiteral("/autostart/dowsel.desktop");
}

LoginItem::State LoginItem::state() const
{
    QFile file(m_entryPath);
    if (!file.exists())
        return State::absent;
    if (!file.open(QIODevice::ReadOnly))
        return State::disabled; // there, but not ours to judge: never overwrite it
    const QHash<QString, QString> keys = desktopEntryKeys(file.read(1024 * 1024));
    if (isTrue(keys.value(QStringLiteral("Hidden"))) || isFalse(keys.value(QStringLiteral("X-GNOME-Autostart-enabled"))))
        return State::disabled;
    return State::enabled;
}

std::optional<QString> LoginItem::registerAtStart()
{
    const bool registeredBefore = m_prefs.boolean(prefkeys::loginItemRegistered).value_or(false);
    switch (state()) {
    case State::absent:
        if (registeredBefore)
            return std::nullopt; // the user deleted it
        break;
    case State::disabled:
        if (!registeredBefore)
            m_prefs.setValue(prefkeys::loginItemRegistered, true);
        return std::nullopt;
    case State::enabled: {
        if (!registeredBefore)
            m_prefs.setValue(prefkeys::loginItemRegistered, true);
        QFile file(m_entryPath);
        if (file.open(QIODevice::ReadOnly)) {
            const QString exec = desktopEntryKeys(file.read(1024 * 1024)).value(QStringLiteral("Exec"));
            if (desktopExecProgram(exec) == m_executablePath)
                return std::nullopt;
        }
        break; // points elsewhere (an older install, a moved build): follow the running binary
    }
    }
    if (auto error = write(true))
        return error;
    m_prefs.setValue(prefkeys::loginItemRegistered, true);
    return std::nullopt;
}

std::optional<QString> LoginItem::setEnabled(bool enabled)
{
    if (auto error = write(enabled))
        return error;
    m_prefs.setValue(prefkeys::loginItemRegistered, true);
    return std::nullopt;
}

std::optional<QString> LoginItem::write(bool enabled)
{
    const QString folder = QFileInfo(m_entryPath).absolutePath();
    if (!QDir().mkpath(folder))
        return QStringLiteral("cannot create %1").arg(folder);
    QSaveFile file(m_entryPath);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    QString entry = QStringLiteral("[Desktop Entry]\n"
                                   "Type=Application\n"
                                   "Name=Dowsel\n"
                                   "Comment=Keeps the Downloads folder tidy\n"
                                   "Exec=%1\n"
                                   "Icon=app.dowsel.Dowsel\n"
                                   "Terminal=false\n")
                        .arg(desktopExecValue(m_executablePath));
    entry += enabled ? QStringLiteral("X-GNOME-Autostart-enabled=true\n")
                     : QStringLiteral("Hidden=true\nX-GNOME-Autostart-enabled=false\n");
    file.write(entry.toUtf8());
    if (!file.commit())
        return file.errorString();
    return std::nullopt;
}

} // namespace dowsel
