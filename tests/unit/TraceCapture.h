#pragma once

#include <QLoggingCategory>
#include <QStringList>

#include <mutex>

namespace dowsel::testing {

// Switches one logging category's debug output on and collects its lines, from any thread,
// for as long as it exists.
class TraceCapture {
public:
    explicit TraceCapture(const char *category)
    {
        std::lock_guard lock(mutex());
        s_category = category;
        s_lines.clear();
        QLoggingCategory::setFilterRules(QStringLiteral("%1.debug=true").arg(QLatin1String(category)));
        m_previous = qInstallMessageHandler(&collect);
    }
    ~TraceCapture()
    {
        qInstallMessageHandler(m_previous);
        QLoggingCategory::setFilterRules(QString());
    }
    TraceCapture(const TraceCapture &) = delete;
    TraceCapture &operator=(const TraceCapture &) = delete;

    QStringList lines() const
    {
        std::lock_guard lock(mutex());
        return s_lines;
    }
    bool contains(const QString &line) const { return lines().contains(line); }
    int countStartingWith(const QString &prefix) const
    {
        const QStringList all = lines();
        return int(std::count_if(all.begin(), all.end(), [&](const QString &l) { return l.startsWith(prefix); }));
    }

private:
    static std::mutex &mutex()
    {
        static std::mutex instance;
        return instance;
    }
    static void collect(QtMsgType, const QMessageLogContext &context, const QString &message)
    {
        std::lock_guard lock(mutex());
        if (context.category && qstrcmp(context.category, s_category) == 0)
            s_lines << message;
    }

    static inline const char *s_category = nullptr;
    static inline QStringList s_lines;
    QtMessageHandler m_previous = nullptr;
};

} // namespace dowsel::testing
